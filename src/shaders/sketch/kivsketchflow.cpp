#include "kivsketchflow.h"

#include "kivrender/geometry/kivshapeedges.h"
#include "kivrender/scene/kivprogress.h"
#include "kivsketchdirections.h"
#include "kivsketchnoise.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <deque>
#include <numbers>
#include <unordered_map>
#include <utility>

namespace {

constexpr std::uint32_t none = 0xffffffffU;

// Against the wanted distance of two lines: how near a line may come to another one before it ends, how long a line is
// at least, and how far on its way points are kept.
constexpr double nearest = 0.55;
constexpr double shortest = 1.5;
constexpr double sample = 0.4;
constexpr double evenOver = 7.0;    // what directions are evened out over
constexpr double flatRadius = 60.0; // surfaces with greater radii leave the direction to the picture
constexpr double mostBend = 0.6;    // the cosine of what a stroke goes over, and of a turn of its own
constexpr int mostSteps = 20000;    // of one line
constexpr std::size_t mostPoints = 4000000;

// From the threshold down to this part below it the strokes grow to their full strength.
constexpr double fullDepth = 0.55;

struct Seen {
    double x = 0.0;
    double y = 0.0;
    double far = 0.0; // in front of the eye
};

// Points of lines by their place in the picture.
class Neighbourhood {
public:
    explicit Neighbourhood(double cellSize) : cell(cellSize) {}

    void add(const Seen& point, double depth) {
        cells[key(point, 0, 0)].push_back({point.x, point.y, point.far, depth});
    }
    // Whether one is nearer than that, on about the same surface.
    bool isNear(const Seen& point, double distance) const {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const auto found = cells.find(key(point, dx, dy));
                if (found != cells.end() && hasNear(found->second, point, distance)) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    struct Entry {
        double x;
        double y;
        double far;
        double depth; // what is in front of it or behind by more lies on something else
    };

    static bool hasNear(const std::vector<Entry>& entries, const Seen& point, double distance) {
        return std::any_of(entries.begin(), entries.end(), [&](const Entry& e) {
            const double dx = e.x - point.x;
            const double dy = e.y - point.y;
            return dx * dx + dy * dy < distance * distance && std::abs(e.far - point.far) < e.depth;
        });
    }
    std::uint64_t key(const Seen& point, int dx, int dy) const {
        const auto x = static_cast<std::int32_t>(std::floor(point.x / cell)) + dx;
        const auto y = static_cast<std::int32_t>(std::floor(point.y / cell)) + dy;
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32U | static_cast<std::uint32_t>(y);
    }

    double cell;
    std::unordered_map<std::uint64_t, std::vector<Entry>> cells;
};

class Flow {
public:
    Flow(const KivShadedMesh& shaded, const KivView& seenFrom, KivSketchTones& lit, const KivSketchHatching& wanted,
         double turn)
        : mesh(shaded), view(seenFrom), tones(lit), hatching(wanted), cosine(std::cos(turn * std::numbers::pi / 180.0)),
          sine(std::sin(turn * std::numbers::pi / 180.0)), places(kivWeldPoints(shaded.points, &count)),
          directions(mesh, view, places, count, evenOver * hatching.spacing,
                     {straight(), flatRadius * hatching.spacing}),
          drawn(hatching.spacing) {}

    std::vector<KivSketchHatchLine> run() {
        std::vector<KivSurface::Triangle> welded = mesh.triangles;
        for (KivSurface::Triangle& t : welded) {
            t = {places[t[0]], places[t[1]], places[t[2]]};
        }
        adjacency = kivShapeEdges(count, welded);
        for (std::uint32_t t = 0; t < welded.size() && kept < mostPoints; ++t) {
            if (t % 64 == 0 && kivIsCancelled()) {
                return {};
            }
            seeds.push_back({t, (mesh.points[mesh.triangles[t][0]] + mesh.points[mesh.triangles[t][1]] +
                                 mesh.points[mesh.triangles[t][2]]) *
                                    (1.0 / 3.0)});
            while (!seeds.empty() && kept < mostPoints) {
                const Place seed = seeds.front();
                seeds.pop_front();
                draw(seed);
                if (kivIsCancelled()) {
                    return {};
                }
            }
        }
        return std::move(lines);
    }

private:
    struct Place {
        std::uint32_t triangle = none;
        KivVec at;
    };
    struct Station {
        Place place;
        Seen seen;
        double weight = 0.0;
        double gone = 0.0; // pixels along the line
    };

    KivVec straight() const {
        const double angle = hatching.angle * std::numbers::pi / 180.0;
        return view.right() * std::cos(angle) + view.up() * std::sin(angle);
    }
    bool see(const KivVec& point, Seen& seen) const {
        const KivClipPoint clip = view.clip(point);
        if (!(clip.w > 0.0)) {
            return false;
        }
        const KivWindowPoint window = view.window(clip);
        seen = {window.x, window.y, clip.w};
        // What is far outside the picture is not hatched.
        const double beyond = 2.0 * std::max(view.width(), view.height());
        return std::abs(window.x) < beyond && std::abs(window.y) < beyond;
    }
    // Outwards, whatever the winding.
    KivVec normalOf(std::uint32_t t) const {
        const KivSurface::Triangle& c = mesh.triangles[t];
        const KivVec& a = mesh.points[c[0]];
        return kivUnit(kivCross(mesh.points[c[1]] - a, mesh.points[c[2]] - a)) * static_cast<double>(mesh.windings[t]);
    }
    std::array<double, 3> partsAt(const Place& place, const KivVec& normal) const {
        const KivSurface::Triangle& c = mesh.triangles[place.triangle];
        std::array<double, 3> parts{};
        double all = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const KivVec& a = mesh.points[c[(k + 1) % 3]];
            const KivVec& b = mesh.points[c[(k + 2) % 3]];
            parts[k] = std::abs(kivDot(normal, kivCross(a - place.at, b - place.at)));
            all += parts[k];
        }
        for (double& part : parts) {
            part = all > 0.0 ? part / all : 1.0 / 3.0;
        }
        return parts;
    }
    // How dark it is drawn there, from 0 to 1; below 0 where nothing is.
    double weightAt(const Place& place) {
        const KivVec normal = normalOf(place.triangle);
        const double facing = kivDot(normal, view.toViewer(place.at));
        if (facing == 0.0) {
            return -1.0;
        }
        const std::array<double, 3> parts = partsAt(place, normal);
        double tone = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            tone += parts[k] * tones.at(mesh.triangles[place.triangle][k], facing > 0.0);
        }
        const double limit = hatching.tone * (0.9 + 0.2 * kivSketchUnit(name(), 1));
        return tone < limit ? std::sqrt(std::min((limit - tone) / (limit * fullDepth), 1.0)) : -1.0;
    }
    // Of the line that is drawn next: strokes do not all end in one place.
    std::uint32_t name() const {
        return kivSketchHash(static_cast<std::uint32_t>(lines.size()), hatching.seed);
    }
    KivVec directionAt(const Place& place) const {
        const KivVec normal = normalOf(place.triangle);
        const KivVec along = directions.at(place.triangle, partsAt(place, normal), normal);
        return along * cosine + kivCross(normal, along) * sine;
    }

    void draw(const Place& seed) {
        Station start;
        start.place = seed;
        if (!see(seed.at, start.seen)) {
            return;
        }
        start.weight = weightAt(seed);
        if (start.weight < 0.0 || drawn.isNear(start.seen, hatching.spacing * 0.95)) {
            return;
        }
        const KivVec along = directionAt(seed);
        std::vector<Station> line = trace(start, -along);
        std::reverse(line.begin(), line.end());
        for (Station& station : line) {
            station.gone = -station.gone;
        }
        line.push_back(start);
        const std::vector<Station> ahead = trace(start, along);
        line.insert(line.end(), ahead.begin(), ahead.end());
        if (line.back().gone - line.front().gone >= shortest * hatching.spacing) {
            keep(line);
        }
    }

    std::vector<Station> trace(const Station& start, KivVec ahead) {
        std::vector<Station> line;
        Station here = start;
        Neighbourhood own(hatching.spacing);
        std::deque<Seen> recent;
        int still = 0;
        for (int step = 0; step < mostSteps; ++step) {
            KivVec along = directionAt(here.place);
            const double same = kivDot(along, ahead);
            along = same < 0.0 ? -along : along;
            if (std::abs(same) < mostBend) {
                break; // the directions have no sense there
            }
            Station next = here;
            if (!go(next.place, along, sample * hatching.spacing * view.pixelSize(here.seen.far)) ||
                !see(next.place.at, next.seen)) {
                break;
            }
            next.gone += std::hypot(next.seen.x - here.seen.x, next.seen.y - here.seen.y);
            next.weight = weightAt(next.place);
            still = next.gone - here.gone < 1e-6 ? still + 1 : 0;
            if (next.weight < 0.0 || still > 8 || drawn.isNear(next.seen, nearest * hatching.spacing) ||
                own.isNear(next.seen, nearest * hatching.spacing)) {
                break;
            }
            // A line that comes back to itself ends, but its last points are always near.
            recent.push_back(next.seen);
            if (recent.size() * sample > 4.0) {
                own.add(recent.front(), depthAt(next.seen));
                recent.pop_front();
            }
            ahead = along;
            here = next;
            line.push_back(here);
        }
        return line;
    }
    double depthAt(const Seen& seen) const {
        return 6.0 * hatching.spacing * view.pixelSize(seen.far);
    }

    // On by that much, or to the next side of the triangle and over it. False at the end of the surface, at an edge and
    // where it turns away.
    bool go(Place& place, KivVec& along, double most) const {
        const KivSurface::Triangle& c = mesh.triangles[place.triangle];
        const KivVec normal = normalOf(place.triangle);
        double length = most;
        std::size_t side = 3;
        for (std::size_t k = 0; k < 3; ++k) {
            const KivVec& a = mesh.points[c[k]];
            const KivVec& b = mesh.points[c[(k + 1) % 3]];
            const KivVec inner = mesh.points[c[(k + 2) % 3]] - a;
            KivVec out = kivUnit(kivCross(b - a, normal));
            out = kivDot(out, inner) > 0.0 ? -out : out;
            const double speed = kivDot(along, out);
            const double way = kivDot(a - place.at, out);
            if (speed > 1e-9 && way < length * speed) {
                length = std::max(0.0, way / speed);
                side = k;
            }
        }
        place.at = place.at + along * length;
        return side == 3 || cross(place, side, normal);
    }
    bool cross(Place& place, std::size_t side, const KivVec& normal) const {
        const KivShapeEdge& edge = adjacency.edges[adjacency.sides[place.triangle][side]];
        if (edge.second == KivShapeEdge::none || edge.junction) {
            return false;
        }
        const std::uint32_t next = edge.first == place.triangle ? edge.second : edge.first;
        const KivVec other = normalOf(next);
        const bool facesAlike =
            (kivDot(normal, view.toViewer(place.at)) > 0.0) == (kivDot(other, view.toViewer(place.at)) > 0.0);
        place.triangle = next;
        return facesAlike && kivDot(normal, other) > mostBend;
    }

    void keep(const std::vector<Station>& line) {
        KivSketchHatchLine result;
        result.plane = name();
        const double phase = kivSketchUnit(result.plane, 2);
        double last = -1e300;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const Station& s = line[i];
            // All of them, as a chord over a side of two triangles would be hidden by a surface that bulges.
            const bool isEnd = i == 0 || i + 1 == line.size();
            result.points.push_back(
                {s.place.at, isEnd ? 0.5 * s.weight : s.weight, s.gone / (hatching.spacing * hatching.length) + phase});
            if (isEnd || s.gone - last >= sample * hatching.spacing) {
                last = s.gone;
                drawn.add(s.seen, depthAt(s.seen));
                addSeeds(s);
            }
        }
        kept += result.points.size();
        lines.push_back(std::move(result));
    }
    // On either side, where the next lines may run.
    void addSeeds(const Station& station) {
        const KivVec along = directionAt(station.place);
        for (const double sign : {-1.0, 1.0}) {
            Place place = station.place;
            double left = hatching.spacing;
            Seen from = station.seen;
            for (int step = 0; step < 64 && left > 1e-3 * hatching.spacing; ++step) {
                const KivVec normal = normalOf(place.triangle);
                KivVec aside = kivCross(normal, along) * sign;
                aside = kivUnit(aside - normal * kivDot(aside, normal));
                Seen to;
                if (!go(place, aside, left * view.pixelSize(from.far)) || !see(place.at, to)) {
                    break;
                }
                left -= std::hypot(to.x - from.x, to.y - from.y);
                from = to;
            }
            if (left <= 0.05 * hatching.spacing) {
                seeds.push_back(place);
            }
        }
    }

    const KivShadedMesh& mesh;
    const KivView& view;
    KivSketchTones& tones;
    const KivSketchHatching& hatching;
    double cosine;
    double sine;
    std::uint32_t count = 0; // of places
    std::vector<std::uint32_t> places;
    KivSketchDirections directions;
    KivShapeEdges adjacency;
    Neighbourhood drawn;
    std::deque<Place> seeds;
    std::vector<KivSketchHatchLine> lines;
    std::size_t kept = 0; // points
};

} // namespace

std::vector<KivSketchHatchLine> kivSketchFlow(const KivShadedMesh& mesh, const KivView& view, KivSketchTones& tones,
                                              const KivSketchHatching& hatching, double turn) {
    return Flow(mesh, view, tones, hatching, turn).run();
}
