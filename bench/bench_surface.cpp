// The surface of a render without any drawing: what it costs to make it, to clear it, to hand the picture out, to end
// it. The sizes are 1280 x 960 as it is and with each edge doubled twice for antialiasing.
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/render/kivbitmapmanager.h"

#include <GL/gl.h>
#include <benchmark/benchmark.h>

namespace {

bool start(KivBitmapManager& surface, tagSIZE size) {
    if (wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, nullptr, true) == 0) {
        return false;
    }
    surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
    return kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC());
}

tagSIZE sizeOf(const benchmark::State& state) {
    const auto factor = static_cast<std::int32_t>(state.range(0));
    return {1280 * factor, 960 * factor};
}

void setPixels(benchmark::State& state) {
    const tagSIZE size = sizeOf(state);
    state.SetItemsProcessed(state.iterations() * size.cx * size.cy);
}

void createAndEnd(benchmark::State& state) {
    const tagSIZE size = sizeOf(state);
    for (auto _ : state) {
        KivBitmapManager surface;
        if (!start(surface, size)) {
            state.SkipWithError("no surface");
            return;
        }
    }
    setPixels(state);
}

// The same with the driver made ready meanwhile, which is not counted.
void createWarmed(benchmark::State& state) {
    const tagSIZE size = sizeOf(state);
    for (auto _ : state) {
        state.PauseTiming();
        kivWarmUpGl(size);
        KivBitmapManager surface;
        state.ResumeTiming();
        if (!start(surface, size)) {
            state.SkipWithError("no surface");
            return;
        }
        state.PauseTiming();
        surface.deleteContext();
        state.ResumeTiming();
    }
    setPixels(state);
}

void clearColourAndDepth(benchmark::State& state) {
    KivBitmapManager surface;
    if (!start(surface, sizeOf(state))) {
        state.SkipWithError("no surface");
        return;
    }
    for (auto _ : state) {
        glClear(GL_COLOR_BUFFER_BIT);
        glClear(GL_DEPTH_BUFFER_BIT);
        glFinish();
    }
    setPixels(state);
}

void lockAndUnlock(benchmark::State& state) {
    KivBitmapManager surface;
    if (!start(surface, sizeOf(state))) {
        state.SkipWithError("no surface");
        return;
    }
    glClear(GL_COLOR_BUFFER_BIT);
    for (auto _ : state) {
        benchmark::DoNotOptimize(wglLockBitmap(&surface));
        wglUnLockBitmap(&surface, surface.getHGLRC());
    }
    setPixels(state);
}

// The first picture goes into memory that was never touched.
void firstReadBack(benchmark::State& state) {
    const tagSIZE size = sizeOf(state);
    for (auto _ : state) {
        state.PauseTiming();
        KivBitmapManager surface;
        if (!start(surface, size)) {
            state.SkipWithError("no surface");
            return;
        }
        glClear(GL_COLOR_BUFFER_BIT);
        glFinish();
        state.ResumeTiming();
        benchmark::DoNotOptimize(wglLockBitmap(&surface));
    }
    setPixels(state);
}

} // namespace

BENCHMARK(createAndEnd)->Arg(1)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(createWarmed)->Arg(1)->Arg(4)->Iterations(10)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(clearColourAndDepth)->Arg(1)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(lockAndUnlock)->Arg(1)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(firstReadBack)->Arg(1)->Arg(4)->Iterations(10)->Unit(benchmark::kMillisecond)->UseRealTime();
