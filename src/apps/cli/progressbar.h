// The progress of a render on a terminal, or as plain lines where standard error is none; and the way in which Ctrl-C
// reaches the render.
#ifndef APPS_CLI_PROGRESSBAR_H
#define APPS_CLI_PROGRESSBAR_H

#include "kivrender/render/kivprogressestimate.h"
#include "kivrender/scene/kivprogress.h"

#include <chrono>
#include <string>
#include <vector>

// From here on SIGHUP, SIGINT and SIGTERM ask for a cancel; a second one ends the program at once.
void catchInterrupts();
bool isInterrupted();

class ProgressBar : public KivProgress {
public:
    enum class Style { none, bar, lines };

    // bar on a terminal, lines elsewhere, none when quiet.
    static Style styleFor(bool quiet);

    explicit ProgressBar(Style barStyle);
    ~ProgressBar() override;
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // Starts over for another render; the stage before its first step has this text.
    void restart(const std::wstring& stage);
    // Starts the next stage of the same render. What the bar has not been shown for is part of what it stands for now.
    void goOn(const std::wstring& stage);
    // The part of a stage that is done before the first step, 0 to 1. Returns whether to go on.
    bool showDone(double ofStage);
    // Removes the bar from the terminal.
    void finish();

    // 0 to 1: of the time of the render, or of a stage before its first step.
    double fraction() const;

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

    using Clock = std::chrono::steady_clock;
    // When each step began and ended, and when the render gave a text, for the timings.
    struct Event {
        enum class Kind { begin, end, text };
        Kind kind;
        Clock::time_point time;
        std::wstring text;
    };
    const std::vector<Event>& events() const {
        return log;
    }

private:
    void begin(const std::wstring& newStage, std::chrono::steady_clock::time_point since);
    void draw();
    void record(Event::Kind kind, const std::wstring& text);

    Style style;
    KivProgressEstimate estimate;
    bool isRendering = false; // a step has begun
    bool isNamed = false;     // the render has told what it does
    double doneBefore = 0.0;  // of the stage before the first step
    unsigned int polls = 0;
    std::wstring stage;
    std::vector<Event> log;
    Clock::time_point started = Clock::now(); // the stage at hand
    Clock::time_point begun = started;        // what the bar stands for
    Clock::time_point drawn;
    bool visible = false;
    int lastPercent = -1;
};

// For renders that are parts of what a bar shows: they only have to hear of a cancel.
class CancelProgress : public KivProgress {
public:
    void addSteps(unsigned int /*size*/) override {}
    int addDeferredStep() override {
        return 0;
    }
    void progressSlot3() override {}
    void beginStep() override {}
    void advance(unsigned int /*units*/, bool /*show*/) override {}
    void setStepSize(int /*step*/, unsigned int /*size*/) override {}
    void endStep() override {}
    void progressSlot8() override {}
    void setText(const wchar_t* /*text*/) override {}
    bool isCancelled() override {
        return isInterrupted();
    }
};

#endif
