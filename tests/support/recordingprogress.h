// A progress bar that writes down what it is told and cancels at a chosen poll.
#ifndef TESTS_SUPPORT_RECORDINGPROGRESS_H
#define TESTS_SUPPORT_RECORDINGPROGRESS_H

#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivprogress.h"

#include <functional>
#include <string>
#include <vector>

class RecordingProgress : public KivProgress {
public:
    void addSteps(unsigned int size) override {
        steps.push_back(size);
        calls.push_back("addSteps " + std::to_string(size));
    }
    int addDeferredStep() override {
        calls.emplace_back("addDeferredStep");
        return deferred++;
    }
    void progressSlot3() override {
        calls.emplace_back("progressSlot3");
    }
    void beginStep() override {
        calls.emplace_back("beginStep");
    }
    void advance(unsigned int units, bool show) override {
        calls.push_back("advance " + std::to_string(units) + (show ? " show" : ""));
        if (onAdvance) {
            onAdvance(show);
        }
    }
    void setStepSize(int step, unsigned int size) override {
        calls.push_back("setStepSize " + std::to_string(step) + " " + std::to_string(size));
    }
    void endStep() override {
        calls.emplace_back("endStep");
    }
    void progressSlot8() override {
        calls.emplace_back("progressSlot8");
    }
    void setText(const wchar_t* text) override {
        calls.push_back("setText " + kivToUtf8(text));
    }
    bool isCancelled() override {
        ++polls;
        if (onPoll) {
            onPoll();
        }
        return cancelAtPoll > 0 && polls >= cancelAtPoll;
    }

    std::vector<unsigned int> steps; // the sizes given to addSteps, in order
    std::vector<std::string> calls;
    int deferred = 100; // the number of the next deferred step
    int polls = 0;
    int cancelAtPoll = 0; // from this poll on the user has cancelled; 0 for never
    std::function<void(bool show)> onAdvance;
    std::function<void()> onPoll;
};

#endif
