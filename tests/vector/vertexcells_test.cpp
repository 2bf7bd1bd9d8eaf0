#include "vector/vectortesting.h"

#include "kivrender/vector/vertexcells.h"

#include <algorithm>
#include <cmath>
#include <limits>

using vectortest::Random;
using vectortest::vertex;

namespace {

// Two floats that vertices take for equal, at any distance from the origin.
std::pair<float, float> equalPair(Random& random) {
    const float size = std::ldexp(1.0F, static_cast<int>(random.below(60)) - 10);
    const float first = (random.chance(2) ? size : -size) * (random.chance(3) ? 1.0F : 1 + random.unit());
    const float second = first + 0.002F * (random.unit() - 0.5F);
    return FeedbackVertex::closeTogether(first, second) ? std::pair(first, second) : std::pair(first, first);
}

bool isAround(double coordinate, double other) {
    const VertexCells::Pair pair(coordinate);
    return std::find(pair.cells, pair.cells + pair.count, VertexCells::cellOf(other)) != pair.cells + pair.count;
}

TEST(VertexCells, WhatIsEqualStandsInACellAround) {
    Random random(3);
    for (int round = 0; round < 200000; ++round) {
        const auto [a, b] = equalPair(random);
        ASSERT_TRUE(isAround(a, b)) << a << " " << b;
        // The middles of sides with the same ends.
        const auto [c, d] = equalPair(random);
        const double first = VertexCells::middle(vertex(a, 0), vertex(c, 0)).x;
        const double second = VertexCells::middle(vertex(b, 0), vertex(d, 0)).x;
        ASSERT_TRUE(isAround(first, second)) << a << " " << b << " " << c << " " << d;
    }
}

TEST(VertexCells, CellsGrowWithTheCoordinate) {
    Random random(4);
    for (int round = 0; round < 20000; ++round) {
        const double low = equalPair(random).first;
        const double high = std::nextafter(static_cast<float>(low), std::numeric_limits<float>::max());
        ASSERT_LE(VertexCells::cellOf(low), VertexCells::cellOf(high)) << low;
    }
}

TEST(VertexCells, OneCellAroundRoundCoordinates) {
    for (int hundredth = -300; hundredth <= 300; ++hundredth) {
        const double coordinate = hundredth / 100.0 * (hundredth % 3 == 0 ? 100 : 1);
        if (std::floor(coordinate) == coordinate) {
            EXPECT_EQ(VertexCells::Pair(coordinate).count, 1) << coordinate;
        }
        EXPECT_FALSE(isAround(coordinate, coordinate + 0.01)) << coordinate;
    }
}

TEST(VertexCells, AllKeysAroundAPlace) {
    // In the corner of eight cells.
    double inside = 0.5;
    double border = 0.51;
    while (border - inside > 1e-12) {
        const double middle = (inside + border) / 2;
        (VertexCells::cellOf(middle) == VertexCells::cellOf(0.5) ? inside : border) = middle;
    }
    std::vector<std::uint64_t> keys;
    VertexCells::forEachKeyAround({border, border, border}, [&](std::uint64_t key) { keys.push_back(key); });
    EXPECT_EQ(keys.size(), 8U);
    for (const double x : {border, border - 1e-9}) {
        for (const double y : {border, border - 1e-9}) {
            for (const double z : {border, border - 1e-9})
                EXPECT_THAT(keys, testing::Contains(VertexCells::keyOf({x, y, z})));
        }
    }
}

} // namespace
