// The lighting that plug-ins share.
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivscene.h"
#include "support/plainshader.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace {

class Toolbox : public PlainBaseLook {
public:
    Toolbox() : PlainBaseLook(nullptr, L"tag", L"name") {}
    using KivShader::calculateAngleBetweenAxis;
    using KivShader::calculateFaceNormal;
    using KivShader::calculateLightIncidence;
    using KivShader::calculateLightIncidenceToLight;
    using KivShader::doubleSided;
};

const Kiv3DPoint origin(0.0, 0.0, 0.0);
const Kiv3DVector up(0.0, 0.0, 1.0);

KivLight directional(const Kiv3DVector& direction) {
    KivLight light;
    light.setStyle(KivLight::directionalLight);
    light.setDirection(direction);
    return light;
}

TEST(KivShaderLighting, TheAngleBetweenAxesIsItsCosine) {
    const Toolbox toolbox;
    EXPECT_DOUBLE_EQ(toolbox.calculateAngleBetweenAxis({2.0, 0.0, 0.0}, {5.0, 0.0, 0.0}), 1.0);
    EXPECT_DOUBLE_EQ(toolbox.calculateAngleBetweenAxis({2.0, 0.0, 0.0}, {-5.0, 0.0, 0.0}), -1.0);
    EXPECT_DOUBLE_EQ(toolbox.calculateAngleBetweenAxis({2.0, 0.0, 0.0}, {0.0, 3.0, 0.0}), 0.0);
    EXPECT_NEAR(toolbox.calculateAngleBetweenAxis({1.0, 0.0, 0.0}, {1.0, std::sqrt(3.0), 0.0}), 0.5, 1e-12);
}

TEST(KivShaderLighting, ANullVectorHasNoAngle) {
    const Toolbox toolbox;
    EXPECT_EQ(toolbox.calculateAngleBetweenAxis({0.0, 0.0, 0.0}, up), 0.0);
    EXPECT_EQ(toolbox.calculateAngleBetweenAxis(up, {0.0, 0.0, 0.0}), 0.0);
}

TEST(KivShaderLighting, ADirectionalLightShinesAgainstItsDirection) {
    const Toolbox toolbox;
    const KivLight light = directional({0.0, 0.0, -4.0});
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight(origin, up, &light), 1.0);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight(origin, -up, &light), -1.0);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight({7.0, 8.0, 9.0}, up, &light), 1.0) << "the same everywhere";
}

TEST(KivShaderLighting, APointLightShinesFromItsPlace) {
    const Toolbox toolbox;
    KivLight light;
    light.setStyle(KivLight::pointLight);
    light.setLocation({0.0, 0.0, 2.0});
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight(origin, up, &light), 1.0);
    EXPECT_NEAR(toolbox.calculateLightIncidenceToLight({2.0, 0.0, 0.0}, up, &light), std::sqrt(0.5), 1e-12);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight({0.0, 0.0, 4.0}, up, &light), -1.0);
    EXPECT_EQ(toolbox.calculateLightIncidenceToLight({0.0, 0.0, 2.0}, up, &light), 0.0) << "a point in the light";
}

TEST(KivShaderLighting, ASpotLightEndsAtItsConeWhoseEdgeIsInside) {
    const Toolbox toolbox;
    KivLight light;
    light.setStyle(KivLight::spotLight);
    light.setLocation({0.0, 0.0, 1.0});
    light.setDirection({0.0, 0.0, -1.0});
    const Kiv3DPoint point(1.0, 0.0, 0.0); // 45 degrees off the axis
    const double angle =
        std::acos(toolbox.calculateAngleBetweenAxis(point - light.getLocation(), light.getDirection()));
    EXPECT_NEAR(angle, std::numbers::pi / 4.0, 1e-12);
    light.setSpotAngle(angle);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight(point, up, &light), 1.0)
        << "by the axis of the light, not by the way to it";
    light.setSpotAngle(std::nextafter(angle, 0.0));
    EXPECT_EQ(toolbox.calculateLightIncidenceToLight(point, up, &light), 0.0);
    light.setSpotAngle(0.0);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidenceToLight(origin, up, &light), 1.0) << "on the axis itself";
}

TEST(KivShaderLighting, ALightOfNoKnownStyleGivesNothing) {
    const Toolbox toolbox;
    KivLight light;
    light.setDirection({0.0, 0.0, -1.0});
    EXPECT_EQ(toolbox.calculateLightIncidenceToLight(origin, up, &light), 0.0);
}

TEST(KivShaderLighting, ASceneWithoutLightsIsDark) {
    const Toolbox toolbox;
    const KivScene scene;
    EXPECT_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 0.0), 0.0);
}

TEST(KivShaderLighting, TheStrongestLightCounts) {
    const Toolbox toolbox;
    KivScene scene;
    KivLight weak = directional({1.0, 0.0, -0.5});
    KivLight strong = directional({0.5, 0.0, -1.0});
    KivLight behind = directional({0.0, 0.0, 1.0});
    scene.addLight(weak);
    scene.addLight(strong);
    scene.addLight(behind);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 0.0), 1.0 / std::sqrt(1.25));
}

TEST(KivShaderLighting, LightFromBehindCountsOnlyForDoubleSidedSurfaces) {
    Toolbox toolbox;
    KivScene scene;
    KivLight behind = directional({0.0, 0.0, 1.0});
    scene.addLight(behind);
    EXPECT_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 0.25), 0.0);
    toolbox.doubleSided = true;
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 0.25), 0.75);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 0.0), 1.0);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 1.0), 0.0);
    KivLight front = directional({1.0, 0.0, -1.0});
    scene.addLight(front);
    EXPECT_DOUBLE_EQ(toolbox.calculateLightIncidence(origin, up, &scene, 0.5), std::sqrt(0.5))
        << "a stronger one from the front wins";
}

TEST(KivShaderLighting, AFaceNormalIsTheMeanAsItIs) {
    Toolbox toolbox;
    const Kiv3DVector normals[3] = {{3.0, 0.0, 0.0}, {0.0, 6.0, 0.0}, {0.0, 0.0, -9.0}};
    Kiv3DVector mean;
    toolbox.calculateFaceNormal(&mean, normals);
    EXPECT_EQ(mean.x, 1.0);
    EXPECT_EQ(mean.y, 2.0);
    EXPECT_EQ(mean.z, -3.0);
}

} // namespace
