#include "kivrender/vector/hiddenprimitives.h"

#include "kivrender/vector/likeprimitives.h"
#include "kivrender/vector/screenarea.h"
#include "kivrender/vector/screentree.h"

#include <algorithm>
#include <cmath>

namespace {

// Finds of each primitive whether any part of it is seen.
class SightVisitor : public ScreenTree::Visitor {
public:
    SightVisitor(const std::vector<ScreenFace>& all, std::vector<bool>& found, WorkPoll& poll)
        : faces(all), seen(found), cancel(poll) {}

    bool wants(ScreenTree::Numbers numbers) override {
        return !std::all_of(numbers.begin(), numbers.end(), [&](std::uint32_t number) { return isSeen(number); });
    }
    void takeHidden(std::uint32_t, std::uint32_t) override {}
    bool takeSquare(const ScreenTree::Square& square, ScreenTree::Numbers numbers) override;

private:
    // With more covers in a square all its faces count as seen, and so does a face that is cut into more pieces.
    static constexpr std::size_t mostCovers = 256;
    static constexpr std::size_t mostPieces = 96;

    bool isSeen(std::uint32_t number) const {
        return seen[faces[number].owner];
    }
    bool isSeenIn(const ScreenFace& face, const ScreenArea& part);
    bool isSeenAt(const ScreenFace& face, const ScreenArea::Place& place) const;
    bool takeAway(const ScreenFace& cover, const ScreenFace& face);

    const std::vector<ScreenFace>& faces;
    std::vector<bool>& seen;
    WorkPoll& cancel;
    std::vector<const ScreenFace*> covers; // of the square, nearest first
    std::vector<ScreenArea> pieces;
    std::vector<ScreenArea> left;
};

bool hides(ScreenOrder order, const ScreenFace& cover, const ScreenFace& face) {
    return order == ScreenOrder::Front || (order == ScreenOrder::Level && cover.owner > face.owner);
}

// A quick answer: true only when no cover can lie over that place of the face.
bool SightVisitor::isSeenAt(const ScreenFace& face, const ScreenArea::Place& place) const {
    const double depth = face.depthAt(place.x, place.y) + face.noise;
    for (const ScreenFace* cover : covers) {
        if (cover->lowDepth > depth + cover->noise)
            continue;
        // A side with the place well on its right.
        bool beside = false;
        for (int i = 0; i < cover->count && !beside; ++i) {
            const ScreenLine side = cover->side(i);
            const double value = side.a * place.x + side.b * place.y + static_cast<double>(side.c);
            beside = value < -0.01 * (std::fabs(side.a) + std::fabs(side.b));
        }
        if (!beside && cover->owner != face.owner &&
            cover->depthAt(place.x, place.y) + handicap(*cover, face) <= depth + cover->noise)
            return false;
    }
    return true;
}

// Takes from the pieces of the face what lies behind the cover. False when that makes too many pieces.
bool SightVisitor::takeAway(const ScreenFace& cover, const ScreenFace& face) {
    left.clear();
    // Mostly the depths alone tell, without a look at the places.
    const bool isNearer = cover.highDepth + cover.noise + face.noise + handicap(cover, face) < face.lowDepth;
    for (const ScreenArea& piece : pieces) {
        const std::size_t before = left.size();
        ScreenArea common = piece;
        ScreenArea outside;
        for (int i = 0; i < cover.count && !common.isEmpty(); ++i) {
            if (!common.split(cover.side(i), outside))
                return false;
            if (!outside.isEmpty())
                left.push_back(outside);
        }
        if (common.isEmpty() || (!isNearer && !hides(distanceOver(common, cover, face).order(), cover, face))) {
            left.resize(before);
            left.push_back(piece);
        }
        if (left.size() > mostPieces)
            return false;
    }
    pieces.swap(left);
    return true;
}

ScreenArea::Place middleOf(const ScreenArea& area) {
    ScreenArea::Place middle;
    for (int i = 0; i < area.numCorners(); ++i) {
        const ScreenArea::Place corner = area.corner(i);
        middle.x += corner.x / area.numCorners();
        middle.y += corner.y / area.numCorners();
    }
    return middle;
}

// Whether anything is left of the part when all that lies in front has been taken away.
bool SightVisitor::isSeenIn(const ScreenFace& face, const ScreenArea& part) {
    pieces.assign(1, part);
    for (const ScreenFace* cover : covers) {
        if (cover->lowDepth > face.highDepth + cover->noise + face.noise || cover->owner == face.owner ||
            cover->isApartFrom(face))
            continue;
        if (!takeAway(*cover, face))
            return true;
        if (pieces.empty())
            return false;
    }
    return true;
}

bool SightVisitor::takeSquare(const ScreenTree::Square& square, ScreenTree::Numbers numbers) {
    covers.clear();
    for (const std::uint32_t number : numbers) {
        if (faces[number].covers)
            covers.push_back(&faces[number]);
    }
    if (covers.size() > mostCovers) {
        for (const std::uint32_t number : numbers)
            seen[faces[number].owner] = true;
        return true;
    }
    // Near faces hide most.
    std::sort(covers.begin(), covers.end(), [](const ScreenFace* a, const ScreenFace* b) {
        return a->lowDepth < b->lowDepth || (a->lowDepth == b->lowDepth && a < b);
    });
    for (const std::uint32_t number : numbers) {
        const ScreenFace& face = faces[number];
        if (seen[face.owner])
            continue;
        ScreenArea part(face);
        const bool fits = part.clip(square.corner, square.size);
        if (!part.isEmpty())
            seen[face.owner] = !fits || isSeenAt(face, middleOf(part)) || isSeenIn(face, part);
        if (cancel.isCancelled(50 * covers.size()))
            return false;
    }
    return true;
}

// Primitives at the same place: the last hides the others at once.
bool addLike(const FeedbackPrimitiveList& list, std::span<const std::uint32_t> members, const PolygonShift& shift,
             std::vector<ScreenFace>& faces, std::vector<bool>& seen, WorkPoll& cancel) {
    const std::size_t first = faces.size();
    for (std::size_t i = members.size(); i-- > 0;) {
        if (cancel.isCancelled(300))
            return false;
        seen[members[i]] = !addScreenFaces(*list[members[i]], members[i], shift, faces);
        const auto isCover = [](const ScreenFace& face) { return face.covers; };
        if (faces.size() > first &&
            std::all_of(faces.begin() + static_cast<std::ptrdiff_t>(first), faces.end(), isCover))
            break;
    }
    return true;
}

} // namespace

HiddenPrimitives::HiddenPrimitives(const PolygonShift& offset) : shift(offset) {}

bool HiddenPrimitives::remove(FeedbackPrimitiveList* list) const {
    WorkPoll cancel;
    LikePrimitives alike;
    if (!alike.find(*list, cancel))
        return false;
    std::vector<ScreenFace> faces;
    faces.reserve(alike.numGroups());
    std::vector<bool> seen(list->size(), false);
    for (std::size_t group = 0; group < alike.numGroups(); ++group) {
        if (!addLike(*list, alike.members(group), shift, faces, seen, cancel))
            return false;
    }
    SightVisitor visitor(faces, seen, cancel);
    if (!ScreenTree(faces, cancel).walk(visitor))
        return false;
    FeedbackPrimitiveList left;
    for (std::size_t i = 0; i < list->size(); ++i) {
        if (seen[i])
            left.push_back((*list)[i]);
        else
            delete (*list)[i];
    }
    list->swap(left);
    return true;
}
