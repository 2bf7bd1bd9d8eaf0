#include "kivshadedmesh.h"

#include "../shapes.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

// A flat face would take on the normals of the blends around it.
TEST(KivEvenPasses, LeaveExactNormalsAsTheyAre) {
    KivMesh mesh;
    const KivSurface ball = sphereSurface(20, 30);
    for (const KivVec& p : ball.points) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(p.x, p.y, p.z));
    }
    for (const KivSurface::Triangle& t : ball.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    const KivView view = perspectiveView({3.0, 4.0, 5.0}, 0.5, 1.0, 20.0, 400);
    EXPECT_GT(kivEvenPasses(kivReadShadedMesh(mesh, 40.0), view, 60.0), 0);
    kivSetMeshEdges(mesh, std::make_shared<KivMeshEdges>());
    EXPECT_EQ(kivEvenPasses(kivReadShadedMesh(mesh, 40.0), view, 60.0), 0);
}

namespace {

// A ball whose points lie off their places by up to so many radii.
KivShadedMesh roughBall(double roughness) {
    KivSurface ball = sphereSurface(30, 40);
    std::mt19937 words(5);
    for (KivVec& p : ball.points) {
        p = p * (1.0 + roughness * (static_cast<double>(words() % 2001) / 1000.0 - 1.0));
    }
    KivMesh mesh;
    for (const KivVec& p : ball.points) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z));
    }
    for (const KivSurface::Triangle& t : ball.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    return kivReadShadedMesh(mesh, 180.0);
}

} // namespace

TEST(KivNoiseOf, TellsARoughSurfaceFromOneThatBendsEvenly) {
    EXPECT_EQ(kivNoiseOf(roughBall(0.0), 3.0), 0.0);
    EXPECT_EQ(kivNoiseOf(roughBall(0.03), 3.0), 1.0);
    EXPECT_EQ(kivNoiseOf(KivShadedMesh{}, 3.0), 0.0);
}

// Bumps as large as the triangles of the mesh are shape if they are large in the picture.
TEST(KivNoiseOf, CountsByItsSizeInThePicture) {
    KivShadedMesh rough = roughBall(0.03);
    EXPECT_EQ(kivNoiseOf(rough, kivNoiseReach), 1.0);
    EXPECT_EQ(kivNoiseOf(rough, 2.0 * kivNoiseReach), 0.0);
    rough.noise = {0.5, 4.0};
    EXPECT_EQ(kivNoiseOf(rough, kivNoiseReach / 16.0), 0.5);
    EXPECT_EQ(kivNoiseOf(rough, kivNoiseReach / 8.0), 0.0);
}

TEST(KivEvenReach, ACleanSurfaceIsEvenedOutOnlyByWhatIsAskedForBeyondNoise) {
    EXPECT_EQ(kivEvenReach(9.0, 0.0), 0.0);
    EXPECT_EQ(kivEvenReach(9.0, 1.0), 9.0);
    EXPECT_EQ(kivEvenReach(20.0, 0.0), 20.0 - kivNoiseReach);
    EXPECT_EQ(kivEvenReach(20.0, 1.0), 20.0);
}

// Normals that an importer made are found anew by another angle than the usual one; a file's own are not.
TEST(KivReadShadedMesh, TheAngleActsOnNormalsThatWereMadeFromTheTriangles) {
    const KivSurface ball = sphereSurface(8, 12);
    KivMesh mesh;
    for (const KivVec& p : ball.points) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(p.x, p.y, p.z));
    }
    for (const KivSurface::Triangle& t : ball.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    EXPECT_EQ(kivReadShadedMesh(mesh, 0.0).points.size(), ball.points.size());
    kivSetNormalsFromTriangles(mesh, true);
    EXPECT_EQ(kivReadShadedMesh(mesh, kivUsualSmoothAngle).points.size(), ball.points.size());
    EXPECT_EQ(kivReadShadedMesh(mesh, 180.0).points.size(), ball.points.size());
    EXPECT_GT(kivReadShadedMesh(mesh, 0.0).points.size(), 2 * ball.points.size());
}

TEST(KivReadShadedMesh, APolyhedronWithoutNormalsHasFlatFacesAtTheUsualAngle) {
    KivMesh mesh; // a wedge of which two faces meet at 40 degrees
    for (const double y : {0.0, 5.0}) {
        mesh.addVertex(Kiv3DPoint(-3.0, y, 0.0));
        mesh.addVertex(Kiv3DPoint(3.0, y, 0.0));
        mesh.addVertex(Kiv3DPoint(0.0, y, 1.092)); // 20 degrees up from either side
    }
    const unsigned int corners[][3] = {{0, 2, 1}, {3, 4, 5}, {0, 1, 4}, {0, 4, 3},
                                       {1, 2, 5}, {1, 5, 4}, {2, 0, 3}, {2, 3, 5}};
    for (const auto& c : corners) {
        mesh.addTriangle(c[0], c[1], c[2]);
    }
    EXPECT_EQ(kivReadShadedMesh(mesh, kivUsualSmoothAngle).points.size(), 18U); // each face has its corners
    EXPECT_EQ(kivReadShadedMesh(mesh, 44.0).points.size(), 16U);                // but for the ridge
}

namespace {

using Paint = std::array<float, 3>;

// Two triangles of a square with a seam at one end of their diagonal, the second one wound the other way.
KivMesh seamedSquare() {
    KivMesh mesh;
    for (const KivVec& p : {KivVec{0, 0, 0}, KivVec{1, 0, 0}, KivVec{1, 1, 0}, KivVec{0, 0, 0}, KivVec{0, 1, 0}}) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z));
    }
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(3, 4, 2);
    auto paint = std::make_shared<KivMeshPaint>();
    paint->coordinates = {{0.1F, 0, 0}, {0.2F, 0, 0}, {0.3F, 0, 0}, {0.4F, 0, 0}, {0.5F, 0, 0}};
    kivSetMeshPaint(mesh, std::move(paint));
    return mesh;
}

} // namespace

TEST(KivReadShadedMesh, AMeshWithoutNormalsKeepsItsPaintOnBothSidesOfASeam) {
    const KivShadedMesh model = kivReadShadedMesh(seamedSquare(), 45.0);
    ASSERT_EQ(model.paint.size(), model.points.size());
    ASSERT_EQ(model.normals.size(), model.points.size());
    ASSERT_EQ(model.triangles.size(), 2U);
    const auto paintAt = [&](std::size_t t, double x, double y) {
        for (const std::uint32_t v : model.triangles[t]) {
            if (model.points[v].x == x && model.points[v].y == y) {
                return model.paint[v];
            }
        }
        return Paint{};
    };
    EXPECT_EQ(paintAt(0, 0, 0), (Paint{0.1F, 0, 0}));
    EXPECT_EQ(paintAt(0, 1, 0), (Paint{0.2F, 0, 0}));
    EXPECT_EQ(paintAt(0, 1, 1), (Paint{0.3F, 0, 0}));
    EXPECT_EQ(paintAt(1, 0, 0), (Paint{0.4F, 0, 0}));
    EXPECT_EQ(paintAt(1, 0, 1), (Paint{0.5F, 0, 0}));
    EXPECT_EQ(paintAt(1, 1, 1), (Paint{0.3F, 0, 0}));
}

TEST(KivReadShadedMesh, PaintOfAnotherNumberCountsAsNone) {
    const KivMesh mesh = seamedSquare();
    auto paint = std::make_shared<KivMeshPaint>();
    paint->coordinates.resize(4);
    kivSetMeshPaint(mesh, std::move(paint));
    EXPECT_TRUE(kivReadShadedMesh(mesh, 45.0).paint.empty());
}
