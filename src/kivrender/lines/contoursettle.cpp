#include "kivrender/lines/contoursettle.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace {

// In pixels.
constexpr double onMesh = 0.01;   // deeper by no more is on the surface
constexpr double nearby = 0.2;    // seen so far aside is right
constexpr double rest = 0.1;      // of the way to where it is seen
constexpr double wayStep = 0.1;   // how finely that is looked for
constexpr double farthest = 0.65; // what lies farther behind goes on behind something else
constexpr double shortDip = 2.0;  // along the line: so little of it is not behind something else
constexpr double spacing = 1.0;   // of the places that are looked at
constexpr double reach = 4.0;     // a line turns aside over so many

class Settler {
public:
    Settler(const KivOccluders& inTheWay, LineBudget& work, KivFoundLine& contour)
        : occluders(inTheWay), view(inTheWay.view()), budget(work), line(contour) {}

    void settle() {
        sample();
        bool any = false;
        for (std::size_t i = 0; i < places.size() && budget.goesOn(); ++i) {
            find(places[i]);
            any = any || places[i].aside != 0.0;
        }
        if (any && budget.goesOn()) {
            leaveDeepRuns();
            spread();
            move();
        }
    }

private:
    struct Place {
        KivPicturePoint at;
        KivPicturePoint way; // of unit length, to the left of the line
        double depth = 0.0;
        double length = 0.0; // to the next place
        double aside = 0.0;  // by how much it is moved along its way
        bool isPoint = false;
        bool isDeep = false; // farther behind
    };

    // The line's points, and places between them.
    void sample() {
        const std::size_t count = line.space.size();
        for (std::size_t i = 0; i < count; ++i) {
            const bool isLast = i + 1 == count;
            const KivVec& a = line.space[i];
            const KivVec& b = line.space[isLast ? (line.closed ? 0 : i) : i + 1];
            const KivPicturePoint& p = line.picture[i];
            const KivPicturePoint& q = line.picture[isLast ? (line.closed ? 0 : i) : i + 1];
            const double length = std::hypot(q.x - p.x, q.y - p.y);
            const int steps = std::max(1, static_cast<int>(std::min(std::ceil(length / spacing), 1e4)));
            for (int k = 0; k < steps; ++k) {
                const KivVec there = view.toCamera(a + (b - a) * (static_cast<double>(k) / steps));
                Place place;
                place.at = k == 0 ? p : view.toPicture(there);
                place.depth = there.z;
                place.length = length / steps;
                place.isPoint = k == 0;
                if (length > 0.0) {
                    place.way = {(p.y - q.y) / length, (q.x - p.x) / length};
                } else if (!places.empty()) {
                    place.way = places.back().way;
                }
                places.push_back(place);
            }
        }
        turnAtCorners();
    }
    // At a corner of the line half to one side and half to the other is aside.
    void turnAtCorners() {
        const std::size_t count = places.size();
        const KivPicturePoint last = places.empty() ? KivPicturePoint{} : places.back().way;
        for (std::size_t i = count; i > 0; --i) {
            const KivPicturePoint before = i > 1 ? places[i - 2].way : line.closed ? last : places[0].way;
            KivPicturePoint& way = places[i - 1].way;
            const KivPicturePoint sum = {way.x + before.x, way.y + before.y};
            const double size = std::hypot(sum.x, sum.y);
            if (size > 0.1) {
                way = {sum.x / size, sum.y / size};
            }
        }
    }

    bool isSeen(const Place& place, double aside) {
        const std::size_t before = occluders.work();
        const double nearest =
            occluders.nearestAt({place.at.x + aside * place.way.x, place.at.y + aside * place.way.y});
        budget.spend(occluders.work() - before);
        return nearest >= place.depth - onMesh * view.pixelSize(place.depth);
    }
    void find(Place& place) {
        if (isSeen(place, 0.0) || isSeen(place, nearby) || isSeen(place, -nearby)) {
            return;
        }
        for (double way = nearby + wayStep; way <= farthest; way += wayStep) {
            for (const double side : {1.0, -1.0}) {
                if (isSeen(place, side * way)) {
                    place.aside = side * (way - rest);
                    return;
                }
            }
        }
        place.isDeep = true;
    }
    // A line that goes on behind a part of the scene, such as the rim of a wheel behind a spoke, goes on straight.
    void leaveDeepRuns() {
        for (std::size_t first = 0; first < places.size();) {
            std::size_t end = first;
            double deep = 0.0;
            for (; end < places.size() && (places[end].isDeep || places[end].aside != 0.0); ++end) {
                deep += places[end].isDeep ? places[end].length : 0.0;
            }
            for (std::size_t i = first; deep > shortDip && i < end; ++i) {
                places[i].aside = 0.0;
            }
            first = std::max(end, first + 1);
        }
    }

    // The places around one that is moved go along with it, the less the farther they are.
    void spread() {
        std::vector<double> all(places.size());
        for (std::size_t i = 0; i < places.size(); ++i) {
            all[i] = places[i].aside;
        }
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i].aside != 0.0) {
                spreadTo(all, i, true);
                spreadTo(all, i, false);
            }
        }
        for (std::size_t i = 0; i < places.size(); ++i) {
            places[i].aside = all[i];
        }
    }
    void spreadTo(std::vector<double>& all, std::size_t from, bool ahead) const {
        const std::size_t count = places.size();
        double way = 0.0;
        std::size_t k = from;
        for (std::size_t done = 1; done < count; ++done) {
            if (!line.closed && k == (ahead ? count - 1 : 0)) {
                return;
            }
            const std::size_t next = ahead ? (k + 1) % count : (k + count - 1) % count;
            way += places[ahead ? k : next].length;
            k = next;
            if (way >= reach) {
                return;
            }
            const double aside = places[from].aside * (1.0 - way / reach);
            if (std::fabs(aside) > std::fabs(all[k])) {
                all[k] = aside;
            }
        }
    }

    void move() {
        line.space.clear();
        line.picture.clear();
        for (const Place& place : places) {
            if (place.isPoint || place.aside != 0.0) {
                const KivPicturePoint to = {place.at.x + place.aside * place.way.x,
                                            place.at.y + place.aside * place.way.y};
                line.picture.push_back(to);
                line.space.push_back(view.toSpace(to, place.depth));
            }
        }
    }

    const KivOccluders& occluders;
    const KivLineView& view;
    LineBudget& budget;
    KivFoundLine& line;
    std::vector<Place> places;
};

} // namespace

void kivSettleContour(const KivOccluders& occluders, LineBudget& budget, KivFoundLine& line) {
    Settler(occluders, budget, line).settle();
}
