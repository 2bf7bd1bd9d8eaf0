// Strokes are made for the whole picture; of one that is drawn in tiles each tile draws those that lie in it.
#ifndef SHADERS_COMMON_KIVTILETRIANGLES_H
#define SHADERS_COMMON_KIVTILETRIANGLES_H

#include <cstddef>
#include <cstdint>
#include <vector>

// Of triangles in pixels of the picture, three indices each, those that may be seen in the current tile, in their
// order: found in scratch, or the indices themselves when the picture is drawn as a whole. points: x and y of the first
// vertex; stride: bytes from one vertex to the next.
const std::vector<std::uint32_t>& kivTrianglesInTile(const float* points, std::size_t stride,
                                                     const std::vector<std::uint32_t>& indices,
                                                     std::vector<std::uint32_t>& scratch);

#endif
