#include "kivrender/platform/kivimage.h"

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivimagecodecs.h"
#include "kivrender/platform/kivimageresize.h"
#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivwholefile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>

namespace {

// A compressed file is smaller than its picture, so nothing that is allowed is larger than this.
constexpr std::size_t maxFileSize = std::size_t{1} << 30;

constexpr GUID encoderId(std::uint8_t number) {
    return GUID{0x5e1a4a12, 0x0b2c, 0x4d6e, {0x9a, 0x31, 0x6b, 0x69, 0x76, 0x69, 0x6d, number}};
}

constexpr KivImageEncoder encoders[] = {
    {encoderId(1), L"image/bmp", {L"bmp", nullptr}, KivImageFormat::bmp},
    {encoderId(2), L"image/jpeg", {L"jpg", L"jpeg"}, KivImageFormat::jpeg},
    {encoderId(3), L"image/gif", {L"gif", nullptr}, KivImageFormat::gif},
    {encoderId(4), L"image/tiff", {L"tif", L"tiff"}, KivImageFormat::tiff},
    {encoderId(5), L"image/png", {L"png", nullptr}, KivImageFormat::png},
};

constexpr char tiffLittleBytes[] = {'I', 'I', '*', 0};
constexpr char tiffBigBytes[] = {'M', 'M', 0, '*'};
constexpr std::string_view tiffLittle(tiffLittleBytes, sizeof tiffLittleBytes);
constexpr std::string_view tiffBig(tiffBigBytes, sizeof tiffBigBytes);

std::size_t paddedRow(std::int32_t width, int bytesPerPixel) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerPixel) + 3) / 4 * 4;
}

} // namespace

std::span<const KivImageEncoder> kivImageEncoders() {
    return encoders;
}

bool kivImageSizeAllowed(std::uint64_t width, std::uint64_t height, std::uint64_t maxPixels) {
    return width > 0 && height > 0 && width <= KivImage::sideLimit && height <= KivImage::sideLimit &&
           width * height <= std::min(maxPixels, KivImage::pixelLimit);
}

std::optional<KivImageFormat> kivSniffImage(KivImageBytes bytes) {
    struct Magic {
        KivImageFormat format;
        std::string_view start;
    };
    using namespace std::string_view_literals;
    constexpr Magic magics[] = {
        {KivImageFormat::png, "\x89PNG\r\n\x1a\n"sv},
        {KivImageFormat::jpeg, "\xff\xd8\xff"sv},
        {KivImageFormat::bmp, "BM"sv},
        {KivImageFormat::gif, "GIF87a"sv},
        {KivImageFormat::gif, "GIF89a"sv},
        {KivImageFormat::tiff, tiffLittle},
        {KivImageFormat::tiff, tiffBig},
    };
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (const Magic& magic : magics) {
        if (text.substr(0, magic.start.size()) == magic.start) {
            return magic.format;
        }
    }
    return std::nullopt;
}

KivImage::KivImage(tagSIZE size, Layout layout) : pictureSize(size), pixelLayout(layout) {}

KivImage::~KivImage() = default;

bool KivImage::allocate() {
    const std::size_t bytes = rowBytes();
    owned.reset(new (std::nothrow) std::uint8_t[bytes * static_cast<std::size_t>(height())]());
    pixels = owned.get();
    stride = static_cast<std::ptrdiff_t>(bytes);
    return pixels != nullptr;
}

std::unique_ptr<KivImage> KivImage::create(tagSIZE size) {
    return createBlank(size, Layout::rgb24);
}

std::unique_ptr<KivImage> KivImage::createWithAlpha(tagSIZE size) {
    return createBlank(size, Layout::rgba32);
}

bool KivImage::keepsAlpha(KivImageFormat format) {
    return format == KivImageFormat::png || format == KivImageFormat::tiff;
}

std::unique_ptr<KivImage> KivImage::createBlank(tagSIZE size, Layout layout) {
    if (size.cx <= 0 || size.cy <= 0 ||
        !kivImageSizeAllowed(static_cast<std::uint64_t>(size.cx), static_cast<std::uint64_t>(size.cy), pixelLimit)) {
        return nullptr;
    }
    std::unique_ptr<KivImage> image(new KivImage(size, layout));
    if (!image->allocate()) {
        return nullptr;
    }
    return image;
}

std::unique_ptr<KivImage> KivImage::createIndexed(tagSIZE size, const std::uint8_t* rows, std::size_t rowStride) {
    if (rows == nullptr || size.cx <= 0 || size.cy <= 0 || rowStride < static_cast<std::size_t>(size.cx) ||
        !kivImageSizeAllowed(static_cast<std::uint64_t>(size.cx), static_cast<std::uint64_t>(size.cy), pixelLimit)) {
        return nullptr;
    }
    std::unique_ptr<KivImage> image(new KivImage(size, Layout::indexed8));
    if (!image->allocate()) {
        return nullptr;
    }
    for (std::int32_t y = 0; y < size.cy; ++y) {
        std::memcpy(image->row(y), rows + static_cast<std::size_t>(y) * rowStride, static_cast<std::size_t>(size.cx));
    }
    image->colours.resize(256);
    for (std::uint32_t i = 0; i < 256; ++i) {
        image->colours[i] = i * 0x010101;
    }
    return image;
}

std::unique_ptr<KivImage> KivImage::fromBitmap(HBITMAP bitmap) {
    KivBitmapInfo info;
    if (!kivGetBitmapInfo(bitmap, &info)) {
        return nullptr;
    }
    std::unique_ptr<KivImage> image(new KivImage({info.width, info.height}, Layout::rgb32));
    image->stride = -static_cast<std::ptrdiff_t>(info.rowBytes);
    image->pixels = info.pixels + info.rowBytes * static_cast<std::size_t>(info.height - 1);
    return image;
}

std::unique_ptr<KivImage> KivImage::load(const std::wstring& file, std::uint64_t maxPixels) {
    try {
        const auto bytes = kivReadFile(file, maxFileSize);
        return bytes ? decode({reinterpret_cast<const std::uint8_t*>(bytes->data()), bytes->size()}, maxPixels)
                     : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

std::unique_ptr<KivImage> KivImage::decode(std::span<const std::uint8_t> bytes, std::uint64_t maxPixels) {
    const auto format = kivSniffImage(bytes);
    if (!format) {
        return nullptr;
    }
    try {
        switch (*format) {
        case KivImageFormat::bmp:
            return kivReadBmp(bytes, maxPixels);
        case KivImageFormat::png:
            return kivReadPng(bytes, maxPixels);
        case KivImageFormat::gif:
            return kivReadGif(bytes, maxPixels);
        case KivImageFormat::jpeg:
            return kivReadJpeg(bytes, maxPixels);
        case KivImageFormat::tiff:
            return kivReadTiff(bytes, maxPixels);
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return nullptr;
}

std::size_t KivImage::rowBytes() const {
    switch (pixelLayout) {
    case Layout::rgb24:
        return paddedRow(width(), 3);
    case Layout::indexed8:
        return paddedRow(width(), 1);
    case Layout::rgb32:
    case Layout::rgba32:
        break;
    }
    return paddedRow(width(), 4);
}

std::uint8_t* KivImage::row(std::int32_t y) {
    return pixels + y * stride;
}

const std::uint8_t* KivImage::row(std::int32_t y) const {
    return pixels + y * stride;
}

std::uint32_t KivImage::pixel(std::int32_t x, std::int32_t y) const {
    const std::uint8_t* from = row(y);
    if (pixelLayout == Layout::indexed8) {
        const std::uint32_t colour = colours[from[x]];
        return (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
    }
    from += std::size_t{pixelLayout == Layout::rgb24 ? 3U : 4U} * static_cast<std::size_t>(x);
    return static_cast<std::uint32_t>(from[2] | from[1] << 8 | from[0] << 16);
}

void KivImage::copyRowRgb(std::int32_t y, std::uint8_t* out) const {
    const std::uint8_t* from = row(y);
    std::uint8_t* const end = out + std::size_t{3} * static_cast<std::size_t>(width());
    if (pixelLayout == Layout::indexed8) {
        for (; out != end; out += 3, ++from) {
            const std::uint32_t colour = colours[*from];
            out[0] = static_cast<std::uint8_t>(colour >> 16);
            out[1] = static_cast<std::uint8_t>(colour >> 8);
            out[2] = static_cast<std::uint8_t>(colour);
        }
        return;
    }
    const std::size_t step = pixelLayout == Layout::rgb24 ? 3 : 4;
    for (; out != end; out += 3, from += step) {
        out[0] = from[2];
        out[1] = from[1];
        out[2] = from[0];
    }
}

std::span<std::uint32_t> KivImage::palette() {
    return colours;
}

std::span<const std::uint32_t> KivImage::palette() const {
    return colours;
}

void KivImage::setResolution(double horizontal, double vertical) {
    resolutionX = horizontal;
    resolutionY = vertical;
}

void KivImage::flip() {
    const std::size_t bytes = rowBytes();
    for (std::int32_t top = 0, bottom = height() - 1; top < bottom; ++top, --bottom) {
        std::swap_ranges(row(top), row(top) + bytes, row(bottom));
    }
}

std::unique_ptr<KivImage> KivImage::part(tagRECT rectangle) const {
    std::unique_ptr<KivImage> result = create({rectangle.right - rectangle.left, rectangle.bottom - rectangle.top});
    if (!result) {
        return nullptr;
    }
    for (std::int32_t y = 0; y < result->height(); ++y) {
        std::uint8_t* to = result->row(y);
        for (std::int32_t x = 0; x < result->width(); ++x, to += 3) {
            const std::uint32_t colour = pixel(rectangle.left + x, rectangle.top + y);
            to[0] = static_cast<std::uint8_t>(colour >> 16);
            to[1] = static_cast<std::uint8_t>(colour >> 8);
            to[2] = static_cast<std::uint8_t>(colour);
        }
    }
    result->setResolution(resolutionX, resolutionY);
    return result;
}

std::unique_ptr<KivImage> KivImage::scaled(tagSIZE newSize) const {
    std::unique_ptr<KivImage> result = create(newSize);
    if (!result) {
        return nullptr;
    }
    if (pixelLayout != Layout::rgb24) {
        const std::unique_ptr<KivImage> plain = part({0, 0, width(), height()});
        return plain ? plain->scaled(newSize) : nullptr;
    }
    if (!kivResizeBicubic(*this, *result)) {
        return nullptr;
    }
    result->setResolution(resolutionX, resolutionY);
    return result;
}

std::vector<std::uint8_t> KivImage::encode(KivImageFormat format, KivImageStatus* status) const {
    KivImageStatus unused{};
    KivImageStatus& answer = status != nullptr ? *status : unused;
    answer = KivImageStatus::ok;
    std::vector<std::uint8_t> bytes;
    try {
        switch (format) {
        case KivImageFormat::bmp:
            bytes = kivWriteBmp(*this);
            break;
        case KivImageFormat::png:
            bytes = kivWritePng(*this);
            break;
        case KivImageFormat::gif:
            bytes = kivWriteGif(*this);
            break;
        case KivImageFormat::jpeg:
            bytes = kivWriteJpeg(*this);
            break;
        case KivImageFormat::tiff:
            bytes = kivWriteTiff(*this);
            break;
        }
    } catch (const std::bad_alloc&) {
        answer = KivImageStatus::outOfMemory;
        return {};
    }
    if (bytes.empty()) {
        answer = KivImageStatus::genericError;
    }
    return bytes;
}

KivImageStatus KivImage::save(const std::wstring& file, const GUID& encoder) const {
    const auto* found = std::find_if(std::begin(encoders), std::end(encoders),
                                     [&](const KivImageEncoder& candidate) { return candidate.id == encoder; });
    if (found == std::end(encoders)) {
        return KivImageStatus::unknownFormat;
    }
    KivImageStatus status{};
    const std::vector<std::uint8_t> bytes = encode(found->format, &status);
    if (status != KivImageStatus::ok) {
        return status;
    }
    return kivWriteWholeFile(file, bytes) ? KivImageStatus::ok : KivImageStatus::systemError;
}
