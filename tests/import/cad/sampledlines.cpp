#include "sampledlines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

using namespace kivimport;

// x and y in pixels, z the distance from the viewer's plane in units of the view.
using Place = KivVec;

class Sampler {
public:
    Sampler(const ModelParts& modelParts, const KivLineView& lineView, double deflection,
            const std::function<KivVec(const Vec3&)>& place)
        : parts(modelParts), view(lineView), toScene(place), step(4.0 * deflection) {
        instances = parts.instances;
        for (std::uint32_t i = 0; parts.instances.empty() && i < parts.surfaces.size(); ++i) {
            instances.emplace_back().surface = i;
        }
        for (const SurfaceInstance& instance : instances) {
            addTriangles(instance);
        }
        fillBins();
    }

    SampledLines sample() {
        SampledLines sums;
        for (const SurfaceInstance& instance : instances) {
            const Surface& surface = parts.surfaces[instance.surface];
            for (const SurfaceEdge& edge : surface.edges) {
                for (std::uint32_t i = 1; edge.kind != SurfaceEdge::Kind::seam && i < edge.count; ++i) {
                    const auto at = [&](std::uint32_t n) {
                        return placeOf(instance.placed(surface.positions[surface.edgePoints[edge.first + n]]));
                    };
                    double& sum = edge.kind == SurfaceEdge::Kind::sharp ? sums.edges : sums.tangents;
                    sum += visibleLength(at(i - 1), at(i), {});
                }
            }
            sums.contours += contoursOf(instance);
        }
        return sums;
    }

private:
    using Triangle = std::array<Place, 3>;

    Place placeOf(const Vec3& p) const {
        const KivVec inCamera = view.toCamera(toScene(p));
        const KivPicturePoint at = view.toPicture(inCamera);
        return {at.x, at.y, inCamera.z};
    }

    void addTriangles(const SurfaceInstance& instance) {
        const Surface& surface = parts.surfaces[instance.surface];
        for (std::size_t i = 0; i < surface.corners.size(); i += 3) {
            Triangle& added = triangles.emplace_back();
            for (std::size_t k = 0; k < 3; ++k) {
                added[k] = placeOf(instance.placed(surface.positions[surface.corners[i + k]]));
            }
        }
    }

    static int binOf(double at) {
        return std::clamp(static_cast<int>(at / binSize), 0, bins - 1);
    }

    void fillBins() {
        trianglesOf.resize(std::size_t{bins} * bins);
        for (std::uint32_t t = 0; t < triangles.size(); ++t) {
            const auto [x, y] = boundsOf(triangles[t]);
            for (int row = binOf(y.first); row <= binOf(y.second); ++row) {
                for (int column = binOf(x.first); column <= binOf(x.second); ++column) {
                    trianglesOf[static_cast<std::size_t>(row * bins + column)].push_back(t);
                }
            }
        }
    }

    static std::array<std::pair<double, double>, 2> boundsOf(const Triangle& t) {
        const auto x = std::minmax({t[0].x, t[1].x, t[2].x});
        const auto y = std::minmax({t[0].y, t[1].y, t[2].y});
        return {{{x.first, x.second}, {y.first, y.second}}};
    }

    bool isVisible(const Place& p) const {
        const double slack = step; // two surfaces meet at an edge
        const auto& near = trianglesOf[static_cast<std::size_t>(binOf(p.y) * bins + binOf(p.x))];
        return std::none_of(near.begin(), near.end(), [&](std::uint32_t number) {
            const Triangle& t = triangles[number];
            const double whole = area(t[0], t[1], t[2]);
            const double a = area(p, t[1], t[2]) / whole;
            const double b = area(t[0], p, t[2]) / whole;
            const double c = 1.0 - a - b;
            return whole != 0.0 && a >= 0.0 && b >= 0.0 && c >= 0.0 &&
                   a * t[0].z + b * t[1].z + c * t[2].z < p.z - slack;
        });
    }

    static double area(const Place& a, const Place& b, const Place& c) {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    }

    // aside: where the samples are moved to in the picture before they are looked at.
    double visibleLength(const Place& from, const Place& to, const KivPicturePoint& aside) const {
        const double length = std::hypot(to.x - from.x, to.y - from.y);
        const int samples = std::max(1, static_cast<int>(std::ceil(length)));
        int seen = 0;
        for (int i = 0; i < samples; ++i) {
            Place p = from + (to - from) * ((i + 0.5) / samples);
            p.x += aside.x;
            p.y += aside.y;
            seen += isVisible(p) ? 1 : 0;
        }
        return length * seen / samples;
    }

    // Where the normals of a triangle's corners turn from the viewer, in a straight line across it.
    double contoursOf(const SurfaceInstance& instance) const {
        const Surface& surface = parts.surfaces[instance.surface];
        double sum = 0.0;
        for (std::size_t i = 0; i < surface.corners.size(); i += 3) {
            std::array<Place, 3> at;
            std::array<KivVec, 3> normal; // in camera space
            for (std::size_t k = 0; k < 3; ++k) {
                at[k] = placeOf(instance.placed(surface.positions[surface.corners[i + k]]));
                normal[k] = turned(instance, surface.normals[surface.cornerNormals[i + k]]);
            }
            sum += contourOf(at, normal);
        }
        return sum;
    }

    KivVec turned(const SurfaceInstance& instance, const Vec3& n) const {
        const Vec3 inModel = instance.x * n.x + instance.y * n.y + instance.z * n.z;
        return view.toCamera(toScene(inModel)) - view.toCamera(toScene({}));
    }

    double contourOf(const std::array<Place, 3>& at, const std::array<KivVec, 3>& normal) const {
        std::vector<Place> ends;
        KivVec outwards{};
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t next = (k + 1) % 3;
            if ((normal[k].z < 0.0) != (normal[next].z < 0.0)) {
                const double part = normal[k].z / (normal[k].z - normal[next].z);
                ends.push_back(at[k] + (at[next] - at[k]) * part);
                outwards = outwards + normal[k] + (normal[next] - normal[k]) * part;
            }
        }
        const double size = std::hypot(outwards.x, outwards.y);
        if (ends.size() != 2 || size == 0.0) {
            return 0.0;
        }
        // The triangles lie within the contour, by as much as they lie within the surface.
        const double pixels = step / view.pixelSize(1.0);
        return visibleLength(ends[0], ends[1], {outwards.x / size * pixels, outwards.y / size * pixels});
    }

    static constexpr int bins = 512;
    static constexpr double binSize = 8.0; // pixels

    const ModelParts& parts;
    const KivLineView& view;
    const std::function<KivVec(const Vec3&)>& toScene;
    double step;
    std::vector<SurfaceInstance> instances;
    std::vector<Triangle> triangles;
    std::vector<std::vector<std::uint32_t>> trianglesOf;
};

} // namespace

SampledLines sampleLines(const ModelParts& parts, const KivLineView& view, double deflection,
                         const std::function<KivVec(const Vec3&)>& toScene) {
    return Sampler(parts, view, deflection, toScene).sample();
}
