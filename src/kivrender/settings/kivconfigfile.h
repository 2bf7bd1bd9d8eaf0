// A style file as its users see it: texts, numbers and yes-no values by section and key. The file is a profile (INI)
// file, see platform/kivprofile.h for its rules. Each call opens, works and closes; a write leaves the whole old or the
// whole new file.
#ifndef KIVRENDER_SETTINGS_KIVCONFIGFILE_H
#define KIVRENDER_SETTINGS_KIVCONFIGFILE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>

class KIV_API KivConfigFile {
public:
    // Copies the path, cut to what the field holds. The file need not exist.
    explicit KivConfigFile(const wchar_t* path);

    // Whether it succeeded. The file is made if it is missing, its folder is not. A null value removes the key.
    bool write(const wchar_t* section, const wchar_t* key, const wchar_t* value);
    // out holds kivMaxPath characters. True if the text that was read is not empty: a missing key with a default that
    // is not empty counts as success, a key with an empty value does not.
    bool read(const wchar_t* section, const wchar_t* key, wchar_t* out, const wchar_t* defaultValue) const;

    // Decimal.
    bool write(const wchar_t* section, const wchar_t* key, std::uint32_t value);
    // True unless the key is there with an empty value; a text without a number gives 0. Read as a signed number of 32
    // bits: a value above 2147483647 does not survive.
    bool read(const wchar_t* section, const wchar_t* key, std::uint32_t& out, std::uint32_t defaultValue) const;

    // 0 or 1.
    bool write(const wchar_t* section, const wchar_t* key, bool value);
    // The present content of value is the default; the argument defaultValue is ignored.
    bool read(const wchar_t* section, const wchar_t* key, bool& value, bool defaultValue) const;

private:
    wchar_t path[kivMaxPath] = {};
};

#endif
