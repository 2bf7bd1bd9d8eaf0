#include "kivrender/scene/kivmeshpaint.h"

#include "kivrender/scene/kivmesh.h"

#include <gtest/gtest.h>

namespace {

std::shared_ptr<const KivMeshPaint> somePaint() {
    auto paint = std::make_shared<KivMeshPaint>();
    paint->coordinates = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    return paint;
}

void addTriangle(KivMesh& mesh) {
    mesh.addTriangle(Kiv3DPoint(0, 0, 0), Kiv3DPoint(1, 0, 0), Kiv3DPoint(0, 1, 0));
}

} // namespace

TEST(KivMeshPaint, CopiesShareItAndAssignmentReplacesIt) {
    KivMesh mesh;
    addTriangle(mesh);
    EXPECT_EQ(kivMeshPaint(mesh), nullptr);
    const auto paint = somePaint();
    kivSetMeshPaint(mesh, paint);
    KivMesh copy(mesh);
    EXPECT_EQ(kivMeshPaint(copy), paint);
    KivMesh plain;
    copy = plain;
    EXPECT_EQ(kivMeshPaint(copy), nullptr);
    copy = mesh;
    EXPECT_EQ(kivMeshPaint(copy), paint);
}

TEST(KivMeshPaint, GoesWithItsMeshAndWithAWeld) {
    const std::weak_ptr<const KivMeshPaint> seen = [] {
        KivMesh mesh;
        addTriangle(mesh);
        const auto paint = somePaint();
        kivSetMeshPaint(mesh, paint);
        return std::weak_ptr<const KivMeshPaint>(paint);
    }();
    EXPECT_TRUE(seen.expired());
    KivMesh mesh;
    addTriangle(mesh);
    KivMesh welded;
    kivSetMeshPaint(welded, somePaint());
    welded.copyMeshCompacted(mesh);
    EXPECT_EQ(kivMeshPaint(welded), nullptr);
}
