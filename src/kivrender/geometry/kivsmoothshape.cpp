#include "kivrender/geometry/kivsmoothshape.h"

#include "kivrender/geometry/kivloopsurface.h"
#include "kivrender/geometry/kivnormalnoise.h"
#include "kivrender/geometry/kivshapecreases.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <utility>

namespace {

using Triangle = KivSurface::Triangle;
constexpr std::uint32_t none = 0xffffffffU;

// In pixels: how far triangles may lie from the surface over most of their sides.
constexpr double tolerance = 0.2;
constexpr double mostSides = 0.95;
constexpr std::size_t samples = 4000; // triangles tell the usual rise well enough
constexpr int mostSteps = 4;
// Of the result: finer meshes are drawn as they are, as dividing them would take longer than drawing them.
constexpr std::size_t mostTriangles = 100000;
// Of a machine part: triangles that lie in a plane with two of their neighbours, at least so many and such a share. The
// quads of a rounded body give its triangles one such neighbour.
constexpr std::size_t leastFlat = 48;
constexpr double flatShare = 0.1;
constexpr double flatCosine = 0.999998; // a tenth of a degree
// Where two sharp edges turn by more than this into each other, they meet in a corner. Its cosine.
constexpr double cornerTurn = 0.5;

KivVec vecOf(const Kiv3DPoint& p) {
    return {p.x, p.y, p.z};
}

bool standsForShape(const KivMesh& mesh) {
    // Its paint lies at its own vertices.
    return mesh.getNumTriangles() > 0 && kivMeshEdges(mesh) == nullptr && kivMeshPaint(mesh) == nullptr &&
           (!mesh.hasNormals() || kivHasNormalsFromTriangles(mesh));
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

// Over a sample of the sides, by the normals at their ends.
double riseByNormals(const KivMesh& mesh, const KivShapeView& view) {
    RiseMeter meter(view);
    const unsigned int count = mesh.getNumTriangles();
    const auto step = static_cast<unsigned int>(std::max<std::size_t>(1, count / samples));
    for (unsigned int t = 0; t < count; t += step) {
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

// Over the smooth edges, by the triangles on either side: half of the turn to the next edges falls on an edge.
double riseByTriangles(const KivLoopSurface& surface, const KivShapeView& view) {
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

// Whether much of the surface lies in planes. Curves through the few points of its outlines would cut into its faces.
bool hasFlatFaces(const KivLoopSurface& surface) {
    std::vector<KivVec> normals;
    normals.reserve(surface.triangles.size());
    for (const Triangle& c : surface.triangles) {
        const KivVec& a = surface.points[c[0]];
        normals.push_back(kivUnit(kivCross(surface.points[c[1]] - a, surface.points[c[2]] - a)));
    }
    std::size_t flat = 0;
    for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
        int inPlane = 0;
        for (const std::uint32_t side : surface.adjacency.sides[t]) {
            const KivShapeEdge& edge = surface.adjacency.edges[side];
            const bool isPair = edge.second != KivShapeEdge::none && !edge.junction;
            inPlane += isPair && kivDot(normals[edge.first], normals[edge.second]) > flatCosine ? 1 : 0;
        }
        flat += inPlane >= 2 ? 1 : 0;
    }
    return flat >= leastFlat && static_cast<double>(flat) >= flatShare * static_cast<double>(surface.triangles.size());
}

// Some meshes of a scene whose points are counted through, and those of them that share points.
class ShapeBuilder {
public:
    ShapeBuilder(const std::vector<KivShapeRequest>& r, const KivShapeView& v) : requests(r), view(v) {}

    std::vector<std::unique_ptr<KivMesh>> build() {
        if (!findNeedy()) {
            return {};
        }
        readPoints();
        result.resize(requests.size());
        bool any = false;
        for (std::uint32_t i = 0; i < requests.size(); ++i) {
            if (isPart[i] && find(i) == i) {
                any = buildGroup(i) || any;
            }
        }
        if (!any) {
            result.clear();
        }
        return std::move(result);
    }

private:
    // Whether any mesh may need it. One without normals is not known before its edges are.
    bool findNeedy() {
        isPart.assign(requests.size(), false);
        bool any = false;
        for (std::size_t i = 0; i < requests.size(); ++i) {
            const KivMesh& mesh = *requests[i].mesh;
            isPart[i] = standsForShape(mesh);
            any = any || (isPart[i] && (!mesh.hasNormals() || riseByNormals(mesh, view) > tolerance));
        }
        return any;
    }

    void readPoints() {
        surfaces.resize(requests.size());
        firstPoint.assign(requests.size() + 1, 0);
        std::vector<KivVec> all;
        for (std::size_t i = 0; i < requests.size(); ++i) {
            if (isPart[i]) {
                surfaces[i] = kivReadSurface(*requests[i].mesh);
                all.insert(all.end(), surfaces[i].points.begin(), surfaces[i].points.end());
            }
            firstPoint[i + 1] = static_cast<std::uint32_t>(all.size());
        }
        parent.resize(requests.size());
        std::iota(parent.begin(), parent.end(), 0U);
        std::uint32_t count = 0;
        place = kivWeldPoints(all, &count);
        std::vector<std::uint32_t> meshAt(count, none);
        for (std::uint32_t i = 0; i < requests.size(); ++i) {
            for (std::uint32_t p = firstPoint[i]; p < firstPoint[i + 1]; ++p) {
                std::uint32_t& mesh = meshAt[place[p]];
                if (mesh == none) {
                    mesh = i;
                } else {
                    join(mesh, i);
                }
            }
        }
        pointOf.assign(count, none);
    }

    std::uint32_t find(std::uint32_t i) {
        while (parent[i] != i) {
            parent[i] = parent[parent[i]];
            i = parent[i];
        }
        return i;
    }
    void join(std::uint32_t i, std::uint32_t j) {
        const std::uint32_t a = find(i);
        const std::uint32_t b = find(j);
        parent[std::max(a, b)] = std::min(a, b);
    }

    // False if its triangles are fine enough.
    bool buildGroup(std::uint32_t root) {
        KivLoopSurface surface;
        std::vector<std::uint32_t> members;
        double smoothAngle = 180.0;
        for (std::uint32_t i = root; i < requests.size(); ++i) {
            if (isPart[i] && find(i) == root) {
                members.push_back(i);
                smoothAngle = std::min(smoothAngle, requests[i].smoothAngle);
                addTriangles(i, surface);
            }
        }
        for (const std::uint32_t i : members) {
            forget(i);
        }
        surface.adjacency = kivShapeEdges(surface.points.size(), surface.triangles);
        kivOrientShape(surface.points, surface.triangles, surface.adjacency);
        surface.sharp = kivShapeCreases(surface.points, surface.triangles, surface.adjacency, smoothAngle);
        markTurned(surface);
        findCorners(surface);
        const int steps = stepsFor(surface);
        if (steps == 0) {
            return false;
        }
        const KivMeshNoise noise = {noiseOf(surface), static_cast<double>(1U << static_cast<unsigned int>(steps))};
        for (int i = 0; i < steps; ++i) {
            surface = kivLoopStep(surface);
        }
        const KivLoopLimit limit = kivLoopLimit(surface);
        std::size_t first = 0;
        for (const std::uint32_t i : members) {
            const std::size_t count = surfaces[i].triangles.size() << (2 * steps);
            result[i] = meshOf(*requests[i].mesh, limit, first, count);
            kivSetMeshNoise(*result[i], noise);
            first += count;
        }
        return true;
    }

    void addTriangles(std::uint32_t i, KivLoopSurface& surface) {
        for (const Triangle& t : surfaces[i].triangles) {
            Triangle added{};
            for (std::size_t k = 0; k < 3; ++k) {
                std::uint32_t& p = pointOf[place[firstPoint[i] + t[k]]];
                if (p == none) {
                    p = static_cast<std::uint32_t>(surface.points.size());
                    surface.points.push_back(surfaces[i].points[t[k]]);
                }
                added[k] = p;
            }
            surface.triangles.push_back(added);
        }
    }
    void forget(std::uint32_t i) {
        for (std::uint32_t p = firstPoint[i]; p < firstPoint[i + 1]; ++p) {
            pointOf[place[p]] = none;
        }
    }

    // Neighbours that stay wound otherwise, on a surface without two sides, have no normal in common.
    static void markTurned(KivLoopSurface& surface) {
        for (std::size_t e = 0; e < surface.sharp.size(); ++e) {
            const KivShapeEdge& edge = surface.adjacency.edges[e];
            if (surface.sharp[e] == 0) {
                const auto along = [&](std::uint32_t t) {
                    const Triangle& c = surface.triangles[t];
                    return (c[0] == edge.a && c[1] == edge.b) || (c[1] == edge.a && c[2] == edge.b) ||
                           (c[2] == edge.a && c[0] == edge.b);
                };
                surface.sharp[e] = along(edge.first) == along(edge.second) ? 1 : 0;
            }
        }
    }

    static void findCorners(KivLoopSurface& surface) {
        surface.pinned.assign(surface.points.size(), 0);
        std::vector<std::uint32_t> other(surface.points.size(), none);
        for (std::size_t e = 0; e < surface.sharp.size(); ++e) {
            const KivShapeEdge& edge = surface.adjacency.edges[e];
            if (surface.sharp[e] == 0) {
                continue;
            }
            for (const auto& [at, to] : {std::pair(edge.a, edge.b), std::pair(edge.b, edge.a)}) {
                if (edge.junction) {
                    surface.pinned[at] = 1;
                } else if (other[at] == none) {
                    other[at] = to;
                } else {
                    const KivVec before = kivUnit(surface.points[at] - surface.points[other[at]]);
                    const KivVec behind = kivUnit(surface.points[to] - surface.points[at]);
                    surface.pinned[at] |= kivDot(before, behind) < cornerTurn ? 1 : 0;
                }
            }
        }
    }

    static double noiseOf(const KivLoopSurface& surface) {
        std::vector<KivVec> normals(surface.points.size());
        for (const Triangle& t : surface.triangles) {
            const KivVec& a = surface.points[t[0]];
            const KivVec face = kivUnit(kivCross(surface.points[t[1]] - a, surface.points[t[2]] - a));
            for (const std::uint32_t p : t) {
                normals[p] = normals[p] + face;
            }
        }
        std::transform(normals.begin(), normals.end(), normals.begin(), kivUnit);
        return kivNormalNoise(normals, surface.triangles);
    }

    // Each step leaves a quarter of the rise.
    int stepsFor(const KivLoopSurface& surface) const {
        if (hasFlatFaces(surface)) {
            return 0;
        }
        const double rise = riseByTriangles(surface, view);
        int steps = 0;
        std::size_t triangles = surface.triangles.size();
        for (double left = rise; left > tolerance && steps < mostSteps && triangles * 4 <= mostTriangles;
             left *= 0.25) {
            ++steps;
            triangles *= 4;
        }
        return steps;
    }

    std::unique_ptr<KivMesh> meshOf(const KivMesh& source, const KivLoopLimit& limit, std::size_t first,
                                    std::size_t count) {
        auto mesh = std::make_unique<KivMesh>();
        static_cast<Kiv3DObject&>(*mesh) = source;
        KivMaterial material;
        material = *source.getMaterial();
        mesh->setMaterial(material);
        vertexOf.assign(limit.points.size(), none);
        mesh->reserveTriangles(static_cast<unsigned int>(count));
        for (std::size_t t = first; t < first + count; ++t) {
            unsigned int corner[3] = {0, 0, 0};
            for (std::size_t k = 0; k < 3; ++k) {
                std::uint32_t& vertex = vertexOf[limit.triangles[t][k]];
                if (vertex == none) {
                    vertex = mesh->getNumVertexs();
                    const KivVec& p = limit.points[limit.triangles[t][k]];
                    const KivVec& n = limit.normals[limit.triangles[t][k]];
                    mesh->addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(n.x, n.y, n.z));
                }
                corner[k] = vertex;
            }
            mesh->addTriangle(corner[0], corner[1], corner[2]);
        }
        return mesh;
    }

    const std::vector<KivShapeRequest>& requests;
    const KivShapeView& view;
    std::vector<bool> isPart;
    std::vector<KivSurface> surfaces;
    std::vector<std::uint32_t> firstPoint; // of each request
    std::vector<std::uint32_t> place;      // of each point
    std::vector<std::uint32_t> pointOf;    // in the surface at hand, of each place
    std::vector<std::uint32_t> vertexOf;   // in the mesh at hand, of each vertex of the limit surface
    std::vector<std::uint32_t> parent;
    std::vector<std::unique_ptr<KivMesh>> result;
};

} // namespace

std::vector<std::unique_ptr<KivMesh>> kivSmoothShapes(const std::vector<KivShapeRequest>& requests,
                                                      const KivShapeView& view) {
    return ShapeBuilder(requests, view).build();
}
