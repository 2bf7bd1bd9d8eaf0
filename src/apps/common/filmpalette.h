// The 256 colours of an animated GIF.
#ifndef APPS_COMMON_FILMPALETTE_H
#define APPS_COMMON_FILMPALETTE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

class KivImage;

class FilmPalette {
public:
    // From a picture of 24 bits: those that it has most, and a coarse grid for what other pictures bring.
    explicit FilmPalette(const KivImage& picture);

    // Blue in the low byte, opaque.
    const std::array<std::uint32_t, 256>& colours() const {
        return table;
    }
    // The number of the nearest colour for each pixel, rows stride bytes apart.
    void fill(const KivImage& picture, std::uint8_t* out, std::size_t stride);

private:
    std::uint8_t nearest(std::uint32_t cell) const;

    std::array<std::uint32_t, 256> table{};
    std::vector<std::int16_t> known; // by cells of 6, 6 and 6 bits; below 0 where nobody has asked
};

#endif
