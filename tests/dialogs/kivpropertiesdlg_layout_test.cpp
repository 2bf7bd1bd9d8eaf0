#include "dialogs/propertiesfixture.h"

#include <map>

namespace {

using Rectangles = std::map<int, std::vector<int>>; // left, top, right, bottom of each control

Rectangles placed(const WindowRecord& user) {
    Rectangles all;
    for (const auto& [control, place] : user.rectangles) {
        all[control] = {place.left, place.top, place.right, place.bottom};
    }
    return all;
}

class KivPropertiesDlgLayout : public KivPropertiesDlgTest {
protected:
    // That of the usual template, by where its three columns end and its two buttons begin.
    static Rectangles layout(int outer, int inner, int save, int remove) {
        return {
            {Dlg::saveStyleButton, {save, 3, save + 26, 29}}, {Dlg::removeStyleButton, {remove, 3, remove + 26, 29}},
            {Dlg::stylesCombo, {8, 34, outer, 55}},           {Dlg::groupFrame, {8, 61, outer, 175}},
            {Dlg::nonCombinableBox, {16, 75, inner, 87}},     {Dlg::nonCombinableTree, {16, 91, inner, 141}},
            {Dlg::combinableTree, {16, 145, inner, 167}},     {Dlg::pagesTab, {8, 182, outer, 422}}};
    }
};

TEST_F(KivPropertiesDlgLayout, ControlsStandAtFixedPlacesInEachWidth) {
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.rectangles.empty()) << "the template's places, until the size changes";
    // 0.9534 times the width is 190.68, 286.02, 285.0666, 953.4, 61.971: the numbers behind the point are cut off after
    // the subtraction.
    user.resize({200, 500});
    EXPECT_EQ(placed(user), layout(192, 184, 131, 164));
    user.resize({300, 10});
    EXPECT_EQ(placed(user), layout(292, 284, 227, 260)) << "the height does not matter";
    user.resize({299, 500});
    EXPECT_EQ(placed(user), layout(291, 283, 226, 259));
    user.resize({1000, 500});
    EXPECT_EQ(placed(user), layout(992, 984, 894, 927));
    user.resize({65, 500});
    EXPECT_EQ(placed(user), layout(57, 49, 2, 35));
}

TEST_F(KivPropertiesDlgLayout, AWindowNarrowerThanItsMarginsLeavesNoWidth) {
    WindowRecord& user = open(&stream);
    user.resize({31, 500}); // 29.5554
    Rectangles expected = layout(23, 16, -29, 3);
    EXPECT_EQ(placed(user), expected);
    user.resize({0, 0});
    EXPECT_EQ(placed(user), layout(8, 16, -59, -26));
}

TEST_F(KivPropertiesDlgLayout, TheOtherTemplateIsLeftAlone) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream, Dlg::fixedDataTemplate);
    KivTestAccess::shownPage(dialog)->getWindow()->show(false);
    user.controls[Dlg::pagesTab].page = nullptr;
    user.resize({300, 500});
    EXPECT_TRUE(user.rectangles.empty());
    EXPECT_EQ(user.at(Dlg::pagesTab).page, nullptr);
}

TEST_F(KivPropertiesDlgLayout, ASizeThatChangesDuringAnUpdateIsNotLost) {
    WindowRecord& user = open(&stream);
    KivTestAccess::whileUpdating(dialog, [&user] { user.resize({300, 500}); });
    EXPECT_EQ(placed(user), layout(292, 284, 227, 260));
}

TEST_F(KivPropertiesDlgLayout, ThePageOfTheBaseLookIsPlacedAndShownAgain) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    KivWindow* const page = paint.getPage(&dialog, 1)->getWindow();
    page->show(false);
    user.controls[Dlg::pagesTab].page = nullptr;
    user.resize({300, 500});
    EXPECT_EQ(user.at(Dlg::pagesTab).page, page);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{paint.getPage(&dialog, 1)});
}

TEST_F(KivPropertiesDlgLayout, NoPageIsShownOverThatOfAnotherShader) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 2));
    KivWindow* const page = lines.getPage(&dialog, 0)->getWindow();
    ASSERT_EQ(user.at(Dlg::pagesTab).page, page);
    user.resize({300, 500});
    EXPECT_EQ(user.at(Dlg::pagesTab).page, page);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{lines.getPage(&dialog, 0)});
}

TEST_F(KivPropertiesDlgLayout, WithoutABaseLookNoPageIsTouched) {
    writeStream(stream, L"", L"", L"Lines;");
    WindowRecord& user = open(&stream);
    user.controls[Dlg::pagesTab].page = nullptr;
    user.resize({300, 500});
    EXPECT_EQ(user.at(Dlg::pagesTab).page, nullptr);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{lines.getPage(&dialog, 0)});
}

TEST_F(KivPropertiesDlgLayout, AClosedDialogShowsNoPageAtAnotherSize) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.click(kivControlCancel));
    user.resize({300, 500});
    EXPECT_EQ(placed(user), layout(292, 284, 227, 260));
    EXPECT_TRUE(shownPages().empty());
}

} // namespace
