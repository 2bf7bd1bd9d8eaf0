// Exact visibility: from triangles to the visible parts of every edge on the contour, for 10 thousand to 2 million
// triangles, and of long lines across all of them; the lines where surfaces cross; and all of it together, from a mesh
// to its strokes.
#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/kivsurfacecrossings.h"
#include "kivrender/lines/kivvisibleregions.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "support/closedshapes.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace {

struct Sample {
    std::vector<KivVec> points;
    std::vector<KivOccluders::Triangle> triangles;
    std::vector<std::array<std::uint32_t, 2>>
        contour; // edges between a triangle that faces the eye and one that does not
};

KivCamera camera() {
    KivCamera camera;
    camera.setFrustumLeft(-0.5);
    camera.setFrustumRight(0.5);
    camera.setFrustumBottom(-0.5);
    camera.setFrustumTop(0.5);
    camera.setFrustumNear(1.0);
    camera.setFrustumFar(100.0);
    camera.setLocation({3.0, 4.0, 7.0});
    camera.setDirection({-3.0, -4.0, -7.0});
    camera.setUp({0.0, 1.0, 0.0});
    return camera;
}

bool facesEye(const Sample& sample, const KivOccluders::Triangle& t) {
    const KivVec& a = sample.points[t[0]];
    const KivVec normal = kivCross(sample.points[t[1]] - a, sample.points[t[2]] - a);
    return kivDot(normal, KivVec{3.0, 4.0, 7.0} - a) > 0.0;
}

// A wavy ring; its quads stand in rows of `across`, two triangles each.
Sample sampleOf(std::int64_t triangles) {
    const auto across = static_cast<unsigned int>(std::sqrt(static_cast<double>(triangles) / 4.0));
    const unsigned int around = 2 * across;
    const std::unique_ptr<KivMesh> mesh = closedRing({0.0, 0.0, 0.0}, 1.5, 0.6, around, across);
    Sample sample;
    for (unsigned int i = 0; i < mesh->getNumVertexs(); ++i) {
        const Kiv3DPoint p = mesh->getVertex(i);
        const double wave = 1.0 + 0.02 * std::sin(40.0 * p.x) * std::sin(37.0 * p.y) * std::sin(43.0 * p.z);
        sample.points.push_back({p.x * wave, p.y * wave, p.z * wave});
    }
    for (unsigned int i = 0; i < mesh->getNumTriangles(); ++i) {
        KivOccluders::Triangle t{};
        mesh->getTriangle(t.data(), i);
        sample.triangles.push_back(t);
    }
    // Of each quad's first triangle the edges to its twin and to the row before are enough for a sample of the contour.
    for (std::size_t i = 0; i + 1 < sample.triangles.size(); i += 2) {
        const KivOccluders::Triangle& t = sample.triangles[i];
        if (facesEye(sample, t) != facesEye(sample, sample.triangles[i + 1])) {
            sample.contour.push_back({t[0], t[2]});
        }
        if (i >= 2 * across && facesEye(sample, t) != facesEye(sample, sample.triangles[i + 1 - 2 * across])) {
            sample.contour.push_back({t[0], t[1]});
        }
    }
    return sample;
}

void contours(benchmark::State& state) {
    const Sample sample = sampleOf(state.range(0));
    std::size_t pieces = 0;
    for (auto _ : state) {
        KivOccluders occluders(KivLineView(camera(), 1280.0, 1280.0));
        occluders.add(sample.points, sample.triangles);
        occluders.build();
        std::vector<KivLinePart> parts;
        pieces = 0;
        for (const auto& [a, b] : sample.contour) {
            occluders.visibleParts(sample.points[a], sample.points[b], parts);
            pieces += parts.size();
        }
    }
    state.counters["edges"] = static_cast<double>(sample.contour.size());
    state.counters["visible"] = static_cast<double>(pieces);
    state.SetComplexityN(state.range(0));
}

// A thousand lines from side to side behind the ring.
void longLines(benchmark::State& state) {
    const Sample sample = sampleOf(state.range(0));
    KivOccluders occluders(KivLineView(camera(), 1280.0, 1280.0));
    occluders.add(sample.points, sample.triangles);
    occluders.build();
    std::vector<KivLinePart> parts;
    for (auto _ : state) {
        for (int i = 0; i < 1000; ++i) {
            const double y = -2.0 + 0.004 * i;
            occluders.visibleParts({-3.0, y, -3.0}, {3.0, -y, -3.0}, parts);
            benchmark::DoNotOptimize(parts.data());
        }
    }
    state.SetComplexityN(state.range(0));
}

// Two rings, one through the other.
void crossings(benchmark::State& state) {
    const Sample sample = sampleOf(state.range(0) / 2);
    std::vector<KivVec> other = sample.points;
    for (KivVec& p : other) {
        p = {p.x + 0.5, p.z, -p.y};
    }
    std::size_t pieces = 0;
    for (auto _ : state) {
        KivSurfaceCrossings crossings;
        crossings.add(sample.points, sample.triangles);
        crossings.add(other, sample.triangles);
        crossings.find();
        pieces = crossings.pieces().size();
    }
    state.counters["pieces"] = static_cast<double>(pieces);
    state.SetComplexityN(state.range(0));
}

// The whole way, as a vector page goes it.
void strokes(benchmark::State& state) {
    const Sample sample = sampleOf(state.range(0));
    KivMesh mesh;
    for (const KivVec& p : sample.points) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z));
    }
    for (const KivOccluders::Triangle& t : sample.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    std::size_t count = 0;
    for (auto _ : state) {
        KivLineEngine engine(KivLineView(camera(), 1280.0, 1280.0));
        KivLineBody body;
        body.surface = kivReadSurface(mesh);
        engine.add(std::move(body));
        engine.find();
        count = 0;
        for (const KivFoundLine& line : engine.lines()) {
            count += kivStrokeOf(line).path.pieces.empty() ? 0 : 1;
        }
    }
    state.counters["strokes"] = static_cast<double>(count);
    state.SetComplexityN(state.range(0));
}

BENCHMARK(strokes)->Unit(benchmark::kMillisecond)->Arg(10000)->Arg(100000)->Arg(1000000)->Arg(2000000)->Complexity();
// Visible regions of the ring in three tones, as a toon picture has them.
void regions(benchmark::State& state) {
    const Sample sample = sampleOf(state.range(0));
    const KivLineView view(camera(), 1280.0, 1280.0);
    std::size_t count = 0;
    for (auto _ : state) {
        KivVisibleRegions picture(1280.0, 1280.0);
        for (const KivOccluders::Triangle& t : sample.triangles) {
            std::array<KivSeenCorner, 3> corners;
            KivVec middle;
            for (std::size_t i = 0; i < 3; ++i) {
                const KivVec p = view.toCamera(sample.points[t[i]]);
                const KivPicturePoint seen = view.toPicture(p);
                corners[i] = {seen.x, seen.y, 1.0 - 1.0 / p.z};
                middle = middle + sample.points[t[i]] * (1.0 / 3.0);
            }
            const double light = middle.x + middle.y;
            picture.add(corners, light > 1.0 ? 2U : light > 0.0 ? 1U : 0U);
        }
        picture.find();
        count = picture.regions().size();
    }
    state.counters["regions"] = static_cast<double>(count);
    state.SetComplexityN(state.range(0));
}

BENCHMARK(regions)->Unit(benchmark::kMillisecond)->Arg(10000)->Arg(100000)->Arg(1000000)->Complexity();
BENCHMARK(crossings)->Unit(benchmark::kMillisecond)->Arg(10000)->Arg(100000)->Arg(1000000)->Arg(2000000)->Complexity();
BENCHMARK(contours)->Unit(benchmark::kMillisecond)->Arg(10000)->Arg(100000)->Arg(1000000)->Arg(2000000)->Complexity();
BENCHMARK(longLines)->Unit(benchmark::kMillisecond)->Arg(10000)->Arg(100000)->Arg(1000000)->Complexity();

} // namespace
