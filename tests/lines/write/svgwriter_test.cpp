#include "foreignprogram.h"
#include "sampledrawings.h"

#include "support/commalocale.h"
#include "support/xmltree.h"

#include <algorithm>
#include <map>
#include <set>

#include <gtest/gtest.h>

namespace {

XmlElement parsed(const KivVectorDrawing& drawing, const KivSheet& sheet = {}) {
    return XmlReader::read(written(drawing, KivDrawingFormat::svg, sheet));
}

std::map<std::string, XmlElement> byId(const XmlElement& root) {
    std::map<std::string, XmlElement> found;
    root.walk([&](const XmlElement& element) {
        const std::string id = element.attribute("id");
        if (!id.empty()) {
            EXPECT_TRUE(found.emplace(id, element).second) << "twice: " << id;
        }
    });
    return found;
}

std::string styleSheet(const XmlElement& root) {
    std::string text;
    root.walk([&](const XmlElement& element) { text += element.name == "style" ? element.text : std::string(); });
    return text;
}

std::size_t countPaths(const XmlElement& root) {
    std::size_t count = 0;
    root.walk([&](const XmlElement& element) { count += element.name == "path" ? 1 : 0; });
    return count;
}

} // namespace

TEST(SvgWriter, EachObjectIsAGroupWithItsKinds) {
    const XmlElement root = parsed(sampleDrawing());
    EXPECT_EQ(root.name, "svg");
    EXPECT_EQ(root.attribute("width"), "400px");
    EXPECT_EQ(root.attribute("viewBox"), "0 0 400 300");
    ASSERT_FALSE(root.children.empty());
    EXPECT_EQ(root.children[0].name, "title");
    EXPECT_EQ(root.children[0].text, "Two parts");

    const std::map<std::string, XmlElement> groups = byId(root);
    ASSERT_TRUE(groups.contains("plate"));
    const XmlElement& plate = groups.at("plate");
    EXPECT_EQ(plate.attribute("class"), "object plate");
    EXPECT_EQ(plate.attribute("inkscape:groupmode"), "layer");
    EXPECT_EQ(plate.attribute("inkscape:label"), "plate");
    ASSERT_EQ(plate.children.size(), 5U); // title, areas, hidden, contour, crease
    EXPECT_EQ(plate.children[0].text, "plate");
    EXPECT_EQ(plate.children[1].attribute("id"), "plate-areas");
    EXPECT_EQ(plate.children[2].attribute("id"), "plate-hidden");
    EXPECT_EQ(plate.children[3].attribute("class"), "contour");
    EXPECT_EQ(plate.children[4].attribute("class"), "crease");
    EXPECT_EQ(countPaths(plate), 4U);
    EXPECT_EQ(countPaths(groups.at("plate-hidden")), 1U);
    EXPECT_EQ(groups.at("ring").children.at(1).attribute("class"), "contour");
    EXPECT_EQ(countPaths(groups.at("other")), 1U);
}

TEST(SvgWriter, PathsAreWholeAndShort) {
    const std::map<std::string, XmlElement> groups = byId(parsed(sampleDrawing()));
    EXPECT_EQ(groups.at("plate-contour").children.at(0).attribute("d"), "M50 250h200v-200h-200z");
    EXPECT_EQ(groups.at("plate-crease").children.at(0).attribute("d"),
              "M190 150c0-22.09-17.91-40-40-40-22.09 0-40 17.91-40 40 0 22.09 17.91 40 40 40 22.09 0 40-17.91 40-40z");
    // One path with a hole.
    EXPECT_EQ(groups.at("plate-areas").children.size(), 1U);
    const std::string area = groups.at("plate-areas").children.at(0).attribute("d");
    EXPECT_EQ(std::count(area.begin(), area.end(), 'M'), 2);
    EXPECT_EQ(groups.at("other-line").children.at(0).attribute("d"), "M10 20h0");
}

TEST(SvgWriter, TheStyleSheetHasTheLookOfEachKind) {
    const std::string style = styleSheet(parsed(sampleDrawing()));
    EXPECT_NE(style.find("\n.contour{stroke:#000;stroke-width:2}\n"), std::string::npos) << style;
    EXPECT_NE(style.find("\n.contour-2{stroke:#000;stroke-width:3}\n"), std::string::npos) << style;
    EXPECT_NE(style.find("\n.hidden-crease{stroke:#000;stroke-width:1;stroke-dasharray:11 4}\n"), std::string::npos)
        << style;
    EXPECT_NE(style.find("\n.tone-1{fill:#c63}\n"), std::string::npos) << style;
    EXPECT_NE(style.find("fill-rule:evenodd"), std::string::npos);
    const std::map<std::string, XmlElement> groups = byId(parsed(sampleDrawing()));
    EXPECT_EQ(groups.at("plate-contour").children.at(0).attribute("class"), "");
    EXPECT_EQ(groups.at("ring-contour").children.at(0).attribute("class"), "contour-2");
    EXPECT_EQ(groups.at("plate-areas").children.at(0).attribute("class"), "tone-1");
}

TEST(SvgWriter, HiddenLinesAsTheSheetWants) {
    KivSheet sheet;
    sheet.hidden = KivSheet::Hidden::thin;
    std::string style = styleSheet(parsed(sampleDrawing(), sheet));
    EXPECT_NE(style.find(".hidden-crease{stroke:#000;stroke-width:1}"), std::string::npos) << style;
    sheet.hidden = KivSheet::Hidden::none;
    const XmlElement root = parsed(sampleDrawing(), sheet);
    EXPECT_EQ(countPaths(root), 5U);
    EXPECT_EQ(styleSheet(root).find("hidden"), std::string::npos);
    EXPECT_FALSE(byId(root).contains("plate-hidden"));
}

TEST(SvgWriter, ManyLooksOfAKindAreStylesOfTheirOwn) {
    KivVectorDrawing drawing = sampleDrawing();
    for (int i = 0; i < 100; ++i) {
        drawing.strokes.push_back(drawing.strokes[0]);
        drawing.strokes.back().width = 4.0 + i;
    }
    const XmlElement root = parsed(drawing);
    EXPECT_LT(styleSheet(root).size(), 2000U);
    std::size_t styled = 0;
    root.walk([&](const XmlElement& element) {
        styled += element.attribute("style").find("stroke-width:") != std::string::npos ? 1 : 0;
    });
    EXPECT_GT(styled, 80U);
}

TEST(SvgWriter, AreasOfSeveralObjectsLieBelowAllLines) {
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areas.push_back(drawing.areas[0]);
    drawing.areas.back().object = 2;
    const XmlElement root = parsed(drawing);
    const std::map<std::string, XmlElement> groups = byId(root);
    ASSERT_TRUE(groups.contains("areas"));
    ASSERT_EQ(groups.at("areas").children.size(), 2U);
    EXPECT_EQ(groups.at("areas").children[1].attribute("class"), "ring");
    EXPECT_FALSE(groups.contains("plate-areas"));
    // Before the first object.
    const auto place = [&root](const std::string& id) {
        return std::find_if(root.children.begin(), root.children.end(),
                            [&id](const XmlElement& child) { return child.attribute("id") == id; });
    };
    EXPECT_LT(place("areas"), place("other"));
}

// Lines of the scene itself have the first number: they would lie below the only areas, and not be seen.
TEST(SvgWriter, AreasOfOneObjectLieBelowTheLinesOfAll) {
    const XmlElement root = parsed(sampleDrawing());
    std::vector<std::string> order;
    for (const XmlElement& child : root.children) {
        if (child.name == "g") {
            order.push_back(child.attribute("id"));
        }
    }
    EXPECT_EQ(order, (std::vector<std::string>{"plate", "other", "ring"}));
    KivVectorDrawing bare = sampleDrawing();
    bare.strokes.clear();
    EXPECT_EQ(countPaths(byId(parsed(bare)).at("plate-areas")), 1U) << "without a line of its own as well";
}

TEST(SvgWriter, AreasThatDoNotShareBordersHaveRims) {
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areaRim = 0.5;
    drawing.areas.push_back(drawing.areas[0]);
    drawing.areas.back().opacity = 0.5;
    const XmlElement root = parsed(drawing);
    EXPECT_NE(styleSheet(root).find("stroke-width:0.5"), std::string::npos);
    EXPECT_NE(styleSheet(root).find(".tone-1{fill:#c63;stroke:#c63}"), std::string::npos);
    const XmlElement areas = byId(root).at("plate-areas");
    EXPECT_EQ(areas.children[0].attribute("style"), "");
    EXPECT_EQ(areas.children[1].attribute("style"), "stroke:none;fill-opacity:0.5");
}

TEST(SvgWriter, ASheetIsInMillimetresAndAtItsScale) {
    const XmlElement root = parsed(sampleDrawing(), halfScaleSheet());
    EXPECT_EQ(root.attribute("width"), "210mm");
    EXPECT_EQ(root.attribute("height"), "297mm");
    EXPECT_EQ(root.attribute("viewBox"), "0 0 210 297");
    // The square of 100 units is 50 millimetres wide.
    const std::string d = byId(root).at("plate-contour").children.at(0).attribute("d");
    EXPECT_NE(d.find("h50v-50h-50z"), std::string::npos) << d;
}

TEST(SvgWriter, NamesOfAnyKindGiveAValidFile) {
    KivVectorDrawing drawing = sampleDrawing();
    const std::vector<std::wstring> names = {L"<script>alert('x')</script>",
                                             L"\"/><g onload=\"x",
                                             L"contour",
                                             L"hidden",
                                             L"areas",
                                             L"object",
                                             L"background",
                                             L"plate",
                                             L"plate-contour",
                                             L"\x01\x02\n",
                                             {wchar_t(0xD800), wchar_t(0xDC41), wchar_t(0x110000)},
                                             L"]]> --> ?>",
                                             L"&amp;",
                                             std::wstring(5000, L'x'),
                                             L""};
    drawing.title = L"</title>\x7" + std::wstring(1, wchar_t(0xDFFF));
    for (const std::wstring& name : names) {
        drawing.objects.push_back({name});
        drawing.strokes.push_back(drawing.strokes[0]);
        drawing.strokes.back().object = static_cast<std::uint32_t>(drawing.objects.size() - 1);
    }
    drawing.strokes.push_back(drawing.strokes[0]);
    drawing.strokes.back().object = 4000000000U;
    const XmlElement root = parsed(drawing);
    const std::map<std::string, XmlElement> groups = byId(root);
    std::set<std::string> labels;
    for (const auto& [id, group] : groups) {
        EXPECT_LE(id.size(), 100U);
        EXPECT_EQ(id.find_first_of(" \"<>&."), std::string::npos) << id;
        EXPECT_EQ(group.attribute("onload"), "");
        labels.insert(group.attribute("inkscape:label"));
    }
    EXPECT_TRUE(labels.contains("<script>alert('x')</script>"));
    // A name that is a rule's would give its look to all that the object has.
    EXPECT_EQ(groups.at("contour").attribute("class"), "object object-contour");
    EXPECT_TRUE(groups.contains("plate-2"));
    EXPECT_EQ(countPaths(root), 6U + names.size() + 1U);
}

TEST(SvgWriter, CirclesAndEllipsesAreSuch) {
    const std::string text = written(arcDrawing(), KivDrawingFormat::svg);
    EXPECT_NE(text.find("<circle cx=\"100\" cy=\"200\" r=\"40\"/>"), std::string::npos) << text;
    EXPECT_NE(text.find("<ellipse cx=\"250\" cy=\"200\" rx=\"60\" ry=\"20\" transform=\"rotate(-30 250 200)\"/>"),
              std::string::npos)
        << text;
    // From 30 to 150 degrees over the top, in two pieces.
    EXPECT_NE(text.find("d=\"M134.641 60A40 40 0 0 0 100 40A40 40 0 0 0 65.359 60\""), std::string::npos) << text;
    EXPECT_NE(text.find("d=\"M125.9808 65A30 30 0 0 1 125.9808 95A30 30 0 0 1 100 110\""), std::string::npos) << text;
    EXPECT_EQ(countPaths(parsed(arcDrawing())), 3U);
}

// Painted as it is and without a word about arcs.
TEST(SvgWriter, LibrsvgPaintsArcsWhereTheirPathsAre) {
    SKIP_WITHOUT("rsvg-convert");
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivVectorDrawing drawing = arcDrawing();
    std::vector<GreyPicture> pictures;
    for (const char* name : {"arcs", "paths"}) {
        folder.write(std::string(name) + ".svg", written(drawing, KivDrawingFormat::svg));
        const std::string file = folder.path(name);
        ASSERT_EQ(runForeign("rsvg-convert -f pdf -o " + file + ".pdf " + file + ".svg").status, 0);
        ASSERT_EQ(
            runForeign("gs -q -dSAFER -dBATCH -dNOPAUSE -dGraphicsAlphaBits=4 -sDEVICE=pgmraw -r192 -sOutputFile=" +
                       file + ".pgm " + file + ".pdf")
                .status,
            0);
        pictures.push_back(readPgm(folder.read(std::string(name) + ".pgm")));
        std::for_each(drawing.strokes.begin(), drawing.strokes.end(), [](KivStroke& stroke) { stroke.arc.reset(); });
    }
    ASSERT_EQ(pictures[0].values.size(), pictures[1].values.size());
    int dark = 0;
    int other = 0;
    for (std::size_t i = 0; i < pictures[0].values.size(); ++i) {
        dark += pictures[1].values[i] < 128 ? 1 : 0;
        other += std::abs(pictures[0].values[i] - pictures[1].values[i]) > 128 ? 1 : 0;
    }
    EXPECT_GT(dark, 2000);
    EXPECT_LT(other, dark / 100);
}

TEST(SvgWriter, TheLocaleAndTheRunChangeNothing) {
    const std::string plain = written(sampleDrawing(), KivDrawingFormat::svg);
    const CommaLocale locale;
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::svg), plain);
}

TEST(SvgWriter, LibrsvgPaintsItAtItsSize) {
    SKIP_WITHOUT("rsvg-convert");
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivSheet sheet = halfScaleSheet();
    ASSERT_TRUE(kivReadPens("all=1mm", &sheet));
    folder.write("a.svg", written(sampleDrawing(), KivDrawingFormat::svg, sheet));
    // As a page of its own size in points.
    ASSERT_EQ(runForeign("rsvg-convert -f pdf -o " + folder.path("a.pdf") + " " + folder.path("a.svg")).status, 0);
    ASSERT_EQ(runForeign("gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pgmraw -r254 -sOutputFile=" + folder.path("a.pgm") +
                         " " + folder.path("a.pdf"))
                  .status,
              0);
    const GreyPicture picture = readPgm(folder.read("a.pgm"));
    EXPECT_NEAR(picture.width, 2100, 2);
    EXPECT_NEAR(picture.height, 2970, 2);
    // 340 by 255 pixels of a quarter of a millimetre, and the width of the pen; in the middle of the page.
    const std::array<int, 4> bounds = picture.bounds();
    EXPECT_NEAR(bounds[2] - bounds[0], 860, 3);
    EXPECT_NEAR(bounds[3] - bounds[1], 585, 3);
    EXPECT_NEAR(bounds[0] + bounds[2], 2100, 3);
    EXPECT_NEAR(bounds[1] + bounds[3], 2970, 3);
}
