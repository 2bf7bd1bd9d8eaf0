#include "kivsketchdirections.h"

#include "kivrender/scene/kivprogress.h"

#include <cmath>

namespace {

bool isCancelledAt(std::size_t i) {
    return i % 32768 == 0 && kivIsCancelled();
}

struct Frame {
    KivVec u;
    KivVec v;
};

Frame frameOf(const KivVec& normal, const KivVec& side) {
    const KivVec u = kivUnit(side - normal * kivDot(side, normal));
    return {u, kivCross(normal, u)};
}

// The second fundamental form in a frame of the triangle: the least squares of how the normals change along its sides.
struct Form {
    double uu = 0.0;
    double uv = 0.0;
    double vv = 0.0;
};

Form formOf(const std::array<KivVec, 3>& points, const std::array<KivVec, 3>& normals, const Frame& frame) {
    double m[3][4] = {};
    for (std::size_t k = 0; k < 3; ++k) {
        const KivVec side = points[(k + 1) % 3] - points[k];
        const KivVec turn = normals[(k + 1) % 3] - normals[k];
        const double a = kivDot(side, frame.u);
        const double b = kivDot(side, frame.v);
        const double rows[2][4] = {{a, b, 0.0, kivDot(turn, frame.u)}, {0.0, a, b, kivDot(turn, frame.v)}};
        for (const auto& row : rows) {
            for (std::size_t i = 0; i < 3; ++i) {
                for (std::size_t j = 0; j < 4; ++j) {
                    m[i][j] += row[i] * row[j];
                }
            }
        }
    }
    // By Cramer's rule.
    const auto det = [&m](std::size_t a, std::size_t b, std::size_t c) {
        return m[0][a] * (m[1][b] * m[2][c] - m[1][c] * m[2][b]) - m[0][b] * (m[1][a] * m[2][c] - m[1][c] * m[2][a]) +
               m[0][c] * (m[1][a] * m[2][b] - m[1][b] * m[2][a]);
    };
    const double whole = det(0, 1, 2);
    if (!(std::abs(whole) > 0.0)) {
        return {};
    }
    return {det(3, 1, 2) / whole, det(0, 3, 2) / whole, det(0, 1, 3) / whole};
}

} // namespace

void KivSketchDirections::Tensor::add(const KivVec& along, const KivVec& across, double weight) {
    xx += weight * (along.x * along.x - across.x * across.x);
    xy += weight * (along.x * along.y - across.x * across.y);
    xz += weight * (along.x * along.z - across.x * across.z);
    yy += weight * (along.y * along.y - across.y * across.y);
    yz += weight * (along.y * along.z - across.y * across.z);
    zz += weight * (along.z * along.z - across.z * across.z);
}

void KivSketchDirections::Tensor::add(const Tensor& other, double weight) {
    xx += weight * other.xx;
    xy += weight * other.xy;
    xz += weight * other.xz;
    yy += weight * other.yy;
    yz += weight * other.yz;
    zz += weight * other.zz;
}

double KivSketchDirections::Tensor::on(const KivVec& a, const KivVec& b) const {
    return a.x * (xx * b.x + xy * b.y + xz * b.z) + a.y * (xy * b.x + yy * b.y + yz * b.z) +
           a.z * (xz * b.x + yz * b.y + zz * b.z);
}

KivSketchDirections::KivSketchDirections(const KivShadedMesh& shaded, const KivView& view,
                                         const std::vector<std::uint32_t>& placeOf, std::size_t count, double reach,
                                         const Straight& straight)
    : mesh(shaded), places(placeOf), tensors(count) {
    std::vector<double> weights(count, 0.0);
    for (std::size_t t = 0; t < mesh.triangles.size() && !isCancelledAt(t); ++t) {
        addTriangle(t, view, straight, weights);
    }
    for (std::size_t i = 0; i < count; ++i) {
        Tensor mean;
        mean.add(tensors[i], weights[i] > 0.0 ? 1.0 / weights[i] : 0.0);
        tensors[i] = mean;
    }
    even(reach, view);
}

void KivSketchDirections::addTriangle(std::size_t triangle, const KivView& view, const Straight& straight,
                                      std::vector<double>& weights) {
    const KivSurface::Triangle& t = mesh.triangles[triangle];
    const std::array<KivVec, 3> p = {mesh.points[t[0]], mesh.points[t[1]], mesh.points[t[2]]};
    const KivVec across = kivCross(p[1] - p[0], p[2] - p[0]);
    const double area = kivLength(across);
    const KivVec normal = kivUnit(across);
    const KivClipPoint clip = view.clip(p[0]);
    if (!(area > 0.0) || !(clip.w > 0.0)) {
        return;
    }
    const Frame frame = frameOf(normal, p[1] - p[0]);
    const Form form = formOf(p, {mesh.normals[t[0]], mesh.normals[t[1]], mesh.normals[t[2]]}, frame);
    // The eigenvector of the greater curvature, whichever way it bends.
    const double mean = 0.5 * (form.uu + form.vv);
    const double angle = 0.5 * std::atan2(2.0 * form.uv, form.uu - form.vv);
    const double half = std::hypot(0.5 * (form.uu - form.vv), form.uv);
    const double sign = mean < 0.0 ? -1.0 : 1.0;
    const KivVec first = frame.u * std::cos(angle) + frame.v * std::sin(angle);
    const KivVec second = kivCross(normal, first);
    // Of saddles both are as good; the difference of what the two bend decides.
    const double strength = std::abs(mean + half) - std::abs(mean - half);
    Tensor own;
    own.add(sign > 0.0 ? first : second, sign > 0.0 ? second : first, std::abs(strength));
    const KivVec line = kivUnit(straight.direction - normal * kivDot(straight.direction, normal));
    own.add(line, kivCross(normal, line), 1.0 / (straight.radius * view.pixelSize(clip.w)));
    for (const std::uint32_t corner : t) {
        tensors[places[corner]].add(own, area);
        weights[places[corner]] += area;
    }
}

void KivSketchDirections::even(double reach, const KivView& view) {
    const int passes = kivEvenPasses(mesh, view, reach);
    for (int pass = 0; pass < passes; ++pass) {
        std::vector<Tensor> sums(tensors.size());
        std::vector<double> counts(tensors.size(), 0.0);
        for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
            if (isCancelledAt(i)) {
                return;
            }
            const KivSurface::Triangle& t = mesh.triangles[i];
            for (std::size_t k = 0; k < 3; ++k) {
                for (const std::size_t other : {(k + 1) % 3, (k + 2) % 3}) {
                    sums[places[t[k]]].add(tensors[places[t[other]]], 1.0);
                    counts[places[t[k]]] += 1.0;
                }
            }
        }
        for (std::size_t i = 0; i < tensors.size(); ++i) {
            if (counts[i] > 0.0) {
                Tensor mean;
                mean.add(tensors[i], 0.5);
                mean.add(sums[i], 0.5 / counts[i]);
                tensors[i] = mean;
            }
        }
    }
}

KivVec KivSketchDirections::at(std::size_t triangle, const std::array<double, 3>& parts, const KivVec& normal) const {
    const KivSurface::Triangle& t = mesh.triangles[triangle];
    Tensor here;
    for (std::size_t k = 0; k < 3; ++k) {
        here.add(tensors[places[t[k]]], parts[k]);
    }
    const Frame frame = frameOf(normal, mesh.points[t[1]] - mesh.points[t[0]]);
    const double angle =
        0.5 * std::atan2(2.0 * here.on(frame.u, frame.v), here.on(frame.u, frame.u) - here.on(frame.v, frame.v));
    return frame.u * std::cos(angle) + frame.v * std::sin(angle);
}
