// Welding as it is defined: all corners in one array, a sort by the comparison with the dead band, runs compared with
// their first corner. How the sort treats corners that the comparison does not order is open in the definition; here
// are a plain stable merge sort of all corners, and the sort that the library settles on, in its slowest form.
#ifndef TESTS_REFERENCE_LITERALWELD_H
#define TESTS_REFERENCE_LITERALWELD_H

#include "kivrender/scene/kivmesh.h"

#include <algorithm>
#include <cstring>
#include <vector>

struct LiteralWeld {
    static constexpr double tolerance = 0.0001;

    struct Corner {
        Kiv3DPoint vertex;
        unsigned int face;
        unsigned int corner;
    };

    std::vector<Kiv3DPoint> vertices;
    std::vector<unsigned int> indices;

    static int compare(const Kiv3DPoint& a, const Kiv3DPoint& b) {
        if (a.isGreater(b, tolerance)) {
            return 1;
        }
        return a.isEqual(b, tolerance) ? 0 : -1;
    }

    static std::vector<Corner> cornersOf(const KivMesh& source) {
        std::vector<Corner> corners;
        for (unsigned int t = 0; t < source.getNumTriangles(); ++t) {
            Kiv3DPoint points[3];
            source.getTriangle(points, t);
            for (unsigned int c = 0; c < 3; ++c) {
                corners.push_back({points[c], t, c});
            }
        }
        return corners;
    }

    static std::vector<Corner> sorted(const std::vector<Corner>& corners) {
        if (corners.size() < 2) {
            return corners;
        }
        const auto middle = corners.begin() + static_cast<std::ptrdiff_t>(corners.size() / 2);
        const std::vector<Corner> left = sorted({corners.begin(), middle});
        const std::vector<Corner> right = sorted({middle, corners.end()});
        std::vector<Corner> merged;
        std::size_t l = 0;
        std::size_t r = 0;
        while (l < left.size() && r < right.size()) {
            merged.push_back(compare(left[l].vertex, right[r].vertex) <= 0 ? left[l++] : right[r++]);
        }
        merged.insert(merged.end(), left.begin() + static_cast<std::ptrdiff_t>(l), left.end());
        merged.insert(merged.end(), right.begin() + static_cast<std::ptrdiff_t>(r), right.end());
        return merged;
    }

    // Whether both are the same place: equal numbers, or the same bits where they are not numbers.
    static bool samePlace(const Kiv3DPoint& a, const Kiv3DPoint& b) {
        const double left[3] = {a.x, a.y, a.z};
        const double right[3] = {b.x, b.y, b.z};
        for (int i = 0; i < 3; ++i) {
            if (left[i] != right[i] && std::memcmp(&left[i], &right[i], sizeof(double)) != 0) {
                return false;
            }
        }
        return true;
    }

    // Corners at one place go through the sort as one, at the place of the first of them.
    static std::vector<Corner> sortedByPlace(const std::vector<Corner>& corners) {
        std::vector<Corner> places;
        for (const Corner& corner : corners) {
            if (std::ranges::none_of(places, [&](const Corner& p) { return samePlace(p.vertex, corner.vertex); })) {
                places.push_back(corner);
            }
        }
        std::vector<Corner> all;
        for (const Corner& place : sorted(places)) {
            std::ranges::copy_if(corners, std::back_inserter(all),
                                 [&](const Corner& c) { return samePlace(c.vertex, place.vertex); });
        }
        return all;
    }

    explicit LiteralWeld(const std::vector<Corner>& sortedCorners) : indices(sortedCorners.size()) {
        for (const Corner& corner : sortedCorners) {
            if (vertices.empty() || !vertices.back().isEqual(corner.vertex, tolerance)) {
                vertices.push_back(corner.vertex);
            }
            indices[corner.face * 3 + corner.corner] = static_cast<unsigned int>(vertices.size() - 1);
        }
    }

    // Whether the comparison is an order on these corners: equality passes on, and so does "greater".
    static bool isOrdered(const std::vector<Corner>& corners) {
        const std::size_t n = corners.size();
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j) {
                const int ij = compare(corners[i].vertex, corners[j].vertex);
                if (ij != -compare(corners[j].vertex, corners[i].vertex)) {
                    return false;
                }
                for (std::size_t k = 0; ij <= 0 && k < n; ++k) {
                    const int jk = compare(corners[j].vertex, corners[k].vertex);
                    if (jk <= 0 && compare(corners[i].vertex, corners[k].vertex) != std::min(ij, jk)) {
                        return false;
                    }
                }
            }
        }
        return true;
    }
};

#endif
