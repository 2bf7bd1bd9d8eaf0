// How long the steps of a render will take: one forecast for each step that KivRenderer::calculateProgress lays out, in
// the same order.
#ifndef KIVRENDER_RENDER_KIVRENDERFORECAST_H
#define KIVRENDER_RENDER_KIVRENDERFORECAST_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivprogressforecast.h"
#include "kivrender/render/kivscenework.h"

#include <vector>

class KivCommonSettings;

class KIV_API KivRenderForecast {
public:
    // Those that draw.
    struct Shaders {
        bool hasBase = false;    // for all that has no look of its own
        int named = 0;           // the combinable ones of the style
        int combinables = 0;     // all that are loaded
        bool edgesAhead = false; // kivFindsLinesAhead
    };

    // finalPixels: of the picture that is written, in millions.
    KivRenderForecast(const KivSceneWork& work, const KivCommonSettings& settings, double finalPixels,
                      const Shaders& shaders);

    const KivProgressForecast& get() const {
        return forecast;
    }

private:
    void addOrdering();
    void addImage(bool shown, double perPixel);
    void addPlainSurfaces();
    void addOpaqueSurfaces();
    void addShadowedSurfaces();
    void addVolumes(bool withGlass);
    std::vector<double> lineUnits(bool named) const;
    double edgeTime(double triangles) const;
    void addRow(int number, bool named);
    double collectedTime(KivDrawingCollector::Areas areas) const;
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
    Shaders shaders;
    KivProgressForecast forecast;
};

#endif
