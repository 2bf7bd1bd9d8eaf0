#include "kivrender/vector/keyblocks.h"

#include <algorithm>

KeyBlocks::KeyBlocks(std::vector<SweepEntry> sequence) : entries(std::move(sequence)) {
    for (std::size_t count = entries.size(); levels.empty() || count > 1;) {
        count = (count + size - 1) / size;
        std::vector<Span> spans(count);
        for (std::size_t block = 0; block < count; ++block)
            spans[block] = spanOf(levels.size(), block);
        levels.push_back(std::move(spans));
    }
}

KeyBlocks::Span KeyBlocks::spanOf(std::size_t level, std::size_t block) const {
    Span span;
    if (level == 0) {
        const std::size_t stop = std::min((block + 1) * size, entries.size());
        for (std::size_t place = block * size; place < stop; ++place) {
            if (isEmpty(place))
                continue;
            span.least = std::min(span.least, entries[place].key);
            span.greatest = std::max(span.greatest, entries[place].key);
            ++span.count;
        }
        return span;
    }
    const std::vector<Span>& under = levels[level - 1];
    const std::size_t stop = std::min((block + 1) * size, under.size());
    for (std::size_t each = block * size; each < stop; ++each) {
        span.least = std::min(span.least, under[each].least);
        span.greatest = std::max(span.greatest, under[each].greatest);
        span.count += under[each].count;
    }
    return span;
}

void KeyBlocks::refresh(std::size_t place) {
    std::size_t block = place / size;
    for (std::size_t level = 0; level < levels.size(); ++level, block /= size) {
        const Span span = spanOf(level, block);
        if (span == levels[level][block])
            return;
        levels[level][block] = span;
    }
}

void KeyBlocks::exchange(std::size_t first, std::size_t second) {
    if (first == second)
        return;
    std::swap(entries[first], entries[second]);
    refresh(first);
    refresh(second);
}

std::size_t KeyBlocks::find(std::size_t from, std::size_t end, std::int32_t limit, bool above) const {
    while (from < end) {
        const std::size_t begin = nextBlock(0, from / size, limit, above) * size;
        const std::size_t stop = std::min(begin + size, end);
        for (from = std::max(from, begin); from < stop; ++from) {
            if (!isEmpty(from) && (entries[from].key > limit) == above)
                return from;
        }
    }
    return end;
}

// The first block of the level from that one on that holds such a key, or their number.
std::size_t KeyBlocks::nextBlock(std::size_t level, std::size_t block, std::int32_t limit, bool above) const {
    const std::vector<Span>& blocks = levels[level];
    while (block < blocks.size()) {
        if (block % size == 0 && level + 1 < levels.size()) {
            block = nextBlock(level + 1, block / size, limit, above) * size;
            if (block >= blocks.size())
                break;
        }
        const std::size_t stop = std::min((block / size + 1) * size, blocks.size());
        for (; block < stop; ++block) {
            if (blocks[block].holds(limit, above))
                return block;
        }
    }
    return blocks.size();
}

std::size_t KeyBlocks::countBefore(std::size_t place) const {
    std::size_t count = 0;
    for (std::size_t each = place / size * size; each < place; ++each)
        count += isEmpty(each) ? 0 : 1;
    std::size_t block = place / size;
    for (const std::vector<Span>& level : levels) {
        for (std::size_t each = block / size * size; each < block; ++each)
            count += level[each].count;
        block /= size;
    }
    return count;
}
