#include "kivsketchhatch.h"

#include "kivsketchnoise.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

// How far the planes lean towards the viewer: none and all cuts are straight, more and they crowd on slopes.
constexpr double lean = 0.42;

// The lattice is so many times finer than the hatching, to have something for surfaces on which it would be sparse.
constexpr int finer = 4;
constexpr int coarsest = 8; // levels of the lattice, each of twice the distance

// No triangle is cut by more planes: what comes so near the eye is not looked at.
constexpr std::int64_t mostCuts = 4096;

// From the threshold down to this part below it the strokes grow to their full strength.
constexpr double fullDepth = 0.55;

constexpr std::uint32_t none = 0xffffffffU;

bool isFinite(const KivVec& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

double step(double from, double to, double at) {
    const double t = std::clamp((at - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

// On which level of the lattice a plane lies: on the coarsest that holds it.
int levelOf(std::int64_t plane) {
    return plane == 0 ? coarsest : std::min(coarsest, std::countr_zero(static_cast<std::uint64_t>(plane)));
}

struct Cut {
    std::uint64_t edge; // the two points of the edge that is cut
    std::int32_t plane;
    std::uint32_t end; // of which segment: its number times two, plus one for its second end
};

struct Crossing {
    KivVec place;
    float weight;
};

class Hatcher {
public:
    Hatcher(const KivShadedMesh& shaded, const KivView& seenFrom, KivSketchTones& lit, const KivSketchHatching& wanted)
        : mesh(shaded), view(seenFrom), tones(lit), hatching(wanted) {}

    std::vector<KivSketchHatchLine> run() {
        if (!place()) {
            return {};
        }
        for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
            cutTriangle(t);
        }
        return join();
    }

private:
    // The planes' common direction, the middle of the mesh and the distance of two planes of the lattice.
    bool place() {
        KivVec low = {1e300, 1e300, 1e300};
        KivVec high = {-1e300, -1e300, -1e300};
        for (const KivSurface::Triangle& t : mesh.triangles) {
            for (const std::uint32_t p : t) {
                const KivVec& at = mesh.points[p];
                low = {std::min(low.x, at.x), std::min(low.y, at.y), std::min(low.z, at.z)};
                high = {std::max(high.x, at.x), std::max(high.y, at.y), std::max(high.z, at.z)};
            }
        }
        if (mesh.triangles.empty()) {
            return false;
        }
        middle = (low + high) * 0.5;
        const double angle = hatching.angle * std::numbers::pi / 180.0;
        const KivVec across = view.up() * std::cos(angle) - view.right() * std::sin(angle);
        normal = across * std::cos(lean) + view.back() * std::sin(lean);
        direction = view.right() * std::cos(angle) + view.up() * std::sin(angle);
        // The lattice's distance is a power of two, so that it stays when the camera comes a little nearer.
        const KivClipPoint clip = view.clip(middle);
        const double pixel = view.pixelSize(std::max(clip.w, 1e-3 * kivLength(high - low)));
        const double wanted = hatching.spacing * pixel / finer;
        if (!(wanted > 0.0) || !std::isfinite(wanted)) {
            return false;
        }
        exponent = static_cast<std::int32_t>(std::floor(std::log2(wanted)));
        distance = std::exp2(exponent);
        heights.resize(mesh.points.size());
        for (std::size_t i = 0; i < heights.size(); ++i) {
            heights[i] = kivDot(normal, mesh.points[i] - middle) / distance;
        }
        levels.assign(mesh.points.size() * 2, -1e9F);
        return true;
    }

    // How many levels up the lattice the hatching of this place is; below 0 where even the finest is too coarse.
    double findLevel(const KivVec& point, const KivVec& facing) const {
        const KivVec slope = normal - facing * kivDot(normal, facing);
        const double square = kivDot(slope, slope);
        if (!(square > 1e-12)) {
            return -1.0;
        }
        const KivClipPoint here = view.clip(point);
        if (!(here.w > 0.0)) {
            return coarsest;
        }
        // One plane on, and along the cut, both in the picture.
        const double small = view.pixelSize(here.w);
        const KivClipPoint on = view.clip(point + slope * (small / std::sqrt(square)));
        const KivClipPoint along = view.clip(point + kivUnit(kivCross(facing, slope)) * small);
        if (!(on.w > 0.0) || !(along.w > 0.0)) {
            return coarsest;
        }
        const KivWindowPoint p = view.window(here);
        const KivWindowPoint q = view.window(on);
        const KivWindowPoint r = view.window(along);
        const double length = std::hypot(r.x - p.x, r.y - p.y);
        const double area = std::abs((q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x));
        // Pixels between two planes: pixels for one small step over what of a plane that step climbs.
        const double pixels = length > 0.0 ? area / length * distance / (small * std::sqrt(square)) : 0.0;
        return pixels > 0.0 ? std::log2(hatching.spacing / pixels) : static_cast<double>(coarsest);
    }
    float levelAt(std::uint32_t point, bool outside) {
        float& level = levels[point * 2 + (outside ? 1 : 0)];
        if (level < -1e8F) {
            const KivVec& facing = mesh.normals[point];
            level = static_cast<float>(findLevel(mesh.points[point], outside ? facing : -facing));
        }
        return level;
    }

    // The same word for the same plane, whatever the distance of the lattice.
    std::uint32_t nameOf(std::int64_t plane) const {
        if (plane == 0) {
            return kivSketchHash(0, hatching.seed);
        }
        const int level = std::countr_zero(static_cast<std::uint64_t>(plane));
        const auto odd = static_cast<std::uint32_t>(static_cast<std::uint64_t>(plane >> level));
        return kivSketchHash(odd, kivSketchHash(hatching.seed, static_cast<std::uint32_t>(level + exponent)));
    }

    // The strength of a plane's line at a place.
    double weightOf(std::int64_t plane, double tone, double level) const {
        // Strokes do not all end on one line.
        const double limit = hatching.tone * (0.9 + 0.2 * kivSketchUnit(nameOf(plane), 1));
        const double dark = std::clamp((limit - tone) / (limit * fullDepth), 0.0, 1.0);
        return std::sqrt(dark) * step(-0.62, -0.38, levelOf(plane) - level);
    }

    void cutTriangle(std::size_t number) {
        const KivSurface::Triangle& t = mesh.triangles[number];
        const KivVec& a = mesh.points[t[0]];
        const KivVec& b = mesh.points[t[1]];
        const KivVec& c = mesh.points[t[2]];
        const KivVec face = kivCross(b - a, c - a) * static_cast<double>(mesh.windings[number]);
        const double facing = kivDot(face, view.toViewer(a));
        if (facing == 0.0 || !isFinite(face)) {
            return;
        }
        const bool outside = facing > 0.0;
        double tone[3];
        for (int i = 0; i < 3; ++i) {
            tone[i] = tones.at(t[i], outside);
        }
        if (std::min({tone[0], tone[1], tone[2]}) >= hatching.tone * 1.1) {
            return;
        }
        const double height[3] = {heights[t[0]], heights[t[1]], heights[t[2]]};
        const double low = std::ceil(std::min({height[0], height[1], height[2]}));
        const double high = std::floor(std::max({height[0], height[1], height[2]}));
        if (!(low <= high) || !(std::abs(low) < 1e9) || !(std::abs(high) < 1e9)) {
            return;
        }
        float level[3];
        for (int i = 0; i < 3; ++i) {
            level[i] = levelAt(t[i], outside);
        }
        // Planes that fade out over the whole triangle are stepped over.
        const double finest = std::ceil(std::min({level[0], level[1], level[2]}) - 0.62);
        const auto stride = std::int64_t{1} << static_cast<int>(std::clamp(finest, 0.0, double{coarsest}));
        const auto from = static_cast<std::int64_t>(low);
        const auto first = from + ((stride - from % stride) % stride);
        const auto last = std::min(static_cast<std::int64_t>(high), first + mostCuts * stride);
        for (std::int64_t plane = first; plane <= last; plane += stride) {
            cut(t, plane, height, tone, level);
        }
    }

    void cut(const KivSurface::Triangle& t, std::int64_t plane, const double* height, const double* tone,
             const float* level) {
        const auto at = static_cast<double>(plane);
        Crossing ends[2];
        std::uint64_t edges[2] = {0, 0};
        int found = 0;
        for (int i = 0; i < 3 && found < 2; ++i) {
            const int j = (i + 1) % 3;
            // A point on a plane counts as above it, so that a plane leaves a triangle as often as it enters.
            if ((height[i] >= at) == (height[j] >= at)) {
                continue;
            }
            // From the lower point to the higher, so that both triangles of an edge find the same place.
            const bool turned = t[i] > t[j];
            const int p = turned ? j : i;
            const int q = turned ? i : j;
            const double part = (at - height[p]) / (height[q] - height[p]);
            const KivVec& from = mesh.points[t[p]];
            ends[found].place = from + (mesh.points[t[q]] - from) * part;
            ends[found].weight =
                static_cast<float>(weightOf(plane, tone[p] + (tone[q] - tone[p]) * part,
                                            static_cast<double>(level[p]) + (level[q] - level[p]) * part));
            edges[found] = static_cast<std::uint64_t>(t[p]) << 32U | t[q];
            ++found;
        }
        if (found < 2 || (ends[0].weight <= 0.0F && ends[1].weight <= 0.0F)) {
            return;
        }
        const auto first = static_cast<std::uint32_t>(crossings.size());
        for (int i = 0; i < 2; ++i) {
            crossings.push_back(ends[i]);
            cuts.push_back({edges[i], static_cast<std::int32_t>(plane), first + static_cast<std::uint32_t>(i)});
        }
    }

    // Segments that meet at an edge become one line. Where more than two do, the first two in order of triangles.
    std::vector<KivSketchHatchLine> join() {
        std::vector<std::uint32_t> mate(crossings.size(), none);
        planeOf.resize(crossings.size() / 2);
        for (const Cut& c : cuts) {
            planeOf[c.end / 2] = c.plane;
        }
        std::sort(cuts.begin(), cuts.end(), [](const Cut& a, const Cut& b) {
            return a.edge != b.edge ? a.edge < b.edge : a.plane != b.plane ? a.plane < b.plane : a.end < b.end;
        });
        for (std::size_t i = 1; i < cuts.size(); ++i) {
            const Cut& a = cuts[i - 1];
            const Cut& b = cuts[i];
            if (a.edge == b.edge && a.plane == b.plane && mate[a.end] == none) {
                mate[a.end] = b.end;
                mate[b.end] = a.end;
            }
        }
        std::vector<bool> used(crossings.size() / 2, false);
        std::vector<KivSketchHatchLine> lines;
        for (std::uint32_t end = 0; end < mate.size(); ++end) {
            if (mate[end] == none && !used[end / 2]) {
                walk(end, mate, used, lines);
            }
        }
        for (std::uint32_t end = 0; end < mate.size(); end += 2) {
            if (!used[end / 2]) {
                walk(end, mate, used, lines);
            }
        }
        return lines;
    }

    void walk(std::uint32_t start, const std::vector<std::uint32_t>& mate, std::vector<bool>& used,
              std::vector<KivSketchHatchLine>& lines) const {
        KivSketchHatchLine line;
        line.plane = nameOf(planeOf[start / 2]);
        const double unit = 1.0 / (distance * finer * hatching.length);
        const double phase = kivSketchUnit(line.plane, 2);
        std::uint32_t end = start;
        const auto add = [&](std::uint32_t i) {
            const KivVec& at = crossings[i].place;
            line.points.push_back(
                {at, static_cast<double>(crossings[i].weight), kivDot(at - middle, direction) * unit + phase});
        };
        add(end);
        for (;;) {
            used[end / 2] = true;
            const std::uint32_t next = mate[end ^ 1U];
            if (next == start) {
                line.closed = true;
                break;
            }
            add(end ^ 1U);
            if (next == none || used[next / 2]) {
                break;
            }
            end = next;
        }
        if (line.points.size() > 1) {
            line.closed = line.closed && line.points.size() > 2;
            lines.push_back(std::move(line));
        }
    }

    const KivShadedMesh& mesh;
    const KivView& view;
    KivSketchTones& tones;
    const KivSketchHatching& hatching;
    KivVec middle;
    KivVec normal;
    KivVec direction; // along the lines, as the picture shows them
    std::int32_t exponent = 0;
    double distance = 1.0;       // of two planes of the lattice: two to the exponent
    std::vector<double> heights; // of the points, in planes of the lattice
    std::vector<float> levels;   // of the points from inside and outside; far below 0: not asked yet
    std::vector<Crossing> crossings;
    std::vector<Cut> cuts;
    std::vector<std::int32_t> planeOf; // of the segments
};

} // namespace

KivSketchTones::KivSketchTones(const KivShadedMesh& shaded, KivSketchLight lightOf)
    : mesh(shaded), light(std::move(lightOf)) {
    for (std::vector<float>& side : tones) {
        side.assign(mesh.points.size(), -1.0F);
    }
}

double KivSketchTones::at(std::uint32_t point, bool outside) {
    float& tone = tones[outside ? 1 : 0][point];
    if (tone < 0.0F) {
        const KivVec& normal = mesh.normals[point];
        const double value = light(mesh.points[point], outside ? normal : -normal);
        tone = std::isnan(value) ? 1.0F : static_cast<float>(std::clamp(value, 0.0, 1.0));
    }
    return static_cast<double>(tone);
}

std::vector<KivSketchHatchLine> kivSketchHatch(const KivShadedMesh& mesh, const KivView& view, KivSketchTones& tones,
                                               const KivSketchHatching& hatching) {
    return Hatcher(mesh, view, tones, hatching).run();
}
