#include "kivoutlinestroke.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

// The corners of a circle of that radius that stays within a tenth of a pixel of its polygon.
int circleCorners(float radius) {
    const double angle = radius > 0.2F ? std::acos(1.0 - 0.1 / radius) : std::numbers::pi / 4.0;
    return std::clamp(static_cast<int>(std::ceil(std::numbers::pi / angle)), 6, 64);
}

// The part of the width that remains at a loose end, and how much of a short path thins out towards one.
constexpr float leastWidth = 0.2F;
constexpr float tapered = 0.45F;

struct Direction {
    float x;
    float y;
};

bool directionOf(const KivLinePoint& from, const KivLinePoint& to, Direction* out) {
    const float dx = to.x - from.x;
    const float dy = to.y - from.y;
    const float length = std::hypot(dx, dy);
    if (!(length > 0.0F)) {
        return false;
    }
    *out = {dx / length, dy / length};
    return true;
}

} // namespace

std::uint32_t KivStrokeMesh::add(float x, float y) {
    points.push_back(x);
    points.push_back(y);
    return static_cast<std::uint32_t>(points.size() / 2 - 1);
}

void KivStrokeMesh::addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    indices.push_back(a);
    indices.push_back(b);
    indices.push_back(c);
}

void kivStrokeDot(const KivLinePoint& point, KivStrokeMesh& mesh) {
    const int corners = circleCorners(point.halfWidth);
    const std::uint32_t centre = mesh.add(point.x, point.y);
    for (int i = 0; i < corners; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / corners;
        mesh.add(point.x + point.halfWidth * static_cast<float>(std::cos(angle)),
                 point.y + point.halfWidth * static_cast<float>(std::sin(angle)));
    }
    for (int i = 0; i < corners; ++i) {
        mesh.addTriangle(centre, centre + 1 + static_cast<std::uint32_t>(i),
                         centre + 1 + static_cast<std::uint32_t>((i + 1) % corners));
    }
}

void kivStroke(const KivLinePath& path, KivStrokeMesh& mesh, LineBudget& polls) {
    const std::size_t count = path.points.size();
    if (count == 0) {
        return;
    }
    const auto point = [&path, count](std::size_t i) -> const KivLinePoint& { return path.points[i % count]; };
    const std::size_t pieces = path.closed ? count : count - 1;
    constexpr std::size_t unitsOfPiece = 32;
    Direction before{};
    bool joined = false;
    bool drawn = false;
    std::uint32_t tailLeft = 0;
    std::uint32_t tailRight = 0;
    for (std::size_t i = 0; i < pieces && polls.spend(unitsOfPiece); ++i) {
        const KivLinePoint& a = point(i);
        const KivLinePoint& b = point(i + 1);
        Direction along{};
        if (!directionOf(a, b, &along)) {
            continue;
        }
        const std::uint32_t headLeft = mesh.add(a.x - along.y * a.halfWidth, a.y + along.x * a.halfWidth);
        const std::uint32_t headRight = mesh.add(a.x + along.y * a.halfWidth, a.y - along.x * a.halfWidth);
        if (joined) {
            // A small turn is closed by a wedge on its outer side, a sharp one by a disc.
            if (before.x * along.x + before.y * along.y > 0.9F) {
                const std::uint32_t middle = mesh.add(a.x, a.y);
                const bool turnsLeft = before.x * along.y - before.y * along.x > 0.0F;
                mesh.addTriangle(middle, turnsLeft ? tailRight : headLeft, turnsLeft ? headRight : tailLeft);
            } else {
                kivStrokeDot(a, mesh);
            }
        } else {
            kivStrokeDot(a, mesh);
        }
        tailLeft = mesh.add(b.x - along.y * b.halfWidth, b.y + along.x * b.halfWidth);
        tailRight = mesh.add(b.x + along.y * b.halfWidth, b.y - along.x * b.halfWidth);
        mesh.addTriangle(headLeft, headRight, tailRight);
        mesh.addTriangle(headLeft, tailRight, tailLeft);
        before = along;
        joined = true;
        drawn = true;
    }
    kivStrokeDot(path.closed ? point(0) : point(count - 1), mesh);
    if (!drawn && count > 1) {
        kivStrokeDot(point(0), mesh);
    }
}

void kivTaperEnds(KivLinePath& path, float reach) {
    const std::size_t count = path.points.size();
    if (count < 2 || path.closed || !(reach > 0.0F) || !(path.startsLoose || path.endsLoose)) {
        return;
    }
    std::vector<float> along(count, 0.0F);
    for (std::size_t i = 1; i < count; ++i) {
        along[i] =
            along[i - 1] + std::hypot(path.points[i].x - path.points[i - 1].x, path.points[i].y - path.points[i - 1].y);
    }
    const float all = along.back();
    const float over = std::min(reach, tapered * all);
    const auto part = [over](float distance) {
        const float t = std::min(distance / over, 1.0F);
        return leastWidth + (1.0F - leastWidth) * t * (2.0F - t);
    };
    for (std::size_t i = 0; i < count && over > 0.0F; ++i) {
        path.points[i].halfWidth *= path.startsLoose ? part(along[i]) : 1.0F;
        path.points[i].halfWidth *= path.endsLoose ? part(all - along[i]) : 1.0F;
    }
}
