#include "kivrender/lines/hiddenpart.h"

#include "linecameras.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace {

// Camera space is space itself, but for z, which runs away from the eye.
const KivLineView parallel(lineCamera(KivCamera::orthographic, {0.0, 0.0, 1.0}, 8.0, 1.0, 100.0), 100.0, 100.0);
const KivLineView perspective(lineCamera(KivCamera::perspective, {0.0, 0.0, 1.0}, 8.0, 1.0, 100.0), 100.0, 100.0);

struct Triangle {
    KivVec corners[3];
};

// In the plane z = 4.
const Triangle triangle = {{{-4.0, -4.0, 4.0}, {4.0, -4.0, 4.0}, {-4.0, 4.0, 4.0}}};

// The hidden part as text, "none" without one.
std::string hidden(const KivLineView& view, const Triangle& by, const KivVec& p, const KivVec& q, double grain = 0.0) {
    KivLinePart part;
    if (!kivHiddenPart(view, by.corners, grain, p, q, &part)) {
        return "none";
    }
    std::ostringstream text;
    text << part.from << " to " << part.to;
    return text.str();
}

TEST(HiddenPart, IsCutOutByTheSides) {
    EXPECT_EQ(hidden(parallel, triangle, {-8.0, 0.0, 6.0}, {8.0, 0.0, 6.0}), "0.25 to 0.5");
    // Twice as deep, a segment twice as long looks the same in perspective.
    EXPECT_EQ(hidden(perspective, triangle, {-16.0, 0.0, 8.0}, {16.0, 0.0, 8.0}), "0.25 to 0.5");
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -3.0, 6.0}, {-2.0, -3.0, 6.0}), "0 to 1");
    EXPECT_EQ(hidden(parallel, triangle, {1.0, 1.0, 6.0}, {3.0, 3.0, 6.0}), "none");
}

TEST(HiddenPart, BeginsWhereASegmentPiercesTheTriangle) {
    EXPECT_EQ(hidden(parallel, triangle, {-2.0, -2.0, 2.0}, {-2.0, -2.0, 10.0}), "0.25 to 1");
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -2.0, 6.0}, {-2.0, -2.0, 2.0}), "0 to 0.5");
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -2.0, 2.0}, {-2.0, -2.0, 3.0}), "none"); // in front of it
}

TEST(HiddenPart, IsTheSameForEitherWindingAndEveryFirstCorner) {
    RawRandom random(6);
    const auto place = [&] {
        return KivVec{double(random.below(9)) - 4.0, double(random.below(9)) - 4.0, 2.0 + random.below(6)};
    };
    int found = 0;
    for (int i = 0; i < 4000; ++i) {
        const Triangle t = {{place(), place(), place()}};
        const KivVec p = place();
        const KivVec q = place();
        for (const KivLineView* view : {&parallel, &perspective}) {
            const std::string expected = hidden(*view, t, p, q);
            found += expected != "none" ? 1 : 0;
            const auto& [a, b, c] = t.corners;
            for (const Triangle& other : {Triangle{{b, c, a}}, Triangle{{c, a, b}}, Triangle{{a, c, b}},
                                          Triangle{{c, b, a}}, Triangle{{b, a, c}}}) {
                ASSERT_EQ(hidden(*view, other, p, q), expected) << i;
            }
        }
    }
    EXPECT_GT(found, 400);
}

TEST(HiddenPart, NothingIsHiddenByATriangleThatItLiesIn) {
    EXPECT_EQ(hidden(perspective, triangle, {-3.0, -3.0, 4.0}, {-1.0, -2.0, 4.0}), "none");
    // Corners of the triangle lie in its plane whatever rounding makes of it.
    const KivVec odd[3] = {{0.1, 0.7, 3.3}, {1.0 / 3.0, -0.9, 4.7}, {-1.1, 0.2, 6.1}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(hidden(perspective, {{odd[0], odd[1], odd[2]}}, odd[i], odd[(i + 1) % 3]), "none");
    }
    // One corner shared, the rest behind: hidden from the very corner on.
    EXPECT_EQ(hidden(parallel, triangle, {-4.0, -4.0, 4.0}, {-3.0, -3.0, 5.0}), "0 to 1");
}

TEST(HiddenPart, WhatLiesBehindByLessThanTheGrainTouches) {
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -3.0, 4.0009}, {-1.0, -2.0, 4.0009}, 0.001), "none");
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -3.0, 4.0011}, {-1.0, -2.0, 4.0011}, 0.001), "0 to 1");
    // A segment that starts in the face and leaves it backwards is hidden from its start.
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -3.0, 4.0005}, {-1.0, -2.0, 5.0}, 0.001), "0 to 1");
    EXPECT_EQ(hidden(parallel, triangle, {-3.0, -3.0, 3.9995}, {-1.0, -2.0, 5.0}, 0.001), "0 to 1");
}

TEST(HiddenPart, EdgeOnAndEmptyTrianglesHideNothing) {
    EXPECT_EQ(
        hidden(parallel, {{{0.0, -4.0, 2.0}, {0.0, 4.0, 2.0}, {0.0, 0.0, 6.0}}}, {-1.0, 0.0, 8.0}, {1.0, 0.0, 8.0}),
        "none");
    EXPECT_EQ(
        hidden(perspective, {{{0.0, -4.0, 2.0}, {0.0, 4.0, 2.0}, {0.0, 0.0, 6.0}}}, {-1.0, 0.0, 8.0}, {1.0, 0.0, 8.0}),
        "none");
    EXPECT_EQ(
        hidden(parallel, {{{0.0, 0.0, 2.0}, {2.0, 2.0, 2.0}, {1.0, 1.0, 2.0}}}, {-1.0, 1.0, 8.0}, {3.0, 1.0, 8.0}),
        "none");
}

TEST(HiddenPart, WhatLiesBehindTheEyeIsNotHidden) {
    // The sight lines run on behind the eye, where they meet the mirrored triangle.
    EXPECT_EQ(hidden(perspective, triangle, {2.0, 2.0, -4.0}, {1.0, 1.0, -4.0}), "none");
}

TEST(HiddenPart, PartsOfNeighboursMeetInOneNumber) {
    RawRandom random(7);
    const auto place = [&](double depth) {
        return KivVec{random.between(-4.0, 4.0), random.between(-4.0, 4.0), random.between(depth, depth + 4.0)};
    };
    int met = 0;
    for (int i = 0; i < 20000; ++i) {
        const KivVec a = place(2.0);
        const KivVec b = place(2.0);
        const KivVec p = place(9.0);
        const KivVec q = place(9.0);
        // On either side of the edge a-b.
        const Triangle one = {{a, b, place(2.0)}};
        const Triangle other = {{b, a, place(2.0)}};
        const KivLineView& view = i % 2 == 0 ? perspective : parallel;
        KivLinePart first;
        KivLinePart second;
        if (!kivHiddenPart(view, one.corners, 0.0, p, q, &first) ||
            !kivHiddenPart(view, other.corners, 0.0, p, q, &second)) {
            continue;
        }
        // Where both end at the edge they end in equal numbers, and otherwise far apart.
        for (const double end : {first.from, first.to}) {
            for (const double start : {second.from, second.to}) {
                if (std::fabs(end - start) < 1e-11 && end > 0.0 && end < 1.0) {
                    ++met;
                    ASSERT_EQ(end, start) << i;
                }
            }
        }
    }
    EXPECT_GT(met, 500);
}

} // namespace
