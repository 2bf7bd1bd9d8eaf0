// BMP, GIF and TIFF, through Leptonica. What it would take on trust is checked before: the size of the picture, and
// that a file holds all that it speaks of.
#include "kivrender/platform/kivimagecodecs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <leptonica/allheaders.h>
#include <set>

namespace {

struct PixDeleter {
    void operator()(Pix* pix) const {
        pixDestroy(&pix);
    }
};
using PixPointer = std::unique_ptr<Pix, PixDeleter>;

// Leptonica has messages with a level and others without one.
void silence() {
    setMsgSeverity(L_SEVERITY_NONE);
    leptSetStderrHandler([](const char*) {});
}

// Reads numbers out of a file; what lies beyond its end reads as 0 and is remembered.
class Cursor {
public:
    Cursor(KivImageBytes data, bool bigEndian) : bytes(data), big(bigEndian) {}

    std::uint32_t number(std::size_t at, int size) {
        if (at > bytes.size() || bytes.size() - at < static_cast<std::size_t>(size)) {
            beyond = true;
            return 0;
        }
        std::uint32_t value = 0;
        for (int i = 0; i < size; ++i) {
            const int byte = big ? i : size - 1 - i;
            value = value << 8 | bytes[at + static_cast<std::size_t>(byte)];
        }
        return value;
    }
    bool overran() const {
        return beyond;
    }

private:
    KivImageBytes bytes;
    bool big;
    bool beyond = false;
};

// Takes ownership of pix, which may be null.
std::unique_ptr<KivImage> fromPix(Pix* pix, std::uint64_t maxPixels) {
    const PixPointer source(pix);
    if (!source) {
        return nullptr;
    }
    // The size announced and the size that came may differ.
    const tagSIZE size{pixGetWidth(pix), pixGetHeight(pix)};
    if (!kivImageSizeAllowed(static_cast<std::uint64_t>(size.cx), static_cast<std::uint64_t>(size.cy), maxPixels)) {
        return nullptr;
    }
    // The conversion to 32 bits takes a picture of 1 bit as black on white and its palette for nothing.
    const PixPointer plain(pixGetColormap(pix) != nullptr ? pixRemoveColormap(pix, REMOVE_CMAP_TO_FULL_COLOR)
                                                          : pixClone(pix));
    const PixPointer colours(plain ? pixConvertTo32(plain.get()) : nullptr);
    std::unique_ptr<KivImage> image = KivImage::create(size);
    if (!colours || !image) {
        return nullptr;
    }
    const l_uint32* line = pixGetData(colours.get());
    for (std::int32_t y = 0; y < size.cy; ++y, line += pixGetWpl(colours.get())) {
        std::uint8_t* to = image->row(y);
        for (std::int32_t x = 0; x < size.cx; ++x, to += 3) {
            to[0] = static_cast<std::uint8_t>(line[x] >> L_BLUE_SHIFT);
            to[1] = static_cast<std::uint8_t>(line[x] >> L_GREEN_SHIFT);
            to[2] = static_cast<std::uint8_t>(line[x] >> L_RED_SHIFT);
        }
    }
    image->setResolution(pixGetXRes(pix), pixGetYRes(pix));
    return image;
}

PixPointer indexedPix(const KivImage& image) {
    PixPointer pix(pixCreate(image.width(), image.height(), 8));
    if (!pix) {
        return nullptr;
    }
    PixColormap* map = pixcmapCreate(8);
    for (const std::uint32_t colour : image.palette()) {
        pixcmapAddColor(map, static_cast<l_int32>(colour >> 16 & 0xFF), static_cast<l_int32>(colour >> 8 & 0xFF),
                        static_cast<l_int32>(colour & 0xFF));
    }
    pixSetColormap(pix.get(), map);
    l_uint32* line = pixGetData(pix.get());
    for (std::int32_t y = 0; y < image.height(); ++y, line += pixGetWpl(pix.get())) {
        const std::uint8_t* from = image.row(y);
        for (std::int32_t x = 0; x < image.width(); ++x) {
            SET_DATA_BYTE(line, x, from[x]);
        }
    }
    return pix;
}

void fillWithAlpha(const KivImage& image, Pix& pix) {
    pixSetSpp(&pix, 4);
    l_uint32* line = pixGetData(&pix);
    for (std::int32_t y = 0; y < image.height(); ++y, line += pixGetWpl(&pix)) {
        const std::uint8_t* from = image.row(y);
        for (std::int32_t x = 0; x < image.width(); ++x, from += 4) {
            line[x] = static_cast<l_uint32>(from[2]) << L_RED_SHIFT | static_cast<l_uint32>(from[1]) << L_GREEN_SHIFT |
                      static_cast<l_uint32>(from[0]) << L_BLUE_SHIFT | static_cast<l_uint32>(from[3]) << L_ALPHA_SHIFT;
        }
    }
}

PixPointer toPix(const KivImage& image) {
    silence();
    PixPointer pix = image.layout() == KivImage::Layout::indexed8
                         ? indexedPix(image)
                         : PixPointer(pixCreate(image.width(), image.height(), 32));
    if (!pix) {
        return nullptr;
    }
    pixSetResolution(pix.get(), static_cast<l_int32>(std::lround(image.horizontalResolution())),
                     static_cast<l_int32>(std::lround(image.verticalResolution())));
    if (image.layout() == KivImage::Layout::indexed8) {
        return pix;
    }
    if (image.layout() == KivImage::Layout::rgba32) {
        fillWithAlpha(image, *pix);
        return pix;
    }
    std::vector<std::uint8_t> row(std::size_t{3} * static_cast<std::size_t>(image.width()));
    l_uint32* line = pixGetData(pix.get());
    for (std::int32_t y = 0; y < image.height(); ++y, line += pixGetWpl(pix.get())) {
        image.copyRowRgb(y, row.data());
        const std::uint8_t* from = row.data();
        for (std::int32_t x = 0; x < image.width(); ++x, from += 3) {
            line[x] = static_cast<l_uint32>(from[0]) << L_RED_SHIFT | static_cast<l_uint32>(from[1]) << L_GREEN_SHIFT |
                      static_cast<l_uint32>(from[2]) << L_BLUE_SHIFT;
        }
    }
    return pix;
}

// Leptonica says of every fourth sample that the colours are multiplied with it (seen with 1.82): the entry
// ExtraSamples of TIFF 6.0, section 18, becomes 2, unassociated alpha.
void sayAlphaIsStraight(std::vector<std::uint8_t>& file) {
    constexpr std::uint32_t extraSamples = 338;
    constexpr std::uint8_t unassociated = 2;
    if (file.size() < 8) {
        return;
    }
    Cursor cursor(file, file[0] == 'M');
    const std::size_t directory = cursor.number(4, 4);
    const std::uint32_t count = cursor.number(directory, 2);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + std::size_t{12} * i;
        const std::size_t value = entry + 8 + (file[0] == 'M' ? 1 : 0);
        if (cursor.number(entry, 2) == extraSamples && value < file.size()) {
            file[value] = unassociated;
        }
    }
}

// The low byte of every pixel is 0 again, as the search for a palette expects.
void dropAlpha(Pix* pix) {
    if (pix != nullptr && pixGetSpp(pix) == 4) {
        pixSetSpp(pix, 3);
        pixSetComponentArbitrary(pix, L_ALPHA_CHANNEL, 0);
    }
}

// Takes over what Leptonica wrote.
std::vector<std::uint8_t> takeBytes(l_ok failed, l_uint8* data, std::size_t size) {
    std::vector<std::uint8_t> bytes;
    if (failed == 0 && data != nullptr) {
        bytes.assign(data, data + size);
    }
    lept_free(data);
    return bytes;
}

// The same picture with a palette, if its colours fit into one.
PixPointer withExactPalette(Pix* pix) {
    std::set<l_uint32> colours;
    const l_uint32* line = pixGetData(pix);
    for (l_int32 y = 0; y < pixGetHeight(pix); ++y, line += pixGetWpl(pix)) {
        l_uint32 last = 0xFF; // no colour: the low byte of all is 0
        for (l_int32 x = 0; x < pixGetWidth(pix); ++x) {
            if (line[x] != last) {
                last = line[x];
                colours.insert(last);
                if (colours.size() > 256) {
                    return nullptr;
                }
            }
        }
    }
    const std::vector<l_uint32> sorted(colours.begin(), colours.end());
    PixPointer result(pixCreate(pixGetWidth(pix), pixGetHeight(pix), 8));
    if (!result) {
        return nullptr;
    }
    PixColormap* map = pixcmapCreate(8);
    for (const l_uint32 colour : sorted) {
        pixcmapAddColor(map, static_cast<l_int32>(colour >> L_RED_SHIFT & 0xFF),
                        static_cast<l_int32>(colour >> L_GREEN_SHIFT & 0xFF),
                        static_cast<l_int32>(colour >> L_BLUE_SHIFT & 0xFF));
    }
    if (sorted.size() == 1) {
        pixcmapAddColor(map, 0, 0, 0); // a palette of one colour is not written
    }
    pixSetColormap(result.get(), map);
    line = pixGetData(pix);
    l_uint32* to = pixGetData(result.get());
    for (l_int32 y = 0; y < pixGetHeight(pix); ++y, line += pixGetWpl(pix), to += pixGetWpl(result.get())) {
        for (l_int32 x = 0; x < pixGetWidth(pix); ++x) {
            const auto found = std::lower_bound(sorted.begin(), sorted.end(), line[x]);
            SET_DATA_BYTE(to, x, static_cast<l_uint32>(found - sorted.begin()));
        }
    }
    return result;
}

// The bytes of the file up to the end of the first picture, closed as a file of its own; empty if that is broken or
// above the limit. Animations of any length cost no more than their first picture this way.
std::vector<std::uint8_t> firstGifFrame(KivImageBytes bytes, std::uint64_t maxPixels) {
    Cursor cursor(bytes, false);
    const auto tableSize = [](std::uint32_t flags) {
        return (flags & 0x80) != 0 ? std::size_t{3} << ((flags & 7) + 1) : std::size_t{0};
    };
    std::size_t at = 13 + tableSize(cursor.number(10, 1));
    const auto skipBlocks = [&] {
        std::uint32_t length = 0;
        do {
            length = cursor.number(at, 1);
            at += 1 + length;
        } while (length != 0 && !cursor.overran());
    };
    while (!cursor.overran()) {
        const std::uint32_t kind = cursor.number(at, 1);
        if (kind == 0x21) {
            at += 2;
            skipBlocks();
        } else if (kind == 0x2C) {
            if (!kivImageSizeAllowed(cursor.number(at + 5, 2), cursor.number(at + 7, 2), maxPixels)) {
                return {};
            }
            at += 11 + tableSize(cursor.number(at + 9, 1)); // the width of the first codes included
            skipBlocks();
            if (cursor.overran() || at > bytes.size()) {
                return {};
            }
            std::vector<std::uint8_t> frame(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
            frame.push_back(0x3B);
            return frame;
        } else {
            return {};
        }
    }
    return {};
}

// Whether the first picture of the file is of an allowed size and all of its data lies in the file.
bool isWholeTiff(KivImageBytes bytes, std::uint64_t maxPixels) {
    enum Tag : std::uint32_t {
        imageWidth = 256,
        imageLength = 257,
        stripOffsets = 273,
        stripByteCounts = 279,
        tileWidth = 322,
        tileLength = 323,
        tileOffsets = 324,
        tileByteCounts = 325
    };
    Cursor cursor(bytes, bytes[0] == 'M');
    const std::size_t directory = cursor.number(4, 4);
    const std::uint32_t entries = cursor.number(directory, 2);

    const auto valueSize = [](std::uint32_t type) { return type == 3 ? 2 : type == 4 ? 4 : 0; };
    struct Values {
        std::uint32_t type = 0;
        std::uint32_t count = 0;
        std::size_t at = 0;
    };
    const auto find = [&](std::uint32_t tag) {
        for (std::uint32_t i = 0; i < entries && !cursor.overran(); ++i) {
            const std::size_t entry = directory + 2 + std::size_t{12} * i;
            if (cursor.number(entry, 2) == tag) {
                Values values{cursor.number(entry + 2, 2), cursor.number(entry + 4, 4), entry + 8};
                if (std::uint64_t{values.count} * static_cast<std::uint64_t>(valueSize(values.type)) > 4) {
                    values.at = cursor.number(entry + 8, 4);
                }
                return values;
            }
        }
        return Values{};
    };
    const auto value = [&](const Values& values, std::uint32_t i) {
        const int size = valueSize(values.type);
        return size == 0 ? 0 : cursor.number(values.at + std::size_t{i} * static_cast<std::size_t>(size), size);
    };
    const auto first = [&](std::uint32_t tag) { return value(find(tag), 0); };

    if (!kivImageSizeAllowed(first(imageWidth), first(imageLength), maxPixels)) {
        return false;
    }
    const bool tiled = find(tileOffsets).count != 0;
    if (tiled && !kivImageSizeAllowed(first(tileWidth), first(tileLength), KivImage::pixelLimit)) {
        return false;
    }
    const Values offsets = find(tiled ? tileOffsets : stripOffsets);
    const Values counts = find(tiled ? tileByteCounts : stripByteCounts);
    if (offsets.count == 0 || offsets.count != counts.count || offsets.count > bytes.size()) {
        return false;
    }
    for (std::uint32_t i = 0; i < offsets.count && !cursor.overran(); ++i) {
        if (std::uint64_t{value(offsets, i)} + value(counts, i) > bytes.size()) {
            return false;
        }
    }
    return !cursor.overran();
}

// The same for a BMP: header, palette and rows.
bool isWholeBmp(KivImageBytes bytes, std::uint64_t maxPixels) {
    Cursor cursor(bytes, false);
    const std::uint32_t pixels = cursor.number(10, 4);
    const std::uint32_t header = cursor.number(14, 4);
    const auto width = static_cast<std::int32_t>(cursor.number(18, 4));
    const auto height = static_cast<std::int32_t>(cursor.number(22, 4));
    const std::uint32_t bits = cursor.number(28, 2);
    const std::uint32_t compression = cursor.number(30, 4);
    constexpr std::array<std::uint32_t, 6> depths{1, 2, 4, 8, 24, 32};
    if (cursor.overran() || header < 40 || compression != 0 || width <= 0 || height <= 0 ||
        std::find(depths.begin(), depths.end(), bits) == depths.end()) {
        return false;
    }
    if (!kivImageSizeAllowed(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), maxPixels)) {
        return false;
    }
    const std::uint64_t row = (static_cast<std::uint64_t>(width) * bits + 31) / 32 * 4;
    return pixels + row * static_cast<std::uint64_t>(height) <= bytes.size();
}

} // namespace

std::unique_ptr<KivImage> kivReadBmp(KivImageBytes bytes, std::uint64_t maxPixels) {
    silence();
    return isWholeBmp(bytes, maxPixels) ? fromPix(pixReadMemBmp(bytes.data(), bytes.size()), maxPixels) : nullptr;
}

std::unique_ptr<KivImage> kivReadGif(KivImageBytes bytes, std::uint64_t maxPixels) {
    silence();
    const std::vector<std::uint8_t> frame = firstGifFrame(bytes, maxPixels);
    return frame.empty() ? nullptr : fromPix(pixReadMemGif(frame.data(), frame.size()), maxPixels);
}

std::unique_ptr<KivImage> kivReadTiff(KivImageBytes bytes, std::uint64_t maxPixels) {
    silence();
    return isWholeTiff(bytes, maxPixels) ? fromPix(pixReadMemTiff(bytes.data(), bytes.size(), 0), maxPixels) : nullptr;
}

std::vector<std::uint8_t> kivWriteBmp(const KivImage& image) {
    PixPointer pix = toPix(image);
    dropAlpha(pix.get());
    l_uint8* data = nullptr;
    std::size_t size = 0;
    const l_ok failed = pix ? pixWriteMemBmp(&data, &size, pix.get()) : 1;
    return takeBytes(failed, data, size);
}

std::vector<std::uint8_t> kivWriteGif(const KivImage& image) {
    PixPointer pix = toPix(image);
    dropAlpha(pix.get());
    if (pix && pixGetDepth(pix.get()) == 32) {
        PixPointer exact = withExactPalette(pix.get());
        // Without dithering: flat areas stay flat.
        constexpr l_int32 colours = 240;
        pix = exact ? std::move(exact) : PixPointer(pixOctreeColorQuant(pix.get(), colours, 0));
    }
    l_uint8* data = nullptr;
    std::size_t size = 0;
    const l_ok failed = pix ? pixWriteMemGif(&data, &size, pix.get()) : 1;
    return takeBytes(failed, data, size);
}

std::vector<std::uint8_t> kivWriteTiff(const KivImage& image) {
    const PixPointer pix = toPix(image);
    l_uint8* data = nullptr;
    std::size_t size = 0;
    const l_ok failed = pix ? pixWriteMemTiff(&data, &size, pix.get(), IFF_TIFF_LZW) : 1;
    std::vector<std::uint8_t> bytes = takeBytes(failed, data, size);
    if (image.layout() == KivImage::Layout::rgba32) {
        sayAlphaIsStraight(bytes);
    }
    return bytes;
}
