// "selvarin render".
#ifndef APPS_CLI_RENDERCOMMAND_H
#define APPS_CLI_RENDERCOMMAND_H

#include "apps/cli/commandline.h"
#include "apps/common/viewchoice.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class CliHost;
class KivImage;

// The exit status. Throws UsageError for wrong use and std::runtime_error for what fails.
int runRender(const RenderOptions& options);

// The same in a program that is there already, without a summary. Throws what main would tell.
struct RenderTold {
    std::uint64_t triangles = 0;
};
RenderTold renderWithin(const RenderOptions& options, CliHost& host);

// The frames of a film: one scene from many places.
class FrameMaker {
public:
    FrameMaker() = default;
    FrameMaker(const FrameMaker&) = delete;
    FrameMaker& operator=(const FrameMaker&) = delete;
    virtual ~FrameMaker() = default;

    virtual std::size_t count() const = 0;
    // The points that have to fit into the picture where the view is not given, in place of the scene's own.
    virtual std::vector<Kiv3DPoint> framed(const std::vector<Kiv3DPoint>& points, const KivModel& model) const = 0;
    // Whether the view of a model's own camera goes back until these points fit.
    virtual bool fitsOwnCamera() const = 0;
    // The view of a frame; chosen: that of the options.
    virtual ChosenView view(std::size_t frame, const ChosenView& chosen, const std::vector<Kiv3DPoint>& points,
                            const KivModel& model) const = 0;
    // The animation of the model that plays, and the moment of it in a frame in seconds; empty for none.
    virtual std::string clip() const = 0;
    virtual double clipSeconds(std::size_t frame) const = 0;
    // The file of a frame that is a vector drawing; empty for pictures, which take gets.
    virtual std::string drawingName(std::size_t frame) const = 0;
    // Throws std::runtime_error.
    virtual void take(std::size_t frame, const KivImage& picture) = 0;
    // A frame is in its place, picture or drawing.
    virtual void drawn(std::size_t frame) = 0;
    // All frames are there.
    virtual void finish() = 0;
};

// The exit status. Throws as runRender does. outputs of the options has no meaning.
int runFrames(const RenderOptions& options, FrameMaker& maker);

#endif
