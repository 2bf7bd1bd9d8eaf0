// What a running render tells, and how the window stays alive meanwhile: a render runs on the thread of the windows,
// and each of its polls for a cancel lets the waiting events through every few milliseconds.
//
// Who may act during a render is the owner's affair: one render at a time, and none may begin inside another.
#ifndef APPS_STUDIO_STUDIOPROGRESS_H
#define APPS_STUDIO_STUDIOPROGRESS_H

#include "kivrender/render/kivprogressestimate.h"
#include "kivrender/scene/kivprogress.h"

#include <QElapsedTimer>

#include <functional>
#include <string>

class StudioProgress : public KivProgress {
public:
    // Lets events through; null for a render that is short enough to do without.
    std::function<void()> pump;
    // From 0 to 1, and the stage; at most every few milliseconds.
    std::function<void(double done, const std::wstring& stage)> onProgress;
    // The surface can be read; at most a few times a second.
    std::function<void()> onPicture;

    void cancel();
    bool wasCancelled() const;

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

    // From 0 to 1: the part of the render's time that has passed.
    double done() const;

private:
    void report(bool always);

    KivProgressEstimate estimate;
    std::wstring stage;
    bool cancelled = false;
    QElapsedTimer lastPump;
    QElapsedTimer lastReport;
    QElapsedTimer lastPicture;
};

#endif
