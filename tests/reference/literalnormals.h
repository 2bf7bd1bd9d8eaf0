// The rebuilt normals of a mesh as they are defined, with a scan of all triangles for each vertex.
#ifndef TESTS_REFERENCE_LITERALNORMALS_H
#define TESTS_REFERENCE_LITERALNORMALS_H

#include "kivrender/scene/kivmesh.h"

#include <vector>

// A mesh that stores what the base class does and rebuilds its normals the slow way. A normal that it has not come to
// yet reads as zero.
class LiteralNormalsMesh : public KivMesh {
public:
    using KivMesh::KivMesh;
    explicit LiteralNormalsMesh(const KivMesh& source) : KivMesh(source) {}

    Kiv3DVector getNormal(unsigned int index) const override {
        return index < rebuilt.size() ? rebuilt[index] : Kiv3DVector();
    }
    bool hasNormals() const override {
        return !rebuilt.empty();
    }

    void rebuildNormals() override {
        rebuilt.clear();
        Kiv3DVector sum;
        unsigned int number = 0;
        for (unsigned int vertex = 0; vertex < getNumVertexs(); ++vertex) {
            for (int t = nextUser(vertex, 0); t != -1; t = nextUser(vertex, t)) {
                sum += getTriangleNormal(static_cast<unsigned int>(t));
                ++number;
            }
            sum /= static_cast<double>(number);
            sum.normalice();
            rebuilt.push_back(sum);
        }
    }

    std::vector<Kiv3DVector> rebuilt;

private:
    int nextUser(unsigned int vertex, int after) const {
        for (int t = after + 1; t < static_cast<int>(getNumTriangles()); ++t) {
            unsigned int indices[3];
            getTriangle(indices, static_cast<unsigned int>(t));
            if (indices[0] == vertex || indices[1] == vertex || indices[2] == vertex) {
                return t;
            }
        }
        return -1;
    }
};

#endif
