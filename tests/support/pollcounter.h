// A progress object that counts the questions for a cancel and answers yes from a given one on, and a host that hands
// it out while it lives.
#ifndef TESTS_SUPPORT_POLLCOUNTER_H
#define TESTS_SUPPORT_POLLCOUNTER_H

#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/scene/kivprogress.h"

#include <limits>

class PollCounter : public KivProgress {
public:
    static constexpr long never = std::numeric_limits<long>::max();

    // The first question that is answered with yes; questions count from 1.
    explicit PollCounter(long cancelAtPoll = never) : cancelAt(cancelAtPoll) {}

    void addSteps(unsigned int) override {}
    int addDeferredStep() override {
        return 0;
    }
    void progressSlot3() override {}
    void beginStep() override {}
    void advance(unsigned int, bool) override {}
    void setStepSize(int, unsigned int) override {}
    void endStep() override {}
    void progressSlot8() override {}
    void setText(const wchar_t*) override {}
    bool isCancelled() override {
        ++polls;
        return polls >= cancelAt;
    }

    long polls = 0;

private:
    long cancelAt;
};

// Installs a host that shows that progress, and puts the former host back at its end.
class ScopedProgress {
public:
    explicit ScopedProgress(KivProgress& progress) {
        host.setCurProgress(&progress);
        former = KivHostApplicationServices::getDefaultHost();
        KivHostApplicationServices::setDefaultHost(&host);
    }
    ScopedProgress(const ScopedProgress&) = delete;
    ScopedProgress& operator=(const ScopedProgress&) = delete;
    ~ScopedProgress() {
        host.setCurProgress(nullptr);
        KivHostApplicationServices::setDefaultHost(former);
    }

private:
    KivDefaultHost host;
    KivHostApplicationServices* former = nullptr;
};

#endif
