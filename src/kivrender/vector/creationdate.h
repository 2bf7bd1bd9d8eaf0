// The same drawing gives the same bytes, whenever it is printed.
#ifndef KIVRENDER_VECTOR_CREATIONDATE_H
#define KIVRENDER_VECTOR_CREATIONDATE_H

#include "kivrender/platform/kivexport.h"

#include <string>

// Blanks out the dates of printing in the first lines of a PostScript, PDF or SVG file; its length stays.
KIV_API void kivBlankCreationDate(std::string& head);

#endif
