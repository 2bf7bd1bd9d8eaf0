// Draws a scene into the files that a command names, and says what went wrong.
#ifndef APPS_CLI_OUTPUTDRAWER_H
#define APPS_CLI_OUTPUTDRAWER_H

#include "apps/cli/commandline.h"
#include "apps/cli/timings.h"
#include "apps/common/layeredpicture.h"
#include "import/kivmodelimport.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivshapesahead.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

class CliHost;
class DrawingFiles;
class OutputFile;
class ProgressBar;

// One look for all that it draws. What draws returns false if it was cancelled, and throws std::runtime_error with a
// line where no file came about.
class OutputDrawer {
public:
    // All three stay the caller's.
    OutputDrawer(const RenderOptions& renderOptions, ProgressBar& progressBar, Timings& renderTimings)
        : options(renderOptions), bar(progressBar), timings(renderTimings) {}
    OutputDrawer(const OutputDrawer&) = delete;
    OutputDrawer& operator=(const OutputDrawer&) = delete;

    void setPaper(std::string file) {
        paper = std::move(file);
    }
    // In place of the bar, for one that shows more than one render; null for the bar.
    void setProgress(KivProgress* progress) {
        otherProgress = progress;
    }
    // The shaders of the options and what layers they have; once, after the paper is set. Warns.
    void chooseLook();
    // The smooth shapes of the scene for the next render of it in this view, made now; null if none are wanted.
    std::unique_ptr<KivShapesAhead> shapesAhead(const KivScene& scene, const KivCamera& camera) const;
    // Whether pictures are too large for a surface, or wanted in tiles.
    bool isPoster() const;

    bool drawPicture(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host);
    // A view of the model is rendered for the first of its drawings alone.
    bool drawVector(const KivModel& model, const KivCamera& camera, std::uint64_t triangles, const OutputFile& output,
                    DrawingFiles& drawing, CliHost& host);
    bool drawLayers(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host);

    // Of the next scene. objects: the names of those that have layers of their own.
    void forgetLayers(std::vector<std::string> objects);
    const LayerPlan& layerPlan() const {
        return plan;
    }
    // The layers of the scene are drawn once for all files; null if it was cancelled.
    const LayeredPicture* takeLayers(const KivScene& scene, const KivCamera& camera, const OutputFile& output,
                                     CliHost& host);

    // A picture that is not a file; null where there is none, for which lastProblem has the reason.
    std::unique_ptr<KivImage> drawInMemory(const KivScene& scene, const KivCamera& camera, CliHost& host);
    unsigned long lastProblem() const {
        return lastError;
    }

private:
    void chooseDocumentLook();
    KivCommonSettings settingsFor(const OutputFile& output) const;
    KivCommonSettings settingsFor(bool isDrawing, const std::string& workName) const;
    bool drawInTiles(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host);
    bool drawWithoutBackground(const KivScene& scene, const KivCamera& camera, const OutputFile& output, CliHost& host);
    std::unique_ptr<KivImage> drawContent(const KivScene& scene, const KivCamera& camera, KivCommonSettings settings,
                                          const LayerContent& content, CliHost& host);
    std::unique_ptr<KivImage> drawInMemory(const KivScene& scene, const KivCamera& camera, KivCommonSettings settings,
                                           std::uint32_t backgroundColour, CliHost& host);
    bool drawGrowing(const KivScene& scene, const KivCamera& camera, KivMemoryCommonDataManager& common, CliHost& host);
    bool drawOnce(KivScene scene, const KivCamera& camera, KivMemoryCommonDataManager& common, CliHost& host,
                  std::unique_ptr<KivImage>* picture = nullptr);
    void tellOutcome(const OutputFile& output, bool isDrawn, bool isSaved, CliHost& host);
    void addRenderTimings(Timings::Clock::time_point start, Timings::Clock::time_point end, double encode);

    const RenderOptions& options;
    ProgressBar& bar;
    Timings& timings;
    std::string paper;   // its file
    std::wstring shaper; // the tag of the shader whose wish of shapes most likely counts; empty for none
    std::uint32_t background = 0;
    bool isBackgroundWanted = false; // on paper too
    unsigned long lastError = 0;     // of the last render
    KivProgress* otherProgress = nullptr;
    KivMemoryDataManager stream;
    KivMemoryDataManager* shownStream = &stream; // of the render at hand
    LayerPlan plan;
    std::optional<LayeredPicture> apart; // of the scene at hand
    KivRenderer renderer;
};

#endif
