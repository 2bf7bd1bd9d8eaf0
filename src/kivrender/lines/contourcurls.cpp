#include "kivrender/lines/contourcurls.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace {

constexpr double longest = 3.0; // of a curl, in pixels along the line
constexpr double detour = 1.5;  // a curl is so many times as long as the way across
constexpr double reach = 3.0;   // over so many pixels the line's direction is told
constexpr double onward = 0.3;  // the cosine between the directions before and after

class Curls {
public:
    explicit Curls(KivFoundLine& contour) : line(contour), points(contour.picture) {}

    void takeOut() {
        std::vector<std::size_t> kept;
        for (std::size_t i = 0; i < points.size();) {
            const std::size_t end = curlFrom(i);
            const bool startsLine = i == 0 && end > 0 && !line.closed;
            if (!startsLine) {
                kept.push_back(i);
            }
            if (end + 1 == points.size() && end > i + 1 && !line.closed) {
                break; // the line's end curls up
            }
            i = end > i ? end : i + 1;
        }
        if (kept.size() < points.size() && kept.size() >= 2) {
            keep(kept);
        }
    }

private:
    double between(std::size_t i, std::size_t k) const {
        return std::hypot(points[k].x - points[i].x, points[k].y - points[i].y);
    }
    // The last point of a curl that begins there, or that point itself.
    std::size_t curlFrom(std::size_t i) const {
        std::size_t end = i;
        double length = 0.0;
        for (std::size_t k = i + 1; k < points.size(); ++k) {
            length += between(k - 1, k);
            if (length > longest) {
                break;
            }
            if (k > i + 1 && length > detour * between(i, k) && turnsWithin(i, k) && goesOn(i, k)) {
                end = k;
            }
        }
        return end;
    }
    bool turnsWithin(std::size_t i, std::size_t k) const {
        for (std::size_t m = i + 1; m < k; ++m) {
            const double dot = (points[m].x - points[m - 1].x) * (points[m + 1].x - points[m].x) +
                               (points[m].y - points[m - 1].y) * (points[m + 1].y - points[m].y);
            if (dot < 0.0) {
                return true;
            }
        }
        return false;
    }
    // At an end of the line there is no direction to compare with.
    bool goesOn(std::size_t i, std::size_t k) const {
        if (!line.closed && (i == 0 || k + 1 == points.size())) {
            return true;
        }
        const KivPicturePoint before = directionAt(i, false);
        const KivPicturePoint after = directionAt(k, true);
        const double size = std::hypot(before.x, before.y) * std::hypot(after.x, after.y);
        return before.x * after.x + before.y * after.y > onward * size;
    }
    KivPicturePoint directionAt(std::size_t i, bool ahead) const {
        std::size_t k = i;
        while ((ahead ? k + 1 < points.size() : k > 0) && between(i, k) < reach) {
            k = ahead ? k + 1 : k - 1;
        }
        return ahead ? KivPicturePoint{points[k].x - points[i].x, points[k].y - points[i].y}
                     : KivPicturePoint{points[i].x - points[k].x, points[i].y - points[k].y};
    }
    void keep(const std::vector<std::size_t>& kept) {
        for (std::size_t i = 0; i < kept.size(); ++i) {
            line.picture[i] = line.picture[kept[i]];
            line.space[i] = line.space[kept[i]];
        }
        line.picture.resize(kept.size());
        line.space.resize(kept.size());
    }

    KivFoundLine& line;
    const std::vector<KivPicturePoint>& points;
};

} // namespace

void kivTakeOutCurls(KivFoundLine& line) {
    Curls(line).takeOut();
}
