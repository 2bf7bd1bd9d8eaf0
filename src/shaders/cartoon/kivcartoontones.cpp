#include "kivcartoontones.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

std::uint8_t byteOf(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0));
}

KivRampEntry entryOf(const KivTone& tone, double alpha) {
    return {byteOf(tone[0]), byteOf(tone[1]), byteOf(tone[2]), byteOf(alpha)};
}

KivTone emissionOf(const KivCartoonColors& colors) {
    return kivDuotone(colors.emission, colors.paint, true);
}

// A level of light, and the pigment there.
struct Place {
    double level;
    double pigment;
};

// What the material gives off is not dimmed.
KivTone lookOf(const KivCartoonColors& colors, const Place& at) {
    KivTone tone = kivCartoonColor(colors.diffuse, colors.emission, colors.paint, at.level);
    if (at.pigment > 1.0) {
        const KivTone emission = emissionOf(colors);
        for (std::size_t c = 0; c < 3; ++c) {
            tone[c] = std::max(std::pow(tone[c], at.pigment), std::min(tone[c], emission[c]));
        }
    }
    return tone;
}

// No lighter than the look, whose darkest band may have a rim.
KivTone shadowOf(const KivCartoonColors& colors, const Place& at) {
    KivTone tone = kivCartoonCast(colors.diffuse, colors.paint, at.level, colors.bands.shadeOf(at.level));
    if (at.pigment > 1.0) {
        const KivTone look = lookOf(colors, at);
        const KivTone emission = emissionOf(colors);
        for (std::size_t c = 0; c < 3; ++c) {
            tone[c] = std::min(tone[c], std::max(0.0, look[c] - emission[c]));
        }
    }
    return tone;
}

// What `lit` of so many lights leave, of a value without any and a value with all of them.
double litBy(double none, double all, int lit, int parts) {
    return none + (all - none) * lit / parts;
}

KivTone dimmedOf(const KivCartoonColors& colors, KivCartoonShare share, const Place& at) {
    const KivTone shadow = shadowOf(colors, at);
    const KivTone emission = emissionOf(colors);
    KivTone tone = lookOf(colors, at);
    for (int c = 0; c < 3; ++c) {
        const double none = std::min(shadow[c] + emission[c], tone[c]);
        tone[c] = litBy(none, tone[c], share.parts - share.part, share.parts);
    }
    return tone;
}

KivTone toneOf(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share, const Place& at) {
    switch (layer) {
    case KivCartoonLayer::full:
        return lookOf(colors, at);
    case KivCartoonLayer::shadow:
        return shadowOf(colors, at);
    case KivCartoonLayer::emission:
        return emissionOf(colors);
    case KivCartoonLayer::dimmed:
        return dimmedOf(colors, share, at);
    case KivCartoonLayer::share:
    case KivCartoonLayer::black:
    case KivCartoonLayer::highlight:
        break;
    }
    return {};
}

// The step from one number of lights to the next in bytes, so that the picture's own rounding adds nothing.
KivRampEntry shareEntry(const KivCartoonColors& colors, KivCartoonShare share, const Place& at) {
    const KivTone shadow = shadowOf(colors, at);
    const KivTone emission = emissionOf(colors);
    const KivTone look = lookOf(colors, at);
    KivRampEntry entry{};
    for (std::size_t c = 0; c < 3; ++c) {
        const int none = std::min(255, byteOf(shadow[c]) + byteOf(emission[c]));
        const int all = std::max<int>(byteOf(look[c]), none);
        entry[c] = static_cast<std::uint8_t>(std::lround(litBy(none, all, share.part + 1, share.parts)) -
                                             std::lround(litBy(none, all, share.part, share.parts)));
    }
    entry[3] = byteOf(colors.alpha);
    return entry;
}

} // namespace

KivRampEntry kivCartoonEntry(const KivCartoonColors& colors, KivCartoonLayer layer, KivCartoonShare share, double level,
                             double pigment) {
    const Place at = {level, pigment};
    return layer == KivCartoonLayer::share ? shareEntry(colors, share, at)
                                           : entryOf(toneOf(colors, layer, share, at), colors.alpha);
}

double kivHighlightReach(const KivCartoonColors& colors) {
    return std::clamp(colors.bands.softness, 0.0, 1.0) * 0.5 * colors.highlightSize;
}

KivRampEntry kivHighlightEntry(const KivCartoonColors& colors, double angle) {
    const double radius = colors.highlightSize;
    const double reach = kivHighlightReach(colors);
    double strength = angle <= radius ? 1.0 : 0.0;
    if (reach > 0.0) {
        const double t = std::clamp((radius + reach - angle) / (2.0 * reach), 0.0, 1.0);
        strength = t * t * (3.0 - 2.0 * t);
    }
    return entryOf(colors.highlightColor, strength * colors.highlightStrength);
}
