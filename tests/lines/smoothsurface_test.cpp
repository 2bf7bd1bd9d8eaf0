#include "kivrender/lines/smoothsurface.h"

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/scene/kivmesh.h"
#include "linecameras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace {

// Two faces of a roof that meet along y, with a bend of so many degrees; with normals that are those of the faces, or
// run on over the ridge, or none.
enum class Normals { none, faces, roof };

KivSurface roof(double bend, Normals normals) {
    const double slope = 0.5 * bend * std::numbers::pi / 180.0;
    const double drop = -std::tan(slope);
    KivMesh mesh;
    const auto add = [&mesh, normals](double x, double y, double z, double nx, double nz) {
        if (normals == Normals::none) {
            mesh.addVertex(Kiv3DPoint(x, y, z));
        } else {
            mesh.addVertex(Kiv3DPoint(x, y, z), Kiv3DVector(nx, 0.0, nz));
        }
    };
    for (const double side : {-1.0, 1.0}) {
        const double nx = side * std::sin(slope);
        const double ridge = normals == Normals::roof ? 0.0 : nx;
        add(0.0, 0.0, 0.0, ridge, std::cos(slope));
        add(0.0, 1.0, 0.0, ridge, std::cos(slope));
        add(side, 0.0, drop, nx, std::cos(slope));
        add(side, 1.0, drop, nx, std::cos(slope));
    }
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(1, 3, 2);
    mesh.addTriangle(4, 6, 5);
    mesh.addTriangle(5, 6, 7);
    return kivReadSurface(mesh);
}

// Whether the smooth surface runs on over the ridge, in a picture so small that no facet shows.
bool runsOn(double bend, Normals normals) {
    const KivSurface surface = roof(bend, normals);
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    const KivLineView view(lineCamera(KivCamera::orthographic, {0.0, 0.0, 20.0}, 5.0, 1.0, 100.0), 10, 10);
    SmoothSurface smooth;
    EXPECT_TRUE(kivSmoothSurface(surface, wings, std::vector<bool>(wings.size(), false), view, 1.0, smooth));
    const auto ridge = std::find_if(wings.begin(), wings.end(), [bend](const KivFeatureWing& wing) {
        return std::fabs(static_cast<double>(wing.bend) - bend) < 0.01;
    });
    EXPECT_NE(ridge, wings.end());
    return smooth.smooth.at(static_cast<std::size_t>(ridge - wings.begin()));
}

} // namespace

TEST(SmoothSurface, EndsWhereTheNormalsOfTheMeshDoNotRunOn) {
    EXPECT_FALSE(runsOn(45.0, Normals::faces)); // a chamfer, too short for a crease or not
    EXPECT_TRUE(runsOn(45.0, Normals::roof));
    EXPECT_TRUE(runsOn(45.0, Normals::none));
    EXPECT_TRUE(runsOn(20.0, Normals::faces)); // facets of a flat-shaded round body
}
