#include "kivrender/vector/faceoverlaps.h"

#include <algorithm>
#include <utility>

namespace {

// In units of WorkPoll: to look at two boxes, to find out whether two faces are apart, and how they lie.
constexpr std::size_t workOfBoxes = 3;
constexpr std::size_t workOfSides = 60;
constexpr std::size_t workOfCommonArea = 500;

constexpr std::size_t fewFaces = 64;

// Squares with more are left to the end, so that where the work is not enough only they have to do without.
constexpr std::size_t manyFaces = 1024;

} // namespace

FaceOverlaps::FaceOverlaps(const std::vector<ScreenFace>& all, WorkPoll& poll, std::size_t work)
    : faces(all), cancel(poll), compared(all.size()), known(all.size()), workLeft(work) {}

void FaceOverlaps::takeHidden(std::uint32_t face, std::uint32_t cover) {
    if (faces[face].owner == faces[cover].owner)
        return;
    if (!known.insert(cover, face))
        return;
    hidden.emplace_back(faces[cover].owner, faces[face].owner);
    add(faceRelation(faces[face], faces[cover]), faces[face].owner, faces[cover].owner);
}

bool FaceOverlaps::takeSquare(const ScreenTree::Square& where, ScreenTree::Numbers found) {
    if (found.size() <= manyFaces)
        return compareAll(where, found);
    // Nobody sees which of so many is in front in so small a square.
    if (where.size > ScreenTree::smallest)
        crowded.push_back({where, {found.begin(), found.end()}});
    return true;
}

bool FaceOverlaps::finish() {
    std::stable_sort(crowded.begin(), crowded.end(),
                     [](const Crowd& a, const Crowd& b) { return a.numbers.size() < b.numbers.size(); });
    return std::all_of(crowded.begin(), crowded.end(),
                       [this](const Crowd& crowd) { return compareAll(crowd.square, crowd.numbers); });
}

bool FaceOverlaps::compareAll(const ScreenTree::Square& where, ScreenTree::Numbers found) {
    square = {where.corner, {where.corner.x + where.size, where.corner.y + where.size}};
    numbers = found;
    here.clear();
    for (const std::uint32_t number : numbers)
        here.push_back({faces[number].low(), faces[number].high()});
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!compareWithRest(i))
            return false;
    }
    return true;
}

// Whether what two boxes share lies in the square, so that their faces meet in no other.
bool FaceOverlaps::meetOnlyHere(const Box& first, const Box& second) const {
    return std::max(first.low.x, second.low.x) >= square.low.x && std::max(first.low.y, second.low.y) >= square.low.y &&
           std::min(first.high.x, second.high.x) <= square.high.x &&
           std::min(first.high.y, second.high.y) <= square.high.y;
}

// With the faces behind it in the square.
bool FaceOverlaps::compareWithRest(std::size_t which) {
    const Box box = here[which];
    const std::uint32_t number = numbers[which];
    const ScreenFace& face = faces[number];
    std::size_t work = workOfBoxes * (numbers.size() - which);
    for (std::size_t i = which + 1; i < numbers.size(); ++i) {
        const Box& other = here[i];
        if (other.low.x >= box.high.x || other.high.x <= box.low.x || other.low.y >= box.high.y ||
            other.high.y <= box.low.y)
            continue;
        const ScreenFace& second = faces[numbers[i]];
        if (face.owner == second.owner || compared.contains(number, numbers[i]))
            continue;
        work += workOfSides;
        if (face.isApartFrom(second))
            continue;
        // Where few faces meet, and their depths alone tell, a second look is cheaper than to know of the first.
        const FaceRelation relation =
            numbers.size() <= fewFaces ? relationOfDepths(face, second) : FaceRelation::Crossed;
        if (relation != FaceRelation::Crossed) {
            add(relation, face.owner, second.owner);
            continue;
        }
        if (!meetOnlyHere(box, other) && !compared.insert(number, numbers[i]))
            continue;
        work += workOfCommonArea;
        if (work > WorkPoll::workBetween && !noteWork(work))
            return false;
        if (workLeft == 0) {
            complete = false;
            break;
        }
        add(faceRelation(face, second), face.owner, second.owner);
    }
    return noteWork(work);
}

bool FaceOverlaps::noteWork(std::size_t& work) {
    const std::size_t done = std::exchange(work, 0);
    workLeft -= std::min(workLeft, done);
    return !cancel.isCancelled(done);
}

void FaceOverlaps::add(FaceRelation relation, std::uint32_t first, std::uint32_t second) {
    switch (relation) {
    case FaceRelation::Free:
        break;
    case FaceRelation::Over:
        ordered.emplace_back(second, first);
        break;
    case FaceRelation::Under:
        ordered.emplace_back(first, second);
        break;
    case FaceRelation::Level:
        level.push_back(std::minmax(first, second));
        break;
    case FaceRelation::Crossed:
        crossed.push_back(std::minmax(first, second));
        break;
    }
}
