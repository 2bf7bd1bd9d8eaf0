// Lists of points and indices. Large ones begin at the border of a huge page of 2 MiB, so that whoever fills one at
// once can have it in huge pages from end to end (madvise). Where malloc puts a list by itself, in its heap or beside
// its header, up to four fifths of the first 2 MiB come in small pages, each by a fault of its own: measured of two
// lists of 12 MB, 900 faults that took 2 ms.
#ifndef IMPORT_BULKARRAY_H
#define IMPORT_BULKARRAY_H

#include <cstddef>
#include <new>
#include <vector>

namespace kivimport {

inline constexpr std::size_t hugePage = std::size_t{2} << 20;

template <class Item> class BulkAllocator {
public:
    using value_type = Item;

    BulkAllocator() = default;
    // Containers convert it to that of their nodes.
    template <class Other> BulkAllocator(const BulkAllocator<Other>& /*other*/) noexcept {}

    Item* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(Item)) {
            throw std::bad_array_new_length();
        }
        const std::size_t bytes = count * sizeof(Item);
        return static_cast<Item*>(isLarge(count) ? ::operator new (bytes, std::align_val_t{hugePage})
                                                 : ::operator new(bytes));
    }
    void deallocate(Item* items, std::size_t count) noexcept {
        if (isLarge(count)) {
            ::operator delete (items, std::align_val_t{hugePage});
        } else {
            ::operator delete(items);
        }
    }
    friend bool operator==(const BulkAllocator&, const BulkAllocator&) {
        return true;
    }

private:
    // Of less than two huge pages the border would cost as much as it saves.
    static bool isLarge(std::size_t count) {
        return count >= 2 * hugePage / sizeof(Item);
    }
};

template <class Item> using BulkArray = std::vector<Item, BulkAllocator<Item>>;

} // namespace kivimport

#endif
