// The merging of coplanar triangles as it is defined: a sweep that starts over after each triangle that joins.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALTRIANGLES_H
#define SELVARIN_TESTS_REFERENCE_LITERALTRIANGLES_H

#include "kivrender/vector/averagecolour.h"
#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <memory>
#include <vector>

namespace literal {

class SweepSort {
public:
    SweepSort(std::vector<SweepTriangle*>& toSort, FeedbackPrimitiveList& alongside)
        : sweep(toSort), triangles(alongside) {}

    void run() {
        sort(0, static_cast<int>(sweep.size()) - 1);
    }

private:
    void exchange(int first, int second) {
        std::swap(sweep[static_cast<std::size_t>(first)], sweep[static_cast<std::size_t>(second)]);
        std::swap(triangles[static_cast<std::size_t>(first)], triangles[static_cast<std::size_t>(second)]);
    }
    void sort(int lo, int hi) {
        if (hi - lo < 1)
            return;
        exchange(lo, hi);
        int s = lo;
        const double key = sweep[static_cast<std::size_t>(hi)]->minExtent;
        for (int k = lo; k <= hi - 1; ++k) {
            if (key >= sweep[static_cast<std::size_t>(k)]->minExtent) {
                exchange(s, k);
                ++s;
            }
        }
        exchange(s, hi);
        sort(lo, s - 1);
        sort(s + 1, hi);
    }

    std::vector<SweepTriangle*>& sweep;
    FeedbackPrimitiveList& triangles;
};

// Groups the triangles of both lists, which are sorted. On return entry k of triangles started group k.
inline std::vector<std::unique_ptr<CoplanarGroup>> group(std::vector<SweepTriangle*>& sweep,
                                                         FeedbackPrimitiveList& triangles) {
    std::vector<std::unique_ptr<CoplanarGroup>> groups;
    for (std::size_t i = 0; i < sweep.size(); ++i) {
        groups.push_back(std::make_unique<CoplanarGroup>());
        CoplanarGroup& grown = *groups.back();
        grown.addTriangle(sweep[i]);
        for (std::size_t j = i + 1; j < sweep.size();) {
            if (!(grown.maxExtent + 0.001 >= sweep[j]->minExtent - 0.001))
                break;
            if (samePolygonAttributes(*triangles[i], *triangles[j]) && sameAverageColour(triangles[i], triangles[j]) &&
                grown.addTriangle(sweep[j])) {
                sweep.erase(sweep.begin() + static_cast<std::ptrdiff_t>(j));
                delete triangles[j];
                triangles.erase(triangles.begin() + static_cast<std::ptrdiff_t>(j));
                j = i + 1;
            } else {
                ++j;
            }
        }
    }
    sweep.clear();
    return groups;
}

inline std::vector<SweepTriangle*> sweepOf(const FeedbackPrimitiveList& triangles, int axis) {
    std::vector<SweepTriangle*> sweep;
    for (const FeedbackPrimitive* each : triangles) {
        sweep.push_back(new SweepTriangle(*each));
        sweep.back()->axis = axis;
        sweep.back()->computeExtents();
    }
    return sweep;
}

} // namespace literal

#endif
