// A combinable shader that draws lines, but for the lines themselves: its dealings with settings, pages and the
// progress bar, which objects are its own, and the order of the steps.
//
// Lines are found per mesh (kivfeatureedges.h) and where meshes cross (kivsurfacecrossings.h), joined to long chains
// (kivfeaturechains.h) and tested along their middle against the depth buffer that the base shader left
// (kivlinetracer.h). The depth buffer holds the surfaces pushed back by the channel's polygon offset, so that a line on
// a surface passes and a line behind it does not. Where no base shader lays the depth of a mesh, this shader does, so
// that lines alone make a drawing with hidden lines removed.
//
// In a render the depth buffer is only read. In a preview, which draws the lines before the surfaces, the lines are
// drawn at the very front and kept there by the depth test.
//
// With the vector flag the frame draws nothing that could be read back. The lines are then those of the library's line
// engine, cut exactly where something stands before them (kivlinepage.h). They go into the drawing that the render
// collects; without one they go out as plain OpenGL lines before everything else, to be stroked by who shows the page.
#ifndef SHADERS_COMMON_KIVLINESHADER_H
#define SHADERS_COMMON_KIVLINESHADER_H

#include "kivtableshader.h"

#include <cstdint>
#include <memory>

class KivLineDrawing;
struct KivPictureTile;

class KivLineShader : public KivTableShader<KivCombinableShader> {
public:
    KivLineShader(const KivLineShader&) = delete;
    KivLineShader& operator=(const KivLineShader&) = delete;
    ~KivLineShader() override;

    void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                tagSIZE size, KivShaderCommunication& communication, bool named) override;
    void loadRenderData(KivDataManager* manager, const KivCommonSettings& settings) override;
    // What the bar reserves for a combinable shader: four for each mesh, one for each polyline, and four.
    unsigned int getProgressSteps(KivScene* scene, const KivCommonSettings& settings) override;

    // True for a mesh that has no settings of its own and for one that names this shader; always false in a render of a
    // vector page, where faces that are only laid to hide lines would be a part of the drawing.
    bool rendersMesh(const KivMesh* mesh) override;

protected:
    using KivTableShader::KivTableShader;

    // The drawing of one picture; see KivLineDrawing's constructor.
    virtual std::unique_ptr<KivLineDrawing> startDrawing(const KivCommonSettings& settings, const KivCamera& camera,
                                                         KivScene& scene, tagSIZE size,
                                                         KivShaderCommunication& communication, bool atFront) = 0;

private:
    // The lines found for the tiles of one picture.
    struct Surveyed {
        std::uint64_t picture = 0; // its number
        std::unique_ptr<KivLineDrawing> drawing;
    };

    bool isVectorial = false; // the render that runs
    Surveyed surveyed[2];     // for the style's call and for the sweep over the objects

    bool gather(KivLineDrawing& drawing, KivScene& scene, bool named) const;
    bool layDepth(KivLineDrawing& drawing, KivScene& scene, const KivCommonSettings& settings,
                  const KivShaderCommunication& communication, bool preview) const;
    void renderTile(KivPictureTile& tile, const KivCommonSettings& settings, const KivCamera& camera, KivScene& scene,
                    KivShaderCommunication& communication, bool named);
    void addObjects(KivLineDrawing& drawing, KivScene& scene, bool named) const;
    bool needsDepth(const KivMesh& mesh, const KivCommonSettings& settings, const KivShaderCommunication& communication,
                    bool preview) const;
};

#endif
