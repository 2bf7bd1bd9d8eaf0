#include "kivrender/lines/skins/skinpictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace {

// The picture's places are those of the world.
constexpr KivProjectiveMap flat = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

using Rgb = std::array<int, 3>;

std::shared_ptr<KivTexture> textureOf(int width, int height, const std::function<Rgb(int, int)>& colorAt) {
    auto texture = std::make_shared<KivTexture>();
    texture->width = width;
    texture->height = height;
    texture->wrapU = texture->wrapV = KivTexture::Wrap::clamp;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (const int part : colorAt(x, y)) {
                texture->pixels.push_back(static_cast<std::uint8_t>(part));
            }
            texture->pixels.push_back(255);
        }
    }
    return texture;
}

// Red grows to the right, green downwards.
std::shared_ptr<KivTexture> ramps() {
    return textureOf(64, 64, [](int x, int y) { return Rgb{4 * x, 4 * y, 100}; });
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

KivArea areaOf(std::uint32_t object, double left, double bottom, double right, double top) {
    KivCurvePath ring;
    ring.start = {left, bottom};
    ring.closed = true;
    for (const KivPicturePoint& p : {KivPicturePoint{right, bottom}, {right, top}, {left, top}, {left, bottom}}) {
        ring.pieces.push_back({KivCurvePiece::Kind::line, {}, p});
    }
    KivArea area;
    area.object = object;
    area.color = 0x445566;
    area.rings = {ring};
    return area;
}

const SkinPictures::Tone asItIs = [](std::uint32_t color) { return color; };

// The colour at a place in the drawing.
Rgb at(const KivAreaPicture& picture, double x, double y) {
    const int column = static_cast<int>((x - picture.low.x) / (picture.high.x - picture.low.x) * picture.width);
    const int row = static_cast<int>((picture.high.y - y) / (picture.high.y - picture.low.y) * picture.height);
    EXPECT_TRUE(column >= 0 && column < picture.width && row >= 0 && row < picture.height) << x << ' ' << y;
    const std::uint8_t* const p = &picture.pixels[3 * (static_cast<std::size_t>(row) * picture.width + column)];
    return {p[0], p[1], p[2]};
}

void expectNear(const Rgb& seen, const Rgb& wanted, int away, const char* what) {
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(seen[c], wanted[c], away) << what << ", part " << c;
    }
}

constexpr Rgb filler{0x66, 0x55, 0x44};

TEST(SkinPictures, ShowTheTextureWhereItLies) {
    KivDrawnSkins drawn;
    drawn.add(sheet(3, 10, 10, 74, 74, 0.5F, ramps()));
    SkinPictures pictures(80, 80, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    EXPECT_TRUE(pictures.shows(3));
    EXPECT_FALSE(pictures.shows(2));
    KivArea area = areaOf(3, 20, 20, 60, 50);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    ASSERT_NE(area.picture, nullptr);
    const KivAreaPicture& picture = *area.picture;
    EXPECT_EQ(picture.pixels.size(), 3U * static_cast<std::size_t>(picture.width) * picture.height);
    EXPECT_NEAR(picture.width / (picture.high.x - picture.low.x), 4.0, 1e-9) << "samples to a pixel";
    for (double y = 20.5; y < 50; y += 3) {
        for (double x = 20.5; x < 60; x += 3) {
            const int red = static_cast<int>(4 * (x - 10.5));
            const int green = static_cast<int>(4 * (73.5 - y));
            expectNear(at(picture, x, y), {red, green, 100}, 3, "inside");
        }
    }
    // Viewers mix the pixels at the border with those outside, as far as areas are painted on.
    EXPECT_LE(picture.low.x, 18.0);
    EXPECT_GE(picture.high.y, 52.0);
    expectNear(at(picture, 18.6, 35.5), {static_cast<int>(4 * 8.1), 4 * 38, 100}, 4, "around");
    expectNear(at(picture, picture.low.x + 0.1, picture.high.y - 0.1), filler, 0, "far away");
}

// Beyond the edge of the surface the colour at the edge goes on.
TEST(SkinPictures, GoOnBeyondTheEdgeOfTheSurface) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 10, 10, 30, 30, 0.5F, textureOf(1, 1, [](int, int) { return Rgb{200, 40, 10}; })));
    SkinPictures pictures(40, 40, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    KivArea area = areaOf(1, 8.5, 8.5, 31.5, 31.5);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    for (const double place : {8.0, 9.0, 20.0, 31.0, 32.0}) {
        expectNear(at(*area.picture, place, 20.0), {200, 40, 10}, 0, "across");
        expectNear(at(*area.picture, 20.0, place), {200, 40, 10}, 0, "along");
    }
}

TEST(SkinPictures, ShowNothingOfWhatStandsBefore) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 40, 40, 0.5F, ramps()));
    drawn.add(sheet(2, 20, 0, 40, 40, 0.2F, textureOf(1, 1, [](int, int) { return Rgb{10, 40, 200}; })));
    SkinPictures pictures(40, 40, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    KivArea areas[2] = {areaOf(1, 0, 0, 21, 40), areaOf(2, 20, 0, 40, 40)};
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&areas[0], &asItIs}, {&areas[1], &asItIs}}));
    expectNear(at(*areas[0].picture, 20.9, 20.0), {126, 126, 100}, 6, "under its neighbour");
    expectNear(at(*areas[1].picture, 20.1, 20.0), {10, 40, 200}, 0, "the neighbour");
    expectNear(at(*areas[1].picture, 19.6, 20.0), {10, 40, 200}, 0, "beside the neighbour");
}

TEST(SkinPictures, AreInTheToneOfTheirArea) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 64, 64, 0.5F, ramps()));
    SkinPictures pictures(64, 64, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    const SkinPictures::Tone dark = [](std::uint32_t color) {
        return (color & 0xFFU) / 2 | (color >> 8U & 0xFFU) / 4 << 8U | 0x200000U;
    };
    KivArea area = areaOf(1, 10, 10, 50, 50);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &dark}}));
    expectNear(at(*area.picture, 40.5, 20.5), {80, 43, 32}, 2, "the tone");
}

// A hole of an area, and the corner of its rectangle, take no room in a file.
TEST(SkinPictures, AreOneColourWhereTheAreaIsNot) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 64, 64, 0.5F, ramps()));
    SkinPictures pictures(64, 64, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    KivArea area = areaOf(1, 5, 5, 60, 60);
    area.rings.push_back(areaOf(1, 20, 20, 45, 45).rings[0]);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    expectNear(at(*area.picture, 32.0, 32.0), filler, 0, "in the hole");
    EXPECT_NE(at(*area.picture, 12.0, 32.0), filler);
    area.painted = {area.rings[0]};
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    EXPECT_NE(at(*area.picture, 32.0, 32.0), filler) << "what is painted counts";
}

TEST(SkinPictures, FewColoursAreFlat) {
    KivDrawnSkins drawn;
    KivDrawnSkin skin = sheet(1, 0, 0, 64, 64, 0.5F, ramps());
    skin.numColors = 4;
    drawn.add(skin);
    SkinPictures pictures(64, 64, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    KivArea area = areaOf(1, 4, 4, 60, 60);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    std::vector<Rgb> seen;
    for (double y = 4.5; y < 60; ++y) {
        for (double x = 4.5; x < 60; ++x) {
            seen.push_back(at(*area.picture, x, y));
        }
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()) - seen.begin(), 4);
}

// Thin stripes are a mixture from far away, and no pattern.
TEST(SkinPictures, AreFilteredWhereTheTextureIsFiner) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 16, 16, 0.5F, textureOf(512, 512, [](int x, int) {
                        const int grey = x % 3 == 0 ? 255 : 0;
                        return Rgb{grey, grey, grey};
                    })));
    SkinPictures pictures(16, 16, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    KivArea area = areaOf(1, 2, 2, 14, 14);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    for (double x = 3; x < 13; x += 0.37) {
        expectNear(at(*area.picture, x, 8.0), {85, 85, 85}, 30, "far away");
    }
}

TEST(SkinPictures, ColoursAtVerticesAreMixed) {
    KivDrawnSkins drawn;
    KivDrawnSkin skin = sheet(1, 0, 0, 40, 40, 0.5F, nullptr);
    for (KivDrawnSkin::Corner& corner : skin.corners) {
        corner.paint = {corner.place[0] / 40.0F, 0.5F, corner.place[1] / 40.0F};
    }
    drawn.add(skin);
    SkinPictures pictures(40, 40, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    KivArea area = areaOf(1, 5, 5, 35, 35);
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&area, &asItIs}}));
    expectNear(at(*area.picture, 30.0, 10.0), {191, 128, 64}, 2, "a mixture");
}

TEST(SkinPictures, TogetherTheyHaveALimit) {
    KivDrawnSkins drawn;
    drawn.add(sheet(1, 0, 0, 64, 64, 0.5F, ramps()));
    SkinPictureRules rules;
    rules.mostSamples = 50000;
    SkinPictures pictures(64, 64, rules);
    ASSERT_TRUE(pictures.build(drawn, flat));
    std::vector<KivArea> areas(20, areaOf(1, 4, 4, 60, 60));
    std::vector<SkinPictures::Wish> wishes;
    for (KivArea& area : areas) {
        wishes.push_back({&area, &asItIs});
    }
    ASSERT_TRUE(pictures.paint(wishes));
    std::size_t pixels = 0;
    for (const KivArea& area : areas) {
        pixels += area.picture->pixels.size() / 3;
        expectNear(at(*area.picture, 40.5, 20.5), {4 * 40, 4 * 43, 100}, 12, "coarser, in the same place");
    }
    EXPECT_LE(pixels, rules.mostSamples * 21 / 20);
    EXPECT_GT(pixels, rules.mostSamples / 4);
}

TEST(SkinPictures, SkinsThatAreNoneAreLeftOut) {
    KivDrawnSkins drawn;
    auto broken = std::make_shared<KivTexture>();
    broken->width = 4; // without pixels
    broken->height = 4;
    drawn.add(sheet(1, 0, 0, 40, 40, 0.5F, broken));
    drawn.add(sheet(2, 0, 0, 40, 40, 0.5F, std::make_shared<KivTexture>()));
    KivDrawnSkin empty = sheet(3, 0, 0, 40, 40, 0.5F, ramps());
    empty.corners.clear();
    drawn.add(empty);
    KivDrawnSkin strange = sheet(4, 0, 0, 40, 40, 0.5F, ramps());
    for (KivDrawnSkin::Corner& corner : strange.corners) {
        corner.paint = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 0.0F};
    }
    drawn.add(strange);
    SkinPictures pictures(40, 40, {});
    ASSERT_TRUE(pictures.build(drawn, flat));
    EXPECT_FALSE(pictures.shows(1));
    EXPECT_FALSE(pictures.shows(2));
    EXPECT_FALSE(pictures.shows(3));
    ASSERT_TRUE(pictures.shows(4));
    // Away from the surface, and beyond the picture, there is a picture too, of the area's own colour.
    KivArea areas[2] = {areaOf(4, 5, 5, 35, 35), areaOf(4, -500, 100, -400, 1e7)};
    ASSERT_TRUE(pictures.paint(std::vector<SkinPictures::Wish>{{&areas[0], &asItIs}, {&areas[1], &asItIs}}));
    EXPECT_NE(areas[0].picture, nullptr);
    ASSERT_NE(areas[1].picture, nullptr);
    EXPECT_LT(areas[1].picture->pixels.size(), 100000U);
}

} // namespace
