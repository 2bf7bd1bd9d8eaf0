// The plug-ins that have been tried: all of this process, and in a file of the user's cache folder those of earlier
// ones that went through. What failed is tried again by the next process, as it may have failed for reasons of its own.
#ifndef KIVRENDER_SHADER_KIVTRIEDPLUGINS_H
#define KIVRENDER_SHADER_KIVTRIEDPLUGINS_H

#include <string>

class KivTriedPlugins {
public:
    // What tells a file from all others and from itself after a change. Empty if there is no such file.
    static std::string keyOf(const std::string& path);

    // The fault that was found, which is empty for none; null for what has not been tried.
    static const std::wstring* find(const std::string& key);
    static void add(const std::string& key, const std::wstring& fault);
    // Adds those without a fault to the user's file. A failure costs a trial next time and is no news.
    static void save();
    // The file is read anew with the next look.
    static void forget();
};

#endif
