#include "kivshadedmesh.h"

#include "../shapes.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"

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
