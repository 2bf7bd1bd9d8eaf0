// One colour for a whole texture: the shaders paint with flat colours.
#ifndef IMPORT_READER_TEXTURECOLOUR_H
#define IMPORT_READER_TEXTURECOLOUR_H

#include "import/modelparts.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kivimport {

// The mean of all pixels of a bmp, png, gif, jpeg or tiff picture; nothing if it can't be read.
std::optional<Colour> averageOfPictureBytes(const std::uint8_t* data, std::size_t size);

// The same for a file.
std::optional<Colour> averageOfPictureFile(const std::string& path);

// Looks for the texture at the name as it stands, then, as models travel without their folders, for its last part
// beside the model; in both cases within the model's folder, as nothing else can be read. Names use either kind of
// slash. Sets textureAverage and textureLoaded.
void averageTextureFile(Material& material, const std::string& modelFolder);

} // namespace kivimport

#endif
