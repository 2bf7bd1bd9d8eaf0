#include "kivrender/vector/sweeporder.h"

#include "kivrender/vector/sweepkey.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

struct Keyed {
    std::int32_t key;
    int index;
};

// An entry is gathered at the front if its key is not above this one. Nothing compares with a pivot that is not a
// number.
std::int64_t limitOf(std::int32_t pivot) {
    return pivot == sweepKeyNaN ? std::numeric_limits<std::int64_t>::min() : pivot;
}

// Sequences as trees that are balanced by chance, from a generator of their own with a fixed seed. They can be cut and
// joined at any place, and the next entry that is above or not above a key is found, each in logarithmic time.
class Ropes {
public:
    // One node for each entry; node 0 is the empty sequence.
    explicit Ropes(const std::vector<Keyed>& entries, std::size_t begin, std::size_t end) {
        nodes.resize(end - begin + 1);
        for (std::size_t i = begin; i < end; ++i) {
            Node& node = nodes[i - begin + 1];
            node.entry = entries[i];
            node.priority = nextPriority();
            node.size = 1;
            node.least = node.greatest = entries[i].key;
        }
    }

    int size(int root) const {
        return at(root).size;
    }

    // Builds the sequence of all entries in their order, from left to right along the right spine.
    int all() {
        std::vector<int> spine;
        for (int node = 1; node < static_cast<int>(nodes.size()); ++node) {
            int under = 0;
            while (!spine.empty() && at(spine.back()).priority < at(node).priority) {
                under = spine.back();
                update(under);
                spine.pop_back();
            }
            at(node).left = under;
            if (!spine.empty())
                at(spine.back()).right = node;
            spine.push_back(node);
        }
        for (std::size_t i = spine.size(); i-- > 0;)
            update(spine[i]);
        return spine.empty() ? 0 : spine.front();
    }

    int join(int first, int second) {
        if (first == 0 || second == 0)
            return first + second;
        if (at(first).priority > at(second).priority) {
            at(first).right = join(at(first).right, second);
            update(first);
            return first;
        }
        at(second).left = join(first, at(second).left);
        update(second);
        return second;
    }

    // The first count entries and the rest.
    std::pair<int, int> cut(int root, int count) {
        if (root == 0)
            return {0, 0};
        const int leftSize = size(at(root).left);
        if (count <= leftSize) {
            const auto [first, second] = cut(at(root).left, count);
            at(root).left = second;
            update(root);
            return {first, root};
        }
        const auto [first, second] = cut(at(root).right, count - leftSize - 1);
        at(root).right = first;
        update(root);
        return {root, second};
    }

    // Moves the first count entries behind the others.
    int rotate(int root, int count) {
        const auto [first, second] = cut(root, count);
        return join(second, first);
    }

    // The place of the first entry from that place on whose key is above the limit, or is not, or -1.
    int find(int root, int from, std::int64_t limit, bool above) const {
        if (root == 0 || from >= size(root))
            return -1;
        const Node& node = at(root);
        if (above ? node.greatest <= limit : node.least > limit)
            return -1;
        const int leftSize = size(node.left);
        if (from < leftSize) {
            const int place = find(node.left, from, limit, above);
            if (place >= 0)
                return place;
        }
        if (from <= leftSize && (node.entry.key > limit) == above)
            return leftSize;
        const int place = find(node.right, std::max(from - leftSize - 1, 0), limit, above);
        return place < 0 ? -1 : place + leftSize + 1;
    }

    std::int32_t key(int node) const {
        return at(node).entry.key;
    }

    // Writes the entries in their order.
    void list(int root, std::vector<Keyed>& to, std::size_t place) const {
        std::vector<int> open;
        for (int node = root; node != 0 || !open.empty();) {
            if (node != 0) {
                open.push_back(node);
                node = at(node).left;
                continue;
            }
            node = open.back();
            open.pop_back();
            to[place++] = at(node).entry;
            node = at(node).right;
        }
    }

private:
    struct Node {
        Keyed entry{};
        std::uint32_t priority = 0;
        int left = 0;
        int right = 0;
        int size = 0;
        std::int32_t least = std::numeric_limits<std::int32_t>::max();
        std::int32_t greatest = std::numeric_limits<std::int32_t>::min();
    };

    Node& at(int node) {
        return nodes[static_cast<std::size_t>(node)];
    }
    const Node& at(int node) const {
        return nodes[static_cast<std::size_t>(node)];
    }

    void update(int root) {
        Node& node = at(root);
        const Node& left = at(node.left);
        const Node& right = at(node.right);
        node.size = left.size + right.size + 1;
        node.least = std::min({left.least, right.least, node.entry.key});
        node.greatest = std::max({left.greatest, right.greatest, node.entry.key});
    }

    std::uint32_t nextPriority() {
        seed ^= seed << 13;
        seed ^= seed >> 17;
        seed ^= seed << 5;
        return seed;
    }

    std::vector<Node> nodes;
    std::uint32_t seed = 2463534242U;
};

// The three parts of a partition.
struct Parts {
    int front;
    int pivot;
    int back;
};

// Partitions a sequence of two entries or more, in a time that grows with the smaller side.
//
// The entries at the front keep their order. Those above the pivot form a queue: one is appended when it is passed, and
// whenever an entry goes to the front, the first of the queue exchanges places with it and so becomes the last. The
// pivot at the end is the last to do so.
class RopePartition {
public:
    RopePartition(Ropes& allRopes, int root) : ropes(allRopes) {
        const auto [pivot, others] = ropes.cut(root, 1);
        const auto [middle, last] = ropes.cut(others, ropes.size(others) - 1);
        rest = ropes.join(last, middle); // the pivot has exchanged places with the last entry
        parts.pivot = pivot;
        limit = limitOf(ropes.key(pivot));
    }

    Parts run() {
        const bool fewAbove = findSmallerSide();
        if (fewAbove)
            gatherAround(places[1], true);
        else
            gatherAround(places[0], false);
        rotateQueue(1);
        parts.back = queue;
        return parts;
    }

private:
    // Looks for both kinds in turn until one comes to its end. True if these are the ones above the pivot.
    bool findSmallerSide() {
        int next[2] = {0, 0};
        for (int kind = 0;; kind = 1 - kind) {
            const int place = ropes.find(rest, next[kind], limit, kind == 1);
            if (place < 0)
                return kind == 1;
            places[kind].push_back(place);
            next[kind] = place + 1;
        }
    }

    void rotateQueue(int times) {
        const int length = ropes.size(queue);
        if (length > 1)
            queue = ropes.rotate(queue, times % length);
    }

    void passFront(int entries) {
        const int times = ropes.size(entries);
        parts.front = ropes.join(parts.front, entries);
        rotateQueue(times);
    }

    // Passes all entries, those at the few places one by one and the runs between them whole.
    void gatherAround(const std::vector<int>& few, bool fewAreAbove) {
        int passed = 0;
        const auto pass = [&](int count, bool above) {
            const auto [run, others] = ropes.cut(rest, count);
            rest = others;
            passed += count;
            if (above)
                queue = ropes.join(queue, run);
            else
                passFront(run);
        };
        for (const int place : few) {
            pass(place - passed, !fewAreAbove);
            pass(1, fewAreAbove);
        }
        pass(ropes.size(rest), !fewAreAbove);
    }

    Ropes& ropes;
    int rest;
    int queue = 0;
    std::int64_t limit;
    Parts parts{0, 0, 0};
    std::vector<int> places[2]; // of entries not above the pivot, and above it
};

class SweepSort {
public:
    explicit SweepSort(std::vector<Keyed>& toSort) : entries(toSort) {
        mostDivisions = 2 * static_cast<int>(std::bit_width(entries.size())) + 8;
    }

    void run() {
        ranges.push_back({0, entries.size(), 0});
        while (!ranges.empty()) {
            const Range range = ranges.back();
            ranges.pop_back();
            if (range.end - range.begin < 2)
                continue;
            if (range.divisions > mostDivisions && range.end - range.begin > plainSize)
                sortAsRope(range);
            else
                divide(range);
        }
    }

private:
    struct Range {
        std::size_t begin;
        std::size_t end;
        int divisions; // that led to it
    };

    void divide(const Range& range) {
        const std::size_t last = range.end - 1;
        std::swap(entries[range.begin], entries[last]);
        const std::int64_t limit = limitOf(entries[last].key);
        std::size_t front = range.begin;
        for (std::size_t k = range.begin; k < last; ++k) {
            if (entries[k].key <= limit)
                std::swap(entries[front++], entries[k]);
        }
        std::swap(entries[front], entries[last]);
        ranges.push_back({range.begin, front, range.divisions + 1});
        ranges.push_back({front + 1, range.end, range.divisions + 1});
    }

    void sortAsRope(const Range& range) {
        Ropes ropes(entries, range.begin, range.end);
        std::vector<std::pair<int, std::size_t>> open = {{ropes.all(), range.begin}};
        while (!open.empty()) {
            const auto [root, place] = open.back();
            open.pop_back();
            const std::size_t size = static_cast<std::size_t>(ropes.size(root));
            if (size <= plainSize) {
                ropes.list(root, entries, place);
                ranges.push_back({place, place + size, 0});
                continue;
            }
            const Parts parts = RopePartition(ropes, root).run();
            const std::size_t front = static_cast<std::size_t>(ropes.size(parts.front));
            ropes.list(parts.pivot, entries, place + front);
            open.emplace_back(parts.front, place);
            open.emplace_back(parts.back, place + front + 1);
        }
    }

    // Short enough that even bad divisions cost little.
    static constexpr std::size_t plainSize = 48;

    std::vector<Keyed>& entries;
    std::vector<Range> ranges;
    int mostDivisions;
};

} // namespace

std::vector<int> sweepOrder(const std::vector<float>& keys) {
    std::vector<Keyed> entries;
    entries.reserve(keys.size());
    for (const float key : keys)
        entries.push_back({sweepKeyOf(key), static_cast<int>(entries.size())});
    SweepSort(entries).run();
    std::vector<int> order;
    order.reserve(entries.size());
    for (const Keyed& entry : entries)
        order.push_back(entry.index);
    return order;
}
