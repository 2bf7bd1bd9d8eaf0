// Reads Wavefront OBJ with its material libraries. Assimp reads the format too; this reader exists because a render
// waits for it: it keeps the file's shared vertices, where Assimp repeats each of them and has to weld afterwards.
//
// Understood: v, vn, f in all its forms (negative indices, polygons), l, p, o, usemtl, mtllib, line continuation.
// Passed over: texture coordinates, groups, smoothing groups (the crease angle decides), free-form curves and surfaces.
#ifndef IMPORT_OBJREADER_H
#define IMPORT_OBJREADER_H

#include "import/importprogress.h"
#include "import/modelparts.h"

#include <string>
#include <string_view>
#include <vector>

namespace kivimport {

struct ObjFile {
    ModelParts parts;
    std::vector<std::string> materialLibraries; // file names as the model gives them
    Points colours;                             // of the positions, where the file gives any; else empty
};

// Reads the text of a file. Materials that are used are listed in parts.materials with their names and default values;
// readMtl then fills them in. progress is asked now and then, and may be null. Throws
// ImportError with the line, and ImportCancelled.
ObjFile readObj(std::string_view text, const ReadLimits& limits, ImportProgress* progress = nullptr);

// Fills in those of the materials that the text of a material library defines. Unknown lines are passed over. What
// can't be read is left at its default: a picture in a plain colour is better than none.
void readMtl(std::string_view text, std::vector<Material>& materials);

} // namespace kivimport

#endif
