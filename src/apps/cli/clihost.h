// The program as the library sees it.
#ifndef APPS_CLI_CLIHOST_H
#define APPS_CLI_CLIHOST_H

#include "apps/common/messagehost.h"
#include "kivrender/platform/kivimage.h"

// Messages are kept for the command to tell: an error is one line on standard error.
class CliHost : public MessageHost {
public:
    // Also takes the time, and remembers whether it went without a message.
    void saveImage(KivBitmapManager& bitmap, const wchar_t* file) override;

    // Writes a picture that the program itself has made; the ending of the name tells the format. False with a message.
    bool savePicture(const KivImage& picture, const std::string& file);
    // The same with the bytes of a whole file.
    bool saveFile(const std::vector<std::uint8_t>& bytes, const std::string& file);

    bool wasImageSaved() const {
        return imageSaved;
    }
    double encodeMilliseconds() const {
        return encodeTime;
    }
    void forgetImage();

    // Where a small copy of the next picture that is saved goes, a PNG; empty for none.
    void setThumbnail(const std::wstring& file) {
        thumbnail = file;
    }

private:
    bool imageSaved = false;
    double encodeTime = 0.0;
    std::wstring thumbnail;
};

#endif
