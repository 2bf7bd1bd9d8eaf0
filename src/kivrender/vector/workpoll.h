// Asks whether the user has cancelled, as often as the work that lies between two questions calls for.
#ifndef KIVRENDER_VECTOR_WORKPOLL_H
#define KIVRENDER_VECTOR_WORKPOLL_H

#include "kivrender/scene/kivprogress.h"

#include <cstddef>

// Work is counted in units of about a nanosecond of a slow processor.
class WorkPoll {
public:
    static constexpr std::size_t workBetween = 2000000;

    // Notes work that is about to be done. True once the user has cancelled, without another question from then on.
    bool isCancelled(std::size_t work) {
        done += work;
        if (done >= workBetween && !cancelled) {
            done = 0;
            cancelled = kivIsCancelled();
        }
        return cancelled;
    }
    // As the last answer was.
    bool isCancelled() const {
        return cancelled;
    }

private:
    std::size_t done = workBetween; // the first question comes at once
    bool cancelled = false;
};

#endif
