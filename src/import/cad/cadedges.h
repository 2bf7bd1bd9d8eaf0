// The edges of a shape: which faces meet at each, and what kind of line it makes.
#ifndef IMPORT_CAD_CADEDGES_H
#define IMPORT_CAD_CADEDGES_H

#include "import/cad/cadnormals.h"
#include "import/modelparts.h"

#include <cstdint>
#include <vector>

#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>

namespace kivimport {

// Two faces that bend by less than this where they meet run into each other: programs write blends to a thousandth of
// this and approximate surfaces to half of it.
inline constexpr double tangentDegrees = 2.0;

class CadEdges {
public:
    // One face beside an edge, and the edge as that face runs along it.
    struct Side {
        std::uint32_t face = 0; // counted from 0
        TopoDS_Edge edge;
    };

    // faces: each once, in the orientation that it has in the shape.
    explicit CadEdges(const TopTools_IndexedMapOfShape& shapeFaces);

    std::uint32_t count() const;
    // Counted from 0. noIndex for an edge of no face.
    std::uint32_t numberOf(const TopoDS_Edge& edge) const;
    const TopoDS_Edge& edge(std::uint32_t number) const;
    const std::vector<Side>& sides(std::uint32_t number) const;
    SurfaceEdge::Kind kindOf(std::uint32_t number) const;
    // Of two faces that lie on one plane, cylinder, cone, sphere, torus or surface of revolution: a program has cut the
    // face there, and the shape shows nothing.
    bool isCut(std::uint32_t number) const;
    // Of one face alone, where a shell of several faces would have two.
    bool isFree(std::uint32_t number) const;

private:
    bool bends(const Side& one, const Side& other) const;

    const TopTools_IndexedMapOfShape& faces;
    TopTools_IndexedMapOfShape edges;
    std::vector<std::vector<Side>> sidesOf;
    std::vector<CadNormals> normals; // of each face
};

} // namespace kivimport

#endif
