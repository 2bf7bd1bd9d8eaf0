// The four steps of the progress bar that are laid out for a row of combinable shaders.
//
// Each shader of the row reports four steps of its own, as if it were the only one. So while the row runs, what the
// shaders report does not reach the host's object as it is: this object stands in its place and moves the bar by each
// shader's share. Four steps begin and end on the bar, whatever the shaders do and however many there are, none
// included.
#ifndef KIVRENDER_RENDER_KIVCOMBINABLESTEPS_H
#define KIVRENDER_RENDER_KIVCOMBINABLESTEPS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kivprogress.h"

#include <array>

class KivScene;

class KIV_API KivCombinableSteps : public KivProgress {
public:
    static constexpr int stepCount = 4;

    // The steps that are laid out for a row, which are those that each of its shaders expects for itself: the lines of
    // each mesh, and three walks over the meshes.
    static std::array<unsigned int, stepCount> sizes(const KivScene& scene);

    // Stands in front of the bar until it is destroyed. The bar may be null: then nothing does anything.
    KivCombinableSteps(KivProgress* bar, const KivScene& scene, int shaderCount);
    KivCombinableSteps(const KivCombinableSteps&) = delete;
    KivCombinableSteps& operator=(const KivCombinableSteps&) = delete;
    ~KivCombinableSteps() override;

    // One shader of the row is done.
    void endShader();
    // Begins and ends what the shaders have left of the four steps. Nothing once cancelled.
    void finish();

    void addSteps(unsigned int size) override;
    int addDeferredStep() override;
    void progressSlot3() override;
    void beginStep() override;
    void advance(unsigned int units, bool show) override;
    void setStepSize(int step, unsigned int size) override;
    void endStep() override;
    void progressSlot8() override;
    void setText(const wchar_t* text) override;
    bool isCancelled() override;

private:
    double place() const;
    void reach(double units, bool enters);
    void fill(double units);

    KivProgress* bar;
    std::array<unsigned int, stepCount> stepSizes;
    double total = 0.0; // units of all four
    int shaderCount;
    int shadersDone = 0;
    // What the shader that runs has told: the number of its step, from 0, and the units in it.
    int ownStep = -1;
    double ownUnits = 0.0;
    // Where the bar is: the step, whether it has begun, the units before it and in it.
    int step = 0;
    bool isRunning = false;
    double before = 0.0;
    unsigned int given = 0;
};

#endif
