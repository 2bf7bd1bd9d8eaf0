#include "kivrender/scene/kivtriangleorder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

namespace {

// A block is cut in two when it has grown to this many entries. Near the root of a million, so that shifting the
// entries of one block and the starts of all costs about the same.
constexpr std::size_t largestBlock = 2048;

} // namespace

bool KivTriangleOrder::isMoreTriangles(const Entry& a, const Entry& b) {
    return a.distance > b.distance;
}

void KivTriangleOrder::insertAll(std::vector<Entry>& list, std::vector<Entry>&& added) {
    const auto isNumber = [](const Entry& entry) { return !std::isnan(entry.distance); };
    const auto isFarther = [](const Entry& a, const Entry& b) { return isMoreTriangles(a, b); };
    if (!std::ranges::all_of(list, isNumber) || !std::ranges::all_of(added, isNumber) ||
        !std::ranges::is_sorted(list, isFarther)) {
        insertOneByOne(list, added);
        return;
    }
    sortFarToNear(added);
    if (list.empty()) {
        list = std::move(added);
        return;
    }
    // At equal distance the merge takes what was there first, as the insertion does.
    std::vector<Entry> merged;
    merged.reserve(list.size() + added.size());
    std::ranges::merge(list, added, std::back_inserter(merged), isFarther);
    list = std::move(merged);
}

// A stable sort by the bits of the distances. Squared distances are never negative, and the bits of non-negative
// doubles, infinity included, grow with the number.
void KivTriangleOrder::sortFarToNear(std::vector<Entry>& entries) {
    constexpr unsigned int digitBits = 11;
    constexpr std::size_t digits = 6;
    constexpr std::size_t buckets = std::size_t{1} << digitBits;
    constexpr std::size_t smallCount = 512;
    if (entries.size() < smallCount) {
        std::ranges::stable_sort(entries, isMoreTriangles);
        return;
    }
    const auto digitOf = [](const Entry& entry, std::size_t digit) {
        return static_cast<std::size_t>(~std::bit_cast<std::uint64_t>(entry.distance) >> (digit * digitBits)) &
               (buckets - 1);
    };
    std::vector<std::array<std::size_t, buckets>> places(digits);
    for (const Entry& entry : entries) {
        for (std::size_t digit = 0; digit < digits; ++digit) {
            ++places[digit][digitOf(entry, digit)];
        }
    }
    std::vector<Entry> sorted(entries.size());
    for (std::size_t digit = 0; digit < digits; ++digit) {
        auto& place = places[digit];
        if (place[digitOf(entries.front(), digit)] == entries.size()) {
            continue; // all have the same digit here
        }
        std::size_t next = 0;
        for (std::size_t& count : place) {
            next += std::exchange(count, next);
        }
        for (const Entry& entry : entries) {
            sorted[place[digitOf(entry, digit)]++] = entry;
        }
        std::swap(entries, sorted);
    }
}

void KivTriangleOrder::insertOneByOne(std::vector<Entry>& list, const std::vector<Entry>& added) {
    KivTriangleOrder order(list);
    for (const Entry& entry : added) {
        order.insertOrderlyTriangles(entry, order.dicotomicSearch(entry));
    }
    list.clear();
    list.reserve(order.size);
    for (const auto& block : order.blocks) {
        list.insert(list.end(), block.begin(), block.end());
    }
}

KivTriangleOrder::KivTriangleOrder(const std::vector<Entry>& list) : size(list.size()) {
    std::size_t start = 0;
    do {
        const std::size_t end = std::min(start + largestBlock / 2, list.size());
        starts.push_back(start);
        blocks.emplace_back(list.begin() + static_cast<std::ptrdiff_t>(start),
                            list.begin() + static_cast<std::ptrdiff_t>(end));
        start = end;
    } while (start < list.size());
}

std::size_t KivTriangleOrder::blockOf(std::size_t index) const {
    const auto behind = std::ranges::upper_bound(starts, index);
    return static_cast<std::size_t>(behind - starts.begin()) - 1;
}

const KivTriangleOrder::Entry& KivTriangleOrder::at(std::size_t index) const {
    const std::size_t block = blockOf(index);
    return blocks[block][index - starts[block]];
}

std::size_t KivTriangleOrder::dicotomicSearch(const Entry& entry) const {
    if (size == 0) {
        return 0;
    }
    std::size_t low = 0;
    std::size_t high = size - 1;
    while (low < high) {
        const std::size_t middle = (low + high + 1) / 2;
        if (isMoreTriangles(entry, at(middle))) {
            high = middle - 1;
        } else {
            low = middle;
        }
    }
    return isMoreTriangles(entry, at(low)) ? low : low + 1;
}

void KivTriangleOrder::insertOrderlyTriangles(const Entry& entry, std::size_t position) {
    const std::size_t block = blockOf(position);
    std::vector<Entry>& entries = blocks[block];
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(position - starts[block]), entry);
    for (std::size_t later = block + 1; later < starts.size(); ++later) {
        ++starts[later];
    }
    ++size;
    if (entries.size() < largestBlock) {
        return;
    }
    const auto half = entries.begin() + static_cast<std::ptrdiff_t>(largestBlock / 2);
    std::vector<Entry> upper(half, entries.end());
    entries.erase(half, entries.end());
    const auto next = static_cast<std::ptrdiff_t>(block) + 1;
    starts.insert(starts.begin() + next, starts[block] + largestBlock / 2);
    blocks.insert(blocks.begin() + next, std::move(upper));
}
