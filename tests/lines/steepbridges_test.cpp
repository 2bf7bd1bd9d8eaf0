#include "kivrender/lines/steepbridges.h"

#include "linebodies.h"
#include "linecameras.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// One pixel is one unit; the middle of the picture is the origin. A wall behind, and a box before it whose upper side
// is at 0.
class Scene {
public:
    explicit Scene(double front, bool two = false) {
        const LineBody wall = boxBody({-90.0, -90.0, -10.0}, {90.0, 90.0, 0.0});
        const LineBody box = boxBody({-90.0, -90.0, 0.0}, {0.0, 0.0, front});
        EXPECT_TRUE(occluders.add(wall.points, wall.triangles));
        EXPECT_TRUE(occluders.add(box.points, box.triangles));
        const LineBody other = boxBody({0.0, 0.0, 0.0}, {90.0, 90.0, front});
        EXPECT_TRUE(!two || occluders.add(other.points, other.triangles));
        EXPECT_TRUE(occluders.build());
    }
    std::vector<KivVec> bridge(const BridgeEnd& from, const BridgeEnd& to, std::size_t work = 1000000) const {
        LineBudget budget(work);
        return kivSteepBridge(occluders, budget, from, to);
    }

    KivOccluders occluders{
        KivLineView(lineCamera(KivCamera::orthographic, {0.0, 0.0, 100.0}, 100.0, 1.0, 300.0), 200.0, 200.0)};
};

const BridgeEnd left = {{60.0, 99.9}, {1.0, 0.0}};
const BridgeEnd right = {{80.0, 99.9}, {-1.0, 0.0}};

TEST(SteepBridges, RunAlongWhereTheSurfaceFallsAway) {
    const std::vector<KivVec> points = Scene(40.0).bridge(left, right);
    ASSERT_EQ(points.size(), 19U);
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_NEAR(points[i].x, -40.0 + static_cast<double>(i + 1), 1.0);
        EXPECT_NEAR(points[i].y, -0.1, 1e-9);
        EXPECT_NEAR(points[i].z, 40.0, 1e-6) << "on what is seen there";
    }
}

TEST(SteepBridges, FollowTheDirectionsOfBothEnds) {
    const double half = std::sqrt(0.5);
    const BridgeEnd rising = {{60.0, 99.5}, {half, half}};
    const BridgeEnd falling = {{63.0, 99.5}, {-half, half}};
    const std::vector<KivVec> points = Scene(40.0).bridge(rising, falling);
    ASSERT_EQ(points.size(), 2U);
    EXPECT_GT(points[0].y, -0.2);
    EXPECT_NEAR(points[0].y, points[1].y, 1e-6);
}

TEST(SteepBridges, AreNotWhereItFallsByLittleOrEndsOrTurns) {
    EXPECT_TRUE(Scene(10.0).bridge(left, right).empty()) << "a gentle step";
    EXPECT_TRUE(Scene(40.0).bridge({{60.0, 60.0}, {1.0, 0.0}}, {{80.0, 60.0}, {-1.0, 0.0}}).empty()) << "a face";
    // Around the box's corner: first its upper side, then nothing.
    EXPECT_TRUE(Scene(40.0).bridge({{90.0, 100.0}, {1.0, 0.0}}, {{110.0, 100.0}, {-1.0, 0.0}}).empty());
    // On from there along the lower side of another.
    EXPECT_TRUE(Scene(40.0, true).bridge({{90.5, 100.0}, {1.0, 0.0}}, {{110.5, 100.0}, {-1.0, 0.0}}).empty());
}

TEST(SteepBridges, EndWithTheWorkThatIsAllowed) {
    EXPECT_TRUE(Scene(40.0).bridge(left, right, 5).empty());
}

} // namespace
