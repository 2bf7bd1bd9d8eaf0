// Filling, welding and ordering a scene of a million triangles. Each fast form is measured beside the sort that it
// should cost no more than.
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "support/meshsamples.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

constexpr unsigned int million = 1000000;

void fillMesh(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(gridMesh(million));
    }
}

// Corners that all have a vertex of their own, as an importer gives them.
void copyMeshCompacted(benchmark::State& state) {
    const std::unique_ptr<KivMesh> soup = triangleSoup(million);
    for (auto _ : state) {
        KivMesh welded;
        welded.copyMeshCompacted(*soup);
        benchmark::DoNotOptimize(welded.getNumVertexs());
    }
}

// What a weld is held against: a sort of its corners.
void sortCorners(benchmark::State& state) {
    struct Corner {
        Kiv3DPoint point;
        int face;
        unsigned char corner;
    };
    const std::unique_ptr<KivMesh> soup = triangleSoup(million);
    std::vector<Corner> corners;
    for (unsigned int t = 0; t < soup->getNumTriangles(); ++t) {
        Kiv3DPoint points[3];
        soup->getTriangle(points, t);
        for (unsigned char c = 0; c < 3; ++c) {
            corners.push_back({points[c], static_cast<int>(t), c});
        }
    }
    for (auto _ : state) {
        std::vector<Corner> sorted(corners);
        std::ranges::stable_sort(sorted, [](const Corner& a, const Corner& b) { return a.point < b.point; });
        benchmark::DoNotOptimize(sorted.data());
    }
}

std::unique_ptr<KivScene> transparentScene(bool broken) {
    auto scene = std::make_unique<KivScene>();
    std::unique_ptr<KivMesh> mesh = triangleSoup(million);
    if (broken) {
        const unsigned int vertex = mesh->getNumVertexs();
        mesh->addVertex(Kiv3DPoint(std::nan(""), 0.0, 0.0));
        mesh->addTriangle(vertex, vertex, vertex);
    }
    KivMaterial material;
    material.setTransparency(0.5);
    mesh->setMaterial(material);
    scene->addMesh(mesh.release());
    return scene;
}

KivCamera sampleCamera() {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(3.0, 4.0, 20.0));
    return camera;
}

// broken: one vertex of the scene is not a number, so that nothing can be sorted.
void orderTriangles(benchmark::State& state, bool broken) {
    const std::unique_ptr<KivScene> scene = transparentScene(broken);
    for (auto _ : state) {
        state.PauseTiming();
        KivScene fresh(*scene);
        state.ResumeTiming();
        fresh.orderTrianglesTransparent(sampleCamera());
        benchmark::DoNotOptimize(fresh.numTriangles());
    }
}

// What the ordering is held against: a stable sort of the same keys.
void sortKeys(benchmark::State& state) {
    struct Key {
        double distance;
        int mesh;
        int triangle;
    };
    const std::unique_ptr<KivScene> scene = transparentScene(false);
    const KivMesh& mesh = *scene->getMesh(0);
    std::vector<Key> keys;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        keys.push_back(
            {mesh.getTriangleBaricentre(t).squaredDistanceTo(sampleCamera().getLocation()), 0, static_cast<int>(t)});
    }
    for (auto _ : state) {
        std::vector<Key> sorted(keys);
        std::ranges::stable_sort(sorted, [](const Key& a, const Key& b) { return a.distance > b.distance; });
        benchmark::DoNotOptimize(sorted.data());
    }
}

BENCHMARK(fillMesh)->Unit(benchmark::kMillisecond);
BENCHMARK(copyMeshCompacted)->Unit(benchmark::kMillisecond);
BENCHMARK(sortCorners)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(orderTriangles, numbers, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(orderTriangles, brokenVertex, true)->Unit(benchmark::kMillisecond);
BENCHMARK(sortKeys)->Unit(benchmark::kMillisecond);

} // namespace
