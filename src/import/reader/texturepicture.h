// The pictures of textures, decoded within the limits of the reader's process.
#ifndef IMPORT_READER_TEXTUREPICTURE_H
#define IMPORT_READER_TEXTUREPICTURE_H

#include "import/modelparts.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kivimport {

// A picture comes with at most so many pixels to a side: larger ones are reduced by averaging.
inline constexpr std::int32_t maxTextureSide = 2048;

// A bmp, png, gif, jpeg or tiff picture. One that can't be read has no pixels and says why.
Picture readPictureBytes(const std::uint8_t* data, std::size_t size);

// The same for a file.
Picture readPictureFile(const std::string& path);

// Looks for the texture at the name as it stands, then, as models travel without their folders, for its last part
// beside the model; in both cases within the model's folder, as nothing else can be read. Names use either kind of
// slash.
Picture readTextureFile(std::string name, const std::string& modelFolder);

// From rows of red, green, blue and alpha that lie one after the other: reduced, averaged, looked through for alpha.
Picture pictureOf(std::int32_t width, std::int32_t height, const std::uint8_t* pixels);

} // namespace kivimport

#endif
