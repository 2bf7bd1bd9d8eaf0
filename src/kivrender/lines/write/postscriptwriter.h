// PostScript, a page of its own or encapsulated, with the comments of the Document Structuring Conventions 3.0.
#ifndef KIVRENDER_LINES_WRITE_POSTSCRIPTWRITER_H
#define KIVRENDER_LINES_WRITE_POSTSCRIPTWRITER_H

#include "kivrender/lines/write/drawingsink.h"
#include "kivrender/lines/write/sheetlayout.h"

// False if the sink ended the writing.
bool kivWritePostScript(const KivVectorDrawing& drawing, const SheetLayout& layout, bool encapsulated,
                        DrawingSink& sink);

#endif
