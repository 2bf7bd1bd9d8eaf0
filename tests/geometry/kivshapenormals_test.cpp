#include "kivrender/geometry/kivshapenormals.h"

#include "shapemodels.h"

#include <gtest/gtest.h>

#include <random>

namespace {

KivSurface surfaceOf(const ShapeModel& model) {
    KivSurface surface;
    surface.points = model.points;
    surface.triangles = model.triangles;
    return surface;
}

KivVec faceOf(const ShapeModel& model, const KivSurface::Triangle& t) {
    const KivVec& a = model.points[t[0]];
    return kivUnit(kivCross(model.points[t[1]] - a, model.points[t[2]] - a));
}

KivSurface flatSurfaceOf(const ShapeModel& model) {
    KivSurface surface = surfaceOf(model);
    for (const KivSurface::Triangle& t : model.triangles) {
        const auto n = static_cast<std::uint32_t>(surface.normals.size());
        surface.normals.push_back(faceOf(model, t));
        surface.cornerNormals.push_back({n, n, n});
    }
    return surface;
}

// One normal for each point, its own place on a ball.
KivSurface roundSurfaceOf(const ShapeModel& model) {
    KivSurface surface = surfaceOf(model);
    for (const KivVec& p : model.points) {
        surface.normals.push_back(kivUnit(p));
    }
    surface.cornerNormals = surface.triangles;
    return surface;
}

// A ball with points up to a part of the radius off.
ShapeModel roughBall(double part) {
    ShapeModel model = ballModel(24);
    std::mt19937 words(5);
    for (KivVec& p : model.points) {
        p = p * (1.0 + part * (static_cast<double>(words() % 2001) / 1000.0 - 1.0));
    }
    return model;
}

// A cube whose 24 vertices have the normals of its faces, with bevels of a tenth between them.
KivSurface bevelledCube() {
    ShapeModel model;
    KivSurface surface;
    for (int axis = 0; axis < 3; ++axis) {
        for (const double side : {-1.0, 1.0}) {
            const auto first = static_cast<std::uint32_t>(model.points.size());
            for (const auto& [u, v] :
                 {std::pair(-0.9, -0.9), std::pair(0.9, -0.9), std::pair(0.9, 0.9), std::pair(-0.9, 0.9)}) {
                double place[3] = {};
                double normal[3] = {};
                place[axis] = normal[axis] = side;
                place[(axis + 1) % 3] = side * u;
                place[(axis + 2) % 3] = v;
                model.points.push_back({place[0], place[1], place[2]});
                surface.normals.push_back({normal[0], normal[1], normal[2]});
            }
            model.addQuad(first, first + 1, first + 2, first + 3);
        }
    }
    // The bevels: quads between faces, found as pairs of points that are near each other.
    const auto near = [&model](std::uint32_t a, std::uint32_t b) {
        return a / 4 != b / 4 && kivLength(model.points[a] - model.points[b]) < 0.2;
    };
    for (std::uint32_t a = 0; a < 24; ++a) {
        const std::uint32_t b = a / 4 * 4 + (a + 1) % 4;
        for (std::uint32_t c = a / 4 * 4 + 4; c < 24; ++c) {
            for (std::uint32_t d = c / 4 * 4; d < c / 4 * 4 + 4; ++d) {
                if (near(a, c) && near(b, d)) {
                    model.addQuad(b, a, c, d);
                }
            }
        }
    }
    surface.points = model.points;
    surface.triangles = model.triangles;
    surface.cornerNormals = model.triangles;
    return surface;
}

} // namespace

TEST(KivShapeNormals, MeansOfTheTrianglesAreASmoothShape) {
    EXPECT_EQ(kivShapeNormals(roundSurfaceOf(ballModel(12))), KivShapeNormals::smooth);
    EXPECT_EQ(kivShapeNormals(roundSurfaceOf(ballModel(24))), KivShapeNormals::smooth);
}

TEST(KivShapeNormals, ThoseOfAnotherShapeAreItsOwn) {
    KivSurface surface = roundSurfaceOf(ballModel(24));
    for (KivVec& normal : surface.normals) {
        normal = kivUnit({normal.y, normal.z, normal.x});
    }
    EXPECT_EQ(kivShapeNormals(surface), KivShapeNormals::own);
}

// Facets that are split at every side, as flat shading writes them.
TEST(KivShapeNormals, FlatOnesOfAGentleShapeTellNothing) {
    EXPECT_EQ(kivShapeNormals(flatSurfaceOf(ballModel(24))), KivShapeNormals::nothing);
    EXPECT_EQ(kivShapeNormals(flatSurfaceOf(roughBall(0.01))), KivShapeNormals::nothing);
}

TEST(KivShapeNormals, FacetsAreFewOrBendStrongly) {
    EXPECT_EQ(kivShapeNormals(flatSurfaceOf(cubeModel())), KivShapeNormals::own);
    EXPECT_EQ(kivShapeNormals(flatSurfaceOf(ballModel(12))), KivShapeNormals::own);
    EXPECT_EQ(kivShapeNormals(flatSurfaceOf(roughBall(0.1))), KivShapeNormals::own);
    ShapeModel cap = ballModel(24);
    cap.triangles.resize(150);
    EXPECT_EQ(kivShapeNormals(flatSurfaceOf(cap)), KivShapeNormals::own);
}

TEST(KivShapeNormals, TheWindingDoesNotMatter) {
    for (const ShapeModel& model : {ballModel(24), roughBall(0.1)}) {
        KivSurface surface = flatSurfaceOf(model);
        const KivShapeNormals before = kivShapeNormals(surface);
        for (std::size_t t = 0; t < surface.triangles.size(); t += 3) {
            std::swap(surface.triangles[t][0], surface.triangles[t][1]);
        }
        EXPECT_EQ(kivShapeNormals(surface), before);
    }
}

TEST(KivShapeNormals, FlatFacesBetweenRoundedEdgesAreOfTheirOwn) {
    const KivSurface cube = bevelledCube();
    ASSERT_EQ(cube.triangles.size(), 12U + 24U);
    EXPECT_EQ(kivShapeNormals(cube), KivShapeNormals::own);
}
