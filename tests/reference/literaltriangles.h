// The merging of coplanar triangles as it is defined: a sweep that starts over after each triangle that joins. Nothing
// is compared by what the library compares with.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALTRIANGLES_H
#define SELVARIN_TESTS_REFERENCE_LITERALTRIANGLES_H

#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <cmath>
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

inline bool sameAttributes(const FeedbackPrimitive& a, const FeedbackPrimitive& b) {
    return a.offset == b.offset && a.boundary == b.boundary && a.blend == b.blend &&
           a.stipplePattern == b.stipplePattern && a.stippleFactor == b.stippleFactor &&
           a.blendSource == b.blendSource && a.blendDestination == b.blendDestination;
}

inline bool sameColour(const FeedbackPrimitive& a, const FeedbackPrimitive& b) {
    for (float FeedbackVertex::*component :
         {&FeedbackVertex::r, &FeedbackVertex::g, &FeedbackVertex::b, &FeedbackVertex::a}) {
        float sumA = 0;
        float sumB = 0;
        for (const FeedbackVertex& each : a.vertices)
            sumA += each.*component;
        for (const FeedbackVertex& each : b.vertices)
            sumB += each.*component;
        const double difference = sumA * (1.0 / static_cast<double>(a.vertices.size())) -
                                  sumB * (1.0 / static_cast<double>(b.vertices.size()));
        if (!(difference > -1e-7 && difference < 1e-7))
            return false;
    }
    return true;
}

inline bool sameVertex(const FeedbackVertex& a, const FeedbackVertex& b) {
    for (float FeedbackVertex::*component : {&FeedbackVertex::x, &FeedbackVertex::y, &FeedbackVertex::z}) {
        const float narrow = a.*component - b.*component;
        const double difference = narrow;
        if (!(difference > -0.001 && difference < 0.001))
            return false;
    }
    return true;
}

struct Vector {
    double x = 0;
    double y = 0;
    double z = 0;

    static Vector between(const FeedbackVertex& from, const FeedbackVertex& to) {
        Vector made;
        made.x = static_cast<double>(to.x) - static_cast<double>(from.x);
        made.y = static_cast<double>(to.y) - static_cast<double>(from.y);
        made.z = static_cast<double>(to.z) - static_cast<double>(from.z);
        return made.normalised();
    }
    Vector normalised() const {
        const double factor = 1.0 / std::sqrt(x * x + y * y + z * z);
        return {x * factor, y * factor, z * factor};
    }
    Vector cross(const Vector& other) const {
        return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
    }
    bool isParallel(const Vector& other) const {
        const double dot = x * other.x + y * other.y + z * other.z;
        const double error = dot > 0.0 ? dot - 1.0 : dot + 1.0;
        return error > -1e-6 && error < 1e-6;
    }
};

// A cross product within 0.001 of zero on each axis leaves the normal at zero, and not a number when it is normalised.
inline Vector normalOf(const FeedbackVertex* v) {
    const Vector cross = Vector::between(v[0], v[1]).cross(Vector::between(v[0], v[2]));
    const auto isSmall = [](double component) { return component > -0.001 && component < 0.001; };
    const bool isZero = isSmall(cross.x) && isSmall(cross.y) && isSmall(cross.z);
    return (isZero ? Vector() : cross).normalised();
}

inline bool isCoplanar(const CoplanarGroup& group, const SweepTriangle& triangle) {
    const FeedbackVertex* first = group.sweepTriangles.front()->vertices;
    const Vector normal = normalOf(first);
    if (!normal.isParallel(normalOf(triangle.vertices)))
        return false;
    // The point of the plane was assigned to a new vertex.
    const FeedbackVertex point = sameVertex(FeedbackVertex(), first[2]) ? FeedbackVertex() : first[2];
    const Vector w = Vector::between(triangle.vertices[sameVertex(point, triangle.vertices[0]) ? 2 : 0], point);
    const Vector c1 = normal.cross(w).normalised();
    const Vector c2 = w.cross(c1).normalised();
    return normal.isParallel(c2);
}

inline bool addTriangle(CoplanarGroup& group, SweepTriangle* triangle) {
    FeedbackVertex* v = triangle->vertices;
    FeedbackVertex* sides[3][2] = {{v, v + 1}, {v + 1, v + 2}, {v + 2, v}};
    bool open[3] = {true, true, true};
    if (!group.sweepTriangles.empty()) {
        if (!isCoplanar(group, *triangle))
            return false;
        bool isShared = false;
        for (std::size_t i = 0; i < group.edges.size() && (open[0] || open[1] || open[2]);) {
            const FeedbackVertex& from = *group.edges[i].from;
            const FeedbackVertex& to = *group.edges[i].to;
            int match = -1;
            for (int side = 0; side < 3 && match < 0; ++side) {
                if (open[side] && ((sameVertex(from, *sides[side][0]) && sameVertex(to, *sides[side][1])) ||
                                   (sameVertex(from, *sides[side][1]) && sameVertex(to, *sides[side][0]))))
                    match = side;
            }
            if (match < 0) {
                ++i;
                continue;
            }
            group.edges[i] = group.edges.back();
            group.edges.pop_back();
            open[match] = false;
            isShared = true;
        }
        if (!isShared)
            return false;
    }
    for (int side = 0; side < 3; ++side) {
        if (open[side])
            group.edges.push_back({sides[side][0], sides[side][1]});
    }
    const bool isFirst = group.sweepTriangles.empty();
    group.sweepTriangles.push_back(triangle);
    if (isFirst || triangle->maxExtent > group.maxExtent)
        group.maxExtent = triangle->maxExtent;
    if (isFirst || group.minExtent > triangle->minExtent)
        group.minExtent = triangle->minExtent;
    return true;
}

// Groups the triangles of both lists, which are sorted. On return entry k of triangles started group k.
inline std::vector<std::unique_ptr<CoplanarGroup>> group(std::vector<SweepTriangle*>& sweep,
                                                         FeedbackPrimitiveList& triangles) {
    std::vector<std::unique_ptr<CoplanarGroup>> groups;
    for (std::size_t i = 0; i < sweep.size(); ++i) {
        groups.push_back(std::make_unique<CoplanarGroup>());
        CoplanarGroup& grown = *groups.back();
        addTriangle(grown, sweep[i]);
        for (std::size_t j = i + 1; j < sweep.size();) {
            if (!(grown.maxExtent + 0.001 >= sweep[j]->minExtent - 0.001))
                break;
            if (sameAttributes(*triangles[i], *triangles[j]) && sameColour(*triangles[i], *triangles[j]) &&
                addTriangle(grown, sweep[j])) {
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
