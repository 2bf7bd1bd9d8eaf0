// The program as the library sees it.
#ifndef APPS_CLI_CLIHOST_H
#define APPS_CLI_CLIHOST_H

#include "kivrender/host/kivdefaulthost.h"

#include <string>
#include <vector>

// Messages are kept for the command to tell: an error is one line on standard error. Installs itself as the default
// host.
class CliHost : public KivDefaultHost {
public:
    CliHost();

    int message(const wchar_t* text) override;
    // Also takes the time, and remembers whether it went without a message.
    void saveImage(KivBitmapManager& bitmap, const wchar_t* file) override;
    // The folder of the command line, else that of the preferences.
    void getVirtualMemoryFolder(wchar_t* out) override;

    void setMemoryFolder(const std::wstring& folder);

    // Since the last call; lines are joined into one.
    std::vector<std::string> takeMessages();
    bool hasNoMessage() const {
        return messages.empty();
    }
    bool wasImageSaved() const {
        return imageSaved;
    }
    double encodeMilliseconds() const {
        return encodeTime;
    }
    void forgetImage();

private:
    std::wstring memoryFolder;
    std::vector<std::string> messages;
    bool imageSaved = false;
    double encodeTime = 0.0;
};

#endif
