// The grain of paper, as a square that can be laid side by side.
#ifndef SHADERS_BACKDROP_KIVBACKDROPGRAIN_H
#define SHADERS_BACKDROP_KIVBACKDROPGRAIN_H

#include <cstdint>
#include <vector>

// The number of grains along each side.
inline constexpr int kivGrainSide = 512;

// How bright the paper is at each grain, row by row: 255 leaves a colour as it is, and less darkens it. The same for
// every picture. strength: 0 leaves all at 255, 1 is the coarsest paper.
std::vector<std::uint8_t> kivPaperGrain(double strength);

#endif
