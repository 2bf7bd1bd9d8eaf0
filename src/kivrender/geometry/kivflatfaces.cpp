#include "kivrender/geometry/kivflatfaces.h"

#include "kivrender/geometry/disjointsets.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <vector>

namespace {

using Triangle = KivSurface::Triangle;

// Triangles in a plane with two neighbours: at least so many and such a share.
constexpr std::size_t leastFlat = 48;
constexpr double flatShare = 0.1;
constexpr double flatCosine = 0.999998; // a tenth of a degree
// A large face has so much of the surface and so many times the area of most faces; together they have that share.
constexpr double largePart = 0.02;
constexpr double largeTimes = 10.0;
constexpr double largeShare = 0.2;
// Of a polyhedron: of its area so much in polygons of two triangles and more, of its edges so much that are gentle.
constexpr double polygonShare = 0.88;
constexpr double gentleShare = 0.05;

class FaceFinder {
public:
    explicit FaceFinder(const KivLoopSurface& s)
        : surface(s), planes(s.triangles.size()), inPlane(s.triangles.size(), 0) {
        normals.reserve(surface.triangles.size());
        areas.reserve(surface.triangles.size());
        for (const Triangle& c : surface.triangles) {
            const KivVec& a = surface.points[c[0]];
            const KivVec across = kivCross(surface.points[c[1]] - a, surface.points[c[2]] - a);
            normals.push_back(kivUnit(across));
            areas.push_back(0.5 * kivLength(across));
        }
        for (const KivShapeEdge& edge : surface.adjacency.edges) {
            const bool isPair = edge.second != KivShapeEdge::none && !edge.junction;
            if (isPair && kivDot(normals[edge.first], normals[edge.second]) > flatCosine) {
                ++inPlane[edge.first];
                ++inPlane[edge.second];
                planes.join(edge.first, edge.second);
            }
        }
    }

    bool hasManyInPlane() const {
        const auto flat = static_cast<std::size_t>(
            std::count_if(inPlane.begin(), inPlane.end(), [](std::uint32_t neighbours) { return neighbours >= 2; }));
        return flat >= leastFlat && static_cast<double>(flat) >= flatShare * static_cast<double>(inPlane.size());
    }

    bool isPolyhedron() const {
        double inPolygons = 0.0;
        double all = 0.0;
        for (std::size_t t = 0; t < areas.size(); ++t) {
            all += areas[t];
            inPolygons += inPlane[t] > 0 ? areas[t] : 0.0;
        }
        static const double gentleCosine = std::cos(kivFlatFacesCrease * std::numbers::pi / 180.0);
        double gentle = 0.0;
        double sharp = 0.0;
        for (const KivShapeEdge& edge : surface.adjacency.edges) {
            const bool isPair = edge.second != KivShapeEdge::none && !edge.junction;
            const double cosine = isPair ? kivDot(normals[edge.first], normals[edge.second]) : -1.0;
            const double length = kivLength(surface.points[edge.b] - surface.points[edge.a]);
            gentle += cosine <= flatCosine && cosine >= gentleCosine ? length : 0.0;
            sharp += cosine < gentleCosine ? length : 0.0;
        }
        return inPolygons >= polygonShare * all && gentle < gentleShare * (gentle + sharp);
    }

    bool hasLargeFaces() {
        std::vector<double> faces(areas.size(), 0.0);
        for (std::uint32_t t = 0; t < areas.size(); ++t) {
            faces[planes.find(t)] += areas[t];
        }
        faces.erase(std::remove(faces.begin(), faces.end(), 0.0), faces.end());
        if (faces.empty()) {
            return false;
        }
        const auto middle = faces.begin() + static_cast<std::ptrdiff_t>(faces.size() / 2);
        std::nth_element(faces.begin(), middle, faces.end());
        const double usual = *middle;
        const double all = std::accumulate(faces.begin(), faces.end(), 0.0);
        double large = 0.0;
        for (const double area : faces) {
            large += area > std::max(largePart * all, largeTimes * usual) ? area : 0.0;
        }
        return large > largeShare * all;
    }

private:
    const KivLoopSurface& surface;
    std::vector<KivVec> normals;
    std::vector<double> areas;
    DisjointSets planes;                // of triangles
    std::vector<std::uint32_t> inPlane; // of each triangle, how many neighbours
};

} // namespace

bool kivHasFlatFaces(const KivLoopSurface& surface) {
    FaceFinder finder(surface);
    return finder.hasManyInPlane() || finder.hasLargeFaces();
}

bool kivIsPolyhedron(const KivLoopSurface& surface) {
    return FaceFinder(surface).isPolyhedron();
}

bool kivIsFlatOrPolyhedron(const KivLoopSurface& surface) {
    FaceFinder finder(surface);
    return finder.hasManyInPlane() || finder.hasLargeFaces() || finder.isPolyhedron();
}

double kivCreaseAngleOf(const KivSurface& surface, double creaseAngle) {
    constexpr std::size_t mostTriangles = 200000;
    if (creaseAngle <= kivFlatFacesCrease || creaseAngle > kivMostUsualCrease ||
        surface.triangles.size() > mostTriangles) {
        return creaseAngle;
    }
    KivLoopSurface body;
    body.points = surface.points;
    body.triangles = surface.triangles;
    body.adjacency = kivShapeEdges(body.points.size(), body.triangles);
    return kivIsFlatOrPolyhedron(body) ? kivFlatFacesCrease : creaseAngle;
}
