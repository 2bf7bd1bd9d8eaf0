// The operations of the host that touch pictures: pickers, reading and writing, scaling.
#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivtwopassscale.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivdeferredpicture.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/render/kivbitmapmanager.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace {

// One row of a picker's list of file types.
struct FilterRow {
    unsigned int title; // number of the text
    const wchar_t* pattern;
    const wchar_t* ending; // what a name without one gets
};

constexpr int filterRows = 7;

constexpr FilterRow bitmapRows[filterRows] = {
    {40, L"*.bmp;*.jpe;*.jpg;*.jpeg;*.bmp;*.png;*.tif;*.tiff;", L".jpg"},
    {41, L"*.jpe;*.jpg;*.jpeg", L".jpg"},
    {49, L"*.tif;*.tiff", L".tif"},
    {46, L"*.png", L".png"},
    {42, L"*.bmp", L".bmp"},
    {37, L"*.gif", L".gif"},
    {36, L"*.*", L".jpg"},
};

constexpr FilterRow vectorRows[filterRows] = {
    {40, L"*.pdf;*.ps;*.eps;*.ai;*.svg;", L".pdf"},
    {75, L"*.pdf", L".pdf"},
    {4, L"*.ps", L".ps"},
    {70, L"*.eps", L".eps"},
    {76, L"*.ai", L".ai"},
    {86, L"*.svg", L".svg"},
    {36, L"*.*", L".pdf"},
};

// Lets the user choose; true with the path, and its folder for the next time.
bool pickFile(KivFileRequest& request, const FilterRow* rows, int open) {
    request.open = open != 0;
    request.pathMustExist = true;
    request.fileMustExist = request.open;
    request.hideReadOnly = !request.open;
    request.overwritePrompt = !request.open;
    request.filter = 1;
    // A desktop that knows them asks about the file that will be written, and not about a name that gets more to it.
    for (int i = 0; i < filterRows; ++i) {
        request.endings.emplace_back(rows[i].ending);
    }
    if (!KivToolkit::get().pickFile(request)) {
        return false;
    }
    const std::size_t nameStart = request.file.find_last_of(L'/') + 1;
    if (request.file.find(L'.', nameStart) == std::wstring::npos) {
        request.file += rows[std::clamp(request.filter, 1, filterRows) - 1].ending;
    }
    return true;
}

std::wstring whileSaving(const wchar_t* file) {
    return std::wstring(L"While saving file \"") + file + L"\".";
}

// The average of the source pixels that fall on each target pixel, row by row, with no memory of its own.
void stretchHalftone(const KivBitmapInfo& target, tagSIZE size, const KivBitmapInfo& source) {
    const auto range = [](std::int32_t i, std::int32_t length, std::int32_t sourceLength) {
        const auto begin = static_cast<std::int32_t>(std::int64_t{i} * sourceLength / length);
        const auto end = static_cast<std::int32_t>((std::int64_t{i} + 1) * sourceLength / length);
        return std::pair(begin, std::max(begin + 1, end));
    };
    for (std::int32_t y = 0; y < std::min(size.cy, target.height); ++y) {
        const auto [top, bottom] = range(y, size.cy, source.height);
        std::uint8_t* to = target.pixels + target.rowBytes * static_cast<std::size_t>(y);
        for (std::int32_t x = 0; x < std::min(size.cx, target.width); ++x, to += 4) {
            const auto [left, right] = range(x, size.cx, source.width);
            std::uint64_t sums[3] = {};
            for (std::int32_t v = top; v < bottom; ++v) {
                const std::uint8_t* from = source.pixels + source.rowBytes * static_cast<std::size_t>(v) +
                                           std::size_t{4} * static_cast<std::size_t>(left);
                for (std::int32_t u = left; u < right; ++u, from += 4) {
                    for (int c = 0; c < 3; ++c) {
                        sums[c] += from[c];
                    }
                }
            }
            const std::uint64_t count =
                static_cast<std::uint64_t>(bottom - top) * static_cast<std::uint64_t>(right - left);
            for (int c = 0; c < 3; ++c) {
                to[c] = static_cast<std::uint8_t>((sums[c] + count / 2) / count);
            }
            to[3] = 0;
        }
    }
}

// A device context in memory with a bitmap of the caller's selected.
class BlitContext {
public:
    BlitContext(HDC parent, HBITMAP bitmap) : dc(kivCreateCompatibleDeviceContext(parent)) {
        if (dc != nullptr) {
            standBy = kivSelectBitmap(dc, bitmap);
        }
    }
    BlitContext(const BlitContext&) = delete;
    BlitContext& operator=(const BlitContext&) = delete;
    ~BlitContext() {
        if (standBy != nullptr) {
            kivSelectBitmap(dc, standBy);
        }
        if (dc != nullptr) {
            kivDeleteDeviceContext(dc);
        }
    }

    bool info(KivBitmapInfo* out) const {
        return standBy != nullptr && kivGetBitmapInfo(kivSelectedBitmap(dc), out);
    }

private:
    HDC dc;
    HBITMAP standBy = nullptr;
};

void blit(HDC parent, HBITMAP target, HBITMAP source, tagSIZE size) {
    const BlitContext to(parent, target);
    const BlitContext from(parent, source);
    KivBitmapInfo toInfo;
    KivBitmapInfo fromInfo;
    if (to.info(&toInfo) && from.info(&fromInfo)) {
        stretchHalftone(toInfo, size, fromInfo);
    }
}

// Puts the picture's rows onto the target's, the bottom ones on one another.
void setPixels(HBITMAP target, const std::uint32_t* pixels, tagSIZE size) {
    KivBitmapInfo info;
    if (!kivGetBitmapInfo(target, &info)) {
        return;
    }
    const auto count = static_cast<std::size_t>(std::min(size.cx, info.width));
    for (std::int32_t y = 0; y < std::min(size.cy, info.height); ++y) {
        std::memcpy(info.pixels + info.rowBytes * static_cast<std::size_t>(y),
                    pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(size.cx), count * 4);
    }
}

// Consumes the source.
void stretch(HDC dc, HBITMAP target, HBITMAP source, SIZE size, bool centred) {
    tagSIZE full{};
    bool isSection = false;
    if (kivGetBitmapSize(source, &full, &isSection) && size.cx > 0 && size.cy > 0) {
        std::uint32_t* scaled = nullptr;
        // The pixels of another kind of bitmap are a device's, to be reached by a blit alone.
        if (isSection) {
            const auto read = [source](unsigned int first, unsigned int count, std::uint32_t* rows) {
                return kivReadBitmapRows(source, static_cast<std::int32_t>(first), static_cast<std::int32_t>(count),
                                         reinterpret_cast<std::uint8_t*>(rows));
            };
            C2PassScale<CBilinearFilter> scaler;
            scaler.setCentred(centred);
            scaled = scaler.scale(read, static_cast<unsigned int>(full.cx), static_cast<unsigned int>(full.cy),
                                  static_cast<unsigned int>(size.cx), static_cast<unsigned int>(size.cy));
        }
        if (scaled != nullptr) {
            setPixels(target, scaled, size);
            kivFreePixels(scaled, static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy));
        } else {
            blit(dc, target, source, size);
        }
    }
    kivDeleteBitmap(source);
}

} // namespace

void KivHostApplicationServices::genFilterString(wchar_t* out, const wchar_t** parts) {
    for (; *parts != nullptr; ++parts) {
        const std::size_t length = std::wcslen(*parts) + 1;
        std::copy_n(*parts, length, out);
        out += length;
    }
    *out = L'\0';
}

int KivHostApplicationServices::getBitmapFilename(HWND owner, wchar_t* name, unsigned long size, int open) {
    return getFilename(owner, name, size, open, false);
}

int KivHostApplicationServices::getVectorialFilename(HWND owner, wchar_t* name, unsigned long size, int open) {
    return getFilename(owner, name, size, open, true);
}

int KivHostApplicationServices::getFilename(HWND owner, wchar_t* name, unsigned long size, int open, bool vector) {
    kivCopyText(name, size, L"");
    const FilterRow* rows = vector ? vectorRows : bitmapRows;
    wchar_t titles[filterRows][kivMaxPath];
    const wchar_t* parts[2 * filterRows + 1] = {};
    for (int i = 0; i < filterRows; ++i) {
        titles[i][0] = L'\0';
        // An empty title would end the list: without a language module the pattern stands for it.
        if (kivLoadString(rows[i].title, titles[i], kivMaxPath) == 0) {
            kivCopyText(titles[i], kivMaxPath, rows[i].pattern);
        }
        parts[2 * i] = titles[i];
        parts[2 * i + 1] = rows[i].pattern;
    }
    wchar_t filters[(2 * filterRows + 1) * kivMaxPath];
    genFilterString(filters, parts);

    KivFileRequest request;
    request.owner = owner;
    request.filters = filters;
    request.folder = lastFolder;
    if (!pickFile(request, rows, open)) {
        return 0;
    }
    const std::size_t slash = request.file.find_last_of(L'/');
    kivCopyText(lastFolder, kivMaxPath,
                slash == std::wstring::npos ? std::wstring_view() : std::wstring_view(request.file).substr(0, slash));
    kivCopyText(name, size, request.file);
    return 1;
}

int KivHostApplicationServices::getEncoderClsid(const wchar_t* mimeType, GUID* clsid) {
    const auto encoders = kivImageEncoders();
    for (std::size_t i = 0; i < encoders.size(); ++i) {
        if (mimeType != nullptr && std::wstring_view(encoders[i].mimeType) == mimeType) {
            *clsid = encoders[i].id;
            return static_cast<int>(i);
        }
    }
    return -1;
}

int KivHostApplicationServices::getEncoderClsidFromFileName(const wchar_t* file, GUID* clsid) {
    const std::wstring_view path = file != nullptr ? file : L"";
    const std::size_t dot = path.find_last_of(L'.');
    if (dot == std::wstring_view::npos) {
        return 0;
    }
    for (const KivImageEncoder& encoder : kivImageEncoders()) {
        for (const wchar_t* ending : encoder.endings) {
            if (ending != nullptr && kivEqualNoCase(path.substr(dot + 1), ending)) {
                return getEncoderClsid(encoder.mimeType, clsid);
            }
        }
    }
    return 0;
}

void KivHostApplicationServices::saveImage(KivBitmapManager& bitmap, const wchar_t* file) {
    const std::lock_guard locked(bitmap);
    GUID encoder;
    if (file == nullptr || getEncoderClsidFromFileName(file, &encoder) < 0) {
        return;
    }
    const std::unique_ptr<KivImage> image = KivImage::fromBitmap(bitmap.getHBitmap());
    if (!image) {
        return;
    }
    const KivImageStatus status = image->save(file, encoder);
    if (status == KivImageStatus::systemError) {
        morvaneErrorMessage(kivGetLastError(), whileSaving(file).c_str());
    } else if (status != KivImageStatus::ok) {
        message((L"GDI+ ERROR " + std::to_wstring(static_cast<int>(status)) + L"\n\n" + whileSaving(file)).c_str());
    }
}

void KivHostApplicationServices::loadImage(std::uint32_t** pixels, SIZE* size, const wchar_t* file) {
    const std::wstring name = file != nullptr ? file : L"";
    std::unique_ptr<KivImage> image = KivImage::load(name);
    if (!image) {
        wchar_t folder[kivMaxPath] = {};
        getMorvaneFolder(folder);
        image = KivImage::load(std::wstring(folder) + L"/" + name);
    }
    *pixels = nullptr;
    if (!image) {
        return;
    }
    const std::size_t count = static_cast<std::size_t>(image->width()) * static_cast<std::size_t>(image->height());
    *pixels = new (std::nothrow) std::uint32_t[count];
    if (*pixels == nullptr) {
        return;
    }
    *size = image->size();
    std::uint32_t* to = *pixels;
    for (std::int32_t y = 0; y < size->cy; ++y) {
        for (std::int32_t x = 0; x < size->cx; ++x) {
            *to++ = image->pixel(x, y);
        }
    }
}

KivImage* KivHostApplicationServices::stretchImageBilinear(KivImage* source, SIZE size) {
    constexpr std::int32_t largest = KivImage::sideLimit;
    if (source == nullptr || size.cx <= 0 || size.cx > largest) {
        return nullptr;
    }
    return source->scaled({(size.cx + 3) / 4 * 4, size.cy}).release();
}

void KivHostApplicationServices::stretchImageBilinear(HDC dc, HBITMAP target, HBITMAP source, SIZE size) {
    stretch(dc, target, source, size, false);
}

// A reduced picture lies where a drawing of the same view does.
void KivDefaultHost::stretchImageBilinear(HDC dc, HBITMAP target, HBITMAP source, SIZE size) {
    stretch(dc, target, source, size, true);
}

void KivHostApplicationServices::stretchImageBilinear(HDC dc, KivBitmapManager* bitmap, SIZE size) {
    if (bitmap == nullptr) {
        return;
    }
    KivBitmapManager old;
    const std::lock_guard lockedOld(old);
    const std::lock_guard locked(*bitmap);
    old = *bitmap;
    wchar_t folder[kivMaxPath] = {};
    getVirtualMemoryFolder(folder);
    if (bitmap->buildBitmapMemory(folder, size)) {
        const HBITMAP source = old.getHBitmap();
        old.setHBitmap(nullptr); // scaling consumes it
        stretchImageBilinear(dc, bitmap->getHBitmap(), source, size);
    }
}
