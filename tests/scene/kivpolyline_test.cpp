#include "kivrender/scene/kivpolyline.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

KivPolyline sample() {
    KivPolyline polyline;
    polyline.addPoint(1.0, 2.0, 3.0);
    polyline.addPoint(Kiv3DPoint(4.0, 5.0, 6.0), Kiv3DVector(0.0, 0.0, 1.0));
    polyline.addNormal(Kiv3DVector(0.0, 1.0, 0.0));
    polyline.setClosed(true);
    polyline.setColor(0x00112233);
    KivMaterial material;
    material.setAmbient(1);
    material.setDiffuse(2);
    polyline.setMaterial(material);
    polyline.setNonCombinableShader(L"Cartoon");
    return polyline;
}

TEST(KivPolyline, StartsEmptyOpenAndBlack) {
    const KivPolyline polyline;
    EXPECT_EQ(polyline.numPoints(), 0);
    EXPECT_FALSE(polyline.hasNormals());
    EXPECT_FALSE(polyline.isClosed());
    EXPECT_EQ(polyline.getColor(), 0U);
    EXPECT_EQ(polyline.getMaterial()->getTransparency(), 1.0);
}

TEST(KivPolyline, KeepsPointsNormalsAndColour) {
    const KivPolyline polyline = sample();
    ASSERT_EQ(polyline.numPoints(), 2);
    EXPECT_TRUE(polyline.getPoint(0) == Kiv3DPoint(1.0, 2.0, 3.0));
    EXPECT_TRUE(polyline.getPoint(1) == Kiv3DPoint(4.0, 5.0, 6.0));
    EXPECT_TRUE(polyline.getNormal(0) == Kiv3DVector(0.0, 0.0, 1.0));
    EXPECT_TRUE(polyline.getNormal(1) == Kiv3DVector(0.0, 1.0, 0.0));
    EXPECT_TRUE(polyline.isClosed());
    EXPECT_EQ(polyline.getColor(), 0x00112233U);
    EXPECT_EQ(polyline.getMaterial()->getDiffuse(), 2U) << "copied by assignment";
}

TEST(KivPolyline, ACopyHasNeitherNormalsNorShaderSettings) {
    const KivPolyline polyline = sample();
    ASSERT_TRUE(polyline.hasNormals());
    const KivPolyline copy(polyline);
    EXPECT_FALSE(copy.hasNormals());
    EXPECT_FALSE(copy.hasObjectSettings());
    EXPECT_EQ(copy.numPoints(), 2);
    EXPECT_TRUE(copy.isClosed());
    EXPECT_EQ(copy.getColor(), 0x00112233U);
    EXPECT_EQ(copy.getMaterial()->getAmbient(), 1U);
    EXPECT_EQ(copy.getMaterial()->getDiffuse(), 2U);
}

TEST(KivPolyline, AssignmentAndMovingTakeAll) {
    KivPolyline polyline = sample();
    KivPolyline assigned;
    assigned = polyline;
    EXPECT_TRUE(assigned.hasNormals());
    EXPECT_TRUE(assigned.hasObjectSettings());
    const KivPolyline moved(std::move(polyline));
    EXPECT_TRUE(moved.hasNormals());
    EXPECT_TRUE(moved.rendersThisShader(L"Cartoon"));
    EXPECT_EQ(moved.getMaterial()->getDiffuse(), 2U);
    EXPECT_EQ(moved.numPoints(), 2);
    EXPECT_TRUE(moved.isClosed());
}

TEST(KivPolyline, ClearLeavesItOpenAndKeepsTheMaterial) {
    KivPolyline polyline = sample();
    polyline.clear();
    EXPECT_EQ(polyline.numPoints(), 0);
    EXPECT_FALSE(polyline.hasNormals());
    EXPECT_FALSE(polyline.isClosed());
    EXPECT_EQ(polyline.getColor(), 0U);
    EXPECT_EQ(polyline.getMaterial()->getDiffuse(), 2U);
}

} // namespace
