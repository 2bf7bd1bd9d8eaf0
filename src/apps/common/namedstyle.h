// A style as the user names it: by the name that the lists show, or by its file.
#ifndef APPS_COMMON_NAMEDSTYLE_H
#define APPS_COMMON_NAMEDSTYLE_H

#include "apps/common/lookoptions.h"
#include "kivrender/shader/kivstylefile.h"

#include <string>
#include <vector>

struct ChosenStyle {
    std::wstring name; // that of its file, without the ending
    std::wstring path;
    KivStyleHead head;
};

// What ends in .kiv is a file, anything else a name; case does not matter where no style has the very name. Throws
// UsageError for what is neither, with the nearest style, and std::runtime_error for a file that is missing or no
// style.
ChosenStyle findStyle(const std::string& value, const LookWords& words = {});

// Reads the style's settings into the pages that the shaders have without a dialog. Returns a line for each key of a
// loaded shader's section that is unknown or has no good value. Throws std::runtime_error if a shader can't read its
// own.
std::vector<std::string> loadStyleSettings(const ChosenStyle& style);

// The tag of a shader that the style names; empty for an empty name. Throws std::runtime_error if it is not loaded or
// of the other kind.
std::wstring styleShader(const ChosenStyle& style, const std::wstring& name, bool combinable);

#endif
