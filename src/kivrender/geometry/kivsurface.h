// The triangles of a mesh on shared vertices, as lines and shaders walk them: every position once, whatever the mesh
// repeats, and only triangles that have an area to draw.
//
// Positions are welded where they are equal bit for bit (0 and -0 are one). A tolerance would have to know the size of
// the model: what welds a bolt would collapse a rabbit of a tenth of a unit.
#ifndef KIVRENDER_GEOMETRY_KIVSURFACE_H
#define KIVRENDER_GEOMETRY_KIVSURFACE_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstdint>
#include <vector>

class KivMesh;

struct KivSurface {
    using Triangle = std::array<std::uint32_t, 3>;
    struct NamedEdge {
        std::uint32_t a = 0; // the lower of the two points
        std::uint32_t b = 0;
        bool tangent = false; // the surface runs on over it without a bend
        // Where the mesh ends there and another one goes on: a point of that one's face beside the edge.
        bool hasBeyond = false;
        KivVec beyond{};
    };

    std::vector<KivVec> points;
    std::vector<Triangle> triangles;    // indices into points
    std::vector<std::uint32_t> sources; // the mesh's own index of each triangle
    // The normals of the mesh, if it has them, and for each corner of each triangle which one it has there: at a point
    // where the mesh repeats a vertex the corners may differ.
    std::vector<KivVec> normals;
    std::vector<Triangle> cornerNormals;
    // Whether the mesh names its edges (kivmeshedges.h). Those below are then all the creases and borders that it has.
    bool namesEdges = false;
    std::vector<NamedEdge> namedEdges; // ascending by their points, without seams
};

// For each point the number of the first point at the same position, counted in order of first appearance; count gets
// how many there are. Points that are not numbers are equal to nothing. With a place for it the user may cancel: it is
// true then, and the numbers are of no use.
KIV_API std::vector<std::uint32_t> kivWeldPoints(const std::vector<KivVec>& points, std::uint32_t* count,
                                                 bool* cancelled = nullptr);

// Reads the mesh through its accessors. Triangles with two equal corners, an index out of range or a corner that is not
// a finite number are left out, and so is every repetition of a triangle, in whichever winding: two-sided models that
// hold each face twice have no fold between a face and its twin.
KIV_API KivSurface kivReadSurface(const KivMesh& mesh);

// The named edge between two points of a surface, a below b, or null. One that is tangent and sharp at once is sharp.
KIV_API const KivSurface::NamedEdge* kivNamedEdge(const KivSurface& surface, std::uint32_t a, std::uint32_t b);

// Whether three points span a triangle that can be seen. Rounding leaves of one without an area less than this part of
// the square of its longest side.
KIV_API bool kivHasArea(const KivVec& a, const KivVec& b, const KivVec& c);

#endif
