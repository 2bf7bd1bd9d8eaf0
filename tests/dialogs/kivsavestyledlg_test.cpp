#include "kivrender/dialogs/kivsavestyledlg.h"

#include "support/recordingtoolkit.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

// A desktop whose user types a name into whatever opens and presses one button.
class TypingToolkit : public RecordingToolkit {
public:
    int button = kivControlOk;
    bool again = false; // presses it a second time

    std::unique_ptr<KivWindow> createWindow(HINSTANCE resources, unsigned int id, HWND parent) override {
        auto window = RecordingToolkit::createWindow(resources, id, parent);
        WindowRecord* const user = windows.back().get();
        user->modal = [this, user] {
            user->type(KivSaveStyleDlg::nameField, L"typed");
            user->click(button);
            if (again) {
                user->click(button);
            }
            return 0;
        };
        return window;
    }
};

TEST(KivSaveStyleDlg, GivesTheNameWhenConfirmed) {
    TypingToolkit toolkit;
    KivSaveStyleDlg dialog;
    EXPECT_EQ(dialog.name, L"");
    EXPECT_EQ(dialog.DoModal(), kivControlOk);
    EXPECT_EQ(dialog.name, L"typed");
    EXPECT_FALSE(toolkit.windows[0]->exists);
}

TEST(KivSaveStyleDlg, LeavesTheNameWhenCancelled) {
    TypingToolkit toolkit;
    toolkit.button = kivControlCancel;
    KivSaveStyleDlg dialog;
    dialog.name = L"before";
    EXPECT_EQ(dialog.DoModal(), kivControlCancel);
    EXPECT_EQ(dialog.name, L"before");
}

TEST(KivSaveStyleDlg, IsCancelledWithoutADesktop) {
    KivSaveStyleDlg dialog;
    EXPECT_EQ(dialog.DoModal(), kivControlCancel);
    EXPECT_EQ(dialog.name, L"");
}

// The user presses OK with a bad name, reads what is wrong, and writes another one.
TEST(KivSaveStyleDlg, StaysOpenAndTellsUntilTheNameWillDo) {
    TypingToolkit toolkit;
    KivSaveStyleDlg dialog;
    std::vector<std::wstring> asked;
    dialog.objection = [&](const std::wstring& name) {
        asked.push_back(name);
        if (asked.size() == 1) {
            toolkit.windows[0]->type(KivSaveStyleDlg::nameField, L"better");
            return std::wstring(L"not this one");
        }
        return std::wstring();
    };
    toolkit.again = true;
    EXPECT_EQ(dialog.DoModal(), kivControlOk);
    EXPECT_EQ(dialog.name, L"better");
    EXPECT_EQ(asked, (std::vector<std::wstring>{L"typed", L"better"}));
    ASSERT_EQ(toolkit.messages.size(), 1U);
    EXPECT_EQ(toolkit.messages[0].text, L"not this one");
    EXPECT_NE(toolkit.messages[0].owner, nullptr) << "over the dialog, which is still there";
}

TEST(KivSaveStyleDlg, ABadNameCanBeGivenUp) {
    TypingToolkit toolkit;
    toolkit.button = kivControlCancel;
    KivSaveStyleDlg dialog;
    dialog.objection = [](const std::wstring&) { return std::wstring(L"never"); };
    EXPECT_EQ(dialog.DoModal(), kivControlCancel);
    EXPECT_TRUE(toolkit.messages.empty());
}

} // namespace
