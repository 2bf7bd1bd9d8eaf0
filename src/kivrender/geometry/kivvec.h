// Three doubles for inner loops: plain members, everything inline, converted from and to the points and vectors of the
// scene at the edge.
#ifndef KIVRENDER_GEOMETRY_KIVVEC_H
#define KIVRENDER_GEOMETRY_KIVVEC_H

#include <cmath>

struct KivVec {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

inline KivVec operator+(const KivVec& a, const KivVec& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline KivVec operator-(const KivVec& a, const KivVec& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline KivVec operator-(const KivVec& a) {
    return {-a.x, -a.y, -a.z};
}
inline KivVec operator*(const KivVec& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline double kivDot(const KivVec& a, const KivVec& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline KivVec kivCross(const KivVec& a, const KivVec& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double kivLength(const KivVec& a) {
    return std::sqrt(kivDot(a, a));
}
// A vector of no length, or one that is not a number, comes back as the zero vector.
inline KivVec kivUnit(const KivVec& a) {
    const double length = kivLength(a);
    return length > 0.0 && std::isfinite(length) ? a * (1.0 / length) : KivVec{};
}

#endif
