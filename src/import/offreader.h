// Reads the Object File Format of Geomview (OFF) as text, with its variants for colours (COFF), normals (NOFF), texture
// places (STOFF) and homogeneous coordinates (4OFF). Assimp reads plain OFF too, but line by line: a face whose corners
// stand on several lines, which the format allows, ends its reader.
//
// Understood: polygons with their colours, faces of two corners as lines, of one corner as points, and colours and
// normals of vertices. A file without faces is a cloud of points. Passed over: texture places, as the format names no
// picture, and indices of colour maps.
#ifndef IMPORT_OFFREADER_H
#define IMPORT_OFFREADER_H

#include "import/importprogress.h"
#include "import/modelparts.h"

#include <string_view>

namespace kivimport {

// Reads the text of a file. A file that ends among its faces gives those before the cut, and a warning. progress is
// asked now and then, and may be null. Throws ImportError with the line, and ImportCancelled.
ModelParts readOff(std::string_view text, const ReadLimits& limits, ImportProgress* progress = nullptr);

} // namespace kivimport

#endif
