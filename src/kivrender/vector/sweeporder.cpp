#include "kivrender/vector/sweeporder.h"

#include "kivrender/vector/badsequence.h"
#include "kivrender/vector/sweepkey.h"

#include <bit>
#include <utility>

namespace {

class SweepSort {
public:
    SweepSort(std::vector<SweepEntry>& toSort, WorkPoll& cancelPoll) : entries(toSort), poll(cancelPoll) {
        mostDivisions = 2 * static_cast<int>(std::bit_width(entries.size())) + 8;
    }

    // After a cancel the entries are in some order.
    void run() {
        ranges.push_back({0, entries.size(), 0});
        while (!ranges.empty() && !poll.isCancelled()) {
            const Range range = ranges.back();
            ranges.pop_back();
            if (range.end - range.begin < 2)
                continue;
            if (range.divisions > mostDivisions && range.end - range.begin > plainSize)
                divideBadly(range);
            else
                divide(range);
            poll.isCancelled(static_cast<std::size_t>(range.end - range.begin) * 5 / 2);
        }
    }

private:
    struct Range {
        std::size_t begin;
        std::size_t end;
        int divisions; // that led to it
    };

    void divide(const Range& range) {
        const std::size_t last = range.end - 1;
        std::swap(entries[range.begin], entries[last]);
        std::size_t front = range.begin;
        // Nothing compares with a pivot that is not a number.
        if (const std::int32_t pivot = entries[last].key; pivot != sweepKeyNaN) {
            for (std::size_t k = range.begin; k < last; ++k) {
                if (entries[k].key <= pivot)
                    std::swap(entries[front++], entries[k]);
            }
        }
        std::swap(entries[front], entries[last]);
        ranges.push_back({range.begin, front, range.divisions + 1});
        ranges.push_back({front + 1, range.end, range.divisions + 1});
    }

    // As long as it goes on badly.
    void divideBadly(const Range& range) {
        BadSequence sequence(entries, range.begin, range.end);
        while (sequence.size() > plainSize) {
            const auto [begin, end] = sequence.divide(entries);
            ranges.push_back({begin, end, 0});
            if (poll.isCancelled(200 + 400 * static_cast<std::size_t>(end - begin)) ||
                end - begin > sequence.size() / 8)
                break;
        }
        sequence.write(entries);
        ranges.push_back({sequence.begin(), sequence.begin() + sequence.size(), 0});
    }

    // Short enough that even bad divisions cost little.
    static constexpr std::size_t plainSize = 48;

    std::vector<SweepEntry>& entries;
    WorkPoll& poll;
    std::vector<Range> ranges;
    int mostDivisions;
};

} // namespace

std::vector<int> sweepOrder(const std::vector<float>& keys, WorkPoll& poll) {
    std::vector<SweepEntry> entries;
    entries.reserve(keys.size());
    for (const float key : keys)
        entries.push_back({sweepKeyOf(key), static_cast<int>(entries.size())});
    SweepSort(entries, poll).run();
    std::vector<int> order;
    order.reserve(entries.size());
    for (const SweepEntry& entry : entries)
        order.push_back(entry.index);
    return order;
}

std::vector<int> sweepOrder(const std::vector<float>& keys) {
    WorkPoll poll;
    return sweepOrder(keys, poll);
}
