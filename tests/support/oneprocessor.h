// Keeps the thread that makes it, and those that it begins, on one processor while it lives. Work that would be shared
// among threads is then done by the one that asks for it, and what is counted in there is the same each time.
#ifndef TESTS_SUPPORT_ONEPROCESSOR_H
#define TESTS_SUPPORT_ONEPROCESSOR_H

#include <gtest/gtest.h>

#include <sched.h>

class OneProcessor {
public:
    OneProcessor() {
        EXPECT_EQ(sched_getaffinity(0, sizeof(former), &former), 0);
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int i = 0; i < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++i) {
            if (CPU_ISSET(i, &former)) {
                CPU_SET(i, &one);
            }
        }
        EXPECT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() {
        sched_setaffinity(0, sizeof(former), &former);
    }

private:
    cpu_set_t former{};
};

#endif
