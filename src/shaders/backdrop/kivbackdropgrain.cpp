#include "kivbackdropgrain.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// A number from 0 to 1 for each place, without any order that an eye could see.
double scatter(std::uint32_t x, std::uint32_t y, std::uint32_t seed) {
    std::uint32_t h = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ seed * 0xC2B2AE3DU;
    h = (h ^ h >> 15U) * 0x2C1B3C6DU;
    h = (h ^ h >> 12U) * 0x297A2D39U;
    h ^= h >> 15U;
    return h / 4294967295.0;
}

// Smooth between points that stand so many grains apart, and around the square's borders.
double cloud(int x, int y, int apart, std::uint32_t seed) {
    const auto cells = static_cast<std::uint32_t>(kivGrainSide / apart);
    const auto column = static_cast<std::uint32_t>(x / apart);
    const auto row = static_cast<std::uint32_t>(y / apart);
    const auto ease = [apart](int at) {
        const double t = static_cast<double>(at % apart) / apart;
        return t * t * (3.0 - 2.0 * t);
    };
    const double u = ease(x);
    const double v = ease(y);
    const auto at = [&](std::uint32_t i, std::uint32_t j) {
        return scatter((column + i) % cells, (row + j) % cells, seed);
    };
    return std::lerp(std::lerp(at(0, 0), at(1, 0), u), std::lerp(at(0, 1), at(1, 1), u), v);
}

// How high the sheet stands at a grain: felt of a few sizes, none so large that it would look like a stain.
double height(int x, int y) {
    x %= kivGrainSide;
    y %= kivGrainSide;
    return cloud(x, y, 8, 1) + 0.8 * cloud(x, y, 4, 2) + 0.5 * cloud(x, y, 2, 3);
}

} // namespace

std::vector<std::uint8_t> kivPaperGrain(double strength) {
    std::vector<std::uint8_t> grain(static_cast<std::size_t>(kivGrainSide) * kivGrainSide);
    for (int y = 0; y < kivGrainSide; ++y) {
        for (int x = 0; x < kivGrainSide; ++x) {
            // Lit from one side: what falls away from the light is darker, the rest keeps its colour.
            const double slope = height(x, y) - height(x + 1, y + 1);
            const double dark = std::clamp(0.18 + 0.9 * slope, 0.0, 1.0);
            const double brightness = 1.0 - std::clamp(strength, 0.0, 1.0) * dark;
            grain[static_cast<std::size_t>(y) * kivGrainSide + x] =
                static_cast<std::uint8_t>(std::lround(255.0 * brightness));
        }
    }
    return grain;
}
