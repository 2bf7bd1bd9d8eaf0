#include "kivrender/vector/pagetext.h"

#include <gtest/gtest.h>

namespace {

std::string changed(PageText::Format format, std::string text) {
    PageText(format).change(text);
    return text;
}

} // namespace

TEST(PageText, DatesAreBlankedOutAtTheSameLength) {
    EXPECT_EQ(changed(PageText::Format::svg, "<desc>\nFor: p\nCreationDate: Sat Nov 21 05:41:18 2026\n</desc>\n"),
              "<desc>\nFor: p\n" + std::string(38, ' ') + "\n</desc>\n");
    EXPECT_EQ(changed(PageText::Format::postScript, "%!PS\n%%CreationDate: Sat Nov\n%%Pages: 1\n"),
              "%!PS\n%" + std::string(22, ' ') + "\n%%Pages: 1\n");
    EXPECT_EQ(changed(PageText::Format::pdf, "<<\n/Producer (p)\n/CreationDate (D:20261121054118)\n>>\nendobj\n"),
              "<<\n/Producer (p)\n" + std::string(32, ' ') + "\n>>\nendobj\n");
    EXPECT_EQ(changed(PageText::Format::pdf, "nothing of the kind"), "nothing of the kind");
    EXPECT_EQ(changed(PageText::Format::pdf, "/CreationDate (D:2026").size(), 21U);
    EXPECT_EQ(changed(PageText::Format::svg, ""), "");
}

TEST(PageText, OnlyTheHeadHasADate) {
    PageText text(PageText::Format::svg);
    std::string head = "<svg>\n";
    text.change(head);
    std::string later = "<text>CreationDate: 1</text>\n";
    text.change(later);
    EXPECT_EQ(later, "<text>CreationDate: 1</text>\n");
}

TEST(PageText, SvgCountsInPixels) {
    EXPECT_EQ(changed(PageText::Format::svg,
                      "width=\"200pt\" height=\"160pt\" viewBox=\"0 0 200 160\">\n<text>3pt\"</text>\n"),
              "width=\"200px\" height=\"160px\" viewBox=\"0 0 200 160\">\n<text>3pt\"</text>\n");
}

TEST(PageText, AreasOfSvgHaveARimOfTheirColour) {
    PageText text(PageText::Format::svg);
    std::string head = "</defs>\n<polygon fill=\"#000000\" points=\"0,0 9,0\"/>\n<g>\n";
    text.change(head);
    EXPECT_EQ(head, "</defs>\n<polygon fill=\"#000000\" points=\"0,0 9,0\"/>\n<g stroke-width=\"0.5\" "
                    "stroke-linejoin=\"round\">\n");
    std::string areas =
        "<polygon fill=\"#d4544a\" shape-rendering=\"crispEdges\" points=\"1,2 3,4 5,6\"/>\n"
        "<polygon fill=\"#00ff00\" fill-opacity=\"0.5\" shape-rendering=\"crispEdges\" points=\"1,2\"/>\n"
        "<polyline fill=\"none\" stroke=\"#ff0000\" points=\"50,150 150,150\"/>\n"
        "<polygon fill=\"#123456\" shape-rendering=\"crispEdges\" points=\"7,8\"/>\n";
    text.change(areas);
    EXPECT_EQ(areas, "<polygon fill=\"#d4544a\" stroke=\"#d4544a\" points=\"1,2 3,4 5,6\"/>\n"
                     "<polygon fill=\"#00ff00\" fill-opacity=\"0.5\" shape-rendering=\"crispEdges\" points=\"1,2\"/>\n"
                     "<polyline fill=\"none\" stroke=\"#ff0000\" points=\"50,150 150,150\"/>\n"
                     "<polygon fill=\"#123456\" stroke=\"#123456\" points=\"7,8\"/>\n");
}

TEST(PageText, SvgThatIsCutOffStaysAsItIs) {
    for (const std::string cut : {"<polygon fill=\"#d45", "<polygon fill=\"#d4544a\"", "<polygon fill=\""}) {
        EXPECT_EQ(changed(PageText::Format::svg, cut), cut);
    }
}

TEST(PageText, AreasOfPostScriptHaveARim) {
    const std::string text = changed(PageText::Format::postScript,
                                     "/T  { newpath moveto lineto lineto closepath fill } BD\n1 2 3 4 5 6 T\n");
    EXPECT_NE(text.find("gsave fill 0.5 setlinewidth"), std::string::npos);
    EXPECT_TRUE(text.ends_with("\n1 2 3 4 5 6 T\n"));
}
