// From chains of edges to the lines that are seen: each chain is walked across the picture in steps of about a pixel,
// every step is looked up in the depth buffer, and what is visible comes back as paths with a width at every point.
//
// Only the middle of a line is tested. A line that is drawn as a band and tested pixel by pixel loses the half that
// lies over its own surface wherever that surface is steep; a line that is tested in the middle keeps its full width.
#ifndef SHADERS_COMMON_KIVLINETRACER_H
#define SHADERS_COMMON_KIVLINETRACER_H

#include "kivdepthimage.h"
#include "kivfeatureedges.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// A point of a path: where it is in the picture, in pixels, and half of the line's width there.
struct KivLinePoint {
    float x = 0.0F;
    float y = 0.0F;
    float halfWidth = 0.0F;
};

// Where a point of a path lies on the line in space: between two corners, a part of the way from the first.
struct KivLineStation {
    std::uint32_t corner = 0;
    float part = 0.0F;
};

struct KivLinePath {
    std::vector<KivLinePoint> points;
    std::vector<KivLineStation> stations; // of the points, one by one
    bool closed = false;
    bool hidden = false; // something stands before it
    // The line itself ends here, and is not merely lost from sight.
    bool startsFree = false;
    bool endsFree = false;
    // Most of it has nothing behind it on one side: it is a part of an outline.
    bool isOutline = false;
    // Whole strokes begin or end in the open (kivwholestrokes.h).
    bool startsLoose = false;
    bool endsLoose = false;
};

// All lengths in pixels of the image that is drawn into.
struct KivLinePen {
    double width[kivFeatureKinds] = {8.0, 8.0, 6.0, 3.0}; // by kind
    double pixel = 4.0;                                   // one pixel of the finished picture
    double detail = 4.0;    // a fold is drawn in full where what it hides lies at least that much deeper
    double shortest = 16.0; // shorter lines in the inside of a shape are left out
    double smoothing = 4.0; // kinks shorter than this are rounded
    bool hidden = false;    // paths of what is hidden are wanted too
};

// A corner of a line in three dimensions on its way into the picture.
struct KivLineCorner {
    KivClipPoint clip;
    // Away from the surface, for folds: the sign of the side, seen along the line, on which the surface is absent; 0
    // where it lies on both sides.
    int openSide = 0;
    KivVec place{}; // in space
};

// A part of the picture, in pixels of the image.
struct KivLineTile {
    double left = 0.0;
    double bottom = 0.0;
    double right = 0.0;
    double top = 0.0;

    bool holds(double x, double y) const {
        return x >= left && x < right && y >= bottom && y < top;
    }
    // Whether a straight piece between two places may have samples in the tile.
    bool mayHold(const KivWindowPoint& a, const KivWindowPoint& b) const;
};

// The seen ones of a line's samples, for a picture that is drawn in tiles: nobody has the depth of all of it at once.
// In a survey each tile records the samples that lie in it; afterwards they are there in the order of the samples.
struct KivLineSights {
    std::vector<float> weights;
    std::size_t next = 0;
    bool isRecording = false;
    KivLineTile tile; // that is recorded
};

class KivLineTracer {
public:
    // Both must outlive the tracer.
    KivLineTracer(const KivView& seenFrom, const KivDepthImage& drawn, const KivLinePen& drawnWith)
        : view(seenFrom), depth(drawn), pen(drawnWith) {}

    // Adds the visible paths of a line through these corners, and the hidden ones if the pen asks for them. The open
    // side of a corner is that of the edge that begins there. A closed line does not repeat its first corner.
    void trace(const std::vector<KivLineCorner>& corners, bool closed, KivFeatureKind kind,
               std::vector<KivLinePath>& paths);

    // From here on lines and points are looked up there, or recorded, each in the order of the calls.
    void use(KivLineSights& recorded) {
        sights = &recorded;
    }

    // Whether a single point is seen; then where it is in the picture, its width untouched.
    bool sees(const KivClipPoint& point, KivLinePoint* place) const;

private:
    struct Sample {
        float x;
        float y;
        float weight; // 1 drawn in full, 0 hidden, below 0 hidden by next to nothing
        bool isOutline;
        KivLineStation station;
    };
    // Samples of a piece, from the first to before the last.
    struct Run {
        std::size_t first = 0;
        std::size_t last = 0;
        bool closed = false;
        bool hidden = false;
        bool startsFree = false;
        bool endsFree = false;
    };

    void sampleEdge(const std::vector<KivLineCorner>& corners, std::size_t corner, KivFeatureKind kind,
                    std::vector<KivLinePath>& paths);
    float weigh(const KivWindowPoint& place, const KivVec& open, KivFeatureKind kind) const;
    float weightOf(const KivWindowPoint& place, const KivVec& open, KivFeatureKind kind) const;
    void passOver(std::size_t count);
    void breakOff(KivFeatureKind kind, std::vector<KivLinePath>& paths);
    void finishPiece(bool closed, bool endsFree, KivFeatureKind kind, std::vector<KivLinePath>& paths);
    void bridgeGaps();
    void evenWeights();
    void addPath(const Run& run, KivFeatureKind kind, std::vector<KivLinePath>& paths) const;

    void evenZigzags(KivLinePath& path) const;

    const KivView& view;
    const KivDepthImage& depth;
    const KivLinePen& pen;
    KivLineSights* sights = nullptr;
    std::vector<Sample> samples;
    bool broken = false;   // the line left the view since it began
    bool freeStart = true; // the piece at hand begins where the line does
};

#endif
