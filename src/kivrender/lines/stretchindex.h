// Straight lines of a picture by its squares, for asking what lies nearby.
#ifndef KIVRENDER_LINES_STRETCHINDEX_H
#define KIVRENDER_LINES_STRETCHINDEX_H

#include "kivrender/lines/kivlineview.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

struct Stretch {
    KivPicturePoint start;
    KivPicturePoint end;
};

inline double kivLengthOf(const Stretch& stretch) {
    return std::hypot(stretch.end.x - stretch.start.x, stretch.end.y - stretch.start.y);
}

// From a point to the nearest place of a stretch, which lies so many pixels from its start.
inline double kivDistance(const KivPicturePoint& point, const Stretch& stretch, double* at) {
    const double length = kivLengthOf(stretch);
    const double dx = length > 0.0 ? (stretch.end.x - stretch.start.x) / length : 0.0;
    const double dy = length > 0.0 ? (stretch.end.y - stretch.start.y) / length : 0.0;
    *at = std::clamp((point.x - stretch.start.x) * dx + (point.y - stretch.start.y) * dy, 0.0, length);
    return std::hypot(stretch.start.x + dx * *at - point.x, stretch.start.y + dy * *at - point.y);
}

class StretchIndex {
public:
    // No more pixels lie between a line that is asked for and those that are found for sure.
    static constexpr double reach = 16.0;

    // They count from 0.
    void add(const Stretch& stretch);
    const Stretch& operator[](std::uint32_t number) const {
        return stretches[number];
    }
    // Each once, in the order in which the squares are met; the list is that of the index. In a square with hundreds of
    // them some are missing: the time stays bounded.
    const std::vector<std::uint32_t>& near(const Stretch& stretch);
    // How many were looked at since the last call.
    std::size_t takeWork() {
        return std::exchange(work, 0);
    }

private:
    void take(std::uint64_t key);

    std::vector<Stretch> stretches;
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> cells;
    std::vector<std::uint32_t> asked; // the last question in which each one was met
    std::uint32_t questions = 0;
    std::size_t work = 0;
    std::vector<std::uint32_t> found;
};

#endif
