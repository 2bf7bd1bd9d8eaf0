// Triangle strips of PLY files, which Assimp 5.2 reads as a single triangle.
#ifndef IMPORT_READER_PLYSTRIPS_H
#define IMPORT_READER_PLYSTRIPS_H

#include <string>

namespace kivimport {

// The text or binary PLY file with an element "face" of triangles in the place of its element "tristrips"; empty if the
// file has no strips, or is no PLY file. In a strip each vertex makes a triangle with the two before it, every other
// one turned round; a negative index ends the strip and begins the next. Triangles that use a vertex twice merely join
// strips and are left out. Throws ImportError if the file ends within its strips.
std::string plyWithoutStrips(const std::string& path);

} // namespace kivimport

#endif
