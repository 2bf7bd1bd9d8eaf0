#include "kivrender/lines/skins/alphaloops.h"

#include "kivrender/lines/skins/texturelabels.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>

namespace {

constexpr double mostSamples = 6e6;
// Of a step between two samples: a loop stays off the samples, where two of its points would fall together.
constexpr double nearestToSample = 0.01;
constexpr double smallestLoop = 0.5; // in square pixels
// An alpha that is all or nothing has steps, which are evened out; one that was drawn with smooth edges says exactly
// where they are.
constexpr double hardStep = 0.9;
constexpr int evenings = 3;

struct LoopPoint {
    KivPicturePoint place;
    bool isHard = false;
};

// Alpha less the threshold at the middles of pixels, with nothing around them.
class AlphaField {
public:
    AlphaField(const KivTexture& ofTexture, const KivSkinImage& ofImage, const AlphaWindow& window, double effort)
        : texture(ofTexture), image(ofImage) {
        const auto before = [](double place, int size) { return std::floor(place * size - 0.5) - 2.0; };
        const auto behind = [](double place, int size) { return std::ceil(place * size - 0.5) + 2.0; };
        const double x = before(window.left, image.width);
        const double y = before(window.top, image.height);
        const double columns = behind(window.right, image.width) - x + 1.0;
        const double rows = behind(window.bottom, image.height) - y + 1.0;
        fits = columns * rows <= effort * mostSamples && std::fabs(x) < 1e8 && std::fabs(y) < 1e8;
        if (fits) {
            left = static_cast<int>(x);
            top = static_cast<int>(y);
            width = static_cast<int>(columns);
            height = static_cast<int>(rows);
        }
    }
    bool isSmallEnough() const {
        return fits;
    }
    int columns() const {
        return width;
    }
    int rows() const {
        return height;
    }
    double at(int i, int j) const {
        if (i <= 0 || j <= 0 || i >= width - 1 || j >= height - 1) {
            return -1.0;
        }
        const auto x = static_cast<std::size_t>(kivWrapped(left + i, image.width, texture.wrapU));
        const auto y = static_cast<std::size_t>(kivWrapped(top + j, image.height, texture.wrapV));
        return image.pixels[4 * (y * static_cast<std::size_t>(image.width) + x) + 3] / 255.0 - texture.cutOut;
    }
    KivPicturePoint placeOf(double i, double j) const {
        return {(left + i + 0.5) / image.width, (top + j + 0.5) / image.height};
    }

private:
    const KivTexture& texture;
    const KivSkinImage& image;
    bool fits = false;
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

// A step from a sample to its neighbour to the right, or below.
using Step = std::uint64_t;

class Tracer {
public:
    explicit Tracer(const AlphaField& alpha) : field(alpha) {}

    // False when the user cancelled.
    bool link() {
        for (int j = 0; j + 1 < field.rows(); ++j) {
            if (kivIsCancelled()) {
                return false;
            }
            for (int i = 0; i + 1 < field.columns(); ++i) {
                linkCell(i, j);
            }
        }
        return true;
    }
    // In samples; empty when there is none left.
    std::vector<LoopPoint> nextLoop() {
        std::vector<LoopPoint> loop;
        while (first < order.size() && next.find(order[first]) == next.end()) {
            ++first;
        }
        if (first < order.size()) {
            for (auto at = next.find(order[first]); at != next.end();) {
                loop.push_back(placeOn(at->first));
                const Step to = at->second;
                next.erase(at);
                at = next.find(to);
            }
        }
        return loop;
    }

private:
    Step step(int i, int j, bool isBelow) const {
        return 2 * (static_cast<Step>(j) * static_cast<Step>(field.columns()) + static_cast<Step>(i)) +
               (isBelow ? 1 : 0);
    }
    // Around the cell what is there is walked from where it leaves the cell to where it comes in again.
    void linkCell(int i, int j) {
        const std::array<double, 4> value = {field.at(i, j), field.at(i + 1, j), field.at(i + 1, j + 1),
                                             field.at(i, j + 1)};
        const std::array<Step, 4> side = {step(i, j, false), step(i + 1, j, true), step(i, j + 1, false),
                                          step(i, j, true)};
        const auto isThere = [&](std::size_t k) { return value[k % 4] >= 0.0; };
        const bool isMiddleThere = value[0] + value[1] + value[2] + value[3] >= 0.0;
        const bool isSaddle = isThere(0) == isThere(2) && isThere(1) == isThere(3) && isThere(0) != isThere(1);
        for (std::size_t k = 0; k < 4; ++k) {
            if (!isThere(k) || isThere(k + 1)) {
                continue;
            }
            std::size_t in = k + 1;
            while (isThere(in) || !isThere(in + 1)) {
                ++in;
            }
            if (isSaddle && !isMiddleThere) {
                in += 2;
            }
            next.emplace(side[k], side[in % 4]);
            order.push_back(side[k]);
        }
    }
    LoopPoint placeOn(Step at) const {
        const auto sample = at / 2;
        const int i = static_cast<int>(sample % static_cast<Step>(field.columns()));
        const int j = static_cast<int>(sample / static_cast<Step>(field.columns()));
        const bool isBelow = at % 2 == 1;
        const double from = field.at(i, j);
        const double to = field.at(isBelow ? i : i + 1, isBelow ? j + 1 : j);
        const double t = std::clamp(from / (from - to), nearestToSample, 1.0 - nearestToSample);
        return {isBelow ? KivPicturePoint{static_cast<double>(i), j + t}
                        : KivPicturePoint{i + t, static_cast<double>(j)},
                std::fabs(from - to) > hardStep};
    }

    const AlphaField& field;
    std::unordered_map<Step, Step> next;
    std::vector<Step> order;
    std::size_t first = 0;
};

std::vector<KivPicturePoint> evened(std::vector<LoopPoint> loop) {
    for (int pass = 0; pass < evenings; ++pass) {
        const std::vector<LoopPoint> from = loop;
        for (std::size_t i = 0; i < from.size(); ++i) {
            const KivPicturePoint& before = from[(i + from.size() - 1) % from.size()].place;
            const KivPicturePoint& behind = from[(i + 1) % from.size()].place;
            if (from[i].isHard) {
                loop[i].place.x = 0.25 * before.x + 0.5 * from[i].place.x + 0.25 * behind.x;
                loop[i].place.y = 0.25 * before.y + 0.5 * from[i].place.y + 0.25 * behind.y;
            }
        }
    }
    std::vector<KivPicturePoint> places;
    for (const LoopPoint& point : loop) {
        places.push_back(point.place);
    }
    return places;
}

double awayFrom(const KivPicturePoint& p, const KivPicturePoint& a, const KivPicturePoint& b) {
    const double x = b.x - a.x;
    const double y = b.y - a.y;
    const double length = std::hypot(x, y);
    return length > 0.0 ? std::fabs((p.x - a.x) * y - (p.y - a.y) * x) / length : std::hypot(p.x - a.x, p.y - a.y);
}

// Of a closed loop: between its first point and the one farthest from it, on both ways.
std::vector<KivPicturePoint> thinned(std::vector<KivPicturePoint> loop, double tolerance) {
    if (loop.size() < 4) {
        return loop;
    }
    loop.push_back(loop.front());
    std::vector<bool> isKept(loop.size(), false);
    std::vector<std::pair<std::size_t, std::size_t>> open = {{0, loop.size() - 1}};
    isKept.front() = true;
    while (!open.empty()) {
        const auto [from, to] = open.back();
        open.pop_back();
        double most = tolerance;
        std::size_t farthest = from;
        for (std::size_t i = from + 1; i < to; ++i) {
            const double away = awayFrom(loop[i], loop[from], loop[to]);
            if (away > most) {
                most = away;
                farthest = i;
            }
        }
        if (farthest != from) {
            isKept[farthest] = true;
            open.emplace_back(from, farthest);
            open.emplace_back(farthest, to);
        }
    }
    std::vector<KivPicturePoint> kept;
    for (std::size_t i = 0; i + 1 < loop.size(); ++i) {
        if (isKept[i]) {
            kept.push_back(loop[i]);
        }
    }
    return kept;
}

double areaOf(const std::vector<KivPicturePoint>& loop) {
    double twice = 0.0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const KivPicturePoint& p = loop[i];
        const KivPicturePoint& q = loop[(i + 1) % loop.size()];
        twice += p.x * q.y - p.y * q.x;
    }
    return 0.5 * std::fabs(twice);
}

} // namespace

bool findAlphaLoops(const KivTexture& texture, const KivSkinImage& image, const AlphaWindow& window, double tolerance,
                    double effort, std::vector<AlphaLoop>& loops) {
    const AlphaField field(texture, image, window, effort);
    if (!field.isSmallEnough()) {
        return false;
    }
    Tracer tracer(field);
    if (!tracer.link()) {
        return false;
    }
    for (std::vector<LoopPoint> all = tracer.nextLoop(); !all.empty(); all = tracer.nextLoop()) {
        const std::vector<KivPicturePoint> kept = thinned(evened(std::move(all)), tolerance);
        if (kept.size() < 3 || areaOf(kept) < smallestLoop) {
            continue;
        }
        AlphaLoop loop;
        for (const KivPicturePoint& p : kept) {
            const KivPicturePoint place = field.placeOf(p.x, p.y);
            const bool isFirst = loop.points.empty();
            loop.box.left = isFirst ? place.x : std::min(loop.box.left, place.x);
            loop.box.right = isFirst ? place.x : std::max(loop.box.right, place.x);
            loop.box.top = isFirst ? place.y : std::min(loop.box.top, place.y);
            loop.box.bottom = isFirst ? place.y : std::max(loop.box.bottom, place.y);
            loop.points.push_back(place);
        }
        loops.push_back(std::move(loop));
    }
    return true;
}
