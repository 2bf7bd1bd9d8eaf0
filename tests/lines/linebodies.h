// Bodies as points and triangles, for tests of lines.
#ifndef TESTS_LINES_LINEBODIES_H
#define TESTS_LINES_LINEBODIES_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/scene/kivmesh.h"
#include "support/closedshapes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <set>
#include <utility>
#include <vector>

struct LineBody {
    using Triangle = std::array<std::uint32_t, 3>;

    std::vector<KivVec> points;
    std::vector<Triangle> triangles;

    std::array<KivVec, 3> corners(std::size_t triangle) const {
        const Triangle& t = triangles[triangle];
        return {points[t[0]], points[t[1]], points[t[2]]};
    }
};

inline LineBody bodyOf(const KivMesh& mesh) {
    LineBody body;
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        body.points.push_back({p.x, p.y, p.z});
    }
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        LineBody::Triangle triangle{};
        mesh.getTriangle(triangle.data(), i);
        body.triangles.push_back(triangle);
    }
    return body;
}

inline std::unique_ptr<KivMesh> meshOf(const LineBody& body) {
    auto mesh = std::make_unique<KivMesh>();
    for (const KivVec& p : body.points) {
        mesh->addVertex({p.x, p.y, p.z});
    }
    for (const LineBody::Triangle& t : body.triangles) {
        mesh->addTriangle(t[0], t[1], t[2]);
    }
    return mesh;
}

inline LineBody boxBody(const KivVec& low, const KivVec& high) {
    return bodyOf(*closedBox({low.x, low.y, low.z}, {high.x, high.y, high.z}));
}

inline LineBody ringBody(const KivVec& middle, double radius, double thickness, unsigned int around,
                         unsigned int across) {
    return bodyOf(*closedRing({middle.x, middle.y, middle.z}, radius, thickness, around, across));
}

inline LineBody sphereBody(const KivVec& middle, double radius, unsigned int around, unsigned int rings) {
    return bodyOf(*closedSphere({middle.x, middle.y, middle.z}, radius, around, rings));
}

inline std::vector<std::pair<std::uint32_t, std::uint32_t>> edgesOf(const LineBody& body) {
    std::set<std::pair<std::uint32_t, std::uint32_t>> edges;
    for (const LineBody::Triangle& t : body.triangles) {
        for (std::size_t i = 0; i < 3; ++i) {
            edges.emplace(std::minmax(t[i], t[(i + 1) % 3]));
        }
    }
    return {edges.begin(), edges.end()};
}

#endif
