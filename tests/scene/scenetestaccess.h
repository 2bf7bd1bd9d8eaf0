// The tests' way to what the classes of the scene keep to themselves.
#ifndef TESTS_SCENE_SCENETESTACCESS_H
#define TESTS_SCENE_SCENETESTACCESS_H

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivoutline.h"

#include <memory>
#include <vector>

struct KivTestAccess {
    static int searchTriangleVertex(const KivMesh& mesh, int vertex, int after) {
        return mesh.searchTriangleVertex(vertex, after);
    }
    static bool areCoplanar(const KivMesh& mesh, unsigned int t1, unsigned int t2) {
        return mesh.areCoplanarTriangles(t1, t2);
    }
    static bool hasScratch(const KivMesh& mesh) {
        return mesh.vertexsFaces != nullptr;
    }
    static void setCorners(KivMesh& mesh, const std::vector<Kiv3DPoint>& sorted) {
        mesh.vertexsFaces = std::make_unique<KivMesh::VertexFaces[]>(sorted.size());
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            mesh.vertexsFaces[i].vertex = sorted[i];
        }
    }
    static int dicotomicSearch(const KivMesh& mesh, const Kiv3DPoint& point, int count) {
        return mesh.dicotomicSearch(point, count);
    }
    static const std::vector<std::uint64_t>& triangles(const KivMesh& mesh) {
        return mesh.triangles;
    }

    static std::vector<KivOutlineEdge> edges(const KivOutline& outline) {
        std::vector<KivOutlineEdge> all;
        for (const auto& edge : outline.edges) {
            all.push_back(*edge);
        }
        return all;
    }
    static void deactivate(KivOutline& outline, std::size_t edge) {
        outline.edges[edge]->active = false;
    }
    static bool addEdge(KivOutline& outline, const Kiv3DPoint& start, const Kiv3DPoint& end) {
        return outline.addEdge(std::make_unique<KivOutlineEdge>(KivOutlineEdge{start, end, true}));
    }
    static void clipAgainst(KivOutline& outline, const KivOutline& other, bool removeInside) {
        KivOutline::clipAgainst(outline, other, removeInside);
    }
};

#endif
