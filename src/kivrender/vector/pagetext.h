// Changes to the text of a page on its way from gl2ps into the file.
//
// The date goes, so that the same drawing gives the same bytes. And areas that touch get a thin rim in their own
// colour: programs that show a drawing smooth the edge of each area by itself, and between two of them the background
// would shine through as a hairline; without smoothing, which is what gl2ps asks for in SVG, edges are ragged.
#ifndef KIVRENDER_VECTOR_PAGETEXT_H
#define KIVRENDER_VECTOR_PAGETEXT_H

#include "kivrender/platform/kivexport.h"

#include <string>

class KIV_API PageText {
public:
    enum class Format { svg, postScript, pdf };

    // The width of the rim, half of which lies outside the area, in pixels.
    static constexpr const char* rimWidth = "0.5";

    explicit PageText(Format pageFormat) : format(pageFormat) {}

    // Whole lines, in their order. PDF keeps its length to the byte, as its table of places must stay right; its areas
    // are the business of kivFinishPdf.
    void change(std::string& lines);

private:
    void changeHead(std::string& head) const;

    Format format;
    bool isHead = true;
};

#endif
