// Closed meshes, wound anticlockwise seen from outside, with welded corners and no normals.
#ifndef TESTS_SUPPORT_CLOSEDSHAPES_H
#define TESTS_SUPPORT_CLOSEDSHAPES_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kivmesh.h"

#include <cmath>
#include <memory>
#include <numbers>

inline std::unique_ptr<KivMesh> closedBox(const Kiv3DPoint& low, const Kiv3DPoint& high) {
    auto mesh = std::make_unique<KivMesh>();
    const unsigned int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                      {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (int i = 0; i < 8; ++i) {
        mesh->addVertex(
            Kiv3DPoint((i & 1) != 0 ? high.x : low.x, (i & 2) != 0 ? high.y : low.y, (i & 4) != 0 ? high.z : low.z));
    }
    for (const auto& face : faces) {
        mesh->addQuad(face[0], face[1], face[2], face[3]);
    }
    return mesh;
}

// A ring about a vertical axis (z) through its middle.
inline std::unique_ptr<KivMesh> closedRing(const Kiv3DPoint& middle, double radius, double thickness,
                                           unsigned int around, unsigned int across) {
    auto mesh = std::make_unique<KivMesh>();
    for (unsigned int i = 0; i < around; ++i) {
        for (unsigned int j = 0; j < across; ++j) {
            const double a = 2.0 * std::numbers::pi * i / around;
            const double b = 2.0 * std::numbers::pi * j / across;
            const double r = radius + thickness * std::cos(b);
            mesh->addVertex(
                Kiv3DPoint(middle.x + r * std::cos(a), middle.y + r * std::sin(a), middle.z + thickness * std::sin(b)));
        }
    }
    for (unsigned int i = 0; i < around; ++i) {
        for (unsigned int j = 0; j < across; ++j) {
            const unsigned int i1 = (i + 1) % around;
            const unsigned int j1 = (j + 1) % across;
            mesh->addQuad(i * across + j, i1 * across + j, i1 * across + j1, i * across + j1);
        }
    }
    return mesh;
}

inline std::unique_ptr<KivMesh> closedSphere(const Kiv3DPoint& middle, double radius, unsigned int around,
                                             unsigned int rings) {
    auto mesh = std::make_unique<KivMesh>();
    for (unsigned int i = 1; i < rings; ++i) {
        for (unsigned int j = 0; j < around; ++j) {
            const double a = std::numbers::pi * i / rings;
            const double b = 2.0 * std::numbers::pi * j / around;
            mesh->addVertex(Kiv3DPoint(middle.x + radius * std::sin(a) * std::cos(b),
                                       middle.y + radius * std::sin(a) * std::sin(b), middle.z + radius * std::cos(a)));
        }
    }
    const unsigned int top = mesh->getNumVertexs();
    mesh->addVertex(Kiv3DPoint(middle.x, middle.y, middle.z + radius));
    mesh->addVertex(Kiv3DPoint(middle.x, middle.y, middle.z - radius));
    for (unsigned int j = 0; j < around; ++j) {
        const unsigned int j1 = (j + 1) % around;
        mesh->addTriangle(top, j, j1);
        for (unsigned int i = 0; i + 2 < rings; ++i) {
            mesh->addQuad(i * around + j, (i + 1) * around + j, (i + 1) * around + j1, i * around + j1);
        }
        mesh->addTriangle(top + 1, (rings - 2) * around + j1, (rings - 2) * around + j);
    }
    return mesh;
}

#endif
