// Assimp writes binary FBX of version 7500, with places of eight bytes, which its own reader (5.2) refuses. The same
// file with places of four bytes is of version 7400, which most programs write, and which it reads.
#ifndef TESTS_IMPORT_NARROWFBX_H
#define TESTS_IMPORT_NARROWFBX_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

class NarrowFbx {
public:
    explicit NarrowFbx(const std::string& file) : wide(file) {
        narrow = wide.substr(0, versionAt);
        append(7400, 4);
        std::size_t at = versionAt + 4;
        copyNodes(at, wide.size());
        narrow += wide.substr(at); // the foot
    }
    const std::string& content() const {
        return narrow;
    }

private:
    static constexpr std::size_t versionAt = 23;
    static constexpr std::size_t wideHead = 25;
    static constexpr std::size_t narrowHead = 13;

    std::uint64_t number(std::size_t at) const {
        std::uint64_t value = 0;
        if (at + sizeof value > wide.size()) {
            throw std::runtime_error("not a binary FBX file of version 7500");
        }
        std::memcpy(&value, wide.data() + at, sizeof value);
        return value;
    }
    void append(std::uint64_t value, std::size_t bytes) {
        narrow.append(reinterpret_cast<const char*>(&value), bytes);
    }

    // Nodes up to the empty one that ends a list; leaves the position behind it.
    void copyNodes(std::size_t& at, std::size_t limit) {
        while (at < limit) {
            const std::size_t end = number(at);
            if (end == 0) {
                at += wideHead;
                break;
            }
            copyNode(at, end);
            at = end;
        }
        narrow.append(narrowHead, '\0');
    }
    // A place, the number of properties, their length, the name; then the properties and the nodes within.
    void copyNode(std::size_t at, std::size_t end) {
        const std::size_t start = narrow.size();
        const std::size_t propertiesLength = number(at + 16);
        append(0, 4);
        append(number(at + 8), 4);
        append(propertiesLength, 4);
        const std::size_t length = 1 + static_cast<unsigned char>(wide.at(at + 24)) + propertiesLength;
        narrow += wide.substr(at + 24, length);
        std::size_t inside = at + 24 + length;
        if (inside < end) {
            copyNodes(inside, end);
        }
        const auto place = static_cast<std::uint32_t>(narrow.size());
        std::memcpy(narrow.data() + start, &place, sizeof place);
    }

    const std::string& wide;
    std::string narrow;
};

#endif
