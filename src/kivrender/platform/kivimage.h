// A picture that is read from, written to or made for an image file: bmp, png, gif, jpeg, tiff.
//
// Rows run from the top down. A picture is 24 bits a pixel (blue, green, red), or 8 bits with a palette, or a look at a
// bitmap of 32 bits (blue, green, red and a byte without meaning), or 32 bits with straight alpha (blue, green, red,
// alpha: the colours are not multiplied with it). What is loaded always has 24 bits: alpha is dropped, 16 bits a
// channel become 8, of several frames the first counts. PNG and TIFF keep alpha, all other files drop it. Nothing here
// prints or throws; a file that is broken, cut off, of another kind or larger than the limit is refused.
//
// Writing puts a whole file in place or leaves what was there; the same picture gives the same bytes.
//
//     if (const auto picture = KivImage::load(L"paper.png")) {
//         const auto small = picture->scaled({256, 256});
//         ...
//     }
//
// Owners: each picture owns its pixels, but for one of fromBitmap. Hosts get pictures of renders by KivBitmapManager.
// One picture may be read by many threads, and changed by one.
#ifndef KIVRENDER_PLATFORM_KIVIMAGE_H
#define KIVRENDER_PLATFORM_KIVIMAGE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

// The kinds of files.
enum class KivImageFormat { bmp, png, gif, jpeg, tiff };

// One image encoder: what it is called and which files it is for.
struct KivImageEncoder {
    GUID id;
    const wchar_t* mimeType;
    const wchar_t* endings[2]; // without the point, lower case; the second may be null
    KivImageFormat format;
};

// All encoders, in a fixed order.
KIV_API std::span<const KivImageEncoder> kivImageEncoders();

// How saving a picture went. The numbers appear in messages.
enum class KivImageStatus : std::int32_t {
    ok = 0,
    genericError = 1,
    invalidParameter = 2,
    outOfMemory = 3,
    systemError = 7, // the file could not be written; kivGetLastError has the reason
    unknownFormat = 13
};

class KIV_API KivImage {
public:
    // The bits of a pixel, as the head of this file tells them.
    enum class Layout { rgb24, indexed8, rgb32, rgba32 };

    // The largest picture: pixels in all, and in one direction.
    static constexpr std::uint64_t pixelLimit = std::uint64_t{1} << 28;
    static constexpr std::int32_t sideLimit = 32767;

    // A black picture of 24 bits. Null for a size that is not positive or above the limits, and without memory.
    static std::unique_ptr<KivImage> create(tagSIZE size);
    // The same of 32 bits, transparent all over.
    static std::unique_ptr<KivImage> createWithAlpha(tagSIZE size);
    // 8 bits, copied from rows that lie stride bytes apart, the first one at the top; the palette is a grey ramp.
    static std::unique_ptr<KivImage> createIndexed(tagSIZE size, const std::uint8_t* rows, std::size_t stride);
    // A look at a bitmap without a copy: the bitmap must outlive it, and its pixels stay the bitmap's. Null for a
    // handle that is none.
    static std::unique_ptr<KivImage> fromBitmap(HBITMAP bitmap);
    // Null for what can't be read. The size is known before memory is taken for the pixels: a picture of more than
    // maxPixels is not decoded.
    static std::unique_ptr<KivImage> load(const std::wstring& file, std::uint64_t maxPixels = pixelLimit);
    static std::unique_ptr<KivImage> decode(std::span<const std::uint8_t> bytes, std::uint64_t maxPixels = pixelLimit);
    // Whether files of the format keep alpha.
    static bool keepsAlpha(KivImageFormat format);

    KivImage(const KivImage&) = delete;
    KivImage& operator=(const KivImage&) = delete;
    ~KivImage();

    // Of the picture, in pixels; always above 0.
    std::int32_t width() const {
        return pictureSize.cx;
    }
    std::int32_t height() const {
        return pictureSize.cy;
    }
    tagSIZE size() const {
        return pictureSize;
    }
    // Never changes.
    Layout layout() const {
        return pixelLayout;
    }
    // Rows of 24 and 8 bits are padded to a multiple of 4 bytes and follow one another.
    std::size_t rowBytes() const;
    // The first byte of a row; y from 0 at the top. Valid as long as the picture.
    std::uint8_t* row(std::int32_t y);
    const std::uint8_t* row(std::int32_t y) const;
    // The colour of one pixel, red in the low byte. The pixel must lie inside.
    std::uint32_t pixel(std::int32_t x, std::int32_t y) const;
    // One row as red, green, blue, three bytes a pixel, without padding; out has room for width * 3.
    void copyRowRgb(std::int32_t y, std::uint8_t* out) const;

    // 256 colours, blue in the low byte; empty unless the layout is indexed8.
    std::span<std::uint32_t> palette();
    std::span<const std::uint32_t> palette() const;

    // Dots per inch; 0 where nothing is known.
    double horizontalResolution() const {
        return resolutionX;
    }
    double verticalResolution() const {
        return resolutionY;
    }
    void setResolution(double horizontal, double vertical);

    // Turns the picture upside down.
    void flip();
    // The same picture with 24 bits, in another size, bicubic. Null as for create.
    std::unique_ptr<KivImage> scaled(tagSIZE newSize) const;
    // A part of the picture, of 24 bits. The rectangle must lie inside. Null without memory.
    std::unique_ptr<KivImage> part(tagRECT rectangle) const;

    // The bytes of a file; empty with the reason in status.
    std::vector<std::uint8_t> encode(KivImageFormat format, KivImageStatus* status = nullptr) const;
    // Writes a file by an encoder of kivImageEncoders. unknownFormat for an id that is none.
    KivImageStatus save(const std::wstring& file, const GUID& encoder) const;

private:
    KivImage(tagSIZE size, Layout layout);

    // Null without memory.
    static std::unique_ptr<KivImage> createBlank(tagSIZE size, Layout layout);
    bool allocate();

    tagSIZE pictureSize;
    Layout pixelLayout;
    std::ptrdiff_t stride = 0;      // from a row to the one below it; negative for a bitmap
    std::uint8_t* pixels = nullptr; // the top row
    std::unique_ptr<std::uint8_t[]> owned;
    std::vector<std::uint32_t> colours;
    double resolutionX = 0;
    double resolutionY = 0;
};

#endif
