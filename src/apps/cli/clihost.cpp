#include "apps/cli/clihost.h"

#include <chrono>

void CliHost::saveImage(KivBitmapManager& bitmap, const wchar_t* file) {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t before = numMessages();
    KivDefaultHost::saveImage(bitmap, file);
    imageSaved = numMessages() == before;
    encodeTime += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void CliHost::forgetImage() {
    imageSaved = false;
    encodeTime = 0.0;
}
