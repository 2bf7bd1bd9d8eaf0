#include "kivrender/lines/lineneighbours.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

KivFoundLine lineThrough(const std::vector<KivPicturePoint>& points) {
    KivFoundLine line;
    line.picture = points;
    return line;
}

LineBudget plenty() {
    return LineBudget(1'000'000'000);
}

// Whether a place of a stretch lies opposite the other one, no farther away than the reach, and both run alike.
bool isBeside(const Stretch& stretch, double t, const Stretch& other, double reach) {
    const double length = kivLengthOf(stretch);
    const KivPicturePoint way = {(stretch.end.x - stretch.start.x) / length,
                                 (stretch.end.y - stretch.start.y) / length};
    const KivPicturePoint at = {stretch.start.x + way.x * length * t, stretch.start.y + way.y * length * t};
    const KivPicturePoint across = {other.end.x - other.start.x, other.end.y - other.start.y};
    const double run = across.x * way.x + across.y * way.y;
    if (std::fabs(run) < 0.9 * kivLengthOf(other)) {
        return false;
    }
    const double part = ((at.x - other.start.x) * way.x + (at.y - other.start.y) * way.y) / run;
    const KivPicturePoint opposite = {other.start.x + across.x * part, other.start.y + across.y * part};
    return part >= 0.0 && part <= 1.0 && std::hypot(opposite.x - at.x, opposite.y - at.y) <= reach;
}

} // namespace

TEST(LineNeighbours, FindTheRunBesideALineThatComesNearer) {
    LineNeighbours neighbours;
    LineBudget budget = plenty();
    neighbours.add(lineThrough({{0.0, 0.0}, {100.0, 0.0}}), 0, budget);
    const auto reach = [](std::uint32_t) { return 2.0; };
    // From 10 pixels away to none.
    const std::vector<LineRun> runs = neighbours.runsOf(lineThrough({{0.0, 10.0}, {100.0, 0.0}}), 1, reach, budget);
    ASSERT_EQ(runs.size(), 1U);
    // Distances are taken across the line that asks, which is a little aslant.
    const double slope = 0.1;
    const double length = std::hypot(100.0, 10.0);
    EXPECT_NEAR(runs[0].from, length - 2.0 / slope, 0.5);
    EXPECT_GT(runs[0].to, length - 0.5);
    EXPECT_EQ(runs[0].reach, 2.0);
}

TEST(LineNeighbours, ALineThatCrossesSteeplyIsNotBeside) {
    LineNeighbours neighbours;
    LineBudget budget = plenty();
    neighbours.add(lineThrough({{0.0, 0.0}, {100.0, 0.0}}), 0, budget);
    const auto reach = [](std::uint32_t) { return 2.0; };
    EXPECT_TRUE(neighbours.runsOf(lineThrough({{40.0, -20.0}, {60.0, 20.0}}), 1, reach, budget).empty());
    EXPECT_FALSE(neighbours.runsOf(lineThrough({{40.0, -5.0}, {60.0, 3.0}}), 1, reach, budget).empty());
}

TEST(LineNeighbours, ALineIsBesideItselfOnlyWhereItComesBack) {
    // A flat ring.
    KivFoundLine ring = lineThrough({{0.0, 0.0}, {20.0, 0.0}, {20.0, 1.5}, {0.0, 1.5}});
    ring.closed = true;
    LineNeighbours neighbours;
    LineBudget budget = plenty();
    neighbours.add(ring, 7, budget);
    double beside = 0.0;
    for (const LineRun& run : neighbours.runsOf(
             ring, 7, [](std::uint32_t) { return 2.0; }, budget)) {
        beside += run.to - run.from;
    }
    EXPECT_EQ(beside, 0.0); // the sides are nearer along the line than bends reach
    KivFoundLine longer = lineThrough({{0.0, 0.0}, {20.0, 0.0}, {40.0, 0.0}, {40.0, 1.5}, {20.0, 1.5}, {0.0, 1.5}});
    LineNeighbours others;
    others.add(longer, 7, budget);
    for (const LineRun& run : others.runsOf(
             longer, 7, [](std::uint32_t) { return 2.0; }, budget)) {
        beside += run.to - run.from;
    }
    EXPECT_NEAR(beside, 40.0, 1.0);
}

TEST(LineNeighbours, AgreeWithPlacesOneByOne) {
    RawRandom random(11);
    long beside = 0;
    for (int round = 0; round < 40; ++round) {
        std::vector<KivFoundLine> lines;
        std::vector<double> reaches;
        LineNeighbours neighbours;
        LineBudget budget = plenty();
        for (std::uint32_t i = 0; i < 12; ++i) {
            std::vector<KivPicturePoint> points = {{random.between(0.0, 60.0), random.between(0.0, 60.0)}};
            double angle = random.between(0.0, 6.0);
            for (int k = 0; k < 12; ++k) {
                angle += random.between(-0.3, 0.3);
                const double step = random.between(0.5, 8.0);
                points.push_back({points.back().x + step * std::cos(angle), points.back().y + step * std::sin(angle)});
            }
            lines.push_back(lineThrough(points));
            reaches.push_back(random.between(0.5, 6.0));
            neighbours.add(lines.back(), i + 1, budget);
        }
        const KivFoundLine& asked = lines[0];
        const std::vector<LineRun> runs = neighbours.runsOf(
            asked, 0, [&](std::uint32_t other) { return reaches[other - 1]; }, budget);
        std::vector<double> places;
        kivForStretches(asked, [&](const Stretch& stretch, double at) {
            for (int step = 0; step < 40; ++step) {
                const double t = (step + 0.5) / 40.0;
                bool isFound = false;
                for (std::size_t other = 0; other < lines.size(); ++other) {
                    kivForStretches(lines[other], [&](const Stretch& there, double) {
                        isFound = isFound || isBeside(stretch, t, there, reaches[other]);
                    });
                }
                if (isFound) {
                    places.push_back(at + t * kivLengthOf(stretch));
                }
            }
        });
        for (const double place : places) {
            ++beside;
            EXPECT_TRUE(std::any_of(runs.begin(), runs.end(), [&](const LineRun& run) {
                return run.from - 1e-9 <= place && place <= run.to + 1e-9;
            })) << place;
        }
        // A gap at a bend is joined; a run begins and ends at such a place.
        for (const LineRun& run : runs) {
            for (double at = run.from; at <= run.to; at += 0.25) {
                EXPECT_TRUE(std::any_of(places.begin(), places.end(), [&](double place) {
                    return std::fabs(place - at) <= run.reach + 0.3;
                })) << at;
            }
        }
    }
    EXPECT_GT(beside, 5000);
}

TEST(LineNeighbours, FindNothingOnceTheBudgetHasEnded) {
    LineNeighbours neighbours;
    LineBudget budget(100); // less than two stretches take
    neighbours.add(lineThrough({{0.0, 0.0}, {100.0, 0.0}}), 0, budget);
    const auto reach = [](std::uint32_t) { return 2.0; };
    EXPECT_TRUE(neighbours.runsOf(lineThrough({{0.0, 1.0}, {100.0, 1.0}}), 1, reach, budget).empty());
    EXPECT_TRUE(budget.isSpent());
}
