// The order of painting by its rule alone: each primitive is compared with each other one, circles are found by walking
// from each number to all that it leads to, and the next number of an order is found by looking at all of them.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALPAINTING_H
#define SELVARIN_TESTS_REFERENCE_LITERALPAINTING_H

#include "kivrender/vector/coveredparts.h"
#include "kivrender/vector/facerelation.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace literal {

class Painting {
public:
    Painting(const FeedbackPrimitiveList& all, const PolygonShift& offset) : list(all), shift(offset) {
        for (std::uint32_t i = 0; i < list.size(); ++i)
            addScreenFaces(*list[i], i, shift, faces.emplace_back());
        isBefore.assign(list.size(), std::vector<bool>(list.size(), false));
        isUnder = isBefore;
        for (std::uint32_t a = 0; a < list.size(); ++a) {
            for (std::uint32_t b = a + 1; b < list.size(); ++b)
                compare(a, b);
        }
        findCircles();
        breakCircles();
        findOrder();
    }

    bool hasCircles() const {
        return circles;
    }

    // The primitives of the new list are the caller's.
    void paint(FeedbackPrimitiveList& painted, std::vector<std::uint32_t>& origins) const {
        std::vector<std::vector<Made>> before(list.size());
        std::vector<std::vector<Made>> instead(list.size());
        for (const std::uint32_t number : order)
            cut(number, before, instead);
        for (std::size_t place = 0; place < order.size(); ++place) {
            std::stable_sort(before[place].begin(), before[place].end(), [](const Made& a, const Made& b) {
                return depthOf(*a.shape) != depthOf(*b.shape) ? depthOf(*a.shape) > depthOf(*b.shape)
                                                              : a.origin < b.origin;
            });
            for (const std::vector<Made>* some : {&before[place], &instead[place]}) {
                for (const Made& made : *some) {
                    painted.push_back(new FeedbackPrimitive(*made.shape));
                    origins.push_back(made.origin);
                }
            }
        }
    }

private:
    using Flags = std::vector<std::vector<bool>>;

    struct Made {
        std::shared_ptr<FeedbackPrimitive> shape;
        std::uint32_t origin;
    };

    static double depthOf(const FeedbackPrimitive& primitive) {
        double sum = 0;
        for (const FeedbackVertex& vertex : primitive.vertices)
            sum += vertex.z;
        const double mean = primitive.vertices.empty() ? 0 : sum / static_cast<double>(primitive.vertices.size());
        return std::isfinite(mean) ? mean : 0;
    }
    double depth(std::uint32_t number) const {
        return depthOf(*list[number]);
    }
    bool isStroke(std::uint32_t number) const {
        return list[number]->type != FeedbackToken::polygon;
    }
    double extent(std::uint32_t number) const {
        if (isStroke(number))
            return -1;
        double twice = 0;
        const std::vector<FeedbackVertex>& v = list[number]->vertices;
        for (std::size_t i = 1; i + 1 < v.size(); ++i)
            twice += (static_cast<double>(v[i].x) - v[0].x) * (static_cast<double>(v[i + 1].y) - v[0].y) -
                     (static_cast<double>(v[i + 1].x) - v[0].x) * (static_cast<double>(v[i].y) - v[0].y);
        return std::fabs(twice);
    }
    void compare(std::uint32_t a, std::uint32_t b) {
        for (const ScreenFace& first : faces[a]) {
            for (const ScreenFace& second : faces[b]) {
                const FaceRelation relation = faceRelation(first, second);
                if (relation == FaceRelation::Crossed) {
                    const bool aIsLarger = extent(a) >= extent(b);
                    isBefore[aIsLarger ? a : b][aIsLarger ? b : a] = true;
                    isUnder[a][b] = isUnder[b][a] = true;
                } else if (relation == FaceRelation::Over) {
                    isBefore[b][a] = isUnder[b][a] = true;
                } else if (relation != FaceRelation::Free) {
                    isBefore[a][b] = isUnder[a][b] = true;
                }
            }
        }
    }
    void findCircles() {
        leads = Flags(list.size(), std::vector<bool>(list.size(), false));
        for (std::uint32_t start = 0; start < list.size(); ++start) {
            std::vector<std::uint32_t> open{start};
            while (!open.empty()) {
                const std::uint32_t number = open.back();
                open.pop_back();
                for (std::uint32_t next = 0; next < list.size(); ++next) {
                    if (isBefore[number][next] && !leads[start][next]) {
                        leads[start][next] = true;
                        open.push_back(next);
                    }
                }
            }
            circles = circles || leads[start][start];
        }
    }
    void breakCircles() {
        const Flags all = isBefore;
        for (std::uint32_t start = 0; start < list.size(); ++start) {
            std::vector<std::uint32_t> circle;
            for (std::uint32_t number = 0; number < list.size(); ++number) {
                if (number == start || (leads[start][number] && leads[number][start]))
                    circle.push_back(number);
            }
            if (circle.front() != start)
                continue;
            const std::vector<std::uint32_t> row = lineUp(circle, all);
            for (std::size_t i = 0; i < row.size(); ++i) {
                for (std::size_t k = 0; k < i; ++k)
                    isBefore[row[i]][row[k]] = false;
            }
        }
    }
    // Eades, Lin and Smyth (1993), with strokes to the end.
    std::vector<std::uint32_t> lineUp(std::vector<std::uint32_t> left, const Flags& all) const {
        std::vector<std::uint32_t> front;
        std::vector<std::uint32_t> back;
        while (!left.empty()) {
            const auto numBehind = [&](std::uint32_t n) {
                return std::count_if(left.begin(), left.end(), [&](std::uint32_t m) { return all[n][m]; });
            };
            const auto numBefore = [&](std::uint32_t n) {
                return std::count_if(left.begin(), left.end(), [&](std::uint32_t m) { return all[m][n]; });
            };
            auto next = std::find_if(left.begin(), left.end(), [&](std::uint32_t n) { return numBehind(n) == 0; });
            bool toBack = next != left.end();
            if (!toBack)
                next = std::find_if(left.begin(), left.end(), [&](std::uint32_t n) { return numBefore(n) == 0; });
            if (next == left.end()) {
                next = std::min_element(left.begin(), left.end(), [&](std::uint32_t a, std::uint32_t b) {
                    if (isStroke(a) != isStroke(b))
                        return isStroke(a);
                    const auto first = isStroke(a) ? numBehind(a) : numBefore(a) - numBehind(a);
                    const auto second = isStroke(b) ? numBehind(b) : numBefore(b) - numBehind(b);
                    if (first != second)
                        return first < second;
                    return isStroke(a) ? depth(a) < depth(b) : depth(a) > depth(b);
                });
                toBack = isStroke(*next);
            }
            (toBack ? back : front).push_back(*next);
            left.erase(next);
        }
        front.insert(front.end(), back.rbegin(), back.rend());
        return front;
    }
    void findOrder() {
        std::vector<bool> taken(list.size(), false);
        while (order.size() < list.size()) {
            std::optional<std::uint32_t> best;
            for (std::uint32_t number = 0; number < list.size(); ++number) {
                bool waits = taken[number];
                for (std::uint32_t other = 0; other < list.size(); ++other)
                    waits = waits || (!taken[other] && isBefore[other][number]);
                if (!waits && (!best || depth(number) > depth(*best)))
                    best = number;
            }
            taken[*best] = true;
            order.push_back(*best);
        }
    }
    void cut(std::uint32_t number, std::vector<std::vector<Made>>& before,
             std::vector<std::vector<Made>>& instead) const {
        const auto placeOf = [this](std::uint32_t n) {
            return static_cast<std::uint32_t>(std::find(order.begin(), order.end(), n) - order.begin());
        };
        CoveredParts parts(*list[number], number, shift);
        for (std::uint32_t cover = 0; cover < list.size(); ++cover) {
            if (!isUnder[number][cover] || placeOf(number) < placeOf(cover))
                continue;
            for (const ScreenFace& face : faces[cover])
                parts.takeAway(face, placeOf(cover));
        }
        if (!parts.isChanged()) {
            instead[placeOf(number)].push_back({std::make_shared<FeedbackPrimitive>(*list[number]), number});
            return;
        }
        for (CoveredParts::Part& part : parts.parts())
            (part.before == CoveredParts::atItsPlace ? instead[placeOf(number)] : before[part.before])
                .push_back({std::move(part.shape), number});
    }

    const FeedbackPrimitiveList& list;
    PolygonShift shift;
    std::vector<std::vector<ScreenFace>> faces;
    Flags isBefore;
    Flags isUnder; // somewhere
    Flags leads;   // the first, by pairs, to the second
    std::vector<std::uint32_t> order;
    bool circles = false;
};

} // namespace literal

#endif
