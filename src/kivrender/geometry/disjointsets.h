// Union-find with path halving (Tarjan and van Leeuwen, 1984); the smaller number of two sets is the one that stays, so
// that the outcome does not depend on the order of joining.
#ifndef KIVRENDER_GEOMETRY_DISJOINTSETS_H
#define KIVRENDER_GEOMETRY_DISJOINTSETS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

class DisjointSets {
public:
    explicit DisjointSets(std::size_t count) : parent(count) {
        std::iota(parent.begin(), parent.end(), 0U);
    }
    std::uint32_t find(std::uint32_t i) {
        while (parent[i] != i) {
            parent[i] = parent[parent[i]];
            i = parent[i];
        }
        return i;
    }
    // The one that stays.
    std::uint32_t join(std::uint32_t a, std::uint32_t b) {
        a = find(a);
        b = find(b);
        parent[std::max(a, b)] = std::min(a, b);
        return std::min(a, b);
    }

private:
    std::vector<std::uint32_t> parent;
};

#endif
