// Style files with any content, as a stranger could send one: reading gives a head within its bounds and settings
// within their ranges; what is written over it comes back, and every key that nobody here knows stays as it was.
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivstylefile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr KivSettingInfo table[] = {
    {"Bands", KivSettingType::Int, 1, 8, 3, L"A number", nullptr},
    {"Softness", KivSettingType::Double, -10, 100, 4, L"A decimal", nullptr},
    {"Highlight", KivSettingType::Bool, 0, 1, 1, L"A switch", nullptr},
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0x102030, L"A colour", nullptr},
    {"Medium", KivSettingType::Choice, 0, 2, 1, L"A choice", "pencil|ink|charcoal"},
};
constexpr int numSettings = 5;
constexpr const wchar_t* section = L"Cartoon";

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// One file for the whole run, in memory where there is such a folder.
const std::string& stylePath() {
    static const std::string path = [] {
        const char* folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
        std::string name = std::string(folder) + "/selvarin-fuzz-" + std::to_string(getpid()) + ".kiv";
        static std::string kept;
        kept = name;
        std::atexit([] { unlink(kept.c_str()); });
        return name;
    }();
    return path;
}

using Entries = std::vector<std::pair<std::wstring, std::wstring>>;

// What the file holds that nobody here knows.
Entries strangersOf(const std::wstring& path) {
    Entries entries;
    const KivProfile file = KivProfile::load(path).value_or(KivProfile());
    for (const std::wstring& name : file.sections()) {
        for (const std::wstring& key : file.keys(name)) {
            const bool isOurs =
                kivEqualNoCase(name, L"General") ||
                (kivEqualNoCase(name, section) && kivFindSetting(table, numSettings, kivToUtf8(key)) >= 0);
            if (!isOurs) {
                entries.emplace_back(name + L"]" + key, file.read(name, key).value_or(L""));
            }
        }
    }
    return entries;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::ofstream(stylePath(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    const std::wstring path = kivFromUtf8(stylePath());
    KivStyleHead head;
    const bool isStyle = kivReadStyleHead(path, &head);
    require(isStyle == (!head.nonCombinable.empty() || !head.combinables.empty()));
    require(head.nonCombinable.size() < kivMaxPath);
    for (const std::wstring& name : head.combinables) {
        require(!name.empty() && name.size() < kivMaxPath && name.find(L';') == std::wstring::npos);
    }

    KivTablePageSettings settings(L"Page", table, numSettings);
    require(settings.load(section, path.c_str()));
    for (int i = 0; i < numSettings; ++i) {
        const double value = settings.getValue(i);
        require(std::isfinite(value) && value == kivClampSetting(table[i], value));
    }

    const Entries strangers = strangersOf(path);
    require(kivWriteStyleHead(path, {L"Cartoon", {L"Paper", L"Outline"}}));
    require(settings.save(section, path.c_str()));
    require(strangersOf(path) == strangers);
    KivStyleHead written;
    require(kivReadStyleHead(path, &written));
    require(written.nonCombinable == L"Cartoon");
    require((written.combinables == std::vector<std::wstring>{L"Paper", L"Outline"}));
    KivTablePageSettings again(L"Page", table, numSettings);
    require(again.load(section, path.c_str()));
    for (int i = 0; i < numSettings; ++i) {
        require(again.getValue(i) == settings.getValue(i));
    }
    return 0;
}
