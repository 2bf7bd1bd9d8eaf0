// Parts of surfaces that cannot cross themselves or each other, so that nobody need compare their triangles: they hang
// together over edges, are wound alike and have normals in one cone, and so lie above a plane like a sheet (Volino and
// Magnenat-Thalmann, Efficient Self-Collision Detection on Smoothly Discretized Surface Animations Using Geometrical
// Regularity, 1994). Of a finely cut body nearly all neighbours are such.
#ifndef KIVRENDER_LINES_CALMPATCHES_H
#define KIVRENDER_LINES_CALMPATCHES_H

#include "kivrender/geometry/kivvec.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

class CalmPatches {
public:
    using Corners = std::array<std::uint32_t, 3>;

    static constexpr std::size_t runSize = 64;
    static constexpr std::uint32_t none = 0xFFFFFFFFU;

    // Triangles that lie near in space should lie near in the list: patches are sought in runs of it. False when the
    // user cancelled.
    bool find(const std::vector<KivVec>& points, const std::vector<Corners>& triangles);

    std::uint32_t patchOf(std::size_t triangle) const {
        return patches[triangle];
    }
    // False if triangles of the two patches may cross.
    bool keepApart(std::uint32_t one, std::uint32_t other) const;

private:
    struct Cone {
        KivVec axis;        // of unit length
        double angle = 0.0; // half, in radians; beyond a right angle where the patch is not calm
    };
    // A side of a patch that no other triangle of its run shares, between two points.
    struct Side {
        std::uint32_t low;
        std::uint32_t high;
        std::uint32_t patch;
        bool forwards;
    };
    struct Run;

    void addRun(const std::vector<KivVec>& points, const std::vector<Corners>& triangles, std::size_t first,
                std::size_t end, Run& run);
    bool sortSides(std::size_t numPoints);
    bool findNeighbours(std::size_t numPoints);
    bool areCalm(const Cone& one, const Cone& other) const;

    std::vector<std::uint32_t> patches;
    std::vector<Cone> cones;
    std::vector<Side> sides;
    std::vector<std::size_t> starts;       // of the neighbours of each patch
    std::vector<std::uint32_t> neighbours; // that are calm together with it, above its own number
};

#endif
