#include "kivrender/lines/linepart.h"

#include "kivrender/lines/evenpart.h"

#include <algorithm>
#include <cstddef>

namespace {

// What lies within the run of the stretch that begins at point i, at so many pixels of the line.
void addPart(const KivLineView& view, const KivFoundLine& line, std::size_t i, const Stretch& stretch, double at,
             const LineRun& run, KivFoundLine& part) {
    const double length = kivLengthOf(stretch);
    const double from = length > 0.0 ? std::clamp((run.from - at) / length, 0.0, 1.0) : 0.0;
    const double to = length > 0.0 ? std::clamp((run.to - at) / length, 0.0, 1.0) : 0.0;
    if (!(from < to)) {
        return;
    }
    const KivVec& a = line.space[i];
    const KivVec& b = line.space[i + 1 == line.space.size() ? 0 : i + 1];
    for (const double t : {from, to}) {
        if (t == from && !part.picture.empty()) {
            continue;
        }
        part.picture.push_back({stretch.start.x + (stretch.end.x - stretch.start.x) * t,
                                stretch.start.y + (stretch.end.y - stretch.start.y) * t});
        const double even = kivEvenPart(view, view.toCamera(a).z, view.toCamera(b).z, t);
        part.space.push_back(a + (b - a) * even);
    }
}

} // namespace

KivFoundLine kivPartOf(const KivLineView& view, const KivFoundLine& line, const LineRun& run) {
    KivFoundLine part;
    part.source = line.source;
    part.object = line.object;
    part.kind = line.kind;
    part.hidden = line.hidden;
    const double length = kivForStretches(line, [](const Stretch&, double) {});
    part.startsFree = line.startsFree && run.from == 0.0;
    part.endsFree = line.endsFree && run.to == length;
    for (int round = 0; round < (run.to > length ? 2 : 1); ++round) {
        std::size_t i = 0;
        kivForStretches(line, [&](const Stretch& stretch, double at) {
            addPart(view, line, i, stretch, at + round * length, run, part);
            ++i;
        });
    }
    return part;
}
