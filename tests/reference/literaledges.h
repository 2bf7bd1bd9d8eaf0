// Edge extraction as it is defined: a table with one growing list for each vertex, each side entered by a scan of the
// list of its lower vertex.
#ifndef TESTS_REFERENCE_LITERALEDGES_H
#define TESTS_REFERENCE_LITERALEDGES_H

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/shadow/kivedgesextraction.h"

#include <utility>
#include <vector>

class LiteralEdges {
public:
    using edgeInfo = KivEdgesExtraction::edgeInfo;
    using Table = std::vector<std::vector<edgeInfo>>;

    static void extractEdges(const KivMesh* mesh, std::vector<edgeInfo>& edges, const KivCamera* camera,
                             const std::vector<unsigned int>* triangles) {
        const unsigned int count =
            triangles != nullptr ? static_cast<unsigned int>(triangles->size()) : mesh->getNumTriangles();
        Table table(mesh->getNumVertexs());
        Kiv3DVector view;
        bool perspective = false;
        if (camera != nullptr) {
            perspective = camera->getProjection() == KivCamera::perspective;
            view = camera->getDirection();
            view.normalice();
        }
        for (unsigned int n = 0; n < count; ++n) {
            const unsigned int triangle = triangles != nullptr ? (*triangles)[n] : n;
            unsigned int indices[3];
            mesh->getTriangle(indices, triangle);
            bool front = false;
            if (camera != nullptr) {
                const Kiv3DVector normal = mesh->getTriangleNormal(triangle);
                if (perspective) {
                    view = camera->getLocation() - mesh->getTriangleBaricentre(triangle);
                }
                front = view.cosAngle(normal) >= 0.0;
            }
            inestEdgeRecord(triangle, indices[0], indices[1], &table, front);
            inestEdgeRecord(triangle, indices[1], indices[2], &table, front);
            inestEdgeRecord(triangle, indices[2], indices[0], &table, front);
        }
        for (const auto& bucket : table) {
            edges.insert(edges.end(), bucket.begin(), bucket.end());
        }
    }

private:
    static void inestEdgeRecord(long triangle, long vertexA, long vertexB, Table* table, bool front) {
        if (vertexA == vertexB) {
            return;
        }
        const bool swapped = vertexA > vertexB;
        if (swapped) {
            std::swap(vertexA, vertexB);
        }
        auto& bucket = (*table)[static_cast<std::size_t>(vertexA)];
        auto place = bucket.begin();
        for (; place != bucket.end(); ++place) {
            if (place->vertex1 == vertexB) {
                int& slot = swapped ? place->triangle1 : place->triangle0;
                if (slot == -1) {
                    slot = static_cast<int>(triangle);
                    place->silhouetteFront = place->silhouetteFront != front;
                    place->silhouetteBack = place->silhouetteBack == front;
                    return;
                }
                break;
            }
            if (place->vertex1 > vertexB) {
                break;
            }
        }
        edgeInfo record{};
        record.vertex0 = static_cast<int>(vertexA);
        record.vertex1 = static_cast<int>(vertexB);
        record.triangle0 = swapped ? -1 : static_cast<int>(triangle);
        record.triangle1 = swapped ? static_cast<int>(triangle) : -1;
        record.silhouetteFront = front;
        record.silhouetteBack = !front;
        bucket.insert(place, record);
    }
};

#endif
