#include "kivdarkparts.h"

#include "../shapes.h"
#include "kivrender/scene/kivmesh.h"
#include "support/pollcounter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

constexpr KivTone black = {0.0, 0.0, 0.0};
constexpr KivTone soot = {0.05, 0.05, 0.05};

// The triangles of a sphere of radius 1 around a place, dealt out to so many meshes in the order in which they come.
std::vector<std::unique_ptr<KivMesh>> sphereInPieces(const Kiv3DVector& place, double radius, std::size_t count) {
    const KivSurface surface = sphereSurface(16, 32);
    std::vector<std::unique_ptr<KivMesh>> meshes;
    for (std::size_t piece = 0; piece < count; ++piece) {
        auto mesh = std::make_unique<KivMesh>();
        const std::size_t end = surface.triangles.size() * (piece + 1) / count;
        for (std::size_t t = surface.triangles.size() * piece / count; t < end; ++t) {
            const auto at = [&](std::size_t k) {
                const KivVec& p = surface.points[surface.triangles[t][k]];
                return Kiv3DPoint(p.x * radius, p.y * radius, p.z * radius) + place;
            };
            mesh->addTriangle(at(0), at(1), at(2));
        }
        meshes.push_back(std::move(mesh));
    }
    return meshes;
}

std::vector<KivDarkMesh> darkMeshes(const std::vector<std::unique_ptr<KivMesh>>& meshes, const KivTone& tone) {
    std::vector<KivDarkMesh> dark;
    for (const auto& mesh : meshes) {
        dark.push_back({mesh.get(), tone});
    }
    return dark;
}

} // namespace

TEST(KivDarkParts, ASplitThingIsAsLargeAsAWholeOne) {
    const auto whole = sphereInPieces({}, 1.0, 1);
    const double size = kivSizeOf({whole[0].get()});
    EXPECT_NEAR(size, 2.0 * std::sqrt(3.0), 0.05);
    const auto pieces = sphereInPieces({}, 1.0, 50);
    std::vector<KivDarkMesh> dark = darkMeshes(pieces, black);
    kivMeasureDarkParts(dark);
    for (const KivDarkMesh& each : dark) {
        EXPECT_DOUBLE_EQ(each.size, size);
        EXPECT_LT(kivSizeOf({each.mesh}), 0.7 * size);
    }
}

TEST(KivDarkParts, WhatDoesNotTouchIsADetailOfItsOwn) {
    const auto large = sphereInPieces({}, 1.0, 10);
    const auto small = sphereInPieces({0.2, 0.1, 0.0}, 0.1, 3); // in the midst of it
    std::vector<KivDarkMesh> dark = darkMeshes(large, black);
    for (const KivDarkMesh& each : darkMeshes(small, black)) {
        dark.push_back(each);
    }
    kivMeasureDarkParts(dark);
    EXPECT_NEAR(dark.front().size, 2.0 * std::sqrt(3.0), 0.05);
    for (std::size_t i = large.size(); i < dark.size(); ++i) {
        EXPECT_NEAR(dark[i].size, 0.2 * std::sqrt(3.0), 0.005);
    }
}

// A black pupil on an eye that is nearly black is one still.
TEST(KivDarkParts, TonesAreTheirOwn) {
    const auto pieces = sphereInPieces({}, 1.0, 20);
    std::vector<KivDarkMesh> dark = darkMeshes(pieces, black);
    dark[7].tone = soot;
    kivMeasureDarkParts(dark);
    EXPECT_DOUBLE_EQ(dark[7].size, kivSizeOf({pieces[7].get()}));
    EXPECT_GT(dark[6].size, 3.0);
}

TEST(KivDarkParts, NothingAndMeshesWithoutPointsHaveNoSize) {
    std::vector<KivDarkMesh> none;
    kivMeasureDarkParts(none);
    EXPECT_TRUE(none.empty());
    const KivMesh empty;
    std::vector<KivDarkMesh> dark = {{&empty, black}, {&empty, black}};
    kivMeasureDarkParts(dark);
    EXPECT_EQ(dark[0].size, 0.0);
    EXPECT_EQ(kivSizeOf({}), 0.0);
}

TEST(KivDarkParts, ACancelLeavesEachItsOwnSize) {
    const auto pieces = sphereInPieces({}, 1.0, 4);
    std::vector<KivDarkMesh> dark = darkMeshes(pieces, black);
    PollCounter cancelled(1);
    const ScopedProgress shown(cancelled);
    kivMeasureDarkParts(dark);
    for (std::size_t i = 0; i < dark.size(); ++i) {
        EXPECT_DOUBLE_EQ(dark[i].size, kivSizeOf({pieces[i].get()}));
    }
}
