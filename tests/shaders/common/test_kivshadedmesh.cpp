#include "kivshadedmesh.h"

#include "../shapes.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"

#include <gtest/gtest.h>

#include <memory>

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
