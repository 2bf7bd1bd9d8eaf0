#include "import/nearorder.h"

#include "import/normals.h"
#include "support/pollcost.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <random>
#include <tuple>

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

// A square of n by n positions with all that a surface may have, each told apart by its place: row by row, triangles in
// the order of their squares.
Surface sheet(std::uint32_t n) {
    Surface surface;
    surface.parts.resize(3);
    for (std::uint32_t y = 0; y < n; ++y) {
        for (std::uint32_t x = 0; x < n; ++x) {
            const Vec3 p{x * 1.0, y * 1.0, std::sin(x * 0.1) * std::cos(y * 0.1)};
            surface.positions.push_back(p);
            surface.restPositions.push_back(p * 2.0);
            surface.normals.push_back({p.x, p.y, 5.0});
            surface.restNormals.push_back({p.x, p.y, 7.0});
            surface.paint.push_back({p.x, p.y, 0.5});
        }
    }
    for (std::uint32_t y = 0; y + 1 < n; ++y) {
        for (std::uint32_t x = 0; x + 1 < n; ++x) {
            const std::uint32_t a = y * n + x;
            for (const std::uint32_t corner : {a, a + 1, a + n + 1, a, a + n + 1, a + n}) {
                surface.corners.push_back(corner);
                surface.cornerNormals.push_back((x + y) % 7 == 0 ? noIndex : corner);
                surface.cornerPaint.push_back((x + y) % 5 == 0 ? noIndex : corner);
            }
            surface.triangleParts.insert(surface.triangleParts.end(), {x % 3, y % 3});
        }
    }
    surface.hasEdges = true;
    surface.edges.push_back({.first = 0, .count = n});
    for (std::uint32_t i = 0; i < n; ++i) {
        surface.edgePoints.push_back(i * (n + 1)); // the diagonal
    }
    return surface;
}

std::vector<std::uint32_t> shuffled(std::size_t count, std::mt19937& random) {
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    std::shuffle(order.begin(), order.end(), random);
    return order;
}

template <class List> List picked(const List& list, const std::vector<std::uint32_t>& order, std::size_t width = 1) {
    List result;
    for (const std::uint32_t entry : order) {
        const auto first = list.begin() + static_cast<std::ptrdiff_t>(entry * width);
        result.insert(result.end(), first, first + static_cast<std::ptrdiff_t>(width));
    }
    return result;
}

// The same sheet in no order; each of its lists of points in an order of its own.
Surface scrambled(const Surface& given) {
    std::mt19937 random(5);
    Surface surface = given;
    const auto renumber = [&random](std::size_t count, std::vector<std::uint32_t>& order, auto&... lists) {
        order = shuffled(count, random);
        std::vector<std::uint32_t> places(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            places[order[i]] = i;
        }
        const auto follow = [&places](Indices& list) {
            for (std::uint32_t& index : list) {
                index = index != noIndex ? places[index] : noIndex;
            }
        };
        (follow(lists), ...);
    };
    std::vector<std::uint32_t> order;
    renumber(surface.positions.size(), order, surface.corners, surface.edgePoints);
    surface.positions = picked(surface.positions, order);
    surface.restPositions = picked(surface.restPositions, order);
    renumber(surface.normals.size(), order, surface.cornerNormals);
    surface.normals = picked(surface.normals, order);
    surface.restNormals = picked(surface.restNormals, order);
    renumber(surface.paint.size(), order, surface.cornerPaint);
    surface.paint = picked(surface.paint, order);
    order = shuffled(surface.corners.size() / 3, random);
    surface.corners = picked(surface.corners, order, 3);
    surface.cornerNormals = picked(surface.cornerNormals, order, 3);
    surface.cornerPaint = picked(surface.cornerPaint, order, 3);
    surface.triangleParts = picked(surface.triangleParts, order);
    return surface;
}

using Triangle = std::vector<double>;

// All triangles, by what belongs to each and not by numbers, in ascending order.
std::vector<Triangle> trianglesOf(const Surface& surface) {
    std::vector<Triangle> all;
    const auto add = [](Triangle& triangle, const Points& list, std::uint32_t number) {
        const Vec3 p = number != noIndex ? list[number] : Vec3{-1.0, -1.0, -1.0};
        triangle.insert(triangle.end(), {p.x, p.y, p.z});
    };
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        if (c % 3 == 0) {
            all.push_back({static_cast<double>(surface.triangleParts[c / 3])});
        }
        add(all.back(), surface.positions, surface.corners[c]);
        add(all.back(), surface.restPositions, surface.corners[c]);
        add(all.back(), surface.normals, surface.cornerNormals[c]);
        add(all.back(), surface.restNormals, surface.cornerNormals[c]);
        add(all.back(), surface.paint, surface.cornerPaint[c]);
    }
    std::sort(all.begin(), all.end());
    return all;
}

bool jumps(const Surface& surface) {
    WorkWatch watch;
    return jumpsAbout(surface, watch);
}

bool putNear(Surface& surface) {
    WorkWatch watch;
    return putNearTogether(surface, watch);
}

TEST(NearOrder, WhatIsInNoOrderComesIntoOne) {
    const Surface given = sheet(200);
    ASSERT_FALSE(jumps(given));
    Surface surface = scrambled(given);
    ASSERT_TRUE(jumps(surface));
    EXPECT_TRUE(putNear(surface));
    EXPECT_FALSE(jumps(surface));
    EXPECT_EQ(surface.positions.size(), given.positions.size());
    EXPECT_TRUE(trianglesOf(surface) == trianglesOf(given));
    for (std::uint32_t i = 0; i < given.edgePoints.size(); ++i) {
        EXPECT_EQ(surface.positions[surface.edgePoints[i]], given.positions[given.edgePoints[i]]);
    }
}

// Most triangles follow one a few steps away, and so do normals; in no order one in a thousand would.
TEST(NearOrder, NeighboursInTheListsAreNeighboursInSpace) {
    Surface surface = scrambled(sheet(200));
    ASSERT_TRUE(putNear(surface));
    std::size_t nearTriangles = 0;
    std::size_t nearNormals = 0;
    std::size_t nearPaint = 0;
    const std::size_t triangles = surface.corners.size() / 3;
    for (std::size_t t = 1; t < triangles; ++t) {
        const Vec3 one = surface.positions[surface.corners[t * 3 - 3]];
        nearTriangles += length(surface.positions[surface.corners[t * 3]] - one) < 5.0 ? 1 : 0;
    }
    for (std::size_t i = 1; i < surface.normals.size(); ++i) {
        nearNormals += length(surface.normals[i] - surface.normals[i - 1]) < 5.0 ? 1 : 0;
    }
    for (std::size_t i = 1; i < surface.paint.size(); ++i) {
        nearPaint += length(surface.paint[i] - surface.paint[i - 1]) < 5.0 ? 1 : 0;
    }
    EXPECT_GT(nearTriangles, triangles * 9 / 10);
    EXPECT_GT(nearNormals, surface.normals.size() * 17 / 20);
    EXPECT_GT(nearPaint, surface.paint.size() * 17 / 20);
}

TEST(NearOrder, WhatIsInOrderStaysAsItIs) {
    const Surface given = sheet(200);
    Surface surface = given;
    EXPECT_FALSE(putNear(surface));
    EXPECT_TRUE(surface.positions == given.positions);
    EXPECT_TRUE(surface.corners == given.corners);
}

// Of a surface that a cache holds whole the order does not matter, so it stays the file's.
TEST(NearOrder, ASmallSurfaceStaysAsItIs) {
    const Surface given = scrambled(sheet(100));
    Surface surface = given;
    EXPECT_FALSE(putNear(surface));
    EXPECT_TRUE(surface.positions == given.positions);
    EXPECT_TRUE(surface.corners == given.corners);
}

// Each of its lines is fetched once, which is much for few triangles, and no order would be better.
TEST(NearOrder, LooseTrianglesThatACacheHoldsStayAsTheyAre) {
    Surface surface;
    for (std::uint32_t i = 0; i < 10'000; ++i) {
        surface.positions.push_back({i * 1.0, i % 3 * 1.0, 0.0});
        surface.corners.push_back(i);
    }
    surface.corners.resize(9'999);
    EXPECT_FALSE(jumps(surface));
}

// Frames of an animation draw the same lines with the same hand.
TEST(NearOrder, AllPosesHaveOneOrder) {
    Surface one = scrambled(sheet(200));
    Surface other = one;
    for (Vec3& p : other.positions) {
        p = {-p.y, p.z * 3.0, p.x};
    }
    ASSERT_TRUE(putNear(one));
    ASSERT_TRUE(putNear(other));
    EXPECT_TRUE(one.corners == other.corners);
    EXPECT_TRUE(one.restPositions == other.restPositions);
}

TEST(NearOrder, PositionsThatNothingUsesAndOnesFarAwayDoNoHarm) {
    Surface surface = scrambled(sheet(200));
    const std::vector<Triangle> before = trianglesOf(surface);
    for (const double far : {1e30, -1e30}) {
        surface.positions.push_back({far, far, far});
        surface.restPositions.push_back({far, far, far});
    }
    putNear(surface);
    EXPECT_TRUE(trianglesOf(surface) == before);
}

TEST(NearOrder, AllInOnePlaceDoesNoHarm) {
    Surface surface = scrambled(sheet(200));
    surface.restPositions.assign(surface.restPositions.size(), {1.0, 2.0, 3.0});
    const std::vector<Triangle> before = trianglesOf(surface);
    EXPECT_TRUE(putNear(surface));
    EXPECT_TRUE(trianglesOf(surface) == before);
}

TEST(NearOrder, WeldingPutsTogetherWhatItWelds) {
    Surface surface = scrambled(sheet(200));
    const std::vector<Triangle> before = trianglesOf(surface);
    EXPECT_EQ(weldSurface(surface), 0U);
    EXPECT_FALSE(jumps(surface));
    EXPECT_TRUE(trianglesOf(surface) == before);
}

TEST(NearOrder, AsksForACancelByCost) {
    Surface given = scrambled(sheet(1000));
    Surface surface = given;
    PollCost::expectAllowed([&] {
        try {
            surface = given; // in the same memory
            WorkWatch watch([] {
                if (kivIsCancelled()) {
                    throw ImportCancelled();
                }
            });
            putNearTogether(surface, watch);
        } catch (const ImportCancelled&) {
            // as the import itself ends
        }
    });
}

} // namespace
