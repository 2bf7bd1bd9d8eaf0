// Where the members of a queue end that is turned while it grows.
#ifndef KIVRENDER_VECTOR_ROTATEDQUEUE_H
#define KIVRENDER_VECTOR_ROTATEDQUEUE_H

#include <bit>
#include <cstddef>
#include <vector>

// Members join at the end one by one; after each, so many times, the first becomes the last. That is followed
// backwards: the place of the one that joined last is known, then that of the one before it among the places left. They
// are counted in a binary indexed tree (Fenwick, 1994, A new data structure for cumulative frequency tables).
class RotatedQueue {
public:
    // Entry k of turns belongs to member k. Entry k of the result is the place of member k in the end.
    static std::vector<std::size_t> places(const std::vector<std::size_t>& turns) {
        std::vector<std::size_t> result(turns.size());
        RotatedQueue left(turns.size());
        std::size_t first = 0; // among the places left
        for (std::size_t count = turns.size(); count > 0; --count) {
            first = (first + count - turns[count - 1] % count) % count;
            const std::size_t last = (first + count - 1) % count;
            result[count - 1] = left.take(last);
            if (last < first)
                --first;
        }
        return result;
    }

private:
    explicit RotatedQueue(std::size_t count) : tree(count + 1) {
        for (std::size_t node = 1; node <= count; ++node)
            tree[node] = node & (~node + 1);
    }

    // Takes a place by its number among those left.
    std::size_t take(std::size_t number) {
        std::size_t node = 0;
        for (std::size_t step = std::bit_floor(tree.size() - 1); step > 0; step /= 2) {
            if (node + step < tree.size() && tree[node + step] <= number) {
                node += step;
                number -= tree[node];
            }
        }
        for (std::size_t above = node + 1; above < tree.size(); above += above & (~above + 1))
            --tree[above];
        return node;
    }

    std::vector<std::size_t> tree;
};

#endif
