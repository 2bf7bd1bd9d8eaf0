// Projective maps of space as 4 by 4 numbers, rows first.
#ifndef KIVRENDER_LINES_REGIONS_PROJECTIVEMAP_H
#define KIVRENDER_LINES_REGIONS_PROJECTIVEMAP_H

#include "kivrender/lines/kivcastshadows.h"

#include <cmath>
#include <utility>

inline KivVec kivMapped(const KivProjectiveMap& m, const KivVec& p) {
    const double w = m[12] * p.x + m[13] * p.y + m[14] * p.z + m[15];
    return {(m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3]) / w, (m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7]) / w,
            (m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11]) / w};
}

// By elimination with pivots (Gauss and Jordan). False if there is none.
inline bool kivInvert(KivProjectiveMap m, KivProjectiveMap* inverse) {
    KivProjectiveMap r = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (std::size_t column = 0; column < 4; ++column) {
        std::size_t best = column;
        for (std::size_t row = column + 1; row < 4; ++row) {
            best = std::fabs(m[4 * row + column]) > std::fabs(m[4 * best + column]) ? row : best;
        }
        const double pivot = m[4 * best + column];
        if (!(std::fabs(pivot) > 0.0) || !std::isfinite(pivot)) {
            return false;
        }
        for (std::size_t k = 0; k < 4; ++k) {
            std::swap(m[4 * best + k], m[4 * column + k]);
            std::swap(r[4 * best + k], r[4 * column + k]);
            m[4 * column + k] /= pivot;
            r[4 * column + k] /= pivot;
        }
        for (std::size_t row = 0; row < 4; ++row) {
            const double factor = row != column ? m[4 * row + column] : 0.0;
            for (std::size_t k = 0; k < 4; ++k) {
                m[4 * row + k] -= factor * m[4 * column + k];
                r[4 * row + k] -= factor * r[4 * column + k];
            }
        }
    }
    *inverse = r;
    return true;
}

#endif
