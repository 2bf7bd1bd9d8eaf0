#include "kivrender/lines/write/travelorder.h"

#include "support/rawrandom.h"

#include <cmath>
#include <limits>
#include <set>

#include <gtest/gtest.h>

namespace {

double distance(const KivPicturePoint& a, const KivPicturePoint& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

// The literal form: each time all ends are looked at.
double travelOfNearest(std::vector<PenLine> lines) {
    double travel = 0.0;
    KivPicturePoint at;
    while (!lines.empty()) {
        std::size_t best = 0;
        double least = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const double d = std::min(distance(at, lines[i].start), distance(at, lines[i].end));
            if (d < least) {
                least = d;
                best = i;
            }
        }
        travel += least;
        const PenLine line = lines[best];
        at = distance(at, line.start) <= distance(at, line.end) ? line.end : line.start;
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(best));
    }
    return travel;
}

double travelOf(const std::vector<PenLine>& lines, const std::vector<PenTurn>& turns) {
    double travel = 0.0;
    KivPicturePoint at;
    for (const PenTurn& turn : turns) {
        const PenLine& line = lines[turn.line];
        travel += distance(at, turn.isReversed ? line.end : line.start);
        at = turn.isReversed ? line.start : line.end;
    }
    return travel;
}

std::vector<PenLine> someLines(int count, std::uint32_t seed) {
    RawRandom random(seed);
    std::vector<PenLine> lines;
    for (int i = 0; i < count; ++i) {
        const KivPicturePoint start = {random.between(0, 1000), random.between(0, 1000)};
        lines.push_back({start, {start.x + random.between(-40, 40), start.y + random.between(-40, 40)}});
    }
    return lines;
}

} // namespace

TEST(TravelOrder, EachLineIsDrawnOnceFromItsNearerEnd) {
    const std::vector<PenLine> lines = {{{100, 0}, {50, 0}}, {{0, 0}, {10, 0}}, {{49, 0}, {11, 0}}};
    KivPicturePoint at;
    const std::vector<PenTurn> turns = kivTravelOrder(lines, &at, {});
    ASSERT_EQ(turns.size(), 3U);
    EXPECT_EQ(turns[0].line, 1U);
    EXPECT_FALSE(turns[0].isReversed);
    EXPECT_EQ(turns[1].line, 2U);
    EXPECT_TRUE(turns[1].isReversed);
    EXPECT_EQ(turns[2].line, 0U);
    EXPECT_TRUE(turns[2].isReversed);
    EXPECT_EQ(at.x, 100.0);
}

TEST(TravelOrder, IsThatOfTheNearestEnd) {
    for (const std::uint32_t seed : {1U, 2U, 3U}) {
        const std::vector<PenLine> lines = someLines(400, seed);
        KivPicturePoint at;
        const std::vector<PenTurn> turns = kivTravelOrder(lines, &at, {});
        std::set<std::size_t> drawn;
        for (const PenTurn& turn : turns) {
            drawn.insert(turn.line);
        }
        EXPECT_EQ(drawn.size(), lines.size());
        EXPECT_NEAR(travelOf(lines, turns), travelOfNearest(lines), 1e-6);
    }
}

TEST(TravelOrder, ManyLinesInOnePlaceTakeNoTime) {
    std::vector<PenLine> lines(200000, PenLine{{5, 5}, {6, 6}});
    lines.push_back({{1e6, 1e6}, {1e6, 0}});
    KivPicturePoint at;
    EXPECT_EQ(kivTravelOrder(lines, &at, {}).size(), lines.size());
    KivPicturePoint again;
    EXPECT_TRUE(kivTravelOrder({}, &again, {}).empty());
}

TEST(TravelOrder, ACancelEndsIt) {
    const std::vector<PenLine> lines = someLines(5000, 7);
    KivPicturePoint at;
    int polls = 0;
    EXPECT_LT(kivTravelOrder(lines, &at, [&polls] { return ++polls > 3; }).size(), 2000U);
}
