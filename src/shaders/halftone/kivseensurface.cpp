#include "kivseensurface.h"

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t trianglesPerPoll = 16384;

// A bend sharper than this between two pixels ends a surface: the cosine of 30 degrees.
constexpr double sharpestBend = 0.866;

// What the depth of the next pixel may differ by from that of the plane of this one: in pixels, and in parts of the
// whole step, as a round surface departs from its plane by the more the steeper it is.
constexpr double mostPixels = 2.0;
constexpr double mostOfStep = 0.4;

enum JointBits : std::uint8_t { isKnown = 1, isOpen = 2 };
constexpr int bitsOfJoint = 2;

} // namespace

// The edges of a triangle as planes over the view: at (x, y, 1) each gives the corner opposite its weight over w.
struct KivSeenSurface::Scan {
    double planes[3][3] = {};
    double depth[3] = {}; // of clip coordinates
    bool isSound = false;

    Scan(const KivView& view, const KivVec* const* corners, KivClipPoint* clip) {
        for (int i = 0; i < 3; ++i) {
            clip[i] = view.clip(*corners[i]);
            depth[i] = clip[i].z;
        }
        // In pixels, so that all numbers are of one size.
        const double halfWidth = 0.5 * view.width();
        const double halfHeight = 0.5 * view.height();
        double m[3][3];
        for (int i = 0; i < 3; ++i) {
            m[i][0] = (clip[i].x + clip[i].w) * halfWidth;
            m[i][1] = (clip[i].y + clip[i].w) * halfHeight;
            m[i][2] = clip[i].w;
        }
        double determinant = 0.0;
        for (int i = 0; i < 3; ++i) {
            const double* const p = m[(i + 1) % 3];
            const double* const q = m[(i + 2) % 3];
            planes[i][0] = p[1] * q[2] - p[2] * q[1];
            planes[i][1] = p[2] * q[0] - p[0] * q[2];
            planes[i][2] = p[0] * q[1] - p[1] * q[0];
        }
        for (int c = 0; c < 3; ++c) {
            determinant += m[0][c] * planes[0][c];
        }
        isSound = std::isfinite(determinant) && determinant != 0.0;
        for (double(&plane)[3] : planes) {
            for (double& part : plane) {
                part /= determinant;
            }
        }
    }
    double at(int corner, double x, double y) const {
        return planes[corner][0] * x + planes[corner][1] * y + planes[corner][2];
    }
};

KivSeenSurface::KivSeenSurface(const KivView& seenFrom, KivPixelFrame frame) : view(seenFrom), part(frame) {
    const std::size_t pixels =
        static_cast<std::size_t>(std::max(part.width, 0)) * static_cast<std::size_t>(std::max(part.height, 0));
    seen.assign(pixels, 0);
    depths.assign(pixels, std::numeric_limits<float>::infinity());
    joints.assign(pixels, 0);
}

bool KivSeenSurface::add(const KivShadedMesh& mesh, std::uint32_t body) {
    bodies.push_back({&mesh, body, faces});
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        if (t % trianglesPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        scan(mesh, t, faces + static_cast<std::uint32_t>(t));
    }
    faces += static_cast<std::uint32_t>(mesh.triangles.size());
    return true;
}

void KivSeenSurface::scan(const KivShadedMesh& mesh, std::size_t triangle, std::uint32_t face) {
    const KivSurface::Triangle& t = mesh.triangles[triangle];
    const KivVec* const corners[3] = {&mesh.points[t[0]], &mesh.points[t[1]], &mesh.points[t[2]]};
    KivClipPoint clip[3];
    const Scan edges(view, corners, clip);
    if (!edges.isSound) {
        return;
    }
    double low[2] = {static_cast<double>(part.left), static_cast<double>(part.bottom)};
    double high[2] = {low[0] + part.width, low[1] + part.height};
    if (clip[0].w > 0.0 && clip[1].w > 0.0 && clip[2].w > 0.0) {
        const KivWindowPoint a = view.window(clip[0]);
        const KivWindowPoint b = view.window(clip[1]);
        const KivWindowPoint c = view.window(clip[2]);
        low[0] = std::max(low[0], std::floor(std::min({a.x, b.x, c.x})));
        low[1] = std::max(low[1], std::floor(std::min({a.y, b.y, c.y})));
        high[0] = std::min(high[0], std::ceil(std::max({a.x, b.x, c.x})));
        high[1] = std::min(high[1], std::ceil(std::max({a.y, b.y, c.y})));
    }
    if (!(low[0] < high[0]) || !(low[1] < high[1])) {
        return;
    }
    // Neighbours must not leave a pixel on their common edge to each other.
    constexpr double slack = -1e-12;
    for (int y = static_cast<int>(low[1]); y < static_cast<int>(high[1]); ++y) {
        const std::size_t row = static_cast<std::size_t>(y - part.bottom) * static_cast<std::size_t>(part.width);
        for (int x = static_cast<int>(low[0]); x < static_cast<int>(high[0]); ++x) {
            const double e[3] = {edges.at(0, x + 0.5, y + 0.5), edges.at(1, x + 0.5, y + 0.5),
                                 edges.at(2, x + 0.5, y + 0.5)};
            const double sum = e[0] + e[1] + e[2];
            const double edge = slack * std::abs(sum);
            if (!(sum > 0.0) || e[0] < edge || e[1] < edge || e[2] < edge) {
                continue;
            }
            const auto depth =
                static_cast<float>(e[0] * edges.depth[0] + e[1] * edges.depth[1] + e[2] * edges.depth[2]);
            const std::size_t pixel = row + static_cast<std::size_t>(x - part.left);
            if (depth >= -1.0F && depth < depths[pixel]) {
                depths[pixel] = depth;
                seen[pixel] = face + 1;
            }
        }
    }
}

std::uint32_t KivSeenSurface::faceAt(int x, int y) const {
    if (x < part.left || y < part.bottom || x >= part.left + part.width || y >= part.bottom + part.height) {
        return 0;
    }
    return seen[static_cast<std::size_t>(y - part.bottom) * static_cast<std::size_t>(part.width) +
                static_cast<std::size_t>(x - part.left)];
}

const KivSeenSurface::Body& KivSeenSurface::bodyOf(std::uint32_t face) const {
    const auto after = std::upper_bound(bodies.begin(), bodies.end(), face - 1,
                                        [](std::uint32_t number, const Body& body) { return number < body.firstFace; });
    return *(after - 1);
}

std::uint32_t KivSeenSurface::bodyAt(double x, double y) const {
    const std::uint32_t face = faceAt(static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)));
    return face != 0 ? bodyOf(face).number : 0;
}

KivSeenSurface::Weights KivSeenSurface::weightsAt(std::uint32_t face, double x, double y) const {
    const Body& body = bodyOf(face);
    const KivSurface::Triangle& t = body.mesh->triangles[face - 1 - body.firstFace];
    const KivVec* const corners[3] = {&body.mesh->points[t[0]], &body.mesh->points[t[1]], &body.mesh->points[t[2]]};
    KivClipPoint clip[3];
    const Scan edges(view, corners, clip);
    Weights weights;
    double sum = 0.0;
    for (int i = 0; i < 3; ++i) {
        weights.of[i] = edges.at(i, x, y);
        sum += weights.of[i];
    }
    weights.isSound = edges.isSound && sum > 0.0;
    for (double& weight : weights.of) {
        weight = weights.isSound ? weight / sum : 1.0 / 3.0;
    }
    return weights;
}

KivVec KivSeenSurface::placeAt(std::uint32_t face, const Weights& weights) const {
    const Body& body = bodyOf(face);
    const KivSurface::Triangle& t = body.mesh->triangles[face - 1 - body.firstFace];
    KivVec place;
    for (int i = 0; i < 3; ++i) {
        place = place + body.mesh->points[t[i]] * weights.of[i];
    }
    return place;
}

KivVec KivSeenSurface::normalAt(std::uint32_t face, const Weights& weights) const {
    const Body& body = bodyOf(face);
    const std::size_t triangle = face - 1 - body.firstFace;
    const KivSurface::Triangle& t = body.mesh->triangles[triangle];
    KivVec normal;
    for (int i = 0; i < 3; ++i) {
        normal = normal + body.mesh->normals[t[i]] * std::clamp(weights.of[i], 0.0, 1.0);
    }
    const KivVec& a = body.mesh->points[t[0]];
    const KivVec outer = kivCross(body.mesh->points[t[1]] - a, body.mesh->points[t[2]] - a) *
                         static_cast<double>(body.mesh->windings[triangle]);
    return kivUnit(kivDot(outer, view.toViewer(a)) < 0.0 ? -normal : normal);
}

std::optional<KivSeenPoint> KivSeenSurface::at(double x, double y) const {
    const std::uint32_t face = faceAt(static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)));
    if (face == 0) {
        return std::nullopt;
    }
    Weights weights = weightsAt(face, x, y);
    double sum = 0.0;
    for (double& weight : weights.of) {
        weight = std::clamp(weight, 0.0, 1.0);
        sum += weight;
    }
    for (double& weight : weights.of) {
        weight /= sum;
    }
    return KivSeenPoint{placeAt(face, weights), normalAt(face, weights), bodyOf(face).number};
}

bool KivSeenSurface::areJoined(std::uint32_t a, std::uint32_t b, const double* from, const double* to) const {
    if (a == b) {
        return true;
    }
    if (a == 0 || b == 0 || bodyOf(a).number != bodyOf(b).number) {
        return false;
    }
    const Weights ofA = weightsAt(a, from[0], from[1]);
    const Weights ofB = weightsAt(b, to[0], to[1]);
    if (kivDot(normalAt(a, ofA), normalAt(b, ofB)) < sharpestBend) {
        return false;
    }
    const auto distance = [this](const KivVec& place) { return -kivDot(view.back(), place); };
    const double here = distance(placeAt(a, ofA));
    const double next = distance(placeAt(b, ofB));
    double gap = std::numeric_limits<double>::infinity();
    if (const Weights ahead = weightsAt(a, to[0], to[1]); ahead.isSound) {
        gap = std::abs(distance(placeAt(a, ahead)) - next);
    }
    if (const Weights behind = weightsAt(b, from[0], from[1]); behind.isSound) {
        gap = std::min(gap, std::abs(distance(placeAt(b, behind)) - here));
    }
    const double pixel = view.pixelSize(view.clip(placeAt(a, ofA)).w);
    return gap <= mostPixels * pixel + mostOfStep * std::abs(next - here);
}

bool KivSeenSurface::isJoined(int x, int y, int nextX, int nextY) const {
    const int left = std::min(x, nextX);
    const int bottom = std::min(y, nextY);
    const std::uint32_t a = faceAt(left, bottom);
    const std::uint32_t b = faceAt(std::max(x, nextX), std::max(y, nextY));
    if (a == 0 || b == 0) {
        return false;
    }
    const std::size_t pixel = static_cast<std::size_t>(bottom - part.bottom) * static_cast<std::size_t>(part.width) +
                              static_cast<std::size_t>(left - part.left);
    std::uint8_t& joint = joints[pixel];
    const int shift = x != nextX ? 0 : bitsOfJoint;
    if ((joint >> shift & isKnown) == 0) {
        const double from[2] = {left + 0.5, bottom + 0.5};
        const double to[2] = {std::max(x, nextX) + 0.5, std::max(y, nextY) + 0.5};
        const int found = isKnown | (areJoined(a, b, from, to) ? isOpen : 0);
        joint = static_cast<std::uint8_t>(joint | found << shift);
    }
    return (joint >> shift & isOpen) != 0;
}

// From pixel to pixel through their common sides.
double KivSeenSurface::reach(double x, double y, double dx, double dy, double limit) const {
    int column = static_cast<int>(std::floor(x));
    int row = static_cast<int>(std::floor(y));
    const int stepX = dx > 0.0 ? 1 : -1;
    const int stepY = dy > 0.0 ? 1 : -1;
    const double perColumn = dx != 0.0 ? 1.0 / std::abs(dx) : std::numeric_limits<double>::infinity();
    const double perRow = dy != 0.0 ? 1.0 / std::abs(dy) : std::numeric_limits<double>::infinity();
    double toColumn = dx != 0.0 ? (column + (stepX > 0 ? 1 : 0) - x) / dx : perColumn;
    double toRow = dy != 0.0 ? (row + (stepY > 0 ? 1 : 0) - y) / dy : perRow;
    for (;;) {
        const bool across = toColumn < toRow;
        const double gone = across ? toColumn : toRow;
        if (gone >= limit) {
            return limit;
        }
        const int nextColumn = column + (across ? stepX : 0);
        const int nextRow = row + (across ? 0 : stepY);
        if (!isJoined(column, row, nextColumn, nextRow)) {
            return std::max(gone, 0.0);
        }
        column = nextColumn;
        row = nextRow;
        (across ? toColumn : toRow) += across ? perColumn : perRow;
    }
}
