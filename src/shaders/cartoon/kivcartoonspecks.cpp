#include "kivcartoonspecks.h"

#include "kivcartoonpainter.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <numeric>
#include <tuple>

namespace {

using Value = float KivCartoonVertex::*;
using Indices = std::vector<std::uint32_t>;

constexpr std::uint32_t none = 0xffffffffU;
// A transition over more of the incidence than this is no border of flat tones.
constexpr double widestBorder = 0.1;
// Of what hangs together, in pixels of the finished picture, where it shows.
constexpr double thinnestNeck = 1.0;

bool isSame(const KivCartoonVertex& a, const KivCartoonVertex& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z && a.light == b.light && a.shine == b.shine;
}

std::size_t hashOf(const KivCartoonVertex& v) {
    std::uint64_t hash = 0;
    for (const float part : {v.x, v.y, v.z, v.light}) {
        hash = (hash ^ std::bit_cast<std::uint32_t>(part + 0.0F)) * 0x9E3779B97F4A7C15ULL;
        hash ^= hash >> 32U;
    }
    return static_cast<std::size_t>(hash);
}

// For each vertex the first one of its place, light and shine: pieces of divided triangles and parts along the seams of
// a texture do not share vertices.
Indices weld(const std::vector<KivCartoonVertex>& vertices) {
    const std::size_t slots = std::bit_ceil(vertices.size() * 2 + 1);
    Indices table(slots, none);
    Indices first(vertices.size());
    for (std::uint32_t v = 0; v < vertices.size(); ++v) {
        std::size_t slot = hashOf(vertices[v]) & (slots - 1);
        while (table[slot] != none && !isSame(vertices[table[slot]], vertices[v])) {
            slot = (slot + 1) & (slots - 1);
        }
        table[slot] = table[slot] == none ? v : table[slot];
        first[v] = table[slot];
    }
    return first;
}

// The triangles of a list that stands for one side of the surface, by the vertices that they share.
class Sheet {
public:
    Sheet(const Indices& list, const Indices& welded, const KivView& view, KivCartoonBatch& cartoon) : batch(cartoon) {
        corners.reserve(list.size());
        for (const std::uint32_t v : list) {
            corners.push_back(welded[v]);
        }
        places.resize(batch.vertices.size());
        std::vector<bool> isSeen(batch.vertices.size(), false);
        for (const std::uint32_t v : corners) {
            if (!isSeen[v]) {
                const KivCartoonVertex& vertex = batch.vertices[v];
                const KivClipPoint clip = view.clip({vertex.x, vertex.y, vertex.z});
                places[v] = clip.w > 0.0 ? view.window(clip) : KivWindowPoint{std::nan(""), 0.0, 0.0};
                isSeen[v] = true;
                order.push_back(v);
            }
        }
        areas.reserve(corners.size() / 3);
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
            areas.push_back(areaOf(places[corners[i]], places[corners[i + 1]], places[corners[i + 2]]));
        }
    }

    // The value whose parts are removed from here on. A list of its own fits the processor's cache, where the vertices
    // of a million triangles do not.
    void choose(Value value) {
        chosen = value;
        values.resize(batch.vertices.size());
        for (std::size_t v = 0; v < values.size(); ++v) {
            values[v] = batch.vertices[v].*value;
        }
    }

    // Brings small parts beyond the edge, above or below it, to the other side.
    void remove(const KivToneEdge& edge, bool above, const KivSpeckRules& rules) {
        const auto isBeyond = [&](std::uint32_t v) { return (values[v] >= edge.at) == above; };
        parts.resize(batch.vertices.size());
        std::iota(parts.begin(), parts.end(), 0U);
        room.assign(batch.vertices.size(), 0.0F);
        isOpen.assign(batch.vertices.size(), false);
        necks.clear();
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
            add(&corners[i], areas[i / 3], edge.at, isBeyond);
        }
        joinAcrossNecks(rules.thinnestNeck);
        for (const std::uint32_t v : order) {
            const std::uint32_t part = find(v);
            // Those that meet no other tone along a side are bounded by edges alone.
            if (part != v) {
                room[part] += room[v];
                isOpen[part] = isOpen[part] || isOpen[v];
                room[v] = 0.0F;
            }
        }
        for (const std::uint32_t v : order) {
            const std::uint32_t part = find(v);
            if (isOpen[part] && room[part] < rules.smallestArea && isBeyond(v)) {
                values[v] = batch.vertices[v].*chosen = above ? edge.below : edge.above;
            }
        }
    }

private:
    // Between two vertices beyond an edge, in a triangle whose third one is not.
    struct Neck {
        std::uint32_t p;
        std::uint32_t q;
        double width; // in pixels of the image that is drawn into
    };

    static float areaOf(const KivWindowPoint& a, const KivWindowPoint& b, const KivWindowPoint& c) {
        const double area = 0.5 * std::fabs((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y));
        // What reaches behind the eye is large.
        return std::isfinite(area) ? static_cast<float>(area) : std::numeric_limits<float>::max();
    }

    std::uint32_t find(std::uint32_t v) {
        while (parts[v] != v) {
            parts[v] = parts[parts[v]];
            v = parts[v];
        }
        return v;
    }

    template <class IsBeyond> void add(const std::uint32_t* triangle, float area, float at, const IsBeyond& isBeyond) {
        int beyond = 0;
        std::size_t odd = 0; // the corner that is alone on its side
        bool sides[3];
        for (std::size_t k = 0; k < 3; ++k) {
            sides[k] = isBeyond(triangle[k]);
            beyond += sides[k] ? 1 : 0;
        }
        if (beyond == 0) {
            return;
        }
        if (beyond == 3) {
            room[triangle[0]] += area;
            join(triangle[0], triangle[1]);
            join(triangle[0], triangle[2]);
            return;
        }
        while (sides[odd] != (beyond == 1)) {
            ++odd;
        }
        const std::uint32_t tip = triangle[odd];
        const std::uint32_t p = triangle[(odd + 1) % 3];
        const std::uint32_t q = triangle[(odd + 2) % 3];
        const auto shareTo = [&](std::uint32_t v) {
            const float from = values[tip];
            const float share = (at - from) / (values[v] - from);
            return share >= 0.0F && share <= 1.0F ? share : 1.0F;
        };
        const float shareP = shareTo(p);
        const float shareQ = shareTo(q);
        const float cut = area * shareP * shareQ;
        if (beyond == 1) {
            room[tip] += cut;
            isOpen[tip] = true;
            return;
        }
        const double roomP = (1.0 - shareP) * distance(tip, p);
        const double roomQ = (1.0 - shareQ) * distance(tip, q);
        room[roomP > roomQ ? p : q] += area - cut;
        isOpen[p] = isOpen[q] = true;
        necks.push_back({std::min(p, q), std::max(p, q), std::min(roomP, roomQ)});
    }

    // The part about a side of triangles is as wide as what lies on both sides of it: a strip along a row of them has
    // its two halves in two triangles.
    void joinAcrossNecks(double thinnest) {
        std::sort(necks.begin(), necks.end(),
                  [](const Neck& a, const Neck& b) { return std::tie(a.p, a.q) < std::tie(b.p, b.q); });
        for (std::size_t i = 0; i < necks.size();) {
            const Neck& first = necks[i];
            double width = 0.0;
            for (; i < necks.size() && necks[i].p == first.p && necks[i].q == first.q; ++i) {
                width += necks[i].width;
            }
            // The negation keeps together what reaches behind the eye.
            if (!(width < thinnest)) {
                join(first.p, first.q);
            }
        }
    }

    double distance(std::uint32_t a, std::uint32_t b) const {
        return std::hypot(places[a].x - places[b].x, places[a].y - places[b].y);
    }

    void join(std::uint32_t a, std::uint32_t b) {
        if (parts[a] == parts[b]) {
            return; // as of most neighbours
        }
        const std::uint32_t p = find(a);
        const std::uint32_t q = find(b);
        parts[std::max(p, q)] = std::min(p, q);
    }

    KivCartoonBatch& batch;
    Value chosen = nullptr;
    std::vector<float> values; // of the vertices
    Indices corners;
    Indices order; // each vertex once, where it comes first among the corners
    std::vector<KivWindowPoint> places;
    std::vector<float> areas; // of the triangles
    Indices parts;
    std::vector<float> room;
    std::vector<bool> isOpen;
    std::vector<Neck> necks;
};

void addEdge(std::vector<KivToneEdge>& edges, double below, double at, double above) {
    const auto coordinate = [](double value) { return static_cast<float>(kivRampCoordinate(value, kivRampEntries)); };
    // A step further, where the entries on both sides of a sharp border are not mixed.
    constexpr float step = 1.0F / kivRampEntries;
    if (at > 0.0 && at < 1.0) {
        edges.push_back({coordinate(at), coordinate(below) - step, coordinate(above) + step});
    }
}

bool isCrossed(const std::vector<KivToneEdge>& edges, Value value, const std::vector<KivCartoonVertex>& vertices) {
    if (edges.empty() || vertices.empty()) {
        return false;
    }
    const auto [low, high] = std::minmax_element(vertices.begin(), vertices.end(),
                                                 [value](const auto& a, const auto& b) { return a.*value < b.*value; });
    return std::any_of(edges.begin(), edges.end(),
                       [&](const KivToneEdge& edge) { return (*low).*value < edge.at && (*high).*value >= edge.at; });
}

// Islands of what lies above, from the highest edge down, then those of what lies below, from the lowest up.
void removeAlong(Sheet& sheet, Value value, const std::vector<KivToneEdge>& edges, const KivSpeckRules& rules) {
    sheet.choose(value);
    for (auto edge = edges.rbegin(); edge != edges.rend() && !kivIsCancelled(); ++edge) {
        sheet.remove(*edge, true, rules);
    }
    for (auto edge = edges.begin(); edge != edges.end() && !kivIsCancelled(); ++edge) {
        sheet.remove(*edge, false, rules);
    }
}

} // namespace

KivSpeckRules kivSpeckRules(const KivCartoonColors& colors, double smallestTone, double pixel) {
    constexpr double degree = std::numbers::pi / 180.0;
    KivSpeckRules rules;
    rules.smallestArea = smallestTone * pixel * pixel;
    rules.thinnestNeck = thinnestNeck * pixel;
    for (int i = 1; i < colors.bands.count; ++i) {
        const double at = colors.bands.edge(i);
        const double reach = colors.bands.reach(i);
        if (2.0 * reach <= widestBorder) {
            addEdge(rules.light, at - reach, at, at + reach);
        }
    }
    if (colors.highlightStrength > 0.0 && colors.bands.softness <= 0.5) {
        const double reach = kivHighlightReach(colors);
        const auto shineAt = [&](double angle) { return kivShineOfCosine(std::cos(std::max(angle, 0.0) * degree)); };
        addEdge(rules.shine, shineAt(colors.highlightSize + reach), shineAt(colors.highlightSize),
                shineAt(colors.highlightSize - reach));
    }
    return rules;
}

void kivRemoveSpecks(const KivSpeckRules& rules, const KivView& view, KivCartoonBatch& batch) {
    const bool byLight = isCrossed(rules.light, &KivCartoonVertex::light, batch.vertices);
    const bool byShine = isCrossed(rules.shine, &KivCartoonVertex::shine, batch.vertices);
    if (!(rules.smallestArea > 0.0) || !batch.runs.empty() || (!byLight && !byShine)) {
        return;
    }
    const Indices welded = weld(batch.vertices);
    for (const Indices* list : {&batch.front, &batch.back}) {
        Sheet sheet(*list, welded, view, batch);
        if (byLight) {
            removeAlong(sheet, &KivCartoonVertex::light, rules.light, rules);
        }
        if (byShine) {
            removeAlong(sheet, &KivCartoonVertex::shine, rules.shine, rules);
        }
    }
    for (std::size_t v = 0; v < welded.size(); ++v) {
        batch.vertices[v] = batch.vertices[welded[v]];
    }
}
