#include "kivlinetracer.h"

#include <algorithm>
#include <cmath>

namespace {

// The distance of two samples in pixels: fine enough for the last visible pixel of a line, coarse enough to be cheap.
constexpr double sampleStep = 1.5;

// Depth differences below this are rounding: the depth buffer holds floats, and so do the matrices of OpenGL.
constexpr double depthSlack = 1e-6;

// A fold zigzags from triangle to triangle and dips behind its own surface on the way. What lies no deeper than this
// many pixels of the finished picture is taken for such a dip, and a line goes on over dips that are not too long.
constexpr double slightly = 4.0;
constexpr float slightlyHidden = -1.0F;
constexpr double longestDip = 8.0;

// Above the 1 of what is drawn in full: that, with nothing behind it.
constexpr float outlineWeight = 2.0F;

// In pixels of the finished picture, to either side and across.
constexpr double zigzagReach = 4.0;
constexpr double zigzagHeight = 0.6;

// Lines drawn at less than this part of their width are left out.
constexpr float faint = 0.3F;

int cellOf(double coordinate) {
    return static_cast<int>(std::floor(coordinate));
}

} // namespace

float KivLineTracer::weigh(const KivWindowPoint& place, const KivVec& open, KivFeatureKind kind) const {
    const int x = cellOf(place.x);
    const int y = cellOf(place.y);
    const float farthest = depth.farthest(x, y);
    if (place.z > farthest + depthSlack * view.depthGrain(place.z)) {
        const double here = view.distance(place.z);
        const double covered = (here - view.distance(farthest)) / view.pixelSize(here);
        return covered < slightly * pen.pixel ? slightlyHidden : 0.0F;
    }
    if (kind != KivFeatureKind::silhouette || (open.x == 0.0 && open.y == 0.0)) {
        return 1.0F;
    }
    // How much deeper is what the fold hides? The small folds of a rough or faceted surface hide next to nothing; drawn
    // in full they would be hairs.
    float behind = 0.0F;
    for (const double pixels : {1.0, 2.0}) {
        behind = std::max(behind, depth.at(cellOf(place.x + open.x * pixels * pen.pixel),
                                           cellOf(place.y + open.y * pixels * pen.pixel)));
    }
    if (behind >= 1.0F) {
        return outlineWeight;
    }
    const double here = view.distance(place.z);
    const double step = (view.distance(behind) - here) / view.pixelSize(here);
    return static_cast<float>(std::clamp(step / pen.detail, 0.02, 1.0));
}

bool KivLineTile::mayHold(const KivWindowPoint& a, const KivWindowPoint& b) const {
    return std::max(a.x, b.x) >= left && std::min(a.x, b.x) < right && std::max(a.y, b.y) >= bottom &&
           std::min(a.y, b.y) < top;
}

float KivLineTracer::weightOf(const KivWindowPoint& place, const KivVec& open, KivFeatureKind kind) const {
    if (sights == nullptr) {
        return weigh(place, open, kind);
    }
    if (sights->isRecording) {
        sights->weights.resize(std::max(sights->weights.size(), sights->next + 1));
        if (sights->tile.holds(place.x, place.y)) {
            sights->weights[sights->next] = weigh(place, open, kind);
        }
    }
    return sights->weights[sights->next++];
}

// Samples that lie in another tile.
void KivLineTracer::passOver(std::size_t count) {
    sights->next += count;
    sights->weights.resize(std::max(sights->weights.size(), sights->next));
    if (samples.empty()) {
        samples.push_back({});
    }
}

bool KivLineTracer::sees(const KivClipPoint& point, KivLinePoint* place) const {
    double from = 0.0;
    double to = 1.0;
    if (!(point.w > 0.0) || !kivClipSegment(point, point, &from, &to)) {
        return false;
    }
    const KivWindowPoint at = view.window(point);
    place->x = static_cast<float>(at.x);
    place->y = static_cast<float>(at.y);
    return weightOf(at, {}, KivFeatureKind::crease) > 0.0F;
}

void KivLineTracer::sampleEdge(const std::vector<KivLineCorner>& corners, std::size_t corner, KivFeatureKind kind,
                               std::vector<KivLinePath>& paths) {
    const KivLineCorner& from = corners[corner];
    const KivClipPoint& to = corners[(corner + 1) % corners.size()].clip;
    double first = 0.0;
    double last = 1.0;
    if (!kivClipSegment(from.clip, to, &first, &last)) {
        breakOff(kind, paths);
        return;
    }
    const KivClipPoint a = kivMix(from.clip, to, first);
    const KivClipPoint b = kivMix(from.clip, to, last);
    if (!(a.w > 0.0) || !(b.w > 0.0)) {
        breakOff(kind, paths);
        return;
    }
    if (first > 0.0) {
        breakOff(kind, paths);
    }
    const KivWindowPoint start = view.window(a);
    const KivWindowPoint end = view.window(b);
    const double dx = end.x - start.x;
    const double dy = end.y - start.y;
    const double length = std::hypot(dx, dy);
    KivVec open;
    if (length > 0.0) {
        open = {-dy / length * from.openSide, dx / length * from.openSide, 0.0};
    }
    const int steps = std::max(1, static_cast<int>(std::ceil(length / sampleStep)));
    const bool begins = samples.empty();
    if (sights != nullptr && sights->isRecording && !sights->tile.mayHold(start, end)) {
        passOver(static_cast<std::size_t>(steps) + (begins ? 1 : 0));
        if (last < 1.0) {
            breakOff(kind, paths);
        }
        return;
    }
    for (int i = begins ? 0 : 1; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        const KivWindowPoint place = {start.x + dx * t, start.y + dy * t, start.z + (end.z - start.z) * t};
        // Even steps in the picture are uneven ones in a view with perspective.
        const double part = first + (last - first) * t * a.w / (t * a.w + (1.0 - t) * b.w);
        const float weight = weightOf(place, open, kind);
        samples.push_back({static_cast<float>(place.x),
                           static_cast<float>(place.y),
                           std::min(weight, 1.0F),
                           weight > 1.0F,
                           {static_cast<std::uint32_t>(corner), static_cast<float>(part)}});
    }
    if (last < 1.0) {
        breakOff(kind, paths);
    }
}

void KivLineTracer::trace(const std::vector<KivLineCorner>& corners, bool closed, KivFeatureKind kind,
                          std::vector<KivLinePath>& paths) {
    samples.clear();
    const std::size_t count = corners.size();
    if (count < 2) {
        return;
    }
    broken = false;
    freeStart = !closed;
    for (std::size_t i = 0; i + 1 < count + (closed ? 1 : 0); ++i) {
        sampleEdge(corners, i, kind, paths);
    }
    finishPiece(closed && !broken, !closed, kind, paths);
}

void KivLineTracer::breakOff(KivFeatureKind kind, std::vector<KivLinePath>& paths) {
    broken = true;
    finishPiece(false, false, kind, paths);
    freeStart = false;
}

// Gaps of less than a pixel of the finished picture come from the depth buffer's grid; slight dips are longer.
void KivLineTracer::bridgeGaps() {
    const std::size_t count = samples.size();
    const std::size_t bridge = static_cast<std::size_t>(pen.pixel / sampleStep);
    const std::size_t dip = static_cast<std::size_t>(longestDip * pen.pixel / sampleStep);
    for (std::size_t i = 1; i < count;) {
        if (samples[i].weight > 0.0F) {
            ++i;
            continue;
        }
        std::size_t end = i;
        bool slight = true;
        while (end < count && samples[end].weight <= 0.0F) {
            slight = slight && samples[end].weight < 0.0F;
            ++end;
        }
        if (end < count && end - i <= (slight ? dip : bridge) && samples[i - 1].weight > 0.0F) {
            for (std::size_t k = i; k < end; ++k) {
                samples[k].weight = std::min(samples[i - 1].weight, samples[end].weight);
            }
        }
        i = end;
    }
}

// Evens the weights out along each visible run, so that a line swells and thins as a pen would.
void KivLineTracer::evenWeights() {
    const std::size_t count = samples.size();
    const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(3.0 * pen.pixel / sampleStep);
    std::vector<float> even(count);
    for (std::size_t first = 0; first < count;) {
        if (samples[first].weight <= 0.0F) {
            ++first;
            continue;
        }
        std::size_t end = first;
        while (end < count && samples[end].weight > 0.0F) {
            ++end;
        }
        double sum = 0.0;
        std::size_t low = first;
        std::size_t high = first;
        for (std::size_t i = first; i < end; ++i) {
            while (high < end && static_cast<std::ptrdiff_t>(high) <= static_cast<std::ptrdiff_t>(i) + reach) {
                sum += samples[high++].weight;
            }
            while (static_cast<std::ptrdiff_t>(low) < static_cast<std::ptrdiff_t>(i) - reach) {
                sum -= samples[low++].weight;
            }
            even[i] = static_cast<float>(sum / static_cast<double>(high - low));
        }
        for (std::size_t i = first; i < end; ++i) {
            samples[i].weight = even[i];
        }
        first = end;
    }
}

void KivLineTracer::finishPiece(bool closed, bool endsFree, KivFeatureKind kind, std::vector<KivLinePath>& paths) {
    const std::size_t count = samples.size();
    if (count < 2) {
        samples.clear();
        return;
    }
    bridgeGaps();
    if (kind == KivFeatureKind::silhouette) {
        evenWeights();
    }
    // A line too weak to be drawn is not hidden, and so neither is wanted.
    enum class Sight { drawn, weak, hidden };
    const auto sight = [this](std::size_t i) {
        const float weight = samples[i].weight;
        return weight >= faint ? Sight::drawn : weight > 0.0F ? Sight::weak : Sight::hidden;
    };
    std::size_t same = 1;
    while (same < count && sight(same) == sight(0)) {
        ++same;
    }
    const bool whole = closed && same == count;
    // A ring that is hidden in part is turned so that it begins where a run does.
    if (closed && !whole) {
        std::rotate(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(same), samples.end());
    }
    for (std::size_t first = 0; first < count;) {
        std::size_t end = first;
        while (end < count && sight(end) == sight(first)) {
            ++end;
        }
        const bool hidden = sight(first) == Sight::hidden;
        if (sight(first) == Sight::drawn || (hidden && pen.hidden)) {
            addPath({first, end, whole, hidden, first == 0 && freeStart, end == count && endsFree}, kind, paths);
        }
        first = end;
    }
    samples.clear();
}

void KivLineTracer::addPath(const Run& run, KivFeatureKind kind, std::vector<KivLinePath>& paths) const {
    const std::size_t first = run.first;
    const std::size_t count = run.last - first;
    double length = 0.0;
    double strength = 0.0;
    std::size_t outline = 0;
    for (std::size_t i = first; i < run.last; ++i) {
        strength += samples[i].weight;
        outline += samples[i].isOutline ? 1 : 0;
        if (i > first) {
            length += std::hypot(samples[i].x - samples[i - 1].x, samples[i].y - samples[i - 1].y);
        }
    }
    strength /= static_cast<double>(count);
    // A short piece of full strength closes an outline and stays; a short weak one is a hair.
    if (run.hidden ? length < pen.shortest
                   : kind == KivFeatureKind::silhouette && strength < 0.9 && length * strength < pen.shortest) {
        return;
    }
    KivLinePath path;
    path.closed = run.closed;
    path.isOutline = 2 * outline > count;
    path.hidden = run.hidden;
    path.startsFree = run.startsFree;
    path.endsFree = run.endsFree;
    path.points.reserve(count);
    path.stations.reserve(count);
    // A running mean rounds what is smaller than a pixel: the steps of a faceted fold.
    const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(pen.smoothing / sampleStep / 2.0);
    const float half = static_cast<float>(pen.width[static_cast<int>(kind)] / 2.0);
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(count);
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const std::ptrdiff_t span = run.closed ? reach : std::min({reach, i, n - 1 - i});
        double x = 0.0;
        double y = 0.0;
        for (std::ptrdiff_t k = i - span; k <= i + span; ++k) {
            const Sample& s = samples[first + static_cast<std::size_t>((k % n + n) % n)];
            x += s.x;
            y += s.y;
        }
        const double parts = static_cast<double>(2 * span + 1);
        const Sample& here = samples[first + static_cast<std::size_t>(i)];
        path.points.push_back(
            {static_cast<float>(x / parts), static_cast<float>(y / parts), run.hidden ? half : half * here.weight});
        path.stations.push_back(here.station);
    }
    if (kind == KivFeatureKind::silhouette && pen.smoothing > 0.0) {
        evenZigzags(path);
    }
    paths.push_back(std::move(path));
}

// Folds run along sides of triangles, to and fro about the contour of the shape. Points move to the mean of several
// pixels around them, by a part of a pixel at most: real corners stay.
void KivLineTracer::evenZigzags(KivLinePath& path) const {
    const auto count = static_cast<std::ptrdiff_t>(path.points.size());
    const auto reach = static_cast<std::ptrdiff_t>(zigzagReach * pen.pixel / sampleStep);
    const std::vector<KivLinePoint> before = path.points;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::ptrdiff_t span = path.closed ? std::min(reach, count / 3) : std::min({reach, i, count - 1 - i});
        double x = 0.0;
        double y = 0.0;
        for (std::ptrdiff_t k = i - span; k <= i + span; ++k) {
            const KivLinePoint& at = before[static_cast<std::size_t>((k % count + count) % count)];
            x += static_cast<double>(at.x);
            y += static_cast<double>(at.y);
        }
        KivLinePoint& point = path.points[static_cast<std::size_t>(i)];
        const double dx = x / static_cast<double>(2 * span + 1) - static_cast<double>(point.x);
        const double dy = y / static_cast<double>(2 * span + 1) - static_cast<double>(point.y);
        const double most = zigzagHeight * pen.pixel;
        const double part = most / std::hypot(most, std::hypot(dx, dy));
        point.x += static_cast<float>(dx * part);
        point.y += static_cast<float>(dy * part);
    }
}
