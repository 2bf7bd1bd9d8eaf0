// The boxes of slivers: they leave nothing out, and hold little else.
#include "kivrender/lines/occluderpieces.h"

#include "linecameras.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

namespace {

const KivCamera near = lineCamera(KivCamera::perspective, {3.0, 4.0, 7.0}, 0.5, 1.0, 100.0);
const KivCamera even = lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 5.0, 1.0, 100.0);

using Corners = std::array<KivVec, 3>;

bool holds(const KivOccluderBounds& box, const KivPicturePoint& place, double depth) {
    return box.left <= place.x && place.x <= box.right && box.bottom <= place.y && place.y <= box.top &&
           box.nearest <= depth;
}

double areaOf(const KivOccluderBounds& box) {
    return (double{box.right} - box.left) * (double{box.top} - box.bottom);
}

double areaOf(const std::vector<KivOccluderBounds>& boxes) {
    double sum = 0.0;
    for (const KivOccluderBounds& box : boxes) {
        sum += areaOf(box);
    }
    return sum;
}

std::vector<KivOccluderBounds> cut(const OccluderPieces& pieces, std::uint32_t count) {
    std::vector<KivOccluderBounds> boxes;
    pieces.cut(count, boxes);
    return boxes;
}

// From lower left to upper right of the picture, and a pixel or so thick.
Corners skewSliver(const KivLineView& view) {
    return {view.toCamera({-3.0, -3.0, 0.0}), view.toCamera({3.0, 2.9, 0.0}), view.toCamera({3.0, 2.95, 0.0})};
}

} // namespace

TEST(OccluderPieces, CoverEachPointOfTheirTriangle) {
    RawRandom random(5);
    std::size_t inside = 0;
    for (const KivCamera& camera : {near, even}) {
        const KivLineView view(camera, 400.0, 300.0);
        for (int i = 0; i < 2000; ++i) {
            // Slivers among them, corners outside the picture, and some close to the near plane.
            const auto place = [&](double scale) {
                return KivVec{random.between(-1.0, 1.0), random.between(-1.0, 1.0), random.between(-1.0, 1.0)} * scale;
            };
            const KivVec first = place(6.0);
            const KivVec second = place(6.0);
            Corners triangle = {first, second, second + place(i % 3 == 0 ? 3.0 : 0.02)};
            for (KivVec& corner : triangle) {
                corner = view.toCamera(corner);
                corner.z = std::max(corner.z, view.nearest());
            }
            const OccluderPieces pieces(view, triangle);
            for (const std::uint32_t count : {1U, pieces.wanted(), 7U, OccluderPieces::mostPieces}) {
                const std::vector<KivOccluderBounds> boxes = cut(pieces, count);
                for (int k = 0; k < 20; ++k) {
                    double a = random.between(0.0, 1.0);
                    double b = random.between(0.0, 1.0);
                    if (a + b > 1.0) {
                        a = 1.0 - a;
                        b = 1.0 - b;
                    }
                    const KivVec point =
                        triangle[0] + (triangle[1] - triangle[0]) * a + (triangle[2] - triangle[0]) * b;
                    const KivPicturePoint seen = view.toPicture(point);
                    ASSERT_TRUE(std::any_of(boxes.begin(), boxes.end(), [&](const KivOccluderBounds& box) {
                        return holds(box, seen, point.z);
                    })) << i;
                    ++inside;
                }
            }
        }
    }
    EXPECT_EQ(inside, 2U * 2000U * 4U * 20U);
}

TEST(OccluderPieces, HoldLittleBesideASliverThatLiesAskew) {
    for (const KivCamera& camera : {near, even}) {
        const KivLineView view(camera, 1000.0, 1000.0);
        const OccluderPieces pieces(view, skewSliver(view));
        ASSERT_EQ(pieces.wanted(), OccluderPieces::mostPieces);
        const std::vector<KivOccluderBounds> boxes = cut(pieces, pieces.wanted());
        ASSERT_EQ(boxes.size(), OccluderPieces::mostPieces);
        EXPECT_LT(areaOf(boxes), 0.06 * areaOf(pieces.whole()));
    }
}

// What runs away from the eye is near in its first piece alone.
TEST(OccluderPieces, AreAsNearAsTheirOwnPart) {
    const KivLineView view(near, 1000.0, 1000.0);
    const KivVec depth{6.0, 8.0, 14.0};
    const OccluderPieces pieces(view, {view.toCamera({-2.0, -2.0, 0.0}), view.toCamera(depth * -1.0),
                                       view.toCamera(depth * -1.0 + KivVec{0.05, 0.0, 0.0})});
    const std::vector<KivOccluderBounds> boxes = cut(pieces, 8);
    ASSERT_EQ(boxes.size(), 8);
    const auto [nearest, farthest] = std::minmax_element(
        boxes.begin(), boxes.end(), [](const auto& a, const auto& b) { return a.nearest < b.nearest; });
    EXPECT_FLOAT_EQ(nearest->nearest, pieces.whole().nearest);
    EXPECT_GT(farthest->nearest, nearest->nearest + 4.0F);
}

TEST(OccluderPieces, AreOneWhereThereIsNothingToGain) {
    const KivLineView view(even, 1000.0, 1000.0);
    const auto wanted = [&view](const KivVec& a, const KivVec& b, const KivVec& c) {
        return OccluderPieces(view, {view.toCamera(a), view.toCamera(b), view.toCamera(c)}).wanted();
    };
    EXPECT_EQ(wanted({-3.0, -3.0, 0.0}, {3.0, -3.0, 0.0}, {0.0, 3.0, 0.0}), 1); // a fat one
    EXPECT_EQ(wanted({-3.0, 0.0, 0.0}, {3.0, 0.0, 0.0}, {3.0, 0.005, 0.0}), 1); // along the picture's side
    EXPECT_EQ(wanted({0.0, 0.0, 0.0}, {0.1, 0.1, 0.0}, {0.1, 0.101, 0.0}), 1);  // some pixels long
    EXPECT_EQ(wanted({-3.0, -3.0, 0.0}, {3.0, 3.0, 0.0}, {3.0, 3.0, 0.0}), OccluderPieces::mostPieces); // a line
}

TEST(OccluderPieces, LieInThePicture) {
    const KivLineView view(even, 1000.0, 1000.0);
    // A hundred times as long as the picture: all pieces but the ends are of the part that is seen.
    const OccluderPieces pieces(view, {view.toCamera({-500.0, -500.0, 0.0}), view.toCamera({500.0, 500.0, 0.0}),
                                       view.toCamera({500.0, 500.1, 0.0})});
    const std::vector<KivOccluderBounds> boxes = cut(pieces, 10);
    ASSERT_EQ(boxes.size(), 10);
    for (std::size_t i = 1; i + 1 < boxes.size(); ++i) {
        EXPECT_GE(boxes[i].left, -1.0F);
        EXPECT_LE(boxes[i].right, 1001.0F);
    }
}
