// The pixels of a render, as numpy sees them.
#ifndef CORE_PICTURES_H
#define CORE_PICTURES_H

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivimage.h"

#include <cstdint>
#include <string>
#include <vector>

#include <pybind11/numpy.h>

// A picture of grey values beside another, the top row first.
struct GreyPicture {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> values;
};

// Holds the memory that the library has drawn into: nothing is copied, the rows are turned over and the channels put
// into the order of numpy where they are.
class PictureData {
public:
    // Takes one ownership of the bitmap.
    explicit PictureData(HBITMAP bitmap);
    ~PictureData();
    PictureData(const PictureData&) = delete;
    PictureData& operator=(const PictureData&) = delete;

    std::int32_t width() const {
        return info.width;
    }
    std::int32_t height() const {
        return info.height;
    }
    // height rows of width pixels, red, green, blue and 255, the top row first.
    std::uint8_t* pixels() const {
        return info.pixels;
    }
    // Opacities from the same picture over black, which this is, and over white.
    void takeOpacity(const PictureData& overWhite);
    bool isOpaque() const {
        return opaque;
    }

    // The bytes of a file; ending: png, jpg, tif, bmp or gif. Throws py::value_error for another.
    std::string encode(const std::string& ending) const;

    GreyPicture depth;      // empty unless it was asked for
    double nearPlane = 0.0; // in the user's own units: where the depth begins and ends
    double farPlane = 0.0;
    bool isPerspective = false;
    GreyPicture shadow; // likewise

private:
    HBITMAP bitmap;
    KivBitmapInfo info;
    bool opaque = true;
};

// The same of any pixels: height rows of red, green, blue without padding.
std::string encodePixels(const std::uint8_t* pixels, std::int32_t width, std::int32_t height, int bytesPerPixel,
                         const std::string& ending);

// Reads a grey picture that a render has written.
GreyPicture readGrey(const std::wstring& file);

#endif
