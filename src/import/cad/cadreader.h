// Files of CAD programs, by Open CASCADE.
#ifndef IMPORT_CAD_CADREADER_H
#define IMPORT_CAD_CADREADER_H

#include "import/modelparts.h"
#include "import/reader/readerreport.h"
#include "import/readerprotocol.h"

namespace kivimport {

// Objects in the order of the file's tree, in the units of the file; a part with several instances has its triangles
// once. Throws ImportError.
ModelParts readCad(const ReaderRequest& request, ReaderReport& report);

} // namespace kivimport

#endif
