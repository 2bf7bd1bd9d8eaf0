// The creases of a mesh in a pose.
#include "kivrender/lines/kivmeshfeatures.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshrest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace {

// Two squares that share a side, of which the second is bent up by so many degrees.
std::shared_ptr<KivMesh> hinge(double degrees) {
    const double a = degrees * std::numbers::pi / 180.0;
    auto mesh = std::make_shared<KivMesh>();
    for (const double y : {0.0, 1.0}) {
        mesh->addVertex(Kiv3DPoint(-1.0, y, 0.0));
        mesh->addVertex(Kiv3DPoint(0.0, y, 0.0));
        mesh->addVertex(Kiv3DPoint(std::cos(a), y, std::sin(a)));
    }
    mesh->addTriangle(0, 1, 4);
    mesh->addTriangle(0, 4, 3);
    mesh->addTriangle(1, 2, 5);
    mesh->addTriangle(1, 5, 4);
    return mesh;
}

long numCreases(const KivMesh& mesh) {
    const auto features = kivMeshFeatures(mesh);
    KivFeatureRules rules;
    rules.creaseAngle = rules.smoothCreaseAngle = 40.0;
    const std::vector<bool> creases = kivFeatureCreases(features->surface, features->wings, rules);
    // The borders of the sheet are no creases.
    return std::count(creases.begin(), creases.end(), true);
}

} // namespace

TEST(KivPosedFeatures, CreasesAreThoseAtRest) {
    ASSERT_EQ(numCreases(*hinge(90.0)), 1);
    ASSERT_EQ(numCreases(*hinge(10.0)), 0);
    for (const double pose : {0.0, 10.0, 39.0, 41.0, 90.0}) {
        const auto bent = hinge(pose);
        kivSetMeshRest(*bent, hinge(90.0));
        EXPECT_EQ(numCreases(*bent), 1) << pose;
        const auto other = hinge(pose);
        kivSetMeshRest(*other, hinge(10.0));
        EXPECT_EQ(numCreases(*other), 0) << pose;
    }
}

TEST(KivPosedFeatures, ARestThatHangsTogetherOtherwiseIsNotUsed) {
    auto apart = std::make_shared<KivMesh>();
    for (int i = 0; i < 6; ++i) {
        apart->addVertex(Kiv3DPoint(i / 2, i % 2, 0.0)); // two of them in one place with none of the hinge's
    }
    apart->addVertex(Kiv3DPoint(0.0, 0.0, 0.0));
    const auto bent = hinge(90.0);
    kivSetMeshRest(*bent, apart);
    EXPECT_EQ(numCreases(*bent), 1);
    const auto closed = hinge(180.0); // the second square lies on the first
    kivSetMeshRest(*bent, closed);
    EXPECT_EQ(numCreases(*bent), 1);
}
