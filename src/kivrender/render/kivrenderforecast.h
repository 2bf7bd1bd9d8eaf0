// How long the steps of a render will take: one forecast for each step that KivRenderer::calculateProgress lays out, in
// the same order.
#ifndef KIVRENDER_RENDER_KIVRENDERFORECAST_H
#define KIVRENDER_RENDER_KIVRENDERFORECAST_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/render/kivprogressforecast.h"
#include "kivrender/render/kivscenework.h"

#include <vector>

class KivCommonSettings;

class KIV_API KivRenderForecast {
public:
    // finalPixels: of the picture that is written, in millions. namedShaders: the combinable ones of the style.
    KivRenderForecast(const KivSceneWork& work, const KivCommonSettings& settings, double finalPixels,
                      bool hasNonCombinable, int namedShaders, int allCombinables);

    const KivProgressForecast& get() const {
        return forecast;
    }

private:
    void addOrdering();
    void addImage(bool shown, double perPixel);
    void addPlainSurfaces(bool hasNonCombinable);
    void addOpaqueSurfaces();
    void addShadowedSurfaces();
    void addVolumes(bool withGlass);
    std::vector<double> lineUnits(bool named) const;
    void addRow(int shaders, bool named);
    void addTransparent();
    void addVectorPage();
    void finish();

    KivStepForecast& add();
    bool isDrawn(const KivSceneWork::Mesh& mesh) const;
    double paintTime(const KivSceneWork::Mesh& mesh) const;
    double sum(double (*of)(const KivSceneWork::Mesh&), bool opaqueOnly) const;

    const KivSceneWork& work;
    const KivCommonSettings& settings;
    double finalPixels;
    KivProgressForecast forecast;
};

#endif
