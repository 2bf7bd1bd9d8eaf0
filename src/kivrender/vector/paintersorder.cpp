#include "kivrender/vector/paintersorder.h"

#include "kivrender/vector/primitivecut.h"
#include "kivrender/vector/screenarea.h"
#include "kivrender/vector/screentree.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <numeric>
#include <queue>
#include <utility>

namespace {

// Primitive first has to be painted before primitive second; or, of a crossing, the smaller number and the larger one.
using Pair = std::pair<std::uint32_t, std::uint32_t>;

enum class Relation {
    Free,    // does not lie over the other
    Over,    // the first has to be painted after the second
    Under,   // the first has to be painted before the second
    Crossed, // each lies over the other somewhere
};

// Where two faces run through one another by less than this many times the noise, nothing is to be gained by a cut: the
// file does not hold places that exactly.
constexpr double leastCrossing = 16.0;

// Corners that a cut makes are rounded: parts of neighbours may overlap by so many steps of the grid without a meaning.
constexpr double cutNoise = 4.0;

// How near to its middle line a stroke is compared with an area that this line runs over, in grid steps. A line lies
// on the sides of the areas that it belongs to, or, where those were divided, very nearly.
constexpr double middleReach = 0.35 * ScreenGrid::stepsPerPixel;

ScreenArea commonArea(const ScreenFace& first, const ScreenFace& second) {
    ScreenArea common(first);
    for (int i = 0; i < second.count; ++i)
        common.clip(second.side(i));
    return common;
}

// A stroke without its width, two steps across, and without what its ends add.
ScreenFace middleOf(const ScreenFace& stroke) {
    const ScreenPoint* c = stroke.corners;
    const double acrossX = static_cast<double>(c[3].x) - c[0].x;
    const double acrossY = static_cast<double>(c[3].y) - c[0].y;
    const double width = std::hypot(acrossX, acrossY);
    const double x = acrossX / width;
    const double y = acrossY / width;
    const double inX = 0.5 * width * y;
    const double inY = -0.5 * width * x;
    const auto place = [&](const ScreenPoint& low, const ScreenPoint& high, double in, double across) {
        return ScreenPoint{static_cast<std::int32_t>(std::lround(0.5 * (low.x + high.x) + in * inX + across * x)),
                           static_cast<std::int32_t>(std::lround(0.5 * (low.y + high.y) + in * inY + across * y))};
    };
    ScreenFace middle = stroke;
    // The depth stays that of the stroke, which is a plane through its first corner.
    const ScreenPoint first = place(c[0], c[3], 1, -1);
    middle.depth += middle.slopeX * (first.x - c[0].x) + middle.slopeY * (first.y - c[0].y);
    middle.corners[0] = first;
    middle.corners[1] = place(c[1], c[2], -1, -1);
    middle.corners[2] = place(c[1], c[2], -1, 1);
    middle.corners[3] = place(c[0], c[3], 1, 1);
    middle.reach = static_cast<float>(middleReach);
    return middle;
}

// How much farther an area lies than a stroke. What the middle line does not run over is never crossed: it hides the
// stroke's side or it does not.
bool findStrokeDistance(const ScreenFace& area, const ScreenFace& stroke, ScreenDistance* distance) {
    const ScreenFace middle = middleOf(stroke);
    const ScreenArea along = commonArea(area, middle);
    if (!along.isEmpty() && along.thickness() > 0.75) {
        *distance = distanceOver(along, area, middle);
        return true;
    }
    const ScreenArea beside = commonArea(area, stroke);
    if (beside.isEmpty())
        return false;
    *distance = distanceOver(beside, area, stroke);
    if (distance->order() == ScreenOrder::Crossed)
        distance->least = 0;
    return true;
}

// How much farther the first lies than the second where they lie over one another, in an area at least that thick.
// False where there is none.
bool findDistance(const ScreenFace& first, const ScreenFace& second, double thickness, ScreenDistance* distance) {
    if (first.isApartFrom(second))
        return false;
    if (first.reach == 0.0F && second.reach > 0.0F)
        return findStrokeDistance(first, second, distance);
    if (first.reach > 0.0F && second.reach == 0.0F) {
        if (!findStrokeDistance(second, first, distance))
            return false;
        const double least = distance->least;
        distance->least = -distance->most;
        distance->most = -least;
        return true;
    }
    const ScreenArea common = commonArea(first, second);
    if (common.isEmpty() || common.thickness() < thickness)
        return false;
    *distance = distanceOver(common, first, second);
    return true;
}

Relation relationFrom(const ScreenDistance& distance, bool firstIsLater) {
    switch (distance.order()) {
    case ScreenOrder::Front:
        return Relation::Over;
    case ScreenOrder::Behind:
        return Relation::Under;
    case ScreenOrder::Level:
        return firstIsLater ? Relation::Over : Relation::Under;
    case ScreenOrder::Crossed:
        break;
    }
    if (std::min(-distance.least, distance.most) > leastCrossing * distance.noise)
        return Relation::Crossed;
    return -distance.least > distance.most ? Relation::Over : Relation::Under;
}

Relation relationOf(const ScreenFace& first, const ScreenFace& second) {
    const double noise = first.noise + second.noise;
    if (first.highDepth + noise + handicap(first, second) < second.lowDepth)
        return first.isApartFrom(second) ? Relation::Free : Relation::Over;
    if (second.highDepth + noise + handicap(second, first) < first.lowDepth)
        return first.isApartFrom(second) ? Relation::Free : Relation::Under;
    ScreenDistance distance;
    return findDistance(first, second, 0, &distance) ? relationFrom(distance, first.owner > second.owner)
                                                     : Relation::Free;
}

void removeDoubles(std::vector<Pair>& pairs) {
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
}

// Gathers what lies over what. A pair comes up once for each square that it meets in.
class OverlapVisitor : public ScreenTree::Visitor {
public:
    explicit OverlapVisitor(const std::vector<ScreenFace>& all) : faces(all) {}

    bool wants(ScreenTree::Numbers) override {
        return true;
    }
    void takeHidden(std::uint32_t face, std::uint32_t cover) override {
        if (faces[face].owner != faces[cover].owner)
            ordered.emplace_back(faces[face].owner, faces[cover].owner);
    }
    void takeSquare(const ScreenTree::Square&, ScreenTree::Numbers numbers) override {
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            for (std::size_t k = i + 1; k < numbers.size(); ++k)
                take(faces[numbers[i]], faces[numbers[k]]);
        }
        if (ordered.size() > 2 * known + 65536) {
            removeDoubles(ordered);
            known = ordered.size();
        }
    }

    std::vector<Pair> ordered;
    std::vector<Pair> crossed;

private:
    void take(const ScreenFace& first, const ScreenFace& second) {
        if (first.owner == second.owner)
            return;
        const Relation relation = relationOf(first, second);
        if (relation == Relation::Over)
            ordered.emplace_back(second.owner, first.owner);
        else if (relation == Relation::Under)
            ordered.emplace_back(first.owner, second.owner);
        else if (relation == Relation::Crossed)
            crossed.push_back(std::minmax(first.owner, second.owner));
    }

    const std::vector<ScreenFace>& faces;
    std::size_t known = 0;
};

// One thing to paint: a primitive of the list, or a part of one.
struct Part {
    std::unique_ptr<FeedbackPrimitive> made; // null for a primitive of the list
    std::vector<ScreenFace> faces;           // all with the number of the primitive of the list
    std::uint32_t number = 0;                // of the part
};

// The primitives that cross others, in as many parts as that takes.
class CutPrimitives {
public:
    CutPrimitives(const FeedbackPrimitiveList& all, const PolygonShift& offset) : list(all), shift(offset) {}

    void cut(const Pair& crossed) {
        std::vector<Part>& first = partsOf(crossed.first);
        std::vector<Part>& second = partsOf(crossed.second);
        // Small ones are cut by large ones, as a meadow is not cut up by its grass.
        const bool firstIsCut = extent(*list[crossed.first]) < extent(*list[crossed.second]);
        cutBy(firstIsCut ? first : second, firstIsCut ? second : first);
    }
    bool isCut(std::uint32_t primitive) const {
        const auto found = parts.find(primitive);
        return found != parts.end() && found->second.size() > 1;
    }
    std::vector<Part>& partsOf(std::uint32_t primitive) {
        std::vector<Part>& all = parts[primitive];
        if (all.empty()) {
            all.emplace_back().number = primitive;
            addScreenFaces(*list[primitive], primitive, shift, all[0].faces);
        }
        return all;
    }
    // Puts the parts into a list that begins as a copy of that of the primitives: the first in its primitive's place,
    // which is deleted, the others behind all. places tells of each thing the place of its primitive.
    void place(FeedbackPrimitiveList& things, std::vector<std::uint32_t>& places) {
        for (auto& [primitive, pieces] : parts) {
            if (pieces[0].made) {
                delete things[primitive];
                things[primitive] = pieces[0].made.release();
            }
            for (std::size_t i = 1; i < pieces.size(); ++i) {
                pieces[i].number = static_cast<std::uint32_t>(things.size());
                things.push_back(pieces[i].made.release());
                places.push_back(primitive);
            }
        }
    }

private:
    static constexpr std::size_t mostParts = 64; // of one primitive

    // Lines and points count as smallest: lines are cut, never areas by them.
    static double extent(const FeedbackPrimitive& primitive) {
        if (primitive.type != FeedbackToken::polygon)
            return -1;
        double twiceArea = 0;
        const std::vector<FeedbackVertex>& v = primitive.vertices;
        for (std::size_t i = 1; i + 1 < v.size(); ++i)
            twiceArea += (static_cast<double>(v[i].x) - v[0].x) * (static_cast<double>(v[i + 1].y) - v[0].y) -
                         (static_cast<double>(v[i + 1].x) - v[0].x) * (static_cast<double>(v[i].y) - v[0].y);
        return std::fabs(twiceArea);
    }
    // Where the depths of two faces are the same.
    static WindowLine meeting(const ScreenFace& first, const ScreenFace& second) {
        // Lines are cut where their middle meets the area.
        const double slope =
            first.reach > 0.0F ? std::hypot(second.slopeX, second.slopeY) : std::hypot(first.slopeX, first.slopeY);
        const double lead = first.reach > 0.0F ? -middleReach * slope : second.reach > 0.0F ? middleReach * slope : 0.0;
        const auto depthAtOrigin = [](const ScreenFace& face) {
            return face.depth - face.slopeX * face.corners[0].x - face.slopeY * face.corners[0].y;
        };
        return {(first.slopeX - second.slopeX) * ScreenGrid::stepsPerPixel,
                (first.slopeY - second.slopeY) * ScreenGrid::stepsPerPixel,
                depthAtOrigin(first) - depthAtOrigin(second) + lead + offsetBetween(first, second)};
    }
    void cutBy(std::vector<Part>& pieces, const std::vector<Part>& others) {
        for (const Part& other : others) {
            for (const ScreenFace& face : other.faces) {
                // What a cut adds stands behind its piece and is not cut by the same face again.
                for (std::size_t i = pieces.size(); i > 0 && pieces.size() < mostParts; --i)
                    cutOne(pieces, i - 1, face);
            }
        }
    }
    void cutOne(std::vector<Part>& pieces, std::size_t which, const ScreenFace& other) {
        for (const ScreenFace& face : pieces[which].faces) {
            if (relationOf(face, other) != Relation::Crossed)
                continue;
            const FeedbackPrimitive& whole = pieces[which].made ? *pieces[which].made : *list[face.owner];
            const std::uint32_t owner = face.owner;
            PrimitiveParts halves = cutPrimitive(whole, meeting(face, other));
            if (!halves.below)
                continue;
            Part& first = pieces[which];
            first.made = std::move(halves.below);
            first.faces.clear();
            addScreenFaces(*first.made, owner, shift, first.faces);
            Part second;
            second.made = std::move(halves.above);
            addScreenFaces(*second.made, owner, shift, second.faces);
            pieces.push_back(std::move(second));
            return;
        }
    }

    const FeedbackPrimitiveList& list;
    PolygonShift shift;
    std::map<std::uint32_t, std::vector<Part>> parts;
};

double depthOf(const FeedbackPrimitive& primitive) {
    double sum = 0;
    for (const FeedbackVertex& vertex : primitive.vertices)
        sum += vertex.z;
    const double mean = primitive.vertices.empty() ? 0 : sum / static_cast<double>(primitive.vertices.size());
    return std::isfinite(mean) ? mean : 0;
}

// Brings numbers into an order in which each pair's first stands before its second; of those that are free to come, the
// farthest first. Where pairs run in a circle one of it comes all the same: a stroke, if there is one, since a piece of
// a line that is missing is seen less than a piece of an area; otherwise the farthest.
class PairOrder {
public:
    PairOrder(const std::vector<Pair>& all, const std::vector<double>& depthOfEach, const std::vector<bool>& stroke)
        : pairs(all), depths(depthOfEach), isStroke(stroke), begin(depths.size() + 1, 0), waits(depths.size(), 0),
          taken(depths.size(), false), ready(Nearer{&depths}), stepsLeft(16 * depths.size()) {
        for (const Pair& pair : pairs) {
            ++begin[pair.first + 1];
            ++waits[pair.second];
        }
        std::partial_sum(begin.begin(), begin.end(), begin.begin());
    }

    std::vector<std::uint32_t> run() {
        const std::size_t count = depths.size();
        std::vector<std::uint32_t> order;
        order.reserve(count);
        for (std::uint32_t number = 0; number < count; ++number) {
            if (waits[number] == 0)
                ready.push(number);
        }
        while (order.size() < count) {
            if (ready.empty())
                ready.push(pickFromCircle());
            const std::uint32_t number = ready.top();
            ready.pop();
            if (taken[number])
                continue;
            taken[number] = true;
            order.push_back(number);
            for (std::size_t i = begin[number]; i < begin[number + 1]; ++i) {
                if (--waits[pairs[i].second] == 0)
                    ready.push(pairs[i].second);
            }
        }
        return order;
    }

private:
    struct Nearer {
        const std::vector<double>* depths;

        bool operator()(std::uint32_t a, std::uint32_t b) const {
            return (*depths)[a] < (*depths)[b] || ((*depths)[a] == (*depths)[b] && a > b);
        }
    };

    void prepareCircles() {
        farthestFirst.resize(depths.size());
        std::iota(farthestFirst.begin(), farthestFirst.end(), 0U);
        std::sort(farthestFirst.begin(), farthestFirst.end(),
                  [&](std::uint32_t a, std::uint32_t b) { return Nearer{&depths}(b, a); });
        before.reserve(pairs.size());
        for (const Pair& pair : pairs)
            before.emplace_back(pair.second, pair.first);
        std::sort(before.begin(), before.end());
    }
    // One that has to come before and has not come yet.
    std::uint32_t blockerOf(std::uint32_t number) const {
        auto pair = std::lower_bound(before.begin(), before.end(), Pair(number, 0));
        while (pair != before.end() && pair->first == number && taken[pair->second])
            ++pair;
        return pair != before.end() && pair->first == number ? pair->second : number;
    }
    std::uint32_t pickFromCircle() {
        if (farthestFirst.empty())
            prepareCircles();
        while (taken[farthestFirst[stuck]])
            ++stuck;
        std::uint32_t number = farthestFirst[stuck];
        // Whoever is followed long enough from blocker to blocker leads into a circle.
        std::map<std::uint32_t, std::size_t> seen;
        std::vector<std::uint32_t> way;
        for (; stepsLeft > 0 && !seen.contains(number); --stepsLeft) {
            seen[number] = way.size();
            way.push_back(number);
            number = blockerOf(number);
        }
        if (stepsLeft == 0)
            return farthestFirst[stuck];
        const auto circle = way.begin() + static_cast<std::ptrdiff_t>(seen[number]);
        return *std::max_element(circle, way.end(), [&](std::uint32_t a, std::uint32_t b) {
            return isStroke[a] != isStroke[b] ? isStroke[b] : Nearer{&depths}(a, b);
        });
    }

    const std::vector<Pair>& pairs;
    const std::vector<double>& depths;
    const std::vector<bool>& isStroke;
    std::vector<std::size_t> begin;   // of each number's pairs
    std::vector<std::uint32_t> waits; // for so many
    std::vector<bool> taken;
    std::priority_queue<std::uint32_t, std::vector<std::uint32_t>, Nearer> ready;
    std::vector<std::uint32_t> farthestFirst;
    std::vector<Pair> before;
    std::size_t stuck = 0;
    std::size_t stepsLeft;
};

// What still crosses after all cuts is told apart by what lies farther over the other.
Relation relationOf(const Part& first, const Part& second) {
    ScreenDistance all;
    bool meet = false;
    for (const ScreenFace& face : first.faces) {
        for (const ScreenFace& other : second.faces) {
            ScreenDistance distance;
            if (findDistance(face, other, cutNoise, &distance)) {
                all.least = meet ? std::min(all.least, distance.least) : distance.least;
                all.most = meet ? std::max(all.most, distance.most) : distance.most;
                all.noise = std::max(all.noise, distance.noise);
                meet = true;
            }
        }
    }
    if (!meet)
        return Relation::Free;
    const Relation relation = relationFrom(all, first.faces[0].owner > second.faces[0].owner);
    if (relation != Relation::Crossed)
        return relation;
    return -all.least > all.most ? Relation::Over : Relation::Under;
}

void addPairs(CutPrimitives& cuts, const Pair& primitives, std::vector<Pair>& pairs) {
    for (const Part& first : cuts.partsOf(primitives.first)) {
        for (const Part& second : cuts.partsOf(primitives.second)) {
            const Relation relation = relationOf(first, second);
            if (relation == Relation::Over)
                pairs.emplace_back(second.number, first.number);
            else if (relation == Relation::Under)
                pairs.emplace_back(first.number, second.number);
        }
    }
}

// What of the things that are painted comes before what.
std::vector<Pair> pairsOfParts(const OverlapVisitor& overlaps, CutPrimitives& cuts) {
    std::vector<Pair> pairs;
    for (const Pair& pair : overlaps.ordered) {
        if (cuts.isCut(pair.first) || cuts.isCut(pair.second))
            addPairs(cuts, pair, pairs);
        else
            pairs.push_back(pair);
    }
    for (const Pair& pair : overlaps.crossed)
        addPairs(cuts, pair, pairs);
    removeDoubles(pairs);
    return pairs;
}

} // namespace

PaintersOrder::PaintersOrder(const PolygonShift& offset) : shift(offset) {}

bool PaintersOrder::sort(FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins) const {
    std::vector<ScreenFace> faces;
    faces.reserve(list->size());
    for (std::size_t i = 0; i < list->size(); ++i)
        addScreenFaces(*(*list)[i], static_cast<std::uint32_t>(i), shift, faces);
    OverlapVisitor overlaps(faces);
    if (!ScreenTree(faces).walk(overlaps))
        return false;
    std::vector<ScreenFace>().swap(faces);
    removeDoubles(overlaps.ordered);
    removeDoubles(overlaps.crossed);

    CutPrimitives cuts(*list, shift);
    for (const Pair& pair : overlaps.crossed)
        cuts.cut(pair);
    FeedbackPrimitiveList things = *list;
    std::vector<std::uint32_t> places(list->size());
    std::iota(places.begin(), places.end(), 0U);
    cuts.place(things, places);
    const std::vector<Pair> pairs = pairsOfParts(overlaps, cuts);
    std::vector<double> depths;
    std::vector<bool> isStroke;
    for (const FeedbackPrimitive* thing : things) {
        depths.push_back(depthOf(*thing));
        isStroke.push_back(thing->type != FeedbackToken::polygon);
    }
    list->clear();
    if (origins)
        origins->clear();
    for (const std::uint32_t number : PairOrder(pairs, depths, isStroke).run()) {
        list->push_back(things[number]);
        if (origins)
            origins->push_back(places[number]);
    }
    return true;
}
