#include "kivrender/lines/surfacelines.h"

#include "linecameras.h"

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

namespace {

// Two flat triangles that stand for a long strip which is round across its length: at x = -1 and 1 its normals lean
// outwards by a third.
KivSurface strip() {
    KivSurface surface;
    surface.points = {{-1, -10, 0}, {1, -10, 0}, {1, 10, 0}, {-1, 10, 0}};
    surface.triangles = {{0, 1, 2}, {0, 2, 3}};
    surface.sources = {0, 1};
    const double size = std::hypot(1.0, 0.33);
    surface.normals = {{-0.33 / size, 0.0, 1.0 / size}, {0.33 / size, 0.0, 1.0 / size}};
    surface.cornerNormals = {{0, 1, 1}, {0, 1, 0}};
    surface.namesEdges = true;
    surface.namedEdges = {
        {0, 1, false, false, {}}, {0, 3, false, false, {}}, {1, 2, false, false, {}}, {2, 3, false, false, {}}};
    return surface;
}

std::vector<ContourPiece> contoursOf(const KivSurface& surface) {
    // Nearly from the side, so that one border of the strip faces the viewer and the other does not.
    const KivCamera camera = lineCamera(KivCamera::orthographic, {100.0, 0.0, 10.0}, 20.0, 1.0, 200.0);
    SurfaceLines lines;
    EXPECT_TRUE(kivSurfaceLines(surface, {}, KivLineView(camera, 400.0, 400.0), {}, lines));
    return lines.contours;
}

} // namespace

TEST(SurfaceLines, TheContourOfAnExactSurfaceGoesByItsNormals) {
    EXPECT_EQ(contoursOf(strip()).size(), 2U) << "one piece in each triangle";
}

// An eighth of the strip's width times the turn of its normals, however long its triangles are: what stands before a
// contour is told that far off the mesh.
TEST(SurfaceLines, TheRiseOverALongTriangleIsThatAcrossIt) {
    const double turn = 2.0 * 0.33 / std::hypot(1.0, 0.33);
    for (const ContourPiece& piece : contoursOf(strip())) {
        EXPECT_NEAR(piece.rise, 0.125 * 2.0 * turn, 1e-12);
    }
}

TEST(SurfaceLines, NormalsOfAPlainMeshAreItsFacets) {
    KivSurface plain = strip();
    plain.namesEdges = false;
    plain.namedEdges.clear();
    EXPECT_TRUE(contoursOf(plain).empty());
}

// Two skins whose gap a narrow strip closes: the eye sees them end there, although nothing bends much and no mesh ends.
TEST(SurfaceLines, AJunctionAtWhichEverySheetTurnsBackIsAContour) {
    KivSurface surface;
    surface.points = {{0, -10, 0}, {0, 10, 0}, {-10, 0, 1}, {-10, 0, -1}, {-0.1, 0, -1}};
    surface.triangles = {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}};
    surface.sources = {0, 1, 2};
    const auto contoursAlong = [&] {
        const KivCamera camera = lineCamera(KivCamera::orthographic, {0.0, 0.0, 100.0}, 20.0, 1.0, 200.0);
        SurfaceLines lines;
        EXPECT_TRUE(kivSurfaceLines(surface, {}, KivLineView(camera, 400.0, 400.0), {}, lines));
        int found = 0;
        for (const LineSegment& segment : lines.segments) {
            const bool isThere = segment.a.x == 0.0 && segment.b.x == 0.0;
            found += isThere && segment.kind == KivStrokeKind::contour ? 1 : 0;
        }
        return found;
    };
    EXPECT_EQ(contoursAlong(), 1);
    surface.points[3].x = 10.0;
    EXPECT_EQ(contoursAlong(), 0);
}

// An open octagonal wall, whose quads are meant to be round across. The lines along its borders are straight, and its
// contour may not stand out of them over the diagonals.
TEST(SurfaceLines, AContourOverAFlatFaceKeepsToItsSharpEdges) {
    KivSurface wall;
    for (int i = 0; i < 8; ++i) {
        const double turn = 0.25 * i * std::numbers::pi + 0.3;
        wall.points.push_back({std::cos(turn), std::sin(turn), 0.0});
        wall.points.push_back({std::cos(turn), std::sin(turn), 1.0});
    }
    for (std::uint32_t i = 0; i < 16; i += 2) {
        const std::uint32_t next = (i + 2) % 16;
        wall.triangles.push_back({i, next, next + 1});
        wall.triangles.push_back({i, next + 1, i + 1});
    }
    wall.sources.assign(wall.triangles.size(), 0);
    const KivCamera camera = lineCamera(KivCamera::orthographic, {100.0, 0.0, 20.0}, 20.0, 1.0, 200.0);
    SurfaceLineRules rules;
    rules.features.creaseAngle = 60.0;
    SurfaceLines lines;
    ASSERT_TRUE(kivSurfaceLines(wall, {}, KivLineView(camera, 100.0, 100.0), rules, lines));
    ASSERT_EQ(lines.contours.size(), 4U) << "two triangles on either side of the wall";
    const double off = std::cos(std::numbers::pi / 8.0); // the faces, from the middle
    for (const LineSegment& segment : lines.segments) {
        for (int i = 0; i < 8; ++i) {
            const double turn = 0.25 * (i + 0.5) * std::numbers::pi + 0.3;
            EXPECT_LE(segment.a.x * std::cos(turn) + segment.a.y * std::sin(turn), off + 1e-9);
            EXPECT_LE(segment.b.x * std::cos(turn) + segment.b.y * std::sin(turn), off + 1e-9);
        }
    }
}
