#include "apps/common/standardview.h"

#include "apps/common/framing.h"

#include <array>
#include <cmath>

#include <gtest/gtest.h>

namespace {

const Kiv3DVector yUp(0.0, 1.0, 0.0);
const Kiv3DVector zUp(0.0, 0.0, 1.0);

double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Where the axes of space lead in the picture: across and up of x, y and z.
std::array<double, 6> axesInPicture(StandardView view, const Kiv3DVector& modelUp) {
    const StandardDirections directions = standardDirections(view, modelUp);
    const ViewAxes axes = viewAxes(directions.forward, directions.up);
    return {axes.right.x, axes.up.x, axes.right.y, axes.up.y, axes.right.z, axes.up.z};
}

void expectNear(const std::array<double, 6>& found, const std::array<double, 6>& expected) {
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i], expected[i], 1e-12) << i;
    }
}

} // namespace

TEST(StandardView, NamesAreThoseOfTheOption) {
    EXPECT_EQ(standardViewOf("front"), StandardView::front);
    EXPECT_EQ(standardViewOf("dimetric"), StandardView::dimetric);
    EXPECT_FALSE(standardViewOf("Front").has_value());
    EXPECT_FALSE(standardViewOf("").has_value());
    EXPECT_TRUE(isAlwaysParallel(StandardView::iso));
    EXPECT_FALSE(isAlwaysParallel(StandardView::top));
}

// A model whose up is y looks along +z, so x is to the right of who stands before it.
TEST(StandardView, SixSidesOfAModelWhoseUpIsY) {
    expectNear(axesInPicture(StandardView::front, yUp), {1, 0, 0, 1, 0, 0});
    expectNear(axesInPicture(StandardView::back, yUp), {-1, 0, 0, 1, 0, 0});
    expectNear(axesInPicture(StandardView::left, yUp), {0, 0, 0, 1, 1, 0});
    expectNear(axesInPicture(StandardView::right, yUp), {0, 0, 0, 1, -1, 0});
    expectNear(axesInPicture(StandardView::top, yUp), {1, 0, 0, 0, 0, -1});
    expectNear(axesInPicture(StandardView::bottom, yUp), {1, 0, 0, 0, 0, 1});
}

// One whose up is z looks along -y.
TEST(StandardView, SixSidesOfAModelWhoseUpIsZ) {
    expectNear(axesInPicture(StandardView::front, zUp), {1, 0, 0, 0, 0, 1});
    expectNear(axesInPicture(StandardView::back, zUp), {-1, 0, 0, 0, 0, 1});
    expectNear(axesInPicture(StandardView::left, zUp), {0, 0, -1, 0, 0, 1});
    expectNear(axesInPicture(StandardView::right, zUp), {0, 0, 1, 0, 0, 1});
    expectNear(axesInPicture(StandardView::top, zUp), {1, 0, 0, 1, 0, 0});
    expectNear(axesInPicture(StandardView::bottom, zUp), {1, 0, 0, -1, 0, 0});
}

// ISO 5456-3.
TEST(StandardView, TheIsometricViewShortensAllAxesAlike) {
    for (const Kiv3DVector& up : {yUp, zUp}) {
        const std::array<double, 6> a = axesInPicture(StandardView::iso, up);
        for (std::size_t i = 0; i < 6; i += 2) {
            EXPECT_NEAR(std::hypot(a[i], a[i + 1]), std::sqrt(2.0 / 3.0), 1e-12);
        }
        // Width 30 degrees from the horizontal, to the right and down.
        EXPECT_NEAR(std::atan2(std::fabs(a[1]), std::fabs(a[0])), std::atan(1.0) * 4.0 / 6.0, 1e-12);
    }
}

TEST(StandardView, TheDimetricViewHalvesTheDepth) {
    const std::array<double, 6> a = axesInPicture(StandardView::dimetric, yUp);
    const double width = std::hypot(a[0], a[1]);
    EXPECT_NEAR(std::hypot(a[2], a[3]), width, 1e-12);
    EXPECT_NEAR(std::hypot(a[4], a[5]), width / 2.0, 1e-12);
    const double degree = std::atan(1.0) / 45.0;
    EXPECT_NEAR(std::atan2(std::fabs(a[1]), std::fabs(a[0])) / degree, 7.2, 0.1);
    EXPECT_NEAR(std::atan2(std::fabs(a[5]), std::fabs(a[4])) / degree, 41.4, 0.1);
    EXPECT_NEAR(dot(standardDirections(StandardView::dimetric, yUp).forward, yUp), -1.0 / 3.0, 1e-12);
}
