#include "kivrender/scene/kivplacedmesh.h"

#include <algorithm>
#include <utility>

bool KivMeshPlacement::isMirror() const {
    return x.crossProduct(y).dotProduct(z) < 0.0;
}

KivPlacedMesh::KivPlacedMesh(std::shared_ptr<const KivMesh> sharedShape, const KivMeshPlacement& meshPlacement)
    : shape(std::move(sharedShape)), placement(meshPlacement), shapeUnits(1.0 / meshPlacement.x.norm()),
      isMirrored(meshPlacement.isMirror()) {}

KivPlacedMesh::~KivPlacedMesh() = default;

// Axes at right angles and of one length turn normals as they turn the surface.
Kiv3DVector KivPlacedMesh::placedNormal(const Kiv3DVector& n) const {
    const KivMeshPlacement& p = placement;
    return {(p.x.x * n.x + p.y.x * n.y + p.z.x * n.z) * shapeUnits,
            (p.x.y * n.x + p.y.y * n.y + p.z.y * n.z) * shapeUnits,
            (p.x.z * n.x + p.y.z * n.y + p.z.z * n.z) * shapeUnits};
}

// In a mirror the winding turns round; the last two corners change places, so that the first stays the first.
bool KivPlacedMesh::getTriangle(unsigned int* indices, unsigned int triangle) const {
    const bool isThere = shape->getTriangle(indices, triangle);
    if (isThere && isMirrored) {
        std::swap(indices[1], indices[2]);
    }
    return isThere;
}

bool KivPlacedMesh::getTriangle(Kiv3DPoint* points, Kiv3DVector* triangleNormals, unsigned int triangle) const {
    if (!shape->getTriangle(points, triangleNormals, triangle)) {
        return false;
    }
    if (isMirrored) {
        std::swap(points[1], points[2]);
        std::swap(triangleNormals[1], triangleNormals[2]);
    }
    for (int corner = 0; corner < 3; ++corner) {
        points[corner] = placement.placed(points[corner]);
        triangleNormals[corner] = placedNormal(triangleNormals[corner]);
    }
    return true;
}

bool KivPlacedMesh::getTriangle(Kiv3DPoint* points, unsigned int triangle) const {
    if (!shape->getTriangle(points, triangle)) {
        return false;
    }
    if (isMirrored) {
        std::swap(points[1], points[2]);
    }
    std::transform(points, points + 3, points, [this](const Kiv3DPoint& p) { return placement.placed(p); });
    return true;
}

Kiv3DPoint KivPlacedMesh::getVertex(unsigned int index) const {
    return placement.placed(shape->getVertex(index));
}

Kiv3DVector KivPlacedMesh::getNormal(unsigned int index) const {
    return placedNormal(shape->getNormal(index));
}

unsigned int KivPlacedMesh::getNumTriangles() const {
    return shape->getNumTriangles();
}

unsigned int KivPlacedMesh::getNumVertexs() const {
    return shape->getNumVertexs();
}

bool KivPlacedMesh::hasNormals() const {
    return shape->hasNormals();
}

void KivPlacedMesh::rebuildNormals() {
    auto own = std::make_shared<KivMesh>(*this);
    own->rebuildNormals();
    kivSetMeshEdges(*this, kivMeshEdges(*own));
    shape = std::move(own);
    placement = {};
    shapeUnits = 1.0;
    isMirrored = false;
}

std::shared_ptr<const KivMeshEdges> kivPlacedMeshEdges(const KivMesh& mesh) {
    std::shared_ptr<const KivMeshEdges> edges = kivMeshEdges(mesh);
    const auto* const placed = edges != nullptr ? dynamic_cast<const KivPlacedMesh*>(&mesh) : nullptr;
    if (placed == nullptr) {
        return edges;
    }
    return kivMovedMeshEdges(edges, [placed](const Kiv3DPoint& point) { return placed->getPlacement().placed(point); });
}
