#include "kivrender/render/kivcombinablesteps.h"

#include "kivrender/host/kivprogressfilter.h"
#include "kivrender/render/kivmeshwalk.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

// Far below a unit, far above what sums of shares are off by.
constexpr double tiny = 1e-6;

} // namespace

std::array<unsigned int, KivCombinableSteps::stepCount> KivCombinableSteps::sizes(const KivScene& scene) {
    const unsigned int meshes = scene.numMeshes();
    return {meshes + scene.numPolyline() + 1, meshes + 1, meshes + 1, meshes + 1};
}

KivCombinableSteps::KivCombinableSteps(KivProgress* hostBar, const KivScene& scene, int count)
    : bar(hostBar), stepSizes(sizes(scene)), shaderCount(std::max(count, 1)) {
    total = std::accumulate(stepSizes.begin(), stepSizes.end(), 0.0);
    if (bar != nullptr) {
        kivSetProgressFilter(this);
    }
}

KivCombinableSteps::~KivCombinableSteps() {
    if (bar != nullptr) {
        kivSetProgressFilter(nullptr);
    }
}

// Where the shader that runs is, in units of the four steps together.
double KivCombinableSteps::place() const {
    double own = 0.0;
    for (int i = 0; i < std::min(ownStep, stepCount); ++i) {
        own += stepSizes[static_cast<std::size_t>(i)];
    }
    if (ownStep < stepCount) {
        own += std::min<double>(ownUnits, stepSizes[static_cast<std::size_t>(std::max(ownStep, 0))]);
    }
    return (shadersDone * total + own) / shaderCount;
}

// Brings the bar to a place: ends the steps that lie before it, and begins the one that it lies in. At the very start
// of a step that is begun only by a shader that enters a step of its own.
void KivCombinableSteps::reach(double units, bool enters) {
    while (step < stepCount) {
        const double size = stepSizes[static_cast<std::size_t>(step)];
        const bool isOver = units >= before + size - tiny;
        if (!isRunning) {
            if (!isOver && !enters && units <= before + tiny) {
                return;
            }
            bar->beginStep();
            isRunning = true;
            given = 0;
        }
        if (!isOver) {
            fill(units - before);
            return;
        }
        fill(size);
        bar->endStep();
        isRunning = false;
        before += size;
        ++step;
    }
}

void KivCombinableSteps::fill(double units) {
    const auto whole = static_cast<unsigned int>(std::max(std::floor(units + tiny), 0.0));
    if (whole > given) {
        bar->advance(whole - given, false);
        given = whole;
    }
}

void KivCombinableSteps::endShader() {
    shadersDone = std::min(shadersDone + 1, shaderCount);
    ownStep = -1;
    ownUnits = 0.0;
    kivWaitForDrawing(bar);
    if (bar != nullptr && !bar->isCancelled()) {
        reach(place(), false);
    }
}

void KivCombinableSteps::finish() {
    if (bar != nullptr && !bar->isCancelled()) {
        reach(total, false);
    }
}

// In its third step a shader reads back what was drawn until then.
void KivCombinableSteps::beginStep() {
    ++ownStep;
    ownUnits = 0.0;
    reach(place(), true);
    if (ownStep == 2) {
        kivWaitForDrawing(bar);
    }
}

void KivCombinableSteps::advance(unsigned int units, bool show) {
    ownUnits += units;
    reach(place(), false);
    if (show) {
        bar->advance(0, true);
    }
}

void KivCombinableSteps::endStep() {
    if (ownStep >= 0 && ownStep < stepCount) {
        ownUnits = stepSizes[static_cast<std::size_t>(ownStep)];
    }
    reach(place(), false);
}

// The layout is done when a row runs: these are for a shader that adds to it, and for the host's own slots.
void KivCombinableSteps::addSteps(unsigned int size) {
    bar->addSteps(size);
}

int KivCombinableSteps::addDeferredStep() {
    return bar->addDeferredStep();
}

void KivCombinableSteps::progressSlot3() {
    bar->progressSlot3();
}

void KivCombinableSteps::setStepSize(int number, unsigned int size) {
    bar->setStepSize(number, size);
}

void KivCombinableSteps::progressSlot8() {
    bar->progressSlot8();
}

void KivCombinableSteps::setText(const wchar_t* text) {
    bar->setText(text);
}

bool KivCombinableSteps::isCancelled() {
    return bar->isCancelled();
}
