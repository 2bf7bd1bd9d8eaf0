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

// Writes down what it is told.
class ListeningDialog : public KivDialog {
public:
    using KivDialog::KivDialog;
    std::vector<KivControlEvent> events;

protected:
    void onControl(const KivControlEvent& event) override {
        events.push_back(event);
    }
};

TEST(KivDialog, HearsWhatHappensToItsControls) {
    RecordingToolkit toolkit;
    ListeningDialog dialog(1U);
    dialog.Create(1, nullptr);
    WindowRecord& user = *toolkit.windows[0];
    dialog.getWindow()->insertItem(5, -1, L"a", -1);
    dialog.getWindow()->setCheckable(5);
    EXPECT_TRUE(user.type(3, L"text"));
    EXPECT_TRUE(user.toggle(5, 0));
    ASSERT_EQ(dialog.events.size(), 3U);
    EXPECT_EQ(dialog.events[0].change, KivControlChange::focused);
    EXPECT_EQ(dialog.events[1].change, KivControlChange::edited);
    EXPECT_EQ(dialog.events[1].control, 3);
    EXPECT_EQ(dialog.events[2].change, KivControlChange::checkToggle);
    EXPECT_EQ(dialog.events[2].item, 0);
    EXPECT_TRUE(dialog.getWindow()->isItemChecked(5, 0));
    dialog.getWindow()->enableControl(3, false);
    ASSERT_EQ(dialog.events.size(), 4U);
    EXPECT_EQ(dialog.events[3].change, KivControlChange::left) << "it had the keyboard";
    EXPECT_FALSE(user.type(3, L"more")) << "a disabled control takes nothing";
    EXPECT_EQ(dialog.events.size(), 4U);
    dialog.DestroyWindow();
    user.tell(3, KivControlChange::clicked);
    EXPECT_EQ(dialog.events.size(), 4U) << "a window that is gone tells nothing";
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
