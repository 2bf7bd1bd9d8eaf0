#include "vector/vectortesting.h"

#include "kivrender/vector/slotmap.h"

#include <map>
#include <set>

using vectortest::Random;

namespace {

std::vector<int> slotsOf(const SlotMap& map, std::uint64_t key) {
    std::vector<int> slots;
    map.firstWhere(key, 0, INT32_MAX, [&](int slot) {
        slots.push_back(slot);
        return false;
    });
    return slots;
}

// Few keys, many of them in one place of the table, beside the plain form.
TEST(SlotMap, AgreesWithAMapOfSets) {
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        Random random(seed);
        SlotMap map;
        std::map<std::uint64_t, std::set<int>> plain;
        const std::uint32_t numKeys = seed % 2 == 0 ? 12 : 3000;
        for (int step = 0; step < 4000; ++step) {
            const std::uint64_t key = random.below(numKeys) % 5 * 0x100000000U + random.below(numKeys);
            const int slot = static_cast<int>(random.below(300));
            if (random.chance(3)) {
                map.erase(key, slot);
                plain[key].erase(slot);
            } else if (plain[key].insert(slot).second) {
                map.insert(key, slot);
            }
            const std::set<int>& slots = plain[key];
            ASSERT_EQ(slotsOf(map, key), std::vector<int>(slots.begin(), slots.end())) << seed << " " << step;
            const int first = static_cast<int>(random.below(300));
            const auto found = slots.lower_bound(first);
            ASSERT_EQ(map.firstWhere(key, first, 250, [](int) { return true; }),
                      found != slots.end() && *found < 250 ? *found : 250);
        }
        for (const auto& [key, slots] : plain)
            ASSERT_EQ(slotsOf(map, key), std::vector<int>(slots.begin(), slots.end())) << seed;
    }
}

} // namespace
