// Where lines of a picture run beside others.
#ifndef KIVRENDER_LINES_LINENEIGHBOURS_H
#define KIVRENDER_LINES_LINENEIGHBOURS_H

#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/linebudget.h"
#include "kivrender/lines/stretchindex.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// A part of a line, in pixels from its start.
struct LineRun {
    double from = 0.0;
    double to = 0.0;
    double reach = 0.0; // how far away the other lines may be, at most
    // How far to the left the other line is where the run begins and ends, in pixels.
    double asideFrom = 0.0;
    double asideTo = 0.0;
};

// The straight pieces of a line, one after the other, with the length of the line up to each: visit(stretch, at).
template <class Visit> double kivForStretches(const KivFoundLine& line, Visit visit) {
    double at = 0.0;
    const std::size_t count = line.picture.size();
    for (std::size_t i = 1; i < count + (line.closed ? 1 : 0); ++i) {
        const Stretch stretch = {line.picture[i - 1], line.picture[i == count ? 0 : i]};
        visit(stretch, at);
        at += kivLengthOf(stretch);
    }
    return at;
}

class LineNeighbours {
public:
    // The number is the caller's. Once the budget has ended nothing is added.
    void add(const KivFoundLine& line, std::uint32_t number, LineBudget& budget);
    // Runs of a line beside those that were added, sorted and joined. reachOf tells of the number of another line how
    // near it must be, in pixels; 0 where it does not count. The line itself, where it was added, counts where it comes
    // back beside itself. Once the budget has ended nothing is found.
    const std::vector<LineRun>& runsOf(const KivFoundLine& line, std::uint32_t number,
                                       const std::function<double(std::uint32_t)>& reachOf, LineBudget& budget);

    // The lines that pass within a distance of a point, each as often as pieces of it do: visit(number, at, distance)
    // with the length of the line up to the nearest place. Nothing once the budget has ended.
    template <class Visit> void visitNear(const KivPicturePoint& point, double reach, LineBudget& budget, Visit visit) {
        if (!budget.goesOn()) {
            return;
        }
        for (const std::uint32_t number : index.near({point, point})) {
            double at = 0.0;
            const double distance = kivDistance(point, index[number], &at);
            if (distance <= reach) {
                visit(owners[number].line, owners[number].at + at, distance);
            }
        }
        budget.spend(index.takeWork() + 1);
    }

private:
    struct Owner {
        std::uint32_t line = 0;
        double at = 0.0;
    };

    void join();

    StretchIndex index;
    std::vector<Owner> owners; // of the stretches
    std::vector<LineRun> runs;
};

#endif
