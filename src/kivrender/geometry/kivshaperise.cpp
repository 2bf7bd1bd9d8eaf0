#include "kivrender/geometry/kivshaperise.h"

#include "kivrender/scene/kivmesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace {

using Triangle = KivSurface::Triangle;

constexpr double mostSides = 0.95;
constexpr std::size_t samples = 4000; // triangles tell the usual rise well enough
constexpr double mostFlat = 0.9;
constexpr double sameNormal = 0.9994; // 2 degrees

KivVec vecOf(const Kiv3DPoint& p) {
    return {p.x, p.y, p.z};
}

unsigned int stepOver(unsigned int count) {
    return static_cast<unsigned int>(std::max<std::size_t>(1, count / samples));
}

// How high the surface rises over the sides of a mesh, in pixels.
class RiseMeter {
public:
    explicit RiseMeter(const KivShapeView& v) : view(v) {}

    // An arc over a chord that turns by an angle from end to end rises by an eighth of their product.
    void add(const KivVec& a, const KivVec& b, const KivVec& normalA, const KivVec& normalB) {
        const double length = view.pixels((a + b) * 0.5, kivLength(b - a));
        const double turn = std::atan2(kivLength(kivCross(normalA, normalB)), kivDot(normalA, normalB));
        if (length > 0.0) {
            rises.emplace_back(0.125 * length * turn, length);
            all += length;
        }
    }

    double usual() {
        std::sort(rises.begin(), rises.end());
        double sum = 0.0;
        for (const auto& [rise, length] : rises) {
            sum += length;
            if (sum >= mostSides * all) {
                return rise;
            }
        }
        return 0.0;
    }

private:
    const KivShapeView& view;
    std::vector<std::pair<double, double>> rises; // with the lengths of their sides
    double all = 0.0;
};

} // namespace

double kivRiseByNormals(const KivMesh& mesh, const KivShapeView& view) {
    RiseMeter meter(view);
    const unsigned int count = mesh.getNumTriangles();
    for (unsigned int t = 0; t < count; t += stepOver(count)) {
        unsigned int corner[3] = {0, 0, 0};
        mesh.getTriangle(corner, t);
        for (int k = 0; k < 3; ++k) {
            const unsigned int a = corner[k];
            const unsigned int b = corner[(k + 1) % 3];
            if (a < mesh.getNumVertexs() && b < mesh.getNumVertexs()) {
                const Kiv3DVector m = mesh.getNormal(a);
                const Kiv3DVector n = mesh.getNormal(b);
                meter.add(vecOf(mesh.getVertex(a)), vecOf(mesh.getVertex(b)), {m.x, m.y, m.z}, {n.x, n.y, n.z});
            }
        }
    }
    return meter.usual();
}

// Half of the turn to the next edges falls on an edge.
double kivRiseByTriangles(const KivLoopSurface& surface, const KivShapeView& view) {
    RiseMeter meter(view);
    const auto normalOf = [&surface](std::uint32_t t) {
        const Triangle& c = surface.triangles[t];
        const KivVec& a = surface.points[c[0]];
        return kivUnit(kivCross(surface.points[c[1]] - a, surface.points[c[2]] - a));
    };
    const std::vector<KivShapeEdge>& edges = surface.adjacency.edges;
    const std::size_t step = std::max<std::size_t>(1, edges.size() / (3 * samples));
    for (std::size_t e = 0; e < edges.size(); e += step) {
        if (surface.sharp[e] == 0) {
            meter.add(surface.points[edges[e].a], surface.points[edges[e].b], normalOf(edges[e].first),
                      normalOf(edges[e].second));
        }
    }
    return meter.usual();
}

bool kivIsShadedFlat(const KivMesh& mesh) {
    const unsigned int count = mesh.getNumTriangles();
    std::size_t looked = 0;
    std::size_t flat = 0;
    for (unsigned int t = 0; t < count; t += stepOver(count)) {
        unsigned int corner[3] = {0, 0, 0};
        mesh.getTriangle(corner, t);
        if (std::max({corner[0], corner[1], corner[2]}) >= mesh.getNumVertexs()) {
            continue;
        }
        KivVec normals[3];
        for (int k = 0; k < 3; ++k) {
            const Kiv3DVector n = mesh.getNormal(corner[k]);
            normals[k] = kivUnit({n.x, n.y, n.z});
        }
        ++looked;
        flat += kivDot(normals[0], normals[1]) > sameNormal && kivDot(normals[0], normals[2]) > sameNormal ? 1 : 0;
    }
    return looked > 0 && static_cast<double>(flat) >= mostFlat * static_cast<double>(looked);
}
