#include "kivrender/lines/kivmeshfeatures.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "linebodies.h"

#include <gtest/gtest.h>

namespace {

LineBody boxAt(double x) {
    LineBody body;
    for (int i = 0; i < 8; ++i) {
        body.points.push_back({x + (i & 1), static_cast<double>(i >> 1 & 1), static_cast<double>(i >> 2)});
    }
    body.triangles = {{0, 2, 1}, {1, 2, 3}, {4, 5, 6}, {5, 7, 6}, {0, 1, 4}, {1, 5, 4},
                      {2, 6, 3}, {3, 6, 7}, {0, 4, 2}, {2, 4, 6}, {1, 3, 5}, {3, 7, 5}};
    return body;
}

// Of the two boxes half into each other, as a render asks for them.
std::size_t crossings(const KivMesh& one, const KivMesh& other) {
    KivMeshCrossings found;
    EXPECT_TRUE(found.add(kivMeshFeatures(one)));
    EXPECT_TRUE(found.add(kivMeshFeatures(other)));
    EXPECT_TRUE(found.find());
    return found.pieces().size();
}

} // namespace

TEST(KivMeshFeatures, AreKeptFromTheSecondTimeOn) {
    const KivMesh mesh = *meshOf(boxAt(0.0));
    const auto first = kivMeshFeatures(mesh);
    const auto second = kivMeshFeatures(mesh);
    EXPECT_FALSE(first->isKept);
    EXPECT_NE(first, second);
    EXPECT_TRUE(second->isKept);
    EXPECT_EQ(kivMeshFeatures(mesh), second);
    EXPECT_EQ(second->surface.triangles, first->surface.triangles);
    EXPECT_EQ(second->wings.size(), 18U);
}

TEST(KivMeshFeatures, AChangedMeshHasOthers) {
    KivMesh mesh = *meshOf(boxAt(0.0));
    for (int i = 0; i < 3; ++i) {
        kivMeshFeatures(mesh);
    }
    mesh.addVertex({0.5, 0.5, 3.0});
    EXPECT_EQ(kivMeshFeatures(mesh)->surface.points.size(), 9U);
    for (int i = 0; i < 3; ++i) {
        kivMeshFeatures(mesh);
    }
    mesh.addTriangle(4, 5, 8);
    EXPECT_EQ(kivMeshFeatures(mesh)->wings.size(), 20U);
    for (int i = 0; i < 3; ++i) {
        kivMeshFeatures(mesh);
    }
    mesh = *meshOf(boxAt(5.0));
    EXPECT_EQ(kivMeshFeatures(mesh)->surface.points.front().x, 5.0);
}

TEST(KivMeshFeatures, ThoseThatNobodyHasGoWithTheirMesh) {
    std::weak_ptr<const KivMeshFeatures> kept;
    {
        const KivMesh mesh = *meshOf(boxAt(0.0));
        kivMeshFeatures(mesh);
        kept = kivMeshFeatures(mesh);
        EXPECT_FALSE(kept.expired());
    }
    EXPECT_TRUE(kept.expired());
}

TEST(KivMeshCrossings, AreTheSameWhetherFoundOrKept) {
    const KivMesh one = *meshOf(boxAt(0.0));
    LineBody moved = boxAt(0.5);
    for (KivVec& p : moved.points) {
        p = {p.x, p.y + 0.25, p.z + 0.125};
    }
    const KivMesh other = *meshOf(moved);
    const std::size_t first = crossings(one, other);
    EXPECT_GT(first, 4U);
    EXPECT_EQ(crossings(one, other), first); // which keeps them
    EXPECT_EQ(crossings(one, other), first); // which takes what was kept
    EXPECT_EQ(crossings(one, one), crossings(one, *meshOf(boxAt(0.0))));
}

TEST(KivMeshCrossings, OfOtherMeshesAreFoundAnew) {
    const KivMesh one = *meshOf(boxAt(0.0));
    KivMesh far = *meshOf(boxAt(9.0));
    LineBody moved = boxAt(0.5);
    for (KivVec& p : moved.points) {
        p = {p.x, p.y + 0.25, p.z + 0.125};
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(crossings(one, far), 0U);
    }
    far = *meshOf(moved);
    for (int i = 0; i < 3; ++i) {
        EXPECT_GT(crossings(one, far), 4U);
    }
}

// They take as much memory as points and triangles, and the edges have told what they know.
TEST(KivMeshFeatures, OfAMeshWithoutNamedEdgesHaveNoNormals) {
    const LineBody box = boxAt(0.0);
    KivMesh mesh;
    for (const KivVec& p : box.points) {
        mesh.addVertex({p.x, p.y, p.z}, {p.x - 0.5, p.y - 0.5, p.z - 0.5});
    }
    for (const auto& t : box.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    ASSERT_FALSE(kivReadSurface(mesh).normals.empty());
    const auto features = kivMeshFeatures(mesh);
    EXPECT_EQ(features->surface.normals.capacity(), 0U);
    EXPECT_EQ(features->surface.cornerNormals.capacity(), 0U);
    ASSERT_FALSE(features->wings.empty());
    EXPECT_TRUE(features->wings.front().smooth);
    auto edges = std::make_shared<KivMeshEdges>();
    edges->vertices = {0, 1};
    edges->edges.push_back({KivMeshEdge::Kind::sharp, 0, 2});
    kivSetMeshEdges(mesh, edges);
    EXPECT_FALSE(kivMeshFeatures(mesh)->surface.normals.empty());
}

// A bolt in its hole: their triangles run through each other, the surfaces do not.
TEST(KivMeshCrossings, LeaveOutRoundFacesThatLieOnEachOther) {
    const auto ball = [](double x, unsigned int around) {
        KivMesh mesh;
        const LineBody body = sphereBody({x, 0.0, 0.0}, 1.5, around, around / 2);
        for (const KivVec& p : body.points) {
            mesh.addVertex({p.x, p.y, p.z}, {p.x - x, p.y, p.z});
        }
        for (const LineBody::Triangle& t : body.triangles) {
            mesh.addTriangle(t[0], t[1], t[2]);
        }
        return mesh;
    };
    // Also from what is kept with them.
    const KivMesh one = ball(0.0, 24);
    const KivMesh other = ball(0.0, 30);
    const KivMesh beside = ball(0.8, 30);
    for (const KivMesh* mesh : {&one, &other, &beside}) {
        kivSetMeshEdges(*mesh, std::make_shared<KivMeshEdges>());
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(crossings(one, other), 0U) << i;
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_GT(crossings(one, beside), 20U) << i;
    }
    // Without the surfaces of a CAD file nothing is known of what is under the triangles.
    EXPECT_GT(crossings(one, ball(0.0, 30)), 100U);
}
