// Edge extraction from a million triangles: without a camera, with one, and with all triangles around one vertex.
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/shadow/kivedgesextraction.h"
#include "support/meshsamples.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr unsigned int million = 1000000;

void extract(benchmark::State& state, const KivMesh& mesh, const KivCamera* camera) {
    for (auto _ : state) {
        std::vector<KivEdgesExtraction::edgeInfo> edges;
        KivEdgesExtraction::extractEdges(&mesh, edges, camera, nullptr);
        benchmark::DoNotOptimize(edges.data());
    }
}

void extractEdges(benchmark::State& state) {
    extract(state, *gridMesh(million), nullptr);
}

void extractEdgesSeenInPerspective(benchmark::State& state) {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(3.0, 4.0, 20.0));
    extract(state, *gridMesh(million), &camera);
}

void extractEdgesOfAFan(benchmark::State& state) {
    KivMesh fan;
    for (unsigned int i = 0; i <= million + 1; ++i) {
        fan.addVertex(Kiv3DPoint(i, i * 0.5, 0.0));
    }
    for (unsigned int i = 1; i <= million; ++i) {
        fan.addTriangle(0, i + 1, i);
    }
    extract(state, fan, nullptr);
}

BENCHMARK(extractEdges)->Unit(benchmark::kMillisecond);
BENCHMARK(extractEdgesSeenInPerspective)->Unit(benchmark::kMillisecond);
BENCHMARK(extractEdgesOfAFan)->Unit(benchmark::kMillisecond);

} // namespace
