// Faults of a PLY file that Assimp would not survive, or would pass over in silence.
#ifndef IMPORT_READER_PLYCHECK_H
#define IMPORT_READER_PLYCHECK_H

#include <string>
#include <vector>

namespace kivimport {

// Throws ImportError if the header has no end, on which Assimp 5.2 reads on for ever. A text file that has fewer
// elements than its header tells gives a line in warnings; a binary one is refused by Assimp. What is no PLY file at
// all passes.
void checkPly(const std::string& path, std::vector<std::string>& warnings);

} // namespace kivimport

#endif
