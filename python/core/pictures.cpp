#include "core/pictures.h"

#include "core/runtime.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <utility>

namespace {

// Blue, green, red and a byte without meaning become red, green, blue and opaque.
void reorder(std::uint8_t* pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t* const pixel = pixels + i * 4;
        std::swap(pixel[0], pixel[2]);
        pixel[3] = 255;
    }
}

std::unique_ptr<KivImage> imageOf(const std::uint8_t* from, std::int32_t width, std::int32_t height, int step) {
    std::unique_ptr<KivImage> image = KivImage::create({width, height});
    if (!image) {
        throw std::bad_alloc();
    }
    for (std::int32_t y = 0; y < height; ++y) {
        std::uint8_t* to = image->row(y);
        for (std::int32_t x = 0; x < width; ++x, from += step, to += 3) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
        }
    }
    return image;
}

} // namespace

PictureData::PictureData(HBITMAP drawn) : bitmap(drawn) {
    if (!kivGetBitmapInfo(bitmap, &info)) {
        throw RenderError("the surface holds no picture");
    }
    const auto height = static_cast<std::size_t>(info.height);
    for (std::size_t y = 0; y < height / 2; ++y) {
        std::swap_ranges(info.pixels + y * info.rowBytes, info.pixels + (y + 1) * info.rowBytes,
                         info.pixels + (height - 1 - y) * info.rowBytes);
    }
    reorder(info.pixels, height * static_cast<std::size_t>(info.width));
}

PictureData::~PictureData() {
    kivDeleteBitmap(bitmap);
}

void PictureData::takeOpacity(const PictureData& overWhite) {
    const std::size_t count = static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t* const pixel = pixels() + i * 4;
        const std::uint8_t* const white = overWhite.pixels() + i * 4;
        // What shows of white and not of black is let through.
        int through = 0;
        for (int c = 0; c < 3; ++c) {
            through = std::max(through, white[c] - pixel[c]);
        }
        const int alpha = 255 - through;
        pixel[3] = static_cast<std::uint8_t>(alpha);
        for (int c = 0; c < 3 && alpha > 0; ++c) {
            pixel[c] = static_cast<std::uint8_t>(std::min(255, (pixel[c] * 255 + alpha / 2) / alpha));
        }
    }
    opaque = false;
}

std::string PictureData::encode(const std::string& ending) const {
    return encodePixels(pixels(), width(), height(), 4, ending);
}

std::string encodePixels(const std::uint8_t* pixels, std::int32_t width, std::int32_t height, int bytesPerPixel,
                         const std::string& ending) {
    const std::wstring wanted = kivFromUtf8(ending);
    for (const KivImageEncoder& encoder : kivImageEncoders()) {
        for (const wchar_t* const known : encoder.endings) {
            if (known != nullptr && kivEqualNoCase(wanted, known)) {
                const std::vector<std::uint8_t> bytes =
                    imageOf(pixels, width, height, bytesPerPixel)->encode(encoder.format);
                if (bytes.empty()) {
                    throw RenderError("the picture can't be encoded as " + ending);
                }
                return {bytes.begin(), bytes.end()};
            }
        }
    }
    throw py::value_error("\"" + ending + "\" is no ending of a picture: png, jpg, tif, bmp or gif is expected");
}

GreyPicture readGrey(const std::wstring& file) {
    const std::unique_ptr<KivImage> image = KivImage::load(file);
    if (!image) {
        throw RenderError("the picture beside the render was not written");
    }
    GreyPicture grey{image->width(), image->height(), {}};
    grey.values.reserve(static_cast<std::size_t>(grey.width) * static_cast<std::size_t>(grey.height));
    for (std::int32_t y = 0; y < grey.height; ++y) {
        for (std::int32_t x = 0; x < grey.width; ++x) {
            grey.values.push_back(static_cast<std::uint8_t>(image->pixel(x, y) & 0xFF));
        }
    }
    return grey;
}
