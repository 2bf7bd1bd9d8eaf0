// How the stages that take up a mesh grow with it: for a ball of 100 thousand, a million and 10 million triangles, in
// processor time and with memory that is kept from run to run, so that other programs on the machine and the handing
// out of pages count little; the least of some runs. Linear growth is 10 from one size to the next, n log n is 12.
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shadow/kivedgesextraction.h"
#include "kivrender/shadow/kivshadows.h"
#include "support/meshsamples.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <ctime>
#include <memory>

namespace {

const bool memoryIsKept = mallopt(M_MMAP_MAX, 0) == 1 && mallopt(M_TRIM_THRESHOLD, -1) == 1;

double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <class Run> void measure(benchmark::State& state, Run run) {
    run();
    for (auto _ : state) {
        double least = 1e9;
        for (int i = 0; i < 5; ++i) {
            const double start = processorSeconds();
            run();
            least = std::min(least, processorSeconds() - start);
        }
        state.SetIterationTime(least);
        state.counters["ns/triangle"] = least * 1e9 / static_cast<double>(state.range(0));
    }
}

KivCamera cameraAt(const Kiv3DPoint& eye) {
    KivCamera camera;
    camera.setLocation(eye);
    return camera;
}

void weld(benchmark::State& state) {
    const auto mesh = bumpyBall(static_cast<int>(state.range(0)));
    measure(state, [&] {
        KivMesh welded;
        welded.copyMeshCompacted(*mesh);
        benchmark::DoNotOptimize(welded.getNumVertexs());
    });
}

// Every triangle with vertices of its own, in random order.
void weldSoup(benchmark::State& state) {
    const auto mesh = triangleSoup(static_cast<unsigned int>(state.range(0)));
    measure(state, [&] {
        KivMesh welded;
        welded.copyMeshCompacted(*mesh);
        benchmark::DoNotOptimize(welded.getNumVertexs());
    });
}

void edges(benchmark::State& state) {
    const auto mesh = bumpyBall(static_cast<int>(state.range(0)));
    measure(state, [&] {
        std::vector<KivEdgesExtraction::edgeInfo> found;
        KivEdgesExtraction::extractEdges(mesh.get(), found, nullptr, nullptr);
        benchmark::DoNotOptimize(found.data());
    });
}

// Of a welded mesh, whose vertices stand in another order than its triangles.
void edgesOfWelded(benchmark::State& state) {
    KivMesh mesh;
    mesh.copyMeshCompacted(*bumpyBall(static_cast<int>(state.range(0))));
    measure(state, [&] {
        std::vector<KivEdgesExtraction::edgeInfo> found;
        KivEdgesExtraction::extractEdges(&mesh, found, nullptr, nullptr);
        benchmark::DoNotOptimize(found.data());
    });
}

// Edges and their lit flags for one light.
void silhouette(benchmark::State& state) {
    const auto mesh = bumpyBall(static_cast<int>(state.range(0)));
    KivLight light;
    light.setStyle(KivLight::pointLight);
    light.setLocation(Kiv3DPoint(3, 6, 2));
    KivShadows shadows;
    measure(state, [&] {
        std::vector<KivEdgesExtraction::edgeInfo> found;
        shadows.createSilhouette(mesh.get(), &light, found);
        benchmark::DoNotOptimize(found.data());
    });
}

void order(benchmark::State& state) {
    std::unique_ptr<KivMesh> mesh = bumpyBall(static_cast<int>(state.range(0)));
    measure(state, [&] {
        KivScene scene;
        scene.addMesh(mesh.release());
        scene.orderTrianglesVectorial(cameraAt(Kiv3DPoint(3, 4, 20)));
        mesh.reset(scene.getMesh(0));
        scene.removeMesh(0);
    });
}

// A second time: once from the same eye, once from another, for which the list is in no order.
void orderAgain(benchmark::State& state, const Kiv3DPoint& secondEye) {
    std::unique_ptr<KivMesh> mesh = bumpyBall(static_cast<int>(state.range(0)));
    KivScene ordered;
    ordered.addMesh(mesh.release());
    ordered.orderTrianglesVectorial(cameraAt(Kiv3DPoint(3, 4, 20)));
    measure(state, [&] {
        KivScene scene(ordered);
        scene.orderTrianglesVectorial(cameraAt(secondEye));
        benchmark::DoNotOptimize(scene.numTriangles());
    });
}

#define GROWTH(stage)                                                                                                  \
    stage->RangeMultiplier(10)->Range(100000, 10000000)->Unit(benchmark::kMillisecond)->Iterations(1)->UseManualTime()
GROWTH(BENCHMARK(weld));
GROWTH(BENCHMARK(weldSoup));
GROWTH(BENCHMARK(edges));
GROWTH(BENCHMARK(edgesOfWelded));
GROWTH(BENCHMARK(silhouette));
GROWTH(BENCHMARK(order));
GROWTH(BENCHMARK_CAPTURE(orderAgain, sameEye, Kiv3DPoint(3, 4, 20)));
GROWTH(BENCHMARK_CAPTURE(orderAgain, otherEye, Kiv3DPoint(-20, 4, 3)));

} // namespace
