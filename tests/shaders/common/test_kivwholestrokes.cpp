#include "kivwholestrokes.h"

#include "../shapes.h"
#include "support/pollcost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace {

constexpr int size = 400;

// From one place to another in steps of about a pixel.
KivLinePath lineBetween(float x0, float y0, float x1, float y1) {
    KivLinePath path;
    const int steps = std::max(1, static_cast<int>(std::hypot(x1 - x0, y1 - y0)));
    for (int i = 0; i <= steps; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(steps);
        path.points.push_back({x0 + (x1 - x0) * t, y0 + (y1 - y0) * t, 1.0F});
        path.stations.push_back({0, t});
    }
    return path;
}

std::vector<KivWholeStroke> strokesOfPieces(const std::vector<KivStrokePiece>& pieces, double pixel = 1.0) {
    std::vector<KivWholeStroke> strokes;
    EXPECT_TRUE(kivWholeStrokes(pieces, pixel, size, size, strokes));
    return strokes;
}

std::vector<KivWholeStroke> strokesOf(const std::vector<KivLinePath>& paths, double shortest = 5.0) {
    std::vector<KivStrokePiece> pieces;
    for (const KivLinePath& path : paths) {
        pieces.push_back({&path, 0, shortest});
    }
    return strokesOfPieces(pieces);
}

} // namespace

TEST(KivWholeStrokes, WhatGoesOnIsOneStroke) {
    // The second piece runs the other way.
    const std::vector<KivWholeStroke> strokes =
        strokesOf({lineBetween(100, 100, 150, 100), lineBetween(200, 102, 153, 100), lineBetween(203, 103, 250, 110)});
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_EQ(strokes[0].pieces, (std::vector<std::uint32_t>{0, 1, 2}));
    EXPECT_EQ(strokes[0].reversed, (std::vector<bool>{false, true, false}));
    EXPECT_FALSE(strokes[0].closed);
    EXPECT_TRUE(strokes[0].startsLoose && strokes[0].endsLoose);
}

TEST(KivWholeStrokes, GapsTurnsAndOtherPensPart) {
    EXPECT_EQ(strokesOf({lineBetween(100, 100, 150, 100), lineBetween(157, 100, 200, 100)}).size(), 2U);
    EXPECT_EQ(strokesOf({lineBetween(100, 100, 150, 100), lineBetween(151, 101, 160, 150)}).size(), 2U);
    EXPECT_EQ(strokesOf({lineBetween(100, 100, 150, 100), lineBetween(148, 103, 200, 103)}).size(), 2U); // side by side
    const KivLinePath one = lineBetween(100, 100, 150, 100);
    const KivLinePath other = lineBetween(150, 100, 200, 100);
    EXPECT_EQ(strokesOfPieces({{&one, 0, 5.0}, {&other, 1, 5.0}}).size(), 2U);
    EXPECT_EQ(strokesOfPieces({{&one, 0, 5.0}, {&other, 0, 5.0}}).size(), 1U);
}

TEST(KivWholeStrokes, PiecesThatRunPastEachOtherAreOne) {
    const KivLinePath one = lineBetween(100, 100, 150, 100);
    EXPECT_EQ(strokesOf({one, lineBetween(148, 100.5F, 200, 100.5F)}).size(), 1U);
    EXPECT_EQ(strokesOf({one, lineBetween(200, 100.5F, 148, 100.5F)}).size(), 1U);
    EXPECT_EQ(strokesOf({one, lineBetween(146, 100.5F, 200, 100.5F)}).size(), 2U);
    // A crumb goes, and does not take the end with it.
    const std::vector<KivWholeStroke> strokes = strokesOf({one, lineBetween(148, 100.5F, 154, 100.5F)}, 0.0);
    EXPECT_EQ(strokes.size(), 2U);
}

TEST(KivWholeStrokes, LengthsAreOnesOfTheFinishedPicture) {
    const KivLinePath one = lineBetween(100, 100, 150, 100);
    const KivLinePath other = lineBetween(162, 100, 200, 100);
    EXPECT_EQ(strokesOfPieces({{&one, 0, 5.0}, {&other, 0, 5.0}}, 4.0).size(), 1U);
}

TEST(KivWholeStrokes, ARingMeetsItself) {
    KivLinePath ring;
    for (int i = 0; i <= 100; ++i) {
        const float angle = 0.0622F * static_cast<float>(i);
        ring.points.push_back({200.0F + 50.0F * std::cos(angle), 200.0F + 50.0F * std::sin(angle), 1.0F});
        ring.stations.push_back({0, 0.0F});
    }
    std::vector<KivWholeStroke> strokes = strokesOf({ring});
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_TRUE(strokes[0].closed);
    EXPECT_FALSE(strokes[0].startsLoose || strokes[0].endsLoose);
    ring.closed = true;
    strokes = strokesOf({ring});
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_TRUE(strokes[0].closed);
}

TEST(KivWholeStrokes, DashesAndBarbsGo) {
    const KivLinePath dash = lineBetween(100, 100, 112, 100);
    EXPECT_TRUE(strokesOf({dash}).empty());
    EXPECT_EQ(strokesOf({dash}, 3.0).size(), 1U);
    EXPECT_EQ(strokesOf({dash}, 0.0).size(), 1U);
    // On a long line it stays, and a shorter one goes.
    const KivLinePath line = lineBetween(50, 104, 300, 104);
    EXPECT_EQ(strokesOf({line, lineBetween(100, 101, 100, 91)}).size(), 2U);
    EXPECT_EQ(strokesOf({line, lineBetween(100, 101, 100, 97.5F)}).size(), 1U);
    // Between two it is a part of both.
    EXPECT_EQ(strokesOf({line, lineBetween(50, 98, 300, 98), lineBetween(100, 103, 100, 99)}).size(), 3U);
}

TEST(KivWholeStrokes, OutlinesStay) {
    KivLinePath dash = lineBetween(100, 100, 112, 100);
    dash.isOutline = true;
    EXPECT_EQ(strokesOf({dash}).size(), 1U);
}

TEST(KivWholeStrokes, EndsAtOtherLinesAndTheEdgeAreNotLoose) {
    std::vector<KivWholeStroke> strokes = strokesOf({lineBetween(1, 100, 200, 100)});
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_FALSE(strokes[0].startsLoose);
    EXPECT_TRUE(strokes[0].endsLoose);
    strokes = strokesOf({lineBetween(50, 100, 200, 100), lineBetween(202, 50, 202, 150)});
    ASSERT_EQ(strokes.size(), 2U);
    EXPECT_TRUE(strokes[0].startsLoose);
    EXPECT_FALSE(strokes[0].endsLoose);
}

// Short lines at random places of a square, none of which goes on as another one.
std::vector<KivLinePath> crowdOf(int count, double side, std::mt19937& words) {
    std::vector<KivLinePath> paths;
    for (int i = 0; i < count; ++i) {
        const auto random = [&words] { return static_cast<float>(signedUnit(words)); };
        const float x = 200.0F + static_cast<float>(side / 2.0) * random();
        const float y = 200.0F + static_cast<float>(side / 2.0) * random();
        paths.push_back(lineBetween(x, y, x + 8.0F * random(), y + 8.0F * random()));
        for (KivLinePoint& point : paths.back().points) {
            point.halfWidth = static_cast<float>(1 + i % 4);
        }
    }
    return paths;
}

std::vector<KivWholeStroke> strokesOfTheirOwn(const std::vector<KivLinePath>& paths) {
    std::vector<KivStrokePiece> pieces;
    for (const KivLinePath& path : paths) {
        pieces.push_back({&path, static_cast<std::uint32_t>(pieces.size()), 0.0});
    }
    return strokesOfPieces(pieces);
}

TEST(KivWholeStrokes, AnEndIsLooseWhereNoPointOfAnotherStrokeTouchesIt) {
    std::mt19937 words(7);
    for (int run = 0; run < 20; ++run) {
        const std::vector<KivLinePath> paths = crowdOf(20 + 20 * run, 300.0, words);
        const std::vector<KivWholeStroke> strokes = strokesOfTheirOwn(paths);
        ASSERT_EQ(strokes.size(), paths.size());
        const auto isLoose = [&](std::size_t stroke, const KivLinePoint& end) {
            for (std::size_t other = 0; other < paths.size(); ++other) {
                for (const KivLinePoint& point : paths[other].points) {
                    if (other != stroke && std::hypot(static_cast<double>(point.x) - static_cast<double>(end.x),
                                                      static_cast<double>(point.y) - static_cast<double>(end.y)) <
                                               3.0 + static_cast<double>(point.halfWidth)) {
                        return false;
                    }
                }
            }
            return true;
        };
        for (std::size_t i = 0; i < strokes.size(); ++i) {
            ASSERT_EQ(strokes[i].pieces, std::vector<std::uint32_t>{static_cast<std::uint32_t>(i)});
            EXPECT_EQ(strokes[i].startsLoose, isLoose(i, paths[i].points.front())) << run << ' ' << i;
            EXPECT_EQ(strokes[i].endsLoose, isLoose(i, paths[i].points.back())) << run << ' ' << i;
        }
    }
}

TEST(KivWholeStrokes, ACrowdIsNotComparedWithItself) {
    std::mt19937 words(8);
    std::vector<KivLinePath> paths = crowdOf(20000, 4.0, words);
    // The widest line says how far to look for those that an end may touch: most of what lies there is none of them.
    for (KivLinePoint& point : paths[0].points) {
        point.halfWidth = 40.0F;
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        for (KivLinePoint& point : paths[i].points) {
            point.x += i < 5000 ? -45.0F : i < 10000 ? -20.0F : 0.0F;
        }
    }
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    EXPECT_EQ(strokesOfTheirOwn(paths).size(), paths.size());
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    const double seconds =
        static_cast<double>(after.tv_sec - before.tv_sec) + 1e-9 * static_cast<double>(after.tv_nsec - before.tv_nsec);
    EXPECT_LT(seconds, 0.6 * PollCost::slowness);
}

TEST(KivWholeStrokes, PollsByCost) {
    std::mt19937 words(9);
    const std::vector<KivLinePath> crowd = crowdOf(30000, 60.0, words);
    std::vector<KivStrokePiece> pieces;
    for (const KivLinePath& path : crowd) {
        pieces.push_back({&path, 0, 5.0});
    }
    PollCost::expectAllowed([&] {
        std::vector<KivWholeStroke> strokes;
        kivWholeStrokes(pieces, 1.0, size, size, strokes);
    });
}

// Around scribbles: their points are all within the grid's reach of these ends, as one of them is very wide, and none
// touches them.
TEST(KivWholeStrokes, PollsByCostWhereManyPointsLieNearAnEnd) {
    std::mt19937 words(10);
    std::vector<KivLinePath> paths(100);
    for (std::size_t i = 0; i < 400000; ++i) {
        KivLinePath& path = paths[i % paths.size()];
        const auto random = [&words] { return static_cast<float>(signedUnit(words)); };
        path.points.push_back({200.0F + random(), 200.0F + random(), i == 0 ? 40.0F : 1.0F});
        path.stations.push_back({0, 0.0F});
    }
    for (int i = 0; i < 40; ++i) {
        const float angle = static_cast<float>(i) * 0.157F;
        const float x = 200.0F + 44.0F * std::cos(angle);
        const float y = 200.0F + 44.0F * std::sin(angle);
        paths.push_back(lineBetween(x, y, x + 0.1F, y));
    }
    std::vector<KivStrokePiece> pieces;
    for (const KivLinePath& path : paths) {
        pieces.push_back({&path, static_cast<std::uint32_t>(pieces.size()), 0.0});
    }
    PollCost::expectAllowed([&] {
        std::vector<KivWholeStroke> strokes;
        kivWholeStrokes(pieces, 1.0, size, size, strokes);
    });
}

TEST(KivAppendPath, TurnsAPieceAndItsEnds) {
    KivLinePath one = lineBetween(0, 0, 2, 0);
    one.startsFree = true;
    KivLinePath other = lineBetween(5, 0, 3, 0);
    other.startsFree = true;
    KivLinePath whole;
    kivAppendPath(one, false, 0, whole);
    kivAppendPath(other, true, 10, whole);
    ASSERT_EQ(whole.points.size(), 6U);
    EXPECT_EQ(whole.points[3].x, 3.0F);
    EXPECT_EQ(whole.points[5].x, 5.0F);
    EXPECT_EQ(whole.stations[2].corner, 0U);
    EXPECT_EQ(whole.stations[5].corner, 10U);
    EXPECT_EQ(whole.stations[5].part, 0.0F);
    EXPECT_TRUE(whole.startsFree && whole.endsFree);
    kivAppendPath(lineBetween(6, 0, 7, 0), false, 20, whole);
    EXPECT_FALSE(whole.endsFree);
}

TEST(KivAppendPath, NeverGoesBack) {
    for (const bool reversed : {false, true}) {
        KivLinePath whole = lineBetween(100, 100, 150, 100);
        kivAppendPath(reversed ? lineBetween(170, 100.5F, 147, 100.5F) : lineBetween(147, 100.5F, 170, 100.5F),
                      reversed, 1, whole);
        ASSERT_EQ(whole.points.size(), whole.stations.size());
        EXPECT_EQ(whole.points.back().x, 170.0F);
        for (std::size_t i = 1; i < whole.points.size(); ++i) {
            EXPECT_GE(whole.points[i].x, whole.points[i - 1].x) << i;
        }
    }
    // A piece that lies wholly beside the end leaves its last point.
    KivLinePath whole = lineBetween(100, 100, 150, 100);
    kivAppendPath(lineBetween(147, 100, 149, 100), false, 1, whole);
    EXPECT_EQ(whole.points.size(), 52U);
    EXPECT_EQ(whole.points.back().x, 149.0F);
}
