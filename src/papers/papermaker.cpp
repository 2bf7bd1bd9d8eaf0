#include "papermaker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

// Lengths of the rules below are in units of which a sheet has so many across and down, whatever its pixels.
constexpr double sheetWidth = 2048.0;
constexpr double sheetHeight = 1536.0;

std::uint32_t mixed(std::uint32_t h) {
    h ^= h >> 16;
    h *= 0x7feb352dU;
    h ^= h >> 15;
    h *= 0x846ca68bU;
    h ^= h >> 16;
    return h;
}

// From -1 to 1.
double random(std::uint32_t a, std::uint32_t b) {
    return mixed(mixed(a + 0x9e3779b9U) + b * 0x85ebca77U) / 2147483647.5 - 1.0;
}

double eased(double t) {
    return t * t * (3.0 - 2.0 * t);
}

// Smooth noise from -1 to 1 of that wavelength.
double noise(double x, double y, double wavelength, std::uint32_t salt) {
    const double u = x / wavelength;
    const double v = y / wavelength;
    const double fu = std::floor(u);
    const double fv = std::floor(v);
    const auto corner = [salt](double i, double j) {
        return random(salt + static_cast<std::uint32_t>(static_cast<std::int32_t>(i)) * 0x01000193U,
                      static_cast<std::uint32_t>(static_cast<std::int32_t>(j)));
    };
    const double tu = eased(u - fu);
    const double tv = eased(v - fv);
    const double low = corner(fu, fv) + (corner(fu + 1.0, fv) - corner(fu, fv)) * tu;
    const double high = corner(fu, fv + 1.0) + (corner(fu + 1.0, fv + 1.0) - corner(fu, fv + 1.0)) * tu;
    return low + (high - low) * tv;
}

// A smooth white paper with a fine tooth.
double cartridge(double x, double y) {
    return 0.010 * noise(x, y, 2.4, 1) + 0.010 * noise(x, y, 5.0, 2) + 0.005 * noise(x, y, 14.0, 3) +
           0.006 * noise(x, y, 330.0, 4) - 0.012;
}

double bumps(double x, double y) {
    return noise(x, y, 15.0, 11) + 0.55 * noise(x, y, 7.0, 12) + 0.25 * noise(x, y, 3.2, 13);
}

// A rough one, with light from the upper left on its bumps.
double watercolour(double x, double y) {
    constexpr double reach = 1.6;
    const double slope = bumps(x - reach, y - reach) - bumps(x + reach, y + reach);
    return -0.038 * slope + 0.006 * noise(x, y, 2.3, 14) + 0.008 * noise(x, y, 400.0, 15) - 0.04;
}

// Made on a sieve of close wires: ribs across, and the wires that hold them from top to bottom.
double laid(double x, double y) {
    const double bent = y + 1.3 * noise(x, y, 90.0, 21);
    const double ribs = std::sin(2.0 * std::numbers::pi * bent / 9.0) * (0.75 + 0.25 * noise(x, y, 40.0, 22));
    const double apart = 176.0;
    const double away = std::abs(std::remainder(x + 1.5 * noise(x, y, 120.0, 23) + apart * 0.3, apart));
    const double wire = std::exp(-away * away / 8.0);
    return 0.016 * ribs - 0.022 * wire + 0.012 * noise(x, y, 2.6, 24) + 0.010 * noise(x, y, 240.0, 25) - 0.03;
}

// Brown wrapping paper; its fibres come on top.
double kraft(double x, double y) {
    return 0.026 * noise(x, y, 2.5, 31) + 0.022 * noise(x, y, 8.0, 32) + 0.015 * noise(x, y * 6.0, 60.0, 33) +
           0.015 * noise(x, y, 260.0, 34) - 0.03;
}

struct Rule {
    std::string_view name;
    std::array<double, 3> color; // where the sheet is as light as it gets
    double (*tone)(double x, double y);
    int fibres;
};

constexpr std::array rules{
    Rule{"cartridge", {1.0, 0.99, 0.96}, cartridge, 0},
    Rule{"kraft", {0.84, 0.71, 0.52}, kraft, 7000},
    Rule{"laid", {0.99, 0.96, 0.88}, laid, 700},
    Rule{"watercolour", {1.0, 0.995, 0.975}, watercolour, 0},
};

constexpr std::array names{rules[0].name, rules[1].name, rules[2].name, rules[3].name};

// Adds short bent hairs, light ones and dark ones, to the tones of a sheet.
void addFibres(std::vector<float>& tones, int side, int count) {
    const double across = side / sheetWidth;
    const double down = side / sheetHeight;
    for (int i = 0; i < count; ++i) {
        const auto number = static_cast<std::uint32_t>(i);
        double x = (0.5 + 0.5 * random(41, number)) * sheetWidth;
        double y = (0.5 + 0.5 * random(42, number)) * sheetHeight;
        double way = random(43, number) * std::numbers::pi;
        const double bend = random(44, number) * 0.06;
        const double length = 18.0 + 26.0 * (0.5 + 0.5 * random(45, number));
        const double depth = random(46, number) * 0.10;
        const double step = 0.5 * sheetWidth / side;
        const int steps = static_cast<int>(length / step);
        for (int k = 0; k < steps; ++k) {
            x += std::cos(way) * step;
            y += std::sin(way) * step;
            way += bend * step;
            const int column = static_cast<int>(std::floor(x * across));
            const int row = static_cast<int>(std::floor(y * down));
            if (column >= 0 && row >= 0 && column < side && row < side) {
                const double fade = std::sin(std::numbers::pi * k / steps);
                tones[static_cast<std::size_t>(row) * side + column] += static_cast<float>(depth * fade * 0.5);
            }
        }
    }
}

} // namespace

std::span<const std::string_view> paperNames() {
    return names;
}

std::vector<std::uint8_t> makePaper(std::string_view name, int side) {
    const auto rule = std::find_if(rules.begin(), rules.end(), [name](const Rule& r) { return r.name == name; });
    if (rule == rules.end() || side <= 0) {
        return {};
    }
    std::vector<float> tones(static_cast<std::size_t>(side) * side);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            tones[static_cast<std::size_t>(y) * side + x] =
                static_cast<float>(rule->tone((x + 0.5) * sheetWidth / side, (y + 0.5) * sheetHeight / side));
        }
    }
    addFibres(tones, side, rule->fibres);
    std::vector<std::uint8_t> image;
    image.reserve(tones.size() * 3);
    for (const float tone : tones) {
        for (const double color : rule->color) {
            const double value = color * (1.0 + static_cast<double>(tone));
            image.push_back(static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0)));
        }
    }
    return image;
}
