// Whether a table of settings is one that can be worked with. Tables come from plug-ins, and so from anyone.
#ifndef KIVRENDER_SETTINGS_KIVSETTINGSCHECK_H
#define KIVRENDER_SETTINGS_KIVSETTINGSCHECK_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivsettingstable.h"

#include <string>

// No table has more settings. A larger number is one that its plug-in did not mean.
inline constexpr int kivMostSettings = 4096;

// The fault of a table in a few words; empty if it is in order or has no settings. Faults are: a null table, a
// number of settings below 0 or above kivMostSettings, a key that is null, empty, twice there (whatever its case) or
// can't stand in a style file, an unknown type, a range that is none, a Choice without choices, a missing text.
KIV_API std::wstring kivSettingsFault(const KivSettingInfo* table, int count);

#endif
