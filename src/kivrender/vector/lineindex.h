// Finds the lines that could merge with a line, by length, direction and place, so that not every line has to be
// compared with every other.
//
// A merge looks at an ordered pair: positions are measured along the first line. So an index holds lines in one of the
// two roles. What a query visits is never less than the lines that merge; it may be more, and the caller compares.
#ifndef KIVRENDER_VECTOR_LINEINDEX_H
#define KIVRENDER_VECTOR_LINEINDEX_H

#include "kivrender/vector/lineshape.h"
#include "kivrender/vector/slotmap.h"

#include <cstdint>
#include <vector>

class LineIndex {
public:
    enum class Role { First, Second };

    // The role in which the lines stand that the index holds.
    LineIndex(Role lines, std::size_t numLines);

    // Only lines of one group, a number that the caller gives, can meet each other. A shape that cannot merge at all,
    // since its ends are no finite distance apart, is not taken up.
    void insert(int slot, const LineShape& shape, int group);
    void erase(int slot, const LineShape& shape, int group);

    // The smallest slot from first up to but not including end that could merge with the shape and that test accepts,
    // or end. The shape stands in the role that the lines of the index do not have.
    template <class Test>
    int firstWhere(const LineShape& shape, int group, int first, int end, const Test& test) const {
        int best = end;
        queryKeys.clear();
        collectQueryKeys(shape, group);
        for (const std::uint64_t key : queryKeys)
            best = buckets.firstWhere(key, first, best, test);
        return best;
    }

    // Calls visit for every slot that could merge with the shape; a slot may come twice.
    template <class Visit> void forEach(const LineShape& shape, int group, const Visit& visit) const {
        queryKeys.clear();
        collectQueryKeys(shape, group);
        for (const std::uint64_t key : queryKeys) {
            buckets.firstWhere(key, 0, INT32_MAX, [&](int slot) {
                visit(slot);
                return false;
            });
        }
    }

    // Has at hand what is needed soon to insert a line, or to look for what merges with it.
    void prefetchOwn(const LineShape& shape, int group) const;
    void prefetchAround(const LineShape& shape, int group) const;

private:
    void count(const LineShape& shape, int change);
    void collectOwnKeys(const LineShape& shape, int group) const;
    void collectQueryKeys(const LineShape& shape, int group) const;
    void collectLongKeys(const LineShape& shape, int group) const;
    void collectShortKeys(const LineShape& shape, int group) const;

    static constexpr int numShortLevels = 4;

    Role role;
    SlotMap buckets;
    // So that what is empty costs no look-ups.
    int shortPopulation[numShortLevels] = {};
    int farPopulation = 0;
    // Kept between calls for their memory alone.
    mutable std::vector<std::uint64_t> ownKeys;
    mutable std::vector<std::uint64_t> queryKeys;
};

#endif
