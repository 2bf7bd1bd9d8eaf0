// The root of settings that can be kept in a style file.
//
// A style file (.kiv) has a section for each shader that it sets; the settings of a page (KivPageSettings) and the
// common settings of a render derive from this class. Hosts call save and load through the pages, plug-ins by deriving
// from KivTablePageSettings, which does both by the table of settings.
#ifndef KIVRENDER_SETTINGS_KIVMORVANESETTINGS_H
#define KIVRENDER_SETTINGS_KIVMORVANESETTINGS_H

#include "kivrender/platform/kivexport.h"

// The order of the virtual operations is part of the binary interface.
class KIV_API KivMorvaneSettings {
public:
    KivMorvaneSettings() = default;
    KivMorvaneSettings(const KivMorvaneSettings&) = default;
    KivMorvaneSettings& operator=(const KivMorvaneSettings&) = default;
    virtual ~KivMorvaneSettings();

    // Write to and read from one section of a style file, given by its path. False on failure.
    // section: a name without brackets. file: the path of the style file; a missing one is made by save. What else
    // stands in the file stays.
    virtual bool save(const wchar_t* section, const wchar_t* file) = 0;
    virtual bool load(const wchar_t* section, const wchar_t* file) = 0;
};

#endif
