// SHA-256 (FIPS 180-4), by which a run knows what an earlier one has done already.
#ifndef APPS_CLI_CONTENTHASH_H
#define APPS_CLI_CONTENTHASH_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class ContentHash {
public:
    void add(const void* bytes, std::size_t count);
    // With its length, so that "ab", "c" and "a", "bc" are not the same.
    void addText(std::string_view text);
    // The content of a file; one that can't be read counts as such.
    void addFile(const std::string& path);
    // 64 hexadecimal digits; ends the adding.
    std::string digits();

private:
    void mixBlock(const std::uint8_t* block);

    std::array<std::uint32_t, 8> state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<std::uint8_t, 64> pending{};
    std::size_t numPending = 0;
    std::uint64_t total = 0;
};

#endif
