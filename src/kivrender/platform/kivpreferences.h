// Preferences in two scopes, the user's and the machine's: named texts and numbers under a key, which is the name of
// the program that they belong to. Each scope is one profile file, preferences.ini in a folder. A value has a type: a
// text can't be read as a number, nor a number as a text.
//
// The library keeps the folder of the off-screen file, whether a preview is shown, and the like; a host may keep keys
// of its own beside them. A write replaces the file as a whole, so that a crash loses nothing. Nothing is cached: what
// other processes write is seen by the next load.
#ifndef KIVRENDER_PLATFORM_KIVPREFERENCES_H
#define KIVRENDER_PLATFORM_KIVPREFERENCES_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <optional>
#include <string>

class KIV_API KivPreferences {
public:
    // The folders of this system: tolvar in $XDG_CONFIG_HOME (or ~/.config) and in the first of $XDG_CONFIG_DIRS (or
    // /etc/xdg).
    KivPreferences();
    // Folders of the caller's choice. They are made when something is written.
    KivPreferences(std::wstring userFolder, std::wstring machineFolder);

    // Whether the key exists, that is, whether anything was ever written under it.
    bool hasKey(bool machine, const std::wstring& key) const;
    // Makes the key. True if it exists afterwards.
    bool createKey(bool machine, const std::wstring& key);

    // False if the scope can't be written, as the machine's can't by most users.
    bool saveString(bool machine, const std::wstring& key, const std::wstring& value, const std::wstring& data);
    bool saveNumber(bool machine, const std::wstring& key, const std::wstring& value, std::uint32_t data);
    // Nothing if the value is missing or of the other type.
    std::optional<std::wstring> loadString(bool machine, const std::wstring& key, const std::wstring& value) const;
    std::optional<std::uint32_t> loadNumber(bool machine, const std::wstring& key, const std::wstring& value) const;

    // The file of a scope; empty if its folder is not known.
    std::wstring file(bool machine) const;

private:
    bool save(bool machine, const std::wstring& key, const std::wstring& value, const std::wstring& data);
    std::optional<std::wstring> load(bool machine, const std::wstring& key, const std::wstring& value) const;

    std::wstring userFolder;
    std::wstring machineFolder;
};

#endif
