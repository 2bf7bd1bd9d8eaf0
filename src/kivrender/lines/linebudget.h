// How much work the lines and areas of one view may take. Most scenes take far less; in a hostile arrangement, where
// everything stands before everything, there is no end to it in sensible time, and what is left is given up.
#ifndef KIVRENDER_LINES_LINEBUDGET_H
#define KIVRENDER_LINES_LINEBUDGET_H

#include "kivrender/scene/kivprogress.h"

#include <cmath>
#include <cstddef>

class LineBudget {
public:
    // In units of work, each of some nanoseconds.
    explicit LineBudget(std::size_t allowed) : left(allowed) {}

    // What count things may take at that effort (KivVectorDrawing::effort). The rings, scans and CAD parts that were
    // measured take up to a quarter of it for their lines, that one a heat exchanger: long tubes in a shell.
    static std::size_t allowance(std::size_t count, double effort, double ofAnyScene = 1e9) {
        constexpr double ofEach = 3.0;
        const auto n = static_cast<double>(count);
        return static_cast<std::size_t>(effort * (ofAnyScene + ofEach * n * std::log2(n + 2.0)));
    }

    // Polls for a cancel, too. False once nothing is left or the user cancelled.
    bool spend(std::size_t units) {
        constexpr std::size_t unitsPerPoll = 1U << 18U; // some milliseconds
        if (units > left) {
            end();
        } else {
            left -= units;
        }
        sincePoll += units;
        if (sincePoll >= unitsPerPoll) {
            sincePoll = 0;
            cancelled = cancelled || kivIsCancelled();
        }
        return goesOn();
    }
    void end() {
        left = 0;
        spent = true;
    }
    bool goesOn() const {
        return !spent && !cancelled;
    }
    bool isSpent() const {
        return spent;
    }
    bool isCancelled() const {
        return cancelled;
    }

private:
    std::size_t left;
    std::size_t sincePoll = 0;
    bool spent = false;
    bool cancelled = false;
};

#endif
