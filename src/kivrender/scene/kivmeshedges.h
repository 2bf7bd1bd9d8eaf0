// The edges of the exact shape under a mesh, as the file of a CAD program knows them: where a drawing of the part has
// its lines, however finely the surface was cut into triangles.
//
// They lie beside the mesh and not in it, so that the mesh keeps its binary form. Each edge is a run of vertices of the
// mesh; copies of a mesh share the edges. A mesh that has none of this is a plain one, whose creases are to be found by
// angle; on one that has it, edges without an entry here are none, however much the triangles bend there.
#ifndef KIVRENDER_SCENE_KIVMESHEDGES_H
#define KIVRENDER_SCENE_KIVMESHEDGES_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class KivMesh;

struct KivMeshEdge {
    enum class Kind : std::uint8_t {
        sharp,   // the surface bends, or ends, or more than two faces meet: a line in every drawing
        tangent, // one face runs into the next without a bend: a thin line, or none
        seam     // a closed face meets itself: never a line
    };

    Kind kind = Kind::sharp;
    bool hasColour = false;
    std::uint32_t colour = 0; // of the edge itself, red in the lowest byte
    std::uint32_t first = 0;  // place in KivMeshEdges::vertices
    std::uint32_t count = 0;  // at least 2; a closed edge ends at the vertex that it began with
    // The face on its other side belongs to another mesh, as where two colours of a part meet.
    bool hasBeyond = false;
};

struct KivMeshEdges {
    std::vector<std::uint32_t> vertices; // indices of the mesh, those of each edge in a row
    std::vector<KivMeshEdge> edges;
    // For edges that have something beyond, at the place of the vertex at which each stretch begins: a point of the
    // other mesh's face beside it. It tells from where the edge is an outline. As many as there are vertices, or none.
    // Those of a placed mesh (kivplacedmesh.h) are in the coordinates of its shape.
    std::vector<Kiv3DPoint> beyond;
};

// Gives the mesh its edges, or none for null. The indices are not checked. The mesh forgets them when it is deleted or
// is assigned to. May be called from several threads, for different meshes.
KIV_API void kivSetMeshEdges(const KivMesh& mesh, std::shared_ptr<const KivMeshEdges> edges);

// Null for a plain mesh. Costs a look into a table; loops keep the answer.
KIV_API std::shared_ptr<const KivMeshEdges> kivMeshEdges(const KivMesh& mesh);

// The edges for a mesh that was moved: move says where each point comes to lie. The same object where nothing in it is
// a place. Null stays null.
KIV_API std::shared_ptr<const KivMeshEdges>
kivMovedMeshEdges(const std::shared_ptr<const KivMeshEdges>& edges,
                  const std::function<Kiv3DPoint(const Kiv3DPoint& point)>& move);

#endif
