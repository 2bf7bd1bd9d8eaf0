// The root of settings that can be kept in a style file.
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
    virtual bool save(const wchar_t* section, const wchar_t* file) = 0;
    virtual bool load(const wchar_t* section, const wchar_t* file) = 0;
};

#endif
