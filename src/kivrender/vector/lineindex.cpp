#include "kivrender/vector/lineindex.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <initializer_list>

// Every bound below follows from the comparison of two lines. With la and lb their lengths:
// - Scaled directions that agree within 1e-6 on each axis, up to their sign, make la*la and lb*lb differ by less than
//   1.5e-6.
// - Lines that overlap on one line have midpoints no further apart than (la + lb) / 2, and the midpoint of the one
//   stands off the other by about a millionth of the length. The tests are relative to the coordinates of the first
//   line; rounding in single precision adds some 1e-7 of the length. The bounds leave room for ten times as much.
// - A first line whose both components are tiny takes any second line that passes the direction test, wherever it is.
// - A first line along one axis also takes a second line across it whose both ends have the coordinate of its start on
//   that axis, at any distance on the other. By the direction test both are then shorter than about 0.001.
namespace {

constexpr double directionTolerance = 1.01e-6;
constexpr double squaredLengthTolerance = 1.5e-6;

// Lines that can pass the direction test against a line of no length.
constexpr double pointPartnerLimit = 1e-6 + 3e-12;
// Lines that can be one of two that cross as told above.
constexpr double crossLimit = 1.01e-6;
constexpr double crossCell = 4e-9;
constexpr double crossReach = 1.1e-9;

// Below this squared length direction says little, and lines are found by place alone.
constexpr double longSquaredLength = 1e-4;
constexpr double scaledCell = 16e-6;
// Upper ends of the lengths of each level of short lines, from the longest down.
constexpr double shortLengths[] = {1e-2, 2.5e-3, 6e-4, 1.5e-4};

// With more cells than this between a place and the origin rounding would reach the size of a cell. Such lines are
// found by walking all of them.
constexpr double farCells = 1e11;

enum class KeyKind : std::uint64_t { Long, Short, Far, PointPartner, PointRow, CrossX, CrossY };

std::uint64_t mixed(std::uint64_t value) {
    value ^= value >> 30;
    value *= 0xBF58476D1CE4E5B9U;
    value ^= value >> 27;
    value *= 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

// Two cells that share a key by chance only bring more lines to compare.
std::uint64_t keyOf(KeyKind kind, int group, std::initializer_list<double> cells = {}) {
    std::uint64_t key =
        mixed(static_cast<std::uint64_t>(kind) + 0x9E3779B97F4A7C15U * static_cast<unsigned>(group + 1));
    for (const double cell : cells)
        key = mixed(key + 0x9E3779B97F4A7C15U + std::bit_cast<std::uint64_t>(cell + 0.0));
    return key;
}

// Calls visit for each cell that the range touches. Rounding is monotonic, so a value in the range is in one of them.
template <class Visit> void forEachCell(double low, double high, double width, const Visit& visit) {
    const double first = std::floor(low / width);
    const int steps = static_cast<int>(std::floor(high / width) - first);
    for (int step = 0; step <= steps; ++step)
        visit(first + step);
}

bool canMerge(const LineShape& shape) {
    return std::isfinite(shape.scaled.x) && std::isfinite(shape.scaled.y);
}

double squaredLength(const LineShape& shape) {
    return shape.along.x * shape.along.x + shape.along.y * shape.along.y;
}

bool isScaledWithin(const LineShape& shape, double limit) {
    return std::fabs(shape.scaled.x) <= limit && std::fabs(shape.scaled.y) <= limit;
}

FeedbackVector2 midpoint(const LineShape& shape) {
    return {(static_cast<double>(shape.start.x) + shape.end.x) * 0.5,
            (static_cast<double>(shape.start.y) + shape.end.y) * 0.5};
}

int shortLevel(double length) {
    int level = 0;
    while (level + 1 < static_cast<int>(std::size(shortLengths)) && length < shortLengths[level + 1])
        ++level;
    return level;
}

double shortWidth(int level) {
    return 2.0 * shortLengths[level];
}

// One of the two senses of a direction.
FeedbackVector2 oneSense(const FeedbackVector2& scaled) {
    return scaled.x < 0.0 || (scaled.x == 0.0 && scaled.y < 0.0) ? scaled * -1.0 : scaled;
}

// The coordinates in which long lines of about one direction and length are stored: along that direction and off it.
struct LongFrame {
    double cellX;
    double cellY;
    FeedbackVector2 unit;
    double widthAlong;
    double widthOff;

    LongFrame(double x, double y) : cellX(x), cellY(y), unit{(x + 0.5) * scaledCell, (y + 0.5) * scaledCell} {
        const double squared = std::sqrt(unit.x * unit.x + unit.y * unit.y);
        unit = unit * (1.0 / squared);
        const double length = std::sqrt(squared);
        widthAlong = 2.5 * length;
        widthOff = std::min(widthAlong, 6e-5 / length + 3e-5 * length + 3e-5);
    }
    static LongFrame of(const FeedbackVector2& scaled) {
        return {std::floor(scaled.x / scaledCell), std::floor(scaled.y / scaledCell)};
    }
    double along(const FeedbackVector2& place) const {
        return place.x * unit.x + place.y * unit.y;
    }
    double off(const FeedbackVector2& place) const {
        return unit.x * place.y - unit.y * place.x;
    }
    std::uint64_t key(int group, double cellAlong, double cellOff) const {
        return keyOf(KeyKind::Long, group, {cellX, cellY, cellAlong, cellOff});
    }
};

// The one place among all cells where a line is stored.
struct StoredPlace {
    FeedbackVector2 middle;
    bool isLong;
    bool isFar;
    int level;

    explicit StoredPlace(const LineShape& shape) : middle(midpoint(shape)) {
        const double squared = squaredLength(shape);
        isLong = squared >= longSquaredLength;
        level = isLong ? 0 : shortLevel(std::sqrt(squared));
        const double width = isLong ? LongFrame::of(oneSense(shape.scaled)).widthOff : shortWidth(level);
        isFar = std::fabs(middle.x) + std::fabs(middle.y) > farCells * width;
        scaled = oneSense(shape.scaled);
    }
    std::uint64_t key(int group) const {
        if (isFar)
            return keyOf(KeyKind::Far, group);
        if (!isLong) {
            const double width = shortWidth(level);
            return keyOf(KeyKind::Short, group,
                         {static_cast<double>(level), std::floor(middle.x / width), std::floor(middle.y / width)});
        }
        const LongFrame frame = LongFrame::of(scaled);
        return frame.key(group, std::floor(frame.along(middle) / frame.widthAlong),
                         std::floor(frame.off(middle) / frame.widthOff));
    }

private:
    FeedbackVector2 scaled;
};

} // namespace

LineIndex::LineIndex(Role lines, std::size_t numLines) : role(lines), buckets(numLines) {}

void LineIndex::keysOf(const LineShape& shape, int group, Keys& keys) const {
    keys.clear();
    if (canMerge(shape))
        collectOwnKeys(shape, group, keys);
}

void LineIndex::keysAround(const LineShape& shape, int group, Keys& keys) const {
    keys.clear();
    collectQueryKeys(shape, group, keys);
}

void LineIndex::prefetchPlaces(const Keys& keys) const {
    for (const std::uint64_t key : keys)
        buckets.prefetchKey(key);
}

void LineIndex::prefetchSets(const Keys& keys) const {
    for (const std::uint64_t key : keys)
        buckets.prefetchSet(key);
}

void LineIndex::prefetchMembers(const Keys& keys) const {
    for (const std::uint64_t key : keys)
        buckets.prefetchMembers(key);
}

void LineIndex::insert(int slot, const LineShape& shape, int group) {
    if (!canMerge(shape))
        return;
    keysOf(shape, group, ownKeys);
    for (const std::uint64_t key : ownKeys)
        buckets.insert(key, slot);
    count(shape, 1);
}

void LineIndex::erase(int slot, const LineShape& shape, int group) {
    if (!canMerge(shape))
        return;
    keysOf(shape, group, ownKeys);
    for (const std::uint64_t key : ownKeys)
        buckets.erase(key, slot);
    count(shape, -1);
}

void LineIndex::count(const LineShape& shape, int change) {
    const StoredPlace place(shape);
    if (place.isFar)
        farPopulation += change;
    else if (!place.isLong)
        shortPopulation[place.level] += change;
}

// The keys under which a line is stored.
void LineIndex::collectOwnKeys(const LineShape& shape, int group, Keys& keys) const {
    const bool mayCross = isScaledWithin(shape, crossLimit);
    const FeedbackVertex& start = shape.start;
    if (role == Role::Second) {
        if (isScaledWithin(shape, pointPartnerLimit))
            keys.push_back(keyOf(KeyKind::PointPartner, group));
        if (mayCross) {
            keys.push_back(keyOf(KeyKind::CrossX, group, {std::floor(start.x / crossCell)}));
            keys.push_back(keyOf(KeyKind::CrossY, group, {std::floor(start.y / crossCell)}));
        }
    } else if (shape.isPoint()) {
        keys.push_back(keyOf(KeyKind::PointRow, group));
        return;
    } else if (mayCross) {
        if (FeedbackVector2::isTiny(shape.along.y))
            keys.push_back(keyOf(KeyKind::CrossX, group, {std::floor(start.x / crossCell)}));
        if (FeedbackVector2::isTiny(shape.along.x))
            keys.push_back(keyOf(KeyKind::CrossY, group, {std::floor(start.y / crossCell)}));
    }
    keys.push_back(StoredPlace(shape).key(group));
}

// The keys under which lines may be stored that merge with the shape.
void LineIndex::collectQueryKeys(const LineShape& shape, int group, Keys& keys) const {
    if (!canMerge(shape))
        return;
    const bool isFirst = role == Role::Second;
    if (isFirst && shape.isPoint()) {
        keys.push_back(keyOf(KeyKind::PointPartner, group));
        return;
    }
    if (!isFirst && isScaledWithin(shape, pointPartnerLimit))
        keys.push_back(keyOf(KeyKind::PointRow, group));
    if (isScaledWithin(shape, crossLimit)) {
        const auto collect = [&](KeyKind kind, double place) {
            forEachCell(place - crossReach, place + crossReach, crossCell,
                        [&](double cell) { keys.push_back(keyOf(kind, group, {cell})); });
        };
        if (!isFirst || FeedbackVector2::isTiny(shape.along.y))
            collect(KeyKind::CrossX, shape.start.x);
        if (!isFirst || FeedbackVector2::isTiny(shape.along.x))
            collect(KeyKind::CrossY, shape.start.y);
    }
    if (farPopulation > 0)
        keys.push_back(keyOf(KeyKind::Far, group));
    const double squared = squaredLength(shape);
    if (squared - squaredLengthTolerance < longSquaredLength)
        collectShortKeys(shape, group, keys);
    if (squared + squaredLengthTolerance >= longSquaredLength)
        collectLongKeys(shape, group, keys);
}

void LineIndex::collectShortKeys(const LineShape& shape, int group, Keys& keys) const {
    const double squared = squaredLength(shape);
    const double length = std::sqrt(squared);
    const double longest = std::sqrt(squared + squaredLengthTolerance);
    const double shortest = std::sqrt(std::max(squared - squaredLengthTolerance, 0.0));
    const FeedbackVector2 place = midpoint(shape);
    for (int level = shortLevel(longest); level <= shortLevel(shortest); ++level) {
        if (shortPopulation[level] == 0)
            continue;
        const double width = shortWidth(level);
        const double reach = 0.5001 * (length + std::min(longest, shortLengths[level])) + 2e-6 + 1e-4 * width;
        forEachCell(place.x - reach, place.x + reach, width, [&](double x) {
            forEachCell(place.y - reach, place.y + reach, width, [&](double y) {
                keys.push_back(keyOf(KeyKind::Short, group, {static_cast<double>(level), x, y}));
            });
        });
    }
}

void LineIndex::collectLongKeys(const LineShape& shape, int group, Keys& keys) {
    const double squared = squaredLength(shape);
    const double length = std::sqrt(squared);
    const double reach = 0.5001 * (length + std::sqrt(squared + squaredLengthTolerance)) + 2e-6;
    const double standOff = 8e-6 * length + 1e-5 + 4e-6 / length;
    const FeedbackVector2 unit = shape.along * (1.0 / length);
    const FeedbackVector2 place = midpoint(shape);
    const auto collectFrame = [&](double cellX, double cellY) {
        const LongFrame frame(cellX, cellY);
        // The line leans against the frame, and so does one that merges with it, by a little more or less.
        const double lean = std::fabs(frame.off(unit)) + 2e-6 / squared;
        const double slack = 1e-4 * frame.widthOff;
        const double reachOff = std::min(reach, reach * lean + standOff) + slack;
        const double along = frame.along(place);
        const double off = frame.off(place);
        forEachCell(along - reach - slack, along + reach + slack, frame.widthAlong, [&](double cellAlong) {
            forEachCell(off - reachOff, off + reachOff, frame.widthOff,
                        [&](double cellOff) { keys.push_back(frame.key(group, cellAlong, cellOff)); });
        });
    };
    const auto collectSense = [&](const FeedbackVector2& scaled) {
        forEachCell(scaled.x - directionTolerance, scaled.x + directionTolerance, scaledCell, [&](double x) {
            forEachCell(scaled.y - directionTolerance, scaled.y + directionTolerance, scaledCell,
                        [&](double y) { collectFrame(x, y); });
        });
    };
    const FeedbackVector2 scaled = oneSense(shape.scaled);
    collectSense(scaled);
    // Close to the axis that parts the two senses a partner may be stored in the other one.
    if (scaled.x <= directionTolerance)
        collectSense(scaled * -1.0);
}
