// Every format but OBJ, by Assimp.
#ifndef IMPORT_ASSIMPREADER_H
#define IMPORT_ASSIMPREADER_H

#include "import/modelparts.h"

#include <string>

namespace kivimport {

// Reads a file, its path in UTF-8. Node transforms are applied, instances multiplied out. Textures are averaged
// already; those beside the model are looked for in its folder. Throws ImportError.
ModelParts readByAssimp(const std::string& path, const ReadLimits& limits);

} // namespace kivimport

#endif
