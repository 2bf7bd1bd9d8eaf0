// The program as the library sees it: its main window, and messages that wait until a render is over.
#ifndef APPS_STUDIO_STUDIOHOST_H
#define APPS_STUDIO_STUDIOHOST_H

#include "kivrender/host/kivdefaulthost.h"

#include <string>
#include <vector>

class KivImage;

// Installs itself as the default host.
class StudioHost : public KivDefaultHost {
public:
    StudioHost();

    HWND getMainWindow() override;
    // Not owned; null for none.
    void setMainWindow(HWND window);

    // While messages are held they are kept, as a box in the middle of a render would stand over a half picture.
    int message(const wchar_t* text) override;
    void holdMessages();
    // Ends the holding and gives what came since it began.
    std::vector<std::wstring> takeMessages();

    // Errors of the system.
    int morvaneErrorMessage(unsigned long code, const wchar_t* text) override;
    bool hadError() const;

    // Offers the kinds of drawings that the program writes.
    int getVectorialFilename(HWND owner, wchar_t* name, unsigned long size, int open) override;

    void saveImage(KivBitmapManager& bitmap, const wchar_t* file) override;
    // With its alpha, if the kind of file keeps it. A failure comes as a message.
    bool savePicture(const KivImage& picture, const wchar_t* file);
    // Whether a picture was written since messages were held last, without a message.
    bool wasImageSaved() const;

private:
    HWND mainWindow = nullptr;
    std::wstring drawingsFolder; // where a drawing was chosen last
    bool holding = false;
    bool imageSaved = false;
    bool failed = false; // since messages were held last
    std::vector<std::wstring> held;
};

#endif
