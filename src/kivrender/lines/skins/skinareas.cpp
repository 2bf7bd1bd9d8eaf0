#include "kivrender/lines/skins/skinareas.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/skins/labelborders.h"
#include "kivrender/lines/skins/skinpaint.h"
#include "kivrender/lines/skins/skinraster.h"
#include "kivrender/lines/skins/texturelabels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace {

constexpr int mostPerPixel = 4;
// So many samples tell the colours that are seen.
constexpr std::size_t paletteSamples = 40000;
// A texture with fewer of its pixels to one of the picture shows each of them.
constexpr double largestPixels = 0.25;
// In pixels: the steps of a picture's own pixels are evened out up to this.
constexpr double evenness = 0.6;
// How far a border may lie from its places, in samples.
constexpr double tolerance = 0.15;
constexpr int mostRounds = 8;
// Rims up to so many pixels wide are taken for their neighbour where the two colours lie no farther apart than this.
constexpr double widestRim = 1.25;
constexpr double mostAlike = 64.0;

using Color = std::array<std::uint8_t, 3>;

double squareAway(const std::array<double, 3>& parts, const Color& color) {
    double sum = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const double away = std::clamp(parts[i], 0.0, 1.0) * 255.0 - color[i];
        sum += away * away;
    }
    return sum;
}

double squareAway(const Color& p, const Color& q) {
    return squareAway(std::array<double, 3>{p[0] / 255.0, p[1] / 255.0, p[2] / 255.0}, q);
}

} // namespace

// What shares a palette: all that has one texture, and all that has colours at vertices.
class SkinAreas::Group {
public:
    Group(std::shared_ptr<const KivTexture> groupTexture, int colors)
        : texture(std::move(groupTexture)), numColors(colors) {
        if (texture != nullptr) {
            levels = kivSkinLevels(kivSkinImageOf(*texture));
        }
    }
    bool isOf(const KivTexture* other, int colors) const {
        return texture.get() == other && numColors == colors;
    }

    // For the palette.
    void note(const SkinRaster& raster, int x, int y) {
        Color color{};
        if (texture == nullptr) {
            color = kivSkinColor(raster.paintAt(x, y));
        } else {
            const SkinRaster::Place place = raster.placeAt(x, y);
            ++(pixelsToSample(place) * raster.samplesPerPixel() < largestPixels ? largePixels : smallPixels);
            const KivSkinImage& image = levels[static_cast<std::size_t>(levelOf(place))];
            const auto pixel = [](double at, int size, KivTexture::Wrap wrap) {
                return kivWrapped(static_cast<int>(std::floor(kivPixelPlace(at, size))), size, wrap);
            };
            const auto column = static_cast<std::size_t>(pixel(place.paint[0], image.width, texture->wrapU));
            const auto row = static_cast<std::size_t>(pixel(place.paint[1], image.height, texture->wrapV));
            std::copy_n(&image.pixels[4 * (row * static_cast<std::size_t>(image.width) + column)], 3, color.begin());
        }
        seen.pixels.insert(seen.pixels.end(), {color[0], color[1], color[2], 255});
    }
    bool choosePalette() {
        seen.width = static_cast<int>(seen.pixels.size() / 4);
        seen.height = 1;
        palette = kivPalette(std::exchange(seen, {}), numColors);
        return texture == nullptr ||
               labels.build(*texture, std::exchange(levels, {}), palette, smallPixels >= largePixels);
    }

    std::uint8_t labelAt(const SkinRaster& raster, int x, int y) const {
        if (texture == nullptr) {
            // Not by bytes: where colours run slowly those make steps.
            const std::array<double, 3> parts = raster.paintAt(x, y);
            const auto isNearer = [&parts](const Color& p, const Color& q) {
                return squareAway(parts, p) < squareAway(parts, q);
            };
            return static_cast<std::uint8_t>(std::min_element(palette.begin(), palette.end(), isNearer) -
                                             palette.begin());
        }
        const SkinRaster::Place place = raster.placeAt(x, y);
        return labels.labelAt(place.paint[0], place.paint[1], levelOf(place));
    }
    // How much p is ahead of q there.
    double lead(const SkinRaster& raster, int x, int y, std::uint8_t p, std::uint8_t q) const {
        if (texture == nullptr) {
            const std::array<double, 3> parts = raster.paintAt(x, y);
            return squareAway(parts, palette[q]) - squareAway(parts, palette[p]);
        }
        const SkinRaster::Place place = raster.placeAt(x, y);
        return labels.lead(place.paint[0], place.paint[1], levelOf(place), p, q);
    }
    const Color& colorOf(std::uint8_t label) const {
        return palette[label];
    }

private:
    // Of the texture, along a side of a sample.
    double pixelsToSample(const SkinRaster::Place& place) const {
        const auto pixels = [&](std::size_t i) {
            return std::hypot(place.steps[i][0] * texture->width, place.steps[i][1] * texture->height);
        };
        return std::sqrt(pixels(0) * pixels(1));
    }
    // Whose pixels are about as large as a sample.
    int levelOf(const SkinRaster::Place& place) const {
        const double pixels = pixelsToSample(place);
        const int level = pixels > 1.0 ? static_cast<int>(std::lround(std::log2(pixels))) : 0;
        return std::clamp(level, 0, mostLevels() - 1);
    }
    int mostLevels() const {
        return 1 + static_cast<int>(std::floor(std::log2(std::max(texture->width, texture->height))));
    }

    std::shared_ptr<const KivTexture> texture;
    int numColors;
    std::vector<KivSkinImage> levels;
    KivSkinImage seen;
    std::size_t smallPixels = 0; // samples that show them so, and the others
    std::size_t largePixels = 0;
    KivPalette palette;
    TextureLabels labels;
};

struct SkinAreas::Skin {
    Group* group = nullptr;
    std::unique_ptr<LabelField> field;
};

SkinAreas::SkinAreas(double pictureWidth, double pictureHeight, const SkinAreaRules& areaRules)
    : width(pictureWidth), height(pictureHeight), rules(areaRules) {
    const double samples = static_cast<double>(rules.mostSamples) / std::max(1.0, width * height);
    perPixel = std::clamp(static_cast<int>(std::sqrt(samples)), 1, mostPerPixel);
}

SkinAreas::~SkinAreas() = default;

bool SkinAreas::build(const KivDrawnSkins& drawn, const KivProjectiveMap& pictureFromWorld) {
    SkinRaster raster(width, height, perPixel);
    for (const KivDrawnSkin& skin : drawn.all()) {
        const KivTexture* const texture = skin.paint->texture.get();
        if (texture != nullptr && !kivIsUsable(*texture)) {
            continue;
        }
        const int colors = std::clamp<int>(skin.numColors > 0 ? skin.numColors : rules.numColors, 1,
                                           static_cast<int>(TextureLabels::mostColors));
        const auto known =
            std::find_if(groups.begin(), groups.end(), [&](const auto& group) { return group->isOf(texture, colors); });
        Group* group = known != groups.end() ? known->get() : nullptr;
        if (group == nullptr) {
            group = groups.emplace_back(std::make_unique<Group>(skin.paint->texture, colors)).get();
        }
        if (!raster.add(skin, static_cast<std::uint32_t>(skins.size()), pictureFromWorld)) {
            return false;
        }
        skins.push_back(std::make_unique<Skin>(Skin{group, nullptr}));
        skinOfObject[skin.object] = skins.back().get();
    }
    return skins.empty() || (choosePalettes(raster) && fillFields(raster) && traceFields(raster));
}

bool SkinAreas::choosePalettes(const SkinRaster& raster) {
    const std::size_t count = static_cast<std::size_t>(raster.width()) * static_cast<std::size_t>(raster.height());
    const int step = std::max(1, static_cast<int>(std::sqrt(static_cast<double>(count) / paletteSamples)));
    for (int y = step / 2; y < raster.height(); y += step) {
        for (int x = step / 2; x < raster.width(); x += step) {
            if (const std::uint32_t skin = raster.skinAt(x, y); skin != SkinRaster::none) {
                skins[skin]->group->note(raster, x, y);
            }
        }
    }
    return std::all_of(groups.begin(), groups.end(), [](const auto& group) { return group->choosePalette(); });
}

bool SkinAreas::fillFields(const SkinRaster& raster) {
    struct Box {
        int left = std::numeric_limits<int>::max();
        int bottom = left;
        int right = -1;
        int top = -1;
    };
    std::vector<Box> boxes(skins.size());
    const auto forSamples = [&raster](auto take) {
        for (int y = 0; y < raster.height(); ++y) {
            if (kivIsCancelledAt(static_cast<std::size_t>(y) * 64)) {
                return false;
            }
            for (int x = 0; x < raster.width(); ++x) {
                if (const std::uint32_t skin = raster.skinAt(x, y); skin != SkinRaster::none) {
                    take(skin, x, y);
                }
            }
        }
        return true;
    };
    if (!forSamples([&boxes](std::uint32_t skin, int x, int y) {
            Box& box = boxes[skin];
            box = {std::min(box.left, x), std::min(box.bottom, y), std::max(box.right, x), std::max(box.top, y)};
        })) {
        return false;
    }
    for (std::size_t i = 0; i < skins.size(); ++i) {
        const Box& box = boxes[i];
        if (box.right >= 0) {
            constexpr int margin = LabelField::margin;
            skins[i]->field = std::make_unique<LabelField>(box.left - margin, box.bottom - margin,
                                                           box.right - box.left + 1 + 2 * margin,
                                                           box.top - box.bottom + 1 + 2 * margin);
        }
    }
    return forSamples([&](std::uint32_t skin, int x, int y) {
        LabelField& field = *skins[skin]->field;
        field.at(x - field.left(), y - field.bottom()) = skins[skin]->group->labelAt(raster, x, y);
    });
}

bool SkinAreas::traceFields(const SkinRaster& raster) {
    double smallest = rules.smallestArea * perPixel * perPixel;
    for (int round = 0; round < mostRounds; ++round, smallest *= 4.0) {
        lines.clear();
        std::size_t points = 0;
        for (std::size_t i = 0; i < skins.size() && points <= rules.mostPoints; ++i) {
            Skin& skin = *skins[i];
            if (skin.field == nullptr) {
                continue;
            }
            LabelField& field = *skin.field;
            const auto areAlike = [&skin](std::uint8_t p, std::uint8_t q) {
                return squareAway(skin.group->colorOf(p), skin.group->colorOf(q)) < mostAlike * mostAlike;
            };
            if (!field.removeSpecks({smallest, widestRim * perPixel, areAlike}) || (round == 0 && !field.grow())) {
                return false;
            }
            const auto isOwn = [&](int x, int y) {
                return x >= 0 && y >= 0 && x < raster.width() && y < raster.height() &&
                       raster.skinAt(x, y) == static_cast<std::uint32_t>(i);
            };
            const auto crossing = [&](int x, int y, bool isAbove) {
                const int toX = isAbove ? x : x + 1;
                const int toY = isAbove ? y + 1 : y;
                const std::uint8_t p = field.at(x, y);
                const std::uint8_t q = field.at(toX, toY);
                x += field.left();
                y += field.bottom();
                if (!isOwn(x, y) || !isOwn(toX + field.left(), toY + field.bottom())) {
                    return 0.5;
                }
                const double here = skin.group->lead(raster, x, y, p, q);
                const double there = skin.group->lead(raster, toX + field.left(), toY + field.bottom(), p, q);
                return here > 0.0 && there < 0.0 ? here / (here - there) : 0.5;
            };
            const std::size_t first = lines.size();
            if (!findLabelBorders(field, crossing, {evenness * perPixel, tolerance}, lines)) {
                return false;
            }
            for (std::size_t k = first; k < lines.size(); ++k) {
                for (KivPicturePoint& p : lines[k]) {
                    p = {p.x / perPixel, p.y / perPixel};
                }
                points += lines[k].size();
            }
        }
        if (points <= rules.mostPoints) {
            return true;
        }
    }
    return true;
}

std::uint8_t SkinAreas::labelAt(std::uint32_t object, double x, double y) const {
    const auto place = skinOfObject.find(object);
    if (place == skinOfObject.end() || place->second->field == nullptr) {
        return none;
    }
    return place->second->field->labelAt(x * perPixel, y * perPixel);
}

std::uint32_t SkinAreas::colorOf(std::uint32_t object, std::uint8_t label) const {
    const Color& color = skinOfObject.at(object)->group->colorOf(label);
    return color[0] | std::uint32_t{color[1]} << 8U | std::uint32_t{color[2]} << 16U;
}
