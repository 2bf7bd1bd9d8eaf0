#include "kivrender/lines/skins/skinpictures.h"

#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

namespace {

// How far an area's lines, made of straight pieces, may stand off its curves, in pixels.
constexpr double outlineTolerance = 0.05;

int samplesPerPixel(double width, double height, const SkinPictureRules& rules) {
    const double samples = static_cast<double>(rules.mostSamples) / std::max(1.0, width * height);
    return std::clamp(static_cast<int>(std::sqrt(samples)), 1, rules.perPixel);
}

// A tone for all colours, asked of its owner at places 1/32 apart in each of red, green and blue, as shaders do for
// textures, and mixed in between.
class ToneCube {
public:
    explicit ToneCube(const SkinPictures::Tone& tone) : ask(tone), entries(side * side * side, unknown) {}

    SkinPaint::Color of(const SkinPaint::Color& color) {
        std::array<std::size_t, 3> cell{};
        std::array<double, 3> share{};
        for (std::size_t c = 0; c < 3; ++c) {
            const double at = color[c] * (steps / 255.0);
            cell[c] = std::min(static_cast<std::size_t>(at), steps - 1);
            share[c] = at - static_cast<double>(cell[c]);
        }
        std::array<double, 3> sum{};
        for (std::size_t corner = 0; corner < 8; ++corner) {
            double weight = 1.0;
            std::array<std::size_t, 3> at = cell;
            for (std::size_t c = 0; c < 3; ++c) {
                const bool isUpper = (corner >> c & 1U) != 0;
                weight *= isUpper ? share[c] : 1.0 - share[c];
                at[c] += isUpper ? 1 : 0;
            }
            const std::uint32_t entry = weight > 0.0 ? entryAt(at) : 0;
            for (unsigned int c = 0; c < 3; ++c) {
                sum[c] += weight * (entry >> (8 * c) & 0xFFU);
            }
        }
        return kivSkinColor({sum[0] / 255.0, sum[1] / 255.0, sum[2] / 255.0});
    }

private:
    static constexpr std::size_t steps = 32;
    static constexpr std::size_t side = steps + 1;
    static constexpr std::uint32_t unknown = std::numeric_limits<std::uint32_t>::max();

    std::uint32_t entryAt(const std::array<std::size_t, 3>& at) {
        std::uint32_t& entry = entries[(at[2] * side + at[1]) * side + at[0]];
        if (entry == unknown) {
            std::uint32_t color = 0;
            for (unsigned int c = 0; c < 3; ++c) {
                color |= static_cast<std::uint32_t>(std::lround(at[c] * (255.0 / steps))) << (8 * c);
            }
            entry = ask(color);
        }
        return entry;
    }

    const SkinPictures::Tone& ask;
    std::vector<std::uint32_t> entries;
};

} // namespace

// One picture, of whose pixels each stands for a square of samples.
class SkinPictures::Painter {
public:
    Painter(const SkinRaster& samples, const Box& ofSamples, int samplesPerSide, int farthest)
        : raster(samples), box(ofSamples), scale(samplesPerSide), reach(farthest),
          columns((box.width + scale - 1) / scale), rows((box.height + scale - 1) / scale),
          states(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), State::outside) {}

    // False when the user cancelled.
    bool paint(const KivArea& area, std::uint32_t skin, const SkinPaint& paint, ToneCube& tone, KivAreaPicture& out) {
        markInside(area);
        markAround();
        const double perPixel = raster.samplesPerPixel();
        out.width = columns;
        out.height = rows;
        out.low = {box.left / perPixel, box.bottom / perPixel};
        out.high = {(box.left + columns * scale) / perPixel, (box.bottom + rows * scale) / perPixel};
        out.pixels.resize(3 * states.size());
        for (std::size_t i = 0; i < out.pixels.size(); ++i) {
            out.pixels[i] = static_cast<std::uint8_t>(area.color >> (8 * (i % 3)) & 0xFFU);
        }
        std::vector<std::size_t> known;
        for (int row = 0; row < rows; ++row) {
            if (kivIsCancelledAt(static_cast<std::size_t>(row) * 64)) {
                return false;
            }
            for (int column = 0; column < columns; ++column) {
                const std::size_t i = indexOf(column, row);
                const int x = box.left + column * scale + scale / 2;
                const int y = box.bottom + (rows - 1 - row) * scale + scale / 2;
                const bool isSample = x >= 0 && y >= 0 && x < raster.width() && y < raster.height();
                if (states[i] == State::outside || !isSample || raster.skinAt(x, y) != skin) {
                    continue;
                }
                const SkinPaint::Color color = tone.of(paint.at(raster, x, y, scale));
                std::copy(color.begin(), color.end(), &out.pixels[3 * i]);
                states[i] = State::known;
                known.push_back(i);
            }
        }
        spread(
            std::move(known), State::wanted, State::known, std::numeric_limits<int>::max(),
            [&out](std::size_t from, std::size_t to) { std::copy_n(&out.pixels[3 * from], 3, &out.pixels[3 * to]); });
        return true;
    }

private:
    enum class State : std::uint8_t { outside, wanted, known };

    std::size_t indexOf(int column, int row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column);
    }

    // By the even-odd rule at the middles of the pixels.
    void markInside(const KivArea& area) {
        const double perPixel = raster.samplesPerPixel();
        std::vector<std::vector<double>> crossings(static_cast<std::size_t>(rows));
        for (const KivCurvePath& ring : area.paintedRings()) {
            std::vector<KivPicturePoint> points = kivFlattenCurve(ring, outlineTolerance);
            for (KivPicturePoint& p : points) {
                p = {(p.x * perPixel - box.left) / scale, rows - (p.y * perPixel - box.bottom) / scale};
            }
            for (std::size_t k = 0; k < points.size(); ++k) {
                addCrossings(points[k], points[k + 1 < points.size() ? k + 1 : 0], crossings);
            }
        }
        for (int row = 0; row < rows; ++row) {
            std::vector<double>& places = crossings[static_cast<std::size_t>(row)];
            std::sort(places.begin(), places.end());
            for (std::size_t k = 1; k < places.size(); k += 2) {
                const int first = static_cast<int>(std::clamp(std::ceil(places[k - 1] - 0.5), 0.0, 1.0 * columns));
                const int behind = static_cast<int>(std::clamp(std::ceil(places[k] - 0.5), 0.0, 1.0 * columns));
                std::fill(states.begin() + static_cast<std::ptrdiff_t>(indexOf(0, row)) + first,
                          states.begin() + static_cast<std::ptrdiff_t>(indexOf(0, row)) + std::max(first, behind),
                          State::wanted);
            }
        }
    }
    void addCrossings(KivPicturePoint a, KivPicturePoint b, std::vector<std::vector<double>>& crossings) const {
        if (a.y > b.y) {
            std::swap(a, b);
        }
        const double from = std::max(0.0, std::ceil(a.y - 0.5));
        const double to = std::min(rows - 1.0, std::ceil(b.y - 0.5) - 1.0);
        for (double row = from; row <= to; ++row) {
            const double t = (row + 0.5 - a.y) / (b.y - a.y);
            crossings[static_cast<std::size_t>(row)].push_back(a.x + t * (b.x - a.x));
        }
    }

    // What viewers mix with the pixels inside.
    void markAround() {
        std::vector<std::size_t> inside;
        for (std::size_t i = 0; i < states.size(); ++i) {
            if (states[i] == State::wanted) {
                inside.push_back(i);
            }
        }
        spread(std::move(inside), State::outside, State::wanted, reach, [](std::size_t, std::size_t) {});
    }

    // From pixels to those beside them that are in one state, which gives these another one, and on for so many steps.
    template <class Take> void spread(std::vector<std::size_t> border, State from, State to, int steps, Take take) {
        const auto across = static_cast<std::size_t>(columns);
        std::vector<std::size_t> next;
        for (int step = 0; step < steps && !border.empty(); ++step) {
            next.clear();
            const auto visit = [&](std::size_t here, std::size_t beside) {
                if (states[beside] == from) {
                    states[beside] = to;
                    take(here, beside);
                    next.push_back(beside);
                }
            };
            for (const std::size_t i : border) {
                if (i % across > 0) {
                    visit(i, i - 1);
                }
                if (i % across + 1 < across) {
                    visit(i, i + 1);
                }
                if (i >= across) {
                    visit(i, i - across);
                }
                if (i + across < states.size()) {
                    visit(i, i + across);
                }
            }
            border.swap(next);
        }
    }

    const SkinRaster& raster;
    Box box;
    int scale;
    int reach; // in pixels of the picture
    int columns;
    int rows;
    std::vector<State> states;
};

SkinPictures::SkinPictures(double width, double height, const SkinPictureRules& pictureRules)
    : rules(pictureRules), raster(width, height, samplesPerPixel(width, height, pictureRules)) {}

bool SkinPictures::build(const KivDrawnSkins& drawn, const KivProjectiveMap& pictureFromWorld) {
    using Key = std::tuple<const KivTexture*, int, const KivMeshPaint*>;
    std::map<Key, std::shared_ptr<SkinPaint>> known;
    for (const KivDrawnSkin& skin : drawn.all()) {
        const KivTexture* const texture = skin.paint->texture.get();
        if ((texture != nullptr && !kivIsUsable(*texture)) || skin.corners.empty()) {
            continue;
        }
        // Colours at vertices that are reduced have a palette for each mesh.
        std::shared_ptr<SkinPaint>& paint =
            known[{texture, skin.numColors, texture == nullptr ? skin.paint.get() : nullptr}];
        if (paint == nullptr) {
            paint = std::make_shared<SkinPaint>();
            if (!paint->build(skin.paint->texture, *skin.paint, skin.numColors)) {
                return false;
            }
        }
        const auto number = static_cast<std::uint32_t>(paintOfSkin.size());
        if (!raster.add(skin, number, pictureFromWorld)) {
            return false;
        }
        paintOfSkin.push_back(paint);
        skinOfObject[skin.object] = number;
    }
    return true;
}

// In samples: what is painted beyond the area, and what viewers mix with that.
int SkinPictures::reach() const {
    constexpr double mixed = 1.0;
    return static_cast<int>(std::ceil((rules.underlap + mixed) * raster.samplesPerPixel()));
}

SkinPictures::Box SkinPictures::boxOf(const KivArea& area) const {
    KivPicturePoint low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    KivPicturePoint high{-low.x, -low.y};
    const auto include = [&](const KivPicturePoint& p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    };
    for (const KivCurvePath& ring : area.paintedRings()) {
        include(ring.start);
        for (const KivCurvePiece& piece : ring.pieces) {
            include(piece.end);
            if (piece.kind == KivCurvePiece::Kind::cubic) {
                include(piece.control[0]);
                include(piece.control[1]);
            }
        }
    }
    // Nothing shows beyond the picture.
    const double perPixel = raster.samplesPerPixel();
    const auto place = [&](double p, int most, double away) {
        return static_cast<int>(std::clamp(p * perPixel + away, -1.0 * reach(), 1.0 * most + reach()));
    };
    const int left = place(low.x, raster.width(), -reach() - 1.0);
    const int bottom = place(low.y, raster.height(), -reach() - 1.0);
    const int right = place(high.x, raster.width(), reach() + 1.0);
    const int top = place(high.y, raster.height(), reach() + 1.0);
    return {left, bottom, std::max(1, right - left), std::max(1, top - bottom)};
}

bool SkinPictures::paint(std::span<const Wish> wishes) const {
    double pixels = 0.0;
    for (const Wish& wish : wishes) {
        const Box box = boxOf(*wish.area);
        pixels += static_cast<double>(box.width) * box.height;
    }
    const double share = pixels / static_cast<double>(rules.mostSamples);
    const int scale = std::max(1, static_cast<int>(std::ceil(std::sqrt(share))));
    std::map<const Tone*, ToneCube> cubes;
    for (const Wish& wish : wishes) {
        const std::uint32_t skin = skinOfObject.at(wish.area->object);
        ToneCube& cube = cubes.try_emplace(wish.tone, *wish.tone).first->second;
        auto picture = std::make_shared<KivAreaPicture>();
        Painter painter(raster, boxOf(*wish.area), scale, (reach() + scale - 1) / scale);
        if (!painter.paint(*wish.area, skin, *paintOfSkin[skin], cube, *picture)) {
            return false;
        }
        wish.area->picture = std::move(picture);
    }
    return true;
}
