#include "kivrender/vector/painting.h"

#include "kivrender/vector/pairorder.h"
#include "kivrender/vector/pairsort.h"

#include <algorithm>
#include <cmath>

namespace {

double depthOf(const FeedbackPrimitive& primitive) {
    double sum = 0;
    for (const FeedbackVertex& vertex : primitive.vertices)
        sum += vertex.z;
    const double mean = primitive.vertices.empty() ? 0 : sum / static_cast<double>(primitive.vertices.size());
    return std::isfinite(mean) ? mean : 0;
}

// Lines and points count as smallest: lines are cut, never areas by them.
double extentOf(const FeedbackPrimitive& primitive) {
    if (primitive.type != FeedbackToken::polygon)
        return -1;
    double twiceArea = 0;
    const std::vector<FeedbackVertex>& v = primitive.vertices;
    for (std::size_t i = 1; i + 1 < v.size(); ++i)
        twiceArea += (static_cast<double>(v[i].x) - v[0].x) * (static_cast<double>(v[i + 1].y) - v[0].y) -
                     (static_cast<double>(v[i + 1].x) - v[0].x) * (static_cast<double>(v[i].y) - v[0].y);
    return std::fabs(twiceArea);
}

// In units of WorkPoll: to read a primitive, to look at a pair, to compare two primitives, to cut one part by one face.
constexpr std::size_t workOfPrimitive = 300;
constexpr std::size_t workOfPair = 20;
constexpr std::size_t workOfRelation = 500;
constexpr std::size_t workOfCut = 400;

// Of one primitive, and of all that many. More would make files that no other program opens.
constexpr std::size_t mostPartsOfOne = 1024;
constexpr std::size_t mostPartsOf(std::size_t primitives) {
    return 65536 + 16 * primitives;
}

} // namespace

bool Painting::addFaces() {
    if (!alike.find(list, cancel))
        return false;
    groupOf.resize(list.size());
    faces.reserve(alike.numGroups());
    facesOf.reserve(alike.numGroups() + 1);
    facesOf.push_back(0);
    for (std::size_t group = 0; group < alike.numGroups(); ++group) {
        const Members members = alike.members(group);
        for (const std::uint32_t member : members)
            groupOf[member] = static_cast<std::uint32_t>(group);
        addScreenFaces(*list[members.back()], members.back(), shift, faces);
        facesOf.push_back(faces.size());
        if (cancel.isCancelled(workOfPrimitive + members.size()))
            return false;
    }
    return true;
}

bool Painting::findOverlaps() {
    if (!addFaces())
        return false;
    FaceOverlaps overlaps(faces, cancel, mostWork);
    if (!ScreenTree(faces, cancel).walk(overlaps) || !overlaps.finish())
        return false;
    complete = overlaps.isComplete();
    ordered.swap(overlaps.ordered);
    level.swap(overlaps.level);
    crossed.swap(overlaps.crossed);
    hidden.swap(overlaps.hidden);
    // Small ones are cut by large ones, as a meadow is not cut up by its grass.
    for (OwnerPair& pair : crossed) {
        if (extentOf(*list[pair.first]) < extentOf(*list[pair.second]))
            std::swap(pair.first, pair.second);
        if (cancel.isCancelled(workOfPrimitive))
            return false;
    }
    return sortPairs(ordered, list.size(), cancel) && sortPairs(level, list.size(), cancel) &&
           sortPairs(crossed, list.size(), cancel) && sortPairs(hidden, list.size(), cancel);
}

// Of two groups in one plane: each member before the next drawn of the other group.
void Painting::addLevelPairs(std::uint32_t first, std::uint32_t second, std::vector<OwnerPair>& pairs) const {
    const Members a = membersOf(first);
    const Members b = membersOf(second);
    for (std::size_t i = 0, k = 0; i < a.size() && k < b.size();) {
        if (a[i] < b[k]) {
            if (i + 1 == a.size() || a[i + 1] > b[k])
                pairs.emplace_back(a[i], b[k]);
            ++i;
        } else {
            if (k + 1 == b.size() || b[k + 1] > a[i])
                pairs.emplace_back(b[k], a[i]);
            ++k;
        }
    }
}

// What single primitives have to be painted before which others.
bool Painting::findPairs(std::vector<OwnerPair>& pairs) {
    pairs.reserve(ordered.size() + crossed.size());
    for (const std::vector<OwnerPair>* some : {&ordered, &crossed}) {
        for (const OwnerPair& pair : *some) {
            pairs.emplace_back(pair.first, membersOf(pair.second).front());
            if (cancel.isCancelled(workOfPair))
                return false;
        }
    }
    for (const OwnerPair& pair : level) {
        addLevelPairs(pair.first, pair.second, pairs);
        if (cancel.isCancelled(workOfPair * (membersOf(pair.first).size() + membersOf(pair.second).size())))
            return false;
    }
    for (std::size_t group = 0; group < alike.numGroups(); ++group) {
        const Members members = alike.members(group);
        for (std::size_t i = 1; i < members.size(); ++i)
            pairs.emplace_back(members[i - 1], members[i]);
        if (cancel.isCancelled(workOfPair * members.size()))
            return false;
    }
    return sortPairs(pairs, list.size(), cancel);
}

bool Painting::findOrder() {
    std::vector<OwnerPair> pairs;
    if (!findPairs(pairs))
        return false;
    std::vector<PairOrder::Thing> things;
    things.reserve(list.size());
    for (const FeedbackPrimitive* primitive : list) {
        things.push_back({depthOf(*primitive), primitive->type != FeedbackToken::polygon});
        if (cancel.isCancelled(workOfPair))
            return false;
    }
    if (!PairOrder(pairs, things, cancel).run(order))
        return false;
    placeOf.resize(order.size());
    for (std::uint32_t place = 0; place < order.size(); ++place)
        placeOf[order[place]] = place;
    return true;
}

bool Painting::orderByDepth() {
    isCut.assign(list.size(), false);
    return findOrder(); // nothing is known to overlap
}

// Notes which members of the one group are painted after one of the other.
void Painting::addCovers(std::uint32_t behind, std::uint32_t cover) {
    const Members all = membersOf(cover);
    const std::uint32_t first = *std::min_element(
        all.begin(), all.end(), [this](std::uint32_t a, std::uint32_t b) { return placeOf[a] < placeOf[b]; });
    for (const std::uint32_t member : membersOf(behind)) {
        if (placeOf[member] > placeOf[first])
            covers.emplace_back(member, first);
    }
}

// The same for two groups in one plane, or one: which members are painted after one that was drawn later.
void Painting::addLevelCovers(std::uint32_t behind, std::uint32_t cover) {
    const Members lower = membersOf(behind);
    const Members upper = membersOf(cover);
    const std::uint32_t* first = nullptr;
    for (std::size_t i = lower.size(), k = upper.size(); i-- > 0;) {
        for (; k > 0 && upper[k - 1] > lower[i]; --k) {
            if (!first || placeOf[upper[k - 1]] < placeOf[*first])
                first = &upper[k - 1];
        }
        if (first && placeOf[lower[i]] > placeOf[*first])
            covers.emplace_back(lower[i], *first);
    }
}

bool Painting::isUnder(std::uint32_t first, std::uint32_t second) const {
    for (std::size_t i = facesOf[groupOf[first]]; i < facesOf[groupOf[first] + 1]; ++i) {
        for (std::size_t k = facesOf[groupOf[second]]; k < facesOf[groupOf[second] + 1]; ++k) {
            const FaceRelation relation = faceRelation(faces[i], faces[k]);
            if (relation == FaceRelation::Under || relation == FaceRelation::Crossed ||
                (relation == FaceRelation::Level && first < second))
                return true;
        }
    }
    return false;
}

// What loses a part no longer hides there what is behind it, and that has not been compared with what takes the part.
bool Painting::addFartherCovers() {
    PairSet known(list.size());
    for (const auto& [behind, cover] : covers)
        known.insert(cover, behind);
    for (std::size_t i = 0; i < covers.size(); ++i) {
        const auto [behind, cover] = covers[i];
        const std::uint32_t owner = membersOf(behind).back();
        auto pair = std::lower_bound(hidden.begin(), hidden.end(), OwnerPair(owner, 0));
        for (; pair != hidden.end() && pair->first == owner; ++pair) {
            const Members members = membersOf(pair->second);
            if (cancel.isCancelled(workOfPair * members.size()))
                return false;
            for (const std::uint32_t farther : members) {
                if (placeOf[farther] <= placeOf[cover] || !known.insert(cover, farther))
                    continue;
                if (cancel.isCancelled(workOfRelation))
                    return false;
                if (isUnder(farther, cover))
                    covers.emplace_back(farther, cover);
            }
        }
    }
    return true;
}

bool Painting::findCovers() {
    for (const OwnerPair& pair : ordered) {
        addCovers(pair.first, pair.second);
        if (cancel.isCancelled(workOfPair * (membersOf(pair.first).size() + membersOf(pair.second).size())))
            return false;
    }
    for (const OwnerPair& pair : crossed) {
        addCovers(pair.first, pair.second);
        addCovers(pair.second, pair.first);
        if (cancel.isCancelled(workOfPair * (membersOf(pair.first).size() + membersOf(pair.second).size())))
            return false;
    }
    for (const OwnerPair& pair : level) {
        addLevelCovers(pair.first, pair.second);
        addLevelCovers(pair.second, pair.first);
        if (cancel.isCancelled(workOfPair * (membersOf(pair.first).size() + membersOf(pair.second).size())))
            return false;
    }
    for (std::size_t group = 0; group < alike.numGroups(); ++group) {
        const Members members = alike.members(group);
        if (members.size() > 1)
            addLevelCovers(members.back(), members.back());
        if (cancel.isCancelled(workOfPair * members.size()))
            return false;
    }
    return sortPairs(covers, list.size(), cancel) && addFartherCovers() && sortPairs(covers, list.size(), cancel);
}

bool Painting::hasRoomFor(const CoveredParts& pieces) const {
    return pieces.size() <= mostPartsOfOne && numParts + pieces.size() <= mostPartsOf(list.size());
}

// All covers of one primitive.
bool Painting::cut(std::span<const OwnerPair> some) {
    const std::uint32_t number = some[0].first;
    CoveredParts pieces(*list[number], number, shift);
    for (const OwnerPair& pair : some) {
        const std::uint32_t cover = pair.second;
        const std::uint32_t group = groupOf[cover];
        for (std::size_t i = facesOf[group]; i < facesOf[group + 1]; ++i) {
            if (!hasRoomFor(pieces)) {
                complete = false;
                break;
            }
            if (cancel.isCancelled(workOfCut * (1 + pieces.size())))
                return false;
            ScreenFace face = faces[i];
            face.owner = cover;
            pieces.takeAway(face, placeOf[cover]);
        }
    }
    if (pieces.isChanged())
        addParts(number, pieces);
    return true;
}

void Painting::addParts(std::uint32_t number, CoveredParts& pieces) {
    isCut[number] = true;
    numParts += pieces.size();
    for (CoveredParts::Part& part : pieces.parts()) {
        const double depth = depthOf(*part.shape);
        if (part.before == CoveredParts::atItsPlace)
            instead.emplace_back(placeOf[number], Made{std::move(part.shape), number, depth});
        else
            before.emplace_back(part.before, Made{std::move(part.shape), number, depth});
    }
}

bool Painting::cutCovered() {
    if (!findCovers())
        return false;
    isCut.assign(list.size(), false);
    for (std::size_t first = 0; first < covers.size();) {
        std::size_t last = first + 1;
        while (last < covers.size() && covers[last].first == covers[first].first)
            ++last;
        if (!cut(std::span(covers).subspan(first, last - first)))
            return false;
        first = last;
    }
    std::stable_sort(instead.begin(), instead.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::stable_sort(before.begin(), before.end(), [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : a.second.depth > b.second.depth;
    });
    return true;
}

void Painting::assemble(FeedbackPrimitiveList& painted, FeedbackPrimitiveList& replaced,
                        std::vector<std::uint32_t>& origins) {
    auto nextBefore = before.begin();
    auto nextInstead = instead.begin();
    const auto paint = [&](FeedbackPrimitive* primitive, std::uint32_t origin) {
        painted.push_back(primitive);
        origins.push_back(origin);
    };
    const auto paintMade = [&](auto& next, const auto& end, std::uint32_t place) {
        for (; next != end && next->first == place; ++next)
            paint(next->second.shape.release(), next->second.origin);
    };
    for (std::uint32_t place = 0; place < order.size(); ++place) {
        paintMade(nextBefore, before.end(), place);
        const std::uint32_t number = order[place];
        if (isCut[number])
            replaced.push_back(list[number]);
        else
            paint(list[number], number);
        paintMade(nextInstead, instead.end(), place);
    }
}
