#include "kivrender/render/kivbitmapmanager.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelmemory.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivshader.h"

#include <cstdlib>
#include <ctime>

namespace {

using Guard = std::lock_guard<std::recursive_mutex>;

constexpr std::uint32_t headerBytes = 40;

// In 32 bits, as sizes of sections are: a picture of 4 GiB or more wraps around to a section that is too small, and the
// bitmap is then refused for that.
std::uint32_t sectionBytes(tagSIZE size) {
    return static_cast<std::uint32_t>(size.cx) * static_cast<std::uint32_t>(size.cy) * 4U + headerBytes;
}

} // namespace

KivBitmapManager::KivBitmapManager() {
    // Hosts and shaders that draw with std::rand get another sequence for each surface.
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
}

KivBitmapManager::KivBitmapManager(const KivBitmapManager& other) : vectorialTempFileName(other.vectorialTempFileName) {
    share(other);
    kivShareTemporaryFile(vectorialTempFileName);
}

KivBitmapManager::~KivBitmapManager() {
    deleteContext();
    release();
    kivReleaseTemporaryFile(vectorialTempFileName);
}

void KivBitmapManager::operator=(const KivBitmapManager& other) {
    const Guard guard(mutex);
    if (this == &other) {
        return;
    }
    if (hDC != other.hDC || hGLRC != other.hGLRC) {
        deleteContext();
    }
    const HBITMAP formerBitmap = hBitmap;
    const HANDLE formerFile = hFile;
    const HANDLE formerSection = hSection;
    share(other); // first, so that what both name is never without an owner
    kivDeleteBitmap(formerBitmap);
    kivCloseHandle(formerSection);
    kivCloseHandle(formerFile);
}

void KivBitmapManager::share(const KivBitmapManager& other) {
    hBitmap = kivShareBitmap(other.hBitmap);
    hFile = kivShareHandle(other.hFile);
    hSection = kivShareHandle(other.hSection);
    hDC = other.hDC;
    hGLRC = other.hGLRC;
    tempFileName = other.tempFileName;
    size = other.size;
}

void KivBitmapManager::release() {
    kivDeleteBitmap(hBitmap);
    hBitmap = nullptr;
    releaseMemory();
}

void KivBitmapManager::releaseMemory() {
    kivCloseHandle(hSection);
    hSection = nullptr;
    kivCloseHandle(hFile);
    hFile = nullptr;
}

bool KivBitmapManager::buildBitmapMemory(const wchar_t* folder, tagSIZE newSize) {
    const Guard guard(mutex);
    size = newSize;
    releaseMemory(); // the former bitmap keeps the memory that it stands on
    tempFileName.clear();
    if (size.cx <= 0 || size.cy <= 0) {
        return reportBitmapError(kivErrorInvalidParameter);
    }
    hFile = kivInvalidHandle();
    if (folder != nullptr && *folder != L'\0') {
        if (const HANDLE file = kivCreateTemporaryFile(folder, L"Morvane", &tempFileName); file != nullptr) {
            hFile = file;
        }
    }
    hSection = kivCreateSection(hFile, sectionBytes(size));
    if (hSection == nullptr) {
        const unsigned long error = kivGetLastError();
        releaseMemory();
        kivSetLastError(error);
        return false;
    }
    const HBITMAP bitmap = kivCreateBitmapOnSection(size, hSection);
    if (bitmap == nullptr) {
        return reportBitmapError(kivGetLastError());
    }
    kivDeleteBitmap(hBitmap);
    hBitmap = bitmap;
    return true;
}

bool KivBitmapManager::reportBitmapError(unsigned long code) {
    const unsigned long shown = code != 0 ? code : kivErrorNotEnoughMemory;
    if (KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost(); host != nullptr) {
        host->morvaneErrorMessage(shown, nullptr);
    }
    kivSetLastError(shown);
    return false;
}

void KivBitmapManager::generateVectorialTempFileName(wchar_t* out) {
    const std::wstring name = kivHoldTemporaryFile(kivTemporaryFolder(), L"kiv");
    if (name.empty()) {
        throw static_cast<KivShader::stopReason>(0);
    }
    if (name.size() >= static_cast<std::size_t>(kivMaxPath)) {
        // Cut, it would name another file.
        kivReleaseTemporaryFile(name);
        throw static_cast<KivShader::stopReason>(0);
    }
    kivCopyText(out, kivMaxPath, name.c_str());
    kivReleaseTemporaryFile(vectorialTempFileName);
    vectorialTempFileName = name;
}

bool KivBitmapManager::copyBitmap(HDC source) {
    const Guard guard(mutex);
    if (hDC != nullptr) {
        return kivCopyPixels(hDC, source, size);
    }
    const HDC scratch = kivCreateCompatibleDeviceContext(kivScreenDeviceContext());
    if (scratch == nullptr) {
        return false;
    }
    bool isCopied = false;
    if (const HBITMAP before = kivSelectBitmap(scratch, hBitmap); before != nullptr) {
        isCopied = kivCopyPixels(scratch, source, size);
        kivSelectBitmap(scratch, before);
    }
    kivDeleteDeviceContext(scratch);
    return isCopied;
}

void KivBitmapManager::deleteContext() {
    const Guard guard(mutex);
    if (hGLRC != nullptr) {
        kivDeleteGlContext(hGLRC); // released first, which brings the picture into its bitmap
        hGLRC = nullptr;
    }
    wglDeleteBitmapDC(this);
}

void KivBitmapManager::lock() {
    mutex.lock();
}

void KivBitmapManager::unlock() {
    mutex.unlock();
}

HBITMAP KivBitmapManager::getHBitmap() {
    const Guard guard(mutex);
    return hBitmap;
}

void KivBitmapManager::setHBitmap(HBITMAP bitmap) {
    const Guard guard(mutex);
    hBitmap = bitmap;
}

HANDLE KivBitmapManager::getHFile() {
    const Guard guard(mutex);
    return hFile;
}

void KivBitmapManager::setHFile(HANDLE file) {
    const Guard guard(mutex);
    hFile = file;
}

HANDLE KivBitmapManager::getHSection() {
    const Guard guard(mutex);
    return hSection;
}

void KivBitmapManager::setHSection(HANDLE section) {
    const Guard guard(mutex);
    hSection = section;
}

HDC KivBitmapManager::getHDC() {
    const Guard guard(mutex);
    return hDC;
}

void KivBitmapManager::setHDC(HDC dc) {
    const Guard guard(mutex);
    hDC = dc;
}

HGLRC KivBitmapManager::getHGLRC() {
    const Guard guard(mutex);
    return hGLRC;
}

void KivBitmapManager::setHGLRC(HGLRC context) {
    const Guard guard(mutex);
    hGLRC = context;
}

tagSIZE KivBitmapManager::getSize() {
    const Guard guard(mutex);
    return size;
}

std::wstring& KivBitmapManager::getVectorialTempFileName() {
    return vectorialTempFileName;
}
