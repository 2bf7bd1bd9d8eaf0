#include "apps/common/demoscene.h"

#include "apps/common/shapes.h"

#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

namespace {

using kivimport::Colour;
using kivimport::ModelParts;
using kivimport::unit;
using shapes::Frame;
using shapes::Outline;
using shapes::Point2;
using shapes::Surface;
using shapes::Vec3;

using std::numbers::pi;

constexpr Colour wood{0.851, 0.620, 0.400};
constexpr Colour darkWood{0.620, 0.400, 0.267};
constexpr Colour teal{0.294, 0.608, 0.608};
constexpr Colour brass{0.941, 0.757, 0.345};
constexpr Colour steel{0.745, 0.780, 0.804};
constexpr Colour slate{0.392, 0.447, 0.533};
constexpr Colour red{0.831, 0.329, 0.290};
constexpr Colour cream{0.953, 0.902, 0.800};

// Where the two shafts stand, in the x-y plane; the gears turn in planes of constant z and mesh along the line between.
constexpr double bigRadius = 5.0;
constexpr double smallRadius = 2.5;
constexpr Vec3 bigCentre{-3.0, 6.6, 0.0};
constexpr double meshAngle = -0.30; // of that line, below the horizontal
const Vec3 smallCentre{bigCentre.x + (bigRadius + smallRadius) * std::cos(meshAngle),
                       bigCentre.y + (bigRadius + smallRadius) * std::sin(meshAngle), 0.0};

class Workbench {
public:
    ModelParts build() {
        addBase();
        addStand(bigCentre, 2.6);
        addStand(smallCentre, 1.9);
        addBigGear();
        addSmallGear();
        addCrank();
        addHandwheel();
        addSpringPost();
        addOilCan();
        addCameraAndLights();
        return std::move(parts);
    }

private:
    Surface& object(const std::string& name, const Colour& colour) {
        kivimport::Material& material = parts.materials.emplace_back();
        material.name = name;
        material.diffuse = colour;
        material.specular = {0.6, 0.6, 0.6};
        material.shininess = 40.0;
        Surface& surface = parts.surfaces.emplace_back();
        surface.parts.push_back({name, static_cast<std::uint32_t>(parts.materials.size() - 1)});
        return surface;
    }

    // Lying flat: the outline's x stays x, its y becomes -z, the thickness goes up.
    static Frame lying(double x, double y, double z) {
        return {{x, y, z}, {1.0, 0.0, 0.0}, {0.0, 0.0, -1.0}, {0.0, 1.0, 0.0}};
    }

    void addBase() {
        shapes::roundedPlate(object("base", wood), lying(0.3, -1.3, 0.0), shapes::roundedRectangle(20.6, 10.0, 1.2, 10),
                             1.3, 0.3);
        shapes::roundedPlate(object("plinth", darkWood), lying(0.3, -1.9, 0.0),
                             shapes::roundedRectangle(21.8, 11.2, 1.6, 10), 0.6, 0.1);
        Surface& bolts = object("base bolts", steel);
        for (const double x : {-9.0, 9.6}) {
            for (const double z : {-4.0, 4.0}) {
                shapes::bolt(bolts, Frame{{x, 0.0, z}}, 1.0);
            }
        }
    }

    // A plate with a foot behind the gears that carries one shaft.
    void addStand(const Vec3& shaft, double halfWidth) {
        Surface& stand = object("stand", slate);
        constexpr double top = 1.15;
        Outline outline;
        outline.push_back({-halfWidth, 0.0});
        outline.push_back({halfWidth, 0.0});
        // Straight sides that touch the round top.
        const double reach = std::hypot(halfWidth, shaft.y);
        const double lean =
            std::atan2(halfWidth, shaft.y) + std::asin(top / reach) - 2.0 * std::atan2(halfWidth, shaft.y);
        constexpr int steps = 24;
        for (int i = 0; i <= steps; ++i) {
            const double angle = -lean + (pi + 2.0 * lean) * i / steps;
            outline.push_back({top * std::cos(angle), shaft.y + top * std::sin(angle)});
        }
        const Outline window = shapes::bar(shaft.y * 0.36, halfWidth * 0.30, 0.42, 8).points;
        Outline upright;
        for (const Point2& p : window) {
            upright.push_back({-p.y, p.x + shaft.y * 0.24});
        }
        shapes::plate(stand, Frame{{shaft.x, 0.0, -2.9}}, outline, {upright}, 1.0);
        shapes::roundedPlate(object("foot", slate), lying(shaft.x, 0.0, -2.4),
                             shapes::roundedRectangle(2.0 * halfWidth + 2.4, 2.2, 0.5, 6), 0.45, 0.1,
                             shapes::Back::sharp);
        Surface& bolts = object("stand bolts", steel);
        for (const double side : {-1.0, 1.0}) {
            shapes::bolt(bolts, Frame{{shaft.x + side * (halfWidth + 0.6), 0.45, -2.4}}, 0.75);
        }
        Surface& boss = object("bearing", brass);
        shapes::lathe(boss, shapes::along({shaft.x, shaft.y, -1.9}, {0.0, 0.0, 1.0}),
                      {{0.0, 0.0}, {0.95, 0.0}, {0.95, 0.45}, {0.75, 0.65}, {0.0, 0.65}}, 40);
        Surface& rod = object("shaft", steel);
        shapes::cylinder(rod, shapes::along({shaft.x, shaft.y, -3.4}, {0.0, 0.0, 1.0}), 0.45, 7.0, 32);
    }

    void addBigGear() {
        Surface& wheel = object("big gear", teal);
        std::vector<Outline> holes;
        constexpr int spokes = 5;
        holes.reserve(spokes);
        for (int i = 0; i < spokes; ++i) {
            holes.push_back(window(1.75, 3.75, 2.0 * pi / spokes, 0.42, 2.0 * pi * (i + 0.15) / spokes));
        }
        shapes::plate(wheel, Frame{{bigCentre.x, bigCentre.y, -0.7}}, shapes::gear(24, bigRadius, 0.0), holes, 1.4);
        Surface& hub = object("big hub", teal);
        shapes::lathe(hub, shapes::along({bigCentre.x, bigCentre.y, 0.7}, {0.0, 0.0, 1.0}),
                      {{0.0, 0.0}, {1.25, 0.0}, {1.15, 0.5}, {0.0, 0.5}}, 40);
    }

    // A window between two spokes: part of a ring with rounded corners. width is the spoke's.
    static Outline window(double inner, double outer, double pitch, double width, double turn) {
        Outline outline;
        constexpr int steps = 12;
        const auto arc = [&outline](double radius, double from, double to) {
            for (int i = 0; i <= steps; ++i) {
                const double angle = from + (to - from) * i / steps;
                outline.push_back({radius * std::cos(angle), radius * std::sin(angle)});
            }
        };
        const double outerHalf = pitch / 2.0 - width / outer;
        const double innerHalf = pitch / 2.0 - width / inner;
        arc(outer, turn - outerHalf, turn + outerHalf);
        arc(inner, turn + innerHalf, turn - innerHalf);
        return outline;
    }

    void addSmallGear() {
        Surface& wheel = object("small gear", brass);
        // A tooth of this wheel meets a gap of the other on the line between the shafts.
        constexpr int bigTeeth = 24;
        constexpr int teeth = 12;
        const double bigPart = meshAngle * bigTeeth / (2.0 * pi);
        const double toothOffset = bigPart - std::floor(bigPart); // 0 where a tooth of the big wheel points here
        const double here = (meshAngle + pi) * teeth / (2.0 * pi);
        const double phase = here + toothOffset + 0.5;
        std::vector<Outline> holes;
        for (int i = 0; i < 4; ++i) {
            const double angle = pi / 4.0 + pi / 2.0 * i;
            holes.push_back(shapes::circle(0.34, 20, {1.35 * std::cos(angle), 1.35 * std::sin(angle)}));
        }
        shapes::plate(wheel, Frame{{smallCentre.x, smallCentre.y, -0.8}}, shapes::gear(teeth, smallRadius, phase),
                      holes, 1.6);
    }

    void addCrank() {
        constexpr double angle = 0.95;
        const Vec3 way{std::cos(angle), std::sin(angle), 0.0};
        const Frame frame{{bigCentre.x, bigCentre.y, 1.7}, way, {-way.y, way.x, 0.0}, {0.0, 0.0, 1.0}};
        Surface& arm = object("crank", steel);
        shapes::roundedPlate(arm, frame, shapes::bar(4.4, 1.0, 0.7, 16), 0.7, 0.15);
        Surface& nut = object("crank nut", brass);
        shapes::bolt(nut, shapes::along(frame.point(0.0, 0.0, 0.7), {0.0, 0.0, 1.0}), 1.2);
        const Vec3 pin = frame.point(4.4, 0.0, 0.7);
        Surface& collar = object("crank pin", steel);
        shapes::cylinder(collar, shapes::along(pin, {0.0, 0.0, 1.0}), 0.30, 0.6, 24);
        Surface& handle = object("handle", red);
        const Outline profile = smooth({{0.0, 0.4},
                                        {0.50, 0.4},
                                        {0.58, 0.7},
                                        {0.48, 1.2},
                                        {0.62, 2.0},
                                        {0.82, 2.8},
                                        {0.86, 3.3},
                                        {0.70, 3.75},
                                        {0.40, 3.95},
                                        {0.0, 4.0}});
        shapes::lathe(handle, shapes::along(pin, {0.0, 0.0, 1.0}), profile, 40);
    }

    // A curve through points, its first and last piece kept straight.
    static Outline smooth(const Outline& points) {
        Outline curve;
        constexpr int steps = 6;
        curve.push_back(points.front());
        for (std::size_t i = 1; i + 1 < points.size(); ++i) {
            const Point2& p1 = points[i];
            const Point2& p2 = points[i + 1];
            const Point2& p0 = i == 1 ? p1 : points[i - 1];
            const Point2& p3 = i + 2 < points.size() ? points[i + 2] : p2;
            for (int s = 0; s < steps; ++s) {
                const double t = static_cast<double>(s) / steps;
                const auto blend = [t](double a, double b, double c, double d) {
                    return 0.5 * (2.0 * b + (c - a) * t + (2.0 * a - 5.0 * b + 4.0 * c - d) * t * t +
                                  (3.0 * b - a - 3.0 * c + d) * t * t * t);
                };
                curve.push_back({std::max(blend(p0.x, p1.x, p2.x, p3.x), 0.0), blend(p0.y, p1.y, p2.y, p3.y)});
            }
        }
        curve.push_back(points.back());
        return curve;
    }

    // A ring on thin spokes in front of the small gear.
    void addHandwheel() {
        const Vec3 centre{smallCentre.x, smallCentre.y, 2.7};
        const Frame frame = shapes::along(centre, {0.0, 0.0, 1.0});
        shapes::torus(object("ring", red), frame, 2.05, 0.27, 64, 20);
        Surface& spokes = object("ring spokes", steel);
        for (int i = 0; i < 6; ++i) {
            const double angle = 2.0 * pi * (i + 0.25) / 6.0;
            const Vec3 way{std::cos(angle), std::sin(angle), 0.0};
            shapes::cylinder(spokes, shapes::along(centre, way), 0.12, 1.95, 16);
        }
        Surface& hub = object("ring hub", cream);
        shapes::lathe(
            hub, shapes::along({centre.x, centre.y, centre.z - 0.55}, {0.0, 0.0, 1.0}),
            smooth({{0.0, 0.0}, {0.60, 0.0}, {0.64, 0.4}, {0.64, 0.8}, {0.50, 1.1}, {0.26, 1.28}, {0.0, 1.35}}), 36);
    }

    // A thin rod with a spring around it and a ball on top.
    void addSpringPost() {
        static constexpr Vec3 foot{-8.6, 0.0, 0.6};
        Surface& socket = object("socket", brass);
        shapes::lathe(socket, Frame{foot}, {{0.0, 0.0}, {1.0, 0.0}, {1.0, 0.35}, {0.6, 0.6}, {0.6, 1.1}, {0.0, 1.1}},
                      40);
        shapes::cylinder(object("rod", steel), Frame{foot}, 0.2, 8.2, 24);
        shapes::sphere(object("ball", red), {foot.x, 8.7, foot.z}, 0.75, 40);
        const auto coil = [](double t) {
            const double angle = 2.0 * pi * 9.0 * t;
            return Vec3{foot.x + 0.62 * std::sin(angle), 1.22 + 4.6 * t, foot.z + 0.62 * std::cos(angle)};
        };
        shapes::wire(object("spring", slate), coil, 360, 0.12, 12);
        shapes::lathe(object("spring cap", brass), Frame{{foot.x, 5.95, foot.z}},
                      {{0.0, 0.0}, {0.85, 0.0}, {0.85, 0.25}, {0.4, 0.6}, {0.0, 0.6}}, 36);
    }

    void addOilCan() {
        constexpr Vec3 foot{7.3, 0.0, 2.6};
        Surface& body = object("oil can", cream);
        Outline profile{{0.0, 0.0}, {1.45, 0.0}, {1.45, 0.55}};
        constexpr int steps = 20;
        for (int i = 1; i <= steps; ++i) {
            const double angle = pi / 2.0 * i / steps;
            profile.push_back({0.40 + 1.05 * std::cos(angle), 0.55 + 1.65 * std::sin(angle)});
        }
        profile.push_back({0.40, 2.4});
        profile.push_back({0.0, 2.4});
        shapes::lathe(body, Frame{foot}, profile, 48);
        Surface& collar = object("can collar", brass);
        shapes::lathe(collar, Frame{{foot.x, 2.3, foot.z}},
                      {{0.0, 0.0}, {0.52, 0.0}, {0.52, 0.32}, {0.36, 0.5}, {0.0, 0.5}}, 6 * 5);
        Surface& spout = object("spout", slate);
        const Vec3 way = unit({0.50, 1.0, 0.18});
        shapes::lathe(spout, shapes::along({foot.x, 2.65, foot.z}, way),
                      {{0.0, 0.0}, {0.26, 0.0}, {0.10, 2.5}, {0.0, 2.5}}, 24);
    }

    void addCameraAndLights() {
        kivimport::Camera camera;
        camera.name = "view";
        const Vec3 target{0.5, 3.75, 0.3};
        camera.location = {19.0, 14.9, 37.0};
        camera.direction = unit(target - camera.location);
        camera.up = {0.0, 1.0, 0.0};
        camera.verticalFov = 26.0;
        parts.cameras.push_back(camera);
        kivimport::Light key;
        key.name = "key";
        key.kind = kivimport::Light::Kind::directional;
        key.direction = unit({0.55, -0.75, -0.60});
        parts.lights.push_back(key);
        parts.format = "built-in scene";
    }

    ModelParts parts;
};

} // namespace

ModelParts makeDemoModel() {
    return Workbench().build();
}
