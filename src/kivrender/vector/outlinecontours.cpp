#include "kivrender/vector/outlinecontours.h"

#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/feedbackvector.h"

#include <utility>

namespace {

FeedbackVector directionOf(const FeedbackVertex& from, const FeedbackVertex& to) {
    FeedbackVector direction(to.x - from.x, to.y - from.y, to.z - from.z); // differences of floats
    direction.normalise();
    return direction;
}

} // namespace

OutlineContours::OutlineContours(std::vector<FeedbackEdge>& outline) : edges(outline), ends(outline) {}

bool OutlineContours::joinCollinearEdges() {
    if (!ends.takeAll())
        return false;
    for (std::size_t index = 0; index < edges.size(); ++index) {
        if (!joinOnto(index))
            return false;
    }
    return true;
}

// Looks through the other edges for such that continue this one, from the next on, and after each join from the first
// on. An edge that touches the start turns this edge round, and it stays so also when the two do not join. False when
// the user has cancelled.
bool OutlineContours::joinOnto(std::size_t index) {
    self = index;
    FeedbackVertex* a = edges[index].from;
    FeedbackVertex* b = edges[index].to;
    FeedbackVector direction = directionOf(*a, *b);
    std::vector<std::size_t> touching;
    for (std::size_t first = index + 1, next = 0;;) {
        if (next == 0)
            ends.collect(*a, *b, first, touching);
        if (kivIsCancelled())
            return false;
        if (next == touching.size())
            return true;
        const std::size_t other = touching[next++];
        if (other == self)
            continue;
        FeedbackVertex* c = edges[other].from;
        FeedbackVertex* d = edges[other].to;
        const bool atStart = *a == *c || *a == *d;
        if (atStart) {
            if (!(*a == *c))
                std::swap(c, d);
            std::swap(a, b);
            direction.x *= -1.0;
            direction.y *= -1.0;
            direction.z *= -1.0;
        } else if (*b == *d && !(*b == *c)) {
            std::swap(c, d);
        } else if (!(*b == *c)) {
            continue;
        }
        if (!(direction == directionOf(*c, *d)))
            continue;
        absorb(other, {a, d});
        b = d;
        first = next = 0;
    }
}

// The other edge goes, and the last of all takes its place. That may be the very edge onto which it was joined.
void OutlineContours::absorb(std::size_t other, const FeedbackEdge& joined) {
    const std::size_t last = edges.size() - 1;
    ends.remove(self);
    edges[self] = joined;
    ends.add(self);
    ends.remove(other);
    if (other != last) {
        ends.remove(last);
        edges[other] = edges[last];
    }
    edges.pop_back();
    if (other != last)
        ends.add(other);
    if (self == last)
        self = other;
}

bool OutlineContours::chain(std::vector<FeedbackVertex*>& vertices, std::vector<int>& contourEnds) {
    if (!ends.takeAll())
        return false;
    std::vector<bool> isUsed(edges.size(), false);
    const auto use = [&](std::size_t index) {
        ends.remove(index);
        isUsed[index] = true;
    };
    std::vector<std::size_t> touching;
    std::size_t numUsed = 0;
    std::size_t firstUnused = 0;
    // One edge that is left over is not a contour.
    while (numUsed + 1 < edges.size()) {
        while (isUsed[firstUnused])
            ++firstUnused;
        FeedbackVertex* const first = edges[firstUnused].from;
        FeedbackVertex* last = edges[firstUnused].to;
        vertices.push_back(first);
        vertices.push_back(last);
        use(firstUnused);
        ++numUsed;
        for (bool isOpen = true; isOpen;) {
            if (kivIsCancelled())
                return false;
            ends.collect(*last, *last, firstUnused, touching);
            isOpen = false;
            for (const std::size_t index : touching) {
                if (isUsed[index])
                    continue;
                const FeedbackEdge& edge = edges[index];
                if (!(*edge.from == *last) && !(*edge.to == *last))
                    continue;
                FeedbackVertex* const end = *edge.from == *last ? edge.to : edge.from;
                use(index);
                ++numUsed;
                if (!(*end == *first)) {
                    vertices.push_back(end);
                    last = end;
                    isOpen = true;
                }
                break;
            }
        }
        contourEnds.push_back(static_cast<int>(vertices.size()));
    }
    return true;
}
