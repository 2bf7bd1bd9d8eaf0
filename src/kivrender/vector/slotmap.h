// Sets of list slots by key. Most keys have one slot or two, which stand in the table itself: finding them costs one
// look into memory.
#ifndef KIVRENDER_VECTOR_SLOTMAP_H
#define KIVRENDER_VECTOR_SLOTMAP_H

#include "kivrender/vector/prefetch.h"
#include "kivrender/vector/slotset.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <deque>
#include <vector>

// Keys are mixed well by the caller; a key that is not in the table leads to the next place (linear probing).
class SlotMap {
public:
    // Room for that many keys at least.
    explicit SlotMap(std::size_t numKeys = 0) : table(std::bit_ceil(2 * numKeys + 16)) {}

    void insert(std::uint64_t key, int slot) {
        if (2 * numUsed >= table.size())
            grow();
        Entry& entry = table[placeOf(key)];
        if (entry.first == vacant) {
            ++numUsed;
            entry = {key, slot, none};
        } else if (entry.first < none) {
            setOf(entry).insert(slot);
        } else if (entry.first == none) {
            entry.first = slot;
        } else if (entry.second == none) {
            entry.second = std::max(entry.first, slot);
            entry.first = std::min(entry.first, slot);
        } else {
            SlotSet& set = sets.emplace_back();
            for (const int each : {entry.first, entry.second, slot})
                set.insert(each);
            entry.first = none - static_cast<int>(sets.size());
        }
    }
    void erase(std::uint64_t key, int slot) {
        Entry& entry = table[placeOf(key)];
        if (entry.first < none && entry.first != vacant) {
            setOf(entry).erase(slot);
        } else if (entry.second == slot) {
            entry.second = none;
        } else if (entry.first == slot) {
            entry.first = entry.second;
            entry.second = none;
        }
    }
    // The smallest slot of the key from first up to but not including end that test accepts, or end.
    template <class Test> int firstWhere(std::uint64_t key, int first, int end, const Test& test) const {
        const Entry& entry = table[placeOf(key)];
        if (entry.first == vacant)
            return end;
        if (entry.first < none)
            return setOf(entry).firstWhere(first, end, test);
        for (const int slot : {entry.first, entry.second}) {
            if (slot >= first && slot < end && slot != none && test(slot))
                return slot;
        }
        return end;
    }
    // Has at hand what a look-up needs, one step after the other: each needs what the one before has brought.
    void prefetchKey(std::uint64_t key) const {
        prefetch(&table[key & (table.size() - 1)]);
    }
    void prefetchSet(std::uint64_t key) const {
        if (const SlotSet* set = likelySet(key))
            prefetch(set);
    }
    void prefetchMembers(std::uint64_t key) const {
        if (const SlotSet* set = likelySet(key))
            set->prefetchMembers();
    }

private:
    static constexpr int none = -1;
    static constexpr int vacant = INT32_MIN;

    // Two slots in order, or none for those that there are not. A first one below none is the number of a set.
    struct Entry {
        std::uint64_t key = 0;
        int first = vacant;
        int second = none;
    };

    std::size_t placeOf(std::uint64_t key) const {
        const std::size_t mask = table.size() - 1;
        std::size_t place = key & mask;
        while (table[place].first != vacant && table[place].key != key)
            place = (place + 1) & mask;
        return place;
    }
    SlotSet& setOf(const Entry& entry) {
        return sets[static_cast<std::size_t>(none - 1 - entry.first)];
    }
    const SlotSet& setOf(const Entry& entry) const {
        return sets[static_cast<std::size_t>(none - 1 - entry.first)];
    }
    // The set of the key if the key stands where most do.
    const SlotSet* likelySet(std::uint64_t key) const {
        const Entry& entry = table[key & (table.size() - 1)];
        return entry.key == key && entry.first < none && entry.first != vacant ? &setOf(entry) : nullptr;
    }
    // Keys that have lost their slots stay behind.
    void grow() {
        const auto isLive = [](const Entry& entry) { return entry.first != vacant && entry.first != none; };
        numUsed = static_cast<std::size_t>(std::count_if(table.begin(), table.end(), isLive));
        std::vector<Entry> old(std::bit_ceil(4 * numUsed + 16));
        old.swap(table);
        for (const Entry& entry : old) {
            if (isLive(entry))
                table[placeOf(entry.key)] = entry;
        }
    }

    std::vector<Entry> table;
    std::size_t numUsed = 0;
    std::deque<SlotSet> sets;
};

#endif
