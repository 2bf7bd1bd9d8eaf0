// A zip file in memory, by PKWARE's APPNOTE: entries are stored as they are, for content that is compressed already.
// The same entries give the same bytes: they have no time of their own.
#ifndef APPS_COMMON_ZIPFILE_H
#define APPS_COMMON_ZIPFILE_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

class ZipFile {
public:
    // The name in ASCII, with slashes between folders. All together must stay below 4 GiB; see isTooLarge.
    void add(const std::string& name, std::span<const std::uint8_t> content);

    bool isTooLarge() const {
        return tooLarge;
    }
    // The whole file.
    std::vector<std::uint8_t> bytes() const;

private:
    std::vector<std::uint8_t> entries;
    std::vector<std::uint8_t> directory;
    std::uint16_t count = 0;
    bool tooLarge = false;
};

#endif
