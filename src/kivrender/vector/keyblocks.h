// A long sequence of sweep keys from which some are taken out, and in which the next key that is above a limit, or is
// not, is found without walking all keys between.
#ifndef KIVRENDER_VECTOR_KEYBLOCKS_H
#define KIVRENDER_VECTOR_KEYBLOCKS_H

#include "kivrender/vector/sweepkey.h"

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

// Keys lie in blocks of 32, these in blocks of 32 again, and so on; of each block the least key, the greatest and their
// number are known. A place stays empty when its key has been taken out.
class KeyBlocks {
public:
    explicit KeyBlocks(std::vector<SweepEntry> sequence);

    const SweepEntry& operator[](std::size_t place) const {
        return entries[place];
    }
    bool isEmpty(std::size_t place) const {
        return entries[place].index < 0;
    }
    void set(std::size_t place, const SweepEntry& entry) {
        entries[place] = entry;
        refresh(place);
    }
    void exchange(std::size_t first, std::size_t second);
    void takeOut(std::size_t place) {
        set(place, {0, -1});
    }

    // The first place from that one on whose key is above the limit, or is not, or a place that is not before the end.
    std::size_t find(std::size_t from, std::size_t end, std::int32_t limit, bool above) const;
    // How many keys there are before a place, whatever has been set since they were.
    std::size_t countBefore(std::size_t place) const;

private:
    static constexpr std::size_t size = 32;

    struct Span {
        std::int32_t least = std::numeric_limits<std::int32_t>::max();
        std::int32_t greatest = std::numeric_limits<std::int32_t>::min();
        std::uint32_t count = 0;

        bool holds(std::int32_t limit, bool above) const {
            return count > 0 && (above ? greatest > limit : least <= limit);
        }
        bool operator==(const Span&) const = default;
    };

    Span spanOf(std::size_t level, std::size_t block) const;
    void refresh(std::size_t place);
    std::size_t nextBlock(std::size_t level, std::size_t block, std::int32_t limit, bool above) const;

    std::vector<SweepEntry> entries;
    std::vector<std::vector<Span>> levels;
};

#endif
