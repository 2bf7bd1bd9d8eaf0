#include "kivskintones.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

namespace {

KivSkinImage image(int width, int height, const std::vector<std::array<std::uint8_t, 4>>& pixels) {
    KivSkinImage made{width, height, {}};
    for (const auto& pixel : pixels) {
        made.pixels.insert(made.pixels.end(), pixel.begin(), pixel.end());
    }
    return made;
}

KivCartoonSkin skinOf(std::array<double, 3> factor = {1.0, 1.0, 1.0}) {
    auto paint = std::make_shared<KivMeshPaint>();
    paint->factor = factor;
    KivCartoonSkin skin;
    skin.paint = paint;
    return skin;
}

KivCartoonColors someColors() {
    KivCartoonColors colors;
    colors.paint.duotone = 0.3;
    colors.paint.dark = {0.1, 0.0, 0.3};
    colors.paint.light = {1.0, 0.95, 0.8};
    colors.paint.ambient = {0.2, 0.1, 0.1};
    return colors;
}

std::size_t numColorsOf(const KivSkinImage& of) {
    std::map<std::uint32_t, int> colors;
    for (std::size_t i = 0; i < of.pixels.size(); i += 4) {
        ++colors[static_cast<std::uint32_t>(of.pixels[i] | of.pixels[i + 1] << 8 | of.pixels[i + 2] << 16)];
    }
    return colors.size();
}

// Each colour of a picture comes out as a material of that colour would be painted.
TEST(SkinTones, AreThoseOfMaterialsOfTheSameColour) {
    std::mt19937 words(7);
    const KivCartoonSkin skin = skinOf({0.9, 0.7, 1.0});
    const KivCartoonColors colors = someColors();
    for (const KivCartoonLayer layer :
         {KivCartoonLayer::full, KivCartoonLayer::shadow, KivCartoonLayer::share, KivCartoonLayer::black}) {
        for (const double level : {0.0, 1.0}) {
            const KivToneTable table(skin, colors, layer, {2, 1}, level);
            for (int i = 0; i < 200; ++i) {
                const std::uint32_t word = words();
                const std::array<std::uint8_t, 4> color{static_cast<std::uint8_t>(word),
                                                        static_cast<std::uint8_t>(word >> 8),
                                                        static_cast<std::uint8_t>(word >> 16), 200};
                const KivSkinImage toned = table.toned(image(1, 1, {color}));
                KivCartoonColors plain = colors;
                for (std::size_t c = 0; c < 3; ++c) {
                    plain.diffuse[c] = skin.paint->factor[c] * color[c] / 255.0;
                }
                const KivRampEntry expected = kivCartoonEntry(plain, layer, {2, 1}, level);
                for (std::size_t c = 0; c < 3; ++c) {
                    EXPECT_LE(std::abs(toned.pixels[c] - expected[c]), 2) << static_cast<int>(layer) << ' ' << c;
                }
                EXPECT_EQ(toned.pixels[3], 200) << "alpha stays";
            }
        }
    }
}

TEST(SkinTones, ACubeHoldsTheToneOfEachColourAtItsPlace) {
    const KivCartoonColors colors = someColors();
    const KivToneTable table(skinOf(), colors, KivCartoonLayer::full, 1, 1.0);
    constexpr int side = 32;
    const std::vector<std::uint8_t> cube = table.cube(side, {});
    const auto at = [&](int r, int g, int b) { return &cube[std::size_t{4} * ((b * side + g) * side + r)]; };
    KivCartoonColors plain = colors;
    plain.diffuse = {1.0, 0.0, 0.0};
    const KivRampEntry red = kivCartoonEntry(plain, KivCartoonLayer::full, 1, 1.0);
    plain.diffuse = {0.0, 1.0, 1.0};
    const KivRampEntry cyan = kivCartoonEntry(plain, KivCartoonLayer::full, 1, 1.0);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(at(side - 1, 0, 0)[c], red[c], 1);
        EXPECT_NEAR(at(0, side - 1, side - 1)[c], cyan[c], 1);
    }
    const std::vector<std::uint8_t> flat = table.cube(side, {{0, 0, 0}, {255, 0, 0}});
    EXPECT_TRUE(std::equal(at(20, 3, 3), at(20, 3, 3) + 4, at(20, 3, 3)));
    EXPECT_TRUE(std::equal(&flat[std::size_t{4} * 31], &flat[std::size_t{4} * 31] + 3,
                           &flat[std::size_t{4} * ((3 * side + 3) * side + 20)]))
        << "the nearer of the two";
}

TEST(SkinPalette, FindsTheColoursThatThereAre) {
    std::vector<std::array<std::uint8_t, 4>> pixels;
    for (int i = 0; i < 900; ++i) {
        pixels.push_back(i % 9 == 0   ? std::array<std::uint8_t, 4>{250, 10, 20, 255}
                         : i % 3 == 0 ? std::array<std::uint8_t, 4>{10, 240, 30, 255}
                                      : std::array<std::uint8_t, 4>{20, 20, 230, 255});
    }
    pixels.push_back({90, 90, 90, 0}); // not there
    KivPalette palette = kivPalette(image(901, 1, pixels), 3);
    std::sort(palette.begin(), palette.end());
    EXPECT_EQ(palette, (KivPalette{{10, 240, 30}, {20, 20, 230}, {250, 10, 20}}));
    EXPECT_EQ(kivPalette(image(901, 1, pixels), 8).size(), 3U) << "no more than there are";
    EXPECT_EQ(kivPalette(image(901, 1, pixels), 1).size(), 1U);
    EXPECT_EQ(kivPalette(image(1, 1, {{9, 9, 9, 0}}), 4).size(), 1U) << "of nothing";
}

TEST(SkinPalette, APosterisedPictureHasSoManyColoursAndSmoothBorders) {
    std::vector<std::array<std::uint8_t, 4>> pixels;
    for (int i = 0; i < 64 * 64; ++i) {
        const auto value = static_cast<std::uint8_t>(i % 64 * 4);
        pixels.push_back({value, static_cast<std::uint8_t>(value / 2), 40, 255});
    }
    const KivSkinImage poster = kivPosterised(image(64, 64, pixels), 4);
    EXPECT_EQ(poster.width, 256);
    EXPECT_EQ(numColorsOf(poster), 4U);
}

// Between black and white lies grey, which is a colour of the picture too, but not there.
TEST(SkinPalette, NoThirdColourComesBetweenTwo) {
    std::vector<std::array<std::uint8_t, 4>> pixels;
    for (int i = 0; i < 40 * 40; ++i) {
        const std::uint8_t value = i / 40 >= 30 ? 128 : i % 40 < 20 ? 0 : 255;
        pixels.push_back({value, value, value, 255});
    }
    const KivSkinImage poster = kivPosterised(image(40, 40, pixels), 3);
    ASSERT_EQ(poster.width, 160);
    EXPECT_EQ(numColorsOf(poster), 3U);
    for (int x = 0; x < poster.width; ++x) {
        EXPECT_EQ(poster.pixels[std::size_t{4} * (40 * 160 + x)], x < 80 ? 0 : 255) << x;
    }
}

TEST(SkinPalette, SpecksOfAPixelGoAndHolesStay) {
    std::vector<std::array<std::uint8_t, 4>> pixels(1024 * 8, {200, 0, 0, 255});
    pixels[1024 * 4 + 100] = {0, 0, 200, 255};
    for (int y = 0; y < 8; ++y) {
        for (int x = 500; x < 520; ++x) {
            pixels[static_cast<std::size_t>(1024 * y + x)] = {0, 0, 0, 0};
        }
    }
    const KivSkinImage poster = kivPosterised(image(1024, 8, pixels), 2);
    ASSERT_EQ(poster.width, 1024);
    EXPECT_EQ(poster.pixels[std::size_t{4} * (1024 * 4 + 100)], 200) << "red as what is around it";
    EXPECT_EQ(poster.pixels[std::size_t{4} * (1024 * 4 + 510) + 3], 0);
}

TEST(SkinLevels, ColoursCountByTheirAlpha) {
    const KivSkinImage half = kivHalved(image(2, 2, {{200, 0, 0, 255}, {0, 0, 0, 0}, {100, 0, 0, 255}, {0, 0, 0, 0}}));
    EXPECT_EQ(half.pixels, (std::vector<std::uint8_t>{150, 0, 0, 128}));
}

TEST(SkinLevels, WhatIsTransparentTakesTheColourBesideIt) {
    const std::vector<KivSkinImage> levels = kivSkinLevels(image(2, 1, {{200, 100, 50, 255}, {0, 0, 0, 0}}));
    ASSERT_EQ(levels.size(), 2U);
    EXPECT_EQ(levels[0].pixels, (std::vector<std::uint8_t>{200, 100, 50, 255, 200, 100, 50, 0}));
    EXPECT_EQ(levels[1].width, 1);
}

TEST(SkinLevels, EndWithOnePixelWhateverTheShape) {
    const std::vector<KivSkinImage> levels = kivSkinLevels({5, 3, std::vector<std::uint8_t>(60, 255)});
    ASSERT_EQ(levels.size(), 3U);
    EXPECT_EQ(levels[1].width, 2);
    EXPECT_EQ(levels[1].height, 1);
    EXPECT_EQ(levels[2].width, 1);
    EXPECT_EQ(levels[2].pixels, (std::vector<std::uint8_t>{255, 255, 255, 255}));
}

} // namespace
