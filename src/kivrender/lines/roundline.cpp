#include "kivrender/lines/roundline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr double finest = 0.02;  // chords rise by no more, in pixels
constexpr double sharpest = 0.5; // the cosine of the largest turn that is rounded, 60 degrees
constexpr int mostSteps = 16;
constexpr double mostUneven = 3.0; // of the lengths of neighbours

// Of edges.
constexpr double gentle = 0.94;     // the cosine of the largest turn, 20 degrees
constexpr double slightRise = 0.25; // in pixels

class Rounder {
public:
    Rounder(const KivLineView& seenFrom, const std::vector<bool>& roundPieces,
            const std::vector<KivVec>& surfaceNormals, bool isClosed, const std::vector<KivVec>& line)
        : view(seenFrom), isRound(roundPieces), normals(surfaceNormals), closed(isClosed), points(line) {}

    std::vector<KivVec> rounded() const {
        std::vector<KivVec> result;
        const std::size_t pieces = points.size() - (closed ? 0 : 1);
        for (std::size_t i = 0; i < pieces; ++i) {
            result.push_back(points[i]);
            addBetween(i, result);
        }
        if (!closed) {
            result.push_back(points.back());
        }
        return result;
    }

private:
    std::size_t after(std::size_t i) const {
        return i + 1 == points.size() ? 0 : i + 1;
    }
    // The slope at a point, in lengths per length; that of the chord where the line ends or turns sharply.
    KivVec slopeAt(std::size_t i, const KivVec& chord) const {
        const std::size_t before = i == 0 ? points.size() - 1 : i - 1;
        if ((!closed && (i == 0 || i + 1 == points.size())) || isRound[before] != isRound[i]) {
            return kivUnit(chord);
        }
        const KivVec in = points[i] - points[before];
        const KivVec out = points[after(i)] - points[i];
        const double inLength = kivLength(in);
        const double outLength = kivLength(out);
        const bool isUneven = inLength > mostUneven * outLength || outLength > mostUneven * inLength;
        if (!(kivDot(in, out) > (isRound[i] ? sharpest : gentle) * inLength * outLength) || (!isRound[i] && isUneven)) {
            return kivUnit(chord);
        }
        if (isUneven && !normals.empty() && kivLength(normals[i]) > 0.0) {
            const KivVec longer = inLength > outLength ? in : out;
            return kivUnit(longer - normals[i] * kivDot(longer, normals[i]));
        }
        return kivUnit(in * (outLength / inLength) + out * (inLength / outLength));
    }
    void addBetween(std::size_t i, std::vector<KivVec>& result) const {
        const KivVec& a = points[i];
        const KivVec& b = points[after(i)];
        const KivVec chord = b - a;
        const double length = kivLength(chord);
        const KivVec slopeA = slopeAt(i, chord) * length;
        const KivVec slopeB = slopeAt(after(i), chord) * length;
        const double depth = std::min(view.toCamera(a).z, view.toCamera(b).z);
        if (!(length > 0.0) || depth < view.nearest()) {
            return;
        }
        const double rise = 0.125 * kivLength(slopeB - slopeA) / view.pixelSize(depth);
        if (!isRound[i] && rise > slightRise) {
            return;
        }
        const int steps = static_cast<int>(std::clamp(std::ceil(std::sqrt(rise / finest)), 1.0, double{mostSteps}));
        for (int k = 1; k < steps; ++k) {
            const double t = static_cast<double>(k) / steps;
            const double s = 1.0 - t;
            result.push_back(a * (s * s * (1.0 + 2.0 * t)) + b * (t * t * (3.0 - 2.0 * t)) + slopeA * (s * s * t) -
                             slopeB * (s * t * t));
        }
    }

    const KivLineView& view;
    const std::vector<bool>& isRound;
    const std::vector<KivVec>& normals;
    bool closed;
    const std::vector<KivVec>& points;
};

} // namespace

void kivRoundLine(const KivLineView& view, const std::vector<bool>& isRound, const std::vector<KivVec>& normals,
                  bool closed, std::vector<KivVec>& points) {
    if (points.size() > 2) {
        points = Rounder(view, isRound, normals, closed, points).rounded();
    }
}
