// Profile files with any content: reading must not fail, a write must be readable back and leave all else as it was.
#include "kivrender/platform/kivprofile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const KivProfile profile(bytes);
    // An odd byte at the end of a UTF-16 file is no character, and there it is the only thing that may be lost.
    const std::string again = profile.bytes();
    require(again == bytes || again == bytes.substr(0, size - 1));

    for (const std::wstring& section : profile.sections()) {
        require(profile.hasSection(section));
        for (const std::wstring& key : profile.keys(section)) {
            require(profile.read(section, key).has_value());
        }
    }

    KivProfile changed = profile;
    require(changed.write(L"General", L"Key", L"value"));
    require(changed.read(L"General", L"Key") == L"value");
    require(changed.sections().size() >= profile.sections().size());
    const KivProfile reread(changed.bytes());
    require(reread.read(L"General", L"Key") == L"value");
    require(reread.sections() == changed.sections());
    require(changed.remove(L"General", L"Key"));
    return 0;
}
