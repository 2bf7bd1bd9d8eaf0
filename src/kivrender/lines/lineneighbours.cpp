#include "kivrender/lines/lineneighbours.h"

#include <algorithm>
#include <cmath>

namespace {

// Lines run beside each other where their directions differ by less than 26 degrees.
constexpr double leastCosine = 0.9;
// A line that bends is next to itself; it comes back beside itself only after so many times the distance.
constexpr double ownBend = 3.0;
// On the outer side of a bend no piece of the other line lies opposite.
constexpr double bendGap = 2.0;
// Of work: the squares that a stretch passes are looked up, whatever lies in them.
constexpr std::size_t unitsPerStretch = 64;

// The run of a stretch, in pixels from its start, that lies opposite the other one and no farther from it than the
// reach.
bool besideRun(const Stretch& stretch, const Stretch& other, double reach, LineRun* run) {
    const double length = kivLengthOf(stretch);
    const double otherLength = kivLengthOf(other);
    if (!(length > 0.0) || !(otherLength > 0.0)) {
        return false;
    }
    const double dx = (stretch.end.x - stretch.start.x) / length;
    const double dy = (stretch.end.y - stretch.start.y) / length;
    const auto along = [&](const KivPicturePoint& p) {
        return (p.x - stretch.start.x) * dx + (p.y - stretch.start.y) * dy;
    };
    const auto aside = [&](const KivPicturePoint& p) {
        return (p.y - stretch.start.y) * dx - (p.x - stretch.start.x) * dy;
    };
    const double first = along(other.start);
    const double last = along(other.end);
    if (std::fabs(last - first) < leastCosine * otherLength) {
        return false;
    }
    // aside runs evenly: it is within the reach between two places.
    const double slope = (aside(other.end) - aside(other.start)) / (last - first);
    double low = std::max(std::min(first, last), 0.0);
    double high = std::min(std::max(first, last), length);
    const double atStart = aside(other.start) - slope * first;
    if (slope != 0.0) {
        const double one = (-reach - atStart) / slope;
        const double two = (reach - atStart) / slope;
        low = std::max(low, std::min(one, two));
        high = std::min(high, std::max(one, two));
    } else if (std::fabs(atStart) > reach) {
        return false;
    }
    *run = {low, high, reach, atStart + slope * low, atStart + slope * high};
    return low < high;
}

} // namespace

void LineNeighbours::add(const KivFoundLine& line, std::uint32_t number, LineBudget& budget) {
    kivForStretches(line, [&](const Stretch& stretch, double at) {
        if (budget.spend(unitsPerStretch)) {
            index.add(stretch);
            owners.push_back({number, at});
        }
    });
}

const std::vector<LineRun>& LineNeighbours::runsOf(const KivFoundLine& line, std::uint32_t number,
                                                   const std::function<double(std::uint32_t)>& reachOf,
                                                   LineBudget& budget) {
    runs.clear();
    kivForStretches(line, [&](const Stretch& stretch, double at) {
        if (!budget.goesOn()) {
            return;
        }
        const double length = kivLengthOf(stretch);
        for (const std::uint32_t other : index.near(stretch)) {
            const double reach = std::min(reachOf(owners[other].line), StretchIndex::reach);
            const bool isBend = owners[other].line == number &&
                                std::fabs(owners[other].at - at) < ownBend * reach + kivLengthOf(index[other]) + length;
            LineRun run;
            if (reach > 0.0 && !isBend && besideRun(stretch, index[other], reach, &run)) {
                run.from += at;
                run.to += at;
                runs.push_back(run);
            }
        }
        budget.spend(index.takeWork() + unitsPerStretch);
    });
    if (!budget.goesOn()) {
        runs.clear();
    }
    join();
    return runs;
}

void LineNeighbours::join() {
    std::sort(runs.begin(), runs.end(),
              [](const LineRun& a, const LineRun& b) { return a.from < b.from || (a.from == b.from && a.to < b.to); });
    std::size_t kept = 0;
    for (std::size_t i = 1; i < runs.size(); ++i) {
        LineRun& before = runs[kept];
        if (runs[i].from <= before.to + bendGap * before.reach) {
            before.asideTo = runs[i].to > before.to ? runs[i].asideTo : before.asideTo;
            before.to = std::max(before.to, runs[i].to);
            before.reach = std::max(before.reach, runs[i].reach);
        } else {
            runs[++kept] = runs[i];
        }
    }
    runs.resize(runs.empty() ? 0 : kept + 1);
}
