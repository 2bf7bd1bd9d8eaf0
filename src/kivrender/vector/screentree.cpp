#include "kivrender/vector/screentree.h"

#include <algorithm>
#include <numeric>

namespace {

// In units of WorkPoll: to find out whether a face meets a square, or lies behind another there.
constexpr std::size_t workOfTest = 25;
// And, as visitors do, to look at a pair.
constexpr std::size_t workOfPair = 5;

// How often faces may be counted into parts of squares.
constexpr std::size_t leastBudget = 4000000;
constexpr std::size_t budgetOfFace = 64;

std::size_t costOfPairs(std::size_t count) {
    return count * count / 2 * workOfPair;
}

// Of two areas: whether the first lies behind all of the second in the square, by their planes. Of what lies in one
// plane the later drawn hides the other.
bool liesBehind(const ScreenFace& face, const ScreenFace& cover, const ScreenTree::Square& square) {
    if (face.reach > 0.0F)
        return false;
    const double noise = face.noise + cover.noise;
    const ScreenPoint high = {square.corner.x + square.size, square.corner.y + square.size};
    const PlaneDistance distance = planeDistance(face, cover, square.corner, high);
    return distance.least > noise || (distance.least >= -noise && distance.most <= noise && face.owner < cover.owner);
}

} // namespace

ScreenTree::ScreenTree(const std::vector<ScreenFace>& all, WorkPoll& poll) : faces(all), cancel(poll) {}

bool ScreenTree::walk(Visitor& visitor) {
    if (faces.empty())
        return true;
    ScreenPoint low = faces[0].corners[0];
    ScreenPoint high = low;
    for (const ScreenFace& face : faces) {
        for (int i = 0; i < face.count; ++i) {
            low = {std::min(low.x, face.corners[i].x), std::min(low.y, face.corners[i].y)};
            high = {std::max(high.x, face.corners[i].x), std::max(high.y, face.corners[i].y)};
        }
    }
    Square square;
    square.corner = low;
    square.size = smallest;
    while (square.size < std::max(high.x - low.x, high.y - low.y))
        square.size *= 2;
    numbers.resize(faces.size());
    std::iota(numbers.begin(), numbers.end(), 0U);
    std::size_t budget = leastBudget + budgetOfFace * faces.size();
    std::size_t cost = 0;
    if (!plan(square, 0, budget, cost))
        return false;
    numbers.resize(faces.size());
    std::iota(numbers.begin(), numbers.end(), 0U);
    return walk(square, 0, visitor);
}

// Finds the face that fills the square and whose farthest place there is nearest, and leaves out what lies behind it.
void ScreenTree::leaveOutHidden(const Square& square, std::size_t first, Visitor* visitor) {
    const ScreenFace* cover = nullptr;
    std::uint32_t coverNumber = 0;
    double farthest = 0;
    for (std::size_t i = first; i < numbers.size(); ++i) {
        const ScreenFace& face = faces[numbers[i]];
        if (!face.covers || (cover && face.lowDepth > farthest) || !face.fills(square.corner, square.size))
            continue;
        const double depth = face.highestOver(square.corner, square.size);
        if (!cover || depth < farthest || (depth == farthest && face.owner > cover->owner)) {
            cover = &face;
            coverNumber = numbers[i];
            farthest = depth;
        }
    }
    if (!cover)
        return;
    const auto isBehind = [&](std::uint32_t number) {
        const ScreenFace& face = faces[number];
        if (&face == cover)
            return false;
        const double limit = farthest + cover->noise + face.noise + handicap(*cover, face);
        if ((face.highDepth <= limit || face.lowestOver(square.corner, square.size) <= limit) &&
            !liesBehind(face, *cover, square))
            return false;
        if (visitor)
            visitor->takeHidden(number, coverNumber);
        return true;
    };
    const auto begin = numbers.begin() + static_cast<std::ptrdiff_t>(first);
    numbers.erase(std::remove_if(begin, numbers.end(), isBehind), numbers.end());
}

ScreenTree::Square ScreenTree::quarterOf(const Square& square, int number) {
    const std::int32_t half = square.size / 2;
    return {{square.corner.x + (number & 1) * half, square.corner.y + (number >> 1) * half}, half};
}

bool ScreenTree::paysToDivide(const Square& square, std::size_t first) const {
    const std::size_t count = numbers.size() - first;
    if (count <= fewFaces || count > manyFaces || square.size <= smallest)
        return false;
    std::size_t inParts = 0;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const Square part = quarterOf(square, quarter);
        for (const std::uint32_t number : numbersFrom(first))
            inParts += faces[number].meets(part.corner, part.size) ? 1U : 0U;
    }
    return 2 * inParts < 5 * count;
}

void ScreenTree::addThoseOf(const Square& part, std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
        if (faces[numbers[i]].meets(part.corner, part.size))
            numbers.push_back(numbers[i]);
    }
}

// Finds out which squares with many faces to divide, and what the square costs then. As in the walk the faces of the
// square are the numbers from first on; they are gone afterwards.
bool ScreenTree::plan(const Square& square, std::size_t first, std::size_t& budget, std::size_t& cost) {
    if (cancel.isCancelled((numbers.size() - first) * 10 * workOfTest))
        return false;
    leaveOutHidden(square, first, nullptr);
    const std::size_t count = numbers.size() - first;
    cost = costOfPairs(count);
    bool goesOn = true;
    if (count > manyFaces) {
        const std::size_t number = planned.size();
        planned.push_back(0);
        if (square.size <= smallest) {
            cost = 0;
        } else if (count <= budget) {
            std::size_t costOfParts = 0;
            goesOn = planParts(square, first, budget, costOfParts);
            if (costOfParts < cost) {
                cost = costOfParts;
                planned[number] = planned.size();
            } else {
                planned.resize(number + 1);
            }
        }
    }
    numbers.resize(first);
    return goesOn;
}

// Each quarter may use an even share of what is left, and leaves the rest to the next.
bool ScreenTree::planParts(const Square& square, std::size_t first, std::size_t& budget, std::size_t& cost) {
    const std::size_t last = numbers.size();
    budget -= last - first;
    cost = 4 * (last - first) * workOfTest;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const Square part = quarterOf(square, quarter);
        addThoseOf(part, first, last);
        std::size_t share = budget / static_cast<std::size_t>(4 - quarter);
        budget -= share;
        std::size_t costOfPart = 0;
        if (!plan(part, last, share, costOfPart))
            return false;
        budget += share;
        cost += costOfPart;
    }
    return true;
}

bool ScreenTree::divide(const Square& square, std::size_t first, Visitor& visitor) {
    const std::size_t last = numbers.size();
    for (int quarter = 0; quarter < 4; ++quarter) {
        const Square part = quarterOf(square, quarter);
        addThoseOf(part, first, last);
        if (!walk(part, last, visitor))
            return false;
    }
    return true;
}

// The faces of the square are the numbers from first on; they are gone afterwards.
bool ScreenTree::walk(const Square& square, std::size_t first, Visitor& visitor) {
    if (cancel.isCancelled((numbers.size() - first) * 10 * workOfTest))
        return false;
    leaveOutHidden(square, first, &visitor);
    const std::size_t count = numbers.size() - first;
    const std::size_t end = count > manyFaces ? planned[nextPlanned++] : 0;
    bool goesOn = true;
    if (count < 2 || !visitor.wants(numbersFrom(first))) {
        goesOn = count != 1 || visitor.takeSquare(square, numbersFrom(first));
        nextPlanned = std::max(nextPlanned, end);
    } else if (end > 0 || paysToDivide(square, first)) {
        goesOn = divide(square, first, visitor);
    } else {
        goesOn = visitor.takeSquare(square, numbersFrom(first));
    }
    numbers.resize(first);
    return goesOn;
}
