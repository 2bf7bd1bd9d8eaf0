// Renders of the open document. One at a time, on the thread of the windows: a render that is asked for while another
// runs is refused.
#ifndef APPS_STUDIO_STUDIORENDERER_H
#define APPS_STUDIO_STUDIORENDERER_H

#include "apps/common/collecteddrawing.h"
#include "apps/common/pictureproblem.h"
#include "apps/studio/studiomodel.h"
#include "apps/studio/studioprogress.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"

#include <QDateTime>
#include <QHash>
#include <QImage>
#include <QSize>

#include <memory>
#include <string>
#include <vector>

class StudioHost;

struct StudioPicture {
    bool done = false;
    bool cancelled = false;
    bool saved = false; // the file that the options ask for was written
    QImage image;       // null for a vector drawing
    std::shared_ptr<const CollectedDrawing> drawing;
    std::vector<std::wstring> messages;
    double milliseconds = 0.0;
};

// Of files that keep layers.
inline constexpr const char* layersEnding = "ora";

class StudioRenderer {
public:
    explicit StudioRenderer(StudioHost& host);

    bool isBusy() const;

    enum class Purpose {
        motion,  // as fast as can be: plain passes, a coarse model
        settled, // as the picture will be, but for its smoothness; no files
        final    // all that the options ask for
    };
    StudioPicture render(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                         StudioProgress& progress);

    // The finished picture without a background.
    StudioPicture renderBare(const StudioModel& model, const StudioState& state, QSize size, StudioProgress& progress);

    // The finished picture in layers, for the programs that the file is for. No image comes of it.
    StudioPicture renderLayers(const StudioModel& model, const StudioState& state, QSize size, const QString& file,
                               StudioProgress& progress);

    // What a running render has drawn so far; null if that can't be looked at.
    QImage growing();

private:
    KivCommonSettings settingsFor(const StudioState& state, Purpose purpose) const;
    // The fault of a picture over or under the drawing, which the library leaves out without a word.
    std::vector<std::wstring> unusablePictures(const KivCommonSettings& settings);
    // Whether the picture is done.
    bool draw(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
              const KivCommonSettings& settings, StudioProgress& progress, StudioPicture* picture);
    void writeDrawing(const StudioState& state, StudioProgress& progress, StudioPicture* picture);
    // Why a render that told nothing has failed, by the last error.
    std::wstring reasonOf(const StudioPicture& picture, const KivCommonSettings& settings);
    bool renderOnce(const StudioModel& model, const StudioState& state, QSize size, Purpose purpose,
                    KivCommonSettings settings);

    StudioHost& host;
    KivRenderer renderer;
    std::unique_ptr<KivBitmapManager> surface;
    bool busy = false;
    bool drawsScene = true;      // else what lies behind it alone
    unsigned long lastError = 0; // of the system, in the last render
    // Pictures are looked at again only when they have changed.
    struct Look {
        QDateTime changed;
        PictureProblem problem;
    };
    QHash<QString, Look> lookedAt;
};

#endif
