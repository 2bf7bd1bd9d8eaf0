// A chain of segments in the picture, cut where what stands before it begins and ends.
#ifndef KIVRENDER_LINES_LINESPANS_H
#define KIVRENDER_LINES_LINESPANS_H

#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/linebudget.h"
#include "kivrender/lines/linejoins.h"
#include "kivrender/lines/surfacelines.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

enum class LineSight : std::uint8_t {
    seen,
    hidden, // something stands before it
    absent, // outside the picture
    slight, // a fold that hides next to nothing
    doubled // another line lies there
};

// Of lines with nothing behind them, and of lines that are not folds.
inline constexpr double endlessStep = 1000.0;

// A part of a segment, in the direction in which its chain is walked: first is above last where that is backwards.
struct LineSpan {
    std::uint32_t segment = 0;
    double first = 0.0;
    double last = 1.0;
    KivPicturePoint start;
    KivPicturePoint end;
    double length = 0.0; // in pixels; 0 for what is absent
    LineSight sight = LineSight::seen;
    bool isBarb = false;       // lies behind the mesh, at the end of what is seen of a smooth contour
    double step = endlessStep; // by how much the surface steps back beside a fold that may be slight, in pixels
};

// Properties of the segments, by their numbers.
struct LineSegments {
    std::vector<LineSegment> all;
    std::vector<std::uint32_t> sources; // of the bodies and lines of the engine
    // Of the sources.
    struct Source {
        SurfaceLines surface;            // but for its segments
        std::uint32_t firstTriangle = 0; // among the occluders
        double detail = 1.0;             // in pixels: a fold is drawn in full where it steps back by that much
        double shortest = 5.0;           // in pixels, of weak lines
    };
    std::vector<Source> about;
};

// Lines of which less than this, in pixels, is seen are specks, and so are gaps of contours.
inline constexpr double lineSpeck = 2.0;

// Turns a ring that is not seen all around so that it begins where its longest part out of sight does.
void kivTurnToGap(std::vector<LineSpan>& ring);

class LineSpans {
public:
    LineSpans(const KivOccluders& inTheWay, const LineSegments& known, LineBudget& work)
        : occluders(inTheWay), segments(known), budget(work) {}

    // Replaces spans by those of a chain, one after the other. False where the budget ended: the rest of the chain is
    // missing.
    bool cut(const LineChain& chain, std::vector<LineSpan>& spans);
    // Ends at cusps of contours become barbs.
    void markBarbs(std::vector<LineSpan>& spans) const;
    // Parts of slight folds are taken out of sight, and weak lines that are short.
    void takeOutSlight(std::vector<LineSpan>& spans) const;
    // Hidden gaps that are too short to be meant are closed.
    void closeGaps(std::vector<LineSpan>& spans) const;

private:
    struct Outside {
        KivPicturePoint place;
        KivPicturePoint way; // of unit length; 0 if there is none
        double depth = 0.0;
        double pixel = 0.0;
    };

    void findSides(const LineChain& chain);
    void addSegment(std::uint32_t number, bool reversed, int side, std::vector<LineSpan>& spans);
    void addSpan(std::uint32_t number, double first, double last, LineSight sight, std::vector<LineSpan>& spans) const;
    std::span<const std::uint32_t> exemptOf(std::uint32_t number);
    void checkSeen(std::uint32_t number, const ContourPiece& piece);
    bool isSeen(const LineSpan& step, const ContourPiece& piece) const;
    void measure(LineSpan& span) const;
    std::vector<LineSpan> inSteps(const std::vector<LineSpan>& spans) const;
    Outside outsideOf(const LineSpan& span) const;
    double behind(const Outside& outside, double pixels) const;
    bool charge(std::size_t units) const;
    bool isGap(const std::vector<LineSpan>& spans, std::size_t first, std::size_t end, double length) const;
    bool isSeenBeside(const LineSpan& span) const;
    const ContourPiece& pieceOf(std::uint32_t number) const;
    bool isBehindItself(const LineSpan& span) const;
    bool mayBeSlight(const std::vector<LineSpan>& spans) const;
    double stepAt(const LineSpan& span) const;
    double strengthOf(const LineSpan& span) const;

    const KivOccluders& occluders;
    const LineSegments& segments;
    LineBudget& budget;
    mutable std::size_t charged = 0; // of the work of the occluders
    std::vector<KivLinePart> parts;
    std::vector<KivLinePart> excused; // what triangles around the segment would hide of it
    std::vector<KivLinePart> checked;
    std::vector<std::uint32_t> exempt;
    std::vector<int> sides; // to which the surface bulges at the segments of a chain
};

#endif
