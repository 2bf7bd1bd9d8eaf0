// The merging of lines as it is defined: every pair is looked at in order, and every merge starts over.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALLINES_H
#define SELVARIN_TESTS_REFERENCE_LITERALLINES_H

#include "kivrender/vector/feedbackprimitive.h"

#include <cmath>

namespace literal {

inline bool isTiny(double value) {
    return value < 1e-6 && value > -1e-6;
}

inline FeedbackPrimitive* newLine(const FeedbackPrimitive* a, const FeedbackVertex& start, const FeedbackVertex& end) {
    auto* line = new FeedbackPrimitive;
    copyAttributes(*line, *a);
    line->vertices.push_back(start);
    line->vertices.push_back(end);
    return line;
}

inline FeedbackPrimitive* mergePair(FeedbackPrimitive* a, FeedbackPrimitive* b) {
    FeedbackVertex a0, a1, b0, b1;
    a0 = a->vertices[0];
    a1 = a->vertices[1];
    b0 = b->vertices[0];
    b1 = b->vertices[1];
    const double ax = a1.x - a0.x;
    const double ay = a1.y - a0.y;
    const double bx = b1.x - b0.x;
    const double by = b1.y - b0.y;
    const double lengthA = std::sqrt(ax * ax + ay * ay);
    const double lengthB = std::sqrt(bx * bx + by * by);
    const double sax = ax * lengthA;
    const double say = ay * lengthA;
    const double sbx = bx * lengthB;
    const double sby = by * lengthB;
    const bool same = isTiny(sax - sbx) && isTiny(say - sby);
    const bool opposite = isTiny(-sax - sbx) && isTiny(-say - sby);
    if (!same && !opposite)
        return nullptr;
    double u0 = 0, u1 = 0, v0 = 0, v1 = 0;
    if (!isTiny(ax)) {
        u0 = (b0.x - a0.x) / ax;
        u1 = (b1.x - a0.x) / ax;
    }
    if (!isTiny(ay)) {
        v0 = (b0.y - a0.y) / ay;
        v1 = (b1.y - a0.y) / ay;
    }
    if (!isTiny(ax) && isTiny(ay)) {
        v0 = b0.y == a0.y ? u0 : 0;
        v1 = b1.y == a0.y ? u1 : 0;
    }
    if (isTiny(ax) && !isTiny(ay)) {
        u0 = b0.x == a0.x ? v0 : 0;
        u1 = b1.x == a0.x ? v1 : 0;
    }
    if (!isTiny(v0 - u0) || !isTiny(v1 - u1))
        return nullptr;
    const auto within = [](double t) { return t >= 0 && t <= 1; };
    FeedbackPrimitive* result = nullptr;
    if (within(u0) && u1 > 1)
        result = newLine(a, a0, b1);
    else if (within(u0) && u1 < 0)
        result = newLine(a, b1, a1);
    else if (within(u0) && within(u1)) {
        delete b;
        return a;
    } else if (u0 < 0 && within(u1))
        result = newLine(a, b0, a1);
    else if (u0 > 1 && within(u1))
        result = newLine(a, a0, b0);
    else if ((u0 < 0 && u1 > 1) || (u0 > 1 && u1 < 0)) {
        delete a;
        return b;
    } else
        return nullptr;
    delete a;
    delete b;
    return result;
}

// Returns the number of merges.
inline int mergeLines(FeedbackPrimitiveList& lines) {
    int merges = 0;
    for (bool merged = true; merged;) {
        merged = false;
        for (std::size_t i = 0; i < lines.size() && !merged; ++i) {
            for (std::size_t j = i + 1; j < lines.size() && !merged; ++j) {
                if (!sameLineAttributes(*lines[i], *lines[j]))
                    continue;
                FeedbackPrimitive* result = mergePair(lines[i], lines[j]);
                if (!result)
                    continue;
                ++merges;
                const bool secondIsLast = j == lines.size() - 1;
                lines[i] = lines.back();
                lines.pop_back();
                // The second line has moved into the first slot if it was the last.
                const std::size_t second = secondIsLast ? i : j;
                if (lines.size() > second) {
                    lines[second] = lines.back();
                    lines.pop_back();
                }
                merged = true;
                lines.push_back(result);
            }
        }
    }
    return merges;
}

} // namespace literal

#endif
