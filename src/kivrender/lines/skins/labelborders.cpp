#include "kivrender/lines/skins/labelborders.h"

#include "kivrender/lines/curvefit.h"
#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

constexpr std::uint32_t nobody = std::numeric_limits<std::uint32_t>::max();

KivPicturePoint mean(const KivPicturePoint& p, const KivPicturePoint& q) {
    return {0.5 * (p.x + q.x), 0.5 * (p.y + q.y)};
}

class BorderTracer {
public:
    BorderTracer(const LabelField& labelField, const LabelCrossing& labelCrossing, const BorderRules& borderRules)
        : field(labelField), crossing(labelCrossing), rules(borderRules) {}

    bool run(std::vector<std::vector<KivPicturePoint>>& borders) {
        return findPlaces() && trace(borders);
    }

private:
    // A crossing has up to two neighbours; where labels meet there may be four.
    struct Node {
        KivPicturePoint place;
        std::array<std::uint32_t, 4> next{nobody, nobody, nobody, nobody};
        bool isJunction = false;

        std::size_t degree() const {
            return static_cast<std::size_t>(std::find(next.begin(), next.end(), nobody) - next.begin());
        }
    };

    bool isBorder(int x, int y, int toX, int toY) const {
        const std::uint8_t p = field.at(x, y);
        const std::uint8_t q = field.at(toX, toY);
        return p != q && p != LabelField::none && q != LabelField::none;
    }
    std::uint32_t addNode(double x, double y, bool isJunction) {
        nodes.push_back({{x, y}, {nobody, nobody, nobody, nobody}, isJunction});
        return static_cast<std::uint32_t>(nodes.size() - 1);
    }
    std::uint32_t crossingBetween(int x, int y, bool isAbove) {
        const double t = std::clamp(crossing(x, y, isAbove), 0.02, 0.98);
        return addNode(field.left() + x + 0.5 + (isAbove ? 0.0 : t), field.bottom() + y + 0.5 + (isAbove ? t : 0.0),
                       false);
    }
    void link(std::uint32_t p, std::uint32_t q) {
        nodes[p].next[nodes[p].degree()] = q;
        nodes[q].next[nodes[q].degree()] = p;
    }

    bool findPlaces() {
        const auto columns = static_cast<std::size_t>(field.width());
        std::vector<std::uint32_t> below(columns, nobody); // to the right of each sample of a row
        std::vector<std::uint32_t> above(columns, nobody);
        std::vector<std::uint32_t> beside(columns, nobody); // above each
        rowCrossings(0, below);
        for (int y = 0; y + 1 < field.height(); ++y) {
            if (kivIsCancelledAt(static_cast<std::size_t>(y) * 64)) {
                return false;
            }
            rowCrossings(y + 1, above);
            for (int x = 0; x < field.width(); ++x) {
                beside[static_cast<std::size_t>(x)] = isBorder(x, y, x, y + 1) ? crossingBetween(x, y, true) : nobody;
            }
            for (std::size_t x = 0; x + 1 < columns; ++x) {
                joinSquare({below[x], beside[x + 1], above[x], beside[x]});
            }
            below.swap(above);
        }
        return true;
    }
    void rowCrossings(int y, std::vector<std::uint32_t>& row) {
        for (int x = 0; x + 1 < field.width(); ++x) {
            row[static_cast<std::size_t>(x)] = isBorder(x, y, x + 1, y) ? crossingBetween(x, y, false) : nobody;
        }
    }
    // The crossings on the sides of the square between four samples.
    void joinSquare(const std::array<std::uint32_t, 4>& sides) {
        std::array<std::uint32_t, 4> found{};
        std::size_t count = 0;
        KivPicturePoint sum;
        for (const std::uint32_t side : sides) {
            if (side != nobody) {
                found[count++] = side;
                sum.x += nodes[side].place.x;
                sum.y += nodes[side].place.y;
            }
        }
        if (count == 2) {
            link(found[0], found[1]);
        } else if (count > 2) {
            const auto share = static_cast<double>(count);
            const std::uint32_t middle = addNode(sum.x / share, sum.y / share, true);
            for (std::size_t i = 0; i < count; ++i) {
                link(middle, found[i]);
            }
        }
    }

    bool trace(std::vector<std::vector<KivPicturePoint>>& borders) {
        isDone.assign(nodes.size(), false);
        // First those with ends; what is left closes in itself.
        for (const bool fromEnds : {true, false}) {
            for (std::uint32_t n = 0; n < nodes.size(); ++n) {
                if (kivIsCancelledAt(n)) {
                    return false;
                }
                if (nodes[n].isJunction || (fromEnds && nodes[n].degree() == 1)) {
                    for (std::size_t i = 0; fromEnds && i < nodes[n].degree(); ++i) {
                        follow(n, nodes[n].next[i], borders);
                    }
                } else if (!fromEnds && !isDone[n] && nodes[n].degree() == 2) {
                    followRing(n, borders);
                }
            }
        }
        return true;
    }
    bool isEnd(std::uint32_t n) const {
        return nodes[n].isJunction || nodes[n].degree() == 1;
    }
    std::uint32_t behind(std::uint32_t from, std::uint32_t at) const {
        return nodes[at].next[0] == from ? nodes[at].next[1] : nodes[at].next[0];
    }
    void follow(std::uint32_t start, std::uint32_t second, std::vector<std::vector<KivPicturePoint>>& borders) {
        // Each is met from both ends.
        if ((!nodes[start].isJunction && isDone[start]) || (!isEnd(second) && isDone[second]) ||
            (isEnd(second) && second < start)) {
            return;
        }
        line.assign(1, nodes[start].place);
        isDone[start] = true;
        std::uint32_t from = start;
        std::uint32_t at = second;
        while (!isEnd(at)) {
            isDone[at] = true;
            line.push_back(nodes[at].place);
            from = std::exchange(at, behind(from, at));
        }
        isDone[at] = true;
        line.push_back(nodes[at].place);
        smoothen(false);
        // A line from a junction back to it has no direction of its own.
        const std::size_t middle = start == at ? line.size() / 2 : 0;
        std::vector<KivPicturePoint> border;
        if (middle > 0) {
            append(0, middle, border);
        }
        append(middle, line.size() - 1, border);
        borders.push_back(std::move(border));
    }
    void followRing(std::uint32_t start, std::vector<std::vector<KivPicturePoint>>& borders) {
        line.clear();
        std::uint32_t from = nodes[start].next[1];
        std::uint32_t at = start;
        do {
            isDone[at] = true;
            line.push_back(nodes[at].place);
            from = std::exchange(at, behind(from, at));
        } while (at != start);
        smoothen(true);
        borders.push_back(kivFlattenCurve(kivFitCurve(line, true, rules.tolerance), rules.tolerance));
        if (borders.back().empty()) {
            borders.pop_back();
        }
    }
    void append(std::size_t first, std::size_t last, std::vector<KivPicturePoint>& border) const {
        const std::span<const KivPicturePoint> part(line.data() + first, last - first + 1);
        std::vector<KivPicturePoint> points =
            kivFlattenCurve(kivFitCurve(part, false, rules.tolerance), rules.tolerance);
        if (points.empty()) {
            points = {part.front(), part.back()};
        }
        points.front() = part.front();
        points.back() = part.back();
        border.insert(border.end(), points.begin() + (border.empty() ? 0 : 1), points.end());
    }
    // Each round spreads by a root of a half, and no place moves farther than the steps are wide.
    void smoothen(bool isRing) {
        const int rounds = 2 + static_cast<int>(std::lround(2.0 * rules.evenness * rules.evenness));
        const std::vector<KivPicturePoint> given = line;
        const std::size_t count = line.size();
        std::vector<KivPicturePoint> before;
        for (int round = 0; round < rounds && count > 2; ++round) {
            before = line;
            for (std::size_t i = isRing ? 0 : 1; i + (isRing ? 0 : 1) < count; ++i) {
                const KivPicturePoint ends = mean(before[(i + count - 1) % count], before[(i + 1) % count]);
                const KivPicturePoint moved = mean(before[i], ends);
                line[i] = {std::clamp(moved.x, given[i].x - rules.evenness, given[i].x + rules.evenness),
                           std::clamp(moved.y, given[i].y - rules.evenness, given[i].y + rules.evenness)};
            }
        }
    }

    const LabelField& field;
    const LabelCrossing& crossing;
    BorderRules rules;
    std::vector<Node> nodes;
    std::vector<bool> isDone;
    std::vector<KivPicturePoint> line;
};

} // namespace

bool findLabelBorders(const LabelField& field, const LabelCrossing& crossing, const BorderRules& rules,
                      std::vector<std::vector<KivPicturePoint>>& borders) {
    return BorderTracer(field, crossing, rules).run(borders);
}
