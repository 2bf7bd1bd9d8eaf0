#include "kivrender/vector/badsequence.h"

#include "kivrender/vector/rotatedqueue.h"

BadSequence::BadSequence(const std::vector<SweepEntry>& entries, std::size_t begin, std::size_t end)
    : blocks(
          {entries.begin() + static_cast<std::ptrdiff_t>(begin), entries.begin() + static_cast<std::ptrdiff_t>(end)}),
      place(begin), count(end - begin), last(count - 1) {}

// Both ends stand on an entry, if there is one left.
void BadSequence::skipEmpty() {
    while (first < last && blocks.isEmpty(first))
        ++first;
    while (first < last && blocks.isEmpty(last))
        --last;
}

BadSequence::Smaller BadSequence::divide(std::vector<SweepEntry>& to) {
    const SweepEntry pivot = blocks[first];
    if (pivot.key == sweepKeyNaN) { // compares with nothing: the exchanges undo each other
        to[place++] = pivot;
        ++first;
        --count;
        skipEmpty();
        return {place - 1, place - 1};
    }
    blocks.exchange(first, last);
    const Smaller smaller = findSmallerSide(pivot.key) ? takeFront(to) : takeBack(to);
    skipEmpty();
    return smaller;
}

// Looks for both kinds in turn until one comes to its end. True if these are the ones of the front.
bool BadSequence::findSmallerSide(std::int32_t pivot) {
    std::size_t next[2] = {first, first};
    found[0].clear();
    found[1].clear();
    for (std::size_t kind = 0;; kind = 1 - kind) {
        next[kind] = blocks.find(next[kind], last, pivot, kind == 1);
        if (next[kind] >= last)
            return kind == 0;
        found[kind].push_back(next[kind]++);
    }
}

BadSequence::Smaller BadSequence::takeFront(std::vector<SweepEntry>& to) {
    const Smaller smaller{place, place + found[0].size()};
    const auto step = [this] {
        do {
            ++first;
        } while (first < last && blocks.isEmpty(first));
    };
    for (const std::size_t each : found[0]) {
        to[place++] = blocks[each];
        if (each != first)
            blocks.set(each, blocks[first]);
        step();
    }
    to[place++] = blocks[last];
    if (first != last)
        blocks.set(last, blocks[first]);
    step();
    count -= found[0].size() + 1;
    return smaller;
}

BadSequence::Smaller BadSequence::takeBack(std::vector<SweepEntry>& to) {
    const std::vector<std::size_t>& above = found[1];
    count -= above.size() + 1;
    const Smaller smaller{place + count + 1, place + count + 1 + above.size()};
    std::vector<std::size_t> turns;
    turns.reserve(above.size());
    std::vector<std::size_t> before;
    for (const std::size_t each : above)
        before.push_back(blocks.countBefore(each));
    before.push_back(blocks.countBefore(last) + 1); // the pivot counts too
    for (std::size_t i = 0; i < above.size(); ++i)
        turns.push_back(before[i + 1] - before[i] - 1);
    const std::vector<std::size_t> places = RotatedQueue::places(turns);
    for (std::size_t i = 0; i < above.size(); ++i) {
        to[smaller.begin + places[i]] = blocks[above[i]];
        blocks.takeOut(above[i]);
    }
    to[place + count] = blocks[last];
    blocks.takeOut(last);
    return smaller;
}

void BadSequence::write(std::vector<SweepEntry>& to) const {
    std::size_t next = place;
    for (std::size_t each = first; next < place + count; ++each) {
        if (!blocks.isEmpty(each))
            to[next++] = blocks[each];
    }
}
