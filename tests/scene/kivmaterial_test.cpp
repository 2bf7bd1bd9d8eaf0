#include "kivrender/scene/kivmaterial.h"

#include <gtest/gtest.h>

namespace {

TEST(KivMaterial, StartsBlackDullAndOpaque) {
    const KivMaterial material;
    EXPECT_EQ(material.getAmbient(), 0U);
    EXPECT_EQ(material.getDiffuse(), 0U);
    EXPECT_EQ(material.getEmission(), 0U);
    EXPECT_EQ(material.getSpecular(), 0U);
    EXPECT_EQ(material.getShine(), 0.0);
    EXPECT_EQ(static_cast<int>(material.getTextureMode()), 0);
    EXPECT_EQ(sizeof(KivMaterial::textureMode), 4U);
    EXPECT_EQ(material.getBitmapFileName(), nullptr);
    EXPECT_EQ(material.getTransparency(), 1.0);
}

TEST(KivMaterial, ShineIsClampedAndTransparencyIsNot) {
    EXPECT_EQ(KivMaterial::maxShine(), 255.0);
    KivMaterial material;
    material.setShine(300.0);
    EXPECT_EQ(material.getShine(), 255.0);
    material.setShine(-1.0);
    EXPECT_EQ(material.getShine(), 0.0);
    material.setShine(12.5);
    EXPECT_EQ(material.getShine(), 12.5);
    material.setTransparency(2.0);
    EXPECT_EQ(material.getTransparency(), 2.0);
    material.setTransparency(-1.0);
    EXPECT_EQ(material.getTransparency(), -1.0);
}

TEST(KivMaterial, ACopyTakesItsDiffuseColourFromTheAmbientOne) {
    KivMaterial a;
    a.setAmbient(1);
    a.setDiffuse(2);
    a.setEmission(3);
    a.setSpecular(4);
    a.setShine(5.0);
    a.setTextureMode(KivMaterial::bitmapTexture);
    const wchar_t* name = L"brick.png";
    a.setBitmapFilename(name);
    a.setTransparency(0.25);

    KivMaterial b(a);
    EXPECT_EQ(b.getDiffuse(), 1U);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(b.getAmbient(), 1U);
        EXPECT_EQ(b.getEmission(), 3U);
        EXPECT_EQ(b.getSpecular(), 4U);
        EXPECT_EQ(b.getShine(), 5.0);
        EXPECT_EQ(b.getTextureMode(), KivMaterial::bitmapTexture);
        EXPECT_EQ(b.getBitmapFileName(), name) << "the pointer is kept, not the text";
        EXPECT_EQ(b.getTransparency(), 0.25);
        b = a;
        EXPECT_EQ(b.getDiffuse(), 2U);
    }
}

} // namespace
