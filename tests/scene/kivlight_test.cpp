#include "kivrender/scene/kivlight.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

KivLight sample() {
    KivLight light;
    light.setAttenuation(Kiv3DVector(1.0, 2.0, 3.0));
    light.setDirection(Kiv3DVector(0.0, -1.0, 0.0));
    light.setHotSpot(4.0);
    light.setIntensity(5.0);
    light.setLength(Kiv3DVector(6.0, 0.0, 0.0));
    light.setLocation(Kiv3DPoint(7.0, 8.0, 9.0));
    light.setShadowIntensity(0.5);
    light.setSpotAngle(30.0);
    light.setSpotexponent(11.0);
    light.setStyle(KivLight::spotLight);
    light.setWidth(Kiv3DVector(0.0, 12.0, 0.0));
    light.setDiffuse(0x010203);
    light.setSpecular(0x040506);
    light.setAmbient(0x070809);
    return light;
}

void expectSample(const KivLight& light) {
    EXPECT_TRUE(light.getAttenuation() == Kiv3DVector(1.0, 2.0, 3.0));
    EXPECT_TRUE(light.getDirection() == Kiv3DVector(0.0, -1.0, 0.0));
    EXPECT_EQ(light.getHotSpot(), 4.0);
    EXPECT_EQ(light.getIntensity(), 5.0);
    EXPECT_TRUE(light.getLength() == Kiv3DVector(6.0, 0.0, 0.0));
    EXPECT_TRUE(light.getLocation() == Kiv3DPoint(7.0, 8.0, 9.0));
    EXPECT_EQ(light.getShadowIntensity(), 0.5);
    EXPECT_EQ(light.getSpotAngle(), 30.0);
    EXPECT_EQ(light.getSpotExponent(), 11.0);
    EXPECT_EQ(light.getStyle(), KivLight::spotLight);
    EXPECT_TRUE(light.getWidth() == Kiv3DVector(0.0, 12.0, 0.0));
    EXPECT_EQ(light.getDiffuse(), 0x010203U);
    EXPECT_EQ(light.getSpecular(), 0x040506U);
    EXPECT_EQ(light.getAmbient(), 0x070809U);
}

TEST(KivLight, StartsWithoutAStyleAndFullyIntense) {
    const KivLight light;
    EXPECT_EQ(static_cast<int>(light.getStyle()), 0);
    EXPECT_EQ(light.getIntensity(), 1.0);
    EXPECT_EQ(light.getShadowIntensity(), 1.0);
    EXPECT_EQ(light.getSpotAngle(), 0.0);
    EXPECT_EQ(light.getSpotExponent(), 0.0);
    EXPECT_EQ(light.getHotSpot(), 0.0);
    EXPECT_EQ(light.getDiffuse(), 0U);
    EXPECT_TRUE(light.getDirection() == Kiv3DVector());
}

TEST(KivLight, StylesHaveTheirPublishedNumbers) {
    EXPECT_EQ(static_cast<int>(KivLight::directionalLight), 7);
    EXPECT_EQ(static_cast<int>(KivLight::pointLight), 8);
    EXPECT_EQ(static_cast<int>(KivLight::spotLight), 9);
    EXPECT_EQ(sizeof(KivLight::lightStyle), 4U);
}

TEST(KivLight, ACopyLosesItsShaderSettingsAndAnAssignedOneDoesNot) {
    KivLight light = sample();
    light.setNonCombinableShader(L"Cartoon");
    const KivLight copy(light);
    expectSample(copy);
    EXPECT_FALSE(copy.hasObjectSettings());
    KivLight assigned;
    assigned = light;
    expectSample(assigned);
    EXPECT_TRUE(assigned.rendersThisShader(L"Cartoon"));
}

TEST(KivLight, AListThatGrowsKeepsTheShaderSettingsOfItsLights) {
    std::vector<KivLight> lights(1, sample());
    lights[0].addCombinableShader(L"Outline");
    lights.reserve(lights.capacity() + 1);
    expectSample(lights[0]);
    EXPECT_TRUE(lights[0].hasObjectSettings());
}

} // namespace
