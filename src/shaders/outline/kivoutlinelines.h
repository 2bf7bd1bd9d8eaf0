// From chains of edges to the lines that are seen: each chain is walked across the picture in steps of about a pixel,
// every step is looked up in the depth buffer, and what is visible comes back as paths with a width at every point.
//
// Only the middle of a line is tested. A line that is drawn as a band and tested pixel by pixel loses the half that
// lies over its own surface wherever that surface is steep; a line that is tested in the middle keeps its full width.
#ifndef SHADERS_OUTLINE_KIVOUTLINELINES_H
#define SHADERS_OUTLINE_KIVOUTLINELINES_H

#include "kivoutlinechains.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// The parts of the depth buffer that lines pass over, in tiles: reading all of a large picture back would take longer
// than the lines themselves. Rows run upwards; 1.0 where nothing was drawn, and outside what is held.
class KivDepthImage {
public:
    static constexpr int tile = 64;

    // A row of tiles that is read as one, with its pixels row after row.
    struct Span {
        int left = 0;
        int bottom = 0;
        int width = 0;
        int height = 0;
        std::vector<float> values;
    };

    KivDepthImage() = default;
    KivDepthImage(int width, int height);

    // Asks for every pixel within margin of a straight piece between two places in the picture.
    void want(const KivWindowPoint& a, const KivWindowPoint& b, double margin);
    // What is to be read for what was asked, as few long spans; the caller fills values. Ends the asking.
    std::vector<Span>& spans();

    // The depth of the pixel.
    float at(int x, int y) const;
    // The farthest depth of a pixel and its eight neighbours.
    float farthest(int x, int y) const;

private:
    int pixelsWide = 0;
    int pixelsHigh = 0;
    int tilesWide = 0;
    int tilesHigh = 0;
    std::vector<std::int32_t> spanOfTile; // the number of the span that holds the tile, below 0 if none does
    std::vector<Span> read;
};

// A point of a path: where it is in the picture, in pixels, and half of the line's width there.
struct KivOutlinePoint {
    float x = 0.0F;
    float y = 0.0F;
    float halfWidth = 0.0F;
};

struct KivOutlinePath {
    std::vector<KivOutlinePoint> points;
    bool closed = false;
};

// All lengths in pixels of the image that is drawn into.
struct KivOutlinePen {
    double width[3] = {8.0, 8.0, 6.0}; // by kind
    double pixel = 4.0;                // one pixel of the finished picture
    double detail = 4.0;               // a fold is drawn in full where what it hides lies at least that much deeper
    double shortest = 16.0;            // shorter lines in the inside of a shape are left out
    double smoothing = 4.0;            // kinks shorter than this are rounded
};

// A corner of a line in three dimensions on its way into the picture.
struct KivOutlineCorner {
    KivClipPoint clip;
    // Away from the surface, for folds: the sign of the side, seen along the line, on which the surface is absent; 0
    // where it lies on both sides.
    int openSide = 0;
};

class KivOutlineTracer {
public:
    // Both must outlive the tracer.
    KivOutlineTracer(const KivView& seenFrom, const KivDepthImage& drawn, const KivOutlinePen& drawnWith)
        : view(seenFrom), depth(drawn), pen(drawnWith) {}

    // Adds the visible paths of a line through these corners. The open side of a corner is that of the edge that begins
    // there. A closed line does not repeat its first corner.
    void trace(const std::vector<KivOutlineCorner>& corners, bool closed, KivOutlineKind kind,
               std::vector<KivOutlinePath>& paths);

    // Whether a single point is seen; then where it is in the picture, its width untouched.
    bool sees(const KivClipPoint& point, KivOutlinePoint* place) const;

private:
    struct Sample {
        float x;
        float y;
        float weight; // 1 drawn in full, 0 hidden, below 0 hidden by next to nothing
    };

    void sampleEdge(const KivOutlineCorner& from, const KivClipPoint& to, KivOutlineKind kind,
                    std::vector<KivOutlinePath>& paths);
    float weigh(const KivWindowPoint& place, const KivVec& open, KivOutlineKind kind) const;
    void breakOff(KivOutlineKind kind, std::vector<KivOutlinePath>& paths);
    void finishPiece(bool closed, KivOutlineKind kind, std::vector<KivOutlinePath>& paths);
    void addPath(std::size_t first, std::size_t last, bool closed, KivOutlineKind kind,
                 std::vector<KivOutlinePath>& paths) const;

    const KivView& view;
    const KivDepthImage& depth;
    const KivOutlinePen& pen;
    std::vector<Sample> samples;
    bool broken = false; // the line left the view since it began
};

#endif
