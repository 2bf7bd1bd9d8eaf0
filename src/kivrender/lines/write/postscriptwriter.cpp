#include "kivrender/lines/write/postscriptwriter.h"

#include "kivrender/lines/write/pagecontent.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cmath>

namespace {

// Lines of the conventions have at most 255 characters.
constexpr std::size_t longestTitle = 200;

// I takes the width and the height of a picture, and its bytes from behind itself. The end of the bytes is looked for,
// as FlateDecode may stop before it.
constexpr const char* pictureOperators =
    "/W* {eoclip} bind def\n/cm {6 array astore concat} bind def\n"
    "/I {/ph exch def /pw exch def /pd currentfile /ASCII85Decode filter def /DeviceRGB setcolorspace\n"
    "<< /ImageType 1 /Width pw /Height ph /BitsPerComponent 8 /Decode [0 1 0 1 0 1] /Interpolate true\n"
    "/ImageMatrix [pw 0 0 ph neg 0 ph] /DataSource pd\n"
    "<< /Predictor 15 /Colors 3 /BitsPerComponent 8 /Columns pw >> /FlateDecode filter >> image\n"
    "pd flushfile} bind def\n";

// A string of PostScript in ASCII.
std::string titleText(const std::wstring& title) {
    std::string text = "(";
    for (const wchar_t c : title.substr(0, longestTitle / 2)) {
        if (c == L'(' || c == L')' || c == L'\\') {
            text += '\\';
        }
        text += c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?';
    }
    return text + ")";
}

bool hasPictures(const KivVectorDrawing& drawing) {
    return std::any_of(drawing.areas.begin(), drawing.areas.end(),
                       [](const KivArea& area) { return area.picture != nullptr && SheetLayout::isDrawn(area); });
}

// The third level has the compression of pictures.
void writeComments(const KivVectorDrawing& drawing, double width, double height, bool encapsulated, DrawingSink& sink) {
    // A page that is a thousandth wider than a whole number of points has that number.
    const auto whole = [](double points) { return static_cast<int>(std::ceil(points - 1e-3)); };
    sink << "%!PS-Adobe-3.0" << (encapsulated ? " EPSF-3.0" : "") << "\n%%BoundingBox: 0 0 " << whole(width) << ' '
         << whole(height) << "\n%%HiResBoundingBox: 0 0 " << width << ' ' << height
         << "\n%%Title: " << titleText(drawing.title)
         << "\n%%Creator: Selvarin\n%%LanguageLevel: " << (hasPictures(drawing) ? 3 : 2)
         << "\n%%DocumentData: Clean7Bit\n%%Pages: 1\n%%EndComments\n";
}

} // namespace

bool kivWritePostScript(const KivVectorDrawing& drawing, const SheetLayout& layout, bool encapsulated,
                        DrawingSink& sink) {
    const double width = layout.page().pageWidth * kivPointsPerMillimetre;
    const double height = layout.page().pageHeight * kivPointsPerMillimetre;
    writeComments(drawing, width, height, encapsulated, sink);
    sink << "%%BeginProlog\n20 dict begin\n"
            "/m {moveto} bind def\n/l {lineto} bind def\n/c {curveto} bind def\n/h {closepath} bind def\n"
            "/S {stroke} bind def\n/f* {eofill} bind def\n/B* {gsave eofill grestore stroke} bind def\n"
            "/w {setlinewidth} bind def\n/J {setlinecap} bind def\n/j {setlinejoin} bind def\n"
            "/q {gsave} bind def\n/Q {grestore} bind def\n/W {clip} bind def\n/n {newpath} bind def\n"
            "/d {setdash} bind def\n/rg {setrgbcolor} bind def\n/RG {setrgbcolor} bind def\n"
         << (hasPictures(drawing) ? pictureOperators : "") << "%%EndProlog\n%%Page: 1 1\n%%BeginPageSetup\n";
    if (!encapsulated) {
        sink << "<< /PageSize [" << width << ' ' << height << "] >> setpagedevice\n";
    }
    sink << "%%EndPageSetup\ngsave\n";
    if (!PageContent(drawing, layout, PageContent::Kind::postScript, sink).write()) {
        return false;
    }
    sink << "grestore\nshowpage\n%%Trailer\nend\n%%EOF\n";
    return true;
}
