#include "kivrender/lines/smoothsurface.h"

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/scene/kivmesh.h"
#include "linecameras.h"
#include "support/closedshapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

namespace {

// Two faces of a roof that meet along y, with a bend of so many degrees; with normals that are those of the faces, or
// run on over the ridge, or none.
enum class Normals { none, faces, roof };

KivSurface roof(double bend, Normals normals) {
    const double slope = 0.5 * bend * std::numbers::pi / 180.0;
    const double drop = -std::tan(slope);
    KivMesh mesh;
    const auto add = [&mesh, normals](double x, double y, double z, double nx, double nz) {
        if (normals == Normals::none) {
            mesh.addVertex(Kiv3DPoint(x, y, z));
        } else {
            mesh.addVertex(Kiv3DPoint(x, y, z), Kiv3DVector(nx, 0.0, nz));
        }
    };
    for (const double side : {-1.0, 1.0}) {
        const double nx = side * std::sin(slope);
        const double ridge = normals == Normals::roof ? 0.0 : nx;
        add(0.0, 0.0, 0.0, ridge, std::cos(slope));
        add(0.0, 1.0, 0.0, ridge, std::cos(slope));
        add(side, 0.0, drop, nx, std::cos(slope));
        add(side, 1.0, drop, nx, std::cos(slope));
    }
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(1, 3, 2);
    mesh.addTriangle(4, 6, 5);
    mesh.addTriangle(5, 6, 7);
    return kivReadSurface(mesh);
}

// Whether the smooth surface runs on over the ridge, in a picture so small that no facet shows.
bool runsOn(double bend, Normals normals) {
    const KivSurface surface = roof(bend, normals);
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 5.0, 1.0, 100.0), 10, 10);
    SmoothSurface smooth;
    EXPECT_TRUE(kivSmoothSurface(surface, wings, std::vector<bool>(wings.size(), false), view, 1.0, smooth));
    const auto ridge = std::find_if(wings.begin(), wings.end(), [bend](const KivFeatureWing& wing) {
        return std::fabs(static_cast<double>(wing.bend) - bend) < 0.01;
    });
    EXPECT_NE(ridge, wings.end());
    return smooth.smooth.at(static_cast<std::size_t>(ridge - wings.begin()));
}

// The wall of a tower without roof and floor, 2 units high, with quads between its corners; nothing bends within one.
struct Corner {
    double x, y;
};

KivSurface wall(const std::vector<Corner>& corners) {
    KivMesh mesh;
    const auto count = static_cast<unsigned int>(corners.size());
    for (const Corner& corner : corners) {
        mesh.addVertex(Kiv3DPoint(corner.x, corner.y, 0.0));
        mesh.addVertex(Kiv3DPoint(corner.x, corner.y, 2.0));
    }
    for (unsigned int i = 0; i < count; ++i) {
        const unsigned int next = (i + 1) % count;
        mesh.addTriangle(2 * i, 2 * next, 2 * next + 1);
        mesh.addTriangle(2 * i, 2 * next + 1, 2 * i + 1);
    }
    return kivReadSurface(mesh);
}

std::vector<Corner> ring(int sides, double radius) {
    std::vector<Corner> corners;
    for (int i = 0; i < sides; ++i) {
        const double turn = 2.0 * std::numbers::pi * i / sides;
        corners.push_back({radius * std::cos(turn), radius * std::sin(turn)});
    }
    return corners;
}

// A square from -size to size, with chamfers that take so much of each of its sides.
std::vector<Corner> chamfered(double size, double chamfer) {
    const double near = size - chamfer;
    return {{size, -near}, {size, near},   {near, size},   {-near, size},
            {-size, near}, {-size, -near}, {-near, -size}, {near, -size}};
}

// With so many pixels to a unit.
SmoothSurface smoothOf(const KivSurface& surface, double pixelsPerUnit) {
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 50.0}, 50.0 / pixelsPerUnit, 1.0, 100.0), 100,
                           100);
    SmoothSurface smooth;
    EXPECT_TRUE(kivSmoothSurface(surface, wings, std::vector<bool>(wings.size(), false), view, 2.0, smooth));
    return smooth;
}

// Of the upright edges between the wall's faces.
long smoothCorners(const KivSurface& surface, double pixelsPerUnit) {
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    const SmoothSurface smooth = smoothOf(surface, pixelsPerUnit);
    long found = 0;
    for (std::size_t i = 0; i < wings.size(); ++i) {
        found += smooth.smooth[i] && wings[i].bend > 1.0F ? 1 : 0;
    }
    return found;
}

long straightSides(const SmoothSurface& smooth) {
    return std::count_if(smooth.straightSides.begin(), smooth.straightSides.end(),
                         [](std::uint8_t sides) { return sides != 0; });
}

} // namespace

TEST(SmoothSurface, EndsWhereTheNormalsOfTheMeshDoNotRunOn) {
    EXPECT_FALSE(runsOn(45.0, Normals::faces)); // a chamfer, too short for a crease or not
    EXPECT_TRUE(runsOn(45.0, Normals::roof));
    EXPECT_TRUE(runsOn(45.0, Normals::none));
    EXPECT_TRUE(runsOn(20.0, Normals::faces)); // facets of a flat-shaded round body
}

// Over 2 units of an edge that bends by 45 degrees an arc rises by 0.2 units, over the 7.7 units between two by 0.75.
TEST(SmoothSurface, FacesThatAreWideAndLowShowToo) {
    const KivSurface octagon = wall(ring(8, 10.0));
    EXPECT_EQ(smoothCorners(octagon, 2.0), 8);
    EXPECT_EQ(smoothCorners(octagon, 4.0), 0);
    EXPECT_EQ(smoothCorners(wall(ring(48, 10.0)), 4.0), 48);
}

TEST(SmoothSurface, AFlatFaceEndsAtAChamfer) {
    EXPECT_EQ(smoothCorners(wall(chamfered(10.0, 2.0)), 1.0), 0);
    EXPECT_EQ(smoothCorners(wall(chamfered(10.0, 2.0)), 0.1), 8) << "what is too small to be seen is round";
    EXPECT_EQ(smoothCorners(wall(chamfered(10.0, 5.0)), 1.0), 8) << "facets of one curve have not all the same width";
}

TEST(SmoothSurface, WithinAFlatFaceThatASharpEdgeEndsSidesStayStraight) {
    const SmoothSurface open = smoothOf(wall(ring(8, 10.0)), 1.0);
    ASSERT_EQ(open.straightSides.size(), 16U);
    EXPECT_EQ(straightSides(open), 16);
    for (std::size_t t = 0; t < open.straightSides.size(); ++t) {
        EXPECT_EQ(open.straightSides[t] & ~open.smoothSides[t], 0);
        EXPECT_NE(open.straightSides[t], open.smoothSides[t]) << "over the bends at its sides an arc rises";
    }
    const auto round = closedRing({0.0, 0.0, 0.0}, 5.0, 2.0, 24, 12);
    const unsigned int apart = round->getNumVertexs();
    for (const double x : {20.0, 21.0, 22.0}) {
        round->addVertex(Kiv3DPoint(x, x * x, 0.0));
    }
    round->addTriangle(apart, apart + 1, apart + 2); // has sharp edges
    EXPECT_EQ(straightSides(smoothOf(kivReadSurface(*round), 1.0)), 0);
}

// A face of a CAD file may be one quad of a cylinder, or a plane that a blend goes out from.
TEST(SmoothSurface, ExactNormalsTellWhatTwoTrianglesStandFor) {
    const auto exactly = [](KivSurface surface) {
        surface.namesEdges = true;
        for (const KivVec& p : surface.points) {
            surface.normals.push_back(kivUnit({p.x, p.y, 0.0}));
        }
        surface.cornerNormals.assign(surface.triangles.begin(), surface.triangles.end());
        return surface;
    };
    EXPECT_EQ(straightSides(smoothOf(exactly(wall(ring(8, 10.0))), 1.0)), 0);
    EXPECT_EQ(smoothCorners(exactly(wall(ring(8, 10.0))), 4.0), 8);
    EXPECT_EQ(smoothCorners(exactly(wall(chamfered(10.0, 2.0))), 1.0), 8);
}
