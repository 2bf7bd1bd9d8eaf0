// Every format but OBJ, by Assimp.
#ifndef IMPORT_READER_ASSIMPREADER_H
#define IMPORT_READER_ASSIMPREADER_H

#include "import/modelparts.h"
#include "import/reader/readerreport.h"

#include <string>

namespace kivimport {

// Reads a file, its path in UTF-8. Node transforms are applied, instances multiplied out. Textures are averaged
// already; those beside the model are looked for in its folder. Throws ImportError.
ModelParts readByAssimp(const std::string& path, const ReadLimits& limits, const ClipChoice& clip,
                        ReaderReport& report);

// "Assimp 5.2.5"
std::string assimpVersion();

} // namespace kivimport

#endif
