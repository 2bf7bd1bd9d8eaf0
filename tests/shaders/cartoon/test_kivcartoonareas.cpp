#include "kivcartoonareas.h"

#include "kivvec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>

namespace {

KivCartoonColors colorsOf(int bands, double softness = 0.0) {
    KivCartoonColors colors;
    colors.bands.count = bands;
    colors.bands.softness = softness;
    colors.diffuse = {0.9, 0.5, 0.2};
    return colors;
}

KivVec vecOf(const KivFlatCorner& c) {
    return {c.x, c.y, c.z};
}

double signedArea(const KivFlatAreas& areas, std::size_t triangle) {
    const KivVec a = vecOf(areas.corners[3 * triangle]);
    return kivCross(vecOf(areas.corners[3 * triangle + 1]) - a, vecOf(areas.corners[3 * triangle + 2]) - a).z / 2.0;
}

// The area of each colour.
std::map<KivRampEntry, double> areaByColor(const KivFlatAreas& areas) {
    std::map<KivRampEntry, double> sums;
    for (std::size_t t = 0; t < areas.corners.size() / 3; ++t) {
        sums[areas.colors[3 * t]] += signedArea(areas, t);
    }
    return sums;
}

double areaOf(const KivFlatAreas& areas) {
    double sum = 0.0;
    for (const auto& [color, area] : areaByColor(areas)) {
        sum += area;
    }
    return sum;
}

KivFlatAreas cutOne(const std::array<KivCartoonVertex, 3>& triangle, const KivCartoonSteps& light,
                    const KivCartoonSteps& shine = {}) {
    KivFlatAreas areas;
    const KivCartoonVertex* corners[3] = {&triangle[0], &triangle[1], &triangle[2]};
    KivAreaCutter(light, shine).cutFull(corners, areas);
    return areas;
}

class Dice {
public:
    explicit Dice(std::uint32_t seed) : engine(seed) {}
    float unit() {
        return static_cast<float>(engine() & 0xFFFFU) / 65535.0F;
    }
    // Often a value of a coarse grid, so that ties and exact hits on edges happen.
    float coarse() {
        return (engine() & 1U) != 0U ? static_cast<float>(engine() % 9) / 8.0F : unit();
    }

private:
    std::mt19937 engine;
};

KivCartoonVertex vertexOf(Dice& dice) {
    return {dice.coarse() * 10.0F, dice.coarse() * 10.0F, 0.0F, dice.coarse(), dice.coarse()};
}

KivCartoonSteps plainSteps(std::vector<float> edges) {
    KivCartoonSteps steps;
    steps.edges = std::move(edges);
    steps.tones.clear();
    for (std::size_t i = 0; i <= steps.edges.size(); ++i) {
        steps.tones.push_back({static_cast<std::uint8_t>(10 * i + 10), 0, 0, 255});
    }
    return steps;
}

} // namespace

TEST(KivCartoonSteps, SharpBandsHaveOneStepEach) {
    for (int bands = 1; bands <= 8; ++bands) {
        const KivCartoonColors colors = colorsOf(bands);
        const KivCartoonSteps steps = kivCartoonSteps(colors, KivCartoonLayer::full, 1);
        ASSERT_EQ(steps.edges.size(), static_cast<std::size_t>(bands - 1));
        ASSERT_EQ(steps.tones.size(), static_cast<std::size_t>(bands));
        for (int i = 0; i < bands; ++i) {
            const double level = bands > 1 ? static_cast<double>(i) / (bands - 1) : 1.0;
            EXPECT_EQ(steps.tones[i], kivCartoonEntry(colors, KivCartoonLayer::full, 1, level));
        }
        EXPECT_TRUE(std::is_sorted(steps.edges.begin(), steps.edges.end()));
    }
}

// Nowhere is a step further from the ramp that pictures are made with than half a step of its tones.
TEST(KivCartoonSteps, SoftBandsFollowTheRamp) {
    for (const double softness : {0.04, 0.3, 1.0}) {
        const KivCartoonColors colors = colorsOf(3, softness);
        const KivCartoonSteps steps = kivCartoonSteps(colors, KivCartoonLayer::full, 1);
        const std::vector<KivRampEntry> ramp = kivCartoonRamp(colors, KivCartoonLayer::full, 1);
        EXPECT_LE(steps.tones.size(), 20U);
        int largest = 0;
        for (std::size_t i = 0; i + 1 < steps.tones.size(); ++i) {
            largest = std::max(largest, std::abs(steps.tones[i + 1][0] - steps.tones[i][0]));
        }
        for (int i = 0; i < kivRampEntries; ++i) {
            const float coordinate = static_cast<float>((i + 0.5) / kivRampEntries);
            const int off = std::abs(steps.tones[steps.stepOf(coordinate)][0] - ramp[i][0]);
            EXPECT_LE(off, largest) << "softness " << softness << ", entry " << i;
        }
    }
}

TEST(KivCartoonSteps, LayersOfOneToneHaveNoEdges) {
    KivCartoonColors colors = colorsOf(5);
    colors.emission = {0.1, 0.2, 0.3};
    EXPECT_TRUE(kivCartoonSteps(colors, KivCartoonLayer::emission, 1).edges.empty());
    EXPECT_TRUE(kivCartoonSteps(colors, KivCartoonLayer::shadow, 1).edges.empty());
    EXPECT_TRUE(kivCartoonSteps(colors, KivCartoonLayer::black, 1).edges.empty());
    EXPECT_EQ(kivCartoonSteps(colors, KivCartoonLayer::share, 2).edges.size(), 4U);
}

TEST(KivCartoonSteps, AHighlightIsClearOutsideAndFullInTheMiddle) {
    for (const double softness : {0.0, 0.5, 1.0}) {
        KivCartoonColors colors = colorsOf(3, softness);
        colors.highlightStrength = 0.7;
        colors.highlightSize = 20.0;
        const KivCartoonSteps steps = kivHighlightSteps(colors);
        EXPECT_EQ(steps.tones.front()[3], 0);
        EXPECT_EQ(steps.tones.back(), kivHighlightEntry(colors, 0.0));
        ASSERT_FALSE(steps.edges.empty());
        EXPECT_TRUE(std::is_sorted(steps.edges.begin(), steps.edges.end()));
        // Where nothing is known of the angle there is no highlight.
        EXPECT_EQ(steps.stepOf(static_cast<float>(kivRampCoordinate(0.0, kivRampEntries))), 0);
    }
    KivCartoonColors none = colorsOf(3);
    EXPECT_TRUE(kivHighlightSteps(none).edges.empty());
    EXPECT_EQ(kivHighlightSteps(none).tones[0][3], 0);
}

TEST(KivAreaCutter, ATriangleOfOneBandStaysWhole) {
    const KivFlatAreas areas =
        cutOne({{{0, 0, 0, 0.1F, 0}, {1, 0, 0, 0.2F, 0}, {0, 1, 0, 0.3F, 0}}}, plainSteps({0.5F}));
    ASSERT_EQ(areas.corners.size(), 3U);
    EXPECT_EQ(areas.colors[0][0], 10);
}

TEST(KivAreaCutter, TheAreaOfEachBandIsItsShareOfTheTriangle) {
    // Light grows along x from 0 to 1 over a right triangle of area 0.5: below x the area is x - x * x / 2.
    const KivFlatAreas areas =
        cutOne({{{0, 0, 0, 0.0F, 0}, {1, 0, 0, 1.0F, 0}, {0, 1, 0, 0.0F, 0}}}, plainSteps({0.25F, 0.5F, 0.75F}));
    const std::map<KivRampEntry, double> sums = areaByColor(areas);
    ASSERT_EQ(sums.size(), 4U);
    const auto below = [](double x) { return x - x * x / 2.0; };
    double from = 0.0;
    for (const auto& [color, area] : sums) {
        EXPECT_NEAR(area, below(from + 0.25) - below(from), 1e-6);
        from += 0.25;
    }
}

// A flat face in the soft edge between two bands has the tone that a picture gives it.
TEST(KivAreaCutter, EvenLightHasTheToneOfTheRamp) {
    const KivCartoonColors colors = colorsOf(3, 0.3);
    const KivCartoonSteps steps = kivCartoonSteps(colors, KivCartoonLayer::full, 1);
    for (const double offset : {-0.05, -0.02, 0.0, 0.013, 0.04}) {
        const double incidence = colors.bands.edge(1) + offset;
        const auto light = static_cast<float>(kivRampCoordinate(incidence, kivRampEntries));
        const KivFlatAreas areas = cutOne({{{0, 0, 0, light, 0}, {1, 0, 0, light, 0}, {0, 1, 0, light, 0}}}, steps);
        ASSERT_EQ(areas.corners.size(), 3U);
        const KivRampEntry exact = kivCartoonEntry(colors, KivCartoonLayer::full, 1, colors.bands.level(incidence));
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_NEAR(areas.colors[0][c], exact[c], 1);
        }
    }
}

TEST(KivAreaCutter, LightThatIsJustAnEdgeBelongsToTheBandAbove) {
    const KivFlatAreas areas =
        cutOne({{{0, 0, 0, 0.5F, 0}, {1, 0, 0, 0.5F, 0}, {0, 1, 0, 0.5F, 0}}}, plainSteps({0.5F}));
    ASSERT_EQ(areas.corners.size(), 3U);
    EXPECT_EQ(areas.colors[0][0], 20);
}

TEST(KivAreaCutter, LightThatIsNoNumberLeavesNoStrayPlaces) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const KivFlatAreas areas = cutOne({{{0, 0, 0, nan, 0}, {1, 0, 0, nan, 0}, {0, 1, 0, nan, 0}}}, plainSteps({0.5F}));
    ASSERT_EQ(areas.corners.size(), 3U);
    EXPECT_EQ(areas.colors[0][0], 10);
    for (const KivFlatCorner& corner :
         cutOne({{{0, 0, 0, nan, 0}, {1, 0, 0, 0.9F, 0}, {0, 1, 0, 0.1F, 0}}}, plainSteps({0.5F})).corners) {
        EXPECT_TRUE(std::isfinite(corner.x) && std::isfinite(corner.y) && std::isfinite(corner.z));
    }
}

TEST(KivAreaCutter, PiecesFillTheTriangleWithItsWindingAndOnlyColoursOfTheSteps) {
    Dice dice(7);
    const KivCartoonSteps light = plainSteps({0.125F, 0.25F, 0.6F, 0.875F});
    const KivCartoonSteps shine = {{0.5F}, {{0, 0, 0, 0}, {255, 255, 255, 255}}, {}};
    int cut = 0;
    for (int round = 0; round < 5000; ++round) {
        const std::array<KivCartoonVertex, 3> triangle = {vertexOf(dice), vertexOf(dice), vertexOf(dice)};
        const KivFlatAreas areas = cutOne(triangle, light, shine);
        const KivFlatAreas whole = cutOne(triangle, plainSteps({}), KivCartoonSteps());
        EXPECT_NEAR(areaOf(areas), areaOf(whole), 1e-4);
        const double sign = areaOf(whole) < 0.0 ? -1.0 : 1.0;
        for (std::size_t t = 0; t < areas.corners.size() / 3; ++t) {
            EXPECT_GE(signedArea(areas, t) * sign, -1e-5);
            const KivRampEntry& color = areas.colors[3 * t];
            EXPECT_EQ(color, areas.colors[3 * t + 1]);
            EXPECT_EQ(color, areas.colors[3 * t + 2]);
            const bool gloss = color == KivRampEntry{255, 255, 255, 255};
            EXPECT_TRUE(gloss || std::count(light.tones.begin(), light.tones.end(), color) == 1);
        }
        cut += areas.corners.size() > 3;
    }
    EXPECT_GT(cut, 3000);
}

// Two triangles on either side of a side, given in both directions: what each puts on the side is the same.
TEST(KivAreaCutter, NeighboursCutTheirSideAtTheSamePlaces) {
    Dice dice(11);
    const KivCartoonSteps light = plainSteps({0.125F, 0.3F, 0.55F, 0.8F});
    const KivCartoonSteps shine = {{0.25F, 0.5F}, {{0, 0, 0, 0}, {255, 255, 255, 90}, {255, 255, 255, 180}}, {}};
    // The side lies on y = 0, and so does, exactly, whatever divides it.
    const auto placesOnSide = [](const KivFlatAreas& areas) {
        std::set<float> places;
        for (const KivFlatCorner& corner : areas.corners) {
            if (corner.y == 0.0F) {
                places.insert(corner.x);
            }
        }
        return places;
    };
    int shared = 0;
    for (int round = 0; round < 3000; ++round) {
        const KivCartoonVertex a = {0.0F, 0.0F, 0.0F, dice.coarse(), dice.coarse()};
        const KivCartoonVertex b = {8.0F, 0.0F, 0.0F, dice.coarse(), dice.coarse()};
        const KivCartoonVertex above = {dice.unit() * 8.0F, 5.0F, 0.0F, dice.coarse(), dice.coarse()};
        const KivCartoonVertex below = {dice.unit() * 8.0F, -5.0F, 0.0F, dice.coarse(), dice.coarse()};
        const auto one = placesOnSide(cutOne({a, b, above}, light, shine));
        const auto other = placesOnSide(cutOne({below, b, a}, light, shine));
        EXPECT_EQ(one, other);
        shared += one.size() > 2;
    }
    EXPECT_GT(shared, 1000);
}

TEST(KivAreaCutter, TheHighlightAloneLeavesOutWhatIsClear) {
    const std::array<KivCartoonVertex, 3> triangle = {{{0, 0, 0, 0, 0.0F}, {1, 0, 0, 0, 1.0F}, {0, 1, 0, 0, 0.0F}}};
    const KivCartoonSteps light;
    const KivCartoonSteps shine = {{0.5F}, {{0, 0, 0, 0}, {255, 255, 255, 180}}, {}};
    KivFlatAreas areas;
    const KivCartoonVertex* corners[3] = {&triangle[0], &triangle[1], &triangle[2]};
    KivAreaCutter(light, shine).cutHighlight(corners, areas);
    const std::map<KivRampEntry, double> sums = areaByColor(areas);
    ASSERT_EQ(sums.size(), 1U);
    EXPECT_NEAR(sums.begin()->second, 0.125, 1e-6);
}
