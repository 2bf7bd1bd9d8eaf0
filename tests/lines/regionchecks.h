// What the tests of visible regions share: faces, what is nearest at a point by asking every face, and rules that hold
// for all regions.
#ifndef TESTS_LINES_REGIONCHECKS_H
#define TESTS_LINES_REGIONCHECKS_H

#include "kivrender/lines/kivvisibleregions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

struct SeenFace {
    std::vector<KivSeenCorner> corners;
    std::uint32_t look = 0;
};

inline constexpr std::uint32_t nothingSeen = KivVisibleRegions::mostLooks;

// The nearest face; of equally near ones the last.
inline std::uint32_t nearestLook(const std::vector<SeenFace>& faces, double x, double y) {
    std::uint32_t best = nothingSeen;
    double nearest = 0.0;
    for (const SeenFace& face : faces) {
        for (std::size_t i = 2; i < face.corners.size(); ++i) {
            const KivSeenCorner* const c[3] = {&face.corners[0], &face.corners[i - 1], &face.corners[i]};
            const double x1 = c[1]->x - c[0]->x;
            const double y1 = c[1]->y - c[0]->y;
            const double x2 = c[2]->x - c[0]->x;
            const double y2 = c[2]->y - c[0]->y;
            const double area = x1 * y2 - x2 * y1;
            const double u = ((x - c[0]->x) * y2 - (y - c[0]->y) * x2) / area;
            const double v = (x1 * (y - c[0]->y) - y1 * (x - c[0]->x)) / area;
            if (area == 0.0 || !(u >= 0.0) || !(v >= 0.0) || u + v > 1.0) {
                continue;
            }
            const double depth = c[0]->depth + u * (c[1]->depth - c[0]->depth) + v * (c[2]->depth - c[0]->depth);
            if (best == nothingSeen || depth <= nearest + 1e-7) {
                best = face.look;
                nearest = depth;
            }
        }
    }
    return best;
}

inline std::vector<KivPicturePoint> flattened(const KivCurvePath& path) {
    std::vector<KivPicturePoint> points = {path.start};
    for (const KivCurvePiece& piece : path.pieces) {
        const KivPicturePoint from = points.back();
        const int steps = piece.kind == KivCurvePiece::Kind::line ? 1 : 16;
        for (int i = 1; i <= steps; ++i) {
            const double t = static_cast<double>(i) / steps;
            const double s = 1.0 - t;
            const KivPicturePoint* const c = piece.control;
            points.push_back(steps == 1 ? piece.end
                                        : KivPicturePoint{s * s * s * from.x + 3 * s * s * t * c[0].x +
                                                              3 * s * t * t * c[1].x + t * t * t * piece.end.x,
                                                          s * s * s * from.y + 3 * s * s * t * c[0].y +
                                                              3 * s * t * t * c[1].y + t * t * t * piece.end.y});
        }
    }
    return points;
}

// Regions with their rings as polygons, for questions about points.
class FlatRegions {
public:
    explicit FlatRegions(const std::vector<KivVisibleRegion>& regions) {
        for (const KivVisibleRegion& region : regions) {
            std::vector<std::vector<KivPicturePoint>> rings;
            for (const KivCurvePath& ring : region.rings) {
                rings.push_back(flattened(ring));
            }
            flat.emplace_back(region.look, std::move(rings));
        }
    }
    // The looks of all regions around a point.
    std::vector<std::uint32_t> at(double x, double y) const {
        std::vector<std::uint32_t> looks;
        for (const auto& [look, rings] : flat) {
            bool inside = false;
            for (const std::vector<KivPicturePoint>& ring : rings) {
                for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
                    const KivPicturePoint& a = ring[i];
                    const KivPicturePoint& b = ring[i + 1];
                    if ((a.y > y) != (b.y > y) && x < a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y)) {
                        inside = !inside;
                    }
                }
            }
            if (inside) {
                looks.push_back(look);
            }
        }
        return looks;
    }

private:
    std::vector<std::pair<std::uint32_t, std::vector<std::vector<KivPicturePoint>>>> flat;
};

// Rings are closed, each piece of a border stands in one region or, backwards, in its neighbour too, and in no third.
inline void expectSharedBorders(const std::vector<KivVisibleRegion>& regions) {
    using Piece = std::array<double, 8>;
    std::map<Piece, int> forwards;
    std::vector<Piece> all;
    for (const KivVisibleRegion& region : regions) {
        ASSERT_FALSE(region.rings.empty());
        for (const KivCurvePath& ring : region.rings) {
            EXPECT_TRUE(ring.closed);
            ASSERT_FALSE(ring.pieces.empty());
            EXPECT_EQ(ring.pieces.back().end.x, ring.start.x);
            EXPECT_EQ(ring.pieces.back().end.y, ring.start.y);
            KivPicturePoint from = ring.start;
            for (const KivCurvePiece& piece : ring.pieces) {
                const bool isCubic = piece.kind == KivCurvePiece::Kind::cubic;
                const KivPicturePoint first = isCubic ? piece.control[0] : from;
                const KivPicturePoint second = isCubic ? piece.control[1] : piece.end;
                all.push_back({from.x, from.y, first.x, first.y, second.x, second.y, piece.end.x, piece.end.y});
                ++forwards[all.back()];
                from = piece.end;
            }
        }
    }
    for (const Piece& p : all) {
        EXPECT_EQ(forwards[p], 1) << "from " << p[0] << ", " << p[1] << " to " << p[6] << ", " << p[7];
    }
}

// Of points all over the picture, those with one look all around them; each lies in one region of that look.
inline void expectRightLooks(const std::vector<SeenFace>& faces, const std::vector<KivVisibleRegion>& regions,
                             double width, double height, int across, double margin, int* asked = nullptr) {
    const FlatRegions flat(regions);
    int wrong = 0;
    int count = 0;
    for (int row = 0; row < across; ++row) {
        for (int column = 0; column < across; ++column) {
            const double x = (column + 0.4637) * width / across;
            const double y = (row + 0.5291) * height / across;
            const std::uint32_t look = nearestLook(faces, x, y);
            bool isAlone = true;
            for (int k = 0; k < 8 && isAlone; ++k) {
                const double turn = 0.785398 * k + 0.1;
                isAlone = nearestLook(faces, x + margin * std::cos(turn), y + margin * std::sin(turn)) == look;
            }
            if (!isAlone) {
                continue;
            }
            ++count;
            const std::vector<std::uint32_t> seen = flat.at(x, y);
            const bool isRight = look == nothingSeen ? seen.empty() : seen == std::vector<std::uint32_t>{look};
            if (!isRight && ++wrong < 4) {
                ADD_FAILURE() << "at " << x << ", " << y << " look " << static_cast<int>(look) << " is in "
                              << seen.size() << " regions" << (seen.empty() ? "" : ", the first of look ")
                              << (seen.empty() ? 0 : seen[0]);
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(count, across * across / 10);
    if (asked != nullptr) {
        *asked = count;
    }
}

inline std::vector<KivVisibleRegion> regionsOf(const std::vector<SeenFace>& faces, double width, double height,
                                               double tolerance = 0.001) {
    KivVisibleRegions picture(width, height);
    picture.setTolerance(tolerance);
    picture.setSmallestArea(1e-4); // nothing is a speck
    for (const SeenFace& face : faces) {
        picture.add(face.corners, face.look);
    }
    EXPECT_TRUE(picture.find());
    expectSharedBorders(picture.regions());
    return picture.regions();
}

#endif
