#include "kivoutlinelines.h"

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

// What is drawn at less than this part of its width is left out.
constexpr float faint = 0.3F;

// Marks of tiles that no span holds.
constexpr std::int32_t notWanted = -1;
constexpr std::int32_t wanted = -2;

int cellOf(double coordinate) {
    return static_cast<int>(std::floor(coordinate));
}

} // namespace

KivDepthImage::KivDepthImage(int width, int height)
    : pixelsWide(width), pixelsHigh(height), tilesWide((width + tile - 1) / tile),
      tilesHigh((height + tile - 1) / tile), spanOfTile(static_cast<std::size_t>(tilesWide) * tilesHigh, notWanted) {}

void KivDepthImage::want(const KivWindowPoint& a, const KivWindowPoint& b, double margin) {
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    if (!std::isfinite(length)) {
        return;
    }
    // Steps of half a tile; what lies between two of them is within the margin of one.
    const double reach = margin + tile / 4.0;
    const int steps = static_cast<int>(std::min(length / (tile / 2.0), 1e6)) + 1;
    const auto cell = [](double at, int count) {
        return static_cast<int>(std::clamp(std::floor(at / tile), 0.0, static_cast<double>(count - 1)));
    };
    for (int i = 0; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        const double x = a.x + (b.x - a.x) * t;
        const double y = a.y + (b.y - a.y) * t;
        for (int row = cell(y - reach, tilesHigh); row <= cell(y + reach, tilesHigh); ++row) {
            for (int column = cell(x - reach, tilesWide); column <= cell(x + reach, tilesWide); ++column) {
                spanOfTile[static_cast<std::size_t>(row) * tilesWide + column] = wanted;
            }
        }
    }
}

std::vector<KivDepthImage::Span>& KivDepthImage::spans() {
    for (int row = 0; row < tilesHigh; ++row) {
        for (int column = 0; column < tilesWide;) {
            std::int32_t* first = &spanOfTile[static_cast<std::size_t>(row) * tilesWide + column];
            int count = 0;
            while (column + count < tilesWide && first[count] == wanted) {
                first[count++] = static_cast<std::int32_t>(read.size());
            }
            if (count > 0) {
                Span span;
                span.left = column * tile;
                span.bottom = row * tile;
                span.width = std::min(count * tile, pixelsWide - span.left);
                span.height = std::min(tile, pixelsHigh - span.bottom);
                span.values.resize(static_cast<std::size_t>(span.width) * span.height);
                read.push_back(std::move(span));
            }
            column += std::max(count, 1);
        }
    }
    return read;
}

float KivDepthImage::at(int x, int y) const {
    if (x < 0 || y < 0 || x >= pixelsWide || y >= pixelsHigh) {
        return 1.0F;
    }
    const std::int32_t number = spanOfTile[static_cast<std::size_t>(y / tile) * tilesWide + x / tile];
    if (number < 0) {
        return 1.0F;
    }
    const Span& span = read[static_cast<std::size_t>(number)];
    return span.values[static_cast<std::size_t>(y - span.bottom) * span.width + (x - span.left)];
}

float KivDepthImage::farthest(int x, int y) const {
    float result = 0.0F;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            result = std::max(result, at(x + dx, y + dy));
        }
    }
    return result;
}

float KivOutlineTracer::weigh(const KivWindowPoint& place, const KivVec& open, KivOutlineKind kind) const {
    const int x = cellOf(place.x);
    const int y = cellOf(place.y);
    const float farthest = depth.farthest(x, y);
    if (place.z > farthest + depthSlack) {
        const double here = view.distance(place.z);
        const double covered = (here - view.distance(farthest)) / view.pixelSize(here);
        return covered < slightly * pen.pixel ? slightlyHidden : 0.0F;
    }
    if (kind != KivOutlineKind::silhouette || (open.x == 0.0 && open.y == 0.0)) {
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
        return 1.0F;
    }
    const double here = view.distance(place.z);
    const double step = (view.distance(behind) - here) / view.pixelSize(here);
    return static_cast<float>(std::clamp(step / pen.detail, 0.02, 1.0));
}

bool KivOutlineTracer::sees(const KivClipPoint& point, KivOutlinePoint* place) const {
    double from = 0.0;
    double to = 1.0;
    if (!(point.w > 0.0) || !kivClipSegment(point, point, &from, &to)) {
        return false;
    }
    const KivWindowPoint at = view.window(point);
    place->x = static_cast<float>(at.x);
    place->y = static_cast<float>(at.y);
    return weigh(at, {}, KivOutlineKind::crease) > 0.0F;
}

void KivOutlineTracer::sampleEdge(const KivOutlineCorner& from, const KivClipPoint& to, KivOutlineKind kind,
                                  std::vector<KivOutlinePath>& paths) {
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
    for (int i = begins ? 0 : 1; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        const KivWindowPoint place = {start.x + dx * t, start.y + dy * t, start.z + (end.z - start.z) * t};
        samples.push_back({static_cast<float>(place.x), static_cast<float>(place.y), weigh(place, open, kind)});
    }
    if (last < 1.0) {
        breakOff(kind, paths);
    }
}

void KivOutlineTracer::trace(const std::vector<KivOutlineCorner>& corners, bool closed, KivOutlineKind kind,
                             std::vector<KivOutlinePath>& paths) {
    samples.clear();
    const std::size_t count = corners.size();
    if (count < 2) {
        return;
    }
    broken = false;
    for (std::size_t i = 0; i + 1 < count + (closed ? 1 : 0); ++i) {
        sampleEdge(corners[i], corners[(i + 1) % count].clip, kind, paths);
    }
    finishPiece(closed && !broken, kind, paths);
}

void KivOutlineTracer::breakOff(KivOutlineKind kind, std::vector<KivOutlinePath>& paths) {
    broken = true;
    finishPiece(false, kind, paths);
}

void KivOutlineTracer::finishPiece(bool closed, KivOutlineKind kind, std::vector<KivOutlinePath>& paths) {
    const std::size_t count = samples.size();
    if (count < 2) {
        samples.clear();
        return;
    }
    // Gaps of less than a pixel of the finished picture come from the depth buffer's grid and are bridged.
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
    // The weights along a visible run are evened out, so that a line swells and thins as a pen would.
    if (kind == KivOutlineKind::silhouette) {
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
    const auto drawn = [this](std::size_t i) { return samples[i].weight >= faint; };
    bool whole = closed;
    for (std::size_t i = 0; whole && i < count; ++i) {
        whole = drawn(i);
    }
    if (whole) {
        addPath(0, count, true, kind, paths);
    } else {
        // A ring that is hidden in part is turned so that it begins at a gap.
        if (closed) {
            std::size_t gap = 0;
            while (drawn(gap)) {
                ++gap;
            }
            std::rotate(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(gap), samples.end());
        }
        for (std::size_t first = 0; first < count;) {
            if (!drawn(first)) {
                ++first;
                continue;
            }
            std::size_t end = first;
            while (end < count && drawn(end)) {
                ++end;
            }
            addPath(first, end, false, kind, paths);
            first = end;
        }
    }
    samples.clear();
}

void KivOutlineTracer::addPath(std::size_t first, std::size_t last, bool closed, KivOutlineKind kind,
                               std::vector<KivOutlinePath>& paths) const {
    const std::size_t count = last - first;
    double length = 0.0;
    double strength = 0.0;
    for (std::size_t i = first; i < last; ++i) {
        strength += samples[i].weight;
        if (i > first) {
            length += std::hypot(samples[i].x - samples[i - 1].x, samples[i].y - samples[i - 1].y);
        }
    }
    strength /= static_cast<double>(count);
    // A short piece of full strength closes an outline and stays; a short weak one is a hair.
    if (kind == KivOutlineKind::silhouette && strength < 0.9 && length * strength < pen.shortest) {
        return;
    }
    KivOutlinePath path;
    path.closed = closed;
    path.points.reserve(count);
    // A running mean rounds what is smaller than a pixel: the steps of a faceted fold.
    const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(pen.smoothing / sampleStep / 2.0);
    const float half = static_cast<float>(pen.width[static_cast<int>(kind)] / 2.0);
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(count);
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const std::ptrdiff_t span = closed ? reach : std::min({reach, i, n - 1 - i});
        double x = 0.0;
        double y = 0.0;
        for (std::ptrdiff_t k = i - span; k <= i + span; ++k) {
            const Sample& s = samples[first + static_cast<std::size_t>((k % n + n) % n)];
            x += s.x;
            y += s.y;
        }
        const double parts = static_cast<double>(2 * span + 1);
        path.points.push_back({static_cast<float>(x / parts), static_cast<float>(y / parts),
                               half * samples[first + static_cast<std::size_t>(i)].weight});
    }
    paths.push_back(std::move(path));
}
