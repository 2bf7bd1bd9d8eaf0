// The unsteadiness of a hand: smooth noise on a lattice (Perlin, An Image Synthesizer, 1985) that is fixed in the space
// of the scene, so that a line keeps its wobble while the camera moves.
#ifndef SHADERS_SKETCH_KIVSKETCHNOISE_H
#define SHADERS_SKETCH_KIVSKETCHNOISE_H

#include "kivvec.h"

#include <cstdint>

// A well mixed word of two others.
std::uint32_t kivSketchHash(std::uint32_t a, std::uint32_t b);

// The same as a number from 0 to 1, 1 excluded.
double kivSketchUnit(std::uint32_t a, std::uint32_t b);

class KivSketchNoise {
public:
    explicit KivSketchNoise(std::uint32_t seed) : seedWord(seed) {}

    std::uint32_t seed() const {
        return seedWord;
    }

    // From -1 to 1, smooth over about the wavelength, in units of the scene. Channels are independent of each other.
    // The pattern stands still in space: a slight change of the wavelength changes the value slightly, as it fades
    // between patterns of fixed sizes. 0 for places that are not numbers and wavelengths that are not above 0.
    double at(const KivVec& place, double wavelength, std::uint32_t channel) const;

private:
    std::uint32_t seedWord;
};

#endif
