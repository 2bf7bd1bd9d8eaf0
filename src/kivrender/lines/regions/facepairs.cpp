#include "kivrender/lines/regions/facepairs.h"

#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t leafSize = 4;
constexpr std::size_t stepsOfPair = 16; // of work, beside that of a box that is looked at
// Finely divided meshes take about forty, scenes with long thin faces some hundreds; beyond that it is the sooner done
// to look at what is visible.
constexpr std::size_t stepsOfFace = 1024;
constexpr std::size_t stepsOfAny = 1U << 16U;

constexpr std::uint32_t manyLooks = RegionFaces::noLook;

// In grid steps, of a part of a face or of many.
struct Box {
    double left = std::numeric_limits<double>::infinity();
    double right = -left;
    double bottom = left;
    double top = -left;
    double nearest = left;
    double farthest = -left;
    std::uint32_t look = manyLooks;

    void include(const Box& other) {
        look = right < left || look == other.look ? other.look : manyLooks;
        left = std::min(left, other.left);
        right = std::max(right, other.right);
        bottom = std::min(bottom, other.bottom);
        top = std::max(top, other.top);
        nearest = std::min(nearest, other.nearest);
        farthest = std::max(farthest, other.farthest);
    }
};

const GridPoint& cornerOf(const RegionFaces& faces, std::uint32_t face, int i) {
    return faces.corners()[faces.faces()[face].corners[i]].place;
}

bool hasSideBetween(const RegionFaces& faces, std::uint32_t f, std::uint32_t g) {
    for (int i = 0; i < 3; ++i) {
        int onRight = 0;
        while (onRight < 3 && gridSide(cornerOf(faces, f, i), cornerOf(faces, f, i == 2 ? 0 : i + 1),
                                       cornerOf(faces, g, onRight)) <= 0) {
            ++onRight;
        }
        if (onRight == 3) {
            return true;
        }
    }
    return false;
}

class PairFinder {
public:
    PairFinder(const RegionFaces& all, std::vector<FacePair>& into) : faces(all), pairs(into) {}

    bool build() {
        std::vector<KivOccluderBounds> bounds;
        std::vector<std::uint32_t> faceOf;
        if (!faces.cutIntoBoxes(bounds, faceOf)) {
            return false;
        }
        std::vector<std::array<float, 3>> middles(bounds.size());
        std::array<float, 3> low = {};
        std::array<float, 3> high = {};
        for (std::size_t i = 0; i < bounds.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            const KivOccluderBounds& b = bounds[i];
            middles[i] = {0.5F * (b.left + b.right), 0.5F * (b.bottom + b.top), b.nearest};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                low[axis] = i > 0 ? std::min(low[axis], middles[i][axis]) : middles[i][axis];
                high[axis] = i > 0 ? std::max(high[axis], middles[i][axis]) : middles[i][axis];
            }
        }
        std::vector<std::uint32_t> order;
        return kivCurveOrder(middles, low, high, order) && place(bounds, faceOf, order) && buildLevels();
    }
    bool find(bool* tooMany) {
        left = stepsOfAny + stepsOfFace * boxes.size();
        findWithin({static_cast<std::uint32_t>(levels.size() - 1), 0});
        *tooMany = left == 0;
        if (*tooMany) {
            pairs.clear();
        }
        return faces.work().goesOn();
    }

private:
    // In the order of the curve.
    bool place(const std::vector<KivOccluderBounds>& bounds, const std::vector<std::uint32_t>& faceOf,
               const std::vector<std::uint32_t>& order) {
        boxes.reserve(order.size());
        owners.reserve(order.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            owners.push_back(faceOf[order[i]]);
            boxes.push_back(boxOf(owners.back(), bounds[order[i]]));
        }
        return true;
    }
    // What may be wrong of the depth is part of the box.
    Box boxOf(std::uint32_t face, const KivOccluderBounds& bounds) const {
        const RegionPlane& plane = faces.planeOf(face);
        Box box = {bounds.left * RegionGrid::steps,
                   bounds.right * RegionGrid::steps,
                   bounds.bottom * RegionGrid::steps,
                   bounds.top * RegionGrid::steps,
                   0.0,
                   0.0,
                   faces.faces()[face].look};
        const Part all = commonPart(box, box);
        const double middle = plane.at(all.x, all.y);
        const double reach = reachOf(plane.slopeX, plane.slopeY, all);
        const double noise = faces.noiseOf(face);
        box.nearest = std::clamp(middle - reach, plane.low, plane.high) - noise;
        box.farthest = std::clamp(middle + reach, plane.low, plane.high) + noise;
        return box;
    }
    bool buildLevels() {
        const std::vector<Box>* from = &boxes;
        for (std::size_t together = leafSize; from->size() > 1 || levels.empty(); together = 2) {
            std::vector<Box> level((from->size() + together - 1) / together);
            for (std::size_t i = 0; i < from->size(); ++i) {
                level[i / together].include((*from)[i]);
            }
            levels.push_back(std::move(level));
            from = &levels.back();
        }
        return true;
    }

    // Or of one look.
    static bool areBoxesApart(const Box& p, const Box& q) {
        return p.left > q.right || p.right < q.left || p.bottom > q.top || p.top < q.bottom || p.nearest > q.farthest ||
               p.farthest < q.nearest || (p.look == q.look && p.look != manyLooks);
    }
    // False once nothing is left, or the user cancelled.
    bool spend(std::size_t steps) {
        left = faces.work().spend(steps) && steps < left ? left - steps : 0;
        return left > 0;
    }

    // Whether another box comes near the face, which goes through its own box, and not just near that box.
    bool meets(std::uint32_t face, const Box& own, const Box& other) const {
        if (areBoxesApart(own, other)) {
            return false;
        }
        const RegionPlane& plane = faces.planeOf(face);
        const Part part = commonPart(own, other);
        const double middle = plane.at(part.x, part.y);
        const double reach = reachOf(plane.slopeX, plane.slopeY, part);
        const double noise = faces.noiseOf(face);
        return other.nearest <= std::clamp(middle + reach, plane.low, plane.high) + noise &&
               other.farthest >= std::clamp(middle - reach, plane.low, plane.high) - noise;
    }
    // Where two boxes overlap in the picture: the middle, and how far it goes from there.
    struct Part {
        double x, y, reachX, reachY;
    };
    static Part commonPart(const Box& p, const Box& q) {
        const double left = std::max(p.left, q.left);
        const double right = std::min(p.right, q.right);
        const double bottom = std::max(p.bottom, q.bottom);
        const double top = std::min(p.top, q.top);
        return {0.5 * (left + right), 0.5 * (bottom + top), 0.5 * (right - left), 0.5 * (top - bottom)};
    }
    static double reachOf(double slopeX, double slopeY, const Part& part) {
        return std::fabs(slopeX) * part.reachX + std::fabs(slopeY) * part.reachY;
    }
    // Whether one face is neither before the other nor behind it, all over the box that they have in common.
    bool mayChangePlaces(std::uint32_t face, const Box& own, std::uint32_t other, const Box& its) const {
        const RegionPlane& p = faces.planeOf(face);
        const RegionPlane& q = faces.planeOf(other);
        const Part part = commonPart(own, its);
        return std::fabs(p.at(part.x, part.y) - q.at(part.x, part.y)) <=
               reachOf(p.slopeX - q.slopeX, p.slopeY - q.slopeY, part) + faces.noiseOf(face) + faces.noiseOf(other);
    }

    struct Node {
        std::uint32_t level;
        std::uint32_t number;
    };
    const Box& boxAt(const Node& node) const {
        return levels[node.level][node.number];
    }
    bool hasSecond(const Node& node) const {
        return std::size_t{node.number} * 2 + 1 < levels[node.level - 1].size();
    }
    static Node below(const Node& node, std::uint32_t which) {
        return {node.level - 1, node.number * 2 + which};
    }
    std::size_t firstOf(const Node& leaf) const {
        return std::size_t{leaf.number} * leafSize;
    }
    std::size_t endOf(const Node& leaf) const {
        return std::min(boxes.size(), firstOf(leaf) + leafSize);
    }

    // The pairs within a node. What is of one look ends here at once.
    void findWithin(const Node& node) {
        if (boxAt(node).look != manyLooks || !spend(1)) {
            return;
        }
        if (node.level == 0) {
            for (std::size_t i = firstOf(node); i < endOf(node); ++i) {
                compareWith(i, i + 1, endOf(node));
            }
            return;
        }
        findWithin(below(node, 0));
        if (hasSecond(node)) {
            findWithin(below(node, 1));
            findBetween(below(node, 0), below(node, 1));
        }
    }
    // The pairs of one from each; the larger one is divided.
    void findBetween(const Node& p, const Node& q) {
        if (!spend(1) || areBoxesApart(boxAt(p), boxAt(q))) {
            return;
        }
        if (p.level == 0) {
            for (std::size_t i = firstOf(p); i < endOf(p); ++i) {
                findFrom(i, q);
            }
        } else if (q.level == 0) {
            for (std::size_t i = firstOf(q); i < endOf(q); ++i) {
                findFrom(i, p);
            }
        } else {
            const bool dividesFirst = p.level >= q.level;
            const Node& divided = dividesFirst ? p : q;
            const Node& other = dividesFirst ? q : p;
            findBetween(below(divided, 0), other);
            if (hasSecond(divided)) {
                findBetween(below(divided, 1), other);
            }
        }
    }
    // The pairs of a face with those in a node.
    void findFrom(std::size_t place, const Node& node) {
        if (!spend(1) || !meets(owners[place], boxes[place], boxAt(node))) {
            return;
        }
        if (node.level == 0) {
            compareWith(place, firstOf(node), endOf(node));
            return;
        }
        findFrom(place, below(node, 0));
        if (hasSecond(node)) {
            findFrom(place, below(node, 1));
        }
    }
    void compareWith(std::size_t place, std::size_t from, std::size_t end) {
        spend(end - from);
        for (std::size_t i = from; i < end; ++i) {
            if (meets(owners[place], boxes[place], boxes[i])) {
                addPair(owners[place], boxes[place], owners[i], boxes[i]);
            }
        }
    }
    void addPair(std::uint32_t face, const Box& own, std::uint32_t other, const Box& its) {
        spend(stepsOfPair);
        if (mayChangePlaces(face, own, other, its) && !areFacesApart(faces, face, other)) {
            pairs.emplace_back(std::min(face, other), std::max(face, other));
        }
    }

    const RegionFaces& faces;
    std::vector<FacePair>& pairs;
    std::vector<Box> boxes;               // along the curve
    std::vector<std::uint32_t> owners;    // of each, a face
    std::vector<std::vector<Box>> levels; // leaves first, the root's level last
    std::size_t left = 0;                 // steps
};

} // namespace

bool areFacesApart(const RegionFaces& faces, std::uint32_t first, std::uint32_t second) {
    return hasSideBetween(faces, first, second) || hasSideBetween(faces, second, first);
}

bool findFacePairs(const RegionFaces& faces, std::vector<FacePair>& pairs, bool* tooMany) {
    *tooMany = false;
    pairs.clear();
    if (faces.faces().empty()) {
        return true;
    }
    PairFinder finder(faces, pairs);
    return finder.build() && finder.find(tooMany);
}
