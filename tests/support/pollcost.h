// Holds the polls for a cancel by their cost: at most 20 ms of work lie before the first poll, between any two, and
// behind the last; and after an answer of yes no more than that is still done.
//
// Time is processor time of the calling thread, so that other programs on the machine count little. What they still
// disturb (caches, clock rates) slows all of the work alike: an eighth of it is allowed where that is more, so choose
// an input that takes 80 to 160 ms on a quiet machine. Single disturbances are met by a second and a third try. Builds
// that check themselves are allowed more.
#ifndef TESTS_SUPPORT_POLLCOST_H
#define TESTS_SUPPORT_POLLCOST_H

#include "support/pollcounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>

class PollCost {
public:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr double slowness = 15.0;
    // How much a sanitizer slows work down differs from work to work: how much there is, other builds tell.
    static constexpr bool isWorkMeasured = false;
#elif defined(NDEBUG)
    static constexpr double slowness = 1.0;
    static constexpr bool isWorkMeasured = true;
#else
    static constexpr double slowness = 8.0;
    static constexpr bool isWorkMeasured = false;
#endif
    static constexpr double allowedMilliseconds = 20.0 * slowness;

    // Runs `work` some times, which must start over each time. It must hold enough work for a missing poll to show: a
    // total of twice what is allowed between two polls.
    template <class Work> static void expectAllowed(Work work) {
        Watch all = measured(work, PollCounter::never);
        EXPECT_TRUE(!isWorkMeasured || all.total() > 2 * allowedMilliseconds)
            << "too little work to tell: " << all.total() << " ms; a larger input is needed";
        EXPECT_GT(all.polls, 2);
        for (int further = 0; further < 2 && all.longest > all.allowed(); ++further) {
            const Watch again = measured(work, PollCounter::never);
            if (again.longest - again.allowed() < all.longest - all.allowed()) {
                all = again;
            }
        }
        EXPECT_LE(all.longest, all.allowed())
            << "ms of work before poll " << all.longestBefore << " of " << all.polls << " (one more is the end)";
        for (const long poll : {all.polls / 3 + 1, all.polls * 2 / 3 + 1, all.polls}) {
            expectEndsAfterCancel(work, poll, all.allowed());
        }
    }

private:
    // Takes the time between polls.
    struct Watch : PollCounter {
        explicit Watch(long cancelAtPoll) : PollCounter(cancelAtPoll), cancelPoll(cancelAtPoll) {}

        bool isCancelled() override {
            if (!isSoon()) {
                lap();
            }
            return PollCounter::isCancelled();
        }
        // Reading the processor time is a system call; polls that follow each other within a fifth of a millisecond
        // are taken together.
        bool isSoon() const {
            return std::chrono::steady_clock::now() - lastRead < std::chrono::microseconds(200) &&
                   polls + 1 != cancelPoll;
        }
        void lap() {
            const double time = now();
            lastRead = std::chrono::steady_clock::now();
            if (time - last > longest) {
                longest = time - last;
                longestBefore = polls + 1;
            }
            if (polls + 1 == cancelPoll) {
                cancelled = time;
            }
            last = time;
        }
        double total() const {
            return last - start;
        }
        double allowed() const {
            return std::max(allowedMilliseconds, total() / 8.0);
        }
        double afterCancel() const {
            return last - cancelled;
        }
        static double now() {
            timespec time{};
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
            return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
        }

        long cancelPoll;
        std::chrono::steady_clock::time_point lastRead;
        double start = now();
        double last = start;
        double cancelled = 0.0;
        double longest = 0.0;
        long longestBefore = 0;
    };

    template <class Work> static Watch measured(Work& work, long cancelAtPoll) {
        Watch watch(cancelAtPoll);
        const ScopedProgress scope(watch);
        watch.start = watch.last = Watch::now();
        work();
        watch.lap();
        return watch;
    }

    template <class Work> static void expectEndsAfterCancel(Work& work, long poll, double allowed) {
        double after = measured(work, poll).afterCancel();
        for (int further = 0; further < 2 && after > allowed; ++further) {
            after = std::min(after, measured(work, poll).afterCancel());
        }
        EXPECT_LE(after, allowed) << "ms of work after a cancel at poll " << poll;
    }
};

#endif
