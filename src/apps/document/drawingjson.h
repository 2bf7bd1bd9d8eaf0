// The options of vector drawings in documents and in the program's memory.
#ifndef APPS_DOCUMENT_DRAWINGJSON_H
#define APPS_DOCUMENT_DRAWINGJSON_H

#include "apps/common/drawingoptions.h"
#include "apps/document/json.h"

// As a new document has them: the picture's frame, whole areas, nothing hidden.
DrawingOptions plainDrawingOptions();

Json drawingJson(const DrawingOptions& options);
// A missing or invalid value is as in a new document; numbers are brought into their range.
DrawingOptions readDrawingOptions(const Json& json);

bool operator==(const DrawingOptions& a, const DrawingOptions& b);

#endif
