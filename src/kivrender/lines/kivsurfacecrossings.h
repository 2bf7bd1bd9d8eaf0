// The lines where surfaces run into each other without a common edge, between bodies and within one: a handle stuck
// into a cup, two pipes, a body that folds through itself.
//
//     KivSurfaceCrossings crossings;
//     crossings.add(points, triangles);
//     if (crossings.find()) {
//         for (const KivCrossing& piece : crossings.pieces()) ...
//
// Meshes may be open, wound either way and not manifold; corners at equal places are one whether meshes share them or
// repeat them. Faces that touch or lie in one plane make no line.
//
// The faces are sorted along a space-filling curve, and a binary tree of their boxes, whose lower parts are a calm
// patch of surface each, finds the pairs that may cross; each pair is then cut. Time grows with the number of faces and
// of pairs that come near one another.
#ifndef KIVRENDER_LINES_KIVSURFACECROSSINGS_H
#define KIVRENDER_LINES_KIVSURFACECROSSINGS_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

class CalmPatches;

// The piece that two triangles have in common. Pieces of one line meet in equal points.
struct KivCrossing {
    KivVec from;
    KivVec to;
    // The triangles: numbers of the bodies in the order in which they were added, and of the triangles in them.
    std::uint32_t bodies[2] = {0, 0};
    std::uint32_t triangles[2] = {0, 0};
};

class KIV_API KivSurfaceCrossings {
public:
    // Three indices into the points of its body.
    using Triangle = std::array<std::uint32_t, 3>;

    KivSurfaceCrossings();
    ~KivSurfaceCrossings();
    KivSurfaceCrossings(const KivSurfaceCrossings&) = delete;
    KivSurfaceCrossings& operator=(const KivSurfaceCrossings&) = delete;

    // Adds a body; points are in the model's units. Triangles with an index out of range or a corner that is not finite
    // are left out. Coordinates count as rounded to a millionth of the body's largest one. False when the user
    // cancelled.
    bool add(std::span<const KivVec> points, std::span<const Triangle> triangles);
    // Looks for the pieces of everything added, in the order of their triangles. False when the user cancelled; what
    // was found until then stays. The work is bounded: of a heap whose triangles cross one another all over, more than
    // 20 thousand times and four times a triangle, no piece is given.
    bool find();
    // The part of that work that may be done.
    void setEffort(double part) {
        effort = part;
    }
    // Whether the last find gave up over such a heap.
    bool isHeap() const {
        return heap;
    }
    const std::vector<KivCrossing>& pieces() const {
        return found;
    }

private:
    // A triangle of any body, by the corners of all.
    struct Face {
        std::uint32_t corners[3];
        std::uint32_t number;
    };
    // Around a face, or around the faces below a node of the tree.
    struct Box {
        float low[3];
        float high[3];
    };
    // Of the tree. A leaf holds some faces, which follow one another; every other node has two children.
    struct Node {
        Box box;
        std::uint32_t children[2]; // of a leaf: its first face, and the one after its last
        std::uint32_t patch;       // CalmPatches::none above several
        std::uint32_t height;      // 0: a leaf
    };
    // Where its faces begin, and how fine its coordinates count.
    struct Body {
        std::size_t firstFace;
        double grain;
    };
    struct Pair;
    // An edge in the plane of a face, with the surface on one side of it.
    struct Witness {
        KivVec from;
        KivVec to;
        std::uint32_t face;
    };

    // --- The steps of find; false when the user cancelled.
    bool sortAlongCurve();
    bool findPatches();
    void groupRun(std::size_t first, std::size_t end);
    bool buildLeaves();
    bool buildTree();
    bool joinNodes(std::vector<std::uint32_t>& row, bool ofPatches);
    std::uint32_t parentOf(std::uint32_t one, std::uint32_t other);
    bool mayCross(const Pair& pair) const;
    bool join();
    void testLeaves(const Node& one, const Node& other);
    void test(const Face& one, const Face& other);
    // A crossing that runs along an edge is found by both faces at that edge and counts once.
    void takeAlongEdges();
    std::uint32_t bodyOf(std::uint32_t face) const;

    std::vector<KivVec> corners;
    std::vector<Face> faces; // along a space-filling curve once find was called
    std::vector<Body> bodies;
    std::vector<std::uint32_t> numbers; // of the faces in their bodies, by the order of adding
    std::vector<Box> boxes;             // of the faces
    std::vector<Node> nodes;            // leaves first, the root last
    std::unique_ptr<CalmPatches> patches;
    std::vector<std::uint32_t> patchOfFace;
    std::vector<std::pair<Witness, KivCrossing>> alongEdges;
    std::vector<Witness> witnesses;
    std::vector<KivCrossing> found;
    // Whether the work was given up.
    bool heap = false;
    double effort = 1.0;
};

#endif
