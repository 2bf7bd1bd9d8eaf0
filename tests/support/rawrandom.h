// Random test data from the raw words of a seeded generator, so that it is the same with every standard library.
#ifndef TESTS_SUPPORT_RAWRANDOM_H
#define TESTS_SUPPORT_RAWRANDOM_H

#include <cstdint>
#include <random>

class RawRandom {
public:
    explicit RawRandom(std::uint32_t seed) : generator(seed) {}

    // 0 .. count - 1
    unsigned int below(unsigned int count) {
        return static_cast<unsigned int>(generator()) % count;
    }
    // from .. to, in steps of 2^-32 of the range
    double between(double from, double to) {
        return from + (to - from) * (static_cast<double>(generator()) / 4294967296.0);
    }
    bool chance(unsigned int oneIn) {
        return below(oneIn) == 0;
    }

private:
    std::mt19937 generator;
};

#endif
