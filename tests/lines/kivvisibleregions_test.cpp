#include "kivrender/lines/kivvisibleregions.h"

#include "lines/regionchecks.h"
#include "support/pollcounter.h"
#include "support/rawrandom.h"

#include <gmock/gmock.h>

#include <limits>

namespace {

using testing::IsEmpty;

SeenFace square(double left, double bottom, double right, double top, double depth, std::uint32_t look) {
    return {{{left, bottom, depth}, {right, bottom, depth}, {right, top, depth}, {left, top, depth}}, look};
}

double areaOf(const std::vector<KivVisibleRegion>& regions, std::uint32_t look) {
    double sum = 0.0;
    for (const KivVisibleRegion& region : regions) {
        sum += region.look == look ? region.area : 0.0;
    }
    return sum;
}

TEST(VisibleRegions, NothingGivesNothing) {
    EXPECT_THAT(regionsOf({}, 10, 10), IsEmpty());
    EXPECT_THAT(regionsOf({square(1, 1, 1, 5, 0.5, 0)}, 10, 10), IsEmpty());
}

TEST(VisibleRegions, ASquareIsOneRingOfFourLines) {
    const auto regions = regionsOf({square(2, 3, 7, 9, 0.5, 4)}, 10, 10);
    ASSERT_EQ(regions.size(), 1U);
    EXPECT_EQ(regions[0].look, 4U);
    EXPECT_NEAR(regions[0].area, 30.0, 1e-9);
    ASSERT_EQ(regions[0].rings.size(), 1U);
    EXPECT_EQ(regions[0].rings[0].pieces.size(), 4U);
}

TEST(VisibleRegions, ASquareOnASquareMakesAHole) {
    const std::vector<SeenFace> faces = {square(4, 4, 6, 6, 0.2, 1), square(2, 2, 8, 8, 0.5, 0)};
    const auto regions = regionsOf(faces, 10, 10);
    ASSERT_EQ(regions.size(), 2U);
    EXPECT_EQ(regions[0].look, 0U);
    EXPECT_EQ(regions[0].rings.size(), 2U);
    EXPECT_NEAR(regions[0].area, 32.0, 1e-9);
    EXPECT_EQ(regions[1].rings.size(), 1U);
    expectRightLooks(faces, regions, 10, 10, 40, 0.02);
}

TEST(VisibleRegions, AStackShowsEachSquareThatReachesBeyondTheOneBefore) {
    std::vector<SeenFace> faces;
    for (int i = 0; i < 8; ++i) {
        faces.push_back(square(1 + i, 1 + i, 19 - i, 19 - i, 0.9 - 0.1 * i, static_cast<std::uint32_t>(i)));
    }
    faces.push_back(square(3, 3, 12, 12, 0.95, 77)); // behind everything
    const auto regions = regionsOf(faces, 20, 20);
    EXPECT_EQ(regions.size(), 8U);
    expectRightLooks(faces, regions, 20, 20, 50, 0.02);
}

TEST(VisibleRegions, OfTwoInOnePlaneTheLaterLiesOnTop) {
    const std::vector<SeenFace> faces = {square(2, 2, 8, 8, 0.5, 0), square(5, 5, 9, 9, 0.5, 1)};
    const auto regions = regionsOf(faces, 10, 10);
    EXPECT_NEAR(areaOf(regions, 1), 16.0, 1e-9);
    EXPECT_NEAR(areaOf(regions, 0), 27.0, 1e-9);
    const auto reversed = regionsOf({faces[1], faces[0]}, 10, 10);
    EXPECT_NEAR(areaOf(reversed, 0), 36.0, 1e-9);
    EXPECT_NEAR(areaOf(reversed, 1), 7.0, 1e-9);
}

TEST(VisibleRegions, FacesThatCrossArePartedWhereTheyDo) {
    const SeenFace flat = square(1, 1, 9, 9, 0.5, 0);
    const SeenFace steep = {{{2, 2, 0.3}, {8, 2, 0.7}, {8, 8, 0.7}, {2, 8, 0.3}}, 1};
    const auto regions = regionsOf({flat, steep}, 10, 10);
    ASSERT_EQ(regions.size(), 2U);
    EXPECT_NEAR(areaOf(regions, 1), 18.0, 0.01);
    EXPECT_NEAR(areaOf(regions, 0), 46.0, 0.01);
    expectRightLooks({flat, steep}, regions, 10, 10, 60, 0.02);
}

TEST(VisibleRegions, ThreeBarsOverOneAnotherInACircle) {
    std::vector<SeenFace> faces;
    for (int i = 0; i < 3; ++i) {
        const double turn = 2.0943951 * i + 0.1;
        const auto at = [&](double along, double aside, double depth) {
            return KivSeenCorner{10.0 + along * std::cos(turn) - aside * std::sin(turn),
                                 10.0 + along * std::sin(turn) + aside * std::cos(turn), depth};
        };
        faces.push_back(
            {{at(-8, 2, 0.2), at(8, 2, 0.8), at(8, 4, 0.8), at(-8, 4, 0.2)}, static_cast<std::uint32_t>(i)});
    }
    const auto regions = regionsOf(faces, 20, 20);
    expectRightLooks(faces, regions, 20, 20, 80, 0.03);
    EXPECT_EQ(regions.size(), 6U) << "each bar is cut in two by the next";
}

TEST(VisibleRegions, ACheckerboardOfOneLookIsOneRegionAndOfTwoIsAll) {
    std::vector<SeenFace> faces;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            faces.push_back(square(x, y, x + 1, y + 1, 0.5, static_cast<std::uint32_t>((x + y) % 2)));
        }
    }
    const auto regions = regionsOf(faces, 8, 8);
    EXPECT_EQ(regions.size(), 64U) << "what touches in a corner does not hang together";
    expectRightLooks(faces, regions, 8, 8, 64, 0.02);
    for (SeenFace& face : faces) {
        face.look = 3;
    }
    const auto one = regionsOf(faces, 8, 8);
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0].rings[0].pieces.size(), 4U);
}

TEST(VisibleRegions, TJunctionsAndDuplicatesMakeNoBorders) {
    const std::vector<SeenFace> faces = {square(1, 1, 5, 9, 0.5, 0),
                                         square(5, 1, 9, 4, 0.5, 0),
                                         square(5, 4, 9, 9, 0.5, 0),
                                         square(5, 4, 9, 9, 0.5, 0),
                                         {{{1, 1, 0.5}, {5, 1, 0.5}, {5, 9, 0.5}}, 0}};
    const auto regions = regionsOf(faces, 10, 10);
    ASSERT_EQ(regions.size(), 1U);
    ASSERT_EQ(regions[0].rings.size(), 1U);
    EXPECT_EQ(regions[0].rings[0].pieces.size(), 4U);
    EXPECT_NEAR(regions[0].area, 64.0, 1e-9);
}

TEST(VisibleRegions, WhatReachesBeyondThePictureIsCutAtItsEdge) {
    const std::vector<SeenFace> faces = {square(-5, -5, 5, 25, 0.5, 0),
                                         {{{-100, 3, 0.4}, {300, 3, 0.4}, {4, 60, 0.1}}, 1}};
    const auto regions = regionsOf(faces, 10, 20);
    expectRightLooks(faces, regions, 10, 20, 50, 0.02);
    for (const KivVisibleRegion& region : regions) {
        for (const KivCurvePath& ring : region.rings) {
            for (const KivPicturePoint& p : flattened(ring)) {
                EXPECT_TRUE(p.x >= 0.0 && p.x <= 10.0 && p.y >= 0.0 && p.y <= 20.0);
            }
        }
    }
}

TEST(VisibleRegions, NumbersThatAreNoneAreLeftOut) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double huge = 1e30;
    const auto regions = regionsOf({square(1, 1, nan, 5, 0.5, 0), square(1, 1, 5, 5, nan, 1),
                                    square(1, 1, huge, 5, 0.5, 2), square(2, 2, 4, 4, 0.5, 3)},
                                   10, 10);
    ASSERT_EQ(regions.size(), 1U);
    EXPECT_EQ(regions[0].look, 3U);
}

TEST(VisibleRegions, SpecksJoinTheNeighbourWithMostOfTheirBorder) {
    std::vector<SeenFace> faces = {square(1, 1, 5, 9, 0.5, 0), square(5, 1, 9, 9, 0.5, 1),
                                   square(4.5, 4, 5.1, 4.5, 0.4, 2)};
    KivVisibleRegions picture(10, 10);
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    ASSERT_TRUE(picture.find());
    EXPECT_EQ(picture.regions().size(), 3U);
    picture.setSmallestArea(0.5);
    ASSERT_TRUE(picture.find());
    ASSERT_EQ(picture.regions().size(), 2U);
    EXPECT_NEAR(picture.regions()[0].area, 32.05, 1e-3);
    EXPECT_NEAR(picture.regions()[1].area, 31.95, 1e-3);
}

TEST(VisibleRegions, TonesThatAreSpecksJoinTonesOfTheirOwnBodyAlone) {
    const std::vector<SeenFace> faces = {square(1, 1, 9, 9, 0.5, 0), square(4, 4, 6, 6, 0.4, 1),
                                         square(2, 2, 3, 3, 0.4, 2)};
    KivVisibleRegions picture(10, 10);
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    picture.setSmallestTone(12.0, {7, 7, 8});
    ASSERT_TRUE(picture.find());
    ASSERT_EQ(picture.regions().size(), 2U);
    EXPECT_NEAR(picture.regions()[0].area, 63.0, 1e-9);
    EXPECT_EQ(picture.regions()[1].look, 2U);
}

// Rings within each other, as of a soft highlight: 7, 5 and 4 px, and the same of 3 in all.
TEST(VisibleRegions, SmallTonesThatTouchAreOneIsland) {
    const std::vector<SeenFace> large = {square(0, 0, 10, 10, 0.5, 0), square(3, 3, 7, 7, 0.4, 1),
                                         square(3.5, 3.5, 6.5, 6.5, 0.3, 2), square(4, 4, 6, 6, 0.2, 3)};
    const std::vector<SeenFace> small = {square(0, 0, 10, 10, 0.5, 0), square(3, 3, 5, 4.5, 0.4, 1),
                                         square(3.5, 3.5, 4.5, 4, 0.3, 2)};
    for (const auto* faces : {&large, &small}) {
        KivVisibleRegions picture(10, 10);
        for (const SeenFace& face : *faces) {
            picture.add(face.corners, face.look);
        }
        picture.setSmallestTone(12.0, {7, 7, 7, 7});
        ASSERT_TRUE(picture.find());
        EXPECT_EQ(picture.regions().size(), faces == &large ? 4U : 1U);
    }
}

std::vector<SeenFace> soup(unsigned int seed, int count, int places, int depths, int looks) {
    RawRandom random(seed);
    const auto below = [&](int n) { return static_cast<int>(random.below(static_cast<unsigned int>(n))); };
    std::vector<SeenFace> faces;
    for (int i = 0; i < count; ++i) {
        SeenFace face;
        for (int k = 0; k < 3; ++k) {
            face.corners.push_back({static_cast<double>(below(places + 1)), static_cast<double>(below(places + 1)),
                                    (below(depths) + 1.0) / (depths + 1.0)});
        }
        face.look = static_cast<std::uint32_t>(below(looks));
        faces.push_back(face);
    }
    return faces;
}

class RegionSoup : public testing::TestWithParam<int> {};

// On a coarse grid nearly everything is degenerate: corners on sides, sides on sides, planes in planes.
TEST_P(RegionSoup, ShowsWhatIsNearest) {
    const auto seed = static_cast<unsigned int>(GetParam());
    for (const int depths : {1, 2, 5, 40}) {
        SCOPED_TRACE("depths " + std::to_string(depths));
        const int places = 4 + static_cast<int>(seed % 5) * 3;
        const auto faces =
            soup(seed * 77 + static_cast<unsigned int>(depths), 6 + static_cast<int>(seed % 7) * 5, places, depths, 4);
        const auto regions = regionsOf(faces, places, places);
        expectRightLooks(faces, regions, places, places, 40, 0.04 * places / 10.0);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RegionSoup, testing::Range(0, 60));

// With the ranks as they stand.
std::vector<KivVisibleRegion> paintedRegionsOf(const std::vector<SeenFace>& faces, double size,
                                               std::vector<std::uint32_t> ranks) {
    KivVisibleRegions picture(size, size);
    picture.setTolerance(0.001);
    picture.setUnderlap(1.0, std::move(ranks));
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    EXPECT_TRUE(picture.find());
    return picture.regions();
}

// The same regions with what they paint as their rings.
std::vector<KivVisibleRegion> asPainted(std::vector<KivVisibleRegion> regions) {
    for (KivVisibleRegion& region : regions) {
        if (!region.painted.empty()) {
            region.rings = region.painted;
        }
    }
    return regions;
}

TEST(VisibleRegions, GoOnUnderThoseThatArePaintedLater) {
    const std::vector<SeenFace> faces = {square(2, 2, 10, 18, 0.5, 0), square(10, 2, 18, 18, 0.5, 1),
                                         square(6, 6, 14, 14, 0.2, 2)};
    const auto regions = paintedRegionsOf(faces, 20, {1, 0, 2});
    expectSharedBorders(regions);
    const FlatRegions painted(asPainted(regions));
    EXPECT_THAT(painted.at(9.5, 4), testing::UnorderedElementsAre(0U, 1U)) << "the second goes under the first";
    EXPECT_THAT(painted.at(10.5, 4), testing::ElementsAre(1U));
    EXPECT_THAT(painted.at(6.5, 10), testing::UnorderedElementsAre(0U, 2U));
    EXPECT_THAT(painted.at(13.5, 10), testing::UnorderedElementsAre(1U, 2U));
    EXPECT_THAT(painted.at(8, 10), testing::ElementsAre(2U)) << "no farther than told";
    EXPECT_THAT(painted.at(1.5, 10), IsEmpty()) << "never over the paper";
    EXPECT_THAT(painted.at(18.5, 10), IsEmpty());
    EXPECT_TRUE(regions[2].painted.empty()) << "nothing is painted over the last";
}

// One square below two others, with a corner where they meet, and one of these straight along the side of the other.
TEST(VisibleRegions, CoverThePlaceWhereThreeMeet) {
    const std::vector<SeenFace> faces = {square(2, 2, 10, 10, 0.5, 0), square(2, 10, 18, 18, 0.5, 1),
                                         square(10, 2, 18, 10, 0.5, 2)};
    const FlatRegions corner(asPainted(paintedRegionsOf(faces, 20, {0, 1, 2})));
    EXPECT_THAT(corner.at(10.5, 10.5), testing::UnorderedElementsAre(0U, 1U));
    EXPECT_THAT(corner.at(10.5, 9.9), testing::UnorderedElementsAre(0U, 1U, 2U));
    EXPECT_THAT(corner.at(9.9, 10.5), testing::UnorderedElementsAre(0U, 1U));
    EXPECT_THAT(corner.at(11.2, 11.2), testing::ElementsAre(1U)) << "no farther than told";
    const FlatRegions side(asPainted(paintedRegionsOf(faces, 20, {1, 0, 2})));
    for (const double x : {9.7, 10.0, 10.3}) {
        EXPECT_THAT(side.at(x, 9.3), testing::Contains(1U)) << x;
    }
    EXPECT_THAT(side.at(10.3, 10.3), testing::ElementsAre(1U)) << "the second is not painted over the first";
}

// The first is painted over the second, and the third over both: the corner of the first has the third before it, but
// stays where its border with the second ends.
TEST(VisibleRegions, StayInCornersWithWhatWasPaintedBefore) {
    const std::vector<SeenFace> faces = {square(2, 2, 10, 10, 0.5, 0), square(2, 10, 10, 18, 0.5, 1),
                                         square(10, 2, 18, 18, 0.5, 2)};
    const FlatRegions painted(asPainted(paintedRegionsOf(faces, 20, {1, 0, 2})));
    EXPECT_THAT(painted.at(10.4, 10.4), testing::UnorderedElementsAre(1U, 2U));
    EXPECT_THAT(painted.at(10.4, 9.7), testing::IsSupersetOf({1U, 2U}));
}

TEST(VisibleRegions, GoOnUnderNothingThatIsNotPainted) {
    const std::vector<SeenFace> faces = {square(2, 2, 10, 18, 0.5, 0), square(10, 2, 18, 18, 0.5, 1)};
    for (const auto& region : paintedRegionsOf(faces, 20, {0, KivVisibleRegions::unpainted})) {
        EXPECT_TRUE(region.painted.empty());
    }
    for (const auto& region : paintedRegionsOf(faces, 20, {0})) {
        EXPECT_TRUE(region.painted.empty());
    }
}

class PaintedSoup : public testing::TestWithParam<int> {};

TEST_P(PaintedSoup, ShowsTheSameWhenPaintedInOrder) {
    RawRandom random(static_cast<std::uint32_t>(GetParam()) + 900);

    std::vector<SeenFace> faces;
    std::vector<std::uint32_t> ranks;
    for (std::uint32_t i = 0; i < 12; ++i) {
        SeenFace face{{}, i};
        for (int k = 0; k < 3; ++k) {
            face.corners.push_back({random.between(0, 60), random.between(0, 60), random.between(0.1, 0.9)});
        }
        faces.push_back(face);
        ranks.push_back((i * 7 + 3) % 12);
    }
    const FlatRegions painted(asPainted(paintedRegionsOf(faces, 60, ranks)));
    int asked = 0;
    for (double y = 0.7; y < 60; y += 1.3) {
        for (double x = 0.6; x < 60; x += 1.3) {
            const std::uint32_t look = nearestLook(faces, x, y);
            bool isAlone = true;
            for (int k = 0; k < 8 && isAlone; ++k) {
                isAlone =
                    nearestLook(faces, x + 0.3 * std::cos(0.785398 * k), y + 0.3 * std::sin(0.785398 * k)) == look;
            }
            if (isAlone) {
                const std::vector<std::uint32_t> seen = painted.at(x, y);
                const auto top =
                    std::max_element(seen.begin(), seen.end(), [&](auto p, auto q) { return ranks[p] < ranks[q]; });
                EXPECT_EQ(top == seen.end() ? nothingSeen : *top, look) << "at " << x << ", " << y;
                ++asked;
            }
        }
    }
    EXPECT_GT(asked, 1000);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PaintedSoup, testing::Range(0, 20));

TEST(VisibleRegions, TheSameFacesGiveTheSameRegions) {
    const auto faces = soup(5, 60, 20, 9, 5);
    const auto first = regionsOf(faces, 20, 20);
    const auto second = regionsOf(faces, 20, 20);
    ASSERT_EQ(first.size(), second.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        ASSERT_EQ(first[i].look, second[i].look);
        ASSERT_EQ(first[i].rings.size(), second[i].rings.size());
        for (std::size_t k = 0; k < first[i].rings.size(); ++k) {
            const auto a = flattened(first[i].rings[k]);
            const auto b = flattened(second[i].rings[k]);
            ASSERT_EQ(a.size(), b.size());
            EXPECT_TRUE(
                std::equal(a.begin(), a.end(), b.begin(), [](const KivPicturePoint& p, const KivPicturePoint& q) {
                    return p.x == q.x && p.y == q.y;
                }));
        }
    }
}

TEST(VisibleRegions, ACancelAtAnyPollGivesNothing) {
    const auto faces = soup(5, 600, 20, 9, 5);
    KivVisibleRegions picture(20, 20);
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    PollCounter all;
    {
        const ScopedProgress shown(all);
        ASSERT_TRUE(picture.find());
    }
    ASSERT_GT(all.polls, 10);
    for (long poll = 1; poll <= all.polls; poll += std::max(1L, all.polls / 40)) {
        PollCounter counter(poll);
        const ScopedProgress shown(counter);
        EXPECT_FALSE(picture.find());
        EXPECT_THAT(picture.regions(), IsEmpty());
    }
}

// Slivers over one another along all of the picture, as a finely divided tube has them beside its outline: to divide
// their square does not part them.
TEST(VisibleRegions, StackedFacesAreNotDividedForNothing) {
    std::vector<SeenFace> faces;
    for (int i = 0; i < 40; ++i) {
        const double half = 0.03 - 0.0005 * i;
        const double depth = 0.2 + 0.001 * i;
        faces.push_back({{{2.0, 100.0, depth}, {198.0, 100.0 - half, depth + 0.5}, {198.0, 100.0 + half, depth + 0.5}},
                         static_cast<std::uint32_t>(i % 2)});
    }
    KivVisibleRegions picture(200.0, 200.0);
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    picture.setEffort(2e-4); // a sixth of what dividing takes, and six times what is enough
    EXPECT_TRUE(picture.find());
}

// Behind a sheet everything runs through everything: what crosses before it is found none the less.
TEST(VisibleRegions, FacesCrossInSightOfAThicket) {
    RawRandom random(4);
    KivVisibleRegions picture(200.0, 200.0);
    const auto add = [&](double left, double right, std::uint32_t look) {
        const std::vector<KivSeenCorner> square = {
            {0.0, 0.0, left}, {200.0, 0.0, right}, {200.0, 200.0, right}, {0.0, 200.0, left}};
        picture.add(square, look);
    };
    for (std::uint32_t i = 0; i < 1000; ++i) {
        add(random.between(0.5, 0.9), random.between(0.5, 0.9), 2 + i);
    }
    add(0.1, 0.3, 0);
    add(0.3, 0.1, 1);
    ASSERT_TRUE(picture.find());
    EXPECT_EQ(picture.regions().size(), 2U);
    EXPECT_NEAR(areaOf(picture.regions(), 0), 0.5 * 200.0 * 200.0, 1.0);
}

// No face of a shell fills a square that one of its edges runs across, and yet nothing that lies behind counts there.
TEST(VisibleRegions, WhatAShellHoldsIsNotComparedAlongItsEdges) {
    std::vector<SeenFace> faces;
    const auto strip = [&faces](double left, double right, double depth, std::uint32_t look) {
        const KivSeenCorner p[4] = {{left, 0.0, depth},
                                    {right, 0.0, depth},
                                    {right + 60.0, 200.0, depth + 0.1},
                                    {left + 60.0, 200.0, depth + 0.1}};
        faces.push_back({{p[0], p[1], p[2]}, look});
        faces.push_back({{p[0], p[2], p[3]}, look});
    };
    for (int i = -15; i < 50; ++i) {
        strip(4.0 * i, 4.0 * (i + 1), 0.1, 0);
    }
    for (std::uint32_t layer = 0; layer < 90; ++layer) {
        for (int i = -6; i < 18; ++i) {
            strip(12.0 * i + 0.1 * layer, 12.0 * (i + 1) + 0.1 * layer, 0.5 + 0.001 * ((layer + i) % 7), 1 + layer % 2);
        }
    }
    KivVisibleRegions picture(200.0, 200.0);
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    picture.setEffort(2.8e-2); // 2.5e-2 is enough; comparing along the edges takes 3.3e-2
    ASSERT_TRUE(picture.find());
    EXPECT_EQ(picture.regions().size(), 1U);
    EXPECT_NEAR(areaOf(picture.regions(), 0), 200.0 * 200.0, 1.0);
}

TEST(VisibleRegions, WorkHasAnEnd) {
    RawRandom random(9);
    std::vector<SeenFace> faces;
    for (std::uint32_t i = 0; i < 60; ++i) {
        SeenFace face{{}, i};
        for (int k = 0; k < 3; ++k) {
            face.corners.push_back({random.between(0.0, 200.0), random.between(0.0, 200.0), random.between(0.0, 1.0)});
        }
        faces.push_back(face);
    }
    for (const double effort : {1.0, 7e-5, 7e-6, 7e-7, 7e-10}) {
        KivVisibleRegions picture(200.0, 200.0);
        for (const SeenFace& face : faces) {
            picture.add(face.corners, face.look);
        }
        picture.setEffort(effort);
        const bool isWhole = picture.find();
        EXPECT_EQ(isWhole, effort == 1.0) << effort;
        EXPECT_EQ(picture.wasTooMuch(), !isWhole) << effort;
        EXPECT_EQ(picture.regions().empty(), !isWhole) << effort;
    }
}

} // namespace
