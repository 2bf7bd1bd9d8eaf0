// The room of vector drawings, which nobody can know before they are drawn.
#ifndef APPS_COMMON_VECTORBUFFER_H
#define APPS_COMMON_VECTORBUFFER_H

#include <cstdint>

// What a triangle takes in the buffer, with some more for those that are cut.
constexpr std::uint64_t vectorFloatsPerTriangle = 32;

// Gives the buffer room for so many numbers at least. False if it has that already, or is as large as it can be.
bool growVectorBuffer(std::uint64_t floats);
// The same for a drawing that did not fit.
bool growVectorBuffer();

#endif
