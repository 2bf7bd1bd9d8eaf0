#include "import/reader/surfacejoin.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using kivimport::joinSurfaces;
using kivimport::noIndex;
using kivimport::Surface;

// A triangle that lies at x, with a normal for its first corner alone.
Surface triangleAt(double x, std::uint32_t material, const std::string& name = "piece") {
    Surface surface;
    surface.positions = {{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}};
    surface.corners = {0, 1, 2};
    surface.normals = {{0, 0, x}};
    surface.cornerNormals = {0, noIndex, noIndex};
    surface.parts = {{name, material, 7}};
    return surface;
}

void addPaint(Surface& surface, double u) {
    surface.paint = {{u, 0, 0}, {u, 1, 0}};
    surface.cornerPaint = {1, 0, noIndex};
}

TEST(JoinSurfaces, PiecesOfOneMaterialBecomeOneSurfaceInTheirOrder) {
    std::vector<Surface> surfaces{triangleAt(1, 0), triangleAt(2, 5), triangleAt(3, 0), triangleAt(4, 5)};
    addPaint(surfaces[0], 0.25);
    addPaint(surfaces[2], 0.5);
    joinSurfaces(surfaces, 0, "whole");
    ASSERT_EQ(surfaces.size(), 2u);
    const Surface& first = surfaces[0];
    EXPECT_EQ(first.corners, (kivimport::Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(first.positions[3], (kivimport::Vec3{3, 0, 0}));
    EXPECT_EQ(first.cornerNormals, (kivimport::Indices{0, noIndex, noIndex, 1, noIndex, noIndex}));
    EXPECT_EQ(first.normals[1], (kivimport::Vec3{0, 0, 3}));
    EXPECT_EQ(first.cornerPaint, (kivimport::Indices{1, 0, noIndex, 3, 2, noIndex}));
    EXPECT_EQ(first.paint[3], (kivimport::Vec3{0.5, 1, 0}));
    ASSERT_EQ(first.parts.size(), 1u);
    EXPECT_EQ(first.parts[0].name, "whole");
    EXPECT_EQ(surfaces[1].parts[0].material, 5u);
    EXPECT_EQ(surfaces[1].positions.size(), 6u);
}

TEST(JoinSurfaces, RestPosesStayBesideTheirPositions) {
    std::vector<Surface> surfaces{triangleAt(1, 0), triangleAt(2, 0)};
    for (Surface& surface : surfaces) {
        surface.restPositions = surface.positions;
        surface.restPositions[0].z = 9;
        surface.restNormals = surface.normals;
    }
    joinSurfaces(surfaces, 0, "");
    ASSERT_EQ(surfaces.size(), 1u);
    ASSERT_EQ(surfaces[0].restPositions.size(), 6u);
    EXPECT_EQ(surfaces[0].restPositions[3], (kivimport::Vec3{2, 0, 9}));
    EXPECT_EQ(surfaces[0].restNormals.size(), 2u);
}

TEST(JoinSurfaces, WhatDiffersStaysApart) {
    std::vector<Surface> surfaces(6, triangleAt(1, 0));
    surfaces[1].parts[0].node = 8;
    surfaces[2].cornerNormals.clear();
    addPaint(surfaces[3], 0.5);
    addPaint(surfaces[4], 0.5);
    surfaces[4].isPaintColour = true;
    surfaces[5].restPositions = surfaces[5].positions;
    joinSurfaces(surfaces, 0, "whole");
    ASSERT_EQ(surfaces.size(), 6u);
    EXPECT_EQ(surfaces[5].parts[0].name, "piece"); // nothing was joined to it
}

TEST(JoinSurfaces, TouchesNoneBeforeTheFirst) {
    std::vector<Surface> surfaces{triangleAt(1, 0), triangleAt(2, 0), triangleAt(3, 0)};
    joinSurfaces(surfaces, 1, "");
    ASSERT_EQ(surfaces.size(), 2u);
    EXPECT_EQ(surfaces[0].positions.size(), 3u);
    EXPECT_EQ(surfaces[1].positions.size(), 6u);
    EXPECT_EQ(surfaces[1].parts[0].name, "piece"); // a mesh without a name keeps its first piece's
}

} // namespace
