// PDF, AI, EPS and PS as Poppler, qpdf's library and Ghostscript read them.
#include "foreignprogram.h"
#include "sampledrawings.h"

#include "support/commalocale.h"

#include <algorithm>
#include <regex>

#include <gtest/gtest.h>

namespace {

std::string ghostscript(const ForeignFolder& folder, const std::string& file, const std::string& options) {
    const ForeignOutcome outcome =
        runForeign("gs -q -dSAFER -dBATCH -dNOPAUSE " + options + " -sOutputFile=" + folder.path("out") + " " + file);
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    return outcome.out;
}

// Ten pixels are a millimetre.
GreyPicture painted(const ForeignFolder& folder, const std::string& name, const std::string& content,
                    const std::string& more = "") {
    ghostscript(folder, folder.write(name, content), "-sDEVICE=pgmraw -r254 -dTextAlphaBits=1 " + more);
    return readPgm(folder.read("out"));
}

// What the only stream of a PDF holds when it is unpacked.
std::string contentOf(const ForeignFolder& folder, const std::string& pdf) {
    const std::size_t from = pdf.find("stream\n") + 7;
    folder.write("packed", pdf.substr(from, pdf.find("\nendstream") - from));
    const ForeignOutcome outcome = runForeign("python3 -c \"import sys, zlib; sys.stdout.write(zlib.decompress(open('" +
                                              folder.path("packed") + "', 'rb').read()).decode())\"");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    return outcome.out;
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST(PdfWriter, HasATitleASizeAndLayers) {
    SKIP_WITHOUT("pdfinfo");
    const ForeignFolder folder;
    KivVectorDrawing drawing = sampleDrawing();
    drawing.title = L"Gehäuse (1) \x1F600";
    const std::string pdf = written(drawing, KivDrawingFormat::pdf, halfScaleSheet());
    const ForeignOutcome info = runForeign("pdfinfo -enc UTF-8 " + folder.write("a.pdf", pdf));
    EXPECT_EQ(info.status, 0);
    EXPECT_NE(info.out.find("Gehäuse (1) \xF0\x9F\x98\x80"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("595.276 x 841.89 pts (A4)"), std::string::npos) << info.out;
    EXPECT_EQ(info.out.find("rror"), std::string::npos) << info.out;
    for (const char* layer : {"background", "areas", "contour", "crease", "hidden", "line"}) {
        EXPECT_NE(pdf.find("/Type /OCG /Name (" + std::string(layer) + ")"), std::string::npos) << layer;
    }
    EXPECT_EQ(countOf(pdf, "/Type /OCG "), 6U);
}

TEST(PdfWriter, EachLayerHasWhatIsItsOwn) {
    SKIP_WITHOUT("python3");
    const ForeignFolder folder;
    const std::string content = contentOf(folder, written(sampleDrawing(), KivDrawingFormat::pdf));
    EXPECT_EQ(countOf(content, "BDC\n"), countOf(content, "EMC\n"));
    EXPECT_EQ(countOf(content, "S\n"), 5U);   // one for each stroke
    EXPECT_EQ(countOf(content, "f*\n"), 2U);  // the background, one area with its hole
    EXPECT_EQ(countOf(content, " c\n"), 12U); // cubics stay what they are
    EXPECT_NE(content.find("[11 4] 0 d\n"), std::string::npos) << content;
}

TEST(PdfWriter, GhostscriptAndPopplerPaintItAtItsScale) {
    SKIP_WITHOUT("gs");
    SKIP_WITHOUT("pdftoppm");
    const ForeignFolder folder;
    KivSheet sheet = halfScaleSheet();
    ASSERT_TRUE(kivReadPens("all=1mm", &sheet));
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areas.clear();
    drawing.strokes.resize(1); // the square of 100 units
    const std::string pdf = written(drawing, KivDrawingFormat::pdf, sheet);
    const GreyPicture picture = painted(folder, "a.pdf", pdf);
    EXPECT_NEAR(picture.width, 2100, 1);
    const std::array<int, 4> bounds = picture.bounds();
    EXPECT_NEAR(bounds[2] - bounds[0], 510, 2); // 50 mm and the pen
    EXPECT_NEAR(bounds[3] - bounds[1], 510, 2);
    EXPECT_NEAR(bounds[0] + bounds[2], 2100, 2);
    ASSERT_EQ(runForeign("pdftoppm -gray -r 254 -singlefile " + folder.path("a.pdf") + " " + folder.path("p")).status,
              0);
    const std::array<int, 4> poppler = readPgm(folder.read("p.pgm")).bounds();
    EXPECT_NEAR(poppler[2] - poppler[0], 510, 2);
    EXPECT_NEAR(poppler[3] - poppler[1], 510, 2);
}

TEST(PdfWriter, ABackdropEndsWithTheSheet) {
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areas[0].rings = {polylinePath({{0, 0}, {400, 0}, {400, 300}, {0, 300}}, true)};
    drawing.areas[0].isBackdrop = true;
    KivSheet sheet;
    sheet.page = KivSheet::Page::paper;
    sheet.width = 50;
    sheet.height = 80;
    // On a page of 100 by 100 mm nothing lies beyond the sheet's own part of it.
    const std::string command = "gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=bbox " + folder.path("a.eps") + " 2>&1";
    folder.write("a.eps", written(drawing, KivDrawingFormat::eps, sheet));
    const std::string said = runForeign(command).out;
    double box[4] = {};
    const std::size_t at = said.find("%%HiResBoundingBox:");
    ASSERT_NE(at, std::string::npos) << said;
    ASSERT_EQ(std::sscanf(said.c_str() + at, "%%%%HiResBoundingBox: %lf %lf %lf %lf", box, box + 1, box + 2, box + 3),
              4);
    EXPECT_NEAR(box[0], 0.0, 0.5);
    EXPECT_NEAR(box[1], 0.0, 0.5);
    EXPECT_NEAR(box[2], 50 * 72 / 25.4, 0.5);
    EXPECT_NEAR(box[3], 80 * 72 / 25.4, 0.5);
}

TEST(PdfWriter, WhatIsSeenThroughIsMixed) {
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivVectorDrawing drawing = sampleDrawing();
    drawing.strokes.clear();
    drawing.areas[0].color = 0;
    drawing.areas[0].opacity = 0.5;
    drawing.areas[0].rings.resize(1);
    const auto middle = [&](KivDrawingFormat format, const char* name) {
        const GreyPicture picture = painted(folder, name, written(drawing, format), "-dEPSCrop");
        return picture.at(picture.width * 150 / 400, picture.height / 2);
    };
    EXPECT_NEAR(middle(KivDrawingFormat::pdf, "a.pdf"), 128, 2);
    EXPECT_NEAR(middle(KivDrawingFormat::eps, "a.eps"), 128, 2);
}

TEST(PdfWriter, AiIsTheSame) {
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::ai), written(sampleDrawing(), KivDrawingFormat::pdf));
}

TEST(PostScriptWriter, TheBoxIsThatOfThePage) {
    const std::string eps = written(sampleDrawing(), KivDrawingFormat::eps);
    EXPECT_TRUE(eps.starts_with("%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 400 300\n")) << eps.substr(0, 200);
    EXPECT_EQ(eps.find("setpagedevice"), std::string::npos);
    const std::string sheet = written(sampleDrawing(), KivDrawingFormat::eps, halfScaleSheet());
    EXPECT_NE(sheet.find("%%BoundingBox: 0 0 596 842\n%%HiResBoundingBox: 0 0 595.276 841.89\n"), std::string::npos);
    const std::string ps = written(sampleDrawing(), KivDrawingFormat::ps, halfScaleSheet());
    EXPECT_TRUE(ps.starts_with("%!PS-Adobe-3.0\n"));
    EXPECT_NE(ps.find("/PageSize [595.276 841.89]"), std::string::npos);
    for (const std::string& text : {eps, ps}) {
        for (const char* comment : {"%%EndComments\n", "%%BeginProlog\n", "%%EndProlog\n", "%%Page: 1 1\n",
                                    "%%BeginPageSetup\n", "%%EndPageSetup\n", "%%Trailer\n", "%%EOF\n"}) {
            EXPECT_EQ(countOf(text, comment), 1U) << comment;
        }
        EXPECT_TRUE(text.ends_with("%%EOF\n"));
    }
}

TEST(PostScriptWriter, AHostileTitleIsText) {
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivVectorDrawing drawing = sampleDrawing();
    drawing.title = L"a) showpage (\\ \n%%EOF\näö " + std::wstring(1000, L'(');
    const std::string eps = written(drawing, KivDrawingFormat::eps);
    EXPECT_NE(eps.find("%%Title: (a\\) showpage \\(\\\\ ?%%EOF??? \\("), std::string::npos) << eps.substr(0, 400);
    EXPECT_EQ(countOf(eps, "\n%%EOF"), 1U);
    std::size_t longest = 0;
    for (std::size_t at = 0; at < eps.size();) {
        const std::size_t end = eps.find('\n', at);
        longest = std::max(longest, end - at);
        at = end + 1;
    }
    EXPECT_LE(longest, 255U);
}

TEST(PostScriptWriter, GhostscriptPaintsItAtItsScale) {
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivSheet sheet = halfScaleSheet();
    ASSERT_TRUE(kivReadPens("all=1mm", &sheet));
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areas.clear();
    drawing.strokes.resize(1);
    for (const KivDrawingFormat format : {KivDrawingFormat::eps, KivDrawingFormat::ps}) {
        const std::array<int, 4> bounds =
            painted(folder, "a.ps", written(drawing, format, sheet), "-dEPSCrop").bounds();
        EXPECT_NEAR(bounds[2] - bounds[0], 510, 2);
        EXPECT_NEAR(bounds[3] - bounds[1], 510, 2);
        EXPECT_NEAR(bounds[0] + bounds[2], 2100, 8);
    }
}

TEST(PostScriptWriter, HoldsTheSameOperatorsAsPdf) {
    const std::string eps = written(sampleDrawing(), KivDrawingFormat::eps);
    EXPECT_EQ(countOf(eps, "\nS\n"), 5U);
    EXPECT_EQ(countOf(eps, " c\n"), 12U);
    EXPECT_EQ(countOf(eps, "BDC"), 0U);
    // A colour that was changed for an area is set again for the next stroke, as there is one for both.
    EXPECT_GT(eps.find("0 0 0 RG"), eps.find("0.8 0.4 0.2 rg"));
}

// PostScript has one colour for lines and areas: that of a rim is gone when the next area has been filled.
TEST(PostScriptWriter, AStrokeHasItsColourAfterAnAreaOfAnother) {
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areaRim = 0.5;
    drawing.areas[0].color = 0; // as the strokes
    drawing.areas.push_back(drawing.areas[0]);
    drawing.areas[1].color = 0x0000FF;
    drawing.areas[1].opacity = 0.5; // without a rim
    const std::string eps = written(drawing, KivDrawingFormat::eps);
    const std::size_t area = eps.find("1 0.5 0.5 rg");
    ASSERT_NE(area, std::string::npos);
    EXPECT_NE(eps.find("0 0 0 RG", area), std::string::npos);
}

TEST(PageWriters, TheLocaleChangesNothing) {
    const std::string pdf = written(sampleDrawing(), KivDrawingFormat::pdf, halfScaleSheet());
    const std::string ps = written(sampleDrawing(), KivDrawingFormat::ps, halfScaleSheet());
    const CommaLocale locale;
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::pdf, halfScaleSheet()), pdf);
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::ps, halfScaleSheet()), ps);
}
