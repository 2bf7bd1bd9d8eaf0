#include "kivrender/lines/touchingfaces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

// A facet of a cylinder about the line through the centre along z, from one angle to another.
KivSurface facet(double radius, double from, double to, const KivVec& centre = {}) {
    KivSurface surface;
    for (const auto& [angle, z] : {std::pair(from, -1.0), std::pair(to, -1.0), std::pair(to, 1.0)}) {
        const KivVec out = {std::cos(angle), std::sin(angle), 0.0};
        surface.points.push_back(centre + out * radius + KivVec{0.0, 0.0, z});
        surface.normals.push_back(out);
    }
    surface.triangles = surface.cornerNormals = {{0, 1, 2}};
    return surface;
}

bool touch(const KivSurface& one, const KivSurface& other, double angle) {
    const KivVec at = {std::cos(angle), std::sin(angle), 0.0};
    return kivFacesTouch({one, 0}, {other, 0}, at + KivVec{0.0, 0.0, -0.5}, at + KivVec{0.0, 0.0, 0.5});
}

} // namespace

TEST(TouchingFaces, AreThoseOfEqualCylindersOutOfStep) {
    EXPECT_TRUE(touch(facet(1.0, 0.0, 0.3), facet(1.0, 0.15, 0.45), 0.22));
    // A hole looks the other way.
    KivSurface hole = facet(1.0, 0.15, 0.45);
    for (KivVec& normal : hole.normals) {
        normal = -normal;
    }
    EXPECT_TRUE(touch(facet(1.0, 0.0, 0.3), hole, 0.22));
}

TEST(TouchingFaces, AreNotThoseOfSurfacesThatCross) {
    KivSurface other = facet(1.0, 0.1, 0.4);
    for (KivVec& normal : other.normals) {
        normal = kivUnit(normal + KivVec{0.0, 0.0, 0.12}); // of a cone
    }
    EXPECT_FALSE(touch(facet(1.0, 0.1, 0.4), other, 0.25));
}

TEST(TouchingFaces, FineMeshesCrossAtSmallerAngles) {
    // Normals that differ by 0.05, of facets that turn by 0.6 and by 0.02.
    const auto turned = [](double half, double by) {
        KivSurface surface = facet(1.0, 0.2 - half, 0.2 + half);
        for (KivVec& normal : surface.normals) {
            normal = {normal.x * std::cos(by) - normal.y * std::sin(by),
                      normal.x * std::sin(by) + normal.y * std::cos(by), 0.0};
        }
        return surface;
    };
    EXPECT_TRUE(touch(turned(0.3, 0.0), turned(0.3, 0.05), 0.2));
    EXPECT_FALSE(touch(turned(0.01, 0.0), turned(0.01, 0.05), 0.2));
}

TEST(TouchingFaces, FlatFacesAndMeshesWithoutNormalsCrossAtAnyAngle) {
    KivSurface flat = facet(1.0, 0.0, 0.3);
    flat.normals.assign(3, kivUnit(flat.normals[0] + flat.normals[1]));
    const KivSurface round = facet(1.0, 0.15, 0.45);
    EXPECT_FALSE(touch(flat, round, 0.22));
    EXPECT_FALSE(touch(round, flat, 0.22));
    KivSurface bare = facet(1.0, 0.0, 0.3);
    bare.normals.clear();
    bare.cornerNormals.clear();
    EXPECT_FALSE(touch(bare, round, 0.22));
    EXPECT_FALSE(touch(round, bare, 0.22));
}
