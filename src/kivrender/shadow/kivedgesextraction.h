// The undirected edges of a mesh, each with the one or two triangles that share it and the way these face a camera.
//
// No state, no lock: calls with different edge lists may run at the same time.
#ifndef KIVRENDER_SHADOW_KIVEDGESEXTRACTION_H
#define KIVRENDER_SHADOW_KIVEDGESEXTRACTION_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KivCamera;
class KivMesh;

class KIV_API KivEdgesExtraction {
public:
    // The layout is part of the binary interface.
    struct edgeInfo {
        int vertex0;     // the lower vertex index
        int vertex1;     // the higher one
        int triangle0;   // runs along the edge from vertex0 to vertex1; -1 if there is none
        int triangle1;   // runs along the edge from vertex1 to vertex0; -1 if there is none
        bool lightened0; // filled by KivShadows alone: triangle0 is lit
        bool lightened1; // the same for triangle1
        // With one triangle, exactly one of the two: front if the triangle faces the camera. With two, both if one
        // faces the camera and the other does not, neither if they agree.
        bool silhouetteFront;
        bool silhouetteBack;
    };

    // Appends the edges of the mesh to `edges`, sorted by vertex0, then vertex1. Takes the given triangles in the order
    // of the list, or all if it is null. Without a camera no triangle counts as facing it. Seen in perspective a
    // triangle faces the camera when its normal points to the eye or across; in any other projection when the normal
    // points along the viewing direction, that is, away from the eye.
    //
    // No edge gets a third triangle: where the side of an edge is taken, a second record of the same two vertices goes
    // in front of the first and alone takes further triangles.
    //
    // All vertex indices must be below getNumVertexs(). Asks for a cancel every 100 triangles, then by cost; a
    // cancelled call leaves `edges` as it came. Takes about 20 bytes of memory for each triangle side while it runs.
    static void extractEdges(const KivMesh* mesh, std::vector<edgeInfo>& edges, const KivCamera* camera,
                             std::vector<unsigned int>* triangles);

private:
    static constexpr unsigned int rangeVertices = 8192;

    // One side of a triangle, in the bucket of the lower vertex.
    struct Side {
        int high;          // the higher vertex
        int triangle;      // the triangle
        std::uint16_t low; // the lower vertex, counted from the start of its range
        bool swapped;      // the triangle runs from the higher vertex to the lower
        bool front;        // the triangle faces the camera
    };

    class SidesByVertex;

    // Enters a side behind all earlier sides of the same edge. The records of that edge are edges[first] and on, the
    // oldest in front; only the newest, the last, can take a second triangle.
    static void inestEdgeRecord(int low, const Side& side, std::vector<edgeInfo>& edges, std::size_t first);
};

#endif
