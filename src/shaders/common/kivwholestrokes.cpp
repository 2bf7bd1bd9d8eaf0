#include "kivwholestrokes.h"

#include "kivrender/lines/linebudget.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace {

// In pixels of the finished picture.
constexpr double widestGap = 5.0;
constexpr double smallGap = 1.0;
constexpr double longestOverlap = 3.0;
constexpr double directionReach = 6.0; // into a line, for its direction at the end
constexpr double touching = 3.0;       // beside its own half width
constexpr double leastTurn = 0.64;     // the cosine of 50 degrees
constexpr std::size_t mostEnds = 32;   // in one cell: more are not line to follow

constexpr std::int32_t noEnd = -1;

struct End {
    double x = 0.0;
    double y = 0.0;
    double outX = 0.0; // the way in which the line would go on, of unit length
    double outY = 0.0;
    double length = 0.0; // of the piece
};

double lengthOf(const KivLinePath& path) {
    double length = 0.0;
    for (std::size_t i = 1; i < path.points.size(); ++i) {
        length += std::hypot(static_cast<double>(path.points[i].x - path.points[i - 1].x),
                             static_cast<double>(path.points[i].y - path.points[i - 1].y));
    }
    return length;
}

// Points by the cells of a grid.
template <class Item> class Grid {
public:
    explicit Grid(double cellSize) : size(cellSize) {}

    void add(double x, double y, const Item& item) {
        cells[key(cell(x), cell(y))].push_back(item);
    }
    template <class Visit> void visitAround(double x, double y, Visit visit) const {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const auto found = cells.find(key(cell(x) + dx, cell(y) + dy));
                if (found != cells.end()) {
                    visit(found->second);
                }
            }
        }
    }
    // Whether an item in the cells around a point is wanted. In a crowd most often the one that was wanted last is so
    // again: it moves to the front of its cell (Rivest, On Self-Organizing Sequential Search Heuristics, 1976), and the
    // point's own cell is searched first.
    template <class Wanted> bool findAround(double x, double y, Wanted wanted) {
        constexpr int steps[9][2] = {{0, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}, {-1, -1}, {1, -1}, {-1, 1}, {1, 1}};
        for (const auto& step : steps) {
            const auto there = cells.find(key(cell(x) + step[0], cell(y) + step[1]));
            if (there == cells.end()) {
                continue;
            }
            const auto found = std::find_if(there->second.begin(), there->second.end(), wanted);
            if (found != there->second.end()) {
                std::iter_swap(there->second.begin(), found);
                return true;
            }
        }
        return false;
    }

private:
    std::int64_t cell(double at) const {
        return static_cast<std::int64_t>(std::floor(at / size));
    }
    static std::int64_t key(std::int64_t x, std::int64_t y) {
        return (y << 32U) + x;
    }

    double size;
    std::unordered_map<std::int64_t, std::vector<Item>> cells;
};

// A point of a stroke, with half of the line's width there.
struct StrokePoint {
    float x = 0.0F;
    float y = 0.0F;
    float halfWidth = 0.0F;
    std::uint32_t stroke = 0;
};

class StrokeMaker {
    static constexpr std::size_t stepsOfPoint = 20; // units of LineBudget
    static constexpr std::size_t stepsOfPair = 10;

public:
    StrokeMaker(const std::vector<KivStrokePiece>& p, double pixelSize, int w, int h)
        : pieces(p), pixel(pixelSize), width(w), height(h), mates(p.size() * 2, noEnd) {}

    // False when the user cancelled.
    bool make(std::vector<KivWholeStroke>& made) {
        if (!findEnds() || !joinEnds() || !walk() || !findLoose() || !dropBarbs()) {
            return false;
        }
        made = std::move(strokes);
        return true;
    }

private:
    bool isOpen(std::size_t piece) const {
        return !pieces[piece].path->closed && pieces[piece].path->points.size() > 1;
    }

    bool findEnds() {
        ends.resize(mates.size());
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            if (!polls.spend(stepsOfPoint * pieces[i].path->points.size())) {
                return false;
            }
            if (isOpen(i)) {
                ends[2 * i] = endOf(*pieces[i].path, false);
                ends[2 * i + 1] = endOf(*pieces[i].path, true);
            }
        }
        return true;
    }

    End endOf(const KivLinePath& path, bool atLast) const {
        const std::size_t count = path.points.size();
        const auto point = [&](std::size_t i) -> const KivLinePoint& {
            return path.points[atLast ? count - 1 - i : i];
        };
        End end{static_cast<double>(point(0).x), static_cast<double>(point(0).y)};
        end.length = lengthOf(path);
        std::size_t inner = 1;
        const auto away = [&](std::size_t i) {
            return std::hypot(static_cast<double>(point(i).x) - end.x, static_cast<double>(point(i).y) - end.y);
        };
        while (inner + 1 < count && away(inner) < directionReach * pixel) {
            ++inner;
        }
        const double distance = away(inner);
        if (distance > 0.0) {
            end.outX = (end.x - static_cast<double>(point(inner).x)) / distance;
            end.outY = (end.y - static_cast<double>(point(inner).y)) / distance;
        }
        return end;
    }

    // The cost of going on from one end to another; below 0 if the line does not.
    double costOf(const End& a, const End& b) const {
        const double dx = b.x - a.x;
        const double dy = b.y - a.y;
        const double gap = std::hypot(dx, dy);
        const double turn = -(a.outX * b.outX + a.outY * b.outY);
        if (gap > widestGap * pixel || turn < leastTurn) {
            return -1.0;
        }
        const bool isAhead =
            dx * a.outX + dy * a.outY >= leastTurn * gap && -(dx * b.outX + dy * b.outY) >= leastTurn * gap;
        return gap <= smallGap * pixel || isAhead || isPast(a, b, dx, dy) ? gap + (1.0 - turn) * widestGap * pixel
                                                                          : -1.0;
    }

    // Whether two pieces run past each other's ends, on one another: on rough ground a contour is lost in one place and
    // found in another, and by turns the one piece or the other is the longer. A crumb beside a piece is none.
    bool isPast(const End& a, const End& b, double dx, double dy) const {
        const double gap = std::hypot(dx, dy);
        const auto aside = [dx, dy](const End& end) { return std::abs(dx * end.outY - dy * end.outX); };
        return gap <= longestOverlap * pixel && std::min(a.length, b.length) > 4.0 * gap &&
               std::max(aside(a), aside(b)) <= smallGap * pixel;
    }

    // Those that go on best first.
    bool joinEnds() {
        Grid<std::uint32_t> grid(widestGap * pixel);
        for (std::uint32_t e = 0; e < ends.size(); ++e) {
            if (!polls.spend(stepsOfPoint)) {
                return false;
            }
            if (isOpen(e / 2)) {
                grid.add(ends[e].x, ends[e].y, e);
            }
        }
        std::vector<std::tuple<double, std::uint32_t, std::uint32_t>> pairs;
        for (std::uint32_t e = 0; e < ends.size(); ++e) {
            if (isOpen(e / 2)) {
                grid.visitAround(ends[e].x, ends[e].y, [&](const std::vector<std::uint32_t>& there) {
                    const std::size_t count = std::min(there.size(), mostEnds);
                    for (std::size_t i = 0; i < count && polls.spend(stepsOfPair); ++i) {
                        addPair(e, there[i], pairs);
                    }
                });
            }
        }
        if (!polls.spend(0) || !polledSort(pairs, std::less<>())) {
            return false;
        }
        for (const auto& [cost, a, b] : pairs) {
            if (!polls.spend(1)) {
                return false;
            }
            if (mates[a] == noEnd && mates[b] == noEnd) {
                mates[a] = static_cast<std::int32_t>(b);
                mates[b] = static_cast<std::int32_t>(a);
            }
        }
        return true;
    }

    void addPair(std::uint32_t a, std::uint32_t b,
                 std::vector<std::tuple<double, std::uint32_t, std::uint32_t>>& pairs) const {
        if (a >= b || pieces[a / 2].group != pieces[b / 2].group) {
            return;
        }
        const bool isRing = a / 2 == b / 2;
        if (isRing && lengthOf(*pieces[a / 2].path) < 4.0 * widestGap * pixel) {
            return;
        }
        const double cost = costOf(ends[a], ends[b]);
        if (cost >= 0.0) {
            pairs.emplace_back(cost, a, b);
        }
    }

    bool walk() {
        std::vector<bool> done(pieces.size(), false);
        // Open strokes from the end that comes first, then rings.
        for (const bool rings : {false, true}) {
            for (std::uint32_t i = 0; i < pieces.size(); ++i) {
                if (!polls.spend(stepsOfPoint)) {
                    return false;
                }
                if (!done[i]) {
                    walkFrom(i, rings, done);
                }
            }
        }
        return orderStrokes();
    }

    bool orderStrokes() {
        std::vector<std::pair<std::uint32_t, std::size_t>> order; // by their first pieces
        order.reserve(strokes.size());
        for (const KivWholeStroke& stroke : strokes) {
            order.emplace_back(*std::min_element(stroke.pieces.begin(), stroke.pieces.end()), order.size());
        }
        if (!polledSort(order, std::less<>())) {
            return false;
        }
        std::vector<KivWholeStroke> sorted;
        sorted.reserve(strokes.size());
        for (const auto& [first, place] : order) {
            sorted.push_back(std::move(strokes[place]));
        }
        strokes.swap(sorted);
        return true;
    }

    void walkFrom(std::uint32_t first, bool isRing, std::vector<bool>& done) {
        const bool startsHere = mates[2 * first] == noEnd;
        const bool endsHere = mates[2 * first + 1] == noEnd;
        if (!isRing && !startsHere && !endsHere) {
            return;
        }
        KivWholeStroke stroke;
        stroke.closed = isRing || pieces[first].path->closed;
        auto in = static_cast<std::int32_t>(2 * first + (isRing || startsHere ? 0 : 1));
        while (in != noEnd && !done[static_cast<std::size_t>(in) / 2]) {
            const auto piece = static_cast<std::uint32_t>(in) / 2;
            done[piece] = true;
            stroke.pieces.push_back(piece);
            stroke.reversed.push_back(in % 2 != 0);
            in = mates[static_cast<std::size_t>(in ^ 1)];
        }
        strokes.push_back(std::move(stroke));
    }

    bool isAtEdge(const End& end) const {
        const double reach = touching * pixel;
        return end.x < reach || end.y < reach || end.x > width - reach || end.y > height - reach;
    }

    bool findLoose() {
        double widest = 0.0;
        for (const KivStrokePiece& piece : pieces) {
            if (!polls.spend(piece.path->points.size())) {
                return false;
            }
            for (const KivLinePoint& point : piece.path->points) {
                widest = std::max(widest, static_cast<double>(point.halfWidth));
            }
        }
        Grid<StrokePoint> grid(touching * pixel + widest);
        for (std::uint32_t s = 0; s < strokes.size(); ++s) {
            for (const std::uint32_t piece : strokes[s].pieces) {
                for (const KivLinePoint& point : pieces[piece].path->points) {
                    if (!polls.spend(stepsOfPoint)) {
                        return false;
                    }
                    grid.add(static_cast<double>(point.x), static_cast<double>(point.y),
                             {point.x, point.y, point.halfWidth, s});
                }
            }
        }
        for (std::uint32_t s = 0; s < strokes.size(); ++s) {
            KivWholeStroke& stroke = strokes[s];
            if (!stroke.closed && isOpen(stroke.pieces.front())) {
                stroke.startsLoose = isLoose(s, 2 * stroke.pieces.front() + (stroke.reversed.front() ? 1 : 0), grid);
                stroke.endsLoose = isLoose(s, 2 * stroke.pieces.back() + (stroke.reversed.back() ? 0 : 1), grid);
            }
            if (!polls.spend(stepsOfPoint)) {
                return false;
            }
        }
        return true;
    }

    bool isLoose(std::uint32_t stroke, std::uint32_t e, Grid<StrokePoint>& grid) {
        const End& end = ends[e];
        return !isAtEdge(end) && !grid.findAround(end.x, end.y, [&](const StrokePoint& point) {
            if (!polls.spend(1)) {
                return true;
            }
            return point.stroke != stroke &&
                   std::hypot(static_cast<double>(point.x) - end.x, static_cast<double>(point.y) - end.y) <
                       touching * pixel + static_cast<double>(point.halfWidth);
        });
    }

    bool dropBarbs() {
        std::erase_if(strokes, [this](const KivWholeStroke& stroke) { return mayGo(stroke); });
        return polls.spend(0);
    }

    bool mayGo(const KivWholeStroke& stroke) {
        double length = 0.0;
        double shortest = pieces[stroke.pieces.front()].shortest;
        for (const std::uint32_t piece : stroke.pieces) {
            if (!polls.spend(stepsOfPoint * pieces[piece].path->points.size())) {
                return false;
            }
            length += lengthOf(*pieces[piece].path);
            shortest = std::min(shortest, pieces[piece].path->isOutline ? 0.0 : pieces[piece].shortest);
        }
        if (stroke.closed) {
            return false;
        }
        const int loose = (stroke.startsLoose ? 1 : 0) + (stroke.endsLoose ? 1 : 0);
        return loose == 2 ? length < 3.0 * shortest : loose == 1 && length < shortest;
    }

    const std::vector<KivStrokePiece>& pieces;
    double pixel;
    double width;
    double height;
    std::vector<End> ends;
    std::vector<std::int32_t> mates; // of the ends
    std::vector<KivWholeStroke> strokes;
    LineBudget polls{std::numeric_limits<std::size_t>::max()}; // for its polls alone
};

// How many of the piece's points, in the order of the walk, lie beside the end of the path and not beyond it. They come
// nearer to it one by one; the last point of the piece is never among them.
std::size_t numBehindEnd(const KivLinePath& path, const KivLinePath& piece, bool reversed) {
    if (path.points.size() < 2) {
        return 0;
    }
    const KivLinePoint& end = path.points.back();
    const KivLinePoint& before = path.points[path.points.size() - 2];
    const std::size_t count = piece.points.size();
    std::size_t behind = 0;
    for (float nearest = std::numeric_limits<float>::infinity(); behind + 1 < count; ++behind) {
        const KivLinePoint& point = piece.points[reversed ? count - 1 - behind : behind];
        const float dx = point.x - end.x;
        const float dy = point.y - end.y;
        const float distance = std::hypot(dx, dy);
        if (distance > nearest || dx * (end.x - before.x) + dy * (end.y - before.y) >= 0.0F) {
            break;
        }
        nearest = distance;
    }
    return behind;
}

} // namespace

bool kivWholeStrokes(const std::vector<KivStrokePiece>& pieces, double pixel, int width, int height,
                     std::vector<KivWholeStroke>& strokes) {
    return StrokeMaker(pieces, pixel, width, height).make(strokes);
}

void kivAppendPath(const KivLinePath& piece, bool reversed, std::uint32_t firstCorner, KivLinePath& path) {
    const std::size_t count = piece.points.size();
    if (path.points.empty()) {
        path.startsFree = reversed ? piece.endsFree : piece.startsFree;
    }
    path.endsFree = reversed ? piece.startsFree : piece.endsFree;
    for (std::size_t i = numBehindEnd(path, piece, reversed); i < count; ++i) {
        const std::size_t from = reversed ? count - 1 - i : i;
        path.points.push_back(piece.points[from]);
        path.stations.push_back(piece.stations[from]);
        path.stations.back().corner += firstCorner;
    }
}
