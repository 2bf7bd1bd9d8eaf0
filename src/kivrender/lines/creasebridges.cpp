#include "kivrender/lines/creasebridges.h"

#include "kivrender/geometry/disjointsets.h"
#include "kivrender/lines/curveorder.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

constexpr double weakPart = 0.5;     // of the angle of a crease
constexpr double longestPart = 0.25; // of the creases on either side
constexpr double leastCosine = 0.7;  // of a turn: 45 degrees
constexpr std::size_t mostSteps = 64;

class Bridges {
public:
    Bridges(const KivSurface& read, const std::vector<KivFeatureWing>& edges, const KivFeatureRules& wanted,
            std::vector<bool>& sharp)
        : surface(read), wings(edges), rules(wanted), creases(sharp), networks(read.points.size()) {}

    bool add() {
        if (!countCreases() || ends.empty()) {
            return !kivIsCancelled();
        }
        if (!findWeak()) {
            return false;
        }
        for (const auto& [point, wing] : ends) {
            if (degree[point] == 1 && walk(point, wing)) {
                for (const std::uint32_t i : way) {
                    enter(i);
                }
            }
        }
        return true;
    }

private:
    double lengthOf(const KivFeatureWing& wing) const {
        return kivLength(surface.points[wing.b] - surface.points[wing.a]);
    }
    // A crease, with the points that it leads to.
    void enter(std::uint32_t i) {
        const KivFeatureWing& wing = wings[i];
        creases[i] = true;
        degree[wing.a] = static_cast<std::uint8_t>(std::min(degree[wing.a] + 1, 3));
        degree[wing.b] = static_cast<std::uint8_t>(std::min(degree[wing.b] + 1, 3));
        const double length = lengths[networks.find(wing.a)] + lengthOf(wing) +
                              (networks.find(wing.a) != networks.find(wing.b) ? lengths[networks.find(wing.b)] : 0.0);
        lengths[networks.join(wing.a, wing.b)] = length;
    }
    bool countCreases() {
        degree.assign(surface.points.size(), 0);
        lengths.assign(surface.points.size(), 0.0);
        for (std::uint32_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (creases[i]) {
                enter(i);
            }
        }
        for (std::uint32_t i = 0; i < wings.size(); ++i) {
            for (const std::uint32_t p : {wings[i].a, wings[i].b}) {
                if (creases[i] && degree[p] == 1) {
                    ends.emplace_back(p, i);
                }
            }
        }
        return true;
    }
    bool findWeak() {
        for (std::uint32_t i = 0; i < wings.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            const KivFeatureWing& wing = wings[i];
            const double limit = wing.smooth ? rules.smoothCreaseAngle : rules.creaseAngle;
            if (!creases[i] && !wing.junction && wing.right != KivFeatureWing::none &&
                static_cast<double>(wing.bend) > weakPart * limit) {
                weak.emplace_back(wing.a, i);
                weak.emplace_back(wing.b, i);
            }
        }
        std::sort(weak.begin(), weak.end());
        return true;
    }

    // From the end of a crease on. True, with the way, if it arrives at another.
    bool walk(std::uint32_t point, std::uint32_t crease) {
        const std::uint32_t start = networks.find(point);
        KivVec ahead = kivUnit(surface.points[point] - surface.points[otherEnd(crease, point)]);
        double length = 0.0;
        way.clear();
        while (way.size() < mostSteps) {
            const std::uint32_t next = straightOn(point, ahead);
            if (next == none) {
                return false;
            }
            length += lengthOf(wings[next]);
            if (length > longestPart * lengths[start]) {
                return false;
            }
            way.push_back(next);
            const std::uint32_t there = otherEnd(next, point);
            ahead = kivUnit(surface.points[there] - surface.points[point]);
            point = there;
            if (degree[point] > 0) {
                return length <= longestPart * lengths[networks.find(point)];
            }
        }
        return false;
    }
    std::uint32_t otherEnd(std::uint32_t i, std::uint32_t point) const {
        return wings[i].a == point ? wings[i].b : wings[i].a;
    }
    // The weak edge at the point that turns least.
    std::uint32_t straightOn(std::uint32_t point, const KivVec& ahead) const {
        std::uint32_t best = none;
        double most = leastCosine;
        for (auto at = std::lower_bound(weak.begin(), weak.end(), std::pair(point, 0U));
             at != weak.end() && at->first == point; ++at) {
            const KivVec along = kivUnit(surface.points[otherEnd(at->second, point)] - surface.points[point]);
            if (const double cosine = kivDot(along, ahead); cosine > most) {
                most = cosine;
                best = at->second;
            }
        }
        return best;
    }

    static constexpr std::uint32_t none = 0xFFFFFFFFU;

    const KivSurface& surface;
    const std::vector<KivFeatureWing>& wings;
    const KivFeatureRules& rules;
    std::vector<bool>& creases;
    DisjointSets networks;
    std::vector<double> lengths;                               // of the networks' creases
    std::vector<std::uint8_t> degree;                          // creases at each point, counted up to 3
    std::vector<std::pair<std::uint32_t, std::uint32_t>> ends; // points, each with its one crease
    std::vector<std::pair<std::uint32_t, std::uint32_t>> weak; // points and wings
    std::vector<std::uint32_t> way;
};

} // namespace

bool kivBridgeCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings, const KivFeatureRules& rules,
                      std::vector<bool>& creases) {
    return Bridges(surface, wings, rules, creases).add();
}
