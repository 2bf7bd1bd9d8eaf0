// The depth buffer as shaders read it back.
#ifndef SHADERS_COMMON_KIVDEPTHIMAGE_H
#define SHADERS_COMMON_KIVDEPTHIMAGE_H

#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// The parts of the depth buffer that lines pass over, in tiles: reading all of a large picture back would take longer
// than the lines themselves. Rows run upwards; 1.0 where nothing was drawn, and outside what is held.
class KivDepthImage {
public:
    static constexpr int tile = 64;

    // A row of tiles that is read as one, with its pixels row after row; its place is that in the frame.
    struct Span {
        int left = 0;
        int bottom = 0;
        int width = 0;
        int height = 0;
        std::vector<float> values;
    };

    KivDepthImage() = default;
    // left, bottom: where the lower left pixel of the frame lies in the picture whose places are asked for.
    KivDepthImage(int width, int height, int left = 0, int bottom = 0);

    // Asks for every pixel within margin of a straight piece between two places in the picture.
    void want(const KivWindowPoint& a, const KivWindowPoint& b, double margin);
    // The spans to read for all that was asked, few and long; the caller fills their values. Ends the asking.
    std::vector<Span>& spans();

    // The depth of the pixel.
    float at(int x, int y) const;
    // The farthest depth of a pixel and its eight neighbours.
    float farthest(int x, int y) const;

private:
    const Span* spanAround(int x, int y) const;

    int frameLeft = 0;
    int frameBottom = 0;
    int pixelsWide = 0;
    int pixelsHigh = 0;
    int tilesWide = 0;
    int tilesHigh = 0;
    std::vector<std::int32_t> spanOfTile; // the number of the span that holds the tile, below 0 if none does
    std::vector<Span> read;
};

#endif
