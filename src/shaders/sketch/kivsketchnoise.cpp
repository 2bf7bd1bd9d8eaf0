#include "kivsketchnoise.h"

#include <algorithm>
#include <cmath>

namespace {

std::uint32_t mixed(std::uint32_t h) {
    h ^= h >> 16;
    h *= 0x7feb352dU;
    h ^= h >> 15;
    h *= 0x846ca68bU;
    h ^= h >> 16;
    return h;
}

// From -1 to 1 at a corner of the lattice.
double corner(std::int64_t x, std::int64_t y, std::int64_t z, std::uint32_t salt) {
    std::uint32_t h = mixed(static_cast<std::uint32_t>(x) + salt);
    h = mixed(static_cast<std::uint32_t>(y) + h * 0x9e3779b1U);
    h = mixed(static_cast<std::uint32_t>(z) + h * 0x85ebca77U);
    return static_cast<double>(h) / 2147483647.5 - 1.0;
}

double eased(double t) {
    return t * t * (3.0 - 2.0 * t);
}

double mix(double a, double b, double t) {
    return a + (b - a) * t;
}

// Noise of wavelength 1 on a lattice of its own for each salt.
double lattice(const KivVec& p, std::uint32_t salt) {
    const double fx = std::floor(p.x);
    const double fy = std::floor(p.y);
    const double fz = std::floor(p.z);
    // Beyond this a double has no room left for a part of a cell.
    constexpr double most = 1e14;
    if (!(std::abs(fx) < most) || !(std::abs(fy) < most) || !(std::abs(fz) < most)) {
        return 0.0;
    }
    const auto x = static_cast<std::int64_t>(fx);
    const auto y = static_cast<std::int64_t>(fy);
    const auto z = static_cast<std::int64_t>(fz);
    const double tx = eased(p.x - fx);
    const double ty = eased(p.y - fy);
    const double tz = eased(p.z - fz);
    const double near = mix(mix(corner(x, y, z, salt), corner(x + 1, y, z, salt), tx),
                            mix(corner(x, y + 1, z, salt), corner(x + 1, y + 1, z, salt), tx), ty);
    const double far = mix(mix(corner(x, y, z + 1, salt), corner(x + 1, y, z + 1, salt), tx),
                           mix(corner(x, y + 1, z + 1, salt), corner(x + 1, y + 1, z + 1, salt), tx), ty);
    return mix(near, far, tz);
}

} // namespace

std::uint32_t kivSketchHash(std::uint32_t a, std::uint32_t b) {
    return mixed(mixed(a + 0x9e3779b9U) + b * 0x85ebca77U);
}

double kivSketchUnit(std::uint32_t a, std::uint32_t b) {
    return static_cast<double>(kivSketchHash(a, b)) / 4294967296.0;
}

double KivSketchNoise::at(const KivVec& place, double wavelength, std::uint32_t channel) const {
    if (!(wavelength > 0.0) || !std::isfinite(wavelength)) {
        return 0.0;
    }
    const double level = std::log2(wavelength);
    const double low = std::floor(level);
    const double fine = std::exp2(-low);
    const double part = level - low;
    const auto salt = [this, channel](double at) {
        return kivSketchHash(seedWord * 31U + channel, static_cast<std::uint32_t>(static_cast<std::int32_t>(at)));
    };
    const double a = lattice(place * fine, salt(low));
    const double b = lattice(place * (fine * 0.5), salt(low + 1.0));
    // Two independent patterns mixed half and half would be weaker than either.
    return std::clamp(mix(a, b, part) / std::sqrt(part * part + (1.0 - part) * (1.0 - part)), -1.0, 1.0);
}
