#include "kivcartoonramp.h"

#include <algorithm>
#include <cmath>

namespace {

double smooth(double from, double to, double x) {
    if (to <= from) {
        return x < from ? 0.0 : 1.0;
    }
    const double t = std::clamp((x - from) / (to - from), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

double brightness(const KivTone& tone) {
    return 0.299 * tone[0] + 0.587 * tone[1] + 0.114 * tone[2];
}

// The tint of a fully cool shadow: towards violet, which keeps company with warm and cold colours alike.
constexpr KivTone coolTint = {0.70, 0.72, 1.22};

// Technical shading (Gooch, Gooch, Shirley and Cohen 1998): all tones are of a middling brightness, so that lines of
// any colour stand out from them, and their hue tells the shape. The colours and shares are those of the paper,
// figure 9.
constexpr KivTone coolTone = {0.0, 0.0, 0.55};
constexpr KivTone warmTone = {0.3, 0.3, 0.0};
constexpr double coolShare = 0.25;
constexpr double warmShare = 0.5;

KivTone towards(const KivTone& tone, const KivTone& diffuse, const KivTone& hue, double share, double warmth) {
    KivTone turned{};
    for (int c = 0; c < 3; ++c) {
        turned[c] = tone[c] + (std::min(1.0, hue[c] + share * diffuse[c]) - tone[c]) * warmth;
    }
    return turned;
}

KivTone litOf(const KivTone& diffuse, const KivCartoonPaint& paint) {
    return towards(diffuse, diffuse, warmTone, warmShare, paint.warmth);
}

// Before the two tones.
KivTone shadowOf(const KivTone& diffuse, const KivCartoonPaint& paint) {
    KivTone shadow{};
    for (int c = 0; c < 3; ++c) {
        shadow[c] = diffuse[c] * (paint.shadow + (1.0 - paint.shadow) * paint.ambient[c]);
    }
    const double grey = brightness(shadow);
    for (int c = 0; c < 3; ++c) {
        const double rich = grey + (shadow[c] - grey) * (1.0 + paint.saturation);
        const double tint = 1.0 + (coolTint[c] - 1.0) * paint.coolness;
        shadow[c] = std::clamp(rich * tint, 0.0, 1.0);
    }
    return towards(shadow, diffuse, coolTone, coolShare, paint.warmth);
}

} // namespace

KivTone kivToneOf(std::uint32_t color) {
    return {static_cast<double>(color & 0xffU) / 255.0, static_cast<double>((color >> 8U) & 0xffU) / 255.0,
            static_cast<double>((color >> 16U) & 0xffU) / 255.0};
}

double KivCartoonBands::edge(int i) const {
    // Equal shares would leave the first band a third of a sphere that is lit from the front; painters keep the deep
    // shadow narrower, so the edges are drawn towards the dark end.
    const double exponent = std::exp2(0.6 + 1.4 * balance);
    return std::pow(static_cast<double>(i) / count, exponent);
}

double KivCartoonBands::reach(int i) const {
    const double here = edge(i);
    const double below = i > 1 ? edge(i - 1) : 0.0;
    const double above = i + 1 < count ? edge(i + 1) : 1.0;
    return softness * 0.5 * std::min(here - below, above - here);
}

double KivCartoonBands::level(double incidence) const {
    if (count <= 1) {
        return 1.0;
    }
    double sum = 0.0;
    for (int i = 1; i < count; ++i) {
        sum += smooth(edge(i) - reach(i), edge(i) + reach(i), incidence);
    }
    return sum / (count - 1);
}

double KivCartoonBands::rim(int i) const {
    return std::min(0.045, 0.45 * (edge(i) - (i > 1 ? edge(i - 1) : 0.0)));
}

double KivCartoonBands::pigment(double incidence) const {
    double most = 0.0;
    for (int i = 1; i < count && washEdge > 0.0; ++i) {
        // From the middle of the transition down.
        const double away = (edge(i) - incidence) / rim(i);
        if (away >= 0.0 && away < 1.0) {
            most = std::max(most, (1.0 - away) * (1.0 - away));
        }
    }
    return 1.0 + 2.0 * washEdge * most;
}

KivTone kivDuotone(const KivTone& tone, const KivCartoonPaint& paint, bool difference) {
    if (paint.duotone <= 0.0) {
        return tone;
    }
    const double bright = brightness(tone);
    KivTone turned{};
    for (int c = 0; c < 3; ++c) {
        const double ink = (difference ? 0.0 : paint.dark[c]) + (paint.light[c] - paint.dark[c]) * bright;
        turned[c] = tone[c] + (ink - tone[c]) * paint.duotone;
    }
    return turned;
}

KivTone kivAdjusted(const KivTone& tone, double saturation, double lightness) {
    const double grey = brightness(tone);
    KivTone adjusted{};
    for (int c = 0; c < 3; ++c) {
        const double rich = std::clamp(grey + (tone[c] - grey) * (1.0 + saturation), 0.0, 1.0);
        adjusted[c] = lightness > 0.0 ? rich + (1.0 - rich) * lightness : rich * (1.0 + lightness);
    }
    return adjusted;
}

KivTone kivLifted(const KivTone& tone, const KivTone& emission, double lift) {
    // By the strongest part: a pure red or blue is no black, little as it shines.
    const double dark =
        std::max(0.0, lift - 0.5 * std::max({tone[0] + emission[0], tone[1] + emission[1], tone[2] + emission[2]}));
    KivTone lifted{};
    for (int c = 0; c < 3; ++c) {
        lifted[c] = std::min(1.0, tone[c] + dark);
    }
    return lifted;
}

double KivCartoonBands::shadeOf(double level) const {
    return count <= 1 ? 1.0 : std::clamp(level * (count - 1), 0.0, 1.0);
}

KivTone kivCartoonShadow(const KivTone& diffuse, const KivCartoonPaint& paint) {
    return kivDuotone(shadowOf(diffuse, paint), paint);
}

KivTone kivCartoonColor(const KivTone& diffuse, const KivTone& emission, const KivCartoonPaint& paint, double level) {
    const KivTone shadow = shadowOf(diffuse, paint);
    const KivTone lit = litOf(diffuse, paint);
    KivTone color{};
    for (int c = 0; c < 3; ++c) {
        color[c] = std::clamp(shadow[c] + (lit[c] - shadow[c]) * level + emission[c], 0.0, 1.0);
    }
    return kivDuotone(color, paint);
}

KivTone kivCartoonCast(const KivTone& diffuse, const KivCartoonPaint& paint, double level, double lit) {
    const KivTone shadow = kivCartoonColor(diffuse, {}, paint, 0.0);
    KivTone color = kivCartoonColor(diffuse, {}, paint, level);
    for (int c = 0; c < 3; ++c) {
        const double tinted = shadow[c] * (1.0 + (paint.castColor[c] - 1.0) * lit);
        color[c] += (std::min(tinted, color[c]) - color[c]) * paint.castStrength;
    }
    return color;
}

double kivRampCoordinate(double incidence, int entries) {
    return (std::clamp(incidence, 0.0, 1.0) * (entries - 1) + 0.5) / entries;
}
