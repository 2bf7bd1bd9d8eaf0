#include "kivrender/dialogs/kivdialog.h"

#include "support/recordingtoolkit.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

TEST(KivDialog, HasNoWindowWithoutAToolkit) {
    KivDialog dialog(19014);
    EXPECT_EQ(dialog.Create(19014, nullptr), 0);
    EXPECT_EQ(dialog.getWindow(), nullptr);
    EXPECT_EQ(dialog.DestroyWindow(), 0);
    dialog.redraw();
    dialog.setControlText(7, L"text");
    EXPECT_EQ(dialog.getControlText(7), L"");
}

TEST(KivDialog, HasTheWindowOfItsTemplate) {
    RecordingToolkit toolkit;
    auto dialog = std::make_unique<KivDialog>(1U);
    EXPECT_EQ(dialog->getWindow(), nullptr) << "not before it is asked for";
    EXPECT_NE(dialog->Create(19014, nullptr), 0);
    EXPECT_EQ(toolkit.templates, std::vector<unsigned int>{19014U});
    EXPECT_EQ(dialog->getTemplateId(), 19014U);
    ASSERT_NE(dialog->getWindow(), nullptr);
    dialog->setControlText(7, L"text");
    EXPECT_EQ(dialog->getControlText(7), L"text");
    dialog->redraw();
    EXPECT_EQ(toolkit.windows[0]->redraws, 1);
    EXPECT_NE(dialog->Create(2, nullptr), 0);
    EXPECT_FALSE(toolkit.windows[0]->exists) << "a dialog has one window at a time";
    EXPECT_TRUE(toolkit.windows[1]->exists);
    EXPECT_NE(dialog->DestroyWindow(), 0);
    EXPECT_FALSE(toolkit.windows[1]->exists);
    EXPECT_EQ(dialog->DestroyWindow(), 0);
    dialog->Create(3, nullptr);
    dialog.reset();
    EXPECT_FALSE(toolkit.windows[2]->exists) << "the window goes with its dialog";
}

TEST(KivDialog, KnowsItsParentAndTheModuleOfItsTemplates) {
    RecordingToolkit toolkit;
    KivDialog owner(1U);
    owner.Create(1, nullptr);
    auto* const module = reinterpret_cast<HINSTANCE>(&toolkit);
    KivDialog dialog(2U, owner.getWindow(), module);
    EXPECT_EQ(dialog.getParent(), owner.getWindow());
    EXPECT_EQ(dialog.getResources(), module);
}

} // namespace
