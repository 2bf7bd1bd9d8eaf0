#include "kivrender/host/kivtwopassscale.h"

#include "kivrender/host/kivlineresampler.h"
#include "kivrender/platform/kivprocessors.h"
#include "kivrender/platform/kivsystempages.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace {

std::atomic<int> allocationsLeft{-1};

struct PixelsDeleter {
    std::size_t count;
    void operator()(std::uint32_t* pixels) const {
        kivFreePixels(pixels, count);
    }
};
using Pixels = std::unique_ptr<std::uint32_t[], PixelsDeleter>;

Pixels allocate(unsigned int width, unsigned int height) {
    const std::size_t count = std::size_t{width} * height;
    return Pixels(kivAllocatePixels(count), PixelsDeleter{count});
}

// Below this many pixels in and out a second thread costs more than it brings.
constexpr std::size_t parallelPixels = 1 << 15;
// Output rows that one thread takes at a time. At each border the rows that both sides need are resampled twice.
constexpr unsigned int rowsPerTask = 48;

// Rows of a source, the first of which has that number.
struct SourceRows {
    const std::uint32_t* pixels;
    unsigned int first;
    unsigned int width;

    const std::uint32_t* at(unsigned int y) const {
        return pixels + std::size_t{y - first} * width;
    }
};

// Makes output rows; the rows of the first pass that they need are kept in a ring.
class Band {
public:
    Band(const KivLineResampler& along, const KivLineResampler& across, const SourceRows& from)
        : horizontal(along), vertical(across), source(from), rows(across.maxSourceCount()),
          kept(rows.size() + slack, none) {
        if (!horizontal.copies()) {
            ring.resize(kept.size() * horizontal.length());
        }
    }

    void make(std::uint32_t* dest, unsigned int begin, unsigned int end) {
        for (unsigned int y = begin; y < end; ++y) {
            const unsigned int first = vertical.firstSource(y);
            for (unsigned int i = 0; i < vertical.sourceCount(y); ++i) {
                rows[i] = row(first + i);
            }
            vertical.resampleAcross(y, rows.data(), dest + std::size_t{y} * horizontal.length(), horizontal.length());
        }
    }

private:
    // When enlarging a position may need a source before those of the last one: one row more is worth keeping.
    static constexpr std::size_t slack = 2;
    static constexpr unsigned int none = std::numeric_limits<unsigned int>::max();

    const std::uint32_t* row(unsigned int y) {
        const std::uint32_t* const from = source.at(y);
        if (horizontal.copies()) {
            return from;
        }
        const std::size_t slot = y % kept.size();
        std::uint32_t* to = ring.data() + slot * horizontal.length();
        if (kept[slot] != y) {
            horizontal.resampleAlong(from, to);
            kept[slot] = y;
        }
        return to;
    }

    const KivLineResampler& horizontal;
    const KivLineResampler& vertical;
    SourceRows source;
    std::vector<const std::uint32_t*> rows;
    std::vector<unsigned int> kept; // the source row in each slot of the ring
    std::vector<std::uint32_t> ring;
};

// The output rows from begin to end. False without memory.
bool scaleRows(const KivLineResampler& horizontal, const KivLineResampler& vertical, const SourceRows& source,
               unsigned int begin, unsigned int end, std::size_t work, std::uint32_t* dest) {
    const unsigned int tasks = (end - begin - 1) / rowsPerTask + 1;
    std::atomic<bool> good{true};
#pragma omp parallel for schedule(dynamic) if (work >= parallelPixels)
    for (unsigned int task = 0; task < tasks; ++task) {
        try {
            Band band(horizontal, vertical, source);
            const unsigned int first = begin + task * rowsPerTask;
            band.make(dest, first, std::min(end, first + rowsPerTask));
        } catch (const std::bad_alloc&) {
            good = false; // an exception must not leave the parallel loop
        }
    }
    return good;
}

// Output rows of a band of a source that is read by and by, and how many bands are held at once: so few that the memory
// for them stays in the processor's cache.
constexpr unsigned int rowsPerRead = 24;
constexpr std::size_t bandsAtOnce = 3;

// Some source rows and the output rows that are made of them.
struct ReadBand {
    std::vector<std::uint32_t> rows;
    SourceRows source{};
    unsigned int begin = 0;
    unsigned int end = 0;
};

// Bands that were read wait here for the second thread; the one that reads makes the last one itself when all are full.
// A team of OpenMP would wait for each band with its processors busy.
class BandQueue {
public:
    BandQueue(const KivLineResampler& along, const KivLineResampler& across, std::uint32_t* to)
        : horizontal(along), vertical(across), dest(to) {}
    BandQueue(const BandQueue&) = delete;
    BandQueue& operator=(const BandQueue&) = delete;
    ~BandQueue() {
        finish();
    }

    // Without a second thread all work falls to the first.
    void startHelper() {
        try {
            helper = std::thread([this] { help(); });
        } catch (const std::system_error&) {
        }
    }

    // One that holds nothing; null if making rows has failed.
    ReadBand* takeFree() {
        for (;;) {
            std::unique_lock lock(guard);
            for (std::size_t i = 0; i < bands.size(); ++i) {
                if (states[i] == State::free) {
                    return good ? &bands[i] : nullptr;
                }
            }
            makeWaiting(lock);
        }
    }
    void add(const ReadBand& band) {
        const std::lock_guard lock(guard);
        states[static_cast<std::size_t>(&band - bands.data())] = State::waiting;
        changed.notify_one();
    }
    // Makes what waits. False if any rows could not be made.
    bool finish() {
        std::unique_lock lock(guard);
        while (makeWaiting(lock)) {
        }
        isOver = true;
        lock.unlock();
        changed.notify_one();
        if (helper.joinable()) {
            helper.join();
        }
        return good;
    }

private:
    enum class State { free, waiting, inWork };

    // One band, with the lock released meanwhile. False if none waits.
    bool makeWaiting(std::unique_lock<std::mutex>& lock) {
        for (std::size_t i = 0; i < bands.size(); ++i) {
            if (states[i] == State::waiting) {
                states[i] = State::inWork;
                lock.unlock();
                const bool isMade = make(bands[i]);
                lock.lock();
                states[i] = State::free;
                good = good && isMade;
                return true;
            }
        }
        return false;
    }
    bool make(const ReadBand& band) const {
        try {
            Band(horizontal, vertical, band.source).make(dest, band.begin, band.end);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    void help() {
        std::unique_lock lock(guard);
        while (makeWaiting(lock) || !isOver) {
            if (std::ranges::find(states, State::waiting) == states.end() && !isOver) {
                changed.wait(lock);
            }
        }
    }

    const KivLineResampler& horizontal;
    const KivLineResampler& vertical;
    std::uint32_t* dest;
    std::array<ReadBand, bandsAtOnce> bands;
    std::array<State, bandsAtOnce> states{};
    std::mutex guard;
    std::condition_variable changed;
    bool good = true;
    bool isOver = false;
    std::thread helper;
};

template <class Reader>
bool scaleAsRead(const KivLineResampler& horizontal, const KivLineResampler& vertical, const Reader& read,
                 unsigned int sourceWidth, std::size_t work, std::uint32_t* dest) {
    BandQueue queue(horizontal, vertical, dest);
    if (work >= parallelPixels && kivProcessors() > 1) {
        queue.startHelper();
    }
    const unsigned int height = vertical.length();
    for (unsigned int begin = 0; begin < height;) {
        ReadBand* const band = queue.takeFree();
        if (band == nullptr) {
            return false;
        }
        band->begin = begin;
        band->end = begin + std::min(height - begin, rowsPerRead);
        unsigned int first = vertical.firstSource(begin);
        unsigned int last = first;
        for (unsigned int y = begin; y < band->end; ++y) {
            first = std::min(first, vertical.firstSource(y));
            last = std::max(last, vertical.firstSource(y) + vertical.sourceCount(y));
        }
        band->rows.resize(std::max(band->rows.size(), std::size_t{last - first} * sourceWidth));
        if (!read(first, last - first, band->rows.data())) {
            return false;
        }
        band->source = {band->rows.data(), first, sourceWidth};
        begin = band->end;
        queue.add(*band);
    }
    return queue.finish();
}

bool isScalable(unsigned int sourceWidth, unsigned int sourceHeight, unsigned int destWidth, unsigned int destHeight) {
    constexpr unsigned int most = std::numeric_limits<int>::max();
    return std::min({sourceWidth, sourceHeight, destWidth, destHeight}) > 0 &&
           std::max({sourceWidth, sourceHeight, destWidth, destHeight}) <= most;
}

} // namespace

CGenericFilter::~CGenericFilter() = default;

double CBilinearFilter::filterValue(double x) {
    x = std::fabs(x);
    return x < width ? width - x : 0.0;
}

void kivLimitPixelAllocations(int count) {
    allocationsLeft = count;
}

std::uint32_t* kivAllocatePixels(std::size_t count) {
    if (count == 0 || count > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(std::uint32_t)) {
        return nullptr;
    }
    if (allocationsLeft == 0) {
        return nullptr;
    }
    if (allocationsLeft > 0) {
        --allocationsLeft;
    }
    return static_cast<std::uint32_t*>(kivMapPages(count * sizeof(std::uint32_t)));
}

void kivFreePixels(std::uint32_t* pixels, std::size_t count) {
    if (pixels != nullptr) {
        kivUnmapPages(pixels, count * sizeof(std::uint32_t));
    }
}

template <class Filter>
LineContribution C2PassScale<Filter>::calculateContributions(unsigned int lineLength, unsigned int sourceLength,
                                                             double scale, bool centred) {
    Filter filter(1.0);
    const bool shrinks = scale < 1.0;
    const double support = shrinks ? filter.getWidth() / scale : filter.getWidth();
    const double filterScale = shrinks ? scale : 1.0;

    LineContribution result;
    // A centre between two sources has up to two more of them around it.
    result.windowSize = 2 * static_cast<unsigned int>(std::ceil(support)) + (centred ? 3 : 1);
    result.lineLength = lineLength;
    const std::size_t rowLength = std::size_t{result.windowSize} + 1;
    result.table.assign(rowLength * lineLength, 0.0);
    result.rows.reserve(lineLength);
    for (unsigned int u = 0; u < lineLength; ++u) {
        const double centre = centred ? (u + 0.5) / scale - 0.5 : u / scale;
        int left = static_cast<int>(std::max(0.0, std::floor(centre - support)));
        int right = static_cast<int>(std::min(std::ceil(centre + support), static_cast<double>(sourceLength) - 1));
        double* weights = result.table.data() + rowLength * u;
        result.rows.push_back({weights, left, right});
        // The stored bounds stay while the weights are made for narrower ones. So the weights fall one source to the
        // left of where they were made for, and the last source gets the closing 0: pictures have always looked so.
        if (right - left + 1 > static_cast<int>(result.windowSize)) {
            ++left;
        }
        double sum = 0.0;
        for (int i = left; i <= right; ++i) {
            weights[i - left] = filterScale * filter.filterValue(filterScale * (centre - i));
            sum += weights[i - left];
        }
        if (sum > 0.0) {
            for (int i = left; i <= right; ++i) {
                weights[i - left] /= sum;
            }
        }
    }
    return result;
}

template <class Filter> bool C2PassScale<Filter>::goOn(unsigned int line, unsigned int lines, int base) {
    if (progressCallback != nullptr &&
        !progressCallback(static_cast<std::uint8_t>(base + static_cast<int>(std::uint64_t{line} * 50 / lines)))) {
        canceled = true;
    }
    return !canceled;
}

// With somebody who watches, the passes run one after the other over all lines. A few lines are announced together and
// then made together: who stops at one of them gets no picture, so it doesn't show.
template <class Filter>
std::uint32_t* C2PassScale<Filter>::scaleInPasses(const KivLineResampler& horizontal, const KivLineResampler& vertical,
                                                  const std::uint32_t* source, unsigned int sourceWidth,
                                                  unsigned int sourceHeight) {
    constexpr unsigned int together = 64;
    const auto announce = [&](unsigned int begin, unsigned int end, unsigned int lines, int base) {
        while (begin < end && goOn(begin, lines, base)) {
            ++begin;
        }
        return !canceled;
    };

    const unsigned int width = horizontal.length();
    const Pixels between = allocate(width, sourceHeight);
    if (!between) {
        return nullptr;
    }
    for (unsigned int begin = 0; begin < sourceHeight; begin += together) {
        const unsigned int end = std::min(sourceHeight, begin + together);
        if (!horizontal.copies() && !announce(begin, end, sourceHeight, 0)) {
            return nullptr;
        }
#pragma omp parallel for schedule(static) if (std::size_t{together} * sourceWidth >= parallelPixels)
        for (unsigned int y = begin; y < end; ++y) {
            horizontal.resampleAlong(source + std::size_t{y} * sourceWidth, between.get() + std::size_t{y} * width);
        }
    }

    Pixels result = allocate(width, vertical.length());
    if (!result) {
        return nullptr;
    }
    std::vector<const std::uint32_t*> rows(vertical.maxSourceCount());
    for (unsigned int begin = 0; begin < width; begin += together) {
        const unsigned int end = std::min(width, begin + together);
        if (!vertical.copies() && !announce(begin, end, width, 50)) {
            return nullptr;
        }
#pragma omp parallel for schedule(static) firstprivate(rows) if (std::size_t{together} * sourceHeight >= parallelPixels)
        for (unsigned int y = 0; y < vertical.length(); ++y) {
            for (unsigned int i = 0; i < vertical.sourceCount(y); ++i) {
                rows[i] = between.get() + std::size_t{vertical.firstSource(y) + i} * width + begin;
            }
            vertical.resampleAcross(y, rows.data(), result.get() + std::size_t{y} * width + begin, end - begin);
        }
    }
    return result.release();
}

template <class Filter>
KivLineResampler C2PassScale<Filter>::resampler(unsigned int length, unsigned int sourceLength) const {
    return length == sourceLength
               ? KivLineResampler(length)
               : KivLineResampler(calculateContributions(length, sourceLength,
                                                         static_cast<double>(length) / sourceLength, isCentred),
                                  sourceLength);
}

template <class Filter>
std::uint32_t* C2PassScale<Filter>::scale(const std::uint32_t* source, unsigned int sourceWidth,
                                          unsigned int sourceHeight, unsigned int destWidth, unsigned int destHeight) {
    canceled = false;
    if (!isScalable(sourceWidth, sourceHeight, destWidth, destHeight)) {
        return nullptr;
    }
    try {
        const KivLineResampler horizontal = resampler(destWidth, sourceWidth);
        const KivLineResampler vertical = resampler(destHeight, sourceHeight);
        if (progressCallback != nullptr) {
            return scaleInPasses(horizontal, vertical, source, sourceWidth, sourceHeight);
        }
        Pixels result = allocate(destWidth, destHeight);
        if (!result) {
            return nullptr;
        }
        const std::size_t work = std::size_t{sourceWidth} * sourceHeight + std::size_t{destWidth} * destHeight;
        const bool good = scaleRows(horizontal, vertical, {source, 0, sourceWidth}, 0, destHeight, work, result.get());
        return good ? result.release() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

template <class Filter>
std::uint32_t* C2PassScale<Filter>::scale(const RowReader& read, unsigned int sourceWidth, unsigned int sourceHeight,
                                          unsigned int destWidth, unsigned int destHeight) {
    canceled = false;
    if (!isScalable(sourceWidth, sourceHeight, destWidth, destHeight)) {
        return nullptr;
    }
    try {
        const KivLineResampler horizontal = resampler(destWidth, sourceWidth);
        const KivLineResampler vertical = resampler(destHeight, sourceHeight);
        Pixels result = allocate(destWidth, destHeight);
        const std::size_t work = std::size_t{sourceWidth} * sourceHeight + std::size_t{destWidth} * destHeight;
        return result && scaleAsRead(horizontal, vertical, read, sourceWidth, work, result.get()) ? result.release()
                                                                                                  : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

template class C2PassScale<CBilinearFilter>;
