#include "kivrender/platform/kivfolders.h"

#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace {

// A folder from the environment; one that is not absolute counts as not set.
std::string fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? value : "";
}

std::string withoutClosingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string home() {
    return withoutClosingSlashes(fromEnvironment("HOME"));
}

std::string underHome(const char* folder) {
    const std::string root = home();
    return root.empty() ? root : root + folder;
}

std::string configFolder() {
    const std::string set = fromEnvironment("XDG_CONFIG_HOME");
    return set.empty() ? underHome("/.config") : withoutClosingSlashes(set);
}

// The text between the quotes of a shell assignment, backslashes resolved.
std::string unquoted(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            ++i;
        }
        out.push_back(text[i]);
    }
    return out;
}

// The documents folder of one line of user-dirs.dirs, XDG_DOCUMENTS_DIR="$HOME/Documents"; empty if the line is
// another.
std::string documentsOf(std::string_view line) {
    const std::size_t begin = line.find_first_not_of(" \t");
    constexpr std::string_view name = "XDG_DOCUMENTS_DIR=\"";
    if (begin == std::string_view::npos || !line.substr(begin).starts_with(name)) {
        return {};
    }
    line.remove_prefix(begin + name.size());
    constexpr std::string_view homeMark = "$HOME";
    std::string root;
    if (line.starts_with(homeMark)) {
        root = home();
        line.remove_prefix(homeMark.size());
        if (root.empty()) {
            return {};
        }
    }
    const std::string path = root + unquoted(line);
    return path.starts_with('/') ? withoutClosingSlashes(path) : std::string();
}

bool isFolder(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

std::wstring kivDataFolder() {
    const std::string set = fromEnvironment("XDG_DATA_HOME");
    return kivFromUtf8(set.empty() ? underHome("/.local/share") : withoutClosingSlashes(set));
}

std::wstring kivConfigFolder() {
    return kivFromUtf8(configFolder());
}

std::wstring kivCacheFolder() {
    const std::string set = fromEnvironment("XDG_CACHE_HOME");
    return kivFromUtf8(set.empty() ? underHome("/.cache") : withoutClosingSlashes(set));
}

std::wstring kivMachineConfigFolder() {
    const std::string set = fromEnvironment("XDG_CONFIG_DIRS");
    const std::string first = withoutClosingSlashes(set.substr(0, set.find(':')));
    return kivFromUtf8(first.empty() ? "/etc/xdg" : first);
}

std::wstring kivDocumentsFolder() {
    constexpr std::size_t largest = std::size_t{1} << 20;
    const auto file = kivReadFile(kivFromUtf8(configFolder() + "/user-dirs.dirs"), largest);
    std::string_view rest = file ? std::string_view(*file) : std::string_view();
    std::string found;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string path = documentsOf(rest.substr(0, end));
        if (!path.empty()) {
            found = path; // the last one counts, as it would for a shell that reads the file
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return kivFromUtf8(found.empty() ? home() : found);
}

bool kivMakeFolders(const std::wstring& path) {
    const std::string whole = kivToUtf8(path);
    if (whole.empty()) {
        return false;
    }
    for (std::size_t slash = whole.find('/', 1); slash != std::string::npos; slash = whole.find('/', slash + 1)) {
        mkdir(whole.substr(0, slash).c_str(), 0777); // one that is there already is not a failure; the end tells
    }
    mkdir(whole.c_str(), 0777);
    return isFolder(whole);
}

std::vector<std::wstring> kivListFiles(const std::wstring& folder, std::wstring_view ending) {
    std::vector<std::wstring> names;
    const std::string path = kivToUtf8(folder);
    DIR* const listing = opendir(path.c_str());
    if (listing == nullptr) {
        return names;
    }
    while (const dirent* entry = readdir(listing)) {
        std::wstring name = kivFromUtf8(entry->d_name);
        if (name.size() < ending.size() ||
            !kivEqualNoCase(std::wstring_view(name).substr(name.size() - ending.size()), ending)) {
            continue;
        }
        struct stat info {};
        if (fstatat(dirfd(listing), entry->d_name, &info, 0) == 0 && S_ISREG(info.st_mode)) {
            names.push_back(std::move(name));
        }
    }
    closedir(listing);
    std::sort(names.begin(), names.end(), [](const std::wstring& a, const std::wstring& b) {
        const int order = kivCompareNoCase(a.c_str(), b.c_str());
        return order != 0 ? order < 0 : a < b;
    });
    return names;
}

std::FILE* kivOpenFile(const std::wstring& path, const char* mode) {
    return std::fopen(kivToUtf8(path).c_str(), mode);
}
