#include "apps/common/zipfile.h"

#include <libdeflate.h>

#include <limits>

namespace {

void append16(std::vector<std::uint8_t>& out, std::uint32_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

void append32(std::vector<std::uint8_t>& out, std::uint32_t value) {
    append16(out, value);
    append16(out, value >> 16);
}

// The fields of an entry that stand both in front of its content and in the directory: from the version to the lengths.
void appendFields(std::vector<std::uint8_t>& out, const std::string& name, std::span<const std::uint8_t> content) {
    constexpr std::uint32_t version = 10;
    constexpr std::uint32_t firstDay = 1 << 5 | 1; // of 1980, when the count of days begins
    const auto size = static_cast<std::uint32_t>(content.size());
    append16(out, version);
    append16(out, 0); // flags
    append16(out, 0); // stored
    append16(out, 0); // midnight
    append16(out, firstDay);
    append32(out, libdeflate_crc32(0, content.data(), content.size()));
    append32(out, size);
    append32(out, size);
    append16(out, static_cast<std::uint32_t>(name.size()));
    append16(out, 0); // no further fields
}

} // namespace

void ZipFile::add(const std::string& name, std::span<const std::uint8_t> content) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
    tooLarge = tooLarge || entries.size() + content.size() + directory.size() + (1U << 16) > most;
    if (tooLarge) {
        return;
    }
    const auto offset = static_cast<std::uint32_t>(entries.size());
    append32(entries, 0x04034B50);
    appendFields(entries, name, content);
    entries.insert(entries.end(), name.begin(), name.end());
    entries.insert(entries.end(), content.begin(), content.end());
    append32(directory, 0x02014B50);
    append16(directory, 20); // made by the version of all that is used here
    appendFields(directory, name, content);
    append16(directory, 0); // no comment
    append16(directory, 0); // on the first disk
    append16(directory, 0); // what it is, nobody knows
    append32(directory, 0); // no attributes
    append32(directory, offset);
    directory.insert(directory.end(), name.begin(), name.end());
    ++count;
}

std::vector<std::uint8_t> ZipFile::bytes() const {
    std::vector<std::uint8_t> all = entries;
    all.insert(all.end(), directory.begin(), directory.end());
    append32(all, 0x06054B50);
    append32(all, 0); // the only disk
    append16(all, count);
    append16(all, count);
    append32(all, static_cast<std::uint32_t>(directory.size()));
    append32(all, static_cast<std::uint32_t>(entries.size()));
    append16(all, 0); // no comment
    return all;
}
