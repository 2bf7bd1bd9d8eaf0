#include "import/reader/texturepicture.h"

#include "import/reader/folderfiles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <vector>

#include <leptonica/allheaders.h>

namespace kivimport {
namespace {

// A picture needs memory for four bytes a pixel while it is decoded; beyond this a texture is a mistake or an attack.
constexpr std::int64_t maxPixels = std::int64_t{1} << 26;
constexpr std::uintmax_t maxFileSize = std::uintmax_t{1} << 29;

constexpr const char* brokenPicture = "it is no picture that can be read";
constexpr const char* largePicture = "it is too large";
constexpr const char* missingPicture = "there is no such file beside the model";

struct PixDeleter {
    void operator()(PIX* pix) const {
        pixDestroy(&pix);
    }
};
using PixPointer = std::unique_ptr<PIX, PixDeleter>;

Picture unusable(const char* why) {
    Picture picture;
    picture.problem = why;
    return picture;
}

Colour averageOf(const std::vector<std::uint8_t>& pixels) {
    std::array<std::uint64_t, 3> sum{};
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        for (std::size_t c = 0; c < 3; ++c) {
            sum[c] += pixels[i + c];
        }
    }
    const double full = 255.0 * static_cast<double>(pixels.size() / 4);
    return {static_cast<double>(sum[0]) / full, static_cast<double>(sum[1]) / full, static_cast<double>(sum[2]) / full};
}

// Adds up a block of pixels. Colours count by their alpha, as what lies under transparent pixels is seldom meant.
class Block {
public:
    void add(const std::uint8_t* pixel) {
        for (std::size_t c = 0; c < 3; ++c) {
            plain[c] += pixel[c];
            weighted[c] += std::uint64_t{pixel[c]} * pixel[3];
        }
        alpha += pixel[3];
        ++count;
    }
    void writeTo(std::vector<std::uint8_t>& pixels) const {
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint64_t mean = alpha > 0 ? (weighted[c] + alpha / 2) / alpha : (plain[c] + count / 2) / count;
            pixels.push_back(static_cast<std::uint8_t>(mean));
        }
        pixels.push_back(static_cast<std::uint8_t>((alpha + count / 2) / count));
    }

private:
    std::array<std::uint64_t, 3> weighted{};
    std::array<std::uint64_t, 3> plain{};
    std::uint64_t alpha = 0;
    std::uint64_t count = 0;
};

// row(y, out) gives a row as red, green, blue and alpha. Reduced, averaged, looked through for alpha.
template <class Row> Picture pictureOfRows(std::int32_t width, std::int32_t height, Row row) {
    const std::int32_t step = (std::max(width, height) + maxTextureSide - 1) / maxTextureSide;
    Picture picture;
    picture.width = (width + step - 1) / step;
    picture.height = (height + step - 1) / step;
    picture.pixels.reserve(std::size_t{4} * static_cast<std::size_t>(picture.width) *
                           static_cast<std::size_t>(picture.height));
    std::vector<std::uint8_t> line(std::size_t{4} * static_cast<std::size_t>(width));
    std::vector<Block> blocks;
    for (std::int32_t y = 0; y < height; ++y) {
        if (y % step == 0) {
            blocks.assign(static_cast<std::size_t>(picture.width), Block());
        }
        row(y, line.data());
        for (std::int32_t x = 0; x < width; ++x) {
            blocks[static_cast<std::size_t>(x / step)].add(&line[std::size_t{4} * static_cast<std::size_t>(x)]);
        }
        if (y % step == step - 1 || y == height - 1) {
            for (const Block& block : blocks) {
                block.writeTo(picture.pixels);
            }
        }
    }
    picture.average = averageOf(picture.pixels);
    for (std::size_t i = 3; i < picture.pixels.size() && !picture.hasAlpha; i += 4) {
        picture.hasAlpha = picture.pixels[i] < 255;
    }
    return picture;
}

void copyRow(const PIX* pix, bool hasAlpha, std::int32_t y, std::uint8_t* to) {
    const l_uint32* const line = pixGetData(const_cast<PIX*>(pix)) + std::ptrdiff_t{y} * pixGetWpl(pix);
    for (l_int32 x = 0; x < pixGetWidth(pix); ++x, to += 4) {
        to[0] = static_cast<std::uint8_t>(line[x] >> L_RED_SHIFT);
        to[1] = static_cast<std::uint8_t>(line[x] >> L_GREEN_SHIFT);
        to[2] = static_cast<std::uint8_t>(line[x] >> L_BLUE_SHIFT);
        to[3] = hasAlpha ? static_cast<std::uint8_t>(line[x] >> L_ALPHA_SHIFT) : 255;
    }
}

// The path of a picture's file; empty for none.
std::string placeOf(const std::string& name, const std::filesystem::path& folder) {
    const std::filesystem::path given(name);
    for (const std::filesystem::path& path : {folder / given, folder / given.filename()}) {
        std::error_code problem;
        if (isWithin(path, folder) && std::filesystem::is_regular_file(path, problem)) {
            return path.string();
        }
    }
    return {};
}

} // namespace

Picture pictureOf(std::int32_t width, std::int32_t height, const std::uint8_t* pixels) {
    const std::size_t rowSize = std::size_t{4} * static_cast<std::size_t>(width);
    return pictureOfRows(width, height, [&](std::int32_t y, std::uint8_t* to) {
        std::copy_n(pixels + rowSize * static_cast<std::size_t>(y), rowSize, to);
    });
}

Picture readPictureBytes(const std::uint8_t* data, std::size_t size) {
    // A texture is allowed to be broken, and the library would write about it to standard error.
    setMsgSeverity(L_SEVERITY_NONE);
    l_int32 format = 0;
    l_int32 width = 0;
    l_int32 height = 0;
    if (pixReadHeaderMem(data, size, &format, &width, &height, nullptr, nullptr, nullptr) != 0 || width <= 0 ||
        height <= 0) {
        return unusable(brokenPicture);
    }
    if (std::int64_t{width} * height > maxPixels) {
        return unusable(largePicture);
    }
    const PixPointer pix(pixReadMem(data, size));
    const PixPointer full(pix ? pixConvertTo32(pix.get()) : nullptr);
    if (!full || pixGetWidth(full.get()) != width || pixGetHeight(full.get()) != height) {
        return unusable(brokenPicture);
    }
    const bool hasAlpha = pixGetSpp(full.get()) == 4;
    return pictureOfRows(width, height,
                         [&](std::int32_t y, std::uint8_t* to) { copyRow(full.get(), hasAlpha, y, to); });
}

Picture readPictureFile(const std::string& path) {
    std::error_code problem;
    if (!std::filesystem::is_regular_file(path, problem)) {
        return unusable(missingPicture);
    }
    if (std::filesystem::file_size(path, problem) > maxFileSize || problem) {
        return unusable(largePicture);
    }
    std::ifstream stream(path, std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return stream.bad() ? unusable(brokenPicture) : readPictureBytes(bytes.data(), bytes.size());
}

Picture readTextureFile(std::string name, const std::string& modelFolder) {
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::string path = placeOf(name, modelFolder);
    return path.empty() ? unusable(missingPicture) : readPictureFile(path);
}

} // namespace kivimport
