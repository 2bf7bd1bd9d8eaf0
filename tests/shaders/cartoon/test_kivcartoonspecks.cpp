#include "kivcartoonspecks.h"

#include "../shapes.h"
#include "kivcartoonpainter.h"
#include "support/pollcounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

namespace {

constexpr int pixels = 100; // of the picture, which spans two units
constexpr int perPixel = 6; // samples in each direction
constexpr float base = 0.2F;
const KivToneEdge middle = {0.5F, 0.49F, 0.51F};

KivView frontView() {
    return parallelView({0.0, 0.0, 5.0}, 1.0, 1.0, 40.0, pixels);
}

// A square net of so many cells with 4 pixels each, from the lower left corner of the picture.
class Net {
public:
    explicit Net(int numCells) : cells(numCells) {
        for (int j = 0; j <= cells; ++j) {
            for (int i = 0; i <= cells; ++i) {
                batch.vertices.push_back(at(i, j));
            }
        }
        for (int j = 0; j < cells; ++j) {
            for (int i = 0; i < cells; ++i) {
                add(number(i, j), number(i + 1, j), number(i + 1, j + 1));
                add(number(i, j), number(i + 1, j + 1), number(i, j + 1));
            }
        }
    }

    std::uint32_t number(int i, int j) const {
        return static_cast<std::uint32_t>(j * (cells + 1) + i);
    }
    float& light(int i, int j) {
        return batch.vertices[number(i, j)].light;
    }
    void remove(double smallestArea, double thinnest = 0.0) {
        kivRemoveSpecks({smallestArea, thinnest, {middle}, {}}, frontView(), batch);
    }

    // For each sample of the net whether it is light: looked up triangle by triangle.
    std::vector<bool> samples() const {
        const int across = cells * 4 * perPixel;
        std::vector<bool> result(static_cast<std::size_t>(across) * static_cast<std::size_t>(across));
        for (int y = 0; y < across; ++y) {
            for (int x = 0; x < across; ++x) {
                const double u = (x + 0.5) / (4.0 * perPixel);
                const double v = (y + 0.5) / (4.0 * perPixel);
                result[static_cast<std::size_t>(y) * static_cast<std::size_t>(across) + static_cast<std::size_t>(x)] =
                    lightAt(u, v) >= middle.at;
            }
        }
        return result;
    }

    KivCartoonBatch batch;
    int cells;

private:
    KivCartoonVertex at(int i, int j) const {
        constexpr float cell = 4.0F * 2.0F / pixels;
        return {static_cast<float>(i) * cell - 1.0F, static_cast<float>(j) * cell - 1.0F, 0.0F, base, 0.0F};
    }
    void add(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        batch.front.insert(batch.front.end(), {a, b, c});
    }
    double lightAt(double u, double v) const {
        const int i = std::min(static_cast<int>(u), cells - 1);
        const int j = std::min(static_cast<int>(v), cells - 1);
        const double s = u - i;
        const double t = v - j;
        const auto value = [&](int p, int q) { return static_cast<double>(batch.vertices[number(p, q)].light); };
        return s >= t ? value(i, j) * (1.0 - s) + value(i + 1, j) * (s - t) + value(i + 1, j + 1) * t
                      : value(i, j) * (1.0 - t) + value(i, j + 1) * (t - s) + value(i + 1, j + 1) * s;
    }
};

// For each sample the area in pixels of what hangs together with it; its tone's edge to the rest counts as well.
std::vector<double> areasOf(const std::vector<bool>& samples) {
    const int across = static_cast<int>(std::lround(std::sqrt(static_cast<double>(samples.size()))));
    std::vector<double> areas(samples.size(), 0.0);
    std::vector<std::size_t> part;
    for (std::size_t first = 0; first < samples.size(); ++first) {
        if (areas[first] > 0.0) {
            continue;
        }
        part.assign(1, first);
        areas[first] = 1.0;
        for (std::size_t k = 0; k < part.size(); ++k) {
            const int x = static_cast<int>(part[k]) % across;
            const int y = static_cast<int>(part[k]) / across;
            for (int q = std::max(0, y - 1); q <= std::min(across - 1, y + 1); ++q) {
                for (int p = std::max(0, x - 1); p <= std::min(across - 1, x + 1); ++p) {
                    const auto next =
                        static_cast<std::size_t>(q) * static_cast<std::size_t>(across) + static_cast<std::size_t>(p);
                    if (areas[next] == 0.0 && samples[next] == samples[first]) {
                        areas[next] = 1.0;
                        part.push_back(next);
                    }
                }
            }
        }
        for (const std::size_t s : part) {
            areas[s] = static_cast<double>(part.size()) / (perPixel * perPixel);
        }
    }
    return areas;
}

double lightArea(const Net& net) {
    const std::vector<bool> samples = net.samples();
    return static_cast<double>(std::count(samples.begin(), samples.end(), true)) / (perPixel * perPixel);
}

} // namespace

TEST(KivRemoveSpecks, AnIslandGoesIfItIsSmallerThanAsked) {
    Net net(12);
    net.light(5, 5) = 0.9F;
    const double area = lightArea(net);
    ASSERT_GT(area, 10.0);
    net.remove(area * 0.9);
    EXPECT_NEAR(lightArea(net), area, 1e-9);
    net.remove(area * 1.1);
    EXPECT_EQ(lightArea(net), 0.0);
    EXPECT_EQ(net.light(5, 5), middle.below);
}

TEST(KivRemoveSpecks, WhatAnIslandLeavesBehindBelongsToWhatIsAround) {
    // A small dark place in the light, with an island of light.
    Net net(20);
    for (int j = 0; j <= 20; ++j) {
        for (int i = 0; i <= 20; ++i) {
            net.light(i, j) = i >= 8 && i <= 12 && j >= 8 && j <= 12 && !(i == 10 && j == 10) ? base : 0.8F;
        }
    }
    const double ring = 80.0 * 80.0 - lightArea(net);
    net.light(10, 10) = base;
    const double island = 80.0 * 80.0 - lightArea(net) - ring;
    net.light(10, 10) = 0.8F;
    ASSERT_GT(island, 5.0);
    net.remove(ring + 0.5 * island);
    EXPECT_EQ(net.light(10, 10), middle.below);
    EXPECT_EQ(net.light(9, 10), base) << "together they are large enough";
}

TEST(KivRemoveSpecks, AfterACancelNoEdgeIsLookedAt) {
    Net net(12);
    net.light(5, 5) = 0.9F;
    PollCounter cancelled(1);
    const ScopedProgress progress(cancelled);
    net.remove(lightArea(net) * 1.1);
    EXPECT_EQ(net.light(5, 5), 0.9F);
}

TEST(KivRemoveSpecks, AHoleIsFilledAndTwoThatHangTogetherCountAsOne) {
    Net net(12);
    for (KivCartoonVertex& v : net.batch.vertices) {
        v.light = 0.8F;
    }
    net.light(3, 3) = 0.1F;
    net.light(8, 8) = 0.1F;
    net.light(9, 8) = 0.1F;
    const double all = 48.0 * 48.0;
    const double area = all - lightArea(net);
    net.remove(area * 0.45);
    EXPECT_EQ(net.light(3, 3), middle.above);
    EXPECT_EQ(net.light(8, 8), 0.1F);
    EXPECT_EQ(net.light(9, 8), 0.1F);
}

TEST(KivRemoveSpecks, AThinNeckDoesNotHoldAnIsland) {
    // Two islands, the larger one of a row of vertices, joined along a side that is hardly light.
    Net net(12);
    net.light(2, 5) = 0.9F;
    net.light(3, 5) = 0.501F;
    for (int i = 4; i < 11; ++i) {
        net.light(i, 5) = 0.9F;
    }
    Net held = net;
    held.remove(40.0);
    EXPECT_EQ(held.light(2, 5), 0.9F);
    net.remove(40.0, 0.5);
    EXPECT_EQ(net.light(2, 5), middle.below);
    EXPECT_EQ(net.light(4, 5), 0.9F);
}

TEST(KivRemoveSpecks, AStripAboutARowOfVerticesIsAsWideAsItsTwoHalves) {
    // 2.3 pixels on each side of the row.
    Net net(12);
    for (int i = 1; i < 11; ++i) {
        net.light(i, 6) = 0.9F;
    }
    net.remove(60.0, 3.0);
    EXPECT_EQ(net.light(1, 6), 0.9F);
    EXPECT_EQ(net.light(10, 6), 0.9F);
    net.remove(60.0, 6.0);
    EXPECT_EQ(net.light(10, 6), middle.below);
}

TEST(KivRemoveSpecks, WhatEdgesBoundOnAllSidesStays) {
    // A square of two cells that shares no vertex with the net.
    Net net(12);
    const auto first = static_cast<std::uint32_t>(net.batch.vertices.size());
    for (const auto& [i, j] : {std::pair(4, 4), std::pair(5, 4), std::pair(5, 5)}) {
        KivCartoonVertex v = net.batch.vertices[net.number(i, j)];
        v.light = 0.9F;
        net.batch.vertices.push_back(v);
    }
    const std::vector<KivCartoonVertex> before = net.batch.vertices;
    net.batch.front.insert(net.batch.front.end(), {first, first + 1, first + 2});
    net.light(9, 9) = 0.9F; // something to remove
    net.remove(1000.0);
    EXPECT_EQ(net.light(9, 9), middle.below);
    for (std::uint32_t v = first; v < first + 3; ++v) {
        EXPECT_EQ(net.batch.vertices[v].light, 0.9F);
    }
}

TEST(KivRemoveSpecks, PiecesThatRepeatTheirCornersHangTogether) {
    // A light strip of many triangles, each with corners of its own.
    Net net(12);
    for (int i = 1; i < 11; ++i) {
        net.light(i, 6) = 0.9F;
    }
    KivCartoonBatch apart;
    for (const std::uint32_t v : net.batch.front) {
        apart.front.push_back(static_cast<std::uint32_t>(apart.vertices.size()));
        apart.vertices.push_back(net.batch.vertices[v]);
    }
    const std::vector<KivCartoonVertex> before = apart.vertices;
    kivRemoveSpecks({60.0, 0.0, {middle}, {}}, frontView(), apart);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), apart.vertices.begin(),
                           [](const auto& a, const auto& b) { return a.light == b.light; }));
    kivRemoveSpecks({2000.0, 0.0, {middle}, {}}, frontView(), apart);
    EXPECT_TRUE(
        std::all_of(apart.vertices.begin(), apart.vertices.end(), [](const auto& v) { return v.light < middle.at; }));
}

TEST(KivRemoveSpecks, LeavesNoneOfARoughSurfaceAndHardlyChangesAnythingElse) {
    constexpr double smallest = 24.0;
    std::mt19937 random(11);
    int removed = 0;
    int changed = 0;
    for (int round = 0; round < 12; ++round) {
        Net net(14);
        for (KivCartoonVertex& v : net.batch.vertices) {
            v.light = static_cast<float>(random() % 1000) / 1000.0F;
        }
        const std::vector<bool> before = net.samples();
        const std::vector<double> areas = areasOf(before);
        net.remove(smallest, 0.5);
        const std::vector<bool> after = net.samples();
        const std::vector<double> left = areasOf(after);
        // Samples tell areas roughly, and what hangs together by thin necks counts as parts of its own.
        for (std::size_t i = 0; i < after.size(); ++i) {
            ASSERT_GT(left[i], smallest * 0.8) << i << " in round " << round;
            if (before[i] != after[i]) {
                removed += areas[i] < smallest * 1.2 ? 1 : 0;
                ++changed;
            }
        }
    }
    EXPECT_GT(removed, 1000);
    EXPECT_GT(removed, changed * 0.8);
}

TEST(KivRemoveSpecks, HighlightsToo) {
    Net net(12);
    for (KivCartoonVertex& v : net.batch.vertices) {
        v.shine = 0.1F;
    }
    net.batch.vertices[net.number(6, 6)].shine = 0.9F;
    kivRemoveSpecks({100.0, 0.0, {}, {middle}}, frontView(), net.batch);
    EXPECT_EQ(net.batch.vertices[net.number(6, 6)].shine, middle.below);
}

TEST(KivSpeckRules, HaveTheSharpEdgesOfTheLook) {
    KivCartoonColors colors;
    colors.bands.count = 4;
    colors.bands.softness = 0.04;
    const KivSpeckRules rules = kivSpeckRules(colors, 12.0, 4.0);
    ASSERT_EQ(rules.light.size(), 3U);
    EXPECT_TRUE(rules.shine.empty());
    EXPECT_EQ(rules.smallestArea, 192.0);
    EXPECT_EQ(rules.thinnestNeck, 4.0);
    for (int i = 0; i < 3; ++i) {
        const KivToneEdge& edge = rules.light[static_cast<std::size_t>(i)];
        EXPECT_NEAR(edge.at, colors.bands.edge(i + 1), 0.001);
        EXPECT_LT(edge.below, edge.at);
        EXPECT_GT(edge.above, edge.at);
    }
    colors.highlightStrength = 1.0;
    EXPECT_EQ(kivSpeckRules(colors, 12.0, 4.0).shine.size(), 1U);
    colors.bands.softness = 1.0;
    EXPECT_TRUE(kivSpeckRules(colors, 12.0, 4.0).light.empty());
    EXPECT_TRUE(kivSpeckRules(colors, 12.0, 4.0).shine.empty());
}
