#include "kivrender/lines/calmpatches.h"

#include "linebodies.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

// A sheet over the unit square of so many cells to a side, row by row.
LineBody sheetBody(std::uint32_t cells) {
    LineBody body;
    for (std::uint32_t j = 0; j <= cells; ++j) {
        for (std::uint32_t i = 0; i <= cells; ++i) {
            body.points.push_back({static_cast<double>(i) / cells, static_cast<double>(j) / cells, 0.0});
        }
    }
    for (std::uint32_t j = 0; j < cells; ++j) {
        for (std::uint32_t i = 0; i < cells; ++i) {
            const std::uint32_t a = j * (cells + 1) + i;
            body.triangles.push_back({a, a + 1, a + cells + 2});
            body.triangles.push_back({a, a + cells + 2, a + cells + 1});
        }
    }
    return body;
}

CalmPatches patchesOf(const LineBody& body) {
    CalmPatches patches;
    EXPECT_TRUE(patches.find(body.points, body.triangles));
    return patches;
}

// Whether no two triangles of the body need be compared.
bool isCalm(const LineBody& body) {
    const CalmPatches patches = patchesOf(body);
    for (std::size_t i = 0; i < body.triangles.size(); ++i) {
        for (std::size_t k = i; k < body.triangles.size(); ++k) {
            if (!patches.keepApart(patches.patchOf(i), patches.patchOf(k))) {
                return false;
            }
        }
    }
    return true;
}

TEST(CalmPatches, ASheetIsCalmInItselfAndWithItsNeighbours) {
    LineBody sheet = sheetBody(5);
    EXPECT_TRUE(isCalm(sheet));
    for (KivVec& p : sheet.points) {
        p.z = 0.1 * std::sin(7.0 * p.x) * std::cos(5.0 * p.y);
    }
    EXPECT_TRUE(isCalm(sheet)) << "gentle hills cross nothing";
    const LineBody large = sheetBody(16); // eight runs; a run of two rows and its neighbours
    const CalmPatches patches = patchesOf(large);
    EXPECT_NE(patches.patchOf(0), patches.patchOf(64));
    EXPECT_TRUE(patches.keepApart(patches.patchOf(0), patches.patchOf(64)));
    EXPECT_TRUE(patches.keepApart(patches.patchOf(64), patches.patchOf(0)));
    EXPECT_FALSE(patches.keepApart(patches.patchOf(0), patches.patchOf(200))) << "no common edge";
}

TEST(CalmPatches, WhatMayCrossIsCompared) {
    // Two sheets in one run that share no edge.
    LineBody two = sheetBody(3);
    const auto count = static_cast<std::uint32_t>(two.points.size());
    const std::vector<LineBody::Triangle> own = two.triangles;
    for (std::uint32_t i = 0; i < count; ++i) {
        two.points.push_back(two.points[i] + KivVec{0.01, 0.0, 0.1 * two.points[i].x - 0.05});
    }
    for (const LineBody::Triangle& t : own) {
        two.triangles.push_back({t[0] + count, t[1] + count, t[2] + count});
    }
    EXPECT_FALSE(isCalm(two));
    // A strip that is folded back on itself.
    LineBody fold = sheetBody(5);
    for (KivVec& p : fold.points) {
        p.x = p.x < 0.5 ? p.x : 1.0 - p.x;
        p.z = p.x * 0.2;
    }
    fold.points.back().z = 0.01;
    EXPECT_FALSE(isCalm(fold));
    // The same, its far half wound the other way round, so that all normals point to one side.
    for (std::size_t i = 0; i < fold.triangles.size(); ++i) {
        const LineBody::Triangle& t = fold.triangles[i];
        if (kivCross(fold.points[t[1]] - fold.points[t[0]], fold.points[t[2]] - fold.points[t[0]]).z < 0.0) {
            std::swap(fold.triangles[i][0], fold.triangles[i][1]);
        }
    }
    EXPECT_FALSE(isCalm(fold));
    // Three sheets at one edge.
    LineBody fins = {{{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 0.2, 0.2}, {-1, 0, 0}}, {{1, 0, 2}, {1, 0, 3}, {0, 1, 4}}};
    EXPECT_FALSE(isCalm(fins));
    // A triangle without an area has no side.
    LineBody line = {{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{0, 1, 2}}};
    EXPECT_FALSE(isCalm(line));
}

} // namespace
