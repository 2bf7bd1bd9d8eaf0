#include "kivrender/geometry/kivshapenormals.h"

#include "kivrender/geometry/kivshapeedges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

using Triangle = KivSurface::Triangle;

constexpr double sameNormal = 0.9999; // 0.8 degrees: rounding in files
constexpr double faceNormal = 0.9994; // 2 degrees
constexpr double meanNormal =
    0.94; // 20 degrees: programs weigh the triangles, or the polygons that they were, as they like
constexpr double flatFace = 0.99996;   // half a degree: not even a fine mesh of a round body is so flat
constexpr double bentAway = 0.9997;    // 1.4 degrees
constexpr double mostFlat = 0.95;      // of the area and of the triangles, for flat normals
constexpr double mostWeighted = 0.1;   // of the area, see isWeighted
constexpr double mostAgreeing = 0.9;   // of the corners
constexpr std::size_t largestFan = 64; // comparing all corners of larger ones would take the square of their number
constexpr std::size_t fewFacets = 200;
constexpr double facetBend = 25.0; // degrees
constexpr double flatBend = 1.0;

class NormalReader {
public:
    explicit NormalReader(const KivSurface& s) : surface(s) {}

    KivShapeNormals read() {
        findFaces();
        if (flatArea >= mostFlat * allArea &&
            static_cast<double>(flatFaces) >= mostFlat * static_cast<double>(faces.size())) {
            return hasFacets() ? KivShapeNormals::own : KivShapeNormals::nothing;
        }
        findCorners();
        for (std::uint32_t p = 0; p + 1 < start.size(); ++p) {
            if (start[p + 1] - start[p] <= largestFan) {
                lookAt(p);
            }
        }
        double weightedArea = 0.0;
        for (std::size_t t = 0; t < areas.size(); ++t) {
            weightedArea += isWeighted[t] != 0 ? areas[t] : 0.0;
        }
        const bool agrees = static_cast<double>(agreeing) >= mostAgreeing * static_cast<double>(looked);
        return agrees && weightedArea < mostWeighted * allArea ? KivShapeNormals::smooth : KivShapeNormals::own;
    }

private:
    const KivVec& normalOf(std::uint32_t corner) const {
        return surface.normals[surface.cornerNormals[corner / 3][corner % 3]];
    }

    void findFaces() {
        for (std::uint32_t t = 0; t < surface.triangles.size(); ++t) {
            const Triangle& c = surface.triangles[t];
            const KivVec& a = surface.points[c[0]];
            const KivVec across = kivCross(surface.points[c[1]] - a, surface.points[c[2]] - a);
            KivVec face = kivUnit(across);
            // The side that the normals are on, whatever the winding.
            const KivVec sum = normalOf(3 * t) + normalOf(3 * t + 1) + normalOf(3 * t + 2);
            face = kivDot(face, sum) < 0.0 ? -face : face;
            double least = 1.0;
            for (std::uint32_t k = 0; k < 3; ++k) {
                least = std::min(least, kivDot(normalOf(3 * t + k), face));
            }
            faces.push_back(face);
            areas.push_back(0.5 * kivLength(across));
            flat.push_back(least > flatFace ? 1 : 0);
            allArea += areas.back();
            flatArea += least > faceNormal ? areas.back() : 0.0;
            flatFaces += least > faceNormal ? 1 : 0;
        }
        isWeighted.assign(faces.size(), 0);
    }

    bool hasFacets() const {
        if (faces.size() < fewFacets) {
            return true;
        }
        const double least = std::cos(flatBend * std::numbers::pi / 180.0);
        const double most = std::cos(facetBend * std::numbers::pi / 180.0);
        double bent = 0.0;
        double all = 0.0;
        for (const KivShapeEdge& edge : kivShapeEdges(surface.points.size(), surface.triangles).edges) {
            if (edge.second != KivShapeEdge::none && !edge.junction) {
                const double cosine = kivDot(faces[edge.first], faces[edge.second]);
                const double length = cosine < least ? kivLength(surface.points[edge.b] - surface.points[edge.a]) : 0.0;
                all += length;
                bent += cosine < most ? length : 0.0;
            }
        }
        return 2.0 * bent >= all;
    }

    // The corners by their points.
    void findCorners() {
        start.assign(surface.points.size() + 1, 0);
        for (const Triangle& t : surface.triangles) {
            for (const std::uint32_t p : t) {
                ++start[p + 1];
            }
        }
        for (std::size_t p = 1; p < start.size(); ++p) {
            start[p] += start[p - 1];
        }
        corners.resize(surface.triangles.size() * 3);
        std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
        for (std::uint32_t corner = 0; corner < corners.size(); ++corner) {
            corners[next[surface.triangles[corner / 3][corner % 3]]++] = corner;
        }
    }

    double angleAt(std::uint32_t corner) const {
        const Triangle& t = surface.triangles[corner / 3];
        const KivVec& own = surface.points[t[corner % 3]];
        const KivVec a = surface.points[t[(corner % 3 + 1) % 3]] - own;
        const KivVec b = surface.points[t[(corner % 3 + 2) % 3]] - own;
        return std::atan2(kivLength(kivCross(a, b)), kivDot(a, b));
    }

    void lookAt(std::uint32_t p) {
        for (std::uint32_t i = start[p]; i < start[p + 1]; ++i) {
            const KivVec& normal = normalOf(corners[i]);
            std::array<KivVec, 3> sums{}; // by angle, by area, and alike
            for (std::uint32_t k = start[p]; k < start[p + 1]; ++k) {
                const std::uint32_t t = corners[k] / 3;
                if (kivDot(normalOf(corners[k]), normal) > sameNormal) {
                    sums[0] = sums[0] + faces[t] * angleAt(corners[k]);
                    sums[1] = sums[1] + faces[t] * areas[t];
                    sums[2] = sums[2] + faces[t];
                    // A face that stays flat although its normals go on over a bend was given them with care.
                    const std::uint32_t own = corners[i] / 3;
                    isWeighted[own] |= flat[own] != 0 && kivDot(faces[t], faces[own]) < bentAway ? 1 : 0;
                }
            }
            ++looked;
            agreeing += std::any_of(sums.begin(), sums.end(),
                                    [&normal](const KivVec& sum) { return kivDot(kivUnit(sum), normal) > meanNormal; });
        }
    }

    const KivSurface& surface;
    std::vector<KivVec> faces;
    std::vector<double> areas;
    std::vector<std::uint8_t> flat;
    std::vector<std::uint8_t> isWeighted;
    std::vector<std::uint32_t> start;
    std::vector<std::uint32_t> corners; // 3 * triangle + corner
    double allArea = 0.0;
    double flatArea = 0.0; // of triangles with their own normals
    std::size_t flatFaces = 0;
    std::size_t looked = 0;
    std::size_t agreeing = 0;
};

} // namespace

KivShapeNormals kivShapeNormals(const KivSurface& surface) {
    return NormalReader(surface).read();
}
