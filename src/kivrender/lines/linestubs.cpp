#include "kivrender/lines/linestubs.h"

#include "kivrender/lines/lineneighbours.h"
#include "kivrender/lines/linepart.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

// In widths of the contour's pen.
constexpr double longestStub = 3.0;
constexpr double shortestRest = 12.0;

class Trimmer {
public:
    Trimmer(LineBudget& work, const std::vector<KivPennedLine>& all) : budget(work), lines(all) {}

    // How much to take off the start and the end of each line, in pixels.
    std::vector<std::array<double, 2>> find() {
        for (std::uint32_t i = 0; i < lines.size(); ++i) {
            if (isDrawn(i)) {
                neighbours.add(lines[i].line, i, budget);
            }
        }
        lengths.resize(lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            lengths[i] = kivForStretches(lines[i].line, [](const Stretch&, double) {});
        }
        cuts.resize(lines.size(), {0.0, 0.0});
        for (std::uint32_t i = 0; i < lines.size() && budget.goesOn(); ++i) {
            if (isOpen(i)) {
                cutAtEnd(i, lines[i].line.picture.front());
                cutAtEnd(i, lines[i].line.picture.back());
            }
        }
        return cuts;
    }

private:
    bool isDrawn(std::size_t i) const {
        return !lines[i].line.hidden && lines[i].width > 0.0;
    }
    bool isOpen(std::size_t i) const {
        return isDrawn(i) && !lines[i].line.closed && lines[i].line.picture.size() > 1;
    }
    // Two pens whose ink meets.
    double touch(std::uint32_t one, std::uint32_t other) const {
        return 0.5 * (lines[one].width + lines[other].width);
    }

    // Where line i ends on others, these end too if they go on by no more than a stub.
    void cutAtEnd(std::uint32_t i, const KivPicturePoint& end) {
        std::vector<std::pair<std::uint32_t, double>> passed;
        neighbours.visitNear(end, StretchIndex::reach, budget, [&](std::uint32_t other, double at, double distance) {
            const bool isContour = lines[other].line.kind == KivStrokeKind::contour;
            if (other != i && isContour && isOpen(other) && distance <= touch(i, other)) {
                passed.emplace_back(other, at);
            }
        });
        for (const auto& [other, at] : passed) {
            takeStub(i, other, false, at);
            takeStub(i, other, true, lengths[other] - at);
        }
    }
    void takeStub(std::uint32_t i, std::uint32_t other, bool atEnd, double stub) {
        const double width = lines[other].width;
        double& cut = cuts[other][atEnd ? 1 : 0];
        if (stub > std::max(cut, touch(i, other)) && stub <= longestStub * width &&
            lengths[other] > shortestRest * width && isLoose(other, atEnd)) {
            cut = stub;
        }
    }
    bool isLoose(std::uint32_t i, bool atEnd) {
        const KivFoundLine& line = lines[i].line;
        bool isFree = true;
        neighbours.visitNear(atEnd ? line.picture.back() : line.picture.front(), StretchIndex::reach, budget,
                             [&](std::uint32_t other, double, double distance) {
                                 isFree = isFree && (other == i || distance > touch(i, other));
                             });
        return isFree;
    }

    LineBudget& budget;
    const std::vector<KivPennedLine>& lines;
    LineNeighbours neighbours;
    std::vector<double> lengths;
    std::vector<std::array<double, 2>> cuts;
};

} // namespace

void kivTrimStubs(const KivLineView& view, LineBudget& budget, std::vector<KivPennedLine>& lines) {
    const std::vector<std::array<double, 2>> cuts = Trimmer(budget, lines).find();
    for (std::size_t i = 0; i < lines.size() && budget.goesOn(); ++i) {
        if (cuts[i][0] > 0.0 || cuts[i][1] > 0.0) {
            const double length = kivForStretches(lines[i].line, [](const Stretch&, double) {});
            lines[i].line = kivPartOf(view, lines[i].line, {cuts[i][0], length - cuts[i][1]});
        }
    }
}
