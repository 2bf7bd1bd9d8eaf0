#include "apps/cli/clihost.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtoolkit.h"

#include <chrono>
#include <utility>

CliHost::CliHost() {
    setDefaultHost(this);
}

int CliHost::message(const wchar_t* text) {
    std::string line;
    for (const char c : kivToUtf8(text != nullptr ? text : L"")) {
        if (c != '\n' && c != '\r') {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    messages.push_back(std::move(line));
    return kivAnswerOk;
}

void CliHost::saveImage(KivBitmapManager& bitmap, const wchar_t* file) {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t before = messages.size();
    KivDefaultHost::saveImage(bitmap, file);
    imageSaved = messages.size() == before;
    encodeTime += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void CliHost::getVirtualMemoryFolder(wchar_t* out) {
    if (memoryFolder.empty()) {
        KivDefaultHost::getVirtualMemoryFolder(out);
    } else {
        kivCopyText(out, kivMaxPath, memoryFolder.c_str());
    }
}

void CliHost::setMemoryFolder(const std::wstring& folder) {
    memoryFolder = folder;
}

std::vector<std::string> CliHost::takeMessages() {
    return std::exchange(messages, {});
}

void CliHost::forgetImage() {
    imageSaved = false;
    encodeTime = 0.0;
}
