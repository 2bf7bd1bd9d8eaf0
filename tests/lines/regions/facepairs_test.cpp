#include "kivrender/lines/regions/facepairs.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

constexpr double side = 100.0;

using Corners = std::array<KivSeenCorner, 3>;

KivSeenCorner randomCorner(RawRandom& random, const KivSeenCorner& about, double reach) {
    const auto near = [&](double value, double far) {
        return std::clamp(value + random.between(-far, far), 0.0, side);
    };
    return {near(about.x, reach), near(about.y, reach), about.depth + random.between(-0.004, 0.004) * reach};
}

// Broad enough to be a face on the grid.
bool isBroad(const Corners& face) {
    return std::fabs((face[1].x - face[0].x) * (face[2].y - face[0].y) -
                     (face[2].x - face[0].x) * (face[1].y - face[0].y)) > 0.1;
}

// Small ones, large ones, and slivers that lie aslant across everything.
std::vector<Corners> randomFaces(RawRandom& random, int count) {
    std::vector<Corners> faces;
    for (int i = 0; i < count; ++i) {
        const KivSeenCorner middle = {random.between(0.0, side), random.between(0.0, side), random.between(0.3, 0.7)};
        const double reach = i % 3 == 0 ? 40.0 : 4.0;
        Corners face = {randomCorner(random, middle, reach), randomCorner(random, middle, reach),
                        randomCorner(random, middle, reach)};
        if (i % 3 == 1) {
            face[1] = randomCorner(random, middle, side);
            face[2] = {face[1].x + 0.5, std::min(face[1].y + 0.5, side), face[1].depth};
            face[2].x = std::min(face[2].x, side);
        }
        if (isBroad(face)) {
            faces.push_back(face);
        }
    }
    return faces;
}

// The depth of a face at a place; false outside.
bool depthAt(const Corners& face, double x, double y, double* depth) {
    const double x1 = face[1].x - face[0].x;
    const double y1 = face[1].y - face[0].y;
    const double x2 = face[2].x - face[0].x;
    const double y2 = face[2].y - face[0].y;
    const double area = x1 * y2 - x2 * y1;
    const double u = ((x - face[0].x) * y2 - (y - face[0].y) * x2) / area;
    const double v = (x1 * (y - face[0].y) - y1 * (x - face[0].x)) / area;
    *depth = face[0].depth + u * (face[1].depth - face[0].depth) + v * (face[2].depth - face[0].depth);
    return std::fabs(area) > 0.1 && u > 0.01 && v > 0.01 && u + v < 0.99;
}

// Whether samples tell that one face is before the other here and behind it there.
bool cross(const Corners& p, const Corners& q) {
    bool isBefore = false;
    bool isBehind = false;
    constexpr int steps = 40;
    for (int i = 1; i < steps; ++i) {
        for (int k = 1; i + k < steps; ++k) {
            const double u = static_cast<double>(i) / steps;
            const double v = static_cast<double>(k) / steps;
            const double x = p[0].x + u * (p[1].x - p[0].x) + v * (p[2].x - p[0].x);
            const double y = p[0].y + u * (p[1].y - p[0].y) + v * (p[2].y - p[0].y);
            double own = 0.0;
            double other = 0.0;
            if (depthAt(p, x, y, &own) && depthAt(q, x, y, &other)) {
                isBefore = isBefore || own < other - 1e-3;
                isBehind = isBehind || own > other + 1e-3;
            }
        }
    }
    return isBefore && isBehind;
}

bool holds(const std::vector<FacePair>& pairs, std::uint32_t first, std::uint32_t second) {
    return std::find(pairs.begin(), pairs.end(), FacePair{first, second}) != pairs.end();
}

TEST(FacePairs, AreAllThatCrossAndDifferInTheirLooks) {
    RawRandom random(11);
    int crossing = 0;
    for (int round = 0; round < 6; ++round) {
        const std::vector<Corners> soup = randomFaces(random, 150);
        RegionFaces faces;
        for (std::size_t i = 0; i < soup.size(); ++i) {
            faces.add(soup[i], static_cast<std::uint32_t>(i * i % 3), side, side);
        }
        ASSERT_EQ(faces.faces().size(), soup.size()); // a face keeps its number
        ASSERT_TRUE(faces.build());
        std::vector<FacePair> pairs;
        bool tooMany = true;
        ASSERT_TRUE(findFacePairs(faces, pairs, &tooMany));
        EXPECT_FALSE(tooMany);
        for (std::uint32_t i = 0; i < soup.size(); ++i) {
            for (std::uint32_t k = i + 1; k < soup.size(); ++k) {
                if (faces.faces()[i].look != faces.faces()[k].look && cross(soup[i], soup[k])) {
                    EXPECT_TRUE(holds(pairs, i, k)) << round << ": " << i << ", " << k;
                    ++crossing;
                }
            }
        }
        for (const auto& [first, second] : pairs) {
            EXPECT_LT(first, second);
            EXPECT_NE(faces.faces()[first].look, faces.faces()[second].look);
        }
    }
    EXPECT_GT(crossing, 100);
}

// A sheet of squares in two looks, aslant in depth: neighbours touch and are no pairs, nor is what lies behind them.
TEST(FacePairs, AreNoNeighboursAndNothingFarBehind) {
    RegionFaces faces;
    for (int i = 0; i < 400; ++i) {
        const double x = 5.0 * (i % 20);
        const double y = 5.0 * (i / 20);
        for (const double behind : {0.0, 0.002}) {
            const auto at = [&](double px, double py) { return KivSeenCorner{px, py, 0.1 + 0.005 * px + behind}; };
            const std::array<KivSeenCorner, 4> square = {at(x, y), at(x + 5.0, y), at(x + 5.0, y + 5.0),
                                                         at(x, y + 5.0)};
            faces.add(square, static_cast<std::uint32_t>(i % 2), side, side);
        }
    }
    ASSERT_TRUE(faces.build());
    std::vector<FacePair> pairs = {{0, 1}};
    bool tooMany = true;
    ASSERT_TRUE(findFacePairs(faces, pairs, &tooMany));
    EXPECT_FALSE(tooMany);
    EXPECT_TRUE(pairs.empty()) << pairs.size();
}

TEST(FacePairs, OfFacesInOnePlaneCountWhereTheyOverlap) {
    RegionFaces faces;
    const auto square = [&](double left, double depth, std::uint32_t look) {
        const Corners corners = {KivSeenCorner{left, 10.0, depth}, KivSeenCorner{left + 20.0, 10.0, depth},
                                 KivSeenCorner{left, 30.0, depth}};
        faces.add(corners, look, side, side);
    };
    square(10.0, 0.5, 0);
    square(15.0, 0.5, 1);
    square(50.0, 0.5, 2);
    square(15.0, 0.6, 3);
    ASSERT_TRUE(faces.build());
    std::vector<FacePair> pairs;
    bool tooMany = true;
    ASSERT_TRUE(findFacePairs(faces, pairs, &tooMany));
    EXPECT_EQ(pairs, (std::vector<FacePair>{{0, 1}}));
}

TEST(FacePairs, AreGivenUpWhereEverythingMeetsEverything) {
    RawRandom random(5);
    RegionFaces faces;
    for (std::uint32_t i = 0; i < 3000; ++i) {
        const auto depth = [&] { return random.between(0.2, 0.8); };
        const Corners corners = {KivSeenCorner{0.0, 0.0, depth()}, KivSeenCorner{side, 0.0, depth()},
                                 KivSeenCorner{0.0, side, depth()}};
        faces.add(corners, i, side, side);
    }
    ASSERT_TRUE(faces.build());
    std::vector<FacePair> pairs;
    bool tooMany = false;
    ASSERT_TRUE(findFacePairs(faces, pairs, &tooMany));
    EXPECT_TRUE(tooMany);
    EXPECT_TRUE(pairs.empty());
}

TEST(FacePairs, OfNothingAreNone) {
    RegionFaces faces;
    ASSERT_TRUE(faces.build());
    std::vector<FacePair> pairs = {{0, 1}};
    bool tooMany = true;
    ASSERT_TRUE(findFacePairs(faces, pairs, &tooMany));
    EXPECT_FALSE(tooMany);
    EXPECT_TRUE(pairs.empty());
}

} // namespace
