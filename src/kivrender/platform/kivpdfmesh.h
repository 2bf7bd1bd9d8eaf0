// Triangles of a PDF file's shading as filled paths. Viewers paint a shading without smoothing its edges, and drawing
// programs can't edit one; a path is good in both.
#ifndef KIVRENDER_PLATFORM_KIVPDFMESH_H
#define KIVRENDER_PLATFORM_KIVPDFMESH_H

#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

// data: the triangles of a free-form mesh (type 4) of which each corner has a flag of 8 bits, coordinates of 32 and
// red, green and blue of 8; decode: what the least and the largest coordinate mean, in x and in y. The result is a
// piece of a page's content that leaves the graphics state as it was. Empty if the data are not such triangles or if a
// triangle has corners of different colours.
//
// Triangles of one colour that follow one another become one path, in which no seam can show, and every path has a thin
// stroke in its own colour, so that none shows between two of them, unless stroked is false: where colours are mixed
// with what lies behind, strokes would show twice.
KIV_API std::string kivPdfMeshPaths(std::span<const std::uint8_t> data, const std::array<double, 4>& decode,
                                    bool stroked = true);

#endif
