#include "apps/common/messagehost.h"

#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtoolkit.h"

#include <utility>

MessageHost::MessageHost() {
    setDefaultHost(this);
}

int MessageHost::message(const wchar_t* text) {
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

void MessageHost::getVirtualMemoryFolder(wchar_t* out) {
    if (memoryFolder.empty()) {
        KivDefaultHost::getVirtualMemoryFolder(out);
    } else {
        kivCopyText(out, kivMaxPath, memoryFolder.c_str());
    }
}

void MessageHost::setMemoryFolder(const std::wstring& folder) {
    memoryFolder = folder;
}

std::vector<std::string> MessageHost::takeMessages() {
    return std::exchange(messages, {});
}

std::string memoryPlace(unsigned long error, KivHostApplicationServices& host) {
    wchar_t folder[kivMaxPath] = {};
    host.getVirtualMemoryFolder(folder);
    if (folder[0] == L'\0' || error == kivErrorNotEnoughMemory) {
        return {};
    }
    return " The folder for the picture's memory is \"" + kivToUtf8(folder) + "\".";
}
