// Measures how fast the view follows a hand that turns a model:
//
//     studio_orbit FRAMES [MODEL...]
//
// Prints for the built-in scene, or each model, the median of the milliseconds of a frame as the view draws it while
// the camera moves, and the processor time of one; the script bench/studio-orbit builds and runs it.
#include "apps/studio/studiohost.h"
#include "apps/studio/studiomodel.h"
#include "apps/studio/studioprogress.h"
#include "apps/studio/studiorenderer.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivrenderer.h"
#include "qt/kivqttext.h"
#include "studio/offscreen.h"

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

namespace {

constexpr QSize viewSize(760, 690); // of a window of 1400 by 900

double processorMilliseconds() {
    return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

bool measure(StudioRenderer& renderer, const QString& file, int frames) {
    StudioModel model;
    StudioState state = StudioState::fresh();
    state.look = StudioState::freshLook();
    std::wstring message;
    if (!file.isEmpty()) {
        state.models = {kivFromQt(file)};
        QElapsedTimer clock;
        clock.start();
        if (!model.load(state, &message)) {
            std::fprintf(stderr, "studio_orbit: %s\n", kivToQt(message).toUtf8().constData());
            return false;
        }
        std::printf("%s: read in %lld ms, ", file.toUtf8().constData(), static_cast<long long>(clock.elapsed()));
    }
    model.placeCamera(&state.camera, static_cast<double>(viewSize.width()) / viewSize.height());
    const KivScene moving = model.scene(state, true);
    unsigned int triangles = 0;
    for (unsigned int i = 0; i < moving.numMeshes(); ++i) {
        triangles += moving.getMesh(i)->getNumTriangles();
    }
    std::vector<double> times;
    double processor = 0.0;
    for (int i = 0; i <= frames; ++i) {
        state.camera.orbit(0.03, i % 20 < 10 ? 0.01 : -0.01);
        StudioProgress progress;
        const double start = processorMilliseconds();
        const StudioPicture picture =
            renderer.render(model, state, viewSize, StudioRenderer::Purpose::motion, progress);
        if (!picture.done) {
            return false;
        }
        if (i > 0) { // the first one finds what all others use
            times.push_back(picture.milliseconds);
            processor += processorMilliseconds() - start;
        }
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    std::printf("%llu triangles, %u in motion: %.1f ms a frame, %.1f ms of processor time, %.1f frames a second\n",
                static_cast<unsigned long long>(model.triangles()), triangles, median, processor / frames,
                1000.0 / median);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const OffscreenDisplay display(1920, 1200);
    const QApplication application(argc, argv);
    const int frames = argc > 1 ? std::atoi(argv[1]) : 0;
    if (frames < 1 || !kivLoadLanguage(L"en")) {
        std::fputs("usage: studio_orbit FRAMES [MODEL...]\n", stderr);
        return 2;
    }
    StudioHost host;
    KivRenderer loader;
    bool good = loader.loadShaders();
    {
        StudioRenderer renderer(host);
        for (int i = 2; i < std::max(argc, 3) && good; ++i) {
            good = measure(renderer, i < argc ? QString::fromLocal8Bit(argv[i]) : QString(), frames);
        }
    }
    loader.unloadShaders();
    return good ? 0 : 1;
}
