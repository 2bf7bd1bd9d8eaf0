// DXF of AutoCAD 2000 (AC1015), in millimetres. Layers by kind, HIDDEN for what is hidden, and AREAS with the outlines
// of areas, which is switched off unless the sheet asks for them. A stroke is one entity: a line, a polyline with arcs,
// a circle, an arc, or a spline of cubic pieces. The strokes of each object are a group of its name.
#ifndef KIVRENDER_LINES_WRITE_DXFWRITER_H
#define KIVRENDER_LINES_WRITE_DXFWRITER_H

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"

// False if the sink ended the writing.
bool kivWriteDxf(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink);

#endif
