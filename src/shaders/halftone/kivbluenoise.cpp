#include "kivbluenoise.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

namespace {

constexpr int candidates = 24;
constexpr int cells = 32; // along a side

double apart(double a, double b) {
    const double distance = std::abs(a - b);
    return std::min(distance, 1.0 - distance);
}

double between(const KivStipplePlace& a, const KivStipplePlace& b) {
    const double x = apart(a.x, b.x);
    const double y = apart(a.y, b.y);
    return x * x + y * y;
}

class Spread {
public:
    Spread() : grid(cells * cells) {}

    void add(const KivStipplePlace& place) {
        grid[cellOf(place)].push_back(place);
        places.push_back(place);
    }
    // The square of the distance to the nearest place.
    double farness(const KivStipplePlace& place) const {
        double least = 2.0;
        const int column = static_cast<int>(place.x * cells);
        const int row = static_cast<int>(place.y * cells);
        // Whole rings of cells, until none farther out can hold a nearer one.
        for (int ring = 0; ring <= cells / 2; ++ring) {
            const double safe = std::max(0.0, ring - 1.0) / cells;
            if (least < safe * safe) {
                break;
            }
            for (int dy = -ring; dy <= ring; ++dy) {
                const int step = std::abs(dy) == ring || ring == 0 ? 1 : 2 * ring;
                for (int dx = -ring; dx <= ring; dx += step) {
                    least = std::min(least, nearestIn(column + dx, row + dy, place));
                }
            }
        }
        return least;
    }
    std::vector<KivStipplePlace> places;

private:
    static std::size_t cellOf(const KivStipplePlace& place) {
        return static_cast<std::size_t>(static_cast<int>(place.y * cells) * cells + static_cast<int>(place.x * cells));
    }
    double nearestIn(int column, int row, const KivStipplePlace& place) const {
        const int wrapped = (row + cells) % cells * cells + (column + cells) % cells;
        double least = 2.0;
        for (const KivStipplePlace& other : grid[static_cast<std::size_t>(wrapped)]) {
            least = std::min(least, between(place, other));
        }
        return least;
    }

    std::vector<std::vector<KivStipplePlace>> grid;
};

std::vector<KivStipplePlace> spread() {
    std::mt19937 words(20031);
    const auto draw = [&words] { return static_cast<double>(words()) / 4294967296.0; };
    Spread all;
    while (all.places.size() < kivStipplePlaces) {
        KivStipplePlace best;
        double farthest = -1.0;
        for (int i = 0; i < candidates; ++i) {
            const double x = draw();
            const KivStipplePlace place{x, draw()};
            const double far = all.farness(place);
            if (far > farthest) {
                farthest = far;
                best = place;
            }
        }
        all.add(best);
    }
    return all.places;
}

} // namespace

double kivStippleDistance(const KivStipplePlace& a, const KivStipplePlace& b) {
    return std::sqrt(between(a, b));
}

const std::vector<KivStipplePlace>& kivStipple() {
    static const std::vector<KivStipplePlace> places = spread();
    return places;
}
