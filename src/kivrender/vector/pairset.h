// A set of pairs of numbers that only grows, for a great many of them. Pairs with the same first number lie together,
// so that asking for one after the other stays in the processor's cache.
#ifndef KIVRENDER_VECTOR_PAIRSET_H
#define KIVRENDER_VECTOR_PAIRSET_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

class PairSet {
public:
    // First numbers are below the limit, second numbers below 0xFFFFFFFF.
    explicit PairSet(std::size_t limit) : rows(limit) {}

    bool contains(std::uint32_t first, std::uint32_t second) const {
        const Row& row = rows[first];
        return !row.table.empty() && row.table[row.placeOf(second)] == second;
    }
    // False if it is in the set already.
    bool insert(std::uint32_t first, std::uint32_t second) {
        Row& row = rows[first];
        if (4 * (row.count + 1) > 3 * row.table.size())
            row.grow();
        std::uint32_t& place = row.table[row.placeOf(second)];
        if (place == second)
            return false;
        place = second;
        ++row.count;
        return true;
    }

private:
    static constexpr std::uint32_t empty = std::numeric_limits<std::uint32_t>::max();

    // With open addresses and Fibonacci hashing (Knuth, The Art of Computer Programming 3, 1998, section 6.4).
    struct Row {
        std::vector<std::uint32_t> table;
        std::uint32_t count = 0;
        std::uint32_t shift = 32; // leaves the high bits, as many as number the table

        std::size_t placeOf(std::uint32_t number) const {
            std::size_t place = number * 0x9E3779B9U >> shift;
            while (table[place] != empty && table[place] != number)
                place = (place + 1) & (table.size() - 1);
            return place;
        }
        void grow() {
            shift = table.empty() ? 29 : shift - 1;
            std::vector<std::uint32_t> old(std::size_t(1) << (32 - shift), empty);
            old.swap(table);
            for (const std::uint32_t number : old) {
                if (number != empty)
                    table[placeOf(number)] = number;
            }
        }
    };

    std::vector<Row> rows;
};

#endif
