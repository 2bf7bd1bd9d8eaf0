#include "apps/cli/contenthash.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr std::array<std::uint32_t, 64> constants{
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

} // namespace

void ContentHash::mixBlock(const std::uint8_t* block) {
    std::array<std::uint32_t, 64> w{};
    for (std::size_t i = 0; i < 16; ++i) {
        w[i] = static_cast<std::uint32_t>(block[4 * i]) << 24 | static_cast<std::uint32_t>(block[4 * i + 1]) << 16 |
               static_cast<std::uint32_t>(block[4 * i + 2]) << 8 | block[4 * i + 3];
    }
    for (std::size_t i = 16; i < 64; ++i) {
        const std::uint32_t a = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3;
        const std::uint32_t b = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10;
        w[i] = w[i - 16] + a + w[i - 7] + b;
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < 64; ++i) {
        const std::uint32_t sumE = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const std::uint32_t one = h + sumE + ((e & f) ^ (~e & g)) + constants[i] + w[i];
        const std::uint32_t sumA = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const std::uint32_t two = sumA + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + one;
        d = c;
        c = b;
        b = a;
        a = one + two;
    }
    const std::array<std::uint32_t, 8> mixed{a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < 8; ++i) {
        state[i] += mixed[i];
    }
}

void ContentHash::add(const void* bytes, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(bytes);
    total += count;
    while (count > 0) {
        const std::size_t part = std::min(count, pending.size() - numPending);
        std::copy_n(from, part, pending.begin() + static_cast<std::ptrdiff_t>(numPending));
        numPending += part;
        from += part;
        count -= part;
        if (numPending == pending.size()) {
            mixBlock(pending.data());
            numPending = 0;
        }
    }
}

void ContentHash::addText(std::string_view text) {
    const std::string length = std::to_string(text.size()) + ":";
    add(length.data(), length.size());
    add(text.data(), text.size());
}

void ContentHash::addFile(const std::string& path) {
    // A pipe would keep its reader waiting, and a device has no end.
    std::error_code problem;
    std::ifstream file;
    if (std::filesystem::is_regular_file(path, problem)) {
        file.open(path, std::ios::binary);
    }
    if (!file.is_open()) {
        addText("no file");
        return;
    }
    std::vector<char> buffer(1 << 16);
    std::uint64_t length = 0;
    while (file.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || file.gcount() > 0) {
        add(buffer.data(), static_cast<std::size_t>(file.gcount()));
        length += static_cast<std::uint64_t>(file.gcount());
    }
    addText("file of " + std::to_string(length));
}

std::string ContentHash::digits() {
    const std::uint64_t bits = total * 8;
    const std::uint8_t one = 0x80;
    const std::uint8_t zero = 0;
    add(&one, 1);
    while (numPending != 56) {
        add(&zero, 1);
    }
    for (int shift = 56; shift >= 0; shift -= 8) {
        const auto byte = static_cast<std::uint8_t>(bits >> shift);
        add(&byte, 1);
    }
    std::string text;
    for (const std::uint32_t word : state) {
        char part[9];
        std::snprintf(part, sizeof part, "%08x", word);
        text += part;
    }
    return text;
}
