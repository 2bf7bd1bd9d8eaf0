#include "kivrender/lines/kivcastshadows.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/lightview.h"
#include "kivrender/lines/regions/projectivemap.h"
#include "kivrender/lines/regions/regionfaces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Of the casters' extent: what lies no farther behind a caster is the caster itself. Window coordinates are in single
// precision.
constexpr double skin = 3e-5;
// A light so many times as far away as the casters reach sees them all in one picture.
constexpr double outside = 1.3;

bool isFinite(const KivVec& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

struct Ball {
    KivVec middle;
    double radius = 0.0;
};

Ball ballAround(const std::vector<std::array<KivVec, 3>>& triangles) {
    constexpr double most = std::numeric_limits<double>::infinity();
    KivVec low = {most, most, most};
    KivVec high = {-most, -most, -most};
    for (const std::array<KivVec, 3>& corners : triangles) {
        for (const KivVec& p : corners) {
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    }
    return triangles.empty() ? Ball{} : Ball{(low + high) * 0.5, 0.5 * kivLength(high - low)};
}

} // namespace

// One view from far away, or six around a light among the casters.
class KivCastShadows::Light {
public:
    Light(const KivVec& lightPlace, const std::vector<std::array<KivVec, 3>>& casters)
        : place(lightPlace), ball(ballAround(casters)) {
        const KivVec way = ball.middle - place;
        const double distance = kivLength(way);
        if (distance > outside * ball.radius) {
            const double tangent = ball.radius / std::sqrt(distance * distance - ball.radius * ball.radius);
            views.push_back(std::make_unique<LightView>(
                place, kivUnit(way), 1.001 * tangent, distance - 1.001 * ball.radius, distance + 1.001 * ball.radius));
        } else {
            const double far = distance + ball.radius;
            for (const KivVec& axis : {KivVec{1, 0, 0}, KivVec{-1, 0, 0}, KivVec{0, 1, 0}, KivVec{0, -1, 0},
                                       KivVec{0, 0, 1}, KivVec{0, 0, -1}}) {
                views.push_back(std::make_unique<LightView>(place, axis, 1.0, 1e-4 * far, far));
            }
        }
        for (const std::array<KivVec, 3>& corners : casters) {
            for (const auto& view : views) {
                view->addCaster(corners);
            }
        }
    }
    bool build() {
        return std::all_of(views.begin(), views.end(), [](const auto& view) { return view->build(); });
    }
    bool layOutlines(std::uint32_t count, const std::function<LightView::Triangle(std::uint32_t)>& triangleOf,
                     const LightView::Take& take) const {
        return std::all_of(views.begin(), views.end(),
                           [&](const auto& view) { return view->layOutlines(count, triangleOf, take); });
    }
    // A place on a triangle, seen from the side that the triangle turns to the eye counterclockwise.
    bool reaches(const KivVec& at, const LightView::Triangle& triangle) const {
        const KivVec normal = kivUnit(kivCross(triangle[1] - triangle[0], triangle[2] - triangle[0]));
        if (!(kivDot(normal, place - at) > 0.0)) {
            return false; // the side in sight is turned away
        }
        const KivVec before = at + normal * (skin * ball.radius);
        return std::none_of(views.begin(), views.end(),
                            [&](const auto& view) { return view->sees(before) && view->isHidden(before); });
    }

private:
    KivVec place;
    Ball ball;
    std::vector<std::unique_ptr<LightView>> views;
};

KivCastShadows::KivCastShadows(const KivProjectiveMap& map) : pictureFromWorld(map) {
    if (!kivInvert(map, &worldFromPicture)) {
        worldFromPicture.fill(std::numeric_limits<double>::quiet_NaN());
    }
}

KivCastShadows::~KivCastShadows() = default;

void KivCastShadows::addCaster(const std::array<KivVec, 3>& corners) {
    if (std::all_of(corners.begin(), corners.end(), isFinite)) {
        casters.push_back(corners);
    }
}

void KivCastShadows::addLight(const KivVec& place) {
    if (isFinite(place) && !casters.empty()) {
        lights.push_back(std::make_unique<Light>(place, casters));
    }
}

namespace {

LightView::Triangle triangleOf(const KivProjectiveMap& worldFromPicture, const RegionFaces& faces, std::uint32_t face) {
    LightView::Triangle triangle;
    for (std::size_t i = 0; i < 3; ++i) {
        const RegionCorner& c = faces.corners()[faces.faces()[face].corners[i]];
        triangle[i] = kivMapped(worldFromPicture, {offRegionGrid(c.place.x), offRegionGrid(c.place.y), c.depth});
    }
    return triangle;
}

} // namespace

bool KivCastShadows::findBorders(const RegionFaces& faces, std::vector<RegionLine>& borders) {
    const auto take = [&](std::uint32_t face, const KivVec& from, const KivVec& to) {
        const auto cornerOf = [this](const KivVec& p) {
            const KivVec seen = kivMapped(pictureFromWorld, p);
            return RegionCorner{{onRegionGrid(seen.x), onRegionGrid(seen.y)}, seen.z};
        };
        borders.push_back({cornerOf(from), cornerOf(to), 2.0 * faces.noiseOf(face), face, {}});
    };
    const auto world = [&](std::uint32_t face) { return triangleOf(worldFromPicture, faces, face); };
    const auto count = static_cast<std::uint32_t>(faces.faces().size());
    return std::all_of(lights.begin(), lights.end(),
                       [&](const auto& light) { return light->build() && light->layOutlines(count, world, take); });
}

unsigned int KivCastShadows::lostAt(const RegionFaces& faces, std::uint32_t face, double x, double y) const {
    const RegionPlane plane = faces.planeOf(face);
    const double depth = std::clamp(plane.at(x, y), plane.low, plane.high);
    const KivVec at = kivMapped(worldFromPicture, {offRegionGrid(x), offRegionGrid(y), depth});
    const LightView::Triangle triangle = triangleOf(worldFromPicture, faces, face);
    return static_cast<unsigned int>(
        std::count_if(lights.begin(), lights.end(), [&](const auto& light) { return !light->reaches(at, triangle); }));
}
