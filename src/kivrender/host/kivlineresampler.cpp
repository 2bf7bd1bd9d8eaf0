#include "kivrender/host/kivlineresampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(__GNUC__)
// How a vector of 32 bytes is handed to a function differs between processors; here none leaves this file.
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

namespace {

// Vectors of the compiler's own, so that the same code runs on every processor.
using Bytes8 = std::uint8_t __attribute__((vector_size(8)));
using Words8 = std::uint16_t __attribute__((vector_size(16)));
using Bytes4 = std::uint8_t __attribute__((vector_size(4)));
using Ints4 = std::int32_t __attribute__((vector_size(16)));
using Doubles4 = double __attribute__((vector_size(32)));

// The largest denominator of weights that are whole numbers: a sum then fits into 16 bits.
constexpr unsigned int maxShift = 8;
// The most pairs of sources that a position of the fast kind has. Weights are at least 1 / 2^maxShift, but few ratios
// with so many sources have whole weights.
constexpr unsigned int maxPairs = 32;

template <class Vector> inline Vector loadAs(const void* from) {
    Vector value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// Two pixels as 16-bit channels.
inline Words8 loadPixels(const std::uint32_t* from) {
    return __builtin_convertvector(loadAs<Bytes8>(from), Words8);
}

// The channels of two sums, rounded: the shift is the one of the weights.
inline void storePixels(std::uint32_t* to, Words8 sums, unsigned int shift) {
    const Words8 rounded = (sums + static_cast<std::uint16_t>((1U << shift) >> 1)) >> static_cast<std::uint16_t>(shift);
    const Bytes8 bytes = __builtin_convertvector(rounded, Bytes8) & Bytes8{255, 255, 255, 0, 255, 255, 255, 0};
    std::memcpy(to, &bytes, sizeof bytes);
}

inline Doubles4 loadPixel(const std::uint32_t* from) {
    return __builtin_convertvector(__builtin_convertvector(loadAs<Bytes4>(from), Ints4), Doubles4);
}

inline std::uint32_t packPixel(Doubles4 sum) {
    const Ints4 channels = __builtin_convertvector(sum + 0.5, Ints4) & 255;
    return static_cast<std::uint32_t>(channels[0] | channels[1] << 8 | channels[2] << 16);
}

template <unsigned int Pairs>
inline Words8 sumPairs(const std::uint32_t* source, const Words8* weights, unsigned int count) {
    Words8 sum = loadPixels(source) * weights[0];
    const unsigned int pairs = Pairs != 0 ? Pairs : count;
    for (unsigned int pair = 1; pair < pairs; ++pair) {
        sum += loadPixels(source + std::size_t{2} * pair) * weights[pair];
    }
    return sum;
}

// Positions begin to end of equal weights, step sources apart. Pairs is their number, 0 for any.
template <unsigned int Pairs>
void resamplePairs(const std::uint32_t* source, std::size_t step, const std::uint16_t* table, unsigned int count,
                   unsigned int shift, std::uint32_t* dest, std::uint32_t* end) {
    Words8 weights[Pairs != 0 ? Pairs : maxPairs];
    std::memcpy(weights, table, sizeof(Words8) * (Pairs != 0 ? Pairs : count));
    for (; end - dest >= 2; dest += 2, source += 2 * step) {
        const Words8 a = sumPairs<Pairs>(source, weights, count);
        const Words8 b = sumPairs<Pairs>(source + step, weights, count);
        storePixels(dest,
                    __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11) +
                        __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15),
                    shift);
    }
    if (dest != end) {
        const Words8 a = sumPairs<Pairs>(source, weights, count);
        std::uint32_t both[2];
        storePixels(both, a + __builtin_shufflevector(a, a, 4, 5, 6, 7, 0, 1, 2, 3), shift);
        *dest = both[0];
    }
}

} // namespace

KivLineResampler::KivLineResampler(unsigned int length) : lineLength(length) {}

KivLineResampler::KivLineResampler(const LineContribution& table, unsigned int sourceLength)
    : lineLength(table.lineLength) {
    positions.reserve(lineLength);
    for (const LineContribution::Row& row : table.rows) {
        addPosition(row, sourceLength);
    }
    findRuns();
}

void KivLineResampler::addPosition(const LineContribution::Row& row, unsigned int sourceLength) {
    int first = row.left;
    int last = row.right;
    while (first < last && row.weights[first - row.left] == 0.0) {
        ++first;
    }
    while (last > first && row.weights[last - row.left] == 0.0) {
        --last;
    }
    Position position;
    position.first = static_cast<unsigned int>(first);
    position.count = static_cast<unsigned int>(last - first + 1);
    position.weights = weightTable.size();
    weightTable.insert(weightTable.end(), row.weights + (first - row.left), row.weights + (last - row.left + 1));
    if (findWholeWeights(position)) {
        findPairs(position, sourceLength);
    }
    positions.push_back(position);
}

bool KivLineResampler::findWholeWeights(Position& position) {
    const double* weights = weightTable.data() + position.weights;
    for (unsigned int shift = 0; shift <= maxShift; ++shift) {
        const double denominator = static_cast<double>(1U << shift);
        double sum = 0;
        const bool whole = std::all_of(weights, weights + position.count, [&](double weight) {
            sum += weight * denominator;
            return weight * denominator == std::floor(weight * denominator);
        });
        if (whole && sum == denominator) {
            position.dyadic = true;
            position.shift = shift;
            position.whole = wholeTable.size();
            for (unsigned int i = 0; i < position.count; ++i) {
                wholeTable.push_back(static_cast<std::uint16_t>(weights[i] * denominator));
            }
            return true;
        }
    }
    return false;
}

void KivLineResampler::findPairs(Position& position, unsigned int sourceLength) {
    const unsigned int pairCount = (position.count + 1) / 2;
    // An odd count needs one source more, of weight 0, at either end.
    const unsigned int needed = 2 * pairCount;
    if (needed > sourceLength || pairCount > maxPairs) {
        return;
    }
    const unsigned int before = position.first + needed > sourceLength ? 1 : 0;
    position.paired = true;
    position.pairFirst = position.first - before;
    position.pairCount = pairCount;
    position.pairs = pairTable.size();
    for (unsigned int i = 0; i < needed; ++i) {
        const bool outside = i < before || i - before >= position.count;
        pairTable.insert(pairTable.end(), 4, outside ? std::uint16_t{0} : wholeTable[position.whole + i - before]);
    }
}

bool KivLineResampler::sameWeights(const Position& a, const Position& b) const {
    if (!a.paired || !b.paired || a.shift != b.shift || a.pairCount != b.pairCount) {
        return false;
    }
    const auto start = pairTable.begin();
    return std::equal(start + static_cast<std::ptrdiff_t>(a.pairs),
                      start + static_cast<std::ptrdiff_t>(a.pairs + std::size_t{8} * a.pairCount),
                      start + static_cast<std::ptrdiff_t>(b.pairs));
}

void KivLineResampler::findRuns() {
    for (unsigned int i = 0; i < positions.size(); ++i) {
        if (!runs.empty() && sameWeights(positions[i - 1], positions[i])) {
            Run& run = runs.back();
            const unsigned int step = positions[i].pairFirst - positions[i - 1].pairFirst;
            if (run.end - run.begin == 1 || run.step == step) {
                run.step = step;
                run.end = i + 1;
                continue;
            }
        }
        runs.push_back(Run{i, i + 1, 0});
    }
}

unsigned int KivLineResampler::firstSource(unsigned int position) const {
    return copies() ? position : positions[position].first;
}

unsigned int KivLineResampler::sourceCount(unsigned int position) const {
    return copies() ? 1 : positions[position].count;
}

unsigned int KivLineResampler::maxSourceCount() const {
    unsigned int most = 1;
    for (const Position& position : positions) {
        most = std::max(most, position.count);
    }
    return most;
}

void KivLineResampler::resampleRun(const Run& run, const std::uint32_t* source, std::uint32_t* dest) const {
    const Position& position = positions[run.begin];
    std::uint32_t* const begin = dest + run.begin;
    std::uint32_t* const end = dest + run.end;
    const std::uint32_t* const from = source + position.pairFirst;
    const std::uint16_t* const table = pairTable.data() + position.pairs;
    switch (position.pairCount) {
    case 2: // ratio 2
        resamplePairs<2>(from, run.step, table, position.pairCount, position.shift, begin, end);
        break;
    case 4: // ratio 4
        resamplePairs<4>(from, run.step, table, position.pairCount, position.shift, begin, end);
        break;
    default:
        resamplePairs<0>(from, run.step, table, position.pairCount, position.shift, begin, end);
    }
}

void KivLineResampler::resampleAlong(const std::uint32_t* source, std::uint32_t* dest) const {
    if (copies()) {
        std::memcpy(dest, source, sizeof *dest * lineLength);
        return;
    }
    for (const Run& run : runs) {
        const Position& position = positions[run.begin];
        if (position.paired) {
            resampleRun(run, source, dest);
            continue;
        }
        // A position without a partner is a run of its own.
        const double* weights = weightTable.data() + position.weights;
        const std::uint32_t* from = source + position.first;
        Doubles4 sum = {};
        for (unsigned int i = 0; i < position.count; ++i) {
            sum += loadPixel(from + i) * weights[i];
        }
        dest[run.begin] = packPixel(sum);
    }
}

void KivLineResampler::resampleAcross(unsigned int position, const std::uint32_t* const* rows, std::uint32_t* dest,
                                      unsigned int count) const {
    if (copies()) {
        std::memcpy(dest, rows[0], sizeof *dest * count);
        return;
    }
    const Position& what = positions[position];
    unsigned int x = 0;
    if (what.dyadic) {
        const std::uint16_t* weights = wholeTable.data() + what.whole;
        for (; x + 2 <= count; x += 2) {
            Words8 sum = loadPixels(rows[0] + x) * weights[0];
            for (unsigned int i = 1; i < what.count; ++i) {
                sum += loadPixels(rows[i] + x) * weights[i];
            }
            storePixels(dest + x, sum, what.shift);
        }
    }
    const double* weights = weightTable.data() + what.weights;
    for (; x < count; ++x) {
        Doubles4 sum = {};
        for (unsigned int i = 0; i < what.count; ++i) {
            sum += loadPixel(rows[i] + x) * weights[i];
        }
        dest[x] = packPixel(sum);
    }
}
