// The creases of a mesh in a pose.
#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivmeshfeatures.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshrest.h"
#include "linecameras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <utility>

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

// The same in a drawing, looked at from above.
long numDrawnCreases(const KivMesh& posed, const KivMesh* rest) {
    const KivCamera camera = lineCamera(KivCamera::orthographic, {0.3, 0.2, 20.0}, 2.0, 1.0, 100.0);
    KivLineEngine engine(KivLineView(camera, 400.0, 400.0));
    KivLineBody body;
    body.surface = kivReadSurface(posed);
    body.rules.features.creaseAngle = body.rules.features.smoothCreaseAngle = 40.0;
    engine.add(std::move(body));
    if (rest != nullptr) {
        engine.setRest(kivReadSurface(*rest));
    }
    EXPECT_TRUE(engine.find());
    return std::count_if(engine.lines().begin(), engine.lines().end(),
                         [](const KivFoundLine& line) { return line.kind == KivStrokeKind::crease; });
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

TEST(KivPosedFeatures, CreasesOfDrawingsAreThoseAtRest) {
    ASSERT_EQ(numDrawnCreases(*hinge(60.0), nullptr), 1);
    ASSERT_EQ(numDrawnCreases(*hinge(10.0), nullptr), 0);
    for (const double pose : {1.0, 10.0, 39.0, 41.0, 80.0}) {
        EXPECT_EQ(numDrawnCreases(*hinge(pose), hinge(60.0).get()), 1) << pose;
        EXPECT_EQ(numDrawnCreases(*hinge(pose), hinge(10.0).get()), 0) << pose;
    }
    // Of another shape: the pose decides by itself.
    const auto larger = hinge(90.0);
    larger->addTriangle(0, 1, 5);
    EXPECT_EQ(numDrawnCreases(*hinge(60.0), larger.get()), 1);
    EXPECT_EQ(numDrawnCreases(*hinge(10.0), larger.get()), 0);
}
