// One pass of the scaler, prepared from its table of weights: lines of pixels in, lines of pixels out.
//
// The value of an output channel is the sum of weight times input, added up in doubles from the first source to the
// last, plus 0.5, cut to an integer. Where all weights of a position are multiples of 1/256 every product and every sum
// is exact in whole numbers as well, and those are several times as fast; such positions are all but the first for the
// ratios 2 and 4 of the antialias levels. Weights of 0 are left out: adding 0 changes no sum.
#ifndef KIVRENDER_HOST_KIVLINERESAMPLER_H
#define KIVRENDER_HOST_KIVLINERESAMPLER_H

#include "kivrender/host/kivtwopassscale.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KivLineResampler {
public:
    // A pass that copies its lines of that length.
    explicit KivLineResampler(unsigned int length);
    // sourceLength: the number of sources of a line.
    KivLineResampler(const LineContribution& table, unsigned int sourceLength);

    bool copies() const {
        return positions.empty();
    }
    // The number of output positions.
    unsigned int length() const {
        return lineLength;
    }
    // The sources that a position needs.
    unsigned int firstSource(unsigned int position) const;
    unsigned int sourceCount(unsigned int position) const;
    // The most that any position needs.
    unsigned int maxSourceCount() const;

    // A whole line: the sources lie side by side, and so do the positions.
    void resampleAlong(const std::uint32_t* source, std::uint32_t* dest) const;
    // One position of count lines that lie side by side: rows[i] has source firstSource(position) + i of all of them.
    void resampleAcross(unsigned int position, const std::uint32_t* const* rows, std::uint32_t* dest,
                        unsigned int count) const;

private:
    struct Position {
        unsigned int first = 0;     // the first source with a weight other than 0
        unsigned int count = 0;     // sources from there
        std::size_t weights = 0;    // where their weights stand
        unsigned int shift = 0;     // the weights are multiples of 1 / 2^shift; meaningful if dyadic
        bool dyadic = false;        // whole is meaningful
        bool paired = false;        // pairs is meaningful
        std::size_t whole = 0;      // where the weights stand as whole numbers
        unsigned int pairFirst = 0; // the source that the first pair starts with
        unsigned int pairCount = 0; // pairs of neighbouring sources
        std::size_t pairs = 0;      // where the weights of the pairs stand, 8 numbers each
    };
    // Positions with the same weights at equal distances.
    struct Run {
        unsigned int begin;
        unsigned int end;
        unsigned int step;
    };

    void addPosition(const LineContribution::Row& row, unsigned int sourceLength);
    bool findWholeWeights(Position& position);
    void findPairs(Position& position, unsigned int sourceLength);
    void findRuns();
    bool sameWeights(const Position& a, const Position& b) const;
    void resampleRun(const Run& run, const std::uint32_t* source, std::uint32_t* dest) const;

    unsigned int lineLength;
    std::vector<Position> positions; // empty for a pass that copies
    std::vector<Run> runs;
    std::vector<double> weightTable;
    std::vector<std::uint16_t> wholeTable;
    std::vector<std::uint16_t> pairTable;
};

#endif
