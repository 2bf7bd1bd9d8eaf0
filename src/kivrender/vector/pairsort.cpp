#include "kivrender/vector/pairsort.h"

#include <algorithm>

namespace {

// In units of WorkPoll.
constexpr std::size_t workOfNumber = 5;
constexpr std::size_t workOfMove = 15;
constexpr std::size_t workOfSort = 60;

} // namespace

bool sortPairs(std::vector<std::pair<std::uint32_t, std::uint32_t>>& pairs, std::size_t limit, WorkPoll& cancel) {
    std::vector<std::size_t> end(limit + 1, 0);
    for (const auto& pair : pairs) {
        ++end[pair.first + 1];
        if (cancel.isCancelled(workOfNumber))
            return false;
    }
    for (std::size_t i = 1; i <= limit; ++i)
        end[i] += end[i - 1];
    std::vector<std::uint32_t> seconds(pairs.size());
    for (const auto& pair : pairs) {
        seconds[end[pair.first]++] = pair.second;
        if (cancel.isCancelled(workOfMove))
            return false;
    }
    pairs.clear();
    std::size_t begin = 0;
    for (std::uint32_t first = 0; first < limit; ++first) {
        const auto from = seconds.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto to = seconds.begin() + static_cast<std::ptrdiff_t>(end[first]);
        std::sort(from, to);
        std::for_each(from, std::unique(from, to), [&](std::uint32_t second) { pairs.emplace_back(first, second); });
        if (cancel.isCancelled(workOfNumber + workOfSort * (end[first] - begin)))
            return false;
        begin = end[first];
    }
    return true;
}
