// What a camera sees of a scene and which lights reach it, found by following rays through the meshes' triangles: slow
// and simple, to hold pictures against. Knows nothing of how the library draws.
#ifndef TESTS_SUPPORT_RAYCASTER_H
#define TESTS_SUPPORT_RAYCASTER_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

class RayCaster {
public:
    using Vec = std::array<double, 3>;

    struct Hit {
        double distance; // in lengths of the ray's direction
        int mesh;        // in the order of the scene
        Vec normal;      // of the triangle, of unit length, towards where the ray came from
        std::array<Vec, 3> corners;
    };
    struct Ray {
        Vec origin;
        Vec direction;
    };

    // Takes copies of all triangles.
    explicit RayCaster(const KivScene& scene) {
        for (unsigned int m = 0; const KivMesh* mesh = scene.getMesh(m); ++m) {
            for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
                Kiv3DPoint p[3];
                mesh->getTriangle(p, t);
                triangles.push_back({{vec(p[0]), vec(p[1]), vec(p[2])}, static_cast<int>(m)});
            }
        }
        for (const Triangle& triangle : triangles) {
            for (const Vec& p : triangle.p) {
                all.add(p);
            }
        }
        if (!triangles.empty()) {
            build(0, triangles.size());
        }
    }

    double diagonal() const {
        return triangles.empty() ? 0.0 : length(sub(all.high, all.low));
    }

    // The first triangle from either side, between the two distances.
    std::optional<Hit> first(const Ray& ray, double from = 0.0,
                             double to = std::numeric_limits<double>::infinity()) const {
        std::optional<Hit> hit;
        follow(ray, from, to, [&](double distance, const Triangle& triangle) {
            const Vec n = unit(cross(sub(triangle.p[1], triangle.p[0]), sub(triangle.p[2], triangle.p[0])));
            hit = Hit{distance, triangle.mesh, dot(n, ray.direction) > 0.0 ? scaled(n, -1.0) : n, triangle.p};
            return false;
        });
        return hit;
    }
    bool isBlocked(const Ray& ray, double from, double to) const {
        bool blocked = false;
        follow(ray, from, to, [&](double, const Triangle&) { return blocked = true; });
        return blocked;
    }

    // Whether the light has a free way to a place on a surface. Directional lights come from their direction, whatever
    // their location. The cones of spots are left out of account.
    bool isReached(const Ray& seenAlong, const Hit& hit, const KivLight& light) const {
        // Off the surface by a hair, on the side that is seen.
        const double hair = 1e-7 * diagonal();
        const Vec place =
            add(add(seenAlong.origin, scaled(seenAlong.direction, hit.distance)), scaled(hit.normal, hair));
        if (light.getStyle() == KivLight::directionalLight) {
            return !isBlocked({place, scaled(vec(light.getDirection()), -1.0)}, 0.0,
                              std::numeric_limits<double>::infinity());
        }
        return !isBlocked({place, sub(vec(light.getLocation()), place)}, 0.0, 1.0);
    }

    // Through a place of the picture, x and y from 0 to 1 from its lower left corner; its direction ends on the near
    // rectangle in perspective, and is of unit length in any other view.
    static Ray through(const KivCamera& camera, double x, double y) {
        const Vec forward = unit(vec(camera.getDirection()));
        const Vec right = unit(cross(forward, vec(camera.getUp())));
        const Vec up = cross(right, forward);
        const double across = camera.getFrustumLeft() + x * (camera.getFrustumRight() - camera.getFrustumLeft());
        const double along = camera.getFrustumBottom() + y * (camera.getFrustumTop() - camera.getFrustumBottom());
        const Vec aside = add(scaled(right, across), scaled(up, along));
        const Vec eye = vec(camera.getLocation());
        if (camera.getProjection() == KivCamera::perspective) {
            return {eye, add(aside, scaled(forward, camera.getFrustumNear()))};
        }
        return {add(eye, aside), forward};
    }

    template <class Triple> static Vec vec(const Triple& p) {
        return {p.x, p.y, p.z};
    }
    static Vec add(const Vec& a, const Vec& b) {
        return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
    }
    static Vec sub(const Vec& a, const Vec& b) {
        return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    }
    static Vec scaled(const Vec& a, double by) {
        return {a[0] * by, a[1] * by, a[2] * by};
    }
    static double dot(const Vec& a, const Vec& b) {
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    }
    static Vec cross(const Vec& a, const Vec& b) {
        return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    }
    static double length(const Vec& a) {
        return std::sqrt(dot(a, a));
    }
    static Vec unit(const Vec& a) {
        const double size = length(a);
        return size > 0.0 ? scaled(a, 1.0 / size) : a;
    }

private:
    struct Triangle {
        std::array<Vec, 3> p;
        int mesh;
    };
    struct Box {
        Vec low = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                   std::numeric_limits<double>::infinity()};
        Vec high = {-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                    -std::numeric_limits<double>::infinity()};

        void add(const Vec& p) {
            for (int i = 0; i < 3; ++i) {
                low[i] = std::min(low[i], p[i]);
                high[i] = std::max(high[i], p[i]);
            }
        }
    };
    struct Node {
        Box box;
        std::size_t begin;
        std::size_t end;
        std::size_t far = 0; // the second child; the first one is the next node. 0 in a leaf.
    };

    static constexpr std::size_t leafSize = 4;

    static double middle(const Triangle& t, int axis) {
        return t.p[0][axis] + t.p[1][axis] + t.p[2][axis];
    }

    void build(std::size_t begin, std::size_t end) {
        const std::size_t index = nodes.size();
        nodes.push_back({{}, begin, end});
        Box middles;
        for (std::size_t i = begin; i < end; ++i) {
            for (const Vec& p : triangles[i].p) {
                nodes[index].box.add(p);
            }
            middles.add({middle(triangles[i], 0), middle(triangles[i], 1), middle(triangles[i], 2)});
        }
        if (end - begin <= leafSize) {
            return;
        }
        const Vec extent = sub(middles.high, middles.low);
        const auto axis = static_cast<int>(std::max_element(extent.begin(), extent.end()) - extent.begin());
        const std::size_t half = begin + (end - begin) / 2;
        const auto at = [&](std::size_t i) { return triangles.begin() + static_cast<std::ptrdiff_t>(i); };
        std::nth_element(at(begin), at(half), at(end),
                         [axis](const Triangle& a, const Triangle& b) { return middle(a, axis) < middle(b, axis); });
        build(begin, half);
        nodes[index].far = nodes.size();
        build(half, end);
    }

    static bool meets(const Box& box, const Ray& ray, double from, double to) {
        for (int i = 0; i < 3; ++i) {
            const double slope = 1.0 / ray.direction[i];
            double enter = (box.low[i] - ray.origin[i]) * slope;
            double leave = (box.high[i] - ray.origin[i]) * slope;
            if (std::isnan(enter) || std::isnan(leave)) {
                continue; // runs in a side of the box
            }
            if (enter > leave) {
                std::swap(enter, leave);
            }
            from = std::max(from, enter);
            to = std::min(to, leave * (1.0 + 1e-12));
        }
        return from <= to;
    }

    // The distance, or a number that is none.
    static double distanceTo(const Triangle& t, const Ray& ray) {
        const Vec a = sub(t.p[1], t.p[0]);
        const Vec b = sub(t.p[2], t.p[0]);
        const Vec h = cross(ray.direction, b);
        const double determinant = dot(a, h);
        const Vec s = sub(ray.origin, t.p[0]);
        const double u = dot(s, h) / determinant;
        const Vec q = cross(s, a);
        const double v = dot(ray.direction, q) / determinant;
        if (determinant != 0.0 && u >= 0.0 && v >= 0.0 && u + v <= 1.0) {
            return dot(b, q) / determinant;
        }
        return std::numeric_limits<double>::quiet_NaN();
    }

    // Calls back for each triangle that is nearer than the ones before, until the callback says true.
    template <class Found> void follow(const Ray& ray, double from, double to, Found found) const {
        std::vector<std::size_t> open;
        if (!nodes.empty()) {
            open.push_back(0);
        }
        while (!open.empty()) {
            const Node& node = nodes[open.back()];
            const std::size_t next = open.back() + 1;
            open.pop_back();
            if (!meets(node.box, ray, from, to)) {
                continue;
            }
            if (node.far != 0) {
                open.push_back(node.far);
                open.push_back(next);
                continue;
            }
            for (std::size_t i = node.begin; i < node.end; ++i) {
                const double distance = distanceTo(triangles[i], ray);
                if (distance > from && distance < to) {
                    to = distance;
                    if (found(distance, triangles[i])) {
                        return;
                    }
                }
            }
        }
    }

    std::vector<Triangle> triangles;
    std::vector<Node> nodes;
    Box all;
};

#endif
