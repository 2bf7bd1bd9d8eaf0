#include "apps/cli/clihost.h"

#include "apps/cli/thumbnail.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"
#include "kivrender/render/kivbitmapmanager.h"

#include <chrono>
#include <mutex>

void CliHost::saveImage(KivBitmapManager& bitmap, const wchar_t* file) {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t before = numMessages();
    KivDefaultHost::saveImage(bitmap, file);
    imageSaved = numMessages() == before;
    if (imageSaved && !thumbnail.empty()) {
        const std::lock_guard locked(bitmap);
        saveThumbnail(bitmap.getHBitmap(), thumbnail);
        thumbnail.clear();
    }
    encodeTime += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

bool CliHost::saveFile(const std::vector<std::uint8_t>& bytes, const std::string& file) {
    const std::wstring name = kivFromUtf8(file);
    const bool isSaved = kivWriteWholeFile(name, bytes);
    if (!isSaved) {
        morvaneErrorMessage(kivGetLastError(), (L"While saving file \"" + name + L"\".").c_str());
    }
    return isSaved;
}

bool CliHost::savePicture(const KivImage& picture, const std::string& file) {
    const std::wstring name = kivFromUtf8(file);
    GUID encoder{};
    const KivImageStatus status = getEncoderClsidFromFileName(name.c_str(), &encoder) < 0
                                      ? KivImageStatus::unknownFormat
                                      : picture.save(name, encoder);
    if (status == KivImageStatus::systemError) {
        morvaneErrorMessage(kivGetLastError(), (L"While saving file \"" + name + L"\".").c_str());
    } else if (status != KivImageStatus::ok) {
        message((L"the picture can't be encoded (" + std::to_wstring(static_cast<int>(status)) + L")").c_str());
    }
    return status == KivImageStatus::ok;
}

void CliHost::forgetImage() {
    imageSaved = false;
    encodeTime = 0.0;
}
