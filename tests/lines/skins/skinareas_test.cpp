#include "kivrender/lines/skins/skinareas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

// The picture's places are those of the world.
constexpr KivProjectiveMap flat = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

std::shared_ptr<KivTexture> textureOf(int width, int height, const std::function<std::uint8_t(int, int)>& greyAt) {
    auto texture = std::make_shared<KivTexture>();
    texture->width = width;
    texture->height = height;
    texture->wrapU = texture->wrapV = KivTexture::Wrap::clamp;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::uint8_t grey = greyAt(x, y);
            texture->pixels.insert(texture->pixels.end(), {grey, grey, grey, 255});
        }
    }
    return texture;
}

// A rectangle that carries the whole picture.
KivDrawnSkin sheet(std::uint32_t object, float left, float bottom, float right, float top, float depth,
                   const std::shared_ptr<const KivTexture>& texture) {
    auto paint = std::make_shared<KivMeshPaint>();
    paint->texture = texture;
    KivDrawnSkin skin;
    skin.object = object;
    skin.paint = paint;
    const KivDrawnSkin::Corner a{{left, bottom, depth}, {0, 1, 0}};
    const KivDrawnSkin::Corner b{{right, bottom, depth}, {1, 1, 0}};
    const KivDrawnSkin::Corner c{{right, top, depth}, {1, 0, 0}};
    const KivDrawnSkin::Corner d{{left, top, depth}, {0, 0, 0}};
    skin.corners = {a, b, c, a, c, d};
    return skin;
}

std::uint8_t discAt(int x, int y) {
    return std::hypot(x - 15.5, y - 15.5) < 8.0 ? 40 : 220;
}

TEST(SkinAreas, ADiscOnATextureIsACircleInThePicture) {
    KivDrawnSkins drawn;
    drawn.add(sheet(3, 10, 10, 74, 74, 0.5F, textureOf(32, 32, discAt)));
    SkinAreas areas(80, 80, {});
    ASSERT_TRUE(areas.build(drawn, flat));
    ASSERT_EQ(areas.borders().size(), 1U);
    for (const KivPicturePoint& p : areas.borders()[0]) {
        EXPECT_NEAR(std::hypot(p.x - 42.0, p.y - 42.0), 16.0, 0.8) << "two pixels to one of the texture";
    }
    EXPECT_EQ(areas.colorOf(3, areas.labelAt(3, 42, 42)), 0x282828U);
    EXPECT_EQ(areas.colorOf(3, areas.labelAt(3, 14, 42)), 0xDCDCDCU);
    EXPECT_EQ(areas.labelAt(3, 4, 42), SkinAreas::none);
    EXPECT_EQ(areas.labelAt(2, 42, 42), SkinAreas::none) << "of another object";
}

// The upper half of the texture is the upper half of the sheet.
TEST(SkinAreas, TexturesStandUpright) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 40, 40, 0.5F, textureOf(8, 8, [](int, int y) { return y < 4 ? 250 : 10; })));
    SkinAreas areas(40, 40, {});
    ASSERT_TRUE(areas.build(drawn, flat));
    EXPECT_EQ(areas.colorOf(1, areas.labelAt(1, 20, 30)), 0xFAFAFAU);
    EXPECT_EQ(areas.colorOf(1, areas.labelAt(1, 20, 10)), 0x0A0A0AU);
}

TEST(SkinAreas, BordersReachBeyondTheEdgeOfTheirObject) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 10, 10, 30, 30, 0.5F, textureOf(8, 8, [](int x, int) { return x < 4 ? 250 : 10; })));
    SkinAreas areas(40, 40, {});
    ASSERT_TRUE(areas.build(drawn, flat));
    ASSERT_EQ(areas.borders().size(), 1U);
    const auto [low, high] = std::minmax({areas.borders()[0].front().y, areas.borders()[0].back().y});
    EXPECT_LT(low, 9.7);
    EXPECT_GT(high, 30.3);
}

TEST(SkinAreas, WhatLiesBehindASkinHasNoBordersThere) {
    const auto stripes = textureOf(16, 16, [](int x, int) { return x / 4 % 2 == 0 ? 250 : 10; });
    const auto plain = textureOf(1, 1, [](int, int) { return 100; });
    for (const bool isFirst : {false, true}) {
        KivDrawnSkins drawn;
        if (isFirst) {
            drawn.add(sheet(2, 0, 0, 40, 20, 0.2F, plain));
        }
        drawn.add(sheet(1, 0, 0, 40, 40, 0.5F, stripes));
        drawn.add(sheet(2, 0, 0, 40, 20, 0.2F, plain)); // in place of the former
        SkinAreas areas(40, 40, {});
        ASSERT_TRUE(areas.build(drawn, flat));
        EXPECT_FALSE(areas.borders().empty());
        for (const auto& border : areas.borders()) {
            for (const KivPicturePoint& p : border) {
                EXPECT_GT(p.y, 18.0);
            }
        }
    }
}

TEST(SkinAreas, SpecksBelowTheSmallestAreaAreNotThere) {
    const auto dots = textureOf(64, 64, [](int x, int y) { return x % 16 == 8 && y % 16 == 8 ? 0 : 200; });
    for (const double smallest : {0.1, 4.0}) {
        KivDrawnSkins drawn;
        drawn.add(sheet(1, 0, 0, 64, 64, 0.5F, dots));
        SkinAreaRules rules;
        rules.smallestArea = smallest;
        SkinAreas areas(64, 64, rules);
        ASSERT_TRUE(areas.build(drawn, flat));
        EXPECT_EQ(areas.borders().size(), smallest < 1.0 ? 16U : 0U) << "each dot is about a pixel";
    }
}

TEST(SkinAreas, ANoisyPictureIsBounded) {
    std::uint32_t word = 1;
    const auto noise = textureOf(256, 256, [&word](int, int) {
        word = word * 1664525U + 1013904223U;
        return static_cast<std::uint8_t>(word >> 24U);
    });
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 256, 256, 0.5F, noise));
    SkinAreaRules rules;
    rules.mostPoints = 2000;
    SkinAreas areas(256, 256, rules);
    ASSERT_TRUE(areas.build(drawn, flat));
    std::size_t points = 0;
    for (const auto& border : areas.borders()) {
        points += border.size();
    }
    EXPECT_LE(points, rules.mostPoints);
}

TEST(SkinAreas, ColoursAtVerticesRunInBands) {
    auto skin = sheet(1, 0, 0, 60, 20, 0.5F, nullptr);
    for (KivDrawnSkin::Corner& c : skin.corners) {
        const float grey = c.place[0] > 30.0F ? 1.0F : 0.0F;
        c.paint = {grey, grey, grey};
    }
    skin.numColors = 3;
    KivDrawnSkins drawn;
    drawn.add(std::move(skin));
    SkinAreas areas(60, 20, {});
    ASSERT_TRUE(areas.build(drawn, flat));
    EXPECT_EQ(areas.borders().size(), 2U);
    std::vector<std::uint32_t> greys;
    for (const double x : {5.0, 30.0, 55.0}) {
        greys.push_back(areas.colorOf(1, areas.labelAt(1, x, 10.0)) & 0xFFU);
    }
    EXPECT_TRUE(std::is_sorted(greys.begin(), greys.end()));
    EXPECT_GT(greys[2] - greys[0], 120U);
}

TEST(SkinAreas, WithoutSkinsThereIsNothing) {
    SkinAreas areas(10, 10, {});
    ASSERT_TRUE(areas.build({}, flat));
    EXPECT_TRUE(areas.borders().empty());
}

// Behind the eye, without an area, or with numbers that are none.
TEST(SkinAreas, TrianglesThatCannotBeSeenAreLeftOut) {
    const auto texture = textureOf(8, 8, [](int x, int) { return x < 4 ? 250 : 10; });
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 40, 40, NAN, texture));
    drawn.add(sheet(2, 5, 5, 5, 5, 0.5F, texture));
    drawn.add(sheet(3, 0, 0, 40, 40, -1.0F, texture));
    SkinAreas areas(40, 40, {});
    ASSERT_TRUE(areas.build(drawn, flat));
    EXPECT_TRUE(areas.borders().empty());
}

} // namespace
