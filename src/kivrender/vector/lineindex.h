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
        keysAround(shape, group, queryKeys);
        prefetchPlaces(queryKeys); // all at once, not each after the other
        for (const std::uint64_t key : queryKeys)
            best = buckets.firstWhere(key, first, best, test);
        return best;
    }

    // Calls visit for every slot that could merge with the shape; a slot may come twice.
    template <class Visit> void forEach(const LineShape& shape, int group, const Visit& visit) const {
        keysAround(shape, group, queryKeys);
        prefetchPlaces(queryKeys); // all at once, not each after the other
        for (const std::uint64_t key : queryKeys) {
            buckets.firstWhere(key, 0, INT32_MAX, [&](int slot) {
                visit(slot);
                return false;
            });
        }
    }

    // The keys under which a line is stored, and those under which lines may be that merge with it. Later changes of
    // the index can make them out of date, which does no harm where they are used to prefetch.
    using Keys = std::vector<std::uint64_t>;
    void keysOf(const LineShape& shape, int group, Keys& keys) const;
    void keysAround(const LineShape& shape, int group, Keys& keys) const;

    // Has at hand what is needed soon of these keys, one step after the other: each needs what the one before brought.
    void prefetchPlaces(const Keys& keys) const;
    void prefetchSets(const Keys& keys) const;
    void prefetchMembers(const Keys& keys) const;
    // Calls visit for the first slots behind `first` that the keys name.
    template <class Visit> void forEachSoon(const Keys& keys, int first, const Visit& visit) const {
        constexpr int few = 3;
        for (const std::uint64_t key : keys) {
            int visited = 0;
            buckets.firstWhere(key, first, INT32_MAX, [&](int slot) {
                visit(slot);
                return ++visited == few;
            });
        }
    }

private:
    void count(const LineShape& shape, int change);
    void collectOwnKeys(const LineShape& shape, int group, Keys& keys) const;
    void collectQueryKeys(const LineShape& shape, int group, Keys& keys) const;
    static void collectLongKeys(const LineShape& shape, int group, Keys& keys);
    void collectShortKeys(const LineShape& shape, int group, Keys& keys) const;

    static constexpr int numShortLevels = 4;

    Role role;
    SlotMap buckets;
    // So that what is empty costs no look-ups.
    int shortPopulation[numShortLevels] = {};
    int farPopulation = 0;
    // Kept between calls for their memory alone.
    mutable Keys ownKeys;
    mutable Keys queryKeys;
};

#endif
