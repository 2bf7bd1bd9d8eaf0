// Binary glTF files whose chunks have lengths that are no multiples of four, which Assimp refuses.
#ifndef IMPORT_READER_GLBCHUNKS_H
#define IMPORT_READER_GLBCHUNKS_H

#include <string>

namespace kivimport {

// The binary glTF 2.0 file with each chunk filled up to a multiple of four bytes (glTF 2.0, section 4.4.3: text with
// spaces, others with zeros). Several programs write files without that, and others read them. Empty if the file needs
// no change, can't be opened, or is no such file, or one whose chunks run past its end.
std::string alignedGlb(const std::string& path);

} // namespace kivimport

#endif
