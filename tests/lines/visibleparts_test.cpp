#include "kivrender/lines/visibleparts.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

using Parts = std::vector<std::pair<double, double>>;

Parts pairsOf(const std::vector<KivLinePart>& parts) {
    Parts pairs;
    for (const KivLinePart& part : parts) {
        pairs.emplace_back(part.from, part.to);
    }
    return pairs;
}

// The reference implementation: cells between all ends, each hidden or not.
Parts literally(const KivLinePart& whole, const std::vector<KivLinePart>& hidden) {
    std::vector<double> ends = {whole.from, whole.to};
    for (const KivLinePart& part : hidden) {
        ends.push_back(std::clamp(part.from, whole.from, whole.to));
        ends.push_back(std::clamp(part.to, whole.from, whole.to));
    }
    std::sort(ends.begin(), ends.end());
    Parts parts;
    for (std::size_t i = 0; i + 1 < ends.size(); ++i) {
        const bool isHidden = std::any_of(hidden.begin(), hidden.end(), [&](const KivLinePart& part) {
            return part.from <= ends[i] && part.to >= ends[i + 1];
        });
        if (ends[i] == ends[i + 1] || isHidden) {
            continue;
        }
        if (!parts.empty() && parts.back().second == ends[i]) {
            parts.back().second = ends[i + 1];
        } else {
            parts.emplace_back(ends[i], ends[i + 1]);
        }
    }
    return parts;
}

Parts found(const KivLinePart& whole, const std::vector<KivLinePart>& hidden) {
    std::vector<KivLinePart> parts = {{7.0, 8.0}}; // of a former segment
    VisibleParts visible(parts, whole);
    for (const KivLinePart& part : hidden) {
        visible.hide(part);
    }
    visible.finish();
    return pairsOf(parts);
}

TEST(VisibleParts, TakesOutWhatIsHidden) {
    EXPECT_EQ(found({0.0, 1.0}, {}), (Parts{{0.0, 1.0}}));
    EXPECT_EQ(found({0.0, 1.0}, {{0.25, 0.5}}), (Parts{{0.0, 0.25}, {0.5, 1.0}}));
    EXPECT_EQ(found({0.2, 0.8}, {{0.0, 0.3}, {0.7, 1.0}}), (Parts{{0.3, 0.7}}));
    EXPECT_EQ(found({0.0, 1.0}, {{0.0, 0.5}, {0.5, 1.0}}), Parts{}); // parts that touch leave nothing between them
    EXPECT_EQ(found({0.0, 0.5}, {{0.5, 1.0}}), (Parts{{0.0, 0.5}}));
}

TEST(VisibleParts, SaysWhenNothingIsLeft) {
    std::vector<KivLinePart> parts;
    VisibleParts visible(parts, {0.0, 1.0});
    EXPECT_TRUE(visible.hide({0.0, 0.75}));
    EXPECT_FALSE(visible.hide({0.5, 1.0}));
}

TEST(VisibleParts, AgreesWithTheReferenceOnFewAndOnManyPieces) {
    RawRandom random(2);
    for (int round = 0; round < 1500; ++round) {
        const unsigned int count = random.below(round < 1000 ? 12 : 120);
        // A coarse grid, so that ends coincide; short parts, so that many pieces are left.
        const unsigned int grid = random.chance(2) ? 16 : 512;
        const KivLinePart whole = {random.below(4) / 16.0, 1.0 - random.below(4) / 16.0};
        std::vector<KivLinePart> hidden;
        for (unsigned int i = 0; i < count; ++i) {
            const unsigned int from = random.below(grid);
            hidden.push_back(
                {from / double(grid), (from + 1 + random.below(random.chance(8) ? grid : 2)) / double(grid)});
        }
        ASSERT_EQ(found(whole, hidden), literally(whole, hidden)) << "round " << round;
    }
}

TEST(VisibleParts, HalfAMillionPiecesAreDoneInNoTime) {
    constexpr unsigned int count = 1U << 19U;
    std::vector<KivLinePart> hidden(count);
    for (unsigned int i = 0; i < count; ++i) {
        const unsigned int place = (i * 2654435761U) % count; // in no order
        hidden[i] = {(place + 0.25) / count, (place + 0.75) / count};
    }
    const Parts parts = found({0.0, 1.0}, hidden);
    ASSERT_EQ(parts.size(), count + 1U);
    EXPECT_EQ(parts[1000].first, 999.75 / count);
    EXPECT_EQ(parts[1000].second, 1000.25 / count);
}

} // namespace
