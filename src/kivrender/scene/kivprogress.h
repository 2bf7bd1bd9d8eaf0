// How a render tells its host how far it is, shows the growing image, and learns of a cancel.
//
// The host derives from KivProgress, owns the object and hands it out through KivHostApplicationServices::progress. A
// bar is a list of steps: the render makes all of them up front, with sizes that come from the scene, and its stages
// then walk them in that order. A stage that ends early leaves its step at any count. The object starts empty for each
// render. All calls come on the thread that called the render.
//
// The order of the virtual operations is part of the binary interface.
#ifndef KIVRENDER_SCENE_KIVPROGRESS_H
#define KIVRENDER_SCENE_KIVPROGRESS_H

#include "kivrender/platform/kivexport.h"

#include <vector>

class KIV_API KivProgress {
public:
    KivProgress() = default;
    KivProgress(const KivProgress&) = default;
    KivProgress& operator=(const KivProgress&) = default;
    virtual ~KivProgress() = default;

    // Appends a step of that many units.
    virtual void addSteps(unsigned int size) = 0;
    // Appends a step whose size comes later through setStepSize; returns its number. Consecutive calls give consecutive
    // numbers.
    virtual int addDeferredStep() = 0;
    // For the host's own use; the library does not call it.
    virtual void progressSlot3() = 0;
    // The next step starts.
    virtual void beginStep() = 0;
    // Moves the bar. With show true the surface is readable for the length of the call and the host may repaint from
    // it.
    virtual void advance(unsigned int units, bool show) = 0;
    // Gives a deferred step its size.
    virtual void setStepSize(int step, unsigned int size) = 0;
    // The current step is finished, whatever its count.
    virtual void endStep() = 0;
    // For the host's own use; the library does not call it.
    virtual void progressSlot8() = 0;
    // The status line.
    virtual void setText(const wchar_t* text) = 0;
    // True once the user has cancelled. Polled between units of work: it must be cheap.
    virtual bool isCancelled() = 0;

protected:
    // Room for the implementing class; the library copies these and never reads them.
    void* hostData = nullptr;
    int hostInteger0 = 0;
    int hostInteger1 = 0;
    std::vector<unsigned int> hostSteps;
};

// The progress object of the current render as the installed host gives it, or null: without a host, or when the host
// shows no progress. Low layers poll for a cancel through this and need not know the host.
KIV_API KivProgress* kivCurrentProgress();

// True when a progress object exists and the user has cancelled.
KIV_API bool kivIsCancelled();

#endif
