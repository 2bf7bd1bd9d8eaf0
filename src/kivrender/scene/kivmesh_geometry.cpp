// What a mesh knows of its triangles and their neighbours. All of it reads through the virtual accessors.
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshkeep.h"

#include <cmath>
#include <numeric>

namespace {

// Plane coefficients this near to each other belong to one plane.
constexpr double planeTolerance = 0.0001;

} // namespace

Kiv3DVector KivMesh::getTriangleNormal(unsigned int triangle) const {
    unsigned int indices[3] = {};
    getTriangle(indices, triangle);
    const Kiv3DPoint p0 = getVertex(indices[0]);
    const Kiv3DPoint p1 = getVertex(indices[1]);
    const Kiv3DPoint p2 = getVertex(indices[2]);
    const Kiv3DVector normal = (p0 - p1).crossProduct(p1 - p2);
    if (!hasNormals()) {
        return normal;
    }
    // The vertex normals repair a triangle that is wound the wrong way.
    const Kiv3DVector mean = (getNormal(indices[0]) + getNormal(indices[1]) + getNormal(indices[2])) / 3.0;
    return normal.cosAngle(mean) < 0.0 ? -normal : normal;
}

Kiv3DPoint KivMesh::getTriangleBaricentre(unsigned int triangle) const {
    unsigned int indices[3] = {};
    getTriangle(indices, triangle);
    const Kiv3DPoint p0 = getVertex(indices[0]);
    const Kiv3DPoint p1 = getVertex(indices[1]);
    const Kiv3DPoint p2 = getVertex(indices[2]);
    return {(p0.x + p1.x + p2.x) / 3.0, (p0.y + p1.y + p2.y) / 3.0, (p0.z + p1.z + p2.z) / 3.0};
}

void KivMesh::getTrianglePlane(unsigned int triangle, double* a, double* b, double* c, double* d) const {
    const Kiv3DVector normal = getTriangleNormal(triangle).normal();
    const Kiv3DPoint point = getTriangleBaricentre(triangle);
    *a = normal.x;
    *b = normal.y;
    *c = normal.z;
    *d = -(normal.x * point.x + normal.y * point.y + normal.z * point.z);
}

bool KivMesh::areCoplanarTriangles(unsigned int t1, unsigned int t2) const {
    double plane1[4] = {};
    double plane2[4] = {};
    getTrianglePlane(t1, &plane1[0], &plane1[1], &plane1[2], &plane1[3]);
    getTrianglePlane(t2, &plane2[0], &plane2[1], &plane2[2], &plane2[3]);
    for (int i = 0; i < 4; ++i) {
        if (!(std::fabs(plane1[i] - plane2[i]) <= planeTolerance)) {
            return false;
        }
    }
    return true;
}

bool KivMesh::areAdjacentTriangles(unsigned int t1, unsigned int t2) const {
    unsigned int indices1[3] = {};
    unsigned int indices2[3] = {};
    getTriangle(indices1, t1);
    getTriangle(indices2, t2);
    int shared = 0;
    for (const unsigned int index : indices1) {
        if (index == indices2[0] || index == indices2[1] || index == indices2[2]) {
            ++shared;
        }
    }
    return shared > 1;
}

int KivMesh::getAdjacentTrianglesWithSamePlane(unsigned int triangle, unsigned int* out,
                                               std::list<unsigned int>& candidates, bool flag) const {
    int found = 0;
    int adjacent = 0;
    for (auto candidate = candidates.begin(); candidate != candidates.end();) {
        if (!areAdjacentTriangles(triangle, *candidate)) {
            ++candidate;
            continue;
        }
        if (areCoplanarTriangles(triangle, *candidate)) {
            out[found] = *candidate;
            ++found;
            candidate = candidates.erase(candidate);
        } else {
            ++candidate;
        }
        // A triangle has three neighbours at most, so the walk ends there, in the plane or not.
        ++adjacent;
        if (adjacent == 3 || (flag && adjacent == 2)) {
            break;
        }
    }
    return found;
}

bool KivMesh::getLineFaces(const KivLine& line, int* first, int* second) const {
    *second = -1;
    const Kiv3DPoint start = line.getStart();
    const Kiv3DPoint end = line.getEnd();
    // Wider than an index, so that no vertex matches an end that was not found.
    long long startIndex = -1;
    long long endIndex = -1;
    int hits = 0;
    const unsigned int vertexCount = getNumVertexs();
    for (unsigned int i = 0; i < vertexCount && hits < 2; ++i) {
        const Kiv3DPoint vertex = getVertex(i);
        if (vertex == start) {
            startIndex = i;
            ++hits;
        }
        if (vertex == end) {
            endIndex = i;
            ++hits;
        }
    }
    if (hits < 2) {
        return false;
    }
    bool hasFirst = false;
    const unsigned int triangleCount = getNumTriangles();
    for (unsigned int t = 0; t < triangleCount; ++t) {
        unsigned int indices[3] = {};
        getTriangle(indices, t);
        int matches = 0;
        for (const unsigned int index : indices) {
            if (index == startIndex || index == endIndex) {
                ++matches;
            }
        }
        if (matches < 2) {
            continue;
        }
        if (hasFirst) {
            *second = static_cast<int>(t);
            return true;
        }
        *first = static_cast<int>(t);
        hasFirst = true;
    }
    return false;
}

Kiv3DVector KivMesh::getLineNormal(unsigned int t1, unsigned int t2) const {
    return getTriangleNormal(t1) + getTriangleNormal(t2);
}

int KivMesh::searchTriangleVertex(int vertex, int after) const {
    const int count = static_cast<int>(getNumTriangles());
    for (int t = after + 1; t < count; ++t) {
        unsigned int indices[3] = {};
        getTriangle(indices, static_cast<unsigned int>(t));
        for (const unsigned int index : indices) {
            if (static_cast<int>(index) == vertex) {
                return t;
            }
        }
    }
    return -1;
}

void KivMesh::rebuildNormals() {
    kivKeepWithMesh(*this, nullptr);
    normals.clear();
    const unsigned int vertexCount = getNumVertexs();
    const unsigned int triangleCount = getNumTriangles();

    // Which triangles use a vertex, in ascending order: what a chain of searchTriangleVertex calls would find, without
    // a scan of the mesh for each vertex. The first triangle is left out because the chain starts behind it.
    std::vector<std::size_t> ends(std::size_t{vertexCount} + 1, 0);
    std::vector<unsigned int> users;
    const auto forEachUse = [&](const auto& use) {
        for (unsigned int t = 1; t < triangleCount; ++t) {
            unsigned int indices[3] = {};
            getTriangle(indices, t);
            for (int corner = 0; corner < 3; ++corner) {
                const unsigned int vertex = indices[corner];
                const bool repeated = (corner > 0 && vertex == indices[0]) || (corner > 1 && vertex == indices[1]);
                if (vertex < vertexCount && !repeated) {
                    use(vertex, t);
                }
            }
        }
    };
    forEachUse([&](unsigned int vertex, unsigned int) { ++ends[vertex + std::size_t{1}]; });
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    users.resize(ends.back());
    forEachUse([&](unsigned int vertex, unsigned int t) { users[ends[vertex]++] = t; });

    // Sum and number are not reset from one vertex to the next, and while the sum runs, the normals that are already
    // there turn the triangles: the outcome that hosts know.
    Kiv3DVector sum;
    unsigned int number = 0;
    std::size_t position = 0;
    for (unsigned int vertex = 0; vertex < vertexCount; ++vertex) {
        for (; position < ends[vertex]; ++position) {
            sum += getTriangleNormal(users[position]);
            ++number;
        }
        sum /= static_cast<double>(number);
        sum.normalice();
        addNormal(sum);
    }
}
