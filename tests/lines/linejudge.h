// Found lines against rays: whether what is drawn is seen, and what is seen is drawn.
#ifndef TESTS_LINES_LINEJUDGE_H
#define TESTS_LINES_LINEJUDGE_H

#include "kivrender/lines/kivlineengine.h"
#include "kivrender/scene/kivscene.h"
#include "linebodies.h"
#include "support/raycaster.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

inline double pictureLength(const KivFoundLine& line) {
    double length = 0.0;
    const std::size_t count = line.picture.size();
    for (std::size_t i = 1; i < count + (line.closed ? 1 : 0); ++i) {
        const KivPicturePoint& a = line.picture[i - 1];
        const KivPicturePoint& b = line.picture[i == count ? 0 : i];
        length += std::hypot(b.x - a.x, b.y - a.y);
    }
    return length;
}

inline double distanceTo(const KivPicturePoint& p, const KivPicturePoint& a, const KivPicturePoint& b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double square = dx * dx + dy * dy;
    const double t = square > 0.0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0, 1.0) : 0.0;
    return std::hypot(a.x + dx * t - p.x, a.y + dy * t - p.y);
}

inline double distanceTo(const KivPicturePoint& p, const KivFoundLine& line) {
    double nearest = std::numeric_limits<double>::infinity();
    const std::size_t count = line.picture.size();
    for (std::size_t i = 1; i < count + (line.closed ? 1 : 0); ++i) {
        nearest = std::min(nearest, distanceTo(p, line.picture[i - 1], line.picture[i == count ? 0 : i]));
    }
    return nearest;
}

class LineJudge {
public:
    LineJudge(const KivCamera& seenBy, const KivLineView& seenFrom, const std::vector<LineBody>& bodies)
        : camera(seenBy), view(seenFrom) {
        for (const LineBody& body : bodies) {
            model.addMesh(meshOf(body).release());
        }
        caster = std::make_unique<RayCaster>(model);
    }

    // Whether something stands before the point at a place of the picture, by more than that part of its depth.
    bool isBlocked(const KivPicturePoint& place, const KivVec& point, double margin = 1e-5) const {
        const RayCaster::Ray ray = RayCaster::through(camera, place.x / view.width(), place.y / view.height());
        const double depth = view.toCamera(point).z;
        const double to = view.isPerspective() ? depth / view.nearest() : depth;
        return caster->isBlocked(ray, view.isPerspective() ? 1.0 : view.nearest(), to * (1.0 - margin));
    }
    KivPicturePoint placeOf(const KivVec& point) const {
        return view.toPicture(view.toCamera(point));
    }
    // Within a quarter of a pixel the point is seen.
    bool isSeenNearby(const KivVec& point) const {
        const KivPicturePoint place = placeOf(point);
        if (!isBlocked(place, point)) {
            return true;
        }
        for (int i = 0; i < 8; ++i) {
            const double angle = i * 0.7853981633974483;
            if (!isBlocked({place.x + 0.25 * std::cos(angle), place.y + 0.25 * std::sin(angle)}, point)) {
                return true;
            }
        }
        return false;
    }

private:
    const KivCamera& camera;
    KivLineView view;
    KivScene model;
    std::unique_ptr<RayCaster> caster;
};

#endif
