// Surfaces that stand at several places, from the parts of a model to its scene.
#include "import/scenebuilder.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivplacedmesh.h"

#include <gtest/gtest.h>

namespace {

using namespace kivimport;

// A box of 1 by 2 by 3 at the origin, wound outwards; its lid is a part of its own that has a material.
Surface box() {
    Surface surface;
    for (int i = 0; i < 8; ++i) {
        surface.positions.push_back({1.0 * (i & 1), 2.0 * (i >> 1 & 1), 3.0 * (i >> 2 & 1)});
    }
    surface.corners = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                       2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
    surface.triangleParts = {0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0};
    surface.parts = {{"sides", noIndex, noIndex}, {"lid", 0, 1}};
    return surface;
}

// In place, turned by a quarter around z and moved, and mirrored at x = 0.
ModelParts threeBoxes() {
    ModelParts parts;
    parts.materials.resize(2);
    parts.materials[0].name = "red";
    parts.materials[0].diffuse = {1.0, 0.0, 0.0};
    parts.materials[1].name = "blue";
    parts.materials[1].diffuse = {0.0, 0.0, 1.0};
    parts.nodes = {{"all", noIndex, {}}, {"first", 0, {}}, {"second", 0, {}}};
    parts.surfaces.push_back(box());
    parts.instances.resize(3);
    parts.instances[1] = {0, {0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {10, 0, 0}, 2, 1};
    parts.instances[2].x = {-1, 0, 0};
    return parts;
}

KivModel modelOf(ModelParts parts) {
    KivModel model;
    model.files.resize(1);
    std::vector<ModelParts> files;
    files.push_back(std::move(parts));
    assembleModel(files, 30.0, model, nullptr);
    return model;
}

KivBox boundsOf(const KivMesh& mesh) {
    KivMesh copy(mesh);
    return *copy.getBoundingBox();
}

// Six times the volume that the triangles of two meshes enclose, in units of the file.
double volumeOf(const KivModel& model, unsigned int first) {
    double sum = 0.0;
    for (unsigned int i = first; i < first + 2; ++i) {
        const KivMesh& mesh = *model.scene->getMesh(i);
        for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
            Kiv3DPoint p[3];
            mesh.getTriangle(p, t);
            sum += Kiv3DVector(p[0].x, p[0].y, p[0].z)
                       .dotProduct(Kiv3DVector(p[1].x, p[1].y, p[1].z).crossProduct({p[2].x, p[2].y, p[2].z}));
        }
    }
    return sum / (model.scale * model.scale * model.scale);
}

} // namespace

TEST(SceneBuilder, ASurfaceStandsWhereverItsInstancesSay) {
    const KivModel model = modelOf(threeBoxes());
    ASSERT_EQ(model.scene->numMeshes(), 6U);
    EXPECT_EQ(model.files[0].triangles, 36U);
    KivBox all = model.bounds;
    EXPECT_EQ(all.getXMin(), -1.0);
    EXPECT_EQ(all.getXMax(), 10.0);
    for (const unsigned int first : {0U, 2U, 4U}) {
        EXPECT_NEAR(volumeOf(model, first), 36.0, 1e-9) << first;
    }
    const Kiv3DPoint low = model.toScene({8.0, 0.0, 3.0});
    KivBox lid = boundsOf(*model.scene->getMesh(3));
    EXPECT_NEAR(lid.getXMin(), low.x, 1e-9);
    EXPECT_NEAR(lid.getYMin(), low.y, 1e-9);
    EXPECT_NEAR(lid.getZMin(), low.z, 1e-9);
    EXPECT_NEAR(lid.getYSize(), 1.0 * model.scale, 1e-9);
}

// Files keep points that no face has any more, often at the origin of a model that lies far from it.
TEST(SceneBuilder, PositionsThatNothingUsesDoNotWidenTheBounds) {
    ModelParts parts = threeBoxes();
    parts.surfaces[0].positions.push_back({-1000.0, 500.0, 2000.0});
    KivBox placed = emptyBounds();
    addBounds(parts, placed);
    EXPECT_EQ(placed.getXMin(), -1.0); // the mirrored box
    EXPECT_EQ(placed.getXMax(), 10.0); // the turned one
    EXPECT_EQ(placed.getYMin(), 0.0);
    EXPECT_EQ(placed.getYMax(), 2.0);
    EXPECT_EQ(placed.getZMax(), 3.0);
    parts.instances.clear();
    KivBox inPlace = emptyBounds();
    addBounds(parts, inPlace);
    EXPECT_EQ(inPlace.getXMin(), 0.0);
    EXPECT_EQ(inPlace.getXMax(), 1.0);
    EXPECT_EQ(inPlace.getYMax(), 2.0);
    EXPECT_EQ(inPlace.getZMax(), 3.0);
}

TEST(SceneBuilder, InstancesShareOneShapeForEachPart) {
    const KivModel model = modelOf(threeBoxes());
    const auto shapeOf = [&model](unsigned int mesh) {
        return dynamic_cast<const KivPlacedMesh&>(*model.scene->getMesh(mesh)).getShape();
    };
    EXPECT_EQ(shapeOf(0), shapeOf(2));
    EXPECT_EQ(shapeOf(0), shapeOf(4));
    EXPECT_EQ(shapeOf(1), shapeOf(5));
    EXPECT_NE(shapeOf(0), shapeOf(1));
}

TEST(SceneBuilder, NamesAndColoursAreThoseOfTheInstanceWhereItHasSome) {
    const KivModel model = modelOf(threeBoxes());
    EXPECT_EQ(model.meshNames, (std::vector<std::wstring>{L"sides", L"lid", L"second", L"second", L"sides", L"lid"}));
    EXPECT_EQ(model.meshNodes, (std::vector<int>{-1, 1, 2, 2, -1, 1}));
    const auto colourOf = [&model](unsigned int mesh) {
        return model.scene->getMesh(mesh)->getMaterial()->getDiffuse();
    };
    EXPECT_EQ(colourOf(1), 0x0000ffU);
    EXPECT_EQ(colourOf(2), 0xff0000U) << "the sides have no colour of their own";
    EXPECT_EQ(colourOf(3), 0x0000ffU) << "the lid has";
    EXPECT_NE(colourOf(0), colourOf(4)) << "each without any gets one of its own";
    ASSERT_EQ(model.materials.size(), 2U);
    EXPECT_EQ(model.materials[1].name, L"blue");
}

TEST(SceneBuilder, ASurfaceThatStandsOnceAndInPlaceIsAPlainMesh) {
    ModelParts parts = threeBoxes();
    parts.instances.resize(1);
    const KivModel model = modelOf(parts);
    ASSERT_EQ(model.scene->numMeshes(), 2U);
    EXPECT_EQ(dynamic_cast<const KivPlacedMesh*>(model.scene->getMesh(0)), nullptr);
    EXPECT_NEAR(volumeOf(model, 0), 36.0, 1e-9);
    parts = threeBoxes();
    parts.instances.erase(parts.instances.begin());
    parts.instances.resize(1);
    const KivModel moved = modelOf(parts);
    EXPECT_NE(dynamic_cast<const KivPlacedMesh*>(moved.scene->getMesh(0)), nullptr);
    EXPECT_NEAR(volumeOf(moved, 0), 36.0, 1e-9);
    EXPECT_EQ(moved.meshNodes.at(0), 2);
}
