#include "kivhalftonescreen.h"

#include "kivbluenoise.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

using std::numbers::pi;

// Below the tone ink grows to its full share over this part of it.
constexpr double fullDepth = 0.72;
// Thinner shapes are not drawn, in pixels.
constexpr double leastRadius = 0.4;
constexpr double leastHalfWidth = 0.22;
// Shapes end so far behind a border, in pixels: within the line that is drawn there, and never short of it.
constexpr double beyondBorder = 0.5;
// Lines that cross others lie square to them, where it is darker than this part of the tone.
constexpr double crossTone = 0.62;
constexpr int sidesOfDot = 28;
// The part of the whole range of tones over which a stippled dot comes to its size.
constexpr double dotGrowth = 0.06;

struct Axes {
    double x = 1.0; // the direction of rows
    double y = 0.0;

    explicit Axes(double degrees) : x(std::cos(degrees * pi / 180.0)), y(std::sin(degrees * pi / 180.0)) {}
    // From along and across to the picture.
    std::pair<double, double> place(double along, double across) const {
        return {along * x - across * y, along * y + across * x};
    }
};

// The range of whole numbers that covers the frame along and across.
struct Range {
    double low[2] = {1e300, 1e300};
    double high[2] = {-1e300, -1e300};

    Range(const KivPixelFrame& frame, const Axes& axes) {
        for (int corner = 0; corner < 4; ++corner) {
            const double x = frame.left + (corner % 2 != 0 ? frame.width : 0);
            const double y = frame.bottom + (corner / 2 != 0 ? frame.height : 0);
            const double at[2] = {x * axes.x + y * axes.y, y * axes.x - x * axes.y};
            for (int i = 0; i < 2; ++i) {
                low[i] = std::min(low[i], at[i]);
                high[i] = std::max(high[i], at[i]);
            }
        }
    }
    std::int64_t first(int i, double step) const {
        return static_cast<std::int64_t>(std::floor(low[i] / step));
    }
    std::int64_t last(int i, double step) const {
        return static_cast<std::int64_t>(std::ceil(high[i] / step));
    }
};

class Printer {
public:
    Printer(const KivHalftoneScreen& wanted, const KivSeenSurface& seen,
            const std::function<bool(std::uint32_t)>& which, const KivHalftoneLight& lit)
        : screen(wanted), surface(seen), isWanted(which), light(lit) {}

    std::vector<KivHalftoneShape> run() {
        switch (screen.pattern) {
        case KivHalftonePattern::dots:
            printDots();
            break;
        case KivHalftonePattern::crossed:
        case KivHalftonePattern::lines:
            printLines();
            break;
        case KivHalftonePattern::stipple:
            stipple();
            break;
        }
        return std::move(shapes);
    }

private:
    // Ink at a place; 0 where there is none, and on what is not asked for.
    double inkAt(double x, double y, std::uint32_t* body) const {
        *body = surface.bodyAt(x, y);
        if (*body == 0 || !isWanted(*body)) {
            return 0.0;
        }
        const auto point = surface.at(x, y);
        return point ? kivHalftoneInk(screen, light(point->place, point->normal)) : 0.0;
    }

    void printDots() {
        const Axes axes(screen.angle);
        const Range range(surface.frame(), axes);
        const double step = screen.spacing;
        for (std::int64_t row = range.first(1, step); row <= range.last(1, step) && !kivIsCancelled(); ++row) {
            for (std::int64_t column = range.first(0, step); column <= range.last(0, step); ++column) {
                const auto [x, y] =
                    axes.place((static_cast<double>(column) + 0.5) * step, (static_cast<double>(row) + 0.5) * step);
                std::uint32_t body = 0;
                if (const double ink = inkAt(x, y, &body); ink > 0.0) {
                    addDot(body, x, y, step * std::sqrt(ink / pi));
                }
            }
        }
    }

    // A disc, cut where the surface ends.
    void addDot(std::uint32_t body, double x, double y, double radius) {
        if (radius < leastRadius) {
            return;
        }
        KivHalftoneShape shape;
        shape.body = body;
        shape.middle = {x, y};
        shape.ring.reserve(sidesOfDot);
        bool isWhole = true;
        for (int i = 0; i < sidesOfDot; ++i) {
            const double turn = 2.0 * pi * i / sidesOfDot;
            const double dx = std::cos(turn);
            const double dy = std::sin(turn);
            const double reach = surface.reach(x, y, dx, dy, radius);
            isWhole = isWhole && reach >= radius;
            const double length = std::min(radius, reach + beyondBorder);
            shape.ring.push_back({x + dx * length, y + dy * length});
        }
        if (isWhole) {
            shape.radius = radius;
            shape.ring.clear();
        }
        shapes.push_back(std::move(shape));
    }

    void printLines() {
        printLines(screen.angle, screen.tone, false);
        if (screen.pattern == KivHalftonePattern::crossed) {
            printLines(screen.angle + 90.0, screen.tone * crossTone, true);
        }
    }
    void printLines(double angle, double tone, bool isCrossing) {
        const Axes axes(angle);
        const Range range(surface.frame(), axes);
        KivHalftoneScreen layer = screen;
        layer.tone = tone;
        std::swap(screen, layer);
        for (std::int64_t row = range.first(1, screen.spacing);
             row <= range.last(1, screen.spacing) && !kivIsCancelled(); ++row) {
            printLine(axes, (static_cast<double>(row) + 0.5) * screen.spacing, range, isCrossing);
        }
        std::swap(screen, layer);
    }

    // One line from end to end of the frame: a ribbon for each run of ink on one surface.
    void printLine(const Axes& axes, double across, const Range& range, bool isCrossing) {
        constexpr double step = 1.5;
        Ribbon ribbon;
        double before[2] = {};
        for (std::int64_t i = range.first(0, step); i <= range.last(0, step); ++i) {
            const auto [x, y] = axes.place(static_cast<double>(i) * step, across);
            std::uint32_t body = 0;
            const double half = 0.5 * screen.spacing * inkAt(x, y, &body);
            if (!ribbon.left.empty()) {
                const double gone = surface.reach(before[0], before[1], axes.x, axes.y, step);
                if (half < leastHalfWidth || body != ribbon.body || gone < step) {
                    if (half < leastHalfWidth && body == ribbon.body && gone >= step) {
                        ribbon.add(x, y, axes, 0.0, 0.0); // runs out
                    } else {
                        ribbon.lengthen(axes, gone + beyondBorder);
                    }
                    finish(ribbon, isCrossing);
                }
            }
            if (half >= leastHalfWidth) {
                ribbon.body = body;
                ribbon.add(x, y, axes, sideOf(x, y, -axes.y, axes.x, half), sideOf(x, y, axes.y, -axes.x, half));
            }
            before[0] = x;
            before[1] = y;
        }
        finish(ribbon, isCrossing);
    }
    double sideOf(double x, double y, double dx, double dy, double half) const {
        return std::min(half, surface.reach(x, y, dx, dy, half) + beyondBorder);
    }

    struct Ribbon {
        std::uint32_t body = 0;
        std::vector<KivPicturePoint> left;
        std::vector<KivPicturePoint> right;

        void add(double x, double y, const Axes& axes, double toLeft, double toRight) {
            left.push_back({x - axes.y * toLeft, y + axes.x * toLeft});
            right.push_back({x + axes.y * toRight, y - axes.x * toRight});
        }
        void lengthen(const Axes& axes, double length) {
            left.push_back({left.back().x + axes.x * length, left.back().y + axes.y * length});
            right.push_back({right.back().x + axes.x * length, right.back().y + axes.y * length});
        }
    };
    void finish(Ribbon& ribbon, bool isCrossing) {
        if (ribbon.left.size() > 1) {
            KivHalftoneShape shape;
            shape.body = ribbon.body;
            shape.isCrossing = isCrossing;
            shape.isRibbon = true;
            shape.middle = ribbon.left.front();
            shape.ring = ribbon.left;
            shape.ring.insert(shape.ring.end(), ribbon.right.rbegin(), ribbon.right.rend());
            shapes.push_back(std::move(shape));
        }
        ribbon = {};
    }

    // The square of places is laid out again and again; a place gets its dot where the tone wants so many.
    void stipple() {
        const std::vector<KivStipplePlace>& places = kivStipple();
        const double side = screen.spacing * std::sqrt(static_cast<double>(places.size()));
        const std::vector<double> radii = radiiApart(places, side);
        const Axes axes(screen.angle);
        const Range range(surface.frame(), axes);
        for (std::size_t i = 0; i < places.size() && !kivIsCancelled(); ++i) {
            const double share = (static_cast<double>(i) + 0.5) / static_cast<double>(places.size());
            const double growth = std::min(dotGrowth, 2.0 * share); // nothing grows in the light
            for (std::int64_t row = range.first(1, side); row <= range.last(1, side) && radii[i] > 0.0; ++row) {
                for (std::int64_t column = range.first(0, side); column <= range.last(0, side); ++column) {
                    const auto [x, y] = axes.place((static_cast<double>(column) + places[i].x) * side,
                                                   (static_cast<double>(row) + places[i].y) * side);
                    std::uint32_t body = 0;
                    const double dark = inkAt(x, y, &body) / screen.ink;
                    // A dot grows where the tone begins to want it: in a film a whole one would pop up.
                    const double grown = std::min((dark - share) / growth + 0.5, 1.0);
                    if (grown > 0.0) {
                        addDot(body, x, y, radii[i] * std::sqrt(grown) * (0.8 + 0.2 * dark));
                    }
                }
            }
        }
    }
    // No two dots of a hand are alike. One that would touch an earlier one has no radius: wherever it is wanted, so is
    // the other.
    std::vector<double> radiiApart(const std::vector<KivStipplePlace>& places, double side) const {
        std::vector<double> radii;
        for (std::size_t i = 0; i < places.size(); ++i) {
            const double uneven = 0.86 + 0.28 * std::fmod(static_cast<double>(i) * 0.61803398875, 1.0);
            const double radius = screen.spacing * std::sqrt(screen.ink / pi) * uneven;
            bool isApart = true;
            for (std::size_t j = 0; j < i && isApart; ++j) {
                isApart =
                    radii[j] == 0.0 || kivStippleDistance(places[i], places[j]) * side > (radii[j] + radius) * 1.04;
            }
            radii.push_back(isApart ? radius : 0.0);
        }
        return radii;
    }

    KivHalftoneScreen screen;
    const KivSeenSurface& surface;
    const std::function<bool(std::uint32_t)>& isWanted;
    const KivHalftoneLight& light;
    std::vector<KivHalftoneShape> shapes;
};

} // namespace

double kivHalftoneInk(const KivHalftoneScreen& screen, double light) {
    if (!(light < screen.tone)) {
        return 0.0;
    }
    const double dark = std::min(1.0, (screen.tone - light) / (screen.tone * fullDepth));
    const double levels = screen.levels;
    return screen.ink * (screen.levels > 0 ? std::ceil(dark * levels) / levels : dark);
}

std::vector<KivHalftoneShape> kivHalftone(const KivHalftoneScreen& screen, const KivSeenSurface& surface,
                                          const std::function<bool(std::uint32_t body)>& isWanted,
                                          const KivHalftoneLight& light) {
    return Printer(screen, surface, isWanted, light).run();
}
