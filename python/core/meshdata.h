// From numpy arrays to plain geometry. Arrays are read where they lie, with any strides; the one copy is the plain
// data. What is wrong is told with its place: "vertices[17, 2] is not finite".
#ifndef CORE_MESHDATA_H
#define CORE_MESHDATA_H

#include "import/modelparts.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <pybind11/numpy.h>

// Rows of a 4 by 4 matrix that moves column vectors.
using Transform = std::array<double, 16>;

// An array of numbers, (N, 3), float32 or float64. what: its name in messages. Throws py::type_error for another type
// and py::value_error for another shape, and for numbers that are not finite or beyond what a scene can hold.
kivimport::Points readPoints(const pybind11::array& array, const std::string& what,
                             const std::optional<Transform>& transform = {});

// One or more dimensions of int32, int64, uint32 or uint64, read in row order: each has to be from 0 to below limit, of
// what is called limitName.
kivimport::Indices readIndices(const pybind11::array& array, const std::string& what, std::uint64_t limit,
                               const std::string& limitName);

// Vertices (N, 3) and faces as the two above read them. Large ones are read side by side.
struct MeshArrays {
    kivimport::Points positions;
    kivimport::Indices corners;
};
MeshArrays readMesh(const pybind11::array& vertices, const pybind11::array& faces,
                    const std::optional<Transform>& transform);

// Polygons one behind the other, the number-th from offsets[number] to offsets[number + 1], as triangles. parts, one to
// a polygon, becomes one to a triangle. Throws py::value_error for a polygon of fewer than three corners or too many.
void triangulateAll(kivimport::Surface& surface, const kivimport::Indices& corners,
                    const std::vector<std::uint64_t>& offsets);

// The corners of cells in the form of VTK, a count before each: (3, a, b, c, 4, a, b, c, d, ...). Returns their starts
// among the corners and puts the corners' places in the array into places.
struct PaddedCells {
    std::vector<std::uint64_t> offsets;
    std::vector<std::uint64_t> places;
};
PaddedCells readPadded(const pybind11::array& array, const std::string& what);

#endif
