#include "kivrender/scene/kivtriangleorder.h"

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace {

using Entry = KivTriangleOrder::Entry;

// Long loops ask for a cancel each time they have come through so many entries.
constexpr std::size_t entriesPerPoll = 65536;

// Squared distances are never negative, and the bits of non-negative doubles, infinity included, grow with the number:
// the farther, the smaller the key.
std::uint64_t keyOf(const Entry& entry) {
    return ~std::bit_cast<std::uint64_t>(entry.distance);
}

// The least and the largest key of a range.
struct KeyRange {
    std::uint64_t least;
    std::uint64_t largest;

    explicit KeyRange(const Entry& first) : least(keyOf(first)), largest(least) {}
    void widen(const Entry& entry) {
        least = std::min(least, keyOf(entry));
        largest = std::max(largest, keyOf(entry));
    }
};

// A stable sort by key in a number of steps that does not grow with the logarithm of the count: radix sort from the
// highest digit (McIlroy, Bostic and McIlroy, Engineering Radix Sort, 1993). Each step deals a range
// out to buckets by the highest digit in which its keys differ, from one buffer to the other, until ranges are short;
// from the second step on, all of a range is in the processor's cache.
class BucketSort {
public:
    // There is one entry at least.
    BucketSort(std::vector<Entry>& entries, const KeyRange& range)
        : values(entries), keys(range),
          memory(std::make_unique_for_overwrite<std::byte[]>(entries.size() * sizeof(Entry))),
          scratch(reinterpret_cast<Entry*>(memory.get())) {}

    // False after a cancel, with the entries in any order.
    bool sort() {
        return sort(values.data(), scratch, values.size(), keys);
    }

private:
    static constexpr std::size_t fewEntries = 24;
    static constexpr int mostDigitBits = 10;
    // More buckets than that at once, far apart in memory, and each entry misses the cache of page addresses.
    static constexpr std::size_t manyEntries = std::size_t{1} << 17;
    static constexpr int digitBitsOfMany = 8;

    bool sort(Entry* from, Entry* other, std::size_t count) {
        KeyRange range(*from);
        if (count > fewEntries && !forEach(from, count, [&](const Entry& entry) { range.widen(entry); })) {
            return false;
        }
        return sort(from, other, count, range);
    }

    // The range begins at `from`, in either buffer; `other` is its place in the other one. What is short needs no keys.
    bool sort(Entry* from, Entry* other, std::size_t count, const KeyRange& range) {
        const auto [least, largest] = range;
        if (count <= fewEntries || least == largest) {
            finish(from, other, count);
            return true;
        }
        // About as many buckets as there are entries, so that most are short then.
        const int digitBits =
            count >= manyEntries ? digitBitsOfMany : std::min(mostDigitBits, static_cast<int>(std::bit_width(count)));
        const int shift = std::max(0, static_cast<int>(std::bit_width(largest - least)) - digitBits);
        std::size_t endsOfBuckets[std::size_t{1} << mostDigitBits];
        const std::span ends(endsOfBuckets, std::size_t{1} << digitBits);
        if (!deal(
                from, other, count, [=](const Entry& entry) { return (keyOf(entry) - least) >> shift; }, ends)) {
            return false;
        }
        std::size_t start = 0;
        for (const std::size_t end : ends) {
            if (end > start && !sort(other + start, from + start, end - start)) {
                return false;
            }
            start = end;
        }
        return true;
    }

    template <class BucketOf>
    bool deal(const Entry* from, Entry* to, std::size_t count, const BucketOf& bucketOf, std::span<std::size_t> ends) {
        std::ranges::fill(ends, 0);
        if (!forEach(from, count, [&](const Entry& entry) { ++ends[bucketOf(entry)]; })) {
            return false;
        }
        std::size_t next = 0;
        for (std::size_t& end : ends) {
            next += std::exchange(end, next);
        }
        return forEach(from, count, [&](const Entry& entry) { to[ends[bucketOf(entry)]++] = entry; });
    }

    // Asks for a cancel now and then, however short the ranges are; false after one.
    template <class Use> bool forEach(const Entry* from, std::size_t count, const Use& use) {
        for (std::size_t i = 0; i < count;) {
            const std::size_t next = std::min(count, i + entriesPerPoll - sincePoll);
            sincePoll += next - i;
            for (; i < next; ++i) {
                use(from[i]);
            }
            if (sincePoll == entriesPerPoll) {
                sincePoll = 0;
                if (kivIsCancelled()) {
                    return false;
                }
            }
        }
        return true;
    }

    // Sorts what is short or all equal, and puts it where the result is wanted.
    void finish(Entry* from, Entry* other, std::size_t count) {
        for (std::size_t i = 1; i < count && count <= fewEntries; ++i) {
            const Entry entry = from[i];
            std::size_t place = i;
            for (; place > 0 && keyOf(from[place - 1]) > keyOf(entry); --place) {
                from[place] = from[place - 1];
            }
            from[place] = entry;
        }
        if (from < values.data() || from >= values.data() + values.size()) {
            std::copy_n(from, count, other);
        }
    }

    std::vector<Entry>& values;
    KeyRange keys;
    // Not filled beforehand: each step writes a place before it reads it.
    std::unique_ptr<std::byte[]> memory;
    Entry* scratch;
    std::size_t sincePoll = 0;
};

} // namespace

bool KivTriangleOrder::isMoreTriangles(const Entry& a, const Entry& b) {
    return a.distance > b.distance;
}

namespace {

// Whether all distances are numbers, each no larger than the one before it.
bool isInOrder(const std::vector<Entry>& list) {
    double last = std::numeric_limits<double>::infinity();
    return std::ranges::all_of(
        list, [&last](const Entry& entry) { return entry.distance <= std::exchange(last, entry.distance); });
}

// The keys of distances that are all numbers, or nothing.
std::optional<KeyRange> keysOf(const std::vector<Entry>& entries) {
    KeyRange keys(entries.front());
    bool isNumber = true;
    for (const Entry& entry : entries) {
        isNumber = isNumber && !std::isnan(entry.distance);
        keys.widen(entry);
    }
    return isNumber ? std::optional(keys) : std::nullopt;
}

} // namespace

bool KivTriangleOrder::insertAll(std::vector<Entry>& list, std::vector<Entry>&& added) {
    if (!isInOrder(list)) {
        return insertOneByOne(list, added);
    }
    if (added.empty()) {
        return true;
    }
    const std::optional<KeyRange> keys = keysOf(added);
    if (!keys) {
        return insertOneByOne(list, added);
    }
    if (!BucketSort(added, *keys).sort()) {
        return false;
    }
    if (list.empty()) {
        list = std::move(added);
        return true;
    }
    return merge(list, added);
}

// At equal distance takes what was there first, as the insertion does. False after a cancel, with the list as it was.
bool KivTriangleOrder::merge(std::vector<Entry>& list, const std::vector<Entry>& added) {
    std::vector<Entry> merged;
    merged.reserve(list.size() + added.size());
    auto old = list.begin();
    for (auto next = added.begin(); next != added.end();) {
        const auto end = next + std::min<std::ptrdiff_t>(added.end() - next, entriesPerPoll / 2);
        // What of the old list belongs before the last of these.
        const auto oldEnd = std::upper_bound(old, list.end(), *(end - 1), isMoreTriangles);
        std::merge(old, oldEnd, next, end, std::back_inserter(merged), isMoreTriangles);
        old = oldEnd;
        next = end;
        if (kivIsCancelled()) {
            return false;
        }
    }
    merged.insert(merged.end(), old, list.end());
    list = std::move(merged);
    return true;
}

bool KivTriangleOrder::insertOneByOne(std::vector<Entry>& list, const std::vector<Entry>& added) {
    constexpr std::size_t insertionsPerPoll = 2048;
    KivTriangleOrder order(list);
    for (std::size_t i = 0; i < added.size(); ++i) {
        if (i % insertionsPerPoll == insertionsPerPoll - 1 && kivIsCancelled()) {
            return false;
        }
        order.insertOrderlyTriangles(added[i], order.dicotomicSearch(added[i]));
    }
    list.clear();
    list.reserve(order.size);
    for (const Group& group : order.groups) {
        for (const auto& block : group.blocks) {
            list.insert(list.end(), block.begin(), block.end());
        }
    }
    return true;
}

KivTriangleOrder::KivTriangleOrder(const std::vector<Entry>& list) : size(list.size()) {
    std::size_t start = 0;
    do {
        if (groups.empty() || groups.back().blocks.size() == largestGroup / 2) {
            groups.emplace_back();
            groupStarts.push_back(start);
        }
        const std::size_t end = std::min(start + largestBlock / 2, list.size());
        Group& group = groups.back();
        group.starts.push_back(static_cast<std::uint32_t>(start - groupStarts.back()));
        group.blocks.emplace_back(list.begin() + static_cast<std::ptrdiff_t>(start),
                                  list.begin() + static_cast<std::ptrdiff_t>(end));
        start = end;
    } while (start < list.size());
}

namespace {

// The last of starts[first .. last] that is not above the index; the first one is not.
template <class Start>
std::size_t lastNotAbove(const std::vector<Start>& starts, std::size_t first, std::size_t last, Start index) {
    const auto begin = starts.begin() + static_cast<std::ptrdiff_t>(first);
    const auto behind = std::upper_bound(begin + 1, starts.begin() + static_cast<std::ptrdiff_t>(last) + 1, index);
    return first + static_cast<std::size_t>(behind - begin) - 1;
}

} // namespace

KivTriangleOrder::Place KivTriangleOrder::placeOf(std::size_t index, const Place& low, const Place& high) const {
    const std::size_t group = lastNotAbove(groupStarts, low.group, high.group, index);
    const std::vector<std::uint32_t>& starts = groups[group].starts;
    const auto inGroup = static_cast<std::uint32_t>(index - groupStarts[group]);
    const std::size_t firstBlock = group == low.group ? low.block : 0;
    const std::size_t lastBlock = group == high.group ? high.block : starts.size() - 1;
    const std::size_t block = lastNotAbove(starts, firstBlock, lastBlock, inGroup);
    return {group, block, inGroup - starts[block]};
}

KivTriangleOrder::Place KivTriangleOrder::lastPlace() const {
    return {groups.size() - 1, groups.back().blocks.size() - 1, groups.back().blocks.back().size()};
}

KivTriangleOrder::Place KivTriangleOrder::dicotomicSearch(const Entry& entry) const {
    Place lowPlace{0, 0, 0};
    Place highPlace = lastPlace();
    if (size == 0) {
        return lowPlace;
    }
    const auto isBefore = [&](const Place& place) {
        return isMoreTriangles(entry, groups[place.group].blocks[place.block][place.index]);
    };
    std::size_t low = 0;
    std::size_t high = size - 1;
    while (low < high) {
        const std::size_t middle = (low + high + 1) / 2;
        const Place place = placeOf(middle, lowPlace, highPlace);
        if (isBefore(place)) {
            high = middle - 1;
            highPlace = place;
        } else {
            low = middle;
            lowPlace = place;
        }
    }
    lowPlace = placeOf(low, lowPlace, highPlace);
    lowPlace.index += isBefore(lowPlace) ? 0 : 1;
    return lowPlace;
}

void KivTriangleOrder::insertOrderlyTriangles(const Entry& entry, const Place& place) {
    Group& group = groups[place.group];
    std::vector<Entry>& entries = group.blocks[place.block];
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(place.index), entry);
    ++size;
    for (std::size_t later = place.block + 1; later < group.starts.size(); ++later) {
        ++group.starts[later];
    }
    for (std::size_t later = place.group + 1; later < groupStarts.size(); ++later) {
        ++groupStarts[later];
    }
    if (entries.size() == largestBlock) {
        splitBlock(group, place.block);
    }
    if (group.blocks.size() == largestGroup) {
        splitGroup(place.group);
    }
}

void KivTriangleOrder::splitBlock(Group& group, std::size_t block) {
    std::vector<Entry>& entries = group.blocks[block];
    const auto half = entries.begin() + static_cast<std::ptrdiff_t>(largestBlock / 2);
    std::vector<Entry> upper(half, entries.end());
    entries.erase(half, entries.end());
    const auto next = static_cast<std::ptrdiff_t>(block) + 1;
    group.starts.insert(group.starts.begin() + next, group.starts[block] + largestBlock / 2);
    group.blocks.insert(group.blocks.begin() + next, std::move(upper));
}

void KivTriangleOrder::splitGroup(std::size_t number) {
    Group& lower = groups[number];
    const auto half = static_cast<std::ptrdiff_t>(largestGroup / 2);
    const std::uint32_t offset = lower.starts[largestGroup / 2];
    Group upper;
    upper.starts.assign(lower.starts.begin() + half, lower.starts.end());
    for (std::uint32_t& start : upper.starts) {
        start -= offset;
    }
    upper.blocks.assign(std::move_iterator(lower.blocks.begin() + half), std::move_iterator(lower.blocks.end()));
    lower.starts.resize(largestGroup / 2);
    lower.blocks.resize(largestGroup / 2);
    const auto next = static_cast<std::ptrdiff_t>(number) + 1;
    groupStarts.insert(groupStarts.begin() + next, groupStarts[number] + offset);
    groups.insert(groups.begin() + next, std::move(upper));
}
