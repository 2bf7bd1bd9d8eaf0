#include "kivrender/shader/kivtriedplugins.h"

#include "kivrender/platform/kivfileidentity.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>
#include <vector>

namespace {

constexpr std::size_t largestFile = std::size_t{1} << 18;
constexpr std::size_t mostLines = 500;

std::map<std::string, std::wstring>& known() {
    static std::map<std::string, std::wstring> list;
    return list;
}

// A line that all of the file depends on: another library may find other faults.
std::string headLine() {
    return "selvarin plug-ins that load, with " +
           KivTriedPlugins::keyOf(kivToUtf8(kivModulePath(kivModuleOf(&KivTriedPlugins::save))));
}

std::wstring cacheFolder() {
    const std::wstring cache = kivCacheFolder();
    return cache.empty() ? cache : cache + L"/tolvar";
}

// The lines under a head of this library.
std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    std::string line;
    if (!std::getline(stream, line) || line != headLine()) {
        return lines;
    }
    while (std::getline(stream, line) && lines.size() < mostLines) {
        lines.push_back(line);
    }
    return lines;
}

bool isRead = false;

void readOnce() {
    if (isRead || cacheFolder().empty()) {
        return;
    }
    isRead = true;
    if (const std::optional<std::string> text = kivReadFile(cacheFolder() + L"/plugins", largestFile)) {
        for (const std::string& line : linesOf(*text)) {
            known().try_emplace(line);
        }
    }
}

} // namespace

std::string KivTriedPlugins::keyOf(const std::string& path) {
    const std::string identity = kivFileIdentity(path);
    return identity.empty() || path.find('\n') != std::string::npos ? std::string() : identity + ' ' + path;
}

const std::wstring* KivTriedPlugins::find(const std::string& key) {
    readOnce();
    const auto found = known().find(key);
    return !key.empty() && found != known().end() ? &found->second : nullptr;
}

void KivTriedPlugins::add(const std::string& key, const std::wstring& fault) {
    if (!key.empty()) {
        known()[key] = fault;
    }
}

void KivTriedPlugins::save() {
    const std::wstring folder = cacheFolder();
    if (folder.empty() || !kivMakeFolders(folder)) {
        return;
    }
    kivReplaceFile(folder + L"/plugins", largestFile, [](std::string& text) {
        std::vector<std::string> lines = linesOf(text);
        for (const auto& [key, fault] : known()) {
            if (fault.empty() && std::find(lines.begin(), lines.end(), key) == lines.end()) {
                lines.push_back(key);
            }
        }
        // The oldest go: plug-ins that are gone or have changed are among them.
        const std::size_t first = lines.size() > mostLines ? lines.size() - mostLines : 0;
        text = headLine() + '\n';
        for (std::size_t i = first; i < lines.size(); ++i) {
            text += lines[i] + '\n';
        }
        return true;
    });
}

void KivTriedPlugins::forget() {
    known().clear();
    isRead = false;
}
