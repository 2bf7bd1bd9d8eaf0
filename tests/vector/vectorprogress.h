// A progress object that is installed for the length of a scope, notes what it is told and cancels when asked to.
#ifndef SELVARIN_TESTS_VECTOR_VECTORPROGRESS_H
#define SELVARIN_TESTS_VECTOR_VECTORPROGRESS_H

#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/scene/kivprogress.h"

#include <string>
#include <vector>

namespace vectortest {

class ScopedProgress : public KivProgress {
public:
    ScopedProgress() {
        former = KivHostApplicationServices::getDefaultHost();
        host.setCurProgress(this);
        KivHostApplicationServices::setDefaultHost(&host);
    }
    ScopedProgress(const ScopedProgress&) = delete;
    ScopedProgress& operator=(const ScopedProgress&) = delete;
    ~ScopedProgress() override {
        host.setCurProgress(nullptr);
        KivHostApplicationServices::setDefaultHost(former);
    }

    // Answers "cancelled" from the poll after that many on.
    void cancelAfterPolls(int polls) {
        pollsLeft = polls;
    }
    unsigned int units() const {
        return advanced;
    }
    int polls() const {
        return polled;
    }
    // Every call but advance and isCancelled, as text.
    const std::vector<std::wstring>& calls() const {
        return noted;
    }

    void addSteps(unsigned int size) override {
        noted.push_back(L"add " + std::to_wstring(size));
    }
    int addDeferredStep() override {
        return nextStep++;
    }
    void progressSlot3() override {}
    void beginStep() override {
        noted.emplace_back(L"begin");
    }
    void advance(unsigned int by, bool) override {
        advanced += by;
    }
    void setStepSize(int step, unsigned int size) override {
        noted.push_back(L"size " + std::to_wstring(step) + L" " + std::to_wstring(size));
    }
    void endStep() override {
        noted.emplace_back(L"end");
    }
    void progressSlot8() override {}
    void setText(const wchar_t* text) override {
        noted.push_back(L"text" + std::wstring(text));
    }
    bool isCancelled() override {
        ++polled;
        return pollsLeft >= 0 && pollsLeft-- <= 0 ? (pollsLeft = 0, true) : false;
    }

private:
    KivDefaultHost host;
    KivHostApplicationServices* former = nullptr;
    int pollsLeft = -1;
    int polled = 0;
    unsigned int advanced = 0;
    int nextStep = 0;
    std::vector<std::wstring> noted;
};

} // namespace vectortest

#endif
