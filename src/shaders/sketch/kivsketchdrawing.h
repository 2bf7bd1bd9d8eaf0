// One picture's strokes: along the lines of the scene, and the hatching of its dark parts.
#ifndef SHADERS_SKETCH_KIVSKETCHDRAWING_H
#define SHADERS_SKETCH_KIVSKETCHDRAWING_H

#include "kivlinedrawing.h"
#include "kivsketchhatch.h"
#include "kivsketchsettings.h"
#include "kivsketchstroke.h"

#include <cstdint>
#include <map>
#include <vector>

class KivSketchDrawing final : public KivLineDrawing {
public:
    // Without a light nothing is hatched.
    KivSketchDrawing(const KivCommonSettings& settings, const KivCamera& camera, tagSIZE size,
                     KivShaderCommunication& communication, bool atFront, KivSketchLight sceneLight);

protected:
    KivLineLook lookOf(const KivTablePageSettings& page) const override;
    void addOwnLines(const KivMesh& mesh, const KivTablePageSettings& page) override;
    bool takePath(const Job& job, const KivLinePath& path) override;
    void takePoint(const Job& job, const KivLinePoint& point) override;
    double plainPart(const KivTablePageSettings& page) override;
    void takePlainPath(const Job& job, const KivLinePath& path) override;
    void drawPaths() const override;

private:
    // The lowest layer comes first.
    enum class Layer : std::uint8_t { hatching, hidden, lines };
    struct Batch {
        Layer layer;
        const KivTablePageSettings* page;
        KivSketchMesh mesh;
    };
    // What a hatching line's job has besides its corners, one by one.
    struct HatchRun {
        std::vector<float> weights;
        std::vector<float> along;
        std::uint32_t plane = 0;
    };
    // So many points of its path, from the first on, and how hard each is pressed.
    struct HatchStroke {
        std::size_t first = 0;
        std::vector<double> weights;
    };

    const KivSketchStyle& styleOf(const KivTablePageSettings& page);
    KivSketchMesh& meshOf(Layer layer, const KivTablePageSettings& page);
    void addHatchLine(const KivSketchHatchLine& line, const KivTablePageSettings& page, const KivSketchStyle& style);
    // The part of its width that a plain line keeps to be as dark as a stroke of that tone and weight.
    static double plainWidth(const KivSketchStyle& style, double tone, double weight);
    static std::vector<HatchStroke> strokesOf(const HatchRun& run, const KivLinePath& path);
    void takeHatchPath(const Job& job, const KivLinePath& path, const KivSketchStyle& style);
    KivSketchHand handOf(const Job& job, const KivSketchStyle& style) const;
    KivSketchPoint pointAt(const Job& job, const KivLinePath& path, std::size_t i) const;
    void bindMedium(const KivSketchStyle& style, unsigned int profile, unsigned int tooth) const;

    KivSketchLight light;
    std::map<const KivTablePageSettings*, KivSketchStyle> styles; // looked up only: their order is that of addresses
    std::vector<HatchRun> hatchRuns;                              // a job's mark is its number plus one
    std::vector<Batch> batches;
};

#endif
