// The formats behind KivImage, each in a file of its own.
#ifndef KIVRENDER_PLATFORM_KIVIMAGECODECS_H
#define KIVRENDER_PLATFORM_KIVIMAGECODECS_H

#include "kivrender/platform/kivimage.h"

#include <optional>

using KivImageBytes = std::span<const std::uint8_t>;

// What the first bytes of a file say it is; nothing for other kinds of file.
std::optional<KivImageFormat> kivSniffImage(KivImageBytes bytes);

// Whether a picture of that size may be made at all.
bool kivImageSizeAllowed(std::uint64_t width, std::uint64_t height, std::uint64_t maxPixels);

// Null for what is broken or above the limit.
std::unique_ptr<KivImage> kivReadPng(KivImageBytes bytes, std::uint64_t maxPixels);
std::unique_ptr<KivImage> kivReadJpeg(KivImageBytes bytes, std::uint64_t maxPixels);
std::unique_ptr<KivImage> kivReadBmp(KivImageBytes bytes, std::uint64_t maxPixels);
std::unique_ptr<KivImage> kivReadGif(KivImageBytes bytes, std::uint64_t maxPixels);
std::unique_ptr<KivImage> kivReadTiff(KivImageBytes bytes, std::uint64_t maxPixels);

// The bytes of a file; empty where memory or the codec fails.
std::vector<std::uint8_t> kivWritePng(const KivImage& image);
std::vector<std::uint8_t> kivWriteJpeg(const KivImage& image);
std::vector<std::uint8_t> kivWriteBmp(const KivImage& image);
std::vector<std::uint8_t> kivWriteGif(const KivImage& image);
std::vector<std::uint8_t> kivWriteTiff(const KivImage& image);

#endif
