#include "kivsketchstroke.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

// In pixels of the finished picture.
constexpr double pointDistance = 1.0;  // of the points that strokes are made of
constexpr double cornerReach = 7.0;    // how far a corner looks to both sides
constexpr double smoothReach = 4.0;    // kinks shorter than twice this are rounded
constexpr double ringOverlap = 26.0;   // how far a ring is drawn beyond its beginning
constexpr double breakOverlap = 14.0;  // and a stroke beyond the next one's
constexpr double slowWave = 70.0;      // of the hand's drift
constexpr double quickWave = 17.0;     // of its tremor
constexpr double pressureWave = 110.0; // of its weight
constexpr double profileLength = 150.0;
constexpr double endsWave = 160.0; // of the noise that tells one end of a line from the other
constexpr double endsAlike = 0.3;  // below this difference of it the ends go over into each other

constexpr double cornerTurn = 0.76; // the cosine of 40 degrees

// What of the noise is used for what; strokes over the same line use sets of their own.
enum Channel : std::uint32_t { drift, tremor, weight, lift, reachStart, reachEnd, breaks, texture, numChannels };

// The hand strays in both directions of the picture, of which a line takes what is across it: a line that was joined to
// others the other way round strays as before.
constexpr std::uint32_t otherAxis = 1U << 20;

double distance(const KivSketchPoint& a, const KivSketchPoint& b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

double step(double from, double to, double at) {
    const double t = std::clamp((at - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

double mixed(double a, double b, double shareOfB) {
    return a + (b - a) * shareOfB;
}

// The points of a line at least so far apart; the last one stays.
KivSketchLine thinned(const KivSketchLine& line, double apart) {
    KivSketchLine result = line;
    result.points.clear();
    for (const KivSketchPoint& p : line.points) {
        if (result.points.empty() || distance(result.points.back(), p) >= apart) {
            result.points.push_back(p);
        }
    }
    if (!line.closed && line.points.size() > 1 && result.points.size() > 1 &&
        distance(result.points.back(), line.points.back()) > 0.0) {
        result.points.back() = line.points.back();
    }
    return result;
}

// Cumulative lengths along the points, the way back to the first of a ring included.
std::vector<double> lengthsOf(const KivSketchLine& line) {
    std::vector<double> lengths(line.points.size() + (line.closed ? 1 : 0), 0.0);
    for (std::size_t i = 1; i < lengths.size(); ++i) {
        lengths[i] = lengths[i - 1] + distance(line.points[i - 1], line.points[i % line.points.size()]);
    }
    return lengths;
}

// The cosine of the turn that a line makes at a point, seen over some distance to both sides; 1 where it is straight.
class Turns {
public:
    Turns(const KivSketchLine& seen, double reach) : line(seen), steps(static_cast<std::ptrdiff_t>(reach)) {}

    double at(std::ptrdiff_t i) const {
        const auto count = static_cast<std::ptrdiff_t>(line.points.size());
        if (!line.closed && (i < 2 || i + 2 >= count)) {
            return 1.0;
        }
        const KivSketchPoint& here = line.points[static_cast<std::size_t>(i)];
        const KivSketchPoint& before = point(i - steps);
        const KivSketchPoint& after = point(i + steps);
        const double ax = here.x - before.x;
        const double ay = here.y - before.y;
        const double bx = after.x - here.x;
        const double by = after.y - here.y;
        const double lengths = std::hypot(ax, ay) * std::hypot(bx, by);
        return lengths > 0.0 ? (ax * bx + ay * by) / lengths : 1.0;
    }

private:
    const KivSketchPoint& point(std::ptrdiff_t i) const {
        const auto count = static_cast<std::ptrdiff_t>(line.points.size());
        const std::ptrdiff_t at =
            line.closed ? (i % count + count) % count : std::clamp<std::ptrdiff_t>(i, 0, count - 1);
        return line.points[static_cast<std::size_t>(at)];
    }

    const KivSketchLine& line;
    std::ptrdiff_t steps;
};

// The sharpest points of the turns that are sharp enough.
std::vector<std::size_t> cornersOf(const KivSketchLine& line) {
    const auto count = static_cast<std::ptrdiff_t>(line.points.size());
    const std::ptrdiff_t steps =
        std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(cornerReach / pointDistance), (count - 1) / 2);
    std::vector<std::size_t> corners;
    if (steps < 2) {
        return corners;
    }
    const Turns turns(line, static_cast<double>(steps));
    std::vector<double> cosines(static_cast<std::size_t>(count));
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        cosines[static_cast<std::size_t>(i)] = turns.at(i);
    }
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const double here = cosines[static_cast<std::size_t>(i)];
        bool sharpest = here < cornerTurn;
        for (std::ptrdiff_t k = 1; sharpest && k <= steps; ++k) {
            // Of equals the first.
            const auto at = [&](std::ptrdiff_t j) {
                const std::ptrdiff_t wrapped = line.closed ? (j % count + count) % count : j;
                return wrapped < 0 || wrapped >= count ? 1.0 : cosines[static_cast<std::size_t>(wrapped)];
            };
            sharpest = here < at(i - k) && here <= at(i + k);
        }
        if (sharpest) {
            corners.push_back(static_cast<std::size_t>(i));
        }
    }
    return corners;
}

// A running mean that leaves both ends where they are.
void smooth(KivSketchLine& line) {
    const auto count = static_cast<std::ptrdiff_t>(line.points.size());
    const auto reach = static_cast<std::ptrdiff_t>(smoothReach / pointDistance);
    const std::vector<KivSketchPoint> before = line.points;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::ptrdiff_t span =
            line.closed ? std::min(reach, (count - 1) / 2) : std::min({reach, i, count - 1 - i});
        double x = 0.0;
        double y = 0.0;
        double strength = 0.0;
        for (std::ptrdiff_t k = i - span; k <= i + span; ++k) {
            const KivSketchPoint& p = before[static_cast<std::size_t>((k % count + count) % count)];
            x += p.x;
            y += p.y;
            strength += p.weight;
        }
        const double parts = static_cast<double>(2 * span + 1);
        KivSketchPoint& here = line.points[static_cast<std::size_t>(i)];
        here.x = x / parts;
        here.y = y / parts;
        here.weight = strength / parts;
    }
}

// An open line begins at that of its ends where the noise is lower, whichever way round it was joined to others. The
// answer is how much each end takes of the other's look: where the noise is nearly the same, they look alike, and so
// nothing jumps while the one becomes the lower.
double beginAtLowerEnd(KivSketchLine& line, const KivSketchNoise& noise, std::uint32_t channel, double pixel) {
    const auto value = [&](const KivSketchPoint& p) {
        return noise.at(p.place, endsWave * pixel * p.unit, channel + breaks);
    };
    const double difference = value(line.points.back()) - value(line.points.front());
    if (difference < 0.0) {
        std::reverse(line.points.begin(), line.points.end());
        std::swap(line.startsFree, line.endsFree);
    }
    return 0.5 * (1.0 - step(0.0, endsAlike, std::abs(difference)));
}

// A ring becomes a line that begins at a place that stays the same while the camera moves, and runs on over its
// beginning.
void openRing(KivSketchLine& line, const KivSketchNoise& noise, std::uint32_t channel, double pixel) {
    std::size_t first = 0;
    double least = 2.0;
    for (std::size_t i = 0; i < line.points.size(); ++i) {
        const KivSketchPoint& p = line.points[i];
        const double value = noise.at(p.place, endsWave * pixel * p.unit, channel + breaks);
        if (value < least) {
            least = value;
            first = i;
        }
    }
    std::rotate(line.points.begin(), line.points.begin() + static_cast<std::ptrdiff_t>(first), line.points.end());
    const std::size_t count = line.points.size();
    const std::vector<double> lengths = lengthsOf(line);
    const double overlap = std::min(ringOverlap * pixel, lengths.back() * 0.3);
    line.points.reserve(count * 2);
    line.points.push_back(line.points.front());
    for (std::size_t i = 1; i < count && lengths[i] < overlap; ++i) {
        line.points.push_back(line.points[i]);
    }
    line.closed = false;
    line.startsFree = line.endsFree = false;
}

// Where a long line is broken: the first and last point of each stroke. A break lies where the noise is lowest around
// the due place, so that it stays with the surface.
std::vector<std::pair<std::size_t, std::size_t>> breaksOf(const KivSketchLine& line, const std::vector<double>& lengths,
                                                          const KivSketchHand& hand, const KivSketchNoise& noise,
                                                          std::uint32_t channel) {
    std::vector<std::pair<std::size_t, std::size_t>> strokes;
    const std::size_t count = line.points.size();
    std::size_t first = 0;
    while (hand.length > 0.0 && lengths.back() - lengths[first] > 1.5 * hand.length) {
        std::size_t at = count;
        double least = 2.0;
        for (std::size_t i = first + 1; i < count && lengths[i] < lengths[first] + 1.4 * hand.length; ++i) {
            if (lengths[i] < lengths[first] + 0.6 * hand.length) {
                continue;
            }
            const KivSketchPoint& p = line.points[i];
            const double value = noise.at(p.place, 40.0 * hand.pixel * p.unit, channel + breaks);
            if (value < least) {
                least = value;
                at = i;
            }
        }
        if (at + 1 >= count) {
            break;
        }
        std::size_t last = at;
        while (last + 1 < count && lengths[last] < lengths[at] + breakOverlap * hand.pixel) {
            ++last;
        }
        strokes.emplace_back(first, last);
        first = at;
    }
    strokes.emplace_back(first, count - 1);
    return strokes;
}

// A point of a stroke on its way to the paper.
struct Mark {
    double x;
    double y;
    double tone;
    double halfWidth;
    double along;
};

// Straight on beyond an end, towards where the last few points lead.
void extend(std::vector<KivSketchPoint>& points, double reach, double pixel, bool atStart) {
    if (!(reach > 0.5 * pixel) || points.size() < 2) {
        return;
    }
    const std::size_t back = std::min<std::size_t>(6, points.size() - 1);
    const KivSketchPoint end = atStart ? points.front() : points.back();
    const KivSketchPoint& from = atStart ? points[back] : points[points.size() - 1 - back];
    const double length = distance(from, end);
    if (!(length > 0.0)) {
        return;
    }
    const int steps = std::max(2, static_cast<int>(reach / (2.0 * pixel)));
    std::vector<KivSketchPoint> more;
    for (int i = 1; i <= steps; ++i) {
        KivSketchPoint p = end;
        const double t = reach * i / steps / length;
        p.x += (end.x - from.x) * t;
        p.y += (end.y - from.y) * t;
        // Its place in space goes on too, as it is what the wobble follows.
        p.place = end.place + (end.place - from.place) * t;
        more.push_back(p);
    }
    if (atStart) {
        std::reverse(more.begin(), more.end());
        points.insert(points.begin(), more.begin(), more.end());
    } else {
        points.insert(points.end(), more.begin(), more.end());
    }
}

// The band along marks, one pair of corners for each, mitred.
void addBand(const std::vector<Mark>& marks, std::size_t first, std::size_t last, std::uint32_t color,
             KivSketchMesh& mesh) {
    if (last - first < 2) {
        return;
    }
    auto base = static_cast<std::uint32_t>(mesh.vertices.size());
    for (std::size_t i = first; i < last; ++i) {
        const Mark& m = marks[i];
        const Mark& before = marks[i > first ? i - 1 : i];
        const Mark& after = marks[i + 1 < last ? i + 1 : i];
        const double dx = after.x - before.x;
        const double dy = after.y - before.y;
        const double length = std::hypot(dx, dy);
        const double nx = length > 0.0 ? -dy / length * m.halfWidth : 0.0;
        const double ny = length > 0.0 ? dx / length * m.halfWidth : 0.0;
        const std::array<std::uint8_t, 4> rgba = {
            static_cast<std::uint8_t>(color & 0xffU), static_cast<std::uint8_t>(color >> 8U & 0xffU),
            static_cast<std::uint8_t>(color >> 16U & 0xffU),
            static_cast<std::uint8_t>(std::lround(std::clamp(m.tone, 0.0, 1.0) * 255.0))};
        const auto along = static_cast<float>(m.along);
        mesh.vertices.push_back({static_cast<float>(m.x + nx), static_cast<float>(m.y + ny), along, 1.0F, rgba});
        mesh.vertices.push_back({static_cast<float>(m.x - nx), static_cast<float>(m.y - ny), along, 0.0F, rgba});
        if (i > first) {
            mesh.indices.insert(mesh.indices.end(), {base, base + 1, base + 3, base, base + 3, base + 2});
            base += 2;
        }
    }
}

// In dashes of about seven pixels, four apart.
void addDashes(const std::vector<Mark>& marks, const std::vector<double>& lengths, const KivSketchHand& hand,
               KivSketchMesh& mesh) {
    std::size_t first = 0;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const bool gap = std::fmod(lengths[i], 11.0 * hand.pixel) > 7.0 * hand.pixel;
        if (gap) {
            addBand(marks, first, i, hand.color, mesh);
            first = i + 1;
        }
    }
    addBand(marks, std::min(first, marks.size()), marks.size(), hand.color, mesh);
}

// One stroke of the hand over points, number times over the same line.
void addStroke(KivSketchLine line, const KivSketchHand& hand, const KivSketchMedium& medium,
               const KivSketchNoise& noise, std::uint32_t channel, int number, KivSketchMesh& mesh, LineBudget& polls) {
    const double pixel = hand.pixel;
    double length = lengthsOf(line).back();
    const auto reach = [&](const KivSketchPoint& p, Channel which) {
        const double value = noise.at(p.place, 30.0 * pixel * p.unit, channel + which);
        return std::min(hand.overshoot * (0.65 + 0.45 * value), length * 0.35);
    };
    const double startReach = line.startsFree ? reach(line.points.front(), reachStart) : 0.0;
    const double endReach = line.endsFree ? reach(line.points.back(), reachEnd) : 0.0;
    extend(line.points, startReach, pixel, true);
    extend(line.points, endReach, pixel, false);
    const std::vector<double> lengths = lengthsOf(line);
    length = lengths.back();
    if (!(length > 0.0)) {
        return;
    }
    const double attack = std::min(length * 0.25, 16.0 * pixel * hand.attack);
    const double release = std::min(length * 0.45, 34.0 * pixel * hand.attack);
    const double offset =
        noise.at(line.points.front().place, 50.0 * pixel * line.points.front().unit, channel + texture) * 3.0;
    const double grown = hand.grows ? step(hand.shortest, 3.0 * hand.shortest, length) : 1.0;
    std::vector<Mark> marks;
    marks.reserve(line.points.size());
    constexpr std::size_t unitsOfPoint = 64;
    for (std::size_t i = 0; i < line.points.size(); ++i) {
        if (!polls.spend(unitsOfPoint)) {
            return;
        }
        const KivSketchPoint& p = line.points[i];
        const KivSketchPoint& before = line.points[i > 0 ? i - 1 : i];
        const KivSketchPoint& after = line.points[i + 1 < line.points.size() ? i + 1 : i];
        const double dx = after.x - before.x;
        const double dy = after.y - before.y;
        const double span = std::hypot(dx, dy);
        const double wave = pixel * p.unit;
        const auto stray = [&](std::uint32_t axis) {
            const std::uint32_t own = channel + axis * otherAxis;
            return (noise.at(p.place, slowWave * wave, own + drift) * (number > 0 ? 1.5 : 1.0) +
                    noise.at(p.place, quickWave * wave, own + tremor) * 0.3) *
                   hand.wobble;
        };
        const double most = hand.wobble * (number > 0 ? 1.8 : 1.3);
        const double across =
            span > 0.0 ? std::clamp((-dy * stray(0) + dx * stray(1)) / span, -most, most) / span : 0.0;
        // A stroke lands, is pressed and is drawn away.
        const auto landing = [attack](double from) { return 0.45 + 0.55 * step(0.0, attack, from); };
        const auto leaving = [release](double to) { return 0.12 + 0.88 * step(0.0, release, to); };
        const double toEnd = length - lengths[i];
        const double lands = mixed(landing(lengths[i]), leaving(lengths[i]), line.startShare);
        const double leaves = mixed(leaving(toEnd), landing(toEnd), line.endShare);
        double force = (0.8 + 0.2 * noise.at(p.place, pressureWave * wave, channel + weight)) * lands * leaves;
        if (number > 0) {
            // Lines are gone over in part, where they need it.
            force *= 0.85 * step(-0.45, 0.35, noise.at(p.place, 1.3 * pressureWave * wave, channel + lift));
        }
        const double press = 1.0 - hand.pressure * (1.0 - force);
        const double strength = 0.25 + 0.75 * p.weight;
        const double width = hand.width * (1.0 - medium.thinning * (1.0 - press * strength));
        const double faded = number > 0 ? step(0.05, 0.3, force) : 1.0;
        Mark m{};
        m.x = p.x - dy * across;
        m.y = p.y + dx * across;
        m.tone = hand.tone * faded * (medium.fading > 0.0 ? grown : 1.0) *
                 (1.0 - medium.fading * (1.0 - press * strength)) * medium.peak;
        m.halfWidth = 0.5 * width * (medium.fading > 0.0 ? 1.0 : step(-0.2, 0.5, force) * faded * grown);
        m.along = lengths[i] / (profileLength * pixel) + offset;
        marks.push_back(m);
    }
    if (hand.dashed) {
        addDashes(marks, lengths, hand, mesh);
    } else {
        addBand(marks, 0, marks.size(), hand.color, mesh);
    }
}

} // namespace

std::vector<KivSketchLine> kivSketchPieces(const KivSketchLine& line, double pixel) {
    std::vector<KivSketchLine> pieces;
    KivSketchLine whole = thinned(line, pointDistance * pixel);
    if (whole.points.size() < 2) {
        return pieces;
    }
    const std::vector<std::size_t> corners = cornersOf(whole);
    if (corners.empty()) {
        pieces.push_back(std::move(whole));
        return pieces;
    }
    std::vector<std::size_t> cuts;
    if (whole.closed) {
        std::rotate(whole.points.begin(), whole.points.begin() + static_cast<std::ptrdiff_t>(corners[0]),
                    whole.points.end());
        whole.points.push_back(whole.points.front());
        for (const std::size_t corner : corners) {
            cuts.push_back(corner - corners[0]);
        }
        whole.startsFree = whole.endsFree = true;
    } else {
        cuts.push_back(0);
        cuts.insert(cuts.end(), corners.begin(), corners.end());
    }
    cuts.push_back(whole.points.size() - 1);
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
        KivSketchLine piece;
        piece.points.assign(whole.points.begin() + static_cast<std::ptrdiff_t>(cuts[i]),
                            whole.points.begin() + static_cast<std::ptrdiff_t>(cuts[i + 1] + 1));
        piece.startsFree = i > 0 || whole.startsFree;
        piece.endsFree = i + 2 < cuts.size() || whole.endsFree;
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

void kivSketchStrokes(const KivSketchLine& line, const KivSketchHand& hand, const KivSketchMedium& medium,
                      const KivSketchNoise& noise, KivSketchMesh& mesh, LineBudget& polls) {
    for (KivSketchLine& piece : kivSketchPieces(line, hand.pixel)) {
        smooth(piece);
        if (lengthsOf(piece).back() < hand.shortest || piece.points.size() < 2) {
            continue;
        }
        for (int number = 0; number < hand.strokes; ++number) {
            const std::uint32_t channel = (hand.channel * 16U + static_cast<std::uint32_t>(number)) * numChannels;
            KivSketchLine course = piece;
            double share = 0.0;
            if (course.closed) {
                openRing(course, noise, channel, hand.pixel);
            } else {
                share = beginAtLowerEnd(course, noise, channel, hand.pixel);
            }
            const std::vector<double> lengths = lengthsOf(course);
            for (const auto& [first, last] : breaksOf(course, lengths, hand, noise, channel)) {
                KivSketchLine stroke;
                stroke.points.assign(course.points.begin() + static_cast<std::ptrdiff_t>(first),
                                     course.points.begin() + static_cast<std::ptrdiff_t>(last + 1));
                stroke.startsFree = first == 0 && course.startsFree;
                stroke.endsFree = last + 1 == course.points.size() && course.endsFree;
                stroke.startShare = first == 0 ? share : 0.0;
                stroke.endShare = last + 1 == course.points.size() ? share : 0.0;
                addStroke(std::move(stroke), hand, medium, noise, channel, number, mesh, polls);
            }
        }
    }
}
