// PNG. Reading goes through libpng. Writing is ours, since every render ends with it: all rows are compressed in one go
// by libdeflate, which takes a third of the time of zlib for a size within a few percent.
#include "kivrender/platform/kivimagecodecs.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <libdeflate.h>
#include <png.h>

namespace {

constexpr double inchesPerMetre = 1 / 0.0254;

std::uint32_t readBigEndian(const std::uint8_t* from) {
    return static_cast<std::uint32_t>(from[0]) << 24 | static_cast<std::uint32_t>(from[1]) << 16 |
           static_cast<std::uint32_t>(from[2]) << 8 | from[3];
}

void appendBigEndian(std::vector<std::uint8_t>& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

// Takes the resolution from the chunks before the pixels; libpng's short interface doesn't tell it.
void readResolution(KivImageBytes bytes, KivImage& image) {
    constexpr std::size_t signature = 8;
    constexpr std::size_t frame = 12; // length, name and check of a chunk
    for (std::size_t at = signature; at + frame <= bytes.size();) {
        const std::size_t length = readBigEndian(bytes.data() + at);
        const std::uint8_t* name = bytes.data() + at + 4;
        if (length > bytes.size() - at - frame || std::memcmp(name, "IDAT", 4) == 0) {
            return;
        }
        if (std::memcmp(name, "pHYs", 4) == 0 && length == 9 && name[12] == 1) {
            image.setResolution(readBigEndian(name + 4) / inchesPerMetre, readBigEndian(name + 8) / inchesPerMetre);
            return;
        }
        at += frame + length;
    }
}

void appendChunk(std::vector<std::uint8_t>& out, const char* name, KivImageBytes data) {
    appendBigEndian(out, static_cast<std::uint32_t>(data.size()));
    const std::size_t start = out.size();
    out.insert(out.end(), name, name + 4);
    out.insert(out.end(), data.begin(), data.end());
    appendBigEndian(out, libdeflate_crc32(0, out.data() + start, out.size() - start));
}

bool hasAlpha(const KivImage& image) {
    return image.layout() == KivImage::Layout::rgba32;
}

std::size_t bytesPerPixel(const KivImage& image) {
    return image.layout() == KivImage::Layout::indexed8 ? 1 : hasAlpha(image) ? 4 : 3;
}

// Red, green, blue and alpha.
void copyRowRgba(const KivImage& image, std::int32_t y, std::uint8_t* to) {
    const std::uint8_t* from = image.row(y);
    for (std::int32_t x = 0; x < image.width(); ++x, from += 4, to += 4) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
        to[3] = from[3];
    }
}

// All rows as PNG wants them: a byte with the row's filter, then the pixels.
std::vector<std::uint8_t> filteredRows(const KivImage& image) {
    // Flat colours compress best unfiltered, as long as the row above lies within the 32 KiB that deflate looks back.
    // Wider rows are stored as the difference from the row above.
    constexpr std::size_t window = 32768;
    const bool indexed = image.layout() == KivImage::Layout::indexed8;
    const std::size_t rowSize = static_cast<std::size_t>(image.width()) * bytesPerPixel(image);
    const bool difference = !indexed && rowSize + 1 >= window;
    std::vector<std::uint8_t> rows((rowSize + 1) * static_cast<std::size_t>(image.height()));
    for (std::int32_t y = 0; y < image.height(); ++y) {
        std::uint8_t* to = rows.data() + (rowSize + 1) * static_cast<std::size_t>(y);
        if (indexed) {
            std::memcpy(to + 1, image.row(y), rowSize);
        } else if (hasAlpha(image)) {
            copyRowRgba(image, y, to + 1);
        } else {
            image.copyRowRgb(y, to + 1);
        }
    }
    for (std::int32_t y = image.height() - 1; difference && y > 0; --y) {
        std::uint8_t* row = rows.data() + (rowSize + 1) * static_cast<std::size_t>(y);
        const std::uint8_t* above = row - rowSize - 1;
        *row = PNG_FILTER_VALUE_UP;
        for (std::size_t i = 1; i <= rowSize; ++i) {
            row[i] = static_cast<std::uint8_t>(row[i] - above[i]);
        }
    }
    return rows;
}

std::vector<std::uint8_t> compress(const std::vector<std::uint8_t>& data) {
    constexpr int level = 5;
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(level), &libdeflate_free_compressor);
    if (!compressor) {
        return {};
    }
    std::vector<std::uint8_t> out(libdeflate_zlib_compress_bound(compressor.get(), data.size()));
    out.resize(libdeflate_zlib_compress(compressor.get(), data.data(), data.size(), out.data(), out.size()));
    return out;
}

} // namespace

std::unique_ptr<KivImage> kivReadPng(KivImageBytes bytes, std::uint64_t maxPixels) {
    struct Reader : png_image {
        Reader() : png_image{} {
            version = PNG_IMAGE_VERSION;
        }
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        ~Reader() {
            png_image_free(this);
        }
    } reader;
    if (png_image_begin_read_from_memory(&reader, bytes.data(), bytes.size()) == 0 ||
        !kivImageSizeAllowed(reader.width, reader.height, maxPixels)) {
        return nullptr;
    }
    std::unique_ptr<KivImage> image =
        KivImage::create({static_cast<std::int32_t>(reader.width), static_cast<std::int32_t>(reader.height)});
    if (!image) {
        return nullptr;
    }
    // Without alpha libpng would lay the picture over a colour; with it the colours come as they are stored.
    reader.format = PNG_FORMAT_BGRA;
    std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(reader));
    if (png_image_finish_read(&reader, nullptr, pixels.data(), 0, nullptr) == 0) {
        return nullptr;
    }
    const std::uint8_t* from = pixels.data();
    for (std::int32_t y = 0; y < image->height(); ++y) {
        std::uint8_t* to = image->row(y);
        for (std::int32_t x = 0; x < image->width(); ++x, from += 4, to += 3) {
            std::copy_n(from, 3, to);
        }
    }
    readResolution(bytes, *image);
    return image;
}

std::vector<std::uint8_t> kivWritePng(const KivImage& image) {
    const bool indexed = image.layout() == KivImage::Layout::indexed8;
    const std::vector<std::uint8_t> pixels = compress(filteredRows(image));
    if (pixels.empty()) {
        return {};
    }
    std::vector<std::uint8_t> out{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    out.reserve(pixels.size() + 2048);

    std::vector<std::uint8_t> chunk;
    appendBigEndian(chunk, static_cast<std::uint32_t>(image.width()));
    appendBigEndian(chunk, static_cast<std::uint32_t>(image.height()));
    chunk.push_back(8); // bits
    chunk.push_back(indexed ? PNG_COLOR_TYPE_PALETTE : hasAlpha(image) ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB);
    chunk.insert(chunk.end(), 3, std::uint8_t{0}); // compression, filters, no interlacing: one kind each
    appendChunk(out, "IHDR", chunk);

    if (image.horizontalResolution() > 0 && image.verticalResolution() > 0) {
        chunk.clear();
        appendBigEndian(chunk, static_cast<std::uint32_t>(std::lround(image.horizontalResolution() * inchesPerMetre)));
        appendBigEndian(chunk, static_cast<std::uint32_t>(std::lround(image.verticalResolution() * inchesPerMetre)));
        chunk.push_back(1); // per metre
        appendChunk(out, "pHYs", chunk);
    }
    if (indexed) {
        chunk.clear();
        for (const std::uint32_t colour : image.palette()) {
            chunk.push_back(static_cast<std::uint8_t>(colour >> 16));
            chunk.push_back(static_cast<std::uint8_t>(colour >> 8));
            chunk.push_back(static_cast<std::uint8_t>(colour));
        }
        appendChunk(out, "PLTE", chunk);
    }
    // A chunk holds less than 2 GiB.
    constexpr std::size_t most = std::size_t{1} << 30;
    for (std::size_t at = 0; at < pixels.size(); at += most) {
        appendChunk(out, "IDAT", KivImageBytes(pixels).subspan(at, std::min(most, pixels.size() - at)));
    }
    appendChunk(out, "IEND", {});
    return out;
}
