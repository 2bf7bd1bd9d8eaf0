// PDF 1.5: optional content for the background, the areas, each kind of line and what is hidden, so that viewers can
// switch them. The file's date is left out, so that the same drawing gives the same bytes.
#ifndef KIVRENDER_LINES_WRITE_PDFWRITER_H
#define KIVRENDER_LINES_WRITE_PDFWRITER_H

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"

// False if the sink ended the writing.
bool kivWritePdf(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink);

#endif
