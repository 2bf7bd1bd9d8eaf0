#include "kivrender/vector/likeprimitives.h"

#include <algorithm>
#include <bit>

namespace {

bool samePlace(const FeedbackVertex& a, const FeedbackVertex& b) {
    return std::bit_cast<std::uint32_t>(a.x) == std::bit_cast<std::uint32_t>(b.x) &&
           std::bit_cast<std::uint32_t>(a.y) == std::bit_cast<std::uint32_t>(b.y) &&
           std::bit_cast<std::uint32_t>(a.z) == std::bit_cast<std::uint32_t>(b.z);
}

bool areAlike(const FeedbackPrimitive& a, const FeedbackPrimitive& b) {
    return a.type == b.type && a.offset == b.offset &&
           std::bit_cast<std::uint32_t>(a.lineWidth) == std::bit_cast<std::uint32_t>(b.lineWidth) &&
           std::bit_cast<std::uint32_t>(a.pointSize) == std::bit_cast<std::uint32_t>(b.pointSize) &&
           std::equal(a.vertices.begin(), a.vertices.end(), b.vertices.begin(), b.vertices.end(), samePlace) &&
           isOpaque(a) == isOpaque(b);
}

// In units of WorkPoll.
constexpr std::size_t workOfPrimitive = 300;
constexpr std::size_t workOfNumber = 20;

// FNV-1a (Fowler, Noll, Vo, 1991) over words.
std::uint64_t hashOf(const FeedbackPrimitive& primitive) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    const auto add = [&hash](float value) { hash = (hash ^ std::bit_cast<std::uint32_t>(value)) * 0x100000001B3U; };
    for (const FeedbackVertex& vertex : primitive.vertices) {
        add(vertex.x);
        add(vertex.y);
        add(vertex.z);
    }
    // The high bits are the good ones, and the low ones are used.
    return hash ^ hash >> 32;
}

} // namespace

bool isOpaque(const FeedbackPrimitive& primitive) {
    return !primitive.blend && std::all_of(primitive.vertices.begin(), primitive.vertices.end(),
                                           [](const FeedbackVertex& vertex) { return vertex.a >= 1.0F; });
}

bool LikePrimitives::find(const FeedbackPrimitiveList& list, WorkPoll& cancel) {
    const std::size_t count = list.size();
    std::vector<std::uint64_t> hashes(count);
    std::vector<std::uint32_t> next(count, none); // like it; none for the last of a group
    std::vector<bool> isFirst(count, true);
    // The last found of each group, by its hash, with open addresses.
    std::vector<std::uint32_t> table(std::bit_ceil(2 * count + 1), none);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (cancel.isCancelled(workOfPrimitive))
            return false;
        hashes[i] = hashOf(*list[i]);
        std::size_t place = hashes[i] & (table.size() - 1);
        while (table[place] != none && (hashes[table[place]] != hashes[i] || !areAlike(*list[table[place]], *list[i])))
            place = (place + 1) & (table.size() - 1);
        if (table[place] != none) {
            next[table[place]] = i;
            isFirst[i] = false;
        }
        table[place] = i;
    }
    places.reserve(count);
    for (std::uint32_t first = 0; first < count; ++first) {
        if (cancel.isCancelled(workOfNumber))
            return false;
        if (!isFirst[first])
            continue;
        for (std::uint32_t member = first; member != none; member = next[member])
            places.push_back(member);
        begin.push_back(places.size());
    }
    return true;
}
