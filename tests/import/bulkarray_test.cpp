#include "import/bulkarray.h"

#include "import/modelparts.h"

#include <cstdint>
#include <numeric>
#include <utility>

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

template <class List> bool beginsAtABorder(const List& list) {
    return reinterpret_cast<std::uintptr_t>(list.data()) % hugePage == 0;
}

} // namespace

TEST(BulkArray, LargeListsBeginAtTheBorderOfAHugePage) {
    // Several at a time, so that none lies at a border by chance.
    const Indices indices[] = {Indices(1U << 20), Indices(3'000'001), Indices(1'234'567)};
    const Points points[] = {Points(174'763), Points(500'000)};
    for (const Indices& list : indices) {
        EXPECT_TRUE(beginsAtABorder(list)) << list.size();
    }
    for (const Points& list : points) {
        EXPECT_TRUE(beginsAtABorder(list)) << list.size();
    }
}

TEST(BulkArray, KeepsWhatItHasWhileItGrowsAndShrinks) {
    constexpr std::uint32_t count = 1'500'000;
    Indices list;
    for (std::uint32_t i = 0; i < count; ++i) {
        list.push_back(i);
    }
    Indices copy = list;
    list.resize(10);
    list.shrink_to_fit();
    EXPECT_EQ(list, (Indices{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    std::swap(list, copy);
    ASSERT_EQ(list.size(), count);
    EXPECT_EQ(std::accumulate(list.begin(), list.end(), std::uint64_t{0}), std::uint64_t{count} * (count - 1) / 2);
    const Indices moved = std::move(list);
    EXPECT_EQ(moved.back(), count - 1);
    EXPECT_EQ(copy.size(), 10U);
}

TEST(BulkArray, RefusesMoreThanThereCanBe) {
    EXPECT_THROW(static_cast<void>(BulkAllocator<Vec3>().allocate(static_cast<std::size_t>(-1) / 8)),
                 std::bad_array_new_length);
}
