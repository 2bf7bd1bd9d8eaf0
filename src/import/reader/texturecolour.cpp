#include "import/reader/texturecolour.h"

#include "import/reader/folderfiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include <leptonica/allheaders.h>

namespace kivimport {
namespace {

// A picture needs memory for four bytes a pixel; beyond this a texture is a mistake or an attack.
constexpr std::int64_t maxPixels = 1 << 28;
constexpr std::uintmax_t maxFileSize = std::uintmax_t{1} << 29;

struct PixDeleter {
    void operator()(PIX* pix) const {
        pixDestroy(&pix);
    }
};
using PixPointer = std::unique_ptr<PIX, PixDeleter>;

bool hasReasonableSize(const std::uint8_t* data, std::size_t size) {
    l_int32 format = 0;
    l_int32 width = 0;
    l_int32 height = 0;
    if (pixReadHeaderMem(data, size, &format, &width, &height, nullptr, nullptr, nullptr) != 0) {
        return false;
    }
    return width > 0 && height > 0 && std::int64_t{width} * height <= maxPixels;
}

Colour average(PIX* pix) {
    const l_int32 width = pixGetWidth(pix);
    const l_int32 height = pixGetHeight(pix);
    const l_uint32* line = pixGetData(pix);
    std::uint64_t sum[3] = {0, 0, 0};
    for (l_int32 y = 0; y < height; ++y, line += pixGetWpl(pix)) {
        for (l_int32 x = 0; x < width; ++x) {
            sum[0] += line[x] >> 24;
            sum[1] += line[x] >> 16 & 0xFF;
            sum[2] += line[x] >> 8 & 0xFF;
        }
    }
    const double full = 255.0 * width * height;
    return {static_cast<double>(sum[0]) / full, static_cast<double>(sum[1]) / full, static_cast<double>(sum[2]) / full};
}

std::optional<std::vector<std::uint8_t>> readFile(const std::filesystem::path& path) {
    std::error_code problem;
    if (!std::filesystem::is_regular_file(path, problem) || std::filesystem::file_size(path, problem) > maxFileSize) {
        return std::nullopt;
    }
    std::ifstream stream(path, std::ios::binary);
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return stream.bad() || bytes.empty() ? std::nullopt : std::optional(std::move(bytes));
}

} // namespace

std::optional<Colour> averageOfPictureBytes(const std::uint8_t* data, std::size_t size) {
    // A texture that can't be read is no error, and the library would write about it to standard error.
    setMsgSeverity(L_SEVERITY_NONE);
    if (!hasReasonableSize(data, size)) {
        return std::nullopt;
    }
    const PixPointer pix(pixReadMem(data, size));
    const PixPointer full(pix ? pixConvertTo32(pix.get()) : nullptr);
    return full ? std::optional(average(full.get())) : std::nullopt;
}

std::optional<Colour> averageOfPictureFile(const std::string& path) {
    const auto bytes = readFile(path);
    return bytes ? averageOfPictureBytes(bytes->data(), bytes->size()) : std::nullopt;
}

void averageTextureFile(Material& material, const std::string& modelFolder) {
    std::string name = material.texture;
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::filesystem::path folder(modelFolder);
    const std::filesystem::path given(name);
    for (const std::filesystem::path& path : {folder / given, folder / given.filename()}) {
        const auto colour = isWithin(path, folder) ? averageOfPictureFile(path.string()) : std::nullopt;
        if (colour) {
            material.textureAverage = *colour;
            material.textureLoaded = true;
            return;
        }
    }
}

} // namespace kivimport
