// SVG 1.1 with the layers of Inkscape.
//
// The look of all lines stands in the stylesheet: a class for each kind, further ones where strokes of a kind differ.
// Areas lie below the lines of all objects: where several objects have areas, these stand in a group of their own
// before the objects, else in the group of their object.
#ifndef KIVRENDER_LINES_WRITE_SVGWRITER_H
#define KIVRENDER_LINES_WRITE_SVGWRITER_H

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"

// False if the sink ended the writing.
bool kivWriteSvg(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink);

#endif
