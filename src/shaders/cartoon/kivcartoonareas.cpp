#include "kivcartoonareas.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

// A soft edge over so much of the incidence is drawn as a sharp one; a wider one in steps of at most this.
constexpr double widestStep = 0.04;
constexpr int mostSteps = 8;

// The places at which a transition centred on a value becomes the next of its steps.
void addTransition(double centre, double reach, std::vector<double>& places) {
    const double width = 2.0 * reach;
    const int count =
        width <= widestStep ? 1 : std::clamp(static_cast<int>(std::ceil(width / widestStep)), 2, mostSteps);
    for (int i = 0; i < count; ++i) {
        places.push_back(centre - reach + width * (i + 0.5) / count);
    }
}

// Leaves out edges between equal tones, and those that no coordinate lies below or above.
class StepsBuilder {
public:
    explicit StepsBuilder(const KivRampEntry& lowest) {
        steps.tones = {lowest};
    }

    void add(float edge, const KivRampEntry& tone) {
        if (!steps.edges.empty() && edge <= steps.edges.back()) {
            steps.tones.back() = tone;
        } else if (tone != steps.tones.back()) {
            steps.edges.push_back(edge);
            steps.tones.push_back(tone);
        }
    }

    KivCartoonSteps steps;
};

KivRampEntry laidOver(const KivRampEntry& below, const KivRampEntry& above) {
    KivRampEntry mixed = below;
    for (std::size_t c = 0; c < 3; ++c) {
        const int difference = (static_cast<int>(above[c]) - below[c]) * above[3];
        mixed[c] = static_cast<std::uint8_t>(std::lround(below[c] + difference / 255.0));
    }
    return mixed;
}

std::uint32_t packed(const KivRampEntry& entry) {
    return entry[0] | std::uint32_t{entry[1]} << 8U | std::uint32_t{entry[2]} << 16U;
}

// Where light crosses from one step of a staircase to the next.
std::vector<double> stepPlaces(const KivCartoonBands& bands) {
    std::vector<double> places;
    for (int i = 1; i < bands.count; ++i) {
        // A rim of pigment in a few steps, the narrowest next to the edge.
        for (const double away : {1.0, 0.66, 0.33}) {
            if (bands.washEdge > 0.0 && bands.rim(i) * away > bands.reach(i)) {
                places.push_back(bands.edge(i) - bands.rim(i) * away);
            }
        }
        addTransition(bands.edge(i), bands.reach(i), places);
    }
    std::sort(places.begin(), places.end());
    return places;
}

// The remainder of a flat part is judged at its middle, where no transition reaches.
double stepMiddle(const std::vector<double>& places, std::size_t i) {
    const double from = i == 0 ? 0.0 : places[i - 1];
    const double to = i == places.size() ? 1.0 : places[i];
    return (from + to) * 0.5;
}

bool isSamePlace(const KivCartoonVertex& a, const KivCartoonVertex& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// From low to high, which are the ends of a side by their value, for the same point in both triangles of the side.
KivCartoonVertex crossing(const KivCartoonVertex& low, const KivCartoonVertex& high, float KivCartoonVertex::*value,
                          float edge) {
    // An end that is NaN counts as below every edge; the side is then cut at its other end.
    const double share = (static_cast<double>(edge) - low.*value) / (static_cast<double>(high.*value) - low.*value);
    const double t = share >= 0.0 ? share : 1.0;
    const auto mix = [t](float a, float b) { return static_cast<float>(a + (static_cast<double>(b) - a) * t); };
    KivCartoonVertex point = {mix(low.x, high.x), mix(low.y, high.y), mix(low.z, high.z), mix(low.light, high.light),
                              mix(low.shine, high.shine)};
    point.*value = edge;
    return point;
}

} // namespace

int KivCartoonSteps::stepOf(float coordinate) const {
    const auto reaches = [coordinate](float edge) { return coordinate >= edge; };
    return static_cast<int>(std::partition_point(edges.begin(), edges.end(), reaches) - edges.begin());
}

KivCartoonSteps kivCartoonSteps(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share) {
    const KivCartoonBands& bands = colors.bands;
    const std::vector<double> places = stepPlaces(bands);
    const auto toneAt = [&](std::size_t i) {
        const double middle = stepMiddle(places, i);
        return kivCartoonEntry(colors, layer, share, bands.level(middle), bands.pigment(middle));
    };
    StepsBuilder builder(toneAt(0));
    for (std::size_t i = 0; i < places.size(); ++i) {
        builder.add(static_cast<float>(kivRampCoordinate(places[i], kivRampEntries)), toneAt(i + 1));
    }
    builder.steps.ramp = kivCartoonRamp(colors, layer, share);
    return std::move(builder.steps);
}

KivCartoonSteps kivHighlightSteps(const KivCartoonColors& colors) {
    constexpr double degree = std::numbers::pi / 180.0;
    StepsBuilder builder(kivHighlightEntry(colors, 180.0));
    if (!(colors.highlightStrength > 0.0)) {
        return std::move(builder.steps);
    }
    const double radius = colors.highlightSize;
    const double reach = kivHighlightReach(colors);
    // From the rim to the middle, as shine grows to it.
    const int count = reach > 0.0 ? mostSteps / 2 : 1;
    const float darkest = static_cast<float>(kivRampCoordinate(0.0, kivRampEntries));
    for (int i = 0; i < count; ++i) {
        const double angle = radius + reach - 2.0 * reach * (i + 0.5) / count;
        const double inside = i + 1 < count ? angle - reach / count : 0.0;
        const float edge =
            static_cast<float>(kivRampCoordinate(kivShineOfCosine(std::cos(angle * degree)), kivRampEntries));
        // On the darkest coordinate the angle is not known.
        builder.add(std::max(edge, std::nextafter(darkest, 1.0F)), kivHighlightEntry(colors, inside));
    }
    return std::move(builder.steps);
}

KivAreaTones::KivAreaTones(const KivCartoonColors& meanColors, KivCartoonLayer ofLayer)
    : colors(meanColors), layer(ofLayer) {
    const bool shines = colors.highlightStrength > 0.0 && layer == KivCartoonLayer::full;
    const std::vector<KivRampEntry> glosses =
        shines ? kivHighlightSteps(colors).tones : std::vector<KivRampEntry>{KivRampEntry{}};
    const std::vector<double> edges = stepPlaces(colors.bands);
    for (std::size_t i = 0; i <= edges.size(); ++i) {
        add(stepMiddle(edges, i), glosses);
    }
    // Evenly lit places may have any step of the ramp.
    for (int i = 0; i < kivRampEntries; ++i) {
        add(static_cast<double>(i) / (kivRampEntries - 1), glosses);
    }
}

KivRampEntry KivAreaTones::entryOf(const KivCartoonColors& of, double incidence) const {
    return kivCartoonEntry(of, layer, 1, of.bands.level(incidence), of.bands.pigment(incidence));
}

void KivAreaTones::add(double incidence, const std::vector<KivRampEntry>& glosses) {
    const KivRampEntry entry = entryOf(colors, incidence);
    for (const KivRampEntry& gloss : glosses) {
        places.try_emplace(packed(laidOver(entry, gloss)), Place{incidence, gloss});
    }
}

std::uint32_t KivAreaTones::of(std::uint32_t recorded, const KivTone& diffuse) const {
    const auto place = places.find(recorded);
    if (place == places.end()) {
        return recorded; // another shader's
    }
    KivCartoonColors other = colors;
    other.diffuse = diffuse;
    return packed(laidOver(entryOf(other, place->second.incidence), place->second.gloss));
}

void KivFlatAreas::clear() {
    corners.clear();
    colors.clear();
}

KivAreaCutter::KivAreaCutter(const KivCartoonSteps& lightSteps, const KivCartoonSteps& shineSteps)
    : light(lightSteps), shine(shineSteps) {}

bool KivAreaCutter::isEvenlyLit() const {
    const auto [low, high] = std::minmax({whole[0].light, whole[1].light, whole[2].light});
    return !light.ramp.empty() && high - low < 0.25F / static_cast<float>(light.ramp.size());
}

void KivAreaCutter::cutFull(const KivCartoonVertex* const corners[3], KivFlatAreas& out) {
    whole.assign({*corners[0], *corners[1], *corners[2]});
    const auto cutByShine = [&](const Polygon& strip, const KivRampEntry& tone) {
        byLight = strip;
        cut(byLight, &KivCartoonVertex::shine, shine,
            [&](const Polygon& piece, const KivRampEntry& gloss) { addFan(piece, laidOver(tone, gloss), out); });
    };
    if (isEvenlyLit()) {
        const float entry = whole[0].light * static_cast<float>(light.ramp.size());
        const float last = static_cast<float>(light.ramp.size() - 1);
        cutByShine(whole, light.ramp[static_cast<std::size_t>(std::clamp(entry, 0.0F, last))]);
        return;
    }
    cut(whole, &KivCartoonVertex::light, light, cutByShine);
}

void KivAreaCutter::cutHighlight(const KivCartoonVertex* const corners[3], KivFlatAreas& out) {
    whole.assign({*corners[0], *corners[1], *corners[2]});
    cut(whole, &KivCartoonVertex::shine, shine, [&](const Polygon& piece, const KivRampEntry& gloss) {
        if (gloss[3] != 0) {
            addFan(piece, gloss, out);
        }
    });
}

// Calls emit(piece, tone) from the lowest step to the highest. The polygon is used up.
template <class Emit> void KivAreaCutter::cut(Polygon& polygon, Value value, const KivCartoonSteps& steps, Emit emit) {
    int lowest = static_cast<int>(steps.edges.size());
    int highest = 0;
    for (const KivCartoonVertex& corner : polygon) {
        const int step = steps.stepOf(corner.*value);
        lowest = std::min(lowest, step);
        highest = std::max(highest, step);
    }
    const int own = value == &KivCartoonVertex::light ? 0 : 1;
    for (int step = lowest; step < highest; ++step) {
        split(polygon, value, steps.edges[step], lower[own], upper[own]);
        emit(lower[own], steps.tones[step]);
        polygon.swap(upper[own]);
    }
    emit(polygon, steps.tones[highest]);
}

void KivAreaCutter::split(const Polygon& polygon, Value value, float edge, Polygon& below, Polygon& above) {
    below.clear();
    above.clear();
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const KivCartoonVertex& here = polygon[i];
        const KivCartoonVertex& next = polygon[i + 1 < polygon.size() ? i + 1 : 0];
        const bool isAbove = here.*value >= edge;
        const bool nextAbove = next.*value >= edge;
        (isAbove ? above : below).push_back(here);
        if (isAbove != nextAbove) {
            const KivCartoonVertex cut =
                isAbove ? crossing(next, here, value, edge) : crossing(here, next, value, edge);
            below.push_back(cut);
            above.push_back(cut);
        }
    }
}

void KivAreaCutter::addFan(const Polygon& polygon, const KivRampEntry& color, KivFlatAreas& out) {
    // A cut through a corner leaves places twice.
    const std::size_t count = polygon.size();
    std::size_t first = 0;
    while (first + 1 < count && isSamePlace(polygon[first], polygon[count - 1])) {
        ++first;
    }
    const KivCartoonVertex* previous = nullptr;
    for (std::size_t i = first + 1; i < count; ++i) {
        const KivCartoonVertex& corner = polygon[i];
        if (isSamePlace(corner, previous != nullptr ? *previous : polygon[first])) {
            continue;
        }
        if (previous != nullptr) {
            for (const KivCartoonVertex* c : {&polygon[first], previous, &corner}) {
                out.corners.push_back({c->x, c->y, c->z});
                out.colors.push_back(color);
            }
        }
        previous = &corner;
    }
}
