// A complete host for programs that have no document, preferences or windows of their own: preferences in the system's
// two scopes, data in the user's data folder, everything else as the base class has it.
//
// A host derives from it and overrides what it does otherwise, most often message and the progress object;
// KivHostApplicationServices says what each operation is for. It installs nothing by itself.
#ifndef KIVRENDER_HOST_KIVDEFAULTHOST_H
#define KIVRENDER_HOST_KIVDEFAULTHOST_H

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivexport.h"

class KIV_API KivDefaultHost : public KivHostApplicationServices {
public:
    // Fills the preview scene.
    KivDefaultHost();
    // Removes itself if it is the installed host.
    ~KivDefaultHost() override;

    void saveRegistryString(bool machine, const wchar_t* value, const wchar_t* data) override;
    // These two make nothing: a program that only looks leaves no traces. data stays as it was on false.
    bool loadRegistryString(bool machine, const wchar_t* value, wchar_t* data) override;
    void saveRegistryDword(bool machine, const wchar_t* value, std::uint32_t data) override;
    bool loadRegistryDword(bool machine, const wchar_t* value, std::uint32_t* data) override;
    // Under a key of their own beside the module's.
    void saveRunRegistryString(bool machine, const wchar_t* value, const wchar_t* data) override;
    void hostRegistrySlot19() override;
    void hostRegistrySlot20() override;
    void hostRegistrySlot21() override;
    // The shared folder is "styles" beside the library, where the styles that come with it are, unless the machine's
    // preferences name another.
    bool getStyleFolder(Folder folder, wchar_t* out) override;
    void getUserDataFolder(wchar_t* out) override;
    // Keeps everything in the picture in its place.
    using KivHostApplicationServices::stretchImageBilinear;
    void stretchImageBilinear(HDC dc, HBITMAP target, HBITMAP source, SIZE size) override;
};

#endif
