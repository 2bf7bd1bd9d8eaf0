#include "kivrender/scene/kivmesh.h"

#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshkeep.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivmeshrest.h"
#include "kivrender/scene/kivplacedmesh.h"
#include "kivrender/scene/kivpolyline.h"

#include <algorithm>
#include <limits>

namespace {

// Two corners this near to each other on every axis are one vertex.
constexpr double weldTolerance = 0.0001;

// Appends all that the accessors of the source give.
void copyGeometry(const KivMesh& source, KivMesh& target) {
    const unsigned int vertexCount = source.getNumVertexs();
    target.reserveVertexs(vertexCount);
    for (unsigned int i = 0; i < vertexCount; ++i) {
        target.addVertex(source.getVertex(i));
    }
    if (source.hasNormals()) {
        target.reserveNormals(vertexCount);
        for (unsigned int i = 0; i < vertexCount; ++i) {
            target.addNormal(source.getNormal(i));
        }
    }
    const unsigned int triangleCount = source.getNumTriangles();
    target.reserveTriangles(triangleCount);
    for (unsigned int t = 0; t < triangleCount; ++t) {
        unsigned int indices[3] = {};
        source.getTriangle(indices, t);
        target.addTriangle(indices[0], indices[1], indices[2]);
    }
}

} // namespace

KivMesh::KivMesh() = default;

// The shader settings belong to the one object that they were set on, so a copy starts without any.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
KivMesh::KivMesh(const KivMesh& source) : Kiv3DObject() {
    copyGeometry(source, *this);
    // Assigned, since copy construction of a material changes its diffuse colour.
    material = source.material;
    if (const KivBox* box = source.getBoundingBox()) {
        boundingBox = std::make_unique<KivBox>(*box);
    }
    kivSetMeshEdges(*this, kivPlacedMeshEdges(source));
    kivSetNormalsFrom(*this, kivNormalsFrom(source));
    kivSetMeshNoise(*this, kivMeshNoise(source));
    kivSetMeshPaint(*this, kivMeshPaint(source));
    kivSetMeshRest(*this, kivMeshRest(source));
}

KivMesh& KivMesh::operator=(const KivMesh& other) {
    if (this == &other) {
        return *this;
    }
    Kiv3DObject::operator=(other);
    triangles = other.triangles;
    vertexs = other.vertexs;
    normals = other.normals;
    if (dynamic_cast<const KivPlacedMesh*>(&other) != nullptr) {
        copyGeometry(other, *this); // whose own arrays are empty
    }
    material = other.material;
    // Each side keeps a box of its own: both will delete theirs. The scratch array of a weld is nobody else's business.
    vertexsFaces.reset();
    boundingBox = other.boundingBox != nullptr ? std::make_unique<KivBox>(*other.boundingBox) : nullptr;
    kivSetMeshEdges(*this, kivPlacedMeshEdges(other));
    kivSetNormalsFrom(*this, kivNormalsFrom(other));
    kivSetMeshNoise(*this, kivMeshNoise(other));
    kivSetMeshPaint(*this, kivMeshPaint(other));
    kivSetMeshRest(*this, kivMeshRest(other));
    return *this;
}

KivMesh::~KivMesh() {
    kivSetMeshEdges(*this, nullptr);
    kivSetNormalsFromTriangles(*this, false);
    kivSetMeshNoise(*this, {});
    kivSetMeshPaint(*this, nullptr);
    kivSetMeshRest(*this, nullptr);
}

bool KivMesh::getTriangle(unsigned int* indices, unsigned int triangle) const {
    const std::size_t count = triangles.size() / 3;
    if (triangle > count) {
        return false;
    }
    const std::size_t first = std::size_t{3} * triangle;
    for (std::size_t corner = 0; corner < 3; ++corner) {
        indices[corner] = triangle < count ? static_cast<unsigned int>(triangles[first + corner]) : 0U;
    }
    return true;
}

bool KivMesh::getTriangle(Kiv3DPoint* points, Kiv3DVector* triangleNormals, unsigned int triangle) const {
    if (!KivMesh::getTriangle(points, triangle)) {
        return false;
    }
    const std::size_t first = std::size_t{3} * triangle;
    for (std::size_t corner = 0; corner < 3; ++corner) {
        const std::size_t vertex =
            first < triangles.size() ? static_cast<std::size_t>(triangles[first + corner]) : normals.size();
        triangleNormals[corner] = vertex < normals.size() ? normals[vertex] : Kiv3DVector();
    }
    return true;
}

bool KivMesh::getTriangle(Kiv3DPoint* points, unsigned int triangle) const {
    const std::size_t count = triangles.size() / 3;
    if (triangle > count) {
        return false;
    }
    const std::size_t first = std::size_t{3} * triangle;
    for (std::size_t corner = 0; corner < 3; ++corner) {
        points[corner] = triangle < count ? vertexs[triangles[first + corner]] : Kiv3DPoint();
    }
    return true;
}

Kiv3DPoint KivMesh::getVertex(unsigned int index) const {
    return vertexs[index];
}

Kiv3DVector KivMesh::getNormal(unsigned int index) const {
    // rebuildNormals asks for normals that it has not come to yet, and a mesh may have got fewer normals than vertices.
    return index < normals.size() ? normals[index] : Kiv3DVector();
}

unsigned int KivMesh::getNumTriangles() const {
    return static_cast<unsigned int>(triangles.size() / 3);
}

unsigned int KivMesh::getNumVertexs() const {
    return static_cast<unsigned int>(vertexs.size());
}

bool KivMesh::hasNormals() const {
    return !normals.empty();
}

bool KivMesh::hasAllVertexs() const {
    const unsigned int vertexCount = getNumVertexs();
    const unsigned int triangleCount = getNumTriangles();
    for (unsigned int t = 0; t < triangleCount; ++t) {
        unsigned int indices[3] = {};
        getTriangle(indices, t);
        if (std::max({indices[0], indices[1], indices[2]}) >= vertexCount) {
            return false;
        }
    }
    return true;
}

void KivMesh::getIntersectionLines(std::vector<KivPolyline>& /*lines*/, const KivMesh* /*other*/) const {}

void KivMesh::reserveVertexs(unsigned int count) {
    vertexs.reserve(count);
}

void KivMesh::reserveNormals(unsigned int count) {
    normals.reserve(count);
}

void KivMesh::reserveTriangles(unsigned int count) {
    triangles.reserve(std::size_t{3} * count);
}

void KivMesh::addVertex(const Kiv3DPoint& point) {
    vertexs.push_back(point);
}

void KivMesh::addVertex(const Kiv3DPoint& point, const Kiv3DVector& normal) {
    vertexs.push_back(point);
    normals.push_back(normal);
}

void KivMesh::addNormal(const Kiv3DVector& normal) {
    kivKeepWithMesh(*this, nullptr); // their number is asked for by nobody
    normals.push_back(normal);
}

void KivMesh::addTriangle(unsigned int a, unsigned int b, unsigned int c) {
    triangles.push_back(a);
    triangles.push_back(b);
    triangles.push_back(c);
}

void KivMesh::addQuad(unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
    addTriangle(a, b, c);
    addTriangle(c, d, a);
}

void KivMesh::addWeldedCorner(const Kiv3DPoint& point, const Kiv3DVector* normal) {
    const int found = searchVertex(point);
    if (found >= 0) {
        triangles.push_back(static_cast<std::uint64_t>(found));
        return;
    }
    triangles.push_back(vertexs.size());
    vertexs.push_back(point);
    if (normal != nullptr) {
        normals.push_back(*normal);
    }
}

void KivMesh::addTriangle(const Kiv3DPoint& p0, const Kiv3DPoint& p1, const Kiv3DPoint& p2) {
    addWeldedCorner(p0, nullptr);
    addWeldedCorner(p1, nullptr);
    addWeldedCorner(p2, nullptr);
}

void KivMesh::addTriangle(Kiv3DPoint* points) {
    addTriangle(points[0], points[1], points[2]);
}

void KivMesh::addTriangle(const Kiv3DPoint& p0, const Kiv3DVector& n0, const Kiv3DPoint& p1, const Kiv3DVector& n1,
                          const Kiv3DPoint& p2, const Kiv3DVector& n2) {
    addWeldedCorner(p0, &n0);
    addWeldedCorner(p1, &n1);
    addWeldedCorner(p2, &n2);
}

void KivMesh::addTriangle(Kiv3DPoint* points, Kiv3DVector* triangleNormals) {
    addTriangle(points[0], triangleNormals[0], points[1], triangleNormals[1], points[2], triangleNormals[2]);
}

void KivMesh::setMaterial(KivMaterial& value) {
    material = value;
}

const KivMaterial* KivMesh::getMaterial() const {
    return &material;
}

bool KivMesh::isOpaque() const {
    return material.getTransparency() == 1.0;
}

KivBox* KivMesh::getBoundingBox() {
    if (boundingBox == nullptr) {
        updateBoundingBox();
    }
    return boundingBox.get();
}

const KivBox* KivMesh::getBoundingBox() const {
    return boundingBox.get();
}

void KivMesh::updateBoundingBox() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Kiv3DPoint low(infinity, infinity, infinity);
    Kiv3DPoint high(-infinity, -infinity, -infinity);
    const unsigned int count = getNumVertexs();
    for (unsigned int i = 0; i < count; ++i) {
        const Kiv3DPoint point = getVertex(i);
        // In this order of arguments a coordinate that is not a number leaves the bound as it is.
        low.set(std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z));
        high.set(std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z));
    }
    boundingBox = std::make_unique<KivBox>(low.x, high.x, low.y, high.y, low.z, high.z);
}

int KivMesh::searchVertex(const Kiv3DPoint& point) const {
    const unsigned int count = getNumVertexs();
    for (unsigned int i = 0; i < count; ++i) {
        if (point.isEqual(getVertex(i), weldTolerance)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}
