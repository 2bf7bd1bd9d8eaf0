#include "apps/common/demoscene.h"

#include "import/kivmodelimport.h"
#include "import/normals.h"
#include "import/scenebuilder.h"

#include <map>
#include <set>

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

// Sides that only one triangle has, or that two run along in the same direction.
std::size_t openSides(const Surface& surface) {
    std::map<std::pair<std::uint32_t, std::uint32_t>, int> sides;
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        const std::uint32_t a = surface.corners[c];
        const std::uint32_t b = surface.corners[c % 3 == 2 ? c - 2 : c + 1];
        sides[{std::min(a, b), std::max(a, b)}] += a < b ? 1 : -1;
    }
    std::size_t open = 0;
    for (const auto& [side, sum] : sides) {
        open += sum != 0 ? 1 : 0;
    }
    return open;
}

double volumeOf(const Surface& surface) {
    double volume = 0.0;
    for (std::size_t i = 0; i < surface.corners.size(); i += 3) {
        volume += dot(surface.positions[surface.corners[i]],
                      cross(surface.positions[surface.corners[i + 1]], surface.positions[surface.corners[i + 2]])) /
                  6.0;
    }
    return volume;
}

} // namespace

TEST(DemoScene, ItsSolidsAreClosedAndWoundOutwards) {
    ModelParts parts = makeDemoModel();
    EXPECT_GT(parts.surfaces.size(), 20U);
    for (Surface& surface : parts.surfaces) {
        weldSurface(surface);
        EXPECT_EQ(openSides(surface), 0U) << surface.parts.at(0).name;
        EXPECT_GT(volumeOf(surface), 0.0) << surface.parts[0].name;
    }
}

TEST(DemoScene, HasColoursCameraAndLights) {
    const ModelParts parts = makeDemoModel();
    std::set<std::uint32_t> materials;
    for (const Surface& surface : parts.surfaces) {
        materials.insert(surface.parts.at(0).material);
    }
    EXPECT_EQ(materials.size(), parts.materials.size());
    EXPECT_EQ(materials.count(noIndex), 0U);
    EXPECT_EQ(parts.cameras.size(), 1U);
    EXPECT_GE(parts.lights.size(), 1U);
}

TEST(DemoScene, IsTheSameEveryTime) {
    const ModelParts a = makeDemoModel();
    const ModelParts b = makeDemoModel();
    ASSERT_EQ(a.surfaces.size(), b.surfaces.size());
    for (std::size_t i = 0; i < a.surfaces.size(); ++i) {
        EXPECT_EQ(a.surfaces[i].positions, b.surfaces[i].positions);
        EXPECT_EQ(a.surfaces[i].corners, b.surfaces[i].corners);
    }
}
