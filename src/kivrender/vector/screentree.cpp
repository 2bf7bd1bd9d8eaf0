#include "kivrender/vector/screentree.h"

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <numeric>

ScreenTree::ScreenTree(const std::vector<ScreenFace>& all) : faces(all) {}

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
    budget = 1024 + 128 * faces.size();
    return walk(square, 0, visitor);
}

// Finds the face that fills the square and whose farthest place there is nearest, and leaves out what lies behind it.
void ScreenTree::leaveOutHidden(const Square& square, std::size_t first, Visitor& visitor) {
    const ScreenFace* cover = nullptr;
    std::uint32_t coverNumber = 0;
    double farthest = 0;
    for (std::size_t i = first; i < numbers.size(); ++i) {
        const ScreenFace& face = faces[numbers[i]];
        if (!face.covers || (cover && face.lowDepth >= farthest) || !face.fills(square.corner, square.size))
            continue;
        const double depth = face.highestOver(square.corner, square.size);
        if (!cover || depth < farthest) {
            cover = &face;
            coverNumber = numbers[i];
            farthest = depth;
        }
    }
    if (!cover)
        return;
    const auto isBehind = [&](std::uint32_t number) {
        const ScreenFace& face = faces[number];
        const double limit = farthest + cover->noise + face.noise + handicap(*cover, face);
        if (face.highDepth <= limit || face.lowestOver(square.corner, square.size) <= limit)
            return false;
        visitor.takeHidden(number, coverNumber);
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
    if (count <= fewFaces || square.size <= smallest || budget < count)
        return false;
    if (count > manyFaces)
        return true;
    std::size_t inParts = 0;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const Square part = quarterOf(square, quarter);
        for (const std::uint32_t number : numbersFrom(first))
            inParts += faces[number].meets(part.corner, part.size) ? 1U : 0U;
    }
    return 2 * inParts < 5 * count;
}

// The faces of the square are the numbers from first on; they are gone afterwards.
bool ScreenTree::walk(const Square& square, std::size_t first, Visitor& visitor) {
    if (poll++ % 256 == 0 && kivIsCancelled())
        return false;
    leaveOutHidden(square, first, visitor);
    const std::size_t last = numbers.size();
    const std::size_t count = last - first;
    if (count < 2 || !visitor.wants(numbersFrom(first))) {
        if (count == 1)
            visitor.takeSquare(square, numbersFrom(first));
    } else if (!paysToDivide(square, first)) {
        visitor.takeSquare(square, numbersFrom(first));
    } else {
        budget -= count;
        for (int quarter = 0; quarter < 4; ++quarter) {
            const Square part = quarterOf(square, quarter);
            for (std::size_t i = first; i < last; ++i) {
                if (faces[numbers[i]].meets(part.corner, part.size))
                    numbers.push_back(numbers[i]);
            }
            if (!walk(part, last, visitor))
                return false;
            numbers.resize(last);
        }
    }
    numbers.resize(first);
    return true;
}
