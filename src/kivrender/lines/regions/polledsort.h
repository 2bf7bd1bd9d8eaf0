// Sorting that sees a cancel.
#ifndef KIVRENDER_LINES_REGIONS_POLLEDSORT_H
#define KIVRENDER_LINES_REGIONS_POLLEDSORT_H

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

// Merge sort over sorted blocks. False, with the order undefined, when the user cancelled.
template <class T, class Less> bool polledSort(std::vector<T>& list, Less less) {
    constexpr std::size_t block = 1U << 15U;
    const auto at = [&](std::size_t place) {
        return list.begin() + static_cast<std::ptrdiff_t>(std::min(place, list.size()));
    };
    for (std::size_t first = 0; first < list.size(); first += block) {
        if (first > 0 && kivIsCancelled()) {
            return false;
        }
        std::sort(at(first), at(first + block), less);
    }
    for (std::size_t length = block; length < list.size(); length *= 2) {
        for (std::size_t first = 0; first + length < list.size(); first += 2 * length) {
            if (kivIsCancelled()) {
                return false;
            }
            std::inplace_merge(at(first), at(first + length), at(first + 2 * length), less);
        }
    }
    return true;
}

template <class T> bool polledSortUnique(std::vector<T>& list) {
    if (!polledSort(list, std::less<T>())) {
        return false;
    }
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return true;
}

#endif
