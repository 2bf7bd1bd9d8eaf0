// Areas of a recorded page as visible regions.
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/lines/kivvisibleregions.h"
#include "kivrender/lines/skins/skinareas.h"
#include "kivrender/lines/skins/skinpictures.h"
#include "kivrender/render/collectedskins.h"
#include "kivrender/render/recordedpage.h"
#include "kivrender/render/shadowtones.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

namespace {

constexpr std::size_t vertexFloats = 7;
constexpr std::size_t itemsPerPoll = 4096;

// What polygons of one look have in common. Of what is seen through, the far side and the near side are two looks: both
// are seen.
struct Look {
    std::uint32_t object = 0;
    RecordedPaint paint;
    bool isDepthOnly = false; // covers in the colour of the page, and is not an area
    bool isBackdrop = false;  // no object's, at the far end of the depths: behind everything
    bool isTurned = false;
    std::uint8_t label = SkinAreas::none; // of the flat colour of a skin
    // Of a skin that comes as a picture: from 1, the tone of a shadow that is not the recorded one.
    std::uint32_t shade = 0;

    bool isOpaque() const {
        return paint.opacity >= 1.0;
    }
    auto key() const {
        return std::tie(object, paint.color, paint.opacity, isDepthOnly, isBackdrop, isTurned, label, shade);
    }
    friend bool operator<(const Look& p, const Look& q) {
        return p.key() < q.key();
    }
};

struct Box {
    double left = std::numeric_limits<double>::infinity();
    double right = -left;
    double bottom = left;
    double top = -left;

    void include(double x, double y) {
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = std::min(bottom, y);
        top = std::max(top, y);
    }
    bool meets(const Box& other) const {
        return left <= other.right && right >= other.left && bottom <= other.top && top >= other.bottom;
    }
};

bool isTurned(const FeedbackItem& item) {
    double twice = 0.0;
    for (int i = 0; i < item.count; ++i) {
        const float* const a = item.vertices + vertexFloats * i;
        const float* const b = item.vertices + vertexFloats * (i + 1 < item.count ? i + 1 : 0);
        twice += static_cast<double>(a[0]) * b[1] - static_cast<double>(a[1]) * b[0];
    }
    return twice < 0.0;
}

Box boxOf(const FeedbackItem& item) {
    Box box;
    for (int i = 0; i < item.count; ++i) {
        box.include(item.vertices[vertexFloats * i], item.vertices[vertexFloats * i + 1]);
    }
    return box;
}

bool isAtFarEnd(const FeedbackItem& item) {
    constexpr float farEnd = 1.0F - 0x1p-20F;
    for (int i = 0; i < item.count; ++i) {
        if (item.vertices[vertexFloats * i + 2] < farEnd) {
            return false;
        }
    }
    return true;
}

// Of light as the eye has it (ITU-R BT.601), in thousandths.
std::uint32_t brightness(std::uint32_t color) {
    return 299 * (color & 0xFFU) + 587 * (color >> 8U & 0xFFU) + 114 * (color >> 16U & 0xFFU);
}

class RegionPage {
public:
    RegionPage(std::span<const float> recorded, const RegionRules& regionRules, KivVectorDrawing& into)
        : library(recorded), rules(regionRules), drawing(into), areas(into.width, into.height, {}),
          showsPictures(rules.skins != nullptr && rules.skins->asPictures && !rules.skins->drawn.all().empty()) {}

    bool add() {
        if (!listLooks() || !addBackdrop() || !addOpaque()) {
            return false;
        }
        std::vector<std::uint32_t> blended;
        for (std::uint32_t i = 0; i < looks.size(); ++i) {
            if (!looks[i].isOpaque()) {
                blended.push_back(i);
            }
        }
        // From back to front by the middle of what was drawn.
        std::stable_sort(blended.begin(), blended.end(),
                         [&](std::uint32_t p, std::uint32_t q) { return meanDepth(p) > meanDepth(q); });
        return std::all_of(blended.begin(), blended.end(), [&](std::uint32_t look) { return addBlended(look); });
    }
    bool wasTooMuch() const {
        return tooMuch;
    }

private:
    // Calls take for each polygon with its look. False when the user cancelled.
    template <class Take> bool forEach(Take take) {
        LibraryFeedback feedback(library);
        FeedbackItem item;
        for (std::size_t i = 0; feedback.next(item); ++i) {
            if (i % itemsPerPoll == 0 && kivIsCancelled()) {
                return false;
            }
            if (item.token == FeedbackToken::polygon && item.count >= 3) {
                take(item, feedback.state());
            }
        }
        return true;
    }
    Look lookOf(const FeedbackItem& item, const FeedbackState& state) const {
        Look look;
        look.object = state.object < drawing.objects.size() ? state.object : 0;
        look.paint = kivPaintOf(item, state);
        look.isDepthOnly = state.offset && look.isOpaque() && look.paint.color == drawing.background;
        look.isBackdrop = look.object == 0 && look.isOpaque() && !look.isDepthOnly && isAtFarEnd(item);
        look.isTurned = !look.isOpaque() && isTurned(item);
        return look;
    }
    bool listLooks() {
        return forEach([&](const FeedbackItem& item, const FeedbackState& state) {
            const Look look = lookOf(item, state);
            const auto [place, isNew] = numbers.try_emplace(look, static_cast<std::uint32_t>(looks.size()));
            if (isNew) {
                looks.push_back(look);
                boxes.emplace_back();
                depths.emplace_back();
            }
            lookOfPolygon.push_back(place->second);
            for (int i = 0; i < item.count; ++i) {
                const float* const v = item.vertices + vertexFloats * i;
                boxes[place->second].include(v[0], v[1]);
                depths[place->second].first += v[2];
                depths[place->second].second += 1.0;
            }
        });
    }
    bool find(KivVisibleRegions& picture) {
        picture.setEffort(drawing.effort);
        const bool done = picture.find();
        tooMuch = tooMuch || picture.wasTooMuch();
        return done;
    }
    double meanDepth(std::uint32_t look) const {
        return depths[look].first / depths[look].second;
    }

    void addFace(KivVisibleRegions& picture, const FeedbackItem& item, std::uint32_t look) {
        corners.clear();
        for (int i = 0; i < item.count; ++i) {
            const float* const v = item.vertices + vertexFloats * i;
            corners.push_back({v[0], v[1], v[2]});
        }
        picture.add(corners, look);
    }
    // In whole, so that it can cover a sheet of another size than the picture. The pattern that was drawn upon it last
    // stays upon it: cut out, a grid would tear the colours under it into its meshes.
    bool addBackdrop() {
        const auto isBackdrop = [this](std::uint32_t look) { return looks[look].isBackdrop; };
        if (std::none_of(lookOfPolygon.begin(), lookOfPolygon.end(), isBackdrop)) {
            return true;
        }
        std::vector<std::uint32_t> order;
        std::copy_if(lookOfPolygon.begin(), lookOfPolygon.end(), std::back_inserter(order), isBackdrop);
        const std::uint32_t last = order.back();
        const auto first = std::find(order.begin(), order.end(), last);
        const bool isUpon = first != order.begin() &&
                            std::all_of(first, order.end(), [last](std::uint32_t look) { return look == last; });
        return isUpon ? addBackdrop([last](std::uint32_t look) { return look != last; }) &&
                            addBackdrop([last](std::uint32_t look) { return look == last; })
                      : addBackdrop([](std::uint32_t) { return true; });
    }
    template <class Belongs> bool addBackdrop(Belongs belongs) {
        KivVisibleRegions picture(drawing.width, drawing.height);
        picture.setTolerance(rules.tolerance);
        picture.setSmallestArea(rules.smallestArea);
        std::vector<std::uint32_t> ranks;
        for (std::uint32_t i = 0; i < looks.size(); ++i) {
            ranks.push_back(i);
        }
        picture.setUnderlap(rules.underlap, std::move(ranks));
        std::size_t polygon = 0;
        const bool all = forEach([&](const FeedbackItem& item, const FeedbackState&) {
            const std::uint32_t look = lookOfPolygon[polygon++];
            if (looks[look].isBackdrop && belongs(look)) {
                addFace(picture, item, look);
            }
        });
        if (!all || !find(picture)) {
            return false;
        }
        for (const KivVisibleRegion& region : picture.regions()) {
            addArea(looks[region.look], region);
        }
        return true;
    }
    bool addOpaque() {
        KivVisibleRegions picture(drawing.width, drawing.height);
        picture.setTolerance(rules.tolerance);
        picture.setSmallestArea(rules.smallestArea);
        describeLooks(picture);
        if (!addSkins(picture)) {
            return false;
        }
        if (rules.shadows != nullptr) {
            if (!tones.read(*rules.shadows, drawing.width, drawing.height)) {
                return false;
            }
            picture.setShadows(
                &rules.shadows->cast,
                [this](std::uint32_t look, unsigned int lost, double x, double y) {
                    return shadedLook(look, lost, x, y);
                },
                [this, &picture] { describeLooks(picture); });
        }
        std::size_t polygon = 0;
        const bool all = forEach([&](const FeedbackItem& item, const FeedbackState&) {
            const std::uint32_t look = lookOfPolygon[polygon++];
            if (looks[look].isOpaque() && !looks[look].isBackdrop) {
                addFace(picture, item, look);
            }
        });
        if (!all || !find(picture)) {
            return false;
        }
        const std::vector<std::uint32_t> ranks = paintingRanks();
        std::vector<const KivVisibleRegion*> painted;
        for (const KivVisibleRegion& region : picture.regions()) {
            if (ranks[region.look] != KivVisibleRegions::unpainted) {
                painted.push_back(&region);
            }
        }
        std::stable_sort(painted.begin(), painted.end(), [&](const KivVisibleRegion* p, const KivVisibleRegion* q) {
            return ranks[p->look] < ranks[q->look];
        });
        const std::size_t first = drawing.areas.size();
        std::vector<std::uint32_t> looksOfAreas;
        for (const KivVisibleRegion* region : painted) {
            addArea(looks[region->look], *region);
            looksOfAreas.push_back(region->look);
        }
        return !showsPictures || addPictures(first, looksOfAreas);
    }
    // For the areas from a number on. False when the user cancelled.
    bool addPictures(std::size_t first, const std::vector<std::uint32_t>& looksOfAreas) {
        std::map<std::uint32_t, SkinPictures::Tone> tonesOfLooks;
        std::vector<SkinPictures::Wish> wishes;
        for (std::size_t i = 0; i < looksOfAreas.size(); ++i) {
            const Look& look = looks[looksOfAreas[i]];
            if (!pictures->shows(look.object)) {
                continue;
            }
            const auto [place, isNew] = tonesOfLooks.try_emplace(looksOfAreas[i]);
            if (isNew) {
                place->second = toneOf(look);
            }
            if (!isFlat(place->second)) {
                wishes.push_back({&drawing.areas[first + i], &place->second});
            }
        }
        return pictures->paint(wishes);
    }
    // Another shader's areas are what they are on any skin.
    static bool isFlat(const SkinPictures::Tone& tone) {
        return tone(0) == tone(0xFFFFFF);
    }
    SkinPictures::Tone toneOf(const Look& look) {
        const KivDrawnSkin* const skin = rules.skins->drawn.of(look.object);
        if (look.shade == 0) {
            return [skin, recorded = look.paint.color](std::uint32_t color) { return skin->lit(recorded, color); };
        }
        const auto& [shade, recorded] = shades[look.shade - 1];
        return [this, skin, shade, recorded](std::uint32_t color) {
            const std::uint32_t dark = skin->shaded ? skin->shaded(shade.withoutAny, color) : shade.withoutAny;
            return tones.colorOf(shade, skin->lit(recorded, color), dark);
        };
    }
    // False when the user cancelled.
    bool addSkins(KivVisibleRegions& picture) {
        if (rules.skins == nullptr || rules.skins->drawn.all().empty()) {
            return true;
        }
        if (showsPictures) {
            pictures.emplace(drawing.width, drawing.height, SkinPictureRules{.underlap = rules.underlap});
            return pictures->build(rules.skins->drawn, rules.skins->pictureFromWorld);
        }
        if (!areas.build(rules.skins->drawn, rules.skins->pictureFromWorld)) {
            return false;
        }
        picture.setPaint(
            &areas.borders(), [this](std::uint32_t look, double x, double y) { return paintedLook(look, x, y); },
            [this, &picture] { describeLooks(picture); });
        return true;
    }
    std::uint32_t paintedLook(std::uint32_t look, double x, double y) {
        if (looks[look].object == 0 || looks[look].isDepthOnly) {
            return look;
        }
        const std::uint8_t label = areas.labelAt(looks[look].object, x, y);
        if (label == SkinAreas::none) {
            return look;
        }
        const auto [known, isNew] = paintedLooks.try_emplace({look, label}, look);
        if (isNew) {
            Look painted = looks[look];
            painted.label = label;
            painted.paint.color =
                rules.skins->drawn.of(painted.object)->lit(painted.paint.color, areas.colorOf(painted.object, label));
            known->second = numberOf(painted);
        }
        return known->second;
    }
    void describeLooks(KivVisibleRegions& picture) const {
        // What belongs to no object is drawn by a shader as it wants it, however small; of skins each flat colour is a
        // body of its own, with tones that may be too small.
        const auto objects = static_cast<std::uint32_t>(drawing.objects.size());
        std::vector<std::uint32_t> bodies;
        for (std::uint32_t i = 0; i < looks.size(); ++i) {
            const std::uint32_t skin = looks[i].label != SkinAreas::none ? 1U + looks[i].label : 0;
            bodies.push_back(looks[i].object != 0 ? looks[i].object + skin * objects
                                                  : KivVisibleRegions::mostLooks - 1 - i);
        }
        picture.setSmallestTone(rules.smallestTone, std::move(bodies));
        picture.setUnderlap(rules.underlap, paintingRanks());
    }
    // What belongs to no object stands before no light.
    std::uint32_t shadedLook(std::uint32_t look, unsigned int lost, double x, double y) {
        if (looks[look].object == 0 || looks[look].isDepthOnly) {
            return look;
        }
        const std::optional<ShadowTones::Shade> shade = tones.shadeAt(x, y, lost);
        if (!shade) {
            return look;
        }
        Look shaded = looks[look];
        std::uint32_t dark = shade->withoutAny;
        if (shaded.label != SkinAreas::none) {
            const KivDrawnSkin* const skin = rules.skins->drawn.of(shaded.object);
            dark = skin->shaded ? skin->shaded(dark, areas.colorOf(shaded.object, shaded.label)) : dark;
        }
        shaded.paint.color = tones.colorOf(*shade, shaded.paint.color, dark);
        // What comes as a picture has the areas of a plain surface: one tone for each colour of these.
        if (showsPictures && pictures->shows(shaded.object) && !numbers.contains(shaded)) {
            const auto [known, isNew] = numbersOfShades.try_emplace({shaded.object, shaded.paint.color}, 0);
            if (isNew) {
                shades.emplace_back(*shade, looks[look].paint.color);
                known->second = static_cast<std::uint32_t>(shades.size());
            }
            shaded.shade = known->second;
        }
        return numberOf(shaded);
    }
    std::uint32_t numberOf(const Look& look) {
        const auto [place, isNew] = numbers.try_emplace(look, static_cast<std::uint32_t>(looks.size()));
        if (isNew) {
            looks.push_back(look);
        }
        return place->second;
    }
    // Object after object, lighter tones over darker ones.
    std::vector<std::uint32_t> paintingRanks() const {
        std::vector<std::uint32_t> order;
        for (std::uint32_t i = 0; i < looks.size(); ++i) {
            if (looks[i].isOpaque() && !looks[i].isDepthOnly) {
                order.push_back(i);
            }
        }
        std::stable_sort(order.begin(), order.end(), [&](std::uint32_t p, std::uint32_t q) {
            return std::tuple(looks[p].object, brightness(looks[p].paint.color)) <
                   std::tuple(looks[q].object, brightness(looks[q].paint.color));
        });
        std::vector<std::uint32_t> ranks(looks.size(), KivVisibleRegions::unpainted);
        for (std::uint32_t i = 0; i < order.size(); ++i) {
            ranks[order[i]] = i;
        }
        return ranks;
    }
    // Hidden by what is opaque alone.
    bool addBlended(std::uint32_t look) {
        KivVisibleRegions picture(drawing.width, drawing.height);
        picture.setTolerance(rules.tolerance);
        picture.setSmallestArea(rules.smallestArea);
        std::size_t polygon = 0;
        const bool all = forEach([&](const FeedbackItem& item, const FeedbackState&) {
            const std::uint32_t own = lookOfPolygon[polygon++];
            if (own == look) {
                addFace(picture, item, 1);
            } else if (looks[own].isOpaque() && !looks[own].isBackdrop && boxes[own].meets(boxes[look]) &&
                       boxOf(item).meets(boxes[look])) {
                addFace(picture, item, 0);
            }
        });
        if (!all || !find(picture)) {
            return false;
        }
        for (const KivVisibleRegion& region : picture.regions()) {
            if (region.look == 1) {
                addArea(looks[look], region);
            }
        }
        return true;
    }
    void addArea(const Look& look, const KivVisibleRegion& region) {
        drawing.areas.push_back(
            {look.object, look.paint.color, look.paint.opacity, region.rings, region.painted, look.isBackdrop});
    }

    std::span<const float> library;
    RegionRules rules;
    KivVectorDrawing& drawing;
    std::map<Look, std::uint32_t> numbers;
    std::vector<Look> looks;
    std::vector<Box> boxes;
    std::vector<std::pair<double, double>> depths; // the sum and the number of corners
    std::vector<std::uint32_t> lookOfPolygon;
    std::vector<KivSeenCorner> corners;
    ShadowTones tones;
    bool tooMuch = false;
    SkinAreas areas;
    std::map<std::pair<std::uint32_t, std::uint8_t>, std::uint32_t> paintedLooks;
    bool showsPictures;
    std::optional<SkinPictures> pictures;
    std::vector<std::pair<ShadowTones::Shade, std::uint32_t>> shades; // and the lit colours that were recorded
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> numbersOfShades; // by objects and colours
};

} // namespace

bool RecordedPage::addRegions(KivVectorDrawing& drawing, const RegionRules& rules, bool* tooMuch) const {
    const std::size_t before = drawing.areas.size();
    RegionPage page(library, rules, drawing);
    const bool done = page.add();
    *tooMuch = page.wasTooMuch();
    if (!done) {
        drawing.areas.resize(before);
    }
    return done;
}
