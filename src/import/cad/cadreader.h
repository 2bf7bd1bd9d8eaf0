// Files of CAD programs, by Open CASCADE.
#ifndef IMPORT_CAD_CADREADER_H
#define IMPORT_CAD_CADREADER_H

#include "import/modelparts.h"
#include "import/reader/readerreport.h"
#include "import/readerprotocol.h"

namespace kivimport {

// Parts in the order of the file's tree, each instance with triangles of its own, in the units of the file. Throws
// ImportError.
ModelParts readCad(const ReaderRequest& request, ReaderReport& report);

} // namespace kivimport

#endif
