// HPGL for plotters: 40 units are a millimetre. A pen for each kind of line, in the order of KivStrokeKind from 1 on,
// that of other edges for tangent ones, 8 for what is hidden; each pen draws what is its own with little travel. Curves
// are short lines, dashes are lines of their own, as plotters scale their patterns by the paper. Areas are drawn, as
// outlines with pen 7, if the sheet asks for that.
#ifndef KIVRENDER_LINES_WRITE_HPGLWRITER_H
#define KIVRENDER_LINES_WRITE_HPGLWRITER_H

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"

// False if the sink ended the writing.
bool kivWriteHpgl(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink);

#endif
