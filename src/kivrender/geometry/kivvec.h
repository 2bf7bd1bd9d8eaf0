// Three doubles for inner loops: plain members, everything inline, converted from and to the points and vectors of the
// scene at the edge.
//
// The published Kiv3DPoint and Kiv3DVector are exported classes whose operations the compiler may not inline across the
// library; the loops over millions of corners use this one instead. Units are those of whatever the numbers come from,
// as a rule model units in the coordinates of the scene. Nothing here allocates, throws or looks for NaN, except where
// it says so.
#ifndef KIVRENDER_GEOMETRY_KIVVEC_H
#define KIVRENDER_GEOMETRY_KIVVEC_H

#include <cmath>

// A place or a way; the zero vector at first.
struct KivVec {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// Component by component.
inline KivVec operator+(const KivVec& a, const KivVec& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline KivVec operator-(const KivVec& a, const KivVec& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline KivVec operator-(const KivVec& a) {
    return {-a.x, -a.y, -a.z};
}
// All three times s.
inline KivVec operator*(const KivVec& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
// The dot product: the product of both lengths and the cosine of the angle between the two.
inline double kivDot(const KivVec& a, const KivVec& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
// The cross product, by the right hand: x cross y is z. Its length is the area of the parallelogram of the two.
inline KivVec kivCross(const KivVec& a, const KivVec& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
// Without a guard against overflow: infinite from about 1e154 on.
inline double kivLength(const KivVec& a) {
    return std::sqrt(kivDot(a, a));
}
// A vector of no length, or one that is not a number, comes back as the zero vector.
// Of length 1, the same way.
inline KivVec kivUnit(const KivVec& a) {
    const double length = kivLength(a);
    return length > 0.0 && std::isfinite(length) ? a * (1.0 / length) : KivVec{};
}

#endif
