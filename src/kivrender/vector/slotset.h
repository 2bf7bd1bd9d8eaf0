// An ordered set of list slots that is a short sorted array while it is small. Most are; one that holds thousands of
// equal lines must still lose its first member quickly.
#ifndef KIVRENDER_VECTOR_SLOTSET_H
#define KIVRENDER_VECTOR_SLOTSET_H

#include "kivrender/vector/prefetch.h"

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

class SlotSet {
public:
    void insert(int slot) {
        if (large) {
            large->insert(slot);
            return;
        }
        small.insert(std::lower_bound(small.begin(), small.end(), slot), slot);
        if (small.size() > largestSmall) {
            large = std::make_unique<std::set<int>>(small.begin(), small.end());
            small = {};
        }
    }
    void erase(int slot) {
        if (large) {
            large->erase(slot);
            return;
        }
        const auto found = std::lower_bound(small.begin(), small.end(), slot);
        if (found != small.end() && *found == slot)
            small.erase(found);
    }
    // The smallest slot from first up to but not including end that test accepts, or end.
    template <class Test> int firstWhere(int first, int end, const Test& test) const {
        return large ? firstWhere(large->lower_bound(first), large->end(), end, test)
                     : firstWhere(std::lower_bound(small.begin(), small.end(), first), small.end(), end, test);
    }

    void prefetchMembers() const {
        prefetch(small.data());
    }

private:
    template <class Iterator, class Test> static int firstWhere(Iterator from, Iterator to, int end, const Test& test) {
        for (; from != to && *from < end; ++from) {
            if (test(*from))
                return *from;
        }
        return end;
    }

    static constexpr std::size_t largestSmall = 128;
    std::vector<int> small;
    std::unique_ptr<std::set<int>> large;
};

#endif
