// Polls for a cancel by cost: loops whose rounds are too short for a poll of their own count them.
#ifndef KIVRENDER_VECTOR_POLLMETER_H
#define KIVRENDER_VECTOR_POLLMETER_H

#include "kivrender/scene/kivprogress.h"

class PollMeter {
public:
    // To be called after each piece of work with its cost, in units of some ten nanoseconds; polls after about a
    // millisecond. True from the poll on that finds the user to have cancelled.
    bool isCancelledAfter(int cost) {
        spent += cost;
        if (spent < costOfPoll || cancelled)
            return cancelled;
        spent = 0;
        cancelled = kivIsCancelled();
        return cancelled;
    }
    bool isCancelled() const {
        return cancelled;
    }

private:
    static constexpr int costOfPoll = 100000;

    int spent = 0;
    bool cancelled = false;
};

#endif
