// Runs a fuzz target without a fuzzer: over each seed as it is, and changed in many small ways that are the same in
// every run. replay FOLDER CHANGES
#include "support/rawrandom.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// One small change: a byte, a bit, a piece taken out, repeated or put in from elsewhere, or the rest cut off.
void change(Bytes& bytes, const Bytes& other, RawRandom& random) {
    if (bytes.empty()) {
        bytes.push_back(static_cast<std::uint8_t>(random.below(256)));
        return;
    }
    const std::size_t at = random.below(static_cast<std::uint32_t>(bytes.size()));
    const std::size_t count = std::min<std::size_t>(1 + random.below(16), bytes.size() - at);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    switch (random.below(6)) {
    case 0:
        bytes[at] = static_cast<std::uint8_t>(random.below(256));
        break;
    case 1:
        bytes[at] ^= static_cast<std::uint8_t>(1U << random.below(8));
        break;
    case 2:
        bytes.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
        break;
    case 3: {
        const Bytes piece(begin, begin + static_cast<std::ptrdiff_t>(count));
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), piece.begin(), piece.end());
        break;
    }
    case 4:
        if (!other.empty()) {
            const std::size_t from = random.below(static_cast<std::uint32_t>(other.size()));
            const std::size_t length = std::min(count, other.size() - from);
            bytes.insert(begin, other.begin() + static_cast<std::ptrdiff_t>(from),
                         other.begin() + static_cast<std::ptrdiff_t>(from + length));
        }
        break;
    default:
        bytes.resize(at);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    std::vector<Bytes> seeds;
    for (const std::filesystem::path& path : paths) {
        seeds.push_back(readFile(path));
        LLVMFuzzerTestOneInput(seeds.back().data(), seeds.back().size());
    }
    if (seeds.empty()) {
        std::fprintf(stderr, "no seeds in %s\n", argv[1]);
        return 1;
    }
    const long changes = std::strtol(argv[2], nullptr, 10);
    RawRandom random(1);
    Bytes bytes;
    for (long i = 0; i < changes; ++i) {
        const auto count = static_cast<std::uint32_t>(seeds.size());
        // A few changes of the same seed, one upon the other.
        if (i % 8 == 0) {
            bytes = seeds[random.below(count)];
        }
        change(bytes, seeds[random.below(count)], random);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu seeds, %ld changes\n", seeds.size(), changes);
    return 0;
}
