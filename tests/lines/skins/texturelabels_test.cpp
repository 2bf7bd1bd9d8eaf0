#include "kivrender/lines/skins/texturelabels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

const KivPalette blackGreyWhite = {{0, 0, 0}, {128, 128, 128}, {255, 255, 255}};

// Columns of grey, each so many pixels high.
TextureLabels labelsOf(const std::vector<std::uint8_t>& columns, int height, KivTexture::Wrap wrap) {
    KivTexture texture;
    texture.width = static_cast<std::int32_t>(columns.size());
    texture.height = height;
    texture.wrapU = texture.wrapV = wrap;
    for (int y = 0; y < height; ++y) {
        for (const std::uint8_t grey : columns) {
            texture.pixels.insert(texture.pixels.end(), {grey, grey, grey, 255});
        }
    }
    TextureLabels labels;
    EXPECT_TRUE(labels.build(texture, kivSkinLevels({texture.width, texture.height, texture.pixels}), blackGreyWhite));
    return labels;
}

TEST(TextureLabels, AreThoseOfTheNearestColours) {
    const TextureLabels labels = labelsOf({10, 10, 10, 120, 120, 120, 120, 250, 250, 250}, 8, KivTexture::Wrap::clamp);
    EXPECT_EQ(labels.labelAt(0.1, 0.5, 0), 0);
    EXPECT_EQ(labels.labelAt(0.5, 0.5, 0), 1);
    EXPECT_EQ(labels.labelAt(0.9, 0.5, 0), 2);
}

TEST(TextureLabels, ChangeWhereBothColoursCountAlike) {
    const TextureLabels labels = labelsOf({0, 0, 0, 0, 255, 255, 255, 255}, 8, KivTexture::Wrap::clamp);
    EXPECT_NEAR(labels.lead(0.5, 0.5, 0, 0, 2), 0.0, 1e-6);
    EXPECT_GT(labels.lead(0.49, 0.5, 0, 0, 2), 0.0);
    EXPECT_LT(labels.lead(0.51, 0.5, 0, 0, 2), 0.0);
    EXPECT_EQ(labels.labelAt(0.499, 0.5, 0), 0);
    EXPECT_EQ(labels.labelAt(0.501, 0.5, 0), 2);
}

// The filter of the picture mixes black and white to grey, and grey is in the palette.
TEST(TextureLabels, HaveNoRimOfAMixtureWhereTwoColoursMeet) {
    const TextureLabels labels = labelsOf({0, 0, 0, 0, 100, 255, 255, 255, 255}, 9, KivTexture::Wrap::clamp);
    for (int i = 0; i < 100; ++i) {
        EXPECT_NE(labels.labelAt((i + 0.5) / 100.0, 0.5, 0), 1) << i;
    }
}

TEST(TextureLabels, KeepMixturesWhereEachPixelIsSeen) {
    KivTexture texture;
    texture.width = 9;
    texture.height = 9;
    for (int i = 0; i < 81; ++i) {
        const std::uint8_t grey = i % 9 < 4 ? 0 : i % 9 == 4 ? 128 : 255;
        texture.pixels.insert(texture.pixels.end(), {grey, grey, grey, 255});
    }
    TextureLabels labels;
    ASSERT_TRUE(labels.build(texture, kivSkinLevels({9, 9, texture.pixels}), blackGreyWhite, false));
    EXPECT_EQ(labels.labelAt(0.5, 0.5, 0), 1);
}

TEST(TextureLabels, KeepAThinLineOfAColourOfItsOwn) {
    const TextureLabels labels = labelsOf({128, 128, 128, 128, 0, 128, 128, 128, 128}, 9, KivTexture::Wrap::clamp);
    EXPECT_EQ(labels.labelAt(0.5, 0.5, 0), 0);
}

TEST(TextureLabels, KeepASinglePixel) {
    KivTexture texture;
    texture.width = texture.height = 5;
    texture.pixels.assign(100, 255);
    std::fill_n(texture.pixels.begin() + 4 * 12, 3, std::uint8_t{0});
    TextureLabels labels;
    ASSERT_TRUE(labels.build(texture, kivSkinLevels({5, 5, texture.pixels}), blackGreyWhite));
    EXPECT_EQ(labels.labelAt(0.5, 0.5, 0), 0);
    EXPECT_EQ(labels.labelAt(0.3, 0.5, 0), 2);
}

TEST(TextureLabels, GoOnBeyondTheBordersAsTheTextureSays) {
    const std::vector<std::uint8_t> columns = {0, 0, 0, 0, 255, 255, 255, 255};
    EXPECT_EQ(labelsOf(columns, 8, KivTexture::Wrap::clamp).labelAt(1.2, 0.5, 0), 2);
    EXPECT_EQ(labelsOf(columns, 8, KivTexture::Wrap::repeat).labelAt(1.2, 0.5, 0), 0);
    EXPECT_EQ(labelsOf(columns, 8, KivTexture::Wrap::mirror).labelAt(1.2, 0.5, 0), 2);
    EXPECT_EQ(labelsOf(columns, 8, KivTexture::Wrap::mirror).labelAt(-0.2, 0.5, 0), 0);
    EXPECT_LE(labelsOf(columns, 8, KivTexture::Wrap::repeat).labelAt(NAN, 1e300, 0), 2) << "no place at all";
}

TEST(TextureLabels, OfFarAwayShowTheMean) {
    std::vector<std::uint8_t> checks;
    for (int i = 0; i < 16; ++i) {
        checks.push_back(i % 2 == 0 ? 0 : 255);
    }
    const TextureLabels labels = labelsOf(checks, 16, KivTexture::Wrap::repeat);
    EXPECT_EQ(labels.labelAt(0.5, 0.5, 2), 1);
    EXPECT_EQ(labels.labelAt(0.5, 0.5, 99), 1) << "there is no smaller one than the last";
}

TEST(WrappedPixels, LieInThePicture) {
    for (int pixel = -20; pixel < 20; ++pixel) {
        EXPECT_EQ(kivWrapped(pixel, 5, KivTexture::Wrap::repeat), (pixel + 20) % 5);
        const int turn = (pixel + 20) % 10;
        EXPECT_EQ(kivWrapped(pixel, 5, KivTexture::Wrap::mirror), turn < 5 ? turn : 9 - turn);
        EXPECT_EQ(kivWrapped(pixel, 5, KivTexture::Wrap::clamp), std::min(std::max(pixel, 0), 4));
    }
}

} // namespace
