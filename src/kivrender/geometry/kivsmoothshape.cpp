#include "kivrender/geometry/kivsmoothshape.h"

#include "kivrender/geometry/disjointsets.h"
#include "kivrender/geometry/kivevenpoints.h"
#include "kivrender/geometry/kivflatfaces.h"
#include "kivrender/geometry/kivloopsurface.h"
#include "kivrender/geometry/kivnormalnoise.h"
#include "kivrender/geometry/kivrestsurface.h"
#include "kivrender/geometry/kivshapecreases.h"
#include "kivrender/geometry/kivshapenormals.h"
#include "kivrender/geometry/kivshaperise.h"
#include "kivrender/geometry/kivshapetips.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivmeshrest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace {

using Triangle = KivSurface::Triangle;
constexpr std::uint32_t none = 0xffffffffU;

// In pixels: how far triangles may lie from the surface over most of their sides.
constexpr double tolerance = 0.2;
constexpr int mostSteps = 4;
// Also in pixels: rises that noise may be behind, and by how much points move to take it away.
constexpr double mayBeRough = 0.03;
constexpr double mostEvened = 0.6;
constexpr double leastEvened = 0.05;
constexpr double leastRoughness = 0.05; // what bends evenly has less, however strongly
constexpr double lightReach = 12.0;
constexpr double lightAngle = 8.0; // degrees
// Of the result: finer meshes are drawn as they are, as dividing them would take longer than drawing them.
constexpr std::size_t mostTriangles = 150000;
// Where two sharp edges turn by more than this into each other, they meet in a corner. Its cosine.
constexpr double cornerTurn = 0.5;
// Given normals on both sides of an edge that are apart by more than 3 degrees make it sharp.
constexpr double splitCosine = 0.9986;

using CornerPaint = std::vector<std::array<std::array<float, 3>, 3>>; // of triangles

// In the order of the triangles that a step of subdivision makes, and straight along the sides: a texture stays where
// it was, and the two sides of a seam stay apart.
CornerPaint dividedPaint(const CornerPaint& paint) {
    CornerPaint finer;
    finer.reserve(paint.size() * 4);
    const auto middle = [](const std::array<float, 3>& a, const std::array<float, 3>& b) {
        return std::array<float, 3>{(a[0] + b[0]) * 0.5F, (a[1] + b[1]) * 0.5F, (a[2] + b[2]) * 0.5F};
    };
    for (const auto& c : paint) {
        const std::array<std::array<float, 3>, 3> m = {middle(c[0], c[1]), middle(c[1], c[2]), middle(c[2], c[0])};
        for (std::size_t k = 0; k < 3; ++k) {
            finer.push_back({c[k], m[k], m[(k + 2) % 3]});
        }
        finer.push_back(m);
    }
    return finer;
}

// Vertices of a mesh for those of a limit surface: one each, or one for each paint that meets there.
class VertexMaker {
public:
    VertexMaker(const KivLoopLimit& l, KivMesh& m, std::vector<std::uint32_t>& scratch)
        : limit(l), mesh(m), vertexOf(scratch) {
        vertexOf.assign(limit.points.size(), none);
    }

    std::uint32_t vertexAt(std::uint32_t at) {
        if (vertexOf[at] == none) {
            vertexOf[at] = add(at);
        }
        return vertexOf[at];
    }

    std::uint32_t vertexAt(std::uint32_t at, const std::array<float, 3>& paint) {
        std::uint32_t* vertex = &vertexOf[at];
        while (*vertex != none && coordinates[*vertex] != paint) {
            vertex = &next[*vertex];
        }
        if (*vertex == none) {
            const std::uint32_t added = add(at);
            *vertex = added; // before the vectors grow
            next.push_back(none);
            coordinates.push_back(paint);
            return added;
        }
        return *vertex;
    }

    void setPaint(const KivMesh& source) {
        auto paint = std::make_shared<KivMeshPaint>(*kivMeshPaint(source));
        paint->coordinates = std::move(coordinates);
        kivSetMeshPaint(mesh, std::move(paint));
    }

private:
    std::uint32_t add(std::uint32_t at) {
        const KivVec& p = limit.points[at];
        const KivVec& n = limit.normals[at];
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(n.x, n.y, n.z));
        return mesh.getNumVertexs() - 1;
    }

    const KivLoopLimit& limit;
    KivMesh& mesh;
    std::vector<std::uint32_t>& vertexOf;
    std::vector<std::uint32_t> next; // with another paint at the same place
    std::vector<std::array<float, 3>> coordinates;
};

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
            if (isPart[i] && groups.find(i) == i) {
                any = buildGroup(i) || any;
            }
        }
        if (!any) {
            result.clear();
        }
        return std::move(result);
    }

private:
    // Whether any mesh may need it. One whose normals tell nothing is not known before its edges are.
    bool findNeedy() {
        isPart.assign(requests.size(), false);
        normalsOf.assign(requests.size(), KivShapeNormals::nothing);
        bool any = false;
        for (std::size_t i = 0; i < requests.size(); ++i) {
            const KivMesh& mesh = *requests[i].mesh;
            const bool hasWord = mesh.hasNormals() && kivNormalsFrom(mesh) != KivNormalsFrom::triangles;
            if (mesh.getNumTriangles() == 0 || mesh.getNumTriangles() > mostTriangles ||
                kivMeshEdges(mesh) != nullptr || (hasWord && kivNormalsFrom(mesh) == KivNormalsFrom::host)) {
                continue;
            }
            isPart[i] = true;
            const std::shared_ptr<const KivMesh> atRest = kivMeshRest(mesh);
            normalsOf[i] = hasWord ? KivShapeNormals::own : KivShapeNormals::nothing; // until the surface is there
            any = any || !mesh.hasNormals() || kivRiseByNormals(mesh, view) > mayBeRough ||
                  (hasWord && kivIsShadedFlat(atRest != nullptr ? *atRest : mesh));
        }
        return any;
    }

    void readSurface(std::size_t i) {
        surfaces[i] = kivReadSurface(*requests[i].mesh);
        rests[i] = kivRestSurface(*requests[i].mesh, surfaces[i]);
        if (normalsOf[i] == KivShapeNormals::own) {
            normalsOf[i] = kivShapeNormals(shapeOf(i));
            isPart[i] = normalsOf[i] != KivShapeNormals::own;
        }
    }

    // What decides on the shape.
    const KivSurface& shapeOf(std::size_t i) const {
        return rests[i] ? *rests[i] : surfaces[i];
    }

    void readPoints() {
        surfaces.resize(requests.size());
        rests.resize(requests.size());
        firstPoint.assign(requests.size() + 1, 0);
        std::vector<KivVec> all;
        for (std::size_t i = 0; i < requests.size(); ++i) {
            if (isPart[i]) {
                readSurface(i);
            }
            if (isPart[i]) {
                all.insert(all.end(), surfaces[i].points.begin(), surfaces[i].points.end());
            }
            firstPoint[i + 1] = static_cast<std::uint32_t>(all.size());
        }
        groups = DisjointSets(requests.size());
        std::uint32_t count = 0;
        place = kivWeldPoints(all, &count);
        std::vector<std::uint32_t> meshAt(count, none);
        for (std::uint32_t i = 0; i < requests.size(); ++i) {
            for (std::uint32_t p = firstPoint[i]; p < firstPoint[i + 1]; ++p) {
                std::uint32_t& mesh = meshAt[place[p]];
                if (mesh == none) {
                    mesh = i;
                } else {
                    groups.join(mesh, i);
                }
            }
        }
        pointOf.assign(count, none);
    }

    // False if its triangles are fine enough.
    bool buildGroup(std::uint32_t root) {
        KivLoopSurface surface;
        members.clear();
        cornerNormals.clear();
        shapePoints.clear();
        double smoothAngle = 180.0;
        bool isShadedFlat = false;
        for (std::uint32_t i = root; i < requests.size(); ++i) {
            if (isPart[i] && groups.find(i) == root) {
                members.push_back(i);
                smoothAngle = std::min(smoothAngle, requests[i].smoothAngle);
                isShadedFlat = isShadedFlat || (normalsOf[i] == KivShapeNormals::nothing &&
                                                kivNormalsFrom(*requests[i].mesh) == KivNormalsFrom::file);
                addTriangles(i, surface);
            }
        }
        for (const std::uint32_t i : members) {
            forget(i);
        }
        // All up to here and down to the noise is the same in each pose.
        surface.points.swap(shapePoints);
        orient(surface);
        surface.sharp = kivShapeCreases(surface.points, surface.triangles, surface.adjacency, smoothAngle);
        addGivenEdges(surface);
        markTurned(surface);
        findCorners(surface);
        if (smoothAngle <= kivMostUsualCrease ? kivIsFlatOrPolyhedron(surface) : kivHasFlatFaces(surface)) {
            return false;
        }
        kivPinTips(surface);
        const double roughness = noiseOf(surface);
        const bool isPosed =
            std::any_of(members.begin(), members.end(), [this](std::uint32_t i) { return rests[i].has_value(); });
        surface.points.swap(shapePoints);
        KivLoopSurface atRest;
        if (isPosed) {
            atRest = surface;
            atRest.points = shapePoints;
        }
        const KivEvened evened =
            roughness < leastRoughness ? KivEvened() : kivEvenPoints(surface, view, leastEvened, mostEvened);
        const bool isRough = evened.points > 0.0 || evened.light > 0.0;
        const int needed = stepsFor(surface);
        if (needed == 0 && !isShadedFlat && !isRough) {
            return false;
        }
        // Light changes evenly only over triangles that are much smaller than the bends.
        const bool mayBeFiner = surface.triangles.size() * 4 <= mostTriangles;
        const int steps = std::max(needed, isRough && mayBeFiner ? 1 : 0);
        const KivMeshNoise noise = {roughness, static_cast<double>(1U << static_cast<unsigned int>(steps))};
        for (int i = 0; i < steps; ++i) {
            surface = kivLoopStep(surface);
            atRest = isPosed ? kivLoopStep(atRest) : KivLoopSurface();
        }
        const KivLoopLimit restLimit = isPosed ? kivLoopLimit(atRest) : KivLoopLimit();
        KivLoopLimit limit = kivLoopLimit(surface);
        if (isRough) {
            kivEvenLight(limit, view, lightReach, evened.light * lightAngle);
        }
        std::size_t first = 0;
        for (const std::uint32_t i : members) {
            const std::size_t count = surfaces[i].triangles.size();
            const CornerPaint paint = paintOf(i, first, steps);
            result[i] = meshOf(*requests[i].mesh, limit, first << (2 * steps), count << (2 * steps), paint);
            kivSetMeshNoise(*result[i], noise);
            if (isPosed) {
                kivSetMeshRest(*result[i],
                               meshOf(*requests[i].mesh, restLimit, first << (2 * steps), count << (2 * steps), paint));
            }
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
                    shapePoints.push_back(shapeOf(i).points[t[k]]);
                }
                added[k] = p;
            }
            surface.triangles.push_back(added);
        }
        const bool areGiven = normalsOf[i] == KivShapeNormals::smooth;
        for (std::size_t t = 0; t < surfaces[i].triangles.size(); ++t) {
            std::array<KivVec, 3>& normals = cornerNormals.emplace_back();
            for (std::size_t k = 0; areGiven && k < 3; ++k) {
                normals[k] = shapeOf(i).normals[shapeOf(i).cornerNormals[t][k]];
            }
        }
    }
    void forget(std::uint32_t i) {
        for (std::uint32_t p = firstPoint[i]; p < firstPoint[i + 1]; ++p) {
            pointOf[place[p]] = none;
        }
    }

    void orient(KivLoopSurface& surface) {
        const std::vector<Triangle> before = surface.triangles;
        surface.adjacency = kivShapeEdges(surface.points.size(), surface.triangles);
        kivOrientShape(surface.points, surface.triangles, surface.adjacency);
        isTurned.assign(before.size(), false);
        for (std::size_t t = 0; t < before.size(); ++t) {
            isTurned[t] = surface.triangles[t][1] != before[t][1];
            if (isTurned[t]) {
                std::swap(cornerNormals[t][1], cornerNormals[t][2]);
            }
        }
    }

    // Where both triangles have normals of smooth shapes, an edge of the shape parts them. Many programs part none, and
    // leave the rest to the bends.
    void addGivenEdges(KivLoopSurface& surface) const {
        const auto normalAt = [&](std::uint32_t t, std::uint32_t p) -> const KivVec& {
            const Triangle& c = surface.triangles[t];
            return cornerNormals[t][c[0] == p ? 0 : c[1] == p ? 1 : 2];
        };
        for (std::size_t e = 0; e < surface.sharp.size(); ++e) {
            const KivShapeEdge& edge = surface.adjacency.edges[e];
            if (edge.second == KivShapeEdge::none || edge.junction) {
                continue;
            }
            for (const std::uint32_t p : {edge.a, edge.b}) {
                const KivVec& m = normalAt(edge.first, p);
                const KivVec& n = normalAt(edge.second, p);
                const bool areGiven = kivDot(m, m) > 0.0 && kivDot(n, n) > 0.0;
                surface.sharp[e] |= areGiven && kivDot(m, n) < splitCosine ? 1 : 0;
            }
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
        const double rise = kivRiseByTriangles(surface, view);
        int steps = 0;
        std::size_t triangles = surface.triangles.size();
        for (double left = rise; left > tolerance && steps < mostSteps && triangles * 4 <= mostTriangles;
             left *= 0.25) {
            ++steps;
            triangles *= 4;
        }
        return steps;
    }

    // Values at the corners of the divided triangles of a mesh; the first is that of the group with that number.
    CornerPaint paintOf(std::uint32_t i, std::size_t first, int steps) const {
        const KivMesh& mesh = *requests[i].mesh;
        const std::shared_ptr<const KivMeshPaint> paint = kivMeshPaint(mesh);
        CornerPaint corners;
        if (paint == nullptr || paint->coordinates.size() != mesh.getNumVertexs()) {
            return corners;
        }
        for (std::size_t t = 0; t < surfaces[i].triangles.size(); ++t) {
            unsigned int corner[3] = {0, 0, 0};
            mesh.getTriangle(corner, surfaces[i].sources[t]);
            if (isTurned[first + t]) {
                std::swap(corner[1], corner[2]);
            }
            corners.push_back(
                {paint->coordinates[corner[0]], paint->coordinates[corner[1]], paint->coordinates[corner[2]]});
        }
        for (int step = 0; step < steps; ++step) {
            corners = dividedPaint(corners);
        }
        return corners;
    }

    // paint: empty for a mesh of one colour.
    std::unique_ptr<KivMesh> meshOf(const KivMesh& source, const KivLoopLimit& limit, std::size_t first,
                                    std::size_t count, const CornerPaint& paint) {
        auto mesh = std::make_unique<KivMesh>();
        static_cast<Kiv3DObject&>(*mesh) = source;
        KivMaterial material;
        material = *source.getMaterial();
        mesh->setMaterial(material);
        VertexMaker maker(limit, *mesh, vertexOf);
        mesh->reserveTriangles(static_cast<unsigned int>(count));
        for (std::size_t t = 0; t < count; ++t) {
            unsigned int corner[3] = {0, 0, 0};
            for (std::size_t k = 0; k < 3; ++k) {
                const std::uint32_t at = limit.triangles[first + t][k];
                corner[k] = paint.empty() ? maker.vertexAt(at) : maker.vertexAt(at, paint[t][k]);
            }
            mesh->addTriangle(corner[0], corner[1], corner[2]);
        }
        if (!paint.empty()) {
            maker.setPaint(source);
        }
        return mesh;
    }

    const std::vector<KivShapeRequest>& requests;
    const KivShapeView& view;
    std::vector<bool> isPart;
    std::vector<KivShapeNormals> normalsOf; // of each request
    std::vector<KivSurface> surfaces;
    std::vector<std::optional<KivSurface>> rests;     // of meshes in a pose
    std::vector<KivVec> shapePoints;                  // of the surface at hand, at rest
    std::vector<std::uint32_t> firstPoint;            // of each request
    std::vector<std::uint32_t> place;                 // of each point
    std::vector<std::uint32_t> pointOf;               // in the surface at hand, of each place
    std::vector<std::uint32_t> vertexOf;              // in the mesh at hand, of each vertex of the limit surface
    DisjointSets groups{0};                           // of meshes that share points
    std::vector<std::uint32_t> members;               // of the group at hand
    std::vector<std::array<KivVec, 3>> cornerNormals; // of its triangles; zero where they tell nothing
    std::vector<bool> isTurned;                       // of its triangles
    std::vector<std::unique_ptr<KivMesh>> result;
};

} // namespace

std::vector<std::unique_ptr<KivMesh>> kivSmoothShapes(const std::vector<KivShapeRequest>& requests,
                                                      const KivShapeView& view) {
    return ShapeBuilder(requests, view).build();
}
