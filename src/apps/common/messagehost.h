// A host that keeps what the library has to say, for programs that tell it in a way of their own.
#ifndef APPS_COMMON_MESSAGEHOST_H
#define APPS_COMMON_MESSAGEHOST_H

#include "kivrender/host/kivdefaulthost.h"

#include <string>
#include <vector>

// Installs itself as the default host.
class MessageHost : public KivDefaultHost {
public:
    MessageHost();

    int message(const wchar_t* text) override;
    // The folder that the program has set, else that of the preferences.
    void getVirtualMemoryFolder(wchar_t* out) override;

    void setMemoryFolder(const std::wstring& folder);

    // Since the last call; the lines of one message are joined.
    std::vector<std::string> takeMessages();
    std::size_t numMessages() const {
        return messages.size();
    }

private:
    std::wstring memoryFolder;
    std::vector<std::string> messages;
};

// Where the memory of a picture was to be, as a sentence; empty where that is no folder or the error is want of memory.
std::string memoryPlace(unsigned long error, KivHostApplicationServices& host);

#endif
