// Several small boxes for a sliver that lies askew in the picture: its one box would hold a hundred times its area, and
// every question nearby would come to it. Trees over long thin triangles live on that (early split clipping: Ernst and
// Greiner, Early Split Clipping for Bounding Volume Hierarchies, 2007).
#ifndef KIVRENDER_LINES_OCCLUDERPIECES_H
#define KIVRENDER_LINES_OCCLUDERPIECES_H

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/occluderindex.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

// A triangle as the picture shows it.
class OccluderPieces {
public:
    // None of the corners, in camera space, lies before the near plane.
    OccluderPieces(const KivLineView& view, const std::array<KivVec, 3>& triangle);
    // Depths that run evenly over the picture.
    OccluderPieces(const std::array<KivPicturePoint, 3>& places, const std::array<double, 3>& depths);

    // The box of all of it.
    const KivOccluderBounds& whole() const {
        return box;
    }
    // How many pieces its boxes should be of: 1 for most triangles, at most mostPieces.
    std::uint32_t wanted() const;
    // Appends the boxes of that many pieces, which cover the triangle: none leaves out a point of it, in its place or
    // in its depth, even if it is nearer by depthMargin. None is nearer than all of the triangle.
    void cut(std::uint32_t count, std::vector<KivOccluderBounds>& boxes, double depthMargin = 0.0) const;

    static constexpr std::uint32_t mostPieces = 32;

private:
    struct Corner {
        double along; // the longer side of the box
        double across;
        double depth;
        // Runs evenly over the picture: the depth, or 1 / depth where sight lines meet in the eye.
        double evenly(bool isPerspective) const {
            return isPerspective ? 1.0 / depth : depth;
        }
    };
    void setCorners(const std::array<KivPicturePoint, 3>& places, const std::array<double, 3>& depths);
    struct Slack {
        double place;
        double evenly;
    };
    // For what rounding comes to.
    Slack slack() const;
    KivOccluderBounds pieceBetween(double from, double to, double depthMargin, const Slack& slack) const;

    std::array<Corner, 3> corners;
    KivOccluderBounds box;
    double pictureWidth = std::numeric_limits<double>::infinity();
    double pictureHeight = std::numeric_limits<double>::infinity();
    bool isUpright = false;
    bool isPerspective = false;
};

// The boxes of count triangles, of which piecesOf(i) gives the pieces: at most twice as many boxes as triangles. owners
// gets the triangle of each box. False when the user cancelled.
template <class PiecesOf, class MarginOf>
bool kivCutIntoBoxes(std::size_t count, PiecesOf piecesOf, MarginOf marginOf, std::vector<KivOccluderBounds>& boxes,
                     std::vector<std::uint32_t>& owners) {
    std::vector<std::uint8_t> wanted(count);
    std::vector<KivOccluderBounds> wholes(count);
    std::array<std::size_t, OccluderPieces::mostPieces + 1> ofCount{};
    for (std::size_t i = 0; i < count; ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        const OccluderPieces pieces = piecesOf(i);
        wanted[i] = static_cast<std::uint8_t>(pieces.wanted());
        wholes[i] = pieces.whole();
        ++ofCount[wanted[i]];
    }
    const auto boxesAt = [&ofCount](std::uint32_t divisor) {
        std::size_t sum = 0;
        for (std::uint32_t pieces = 0; pieces < ofCount.size(); ++pieces) {
            sum += ofCount[pieces] * std::max(1U, pieces / divisor);
        }
        return sum;
    };
    std::uint32_t divisor = 1;
    while (divisor < OccluderPieces::mostPieces && boxesAt(divisor) > 2 * count) {
        divisor *= 2;
    }
    owners.clear();
    if (boxesAt(divisor) == count) {
        boxes.swap(wholes);
        owners.resize(count);
        std::iota(owners.begin(), owners.end(), 0U);
        return true;
    }
    boxes.clear();
    boxes.reserve(boxesAt(divisor));
    owners.reserve(boxesAt(divisor));
    for (std::size_t i = 0; i < count; ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        if (wanted[i] / divisor < 2) {
            boxes.push_back(wholes[i]);
        } else {
            piecesOf(i).cut(wanted[i] / divisor, boxes, marginOf(i));
        }
        owners.resize(boxes.size(), static_cast<std::uint32_t>(i));
    }
    return true;
}

#endif
