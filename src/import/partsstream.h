// The parts of a model, and the messages around them, as bytes: what a reader's process hands to the one that asked.
//
// Both ends are of one build on one machine, so that numbers go over as they lie in memory. The form has a number of
// its own all the same (readerprotocol.h), as the two programs may come from different installations.
#ifndef IMPORT_PARTSSTREAM_H
#define IMPORT_PARTSSTREAM_H

#include "import/bytestream.h"
#include "import/modelparts.h"
#include "import/readerprotocol.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kivimport {

// What came over is nothing that a reader of ours would send.
class BrokenStream : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Nothing is changed; the one list of fields serves both ways.
void writeParts(ByteSink& sink, ModelParts& parts);
void writeRequest(ByteSink& sink, ReaderRequest& request);
void writePictures(ByteSink& sink, std::vector<Picture>& pictures);
void writeText(ByteSink& sink, std::string text);

// maxBytes bounds what is taken, and so the memory that a sender can make the receiver use; memory is taken as the
// bytes arrive and not as they are announced. Throws BrokenStream, and what the source throws. Counts and lengths are
// sound afterwards; what the numbers mean is for checkParts.
ModelParts readParts(ByteSource& source, std::uint64_t maxBytes);
ReaderRequest readRequest(ByteSource& source);
std::vector<Picture> readPictures(ByteSource& source, std::uint64_t maxBytes);
std::string readText(ByteSource& source);

// Throws BrokenStream unless the scene can be built of the parts: indices within their lists, coordinates that can be
// used, finite numbers, lists of one length where they belong together. Throws ImportError above the limits.
void checkParts(const ModelParts& parts, const ReadLimits& limits);

} // namespace kivimport

#endif
