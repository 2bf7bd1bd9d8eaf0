#include "kivrender/lines/kivtidylines.h"

#include "kivrender/lines/lineneighbours.h"
#include "kivrender/lines/linepart.h"
#include "kivrender/lines/linestubs.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <tuple>
#include <utility>

namespace {

// In times of the reach: what is beside another line for less is not beside it. A line that crosses is so for a little,
// too; it takes an angle of less than 10 degrees to stay beside it for longer.
constexpr double shortestRun = 4.0;
constexpr double shortestCrossing = 12.0;
constexpr double onOtherSide = 0.7;
// A dash is as long as so many widths of the pen that draws what is seen (ISO 128).
constexpr double dash = 6.0;
constexpr double rounding = 0.1; // in pixels

// The lines of a small detail run together where what is between them is narrower than half of a line.
constexpr double crowded = 0.75;
constexpr double crowdedPart = 0.5; // of the length
constexpr double largestDetail = 24.0;
// A detail that is nearly as crowded and nearly as small as a narrow one of the same object is narrow, too: of a row of
// equal holes none stands out.
constexpr double nearlyCrowded = 1.6;
constexpr double nearlyAsLarge = 1.5;
constexpr double narrowPen = 0.5;

double lengthOf(const KivFoundLine& line) {
    return kivForStretches(line, [](const Stretch&, double) {});
}

double extentOf(const KivFoundLine& line) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    KivPicturePoint low = {infinity, infinity};
    KivPicturePoint high = {-infinity, -infinity};
    for (const KivPicturePoint& p : line.picture) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    return std::hypot(high.x - low.x, high.y - low.y);
}

class Tidier {
public:
    Tidier(const KivLineView& seenFrom, double effort, std::vector<KivPennedLine>& all)
        : view(seenFrom), budget(LineBudget::allowance(pointsOf(all), effort)), lines(all) {}

    bool tidy() {
        kivTrimStubs(view, budget, lines);
        for (std::uint32_t i = 0; i < lines.size() && budget.goesOn(); ++i) {
            if (!lines[i].line.hidden && lines[i].width > 0.0) {
                neighbours.add(lines[i].line, i, budget);
            }
        }
        thinDetails();
        takeOutHidden();
        return !budget.isCancelled();
    }

private:
    static std::size_t pointsOf(const std::vector<KivPennedLine>& all) {
        std::size_t points = 0;
        for (const KivPennedLine& penned : all) {
            points += penned.line.picture.size();
        }
        return points;
    }

    // A line that may be drawn with the narrow pen.
    struct Detail {
        std::uint32_t number;
        double extent;
        bool isCrowded;
    };

    void thinDetails() {
        std::vector<Detail> details;
        std::map<std::uint32_t, double> narrowExtents; // the largest of each object
        for (std::uint32_t i = 0; i < lines.size() && budget.goesOn(); ++i) {
            const double extent = mayBeNarrow(i) ? extentOf(lines[i].line) : 0.0;
            if (extent == 0.0 || extent > largestDetail * lines[i].width || !isCrowded(i, nearlyCrowded)) {
                continue;
            }
            details.push_back({i, extent, isCrowded(i, 1.0)});
            if (details.back().isCrowded) {
                double& largest = narrowExtents[lines[i].line.object];
                largest = std::max(largest, extent);
            }
        }
        for (const auto& [number, extent, isCrowded] : details) {
            if (isCrowded || extent <= nearlyAsLarge * narrowExtents[lines[number].line.object]) {
                lines[number].width *= narrowPen;
            }
        }
    }
    // Tangent edges are narrow already.
    bool mayBeNarrow(std::uint32_t i) const {
        const KivFoundLine& line = lines[i].line;
        return lines[i].mayBeNarrow && lines[i].width > 0.0 && !line.hidden && line.kind != KivStrokeKind::tangent;
    }
    // times: the distance at which lines run together.
    bool isCrowded(std::uint32_t i, double times) {
        double beside = 0.0;
        const auto reachOf = [&](std::uint32_t other) {
            return times * crowded * (lines[other].width + lines[i].width);
        };
        for (const LineRun& run : neighbours.runsOf(lines[i].line, i, reachOf, budget)) {
            beside += run.to - run.from;
        }
        return beside > crowdedPart * lengthOf(lines[i].line);
    }

    // The longest come first, so that of two the more telling one stays.
    std::vector<std::uint32_t> hiddenInOrder() const {
        std::vector<std::tuple<KivStrokeKind, double, std::uint32_t>> order;
        for (std::uint32_t i = 0; i < lines.size(); ++i) {
            if (lines[i].line.hidden && lines[i].width > 0.0 && lines[i].line.picture.size() > 1) {
                order.emplace_back(lines[i].line.kind, -lengthOf(lines[i].line), i);
            }
        }
        std::sort(order.begin(), order.end());
        std::vector<std::uint32_t> numbers;
        for (const auto& [kind, length, number] : order) {
            numbers.push_back(number);
        }
        return numbers;
    }
    void takeOutHidden() {
        std::vector<std::vector<KivFoundLine>> rests(lines.size());
        std::vector<bool> isCut(lines.size(), false);
        for (const std::uint32_t i : hiddenInOrder()) {
            if (!budget.goesOn()) {
                break;
            }
            std::vector<LineRun> kept;
            isCut[i] = keptOf(i, kept);
            for (const LineRun& run : kept) {
                rests[i].push_back(kivPartOf(view, lines[i].line, run));
                neighbours.add(rests[i].back(), i, budget);
            }
            if (!isCut[i]) {
                neighbours.add(lines[i].line, i, budget);
            }
        }
        replaceCut(isCut, rests);
    }
    void replaceCut(const std::vector<bool>& isCut, std::vector<std::vector<KivFoundLine>>& rests) {
        std::vector<KivPennedLine> result;
        result.reserve(lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (!isCut[i]) {
                result.push_back(std::move(lines[i]));
            }
            for (KivFoundLine& rest : rests[i]) {
                result.push_back({std::move(rest), lines[i].width, lines[i].mayBeNarrow});
            }
        }
        lines.swap(result);
    }

    // True if anything is taken out of a hidden line; the runs are the rest then.
    bool keptOf(std::uint32_t i, std::vector<LineRun>& kept) {
        const double length = lengthOf(lines[i].line);
        const auto reachOf = [&](std::uint32_t other) {
            return lines[other].line.hidden ? (other == i ? 0.0 : 0.5 * std::max(lines[other].width, lines[i].width))
                                            : lines[other].width;
        };
        double done = 0.0;
        for (const LineRun& run : neighbours.runsOf(lines[i].line, i, reachOf, budget)) {
            const bool isAll = run.from < run.reach && run.to > length - run.reach;
            if (isAll || run.to - run.from > run.reach * (isCrossing(run) ? shortestCrossing : shortestRun)) {
                addKept(done, run.from, kept);
                done = run.to;
            }
        }
        if (done == 0.0) {
            return false;
        }
        addKept(done, length, kept);
        const bool goesOn = lines[i].line.closed && kept.size() > 1;
        if (goesOn && kept.front().from == 0.0 && kept.back().to == length) {
            kept.back().to += kept.front().to;
            kept.erase(kept.begin());
        }
        std::erase_if(kept, [&](const LineRun& run) { return run.to - run.from < dash * lines[i].width; });
        return true;
    }
    // From one side of the other line to its other side.
    static bool isCrossing(const LineRun& run) {
        return run.asideFrom * run.asideTo < 0.0 &&
               std::min(std::fabs(run.asideFrom), std::fabs(run.asideTo)) > onOtherSide * run.reach;
    }
    static void addKept(double from, double to, std::vector<LineRun>& kept) {
        if (to - from > rounding) {
            kept.push_back({from, to});
        }
    }

    const KivLineView& view;
    LineBudget budget;
    std::vector<KivPennedLine>& lines;
    LineNeighbours neighbours;
};

} // namespace

bool kivTidyLines(const KivLineView& view, double effort, std::vector<KivPennedLine>& lines) {
    return Tidier(view, effort, lines).tidy();
}
