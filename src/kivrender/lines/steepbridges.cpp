#include "kivrender/lines/steepbridges.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr double step = 1.0; // in pixels, of the places that are looked at
// So many pixels to both sides of the line the surface lies deeper on one than on the other by so many: in the mean it
// is seen under less than ten degrees.
constexpr double besideLine = 1.5;
constexpr double leastFall = 18.0;

class Bridge {
public:
    Bridge(const KivOccluders& inTheWay, LineBudget& work, const BridgeEnd& first, const BridgeEnd& last)
        : occluders(inTheWay), view(inTheWay.view()), budget(work), from(first), to(last),
          length(std::hypot(to.place.x - from.place.x, to.place.y - from.place.y)) {}

    std::vector<KivVec> points() const {
        const int steps = std::max(2, static_cast<int>(std::ceil(length / step)));
        std::vector<KivVec> result;
        int falls = 0; // to the left or to the right
        for (int i = 1; i < steps; ++i) {
            const double t = static_cast<double>(i) / steps;
            const KivPicturePoint place = at(t);
            const KivPicturePoint ahead = at(t + 1e-3);
            const double way = std::hypot(ahead.x - place.x, ahead.y - place.y);
            const KivPicturePoint left = {(place.y - ahead.y) / way, (ahead.x - place.x) / way};
            const double one = depthAt({place.x + besideLine * left.x, place.y + besideLine * left.y});
            const double other = depthAt({place.x - besideLine * left.x, place.y - besideLine * left.y});
            const double nearer = std::min(one, other);
            const int side = one > other ? 1 : -1;
            if (!budget.goesOn() || !std::isfinite(nearer) ||
                std::max(one, other) - nearer < leastFall * view.pixelSize(nearer) || falls * side < 0) {
                return {};
            }
            falls = side;
            const double depth = depthAt(place);
            result.push_back(view.toSpace(place, std::isfinite(depth) ? depth : nearer));
        }
        return result;
    }

private:
    // A cubic in the directions of the two ends.
    KivPicturePoint at(double t) const {
        const double s = 1.0 - t;
        const double a = s * s * (1.0 + 2.0 * t);
        const double b = t * t * (3.0 - 2.0 * t);
        const double c = s * s * t * length;
        const double d = s * t * t * length;
        return {from.place.x * a + to.place.x * b + from.out.x * c + to.out.x * d,
                from.place.y * a + to.place.y * b + from.out.y * c + to.out.y * d};
    }
    double depthAt(const KivPicturePoint& place) const {
        const std::size_t before = occluders.work();
        const double depth = occluders.nearestAt(place);
        budget.spend(occluders.work() - before);
        return depth;
    }

    const KivOccluders& occluders;
    const KivLineView& view;
    LineBudget& budget;
    const BridgeEnd& from;
    const BridgeEnd& to;
    double length;
};

} // namespace

std::vector<KivVec> kivSteepBridge(const KivOccluders& occluders, LineBudget& budget, const BridgeEnd& from,
                                   const BridgeEnd& to) {
    return Bridge(occluders, budget, from, to).points();
}
