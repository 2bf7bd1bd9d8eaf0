// Tells which triangles of a sweep may join a group, as far as place does not matter: attributes, colour and plane.
#ifndef KIVRENDER_VECTOR_TRIANGLEKINDS_H
#define KIVRENDER_VECTOR_TRIANGLEKINDS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackplane.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/workpoll.h"

#include <array>
#include <cstdint>
#include <vector>

// Colours and normals are compared within tolerances, so triangles do not fall into classes. They are sorted into cells
// of colours and directions: whatever may join a seed has one of the few keys around the seed's own.
class KIV_API TriangleKinds {
public:
    // Entry k of one list belongs to entry k of the other. Both must outlive the object.
    TriangleKinds(const std::vector<SweepTriangle*>& sweep, const FeedbackPrimitiveList& primitives);

    // Must come first, and once. False when the user has cancelled.
    bool compute(WorkPoll& poll);

    // False for a triangle that no other can join and that can join none, such as one too thin to have a plane.
    bool canMerge(int triangle) const {
        return keys[static_cast<std::size_t>(triangle)] != alone;
    }
    std::uint64_t keyOf(int triangle) const {
        return keys[static_cast<std::size_t>(triangle)];
    }
    // The keys of all triangles that may join the triangle's group. Different kinds may have one key.
    void collectKeys(int triangle, std::vector<std::uint64_t>& around) const;
    // True if the triangle may join the group of the seed, whose plane that is.
    bool belongs(int triangle, int seed, const FeedbackPlane& plane) const;

private:
    static constexpr std::uint64_t alone = 0;

    struct Kind {
        std::array<double, 4> colour;
        FeedbackVector normal;
        int attributes; // a number for each set of them
    };

    const std::vector<SweepTriangle*>& triangles;
    const FeedbackPrimitiveList& painted;
    std::vector<Kind> kinds;
    std::vector<std::uint64_t> keys;
};

#endif
