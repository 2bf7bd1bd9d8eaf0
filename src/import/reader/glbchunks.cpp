#include "import/reader/glbchunks.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <limits>
#include <utility>
#include <vector>

namespace kivimport {
namespace {

constexpr std::uint32_t magic = 0x46546c67;     // "glTF"
constexpr std::uint32_t jsonChunk = 0x4e4f534a; // "JSON"
constexpr std::uint64_t headerBytes = 12;
constexpr std::uint64_t chunkHeaderBytes = 8;
// Two are usual; those of extensions are few.
constexpr std::size_t maxChunks = 1000;

struct Chunk {
    std::uint64_t at = 0; // of its bytes, behind its header
    std::uint32_t length = 0;
    std::uint32_t type = 0;
};

std::uint64_t aligned(std::uint64_t length) {
    return (length + 3) / 4 * 4;
}

template <std::size_t n> bool readNumbers(std::istream& from, std::array<std::uint32_t, n>& numbers) {
    std::array<unsigned char, 4 * n> bytes{};
    if (!from.read(reinterpret_cast<char*>(bytes.data()), bytes.size())) {
        return false;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned char* b = &bytes[4 * i];
        numbers[i] = b[0] | b[1] << 8 | b[2] << 16 | static_cast<std::uint32_t>(b[3]) << 24;
    }
    return true;
}

void addNumber(std::string& to, std::uint64_t number) {
    for (int shift = 0; shift < 32; shift += 8) {
        to.push_back(static_cast<char>(number >> shift & 0xff));
    }
}

// Empty unless they fill the file up to its end.
std::vector<Chunk> chunksOf(std::istream& file, std::uint64_t fileBytes) {
    std::vector<Chunk> chunks;
    std::uint64_t at = headerBytes;
    while (at < fileBytes) {
        std::array<std::uint32_t, 2> header{};
        if (chunks.size() == maxChunks || !file.seekg(static_cast<std::streamoff>(at)) || !readNumbers(file, header) ||
            header[0] > fileBytes - at - chunkHeaderBytes) {
            return {};
        }
        chunks.push_back({at + chunkHeaderBytes, header[0], header[1]});
        at += chunkHeaderBytes + header[0];
    }
    return chunks;
}

} // namespace

std::string alignedGlb(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<std::uint32_t, 3> header{};
    if (!readNumbers(file, header) || header[0] != magic || header[1] != 2 || !file.seekg(0, std::ios::end)) {
        return {};
    }
    const std::vector<Chunk> chunks = chunksOf(file, static_cast<std::uint64_t>(file.tellg()));
    std::uint64_t bytes = headerBytes;
    bool isAligned = true;
    for (const Chunk& chunk : chunks) {
        bytes += chunkHeaderBytes + aligned(chunk.length);
        isAligned = isAligned && aligned(chunk.length) == chunk.length;
    }
    if (isAligned || bytes > std::numeric_limits<std::uint32_t>::max()) {
        return {};
    }
    std::string result;
    result.reserve(bytes);
    addNumber(result, magic);
    addNumber(result, 2);
    addNumber(result, bytes);
    for (const Chunk& chunk : chunks) {
        addNumber(result, aligned(chunk.length));
        addNumber(result, chunk.type);
        const std::size_t begin = result.size();
        result.resize(begin + chunk.length);
        if (!file.seekg(static_cast<std::streamoff>(chunk.at)) || !file.read(&result[begin], chunk.length)) {
            return {};
        }
        result.resize(begin + aligned(chunk.length), chunk.type == jsonChunk ? ' ' : '\0');
    }
    return result;
}

} // namespace kivimport
