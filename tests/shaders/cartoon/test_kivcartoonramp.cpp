#include "kivcartoonpainter.h"
#include "kivcartoonramp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

KivCartoonBands bandsOf(int count, double softness, double balance = 0.0) {
    return {count, softness, balance};
}

} // namespace

TEST(KivCartoonBands, OneBandIsAllLight) {
    for (const double light : {0.0, 0.3, 1.0}) {
        EXPECT_EQ(bandsOf(1, 0.5).level(light), 1.0);
    }
}

TEST(KivCartoonBands, SharpBandsAreAStaircase) {
    for (int count = 2; count <= 8; ++count) {
        const KivCartoonBands bands = bandsOf(count, 0.0);
        std::set<double> levels;
        double before = 0.0;
        for (int i = 0; i <= 4000; ++i) {
            const double level = bands.level(i / 4000.0);
            EXPECT_GE(level, before);
            before = level;
            levels.insert(level);
        }
        EXPECT_EQ(levels.size(), static_cast<std::size_t>(count));
        EXPECT_EQ(*levels.begin(), 0.0);
        EXPECT_DOUBLE_EQ(*levels.rbegin(), 1.0);
        for (int i = 1; i < count; ++i) {
            EXPECT_NEAR(bands.level(bands.edge(i) - 1e-9), (i - 1.0) / (count - 1), 1e-12);
            EXPECT_NEAR(bands.level(bands.edge(i) + 1e-9), static_cast<double>(i) / (count - 1), 1e-12);
        }
    }
}

TEST(KivCartoonBands, PigmentGathersBelowEachEdge) {
    for (int count = 2; count <= 8; ++count) {
        KivCartoonBands bands = bandsOf(count, 0.0);
        for (int i = 0; i <= 1000; ++i) {
            EXPECT_EQ(bands.pigment(i / 1000.0), 1.0);
        }
        bands.washEdge = 0.5;
        for (int i = 1; i < count; ++i) {
            const double edge = bands.edge(i);
            const double rim = bands.rim(i);
            EXPECT_GT(rim, 0.0);
            EXPECT_LT(rim, edge - (i > 1 ? bands.edge(i - 1) : 0.0));
            EXPECT_DOUBLE_EQ(bands.pigment(edge), 2.0);
            EXPECT_DOUBLE_EQ(bands.pigment(edge - rim * 0.5), 1.25);
            EXPECT_EQ(bands.pigment(edge - rim), 1.0);
            EXPECT_EQ(bands.pigment(edge + 1e-9), 1.0);
        }
    }
}

// The rim is the tone raised to a power, darker and richer, the rest of the band as it was.
TEST(KivCartoonRamp, WashesHaveDarkRims) {
    KivCartoonColors colors;
    colors.bands = bandsOf(3, 0.0);
    colors.diffuse = {0.9, 0.6, 0.3};
    const auto plain = kivCartoonRamp(colors, KivCartoonLayer::full, 1);
    colors.bands.washEdge = 0.5;
    const auto rimmed = kivCartoonRamp(colors, KivCartoonLayer::full, 1);
    for (int i = 0; i < kivRampEntries; ++i) {
        const double pigment = colors.bands.pigment(static_cast<double>(i) / (kivRampEntries - 1));
        for (int c = 0; c < 3; ++c) {
            ASSERT_NEAR(rimmed[i][c], 255.0 * std::pow(plain[i][c] / 255.0, pigment), 1.5) << i;
        }
    }
}

TEST(KivCartoonBands, SoftEdgesStayBetweenTheirBands) {
    for (int count = 2; count <= 8; ++count) {
        for (const double softness : {0.05, 0.5, 1.0}) {
            const KivCartoonBands bands = bandsOf(count, softness);
            double before = 0.0;
            for (int i = 0; i <= 2000; ++i) {
                const double level = bands.level(i / 2000.0);
                EXPECT_GE(level, before - 1e-12);
                before = level;
            }
            EXPECT_NEAR(bands.level(0.0), 0.0, 1e-12);
            EXPECT_NEAR(bands.level(1.0), 1.0, 1e-12);
            for (int i = 1; i < count; ++i) {
                // Half-way at the edge itself, and flat again in the middle of each band.
                EXPECT_NEAR(bands.level(bands.edge(i)), (i - 0.5) / (count - 1), 1e-9);
                const double next = i + 1 < count ? bands.edge(i + 1) : 1.0;
                EXPECT_NEAR(bands.level((bands.edge(i) + next) / 2.0), static_cast<double>(i) / (count - 1), 1e-9);
            }
        }
    }
}

TEST(KivCartoonBands, BalanceMovesTheEdges) {
    for (int i = 1; i < 4; ++i) {
        EXPECT_LT(bandsOf(4, 0.0, 1.0).edge(i), bandsOf(4, 0.0, 0.0).edge(i));
        EXPECT_LT(bandsOf(4, 0.0, 0.0).edge(i), bandsOf(4, 0.0, -1.0).edge(i));
        EXPECT_GT(bandsOf(4, 0.0, 1.0).edge(i), 0.0);
        EXPECT_LT(bandsOf(4, 0.0, -1.0).edge(i), 1.0);
    }
}

TEST(KivCartoonColor, FullLightIsTheMaterialsOwnColour) {
    const KivTone diffuse = {0.8, 0.4, 0.2};
    const KivTone color = kivCartoonColor(diffuse, {}, {}, 1.0);
    for (int c = 0; c < 3; ++c) {
        EXPECT_DOUBLE_EQ(color[c], diffuse[c]);
    }
}

TEST(KivCartoonColor, PlainShadowsAreScaled) {
    KivCartoonPaint paint;
    paint.shadow = 0.5;
    paint.saturation = 0.0;
    paint.coolness = 0.0;
    const KivTone shadow = kivCartoonShadow({0.8, 0.4, 0.2}, paint);
    EXPECT_NEAR(shadow[0], 0.4, 1e-12);
    EXPECT_NEAR(shadow[1], 0.2, 1e-12);
    EXPECT_NEAR(shadow[2], 0.1, 1e-12);
}

TEST(KivCartoonColor, ShadowsTurnRicherAndCooler) {
    KivCartoonPaint plain;
    plain.saturation = 0.0;
    plain.coolness = 0.0;
    KivCartoonPaint rich = plain;
    rich.saturation = 0.5;
    KivCartoonPaint cool = plain;
    cool.coolness = 0.5;
    const KivTone diffuse = {0.8, 0.4, 0.2};
    const KivTone base = kivCartoonShadow(diffuse, plain);
    const KivTone richer = kivCartoonShadow(diffuse, rich);
    const KivTone cooler = kivCartoonShadow(diffuse, cool);
    EXPECT_GT(richer[0] - richer[2], base[0] - base[2]);
    EXPECT_GT(cooler[2] / cooler[0], base[2] / base[0]);
}

TEST(KivCartoonColor, AmbientLightLiftsTheShadow) {
    KivCartoonPaint paint;
    paint.shadow = 0.25;
    paint.saturation = 0.0;
    paint.coolness = 0.0;
    paint.ambient = {1.0, 0.5, 0.0};
    const KivTone shadow = kivCartoonShadow({0.8, 0.8, 0.8}, paint);
    EXPECT_NEAR(shadow[0], 0.8, 1e-12);
    EXPECT_NEAR(shadow[1], 0.8 * 0.625, 1e-12);
    EXPECT_NEAR(shadow[2], 0.2, 1e-12);
}

TEST(KivCartoonColor, EmissionIsAddedEverywhereAndCut) {
    const KivTone color = kivCartoonColor({0.5, 0.5, 0.5}, {0.2, 0.0, 0.9}, {}, 1.0);
    EXPECT_NEAR(color[0], 0.7, 1e-12);
    EXPECT_NEAR(color[1], 0.5, 1e-12);
    EXPECT_EQ(color[2], 1.0);
}

TEST(KivToneOf, ReadsRedFromTheLowByte) {
    const KivTone tone = kivToneOf(0xFF3300CCU);
    EXPECT_NEAR(tone[0], 0.8, 1e-12);
    EXPECT_NEAR(tone[1], 0.0, 1e-12);
    EXPECT_NEAR(tone[2], 0.2, 1e-12);
}

TEST(KivRampCoordinate, MeetsTheMiddlesOfTheEndEntries) {
    EXPECT_DOUBLE_EQ(kivRampCoordinate(0.0, 4), 0.125);
    EXPECT_DOUBLE_EQ(kivRampCoordinate(1.0, 4), 0.875);
    EXPECT_DOUBLE_EQ(kivRampCoordinate(-3.0, 4), 0.125);
    EXPECT_DOUBLE_EQ(kivRampCoordinate(3.0, 4), 0.875);
}

TEST(KivCartoonCast, IsTheDarkestBandsToneOfTheColourAndStrengthThatAreSet) {
    const KivTone diffuse = {0.8, 0.6, 0.4};
    KivCartoonPaint paint;
    const KivTone shadow = kivCartoonShadow(diffuse, paint);
    const KivTone lit = kivCartoonColor(diffuse, {}, paint, 1.0);
    const KivTone cast = kivCartoonCast(diffuse, paint, 1.0, 1.0);
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(cast[c], shadow[c], 1e-12);
    }
    paint.castStrength = 0.0;
    EXPECT_EQ(kivCartoonCast(diffuse, paint, 1.0, 1.0), lit);
    paint.castStrength = 0.25;
    paint.castColor = {0.5, 1.0, 0.0};
    const KivTone tinted = kivCartoonCast(diffuse, paint, 1.0, 1.0);
    EXPECT_NEAR(tinted[0], lit[0] * 0.75 + shadow[0] * 0.5 * 0.25, 1e-12);
    EXPECT_NEAR(tinted[1], lit[1] * 0.75 + shadow[1] * 0.25, 1e-12);
    EXPECT_NEAR(tinted[2], lit[2] * 0.75, 1e-12);
    // In the darkest band nothing tells a cast shadow.
    EXPECT_EQ(kivCartoonCast(diffuse, paint, 0.0, 0.0), kivCartoonColor(diffuse, {}, paint, 0.0));
}

TEST(KivCartoonCast, IsNoBrighterThanTheLight) {
    KivCartoonPaint paint;
    paint.shadow = 1.0;
    paint.coolness = 1.0; // a blue that is brighter than the material's
    const KivTone diffuse = {0.5, 0.5, 0.5};
    ASSERT_GT(kivCartoonShadow(diffuse, paint)[2], diffuse[2]);
    EXPECT_EQ(kivCartoonCast(diffuse, paint, 1.0, 1.0)[2], diffuse[2]);
}

TEST(KivCartoonBands, TellTheDarkestBandFromTheOthers) {
    EXPECT_EQ(bandsOf(3, 0.0).shadeOf(0.0), 0.0);
    EXPECT_EQ(bandsOf(3, 0.0).shadeOf(0.25), 0.5);
    EXPECT_EQ(bandsOf(3, 0.0).shadeOf(0.5), 1.0);
    EXPECT_EQ(bandsOf(3, 0.0).shadeOf(1.0), 1.0);
    EXPECT_EQ(bandsOf(1, 0.0).shadeOf(1.0), 1.0);
}

// Any number of lights, shadows of any kind: what k of n lights leave, as the picture adds it up in bytes.
TEST(KivCartoonRamp, SharesAddUpToTheDimmedAndTheFullLook) {
    for (const double strength : {1.0, 0.6, 0.0}) {
        KivCartoonColors colors;
        colors.bands = bandsOf(3, 0.3);
        colors.bands.washEdge = strength < 0.8 ? 0.5 : 0.0;
        colors.diffuse = {0.9, 0.6, 0.3};
        colors.emission = {0.1, 0.0, 0.05};
        colors.paint.castStrength = strength;
        colors.paint.castColor = {0.3, 0.5, 1.0};
        const auto full = kivCartoonRamp(colors, KivCartoonLayer::full, 1);
        auto sum = kivCartoonRamp(colors, KivCartoonLayer::shadow, 1);
        const auto shadow = sum;
        const auto emission = kivCartoonRamp(colors, KivCartoonLayer::emission, 1);
        for (int parts = 1; parts <= 9; ++parts) {
            sum = shadow;
            for (int part = 0; part <= parts; ++part) {
                const auto dimmed = kivCartoonRamp(colors, KivCartoonLayer::dimmed, {parts, parts - part});
                const auto share = kivCartoonRamp(colors, KivCartoonLayer::share, {parts, part});
                for (int i = 0; i < kivRampEntries; ++i) {
                    for (int c = 0; c < 3; ++c) {
                        ASSERT_NEAR(sum[i][c] + emission[i][c], dimmed[i][c], 1.0) << parts << ' ' << part;
                        if (part == parts) {
                            // Shadow and emission are rounded one by one.
                            ASSERT_NEAR(sum[i][c] + emission[i][c], full[i][c], 1.0);
                        }
                        sum[i][c] = static_cast<std::uint8_t>(sum[i][c] + share[i][c]);
                    }
                }
            }
        }
    }
}

TEST(KivCartoonRamp, CarriesAlpha) {
    KivCartoonColors colors;
    colors.alpha = 0.4;
    EXPECT_EQ(kivCartoonRamp(colors, KivCartoonLayer::full, 1)[17][3], 102);
}

TEST(KivHighlightRamp, IsStrongWithinItsRadius) {
    KivCartoonColors colors;
    colors.highlightSize = 20.0;
    colors.highlightStrength = 1.0;
    const auto ramp = kivHighlightRamp(colors);
    const auto alphaAt = [&ramp](double degrees) {
        const double shine = kivShineOfCosine(std::cos(degrees * 3.14159265358979 / 180.0));
        return ramp[static_cast<std::size_t>(std::lround(shine * (kivRampEntries - 1)))][3];
    };
    EXPECT_EQ(alphaAt(0.0), 255);
    EXPECT_EQ(alphaAt(19.0), 255);
    EXPECT_EQ(alphaAt(21.0), 0);
    EXPECT_EQ(alphaAt(90.0), 0);
}

TEST(KivCartoonPaint, ADuotoneHoldsNothingButMixturesOfItsColours) {
    KivCartoonPaint paint;
    paint.dark = {0.1, 0.0, 0.3};
    paint.light = {1.0, 0.9, 0.5};
    const KivTone clay = {0.75, 0.5, 0.25};
    EXPECT_EQ(kivDuotone(clay, paint), clay) << "off by default";
    paint.duotone = 1.0;
    const auto expectNear = [](const KivTone& a, const KivTone& b) {
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(a[c], b[c], 1e-12);
        }
    };
    expectNear(kivDuotone({0.0, 0.0, 0.0}, paint), paint.dark);
    expectNear(kivDuotone({1.0, 1.0, 1.0}, paint), paint.light);
    const KivTone turned = kivDuotone(clay, paint);
    const double share = (turned[1] - paint.dark[1]) / (paint.light[1] - paint.dark[1]);
    EXPECT_NEAR(turned[0], 0.1 + 0.9 * share, 1e-12);
    EXPECT_NEAR(turned[2], 0.3 + 0.2 * share, 1e-12);
    paint.duotone = 0.25;
    const KivTone quarter = kivDuotone(clay, paint);
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(quarter[c], 0.75 * clay[c] + 0.25 * turned[c], 1e-12);
    }
}

// The passes of a render with shadows add up to what is drawn without: a difference turns as part of the whole.
TEST(KivCartoonPaint, DuotonesOfPartsAddUp) {
    KivCartoonPaint paint;
    paint.duotone = 0.7;
    paint.dark = {0.1, 0.0, 0.3};
    paint.light = {1.0, 0.9, 0.5};
    const KivTone first = {0.2, 0.1, 0.05};
    const KivTone second = {0.3, 0.25, 0.6};
    const KivTone whole = kivDuotone({0.5, 0.35, 0.65}, paint);
    const KivTone a = kivDuotone(first, paint);
    const KivTone b = kivDuotone(second, paint, true);
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(a[c] + b[c], whole[c], 1e-12);
    }
}

// Ink shows on black things that are drawn in grey.
TEST(KivCartoonPaint, DarkColoursAreLifted) {
    EXPECT_EQ(kivLifted({0.0, 0.0, 0.0}, {}, 0.3), (KivTone{0.3, 0.3, 0.3}));
    EXPECT_EQ(kivLifted({0.0, 0.0, 0.0}, {}, 0.0), (KivTone{0.0, 0.0, 0.0}));
    const KivTone red = {0.6, 0.02, 0.01};
    EXPECT_EQ(kivLifted(red, {}, 0.3), red) << "dark as it is, it is no black";
    const KivTone navy = kivLifted({0.02, 0.03, 0.2}, {}, 0.3);
    EXPECT_NEAR(navy[2] - navy[0], 0.18, 1e-12) << "its hue stays";
    double last = -1.0;
    for (double grey = 0.0; grey <= 1.0; grey += 0.01) {
        const double lifted = kivLifted({grey, grey, grey}, {}, 0.3)[0];
        EXPECT_GT(lifted, last) << "what is darker stays darker";
        EXPECT_GE(lifted, grey);
        last = lifted;
    }
    EXPECT_EQ(kivLifted({0.0, 0.0, 0.0}, {0.6, 0.0, 0.0}, 0.3), (KivTone{0.0, 0.0, 0.0})) << "a lamp is no black thing";
    EXPECT_LE(kivLifted({0.98, 0.98, 0.98}, {}, 0.5)[1], 1.0);
}

TEST(KivCartoonPaint, MaterialsAreAdjusted) {
    const KivTone clay = {0.8, 0.5, 0.2};
    EXPECT_EQ(kivAdjusted(clay, 0.0, 0.0), clay);
    const KivTone grey = kivAdjusted(clay, -1.0, 0.0);
    EXPECT_NEAR(grey[0], grey[1], 1e-12);
    EXPECT_NEAR(grey[1], grey[2], 1e-12);
    EXPECT_EQ(kivAdjusted(clay, 0.5, 1.0), (KivTone{1.0, 1.0, 1.0}));
    EXPECT_EQ(kivAdjusted(clay, 0.5, -1.0), (KivTone{0.0, 0.0, 0.0}));
    const KivTone rich = kivAdjusted(clay, 1.0, 0.0);
    EXPECT_GT(rich[0] - rich[2], clay[0] - clay[2]);
    for (const double part : rich) {
        EXPECT_GE(part, 0.0);
        EXPECT_LE(part, 1.0);
    }
}

TEST(KivCartoonPaint, FromCoolToWarmHuesTellTheShape) {
    KivCartoonPaint paint;
    paint.warmth = 1.0;
    const KivTone grey = {0.5, 0.5, 0.5};
    const KivTone cool = kivCartoonColor(grey, {}, paint, 0.0);
    const KivTone warm = kivCartoonColor(grey, {}, paint, 1.0);
    const KivTone expectedCool = {0.125, 0.125, 0.675};
    const KivTone expectedWarm = {0.55, 0.55, 0.25};
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(cool[c], expectedCool[c], 1e-12) << c;
        EXPECT_NEAR(warm[c], expectedWarm[c], 1e-12) << c;
        EXPECT_NEAR(kivCartoonColor(grey, {}, paint, 0.5)[c], (expectedCool[c] + expectedWarm[c]) / 2.0, 1e-12);
    }
    paint.warmth = 0.0;
    EXPECT_EQ(kivCartoonColor(grey, {}, paint, 1.0), grey);
}
