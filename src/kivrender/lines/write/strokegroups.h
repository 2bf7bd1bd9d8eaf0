// Which strokes of a drawing stand together in a file: by object, what is hidden first as it lies behind, then by kind;
// within a group in the order of painting.
#ifndef KIVRENDER_LINES_WRITE_STROKEGROUPS_H
#define KIVRENDER_LINES_WRITE_STROKEGROUPS_H

#include "kivrender/lines/write/sheetlayout.h"

#include <cstddef>
#include <vector>

struct StrokeGroup {
    std::uint32_t object = 0;
    bool hidden = false;
    KivStrokeKind kind = KivStrokeKind::contour;
    std::vector<std::size_t> strokes; // numbers in the drawing
};

// Of the strokes that are drawn. An object that the drawing does not list counts as number 0.
std::vector<StrokeGroup> kivStrokeGroups(const KivVectorDrawing& drawing, const SheetLayout& layout);

// Areas of one object that follow one another.
struct AreaRun {
    std::uint32_t object = 0;
    std::vector<std::size_t> areas;
};
std::vector<AreaRun> kivAreaRuns(const KivVectorDrawing& drawing);

#endif
