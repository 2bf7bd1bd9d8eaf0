#include "kivrender/lines/kivfeaturechains.h"

#include "support/surfaceshapes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::vector<std::uint32_t> pointsOf(const KivFeatureChain& chain, const std::vector<KivFeatureEdge>& edges) {
    std::vector<std::uint32_t> points;
    for (std::size_t i = 0; i < chain.edges.size(); ++i) {
        const KivFeatureEdge& edge = edges[chain.edges[i]];
        points.push_back(chain.reversed[i] ? edge.b : edge.a);
    }
    const KivFeatureEdge& last = edges[chain.edges.back()];
    points.push_back(chain.reversed.back() ? last.a : last.b);
    return points;
}

KivFeatureDirections directionsOf(const std::vector<KivVec>& points, const std::vector<KivFeatureEdge>& edges) {
    KivFeatureDirections directions;
    for (const KivFeatureEdge& edge : edges) {
        directions.push_back(kivUnit(points[edge.b] - points[edge.a]));
    }
    return directions;
}

} // namespace

TEST(KivFeatureChains, HoldEveryEdgeOnceAndHangTogether) {
    std::mt19937 words(9);
    for (int run = 0; run < 500; ++run) {
        const std::uint32_t count = 3 + words() % 12;
        std::vector<KivVec> points;
        for (std::uint32_t i = 0; i < count; ++i) {
            points.push_back({signedUnit(words), signedUnit(words), 0.0});
        }
        std::vector<KivFeatureEdge> edges;
        for (std::uint32_t a = 0; a < count; ++a) {
            for (std::uint32_t b = a + 1; b < count; ++b) {
                if (words() % 3 == 0) {
                    edges.push_back({a, b, static_cast<KivFeatureKind>(words() % 2 * 2), a});
                }
            }
        }
        const KivFeatureDirections directions = directionsOf(points, edges);
        std::vector<int> used(edges.size(), 0);
        std::vector<std::vector<int>> ends(count, std::vector<int>(3, 0));
        for (const KivFeatureChain& chain : kivFeatureChains(edges, directions)) {
            const std::vector<std::uint32_t> path = pointsOf(chain, edges);
            ASSERT_EQ(path.size(), chain.edges.size() + 1);
            for (std::size_t i = 0; i < chain.edges.size(); ++i) {
                const KivFeatureEdge& edge = edges[chain.edges[i]];
                ++used[chain.edges[i]];
                EXPECT_EQ(edge.kind, edges[chain.edges[0]].kind);
                EXPECT_EQ(path[i + 1], chain.reversed[i] ? edge.a : edge.b);
            }
            if (chain.closed) {
                EXPECT_EQ(path.front(), path.back());
            } else {
                ++ends[path.front()][static_cast<int>(edges[chain.edges[0]].kind)];
                ++ends[path.back()][static_cast<int>(edges[chain.edges[0]].kind)];
            }
        }
        EXPECT_EQ(std::count(used.begin(), used.end(), 1), static_cast<std::ptrdiff_t>(edges.size()));
        // Where exactly two edges of a kind meet, no chain ends.
        for (std::uint32_t p = 0; p < count; ++p) {
            for (const int kind : {0, 2}) {
                const auto here = std::count_if(edges.begin(), edges.end(), [&](const KivFeatureEdge& edge) {
                    return static_cast<int>(edge.kind) == kind && (edge.a == p || edge.b == p);
                });
                if (here == 2) {
                    EXPECT_EQ(ends[p][kind], 0);
                }
            }
        }
    }
}

TEST(KivFeatureChains, GoStraightOnAtACrossing) {
    const std::vector<KivVec> points = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, 0}};
    std::vector<KivFeatureEdge> edges = {{0, 4, {}, 0}, {1, 4, {}, 0}, {2, 4, {}, 0}, {3, 4, {}, 0}};
    const auto chains = kivFeatureChains(edges, directionsOf(points, edges));
    ASSERT_EQ(chains.size(), 2U);
    EXPECT_EQ(pointsOf(chains[0], edges), (std::vector<std::uint32_t>{0, 4, 1}));
    EXPECT_EQ(pointsOf(chains[1], edges), (std::vector<std::uint32_t>{2, 4, 3}));
}

TEST(KivFeatureChains, CloseARing) {
    std::vector<KivVec> points;
    std::vector<KivFeatureEdge> edges;
    for (std::uint32_t i = 0; i < 12; ++i) {
        points.push_back({std::cos(i * 0.5236), std::sin(i * 0.5236), 0.0});
        const std::uint32_t j = (i + 1) % 12;
        edges.push_back({std::min(i, j), std::max(i, j), KivFeatureKind::silhouette, 0});
    }
    const auto chains = kivFeatureChains(edges, directionsOf(points, edges));
    ASSERT_EQ(chains.size(), 1U);
    EXPECT_TRUE(chains[0].closed);
    EXPECT_EQ(chains[0].size(), 12U);
}

TEST(KivFeatureChains, AreNoneOfNothing) {
    EXPECT_TRUE(kivFeatureChains({}, {}).empty());
}
