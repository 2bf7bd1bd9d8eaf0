// The settings behind one property page of a shader. A plug-in derives from it, or takes KivTablePageSettings, which
// does all of it from one table.
//
// The order of the virtual operations is part of the binary interface.
#ifndef KIVRENDER_SETTINGS_KIVPAGESETTINGS_H
#define KIVRENDER_SETTINGS_KIVPAGESETTINGS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivmorvanesettings.h"

class KivDataManager;

class KIV_API KivPageSettings : public KivMorvaneSettings {
public:
    KivPageSettings() = default;
    KivPageSettings(const KivPageSettings&) = default;
    KivPageSettings& operator=(const KivPageSettings&) = default;
    ~KivPageSettings() override;

    // The name of the page's section in a stream; stays valid as long as the settings do.
    virtual const wchar_t* getSectionName() const = 0;
    // For the plug-in's own use; the library does not call it.
    virtual void reservedSlot() = 0;
    // Appends the page's values to the stream, a saveCurrentVaried behind each.
    virtual void saveSettings() = 0;
    // Reads the page's values from the stream in the order in which they were written. False on failure.
    virtual bool loadSettings() = 0;

    // The stream that the operations below work on; not owned, null at first.
    void setDataManager(KivDataManager* manager);
    KivDataManager* getDataManager() const;

    // Reads the page's section if it stands at the read position. If another one does, the values stay, isLoaded is
    // false, and what follows in the stream is no longer aligned with the pages.
    void loadData();
    // Writes the page's section.
    void saveData();
    // Whether the last loadData found the section and could read it.
    bool isLoaded() const;

protected:
    KivDataManager* dataManager = nullptr;

private:
    bool loaded = false;
};

#endif
