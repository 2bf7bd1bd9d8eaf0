#include "apps/studio/coarsemodel.h"

#include "kivrender/scene/kivbox.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

#include <meshoptimizer.h>

namespace {

// As many triangles as are drawn fast enough to follow a hand: a triangle with its lines takes 2.3 microseconds of a
// processor without graphics. Each mesh costs time of its own, however small it is.
constexpr std::uint64_t lightTriangles = 20'000;
constexpr std::uint64_t coarseTriangles = 16'000;
constexpr std::size_t lightMeshes = 200;
constexpr unsigned int fewTriangles = 60; // that each mesh may keep
constexpr unsigned int mostLines = 50'000;
// More triangles than that are thinned out by clusters first, in a fraction of the time.
constexpr unsigned int mostCollapsed = 600'000;
constexpr unsigned int roughTriangles = 300'000;

Kiv3DVector between(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    return {b.x - a.x, b.y - a.y, b.z - a.z};
}

Kiv3DPoint lowest(const KivBox& box) {
    return {box.getXMin(), box.getYMin(), box.getZMin()};
}

Kiv3DPoint highest(const KivBox& box) {
    return {box.getXMax(), box.getYMax(), box.getZMax()};
}

// Sums of the vertices of a cell.
struct Cell {
    Kiv3DVector place{0.0, 0.0, 0.0};
    Kiv3DVector normal{0.0, 0.0, 0.0};
    unsigned int count = 0;
};

// The number of each vertex's cell, and the cells.
struct Clusters {
    std::vector<unsigned int> cellOf;
    std::vector<Cell> cells;
};

// A mesh that is only read has no box unless it was asked for one before.
KivBox boxOf(const KivMesh& mesh) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Kiv3DPoint low(infinity, infinity, infinity);
    Kiv3DPoint high(-infinity, -infinity, -infinity);
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return {low.x, high.x, low.y, high.y, low.z, high.z};
}

// A grid of so many cells along the longest side of the box.
Clusters cluster(const KivMesh& mesh, const KivBox& box, double across) {
    const Kiv3DVector size = between(lowest(box), highest(box));
    const double side = std::max({size.x, size.y, size.z, 1e-9}) / across;
    Clusters clusters;
    clusters.cellOf.resize(mesh.getNumVertexs());
    std::unordered_map<std::uint64_t, unsigned int> numbers;
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        const Kiv3DVector inside = between(lowest(box), p);
        const auto along = [&](double v) {
            // NaN counts as the first cell.
            return v > 0.0 ? static_cast<std::uint64_t>(std::min(std::floor(v / side), std::ceil(across) - 1.0)) : 0;
        };
        const std::uint64_t key = along(inside.x) << 42 | along(inside.y) << 21 | along(inside.z);
        const auto [found, isNew] = numbers.try_emplace(key, static_cast<unsigned int>(clusters.cells.size()));
        if (isNew) {
            clusters.cells.emplace_back();
        }
        Cell& cell = clusters.cells[found->second];
        cell.place = {cell.place.x + p.x, cell.place.y + p.y, cell.place.z + p.z};
        if (mesh.hasNormals()) {
            const Kiv3DVector n = mesh.getNormal(i);
            cell.normal = {cell.normal.x + n.x, cell.normal.y + n.y, cell.normal.z + n.z};
        }
        ++cell.count;
        clusters.cellOf[i] = found->second;
    }
    return clusters;
}

using Corners = std::array<unsigned int, 3>;

// The triangles that reach over three cells, each once.
std::vector<Corners> keptTriangles(const KivMesh& mesh, const Clusters& clusters) {
    std::vector<Corners> kept;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Corners corner = {};
        mesh.getTriangle(corner.data(), t);
        for (unsigned int& c : corner) {
            c = clusters.cellOf[c];
        }
        if (corner[0] != corner[1] && corner[1] != corner[2] && corner[2] != corner[0]) {
            // The same way round from its lowest corner on: equal ones are then equal to the letter.
            std::rotate(corner.begin(), std::min_element(corner.begin(), corner.end()), corner.end());
            kept.push_back(corner);
        }
    }
    std::sort(kept.begin(), kept.end());
    kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
    return kept;
}

void copyMaterial(const KivMesh& from, KivMesh* to) {
    if (const KivMaterial* const material = from.getMaterial()) {
        KivMaterial copy;
        copy = *material; // a copy that is made at once has another diffuse colour
        to->setMaterial(copy);
    }
}

std::unique_ptr<KivMesh> build(const KivMesh& mesh, const Clusters& clusters, const std::vector<Corners>& triangles) {
    auto coarse = std::make_unique<KivMesh>();
    coarse->reserveVertexs(static_cast<unsigned int>(clusters.cells.size()));
    coarse->reserveTriangles(static_cast<unsigned int>(triangles.size()));
    for (const Cell& cell : clusters.cells) {
        const Kiv3DPoint place(cell.place.x / cell.count, cell.place.y / cell.count, cell.place.z / cell.count);
        if (mesh.hasNormals()) {
            // Where the two sides of a thin part cancel out any way will do.
            Kiv3DVector normal = cell.normal.norm() == 0.0 ? Kiv3DVector(0.0, 0.0, 1.0) : cell.normal;
            normal.normalice();
            coarse->addVertex(place, normal);
        } else {
            coarse->addVertex(place);
        }
    }
    for (const Corners& corner : triangles) {
        coarse->addTriangle(corner[0], corner[1], corner[2]);
    }
    copyMaterial(mesh, coarse.get());
    return coarse;
}

// Meshes of one group look alike in motion, when no mesh has a look of its own: colour, light of its own,
// transparency, and whether there are normals.
using Group = std::tuple<std::uint32_t, std::uint32_t, double, bool>;

// dropped: bits of each part of a colour that do not count.
Group groupOf(const KivMesh& mesh, unsigned int dropped) {
    const KivMaterial* const material = mesh.getMaterial();
    const std::uint32_t mask = (0xFFU << dropped & 0xFFU) * 0x010101U;
    return material != nullptr
               ? Group(material->getDiffuse() & mask, material->getEmission() & mask,
                       dropped > 0 ? material->getTransparency() < 1.0 : material->getTransparency(), mesh.hasNormals())
               : Group(0xFFFFFFU, 0, 1.0, mesh.hasNormals());
}

using Groups = std::map<Group, std::vector<const KivMesh*>>;

Groups groupsOf(const KivScene& scene) {
    for (unsigned int dropped = 0;; ++dropped) {
        Groups groups;
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            const KivMesh* const mesh = scene.getMesh(i);
            groups[groupOf(*mesh, dropped)].push_back(mesh);
        }
        if (groups.size() <= lightMeshes || dropped == 8) {
            return groups;
        }
    }
}

std::unique_ptr<KivMesh> joinedMesh(const std::vector<const KivMesh*>& meshes) {
    auto mesh = std::make_unique<KivMesh>();
    unsigned int vertices = 0;
    unsigned int triangles = 0;
    for (const KivMesh* const part : meshes) {
        vertices += part->getNumVertexs();
        triangles += part->getNumTriangles();
    }
    mesh->reserveVertexs(vertices);
    mesh->reserveTriangles(triangles);
    unsigned int first = 0;
    for (const KivMesh* const part : meshes) {
        for (unsigned int v = 0; v < part->getNumVertexs(); ++v) {
            if (part->hasNormals()) {
                mesh->addVertex(part->getVertex(v), part->getNormal(v));
            } else {
                mesh->addVertex(part->getVertex(v));
            }
        }
        for (unsigned int t = 0; t < part->getNumTriangles(); ++t) {
            unsigned int corner[3] = {};
            part->getTriangle(corner, t);
            mesh->addTriangle(first + corner[0], first + corner[1], first + corner[2]);
        }
        first += part->getNumVertexs();
    }
    copyMaterial(*meshes.front(), mesh.get());
    return mesh;
}

void copyLinesAndPoints(const KivScene& from, KivScene* to) {
    for (unsigned int i = 0; i < std::min(from.numLines(), mostLines); ++i) {
        KivLine line = *from.getLine(i);
        to->addLine(line);
    }
    for (unsigned int i = 0; i < std::min(from.numPolyline(), mostLines); ++i) {
        to->addPolyline(new KivPolyline(*from.getPolyline(i)));
    }
    for (unsigned int i = 0; i < std::min(from.numPoints(), mostLines); ++i) {
        Kiv3DPoint point = *from.getPoint(i);
        to->addPoint(point);
    }
}

std::unique_ptr<KivMesh> clusteredMesh(const KivMesh& mesh, unsigned int wantedTriangles) {
    // A surface of size s in cells of size c has about 2 (s/c)^2 triangles, times a few for its folds. What fills space
    // has far more, and is tried again in larger cells; in a single one nothing is left.
    double across = std::clamp(std::sqrt(wantedTriangles / 6.0), 1.0, 1000.0);
    const KivBox box = boxOf(mesh);
    for (;;) {
        const Clusters clusters = cluster(mesh, box, across);
        const std::vector<Corners> kept = keptTriangles(mesh, clusters);
        if (kept.size() <= wantedTriangles || across <= 1.0) {
            return build(mesh, clusters, kept);
        }
        across = std::max(across / 2.0, 1.0);
    }
}

// The vertices that the triangles use, and these.
std::unique_ptr<KivMesh> chosenMesh(const KivMesh& mesh, const std::vector<unsigned int>& corners) {
    constexpr unsigned int unused = std::numeric_limits<unsigned int>::max();
    std::vector<unsigned int> places(mesh.getNumVertexs(), unused);
    auto chosen = std::make_unique<KivMesh>();
    for (const unsigned int corner : corners) {
        if (places[corner] == unused) {
            places[corner] = chosen->getNumVertexs();
            if (mesh.hasNormals()) {
                chosen->addVertex(mesh.getVertex(corner), mesh.getNormal(corner));
            } else {
                chosen->addVertex(mesh.getVertex(corner));
            }
        }
    }
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
        chosen->addTriangle(places[corners[i]], places[corners[i + 1]], places[corners[i + 2]]);
    }
    copyMaterial(mesh, chosen.get());
    return chosen;
}

// By edges that collapse, those first that change the shape the least (Garland and Heckbert, 1997, as meshoptimizer
// does it): creases and outlines stay where they are, which clusters blur.
std::unique_ptr<KivMesh> collapsedMesh(const KivMesh& mesh, unsigned int wantedTriangles) {
    constexpr float anyError = 1e9F;
    std::vector<float> places;
    places.reserve(std::size_t{3} * mesh.getNumVertexs());
    for (unsigned int v = 0; v < mesh.getNumVertexs(); ++v) {
        const Kiv3DPoint p = mesh.getVertex(v);
        for (const double c : {p.x, p.y, p.z}) {
            places.push_back(std::isfinite(c) ? static_cast<float>(std::clamp(c, -1e30, 1e30)) : 0.0F);
        }
    }
    std::vector<unsigned int> corners(std::size_t{3} * mesh.getNumTriangles());
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        mesh.getTriangle(&corners[std::size_t{3} * t], t);
    }
    std::vector<unsigned int> kept(corners.size());
    kept.resize(meshopt_simplify(kept.data(), corners.data(), corners.size(), places.data(), mesh.getNumVertexs(),
                                 3 * sizeof(float), std::size_t{3} * wantedTriangles, anyError, 0, nullptr));
    return chosenMesh(mesh, kept);
}

} // namespace

std::unique_ptr<KivMesh> coarseMesh(const KivMesh& mesh, unsigned int wantedTriangles) {
    if (mesh.getNumTriangles() <= wantedTriangles) {
        return std::make_unique<KivMesh>(mesh);
    }
    if (mesh.getNumTriangles() > mostCollapsed) {
        const std::unique_ptr<KivMesh> rough = clusteredMesh(mesh, roughTriangles);
        return coarseMesh(*rough, wantedTriangles);
    }
    std::unique_ptr<KivMesh> collapsed = collapsedMesh(mesh, wantedTriangles);
    // Loose triangles and the like can not be collapsed: all would stay.
    return collapsed->getNumTriangles() <= wantedTriangles ? std::move(collapsed)
                                                           : clusteredMesh(mesh, wantedTriangles);
}

CoarseModel::CoarseModel(const KivScene& whole) {
    std::uint64_t all = 0;
    for (unsigned int i = 0; i < whole.numMeshes(); ++i) {
        triangles.push_back(whole.getMesh(i)->getNumTriangles());
        all += triangles.back();
    }
    if (all <= lightTriangles && whole.numMeshes() <= lightMeshes) {
        return;
    }
    parts.emplace();
    for (unsigned int i = 0; i < whole.numMeshes(); ++i) {
        KivMesh* const mesh = whole.getMesh(i);
        const auto share = static_cast<unsigned int>(coarseTriangles * triangles[i] / std::max<std::uint64_t>(all, 1));
        const unsigned int wanted = std::max(share, fewTriangles);
        const bool isCoarse = all > lightTriangles && triangles[i] > wanted;
        parts->addMesh(isCoarse ? coarseMesh(*mesh, wanted).release() : mesh);
    }
    copyLinesAndPoints(whole, &*parts);
}

KivMesh* CoarseModel::partOf(int mesh) const {
    return parts && mesh >= 0 ? parts->getMesh(static_cast<unsigned int>(mesh)) : nullptr;
}

KivScene CoarseModel::scene(const KivScene& whole, const StudioObjectStates& states) const {
    std::uint64_t shownTriangles = 0;
    std::size_t shownMeshes = 0;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        if (!states.at(static_cast<int>(i)).hidden) {
            shownTriangles += triangles[i];
            ++shownMeshes;
        }
    }
    if (!parts || (shownTriangles <= lightTriangles && shownMeshes <= lightMeshes)) {
        return shownScene(whole, states);
    }
    if (shownMeshes <= lightMeshes) {
        return shownScene(*parts, states);
    }
    if (!joined || !(joinedStates == states)) {
        joined.emplace();
        joinedStates = states;
        const KivScene shown = shownScene(*parts, states);
        std::uint64_t all = 0;
        for (unsigned int i = 0; i < shown.numMeshes(); ++i) {
            all += shown.getMesh(i)->getNumTriangles();
        }
        for (const auto& [group, meshes] : groupsOf(shown)) {
            std::unique_ptr<KivMesh> one = joinedMesh(meshes);
            if (all > lightTriangles) { // each of them has few, and together they have many
                const auto share = static_cast<unsigned int>(coarseTriangles * one->getNumTriangles() / all);
                one = coarseMesh(*one, std::max(share, fewTriangles));
            }
            joined->addMesh(one.release());
        }
        copyLinesAndPoints(*parts, &*joined);
    }
    return *joined;
}
