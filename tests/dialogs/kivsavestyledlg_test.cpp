#include "kivrender/dialogs/kivsavestyledlg.h"

#include "support/recordingtoolkit.h"

#include <gtest/gtest.h>

namespace {

// A desktop whose user types a name into whatever opens and presses one button.
class TypingToolkit : public RecordingToolkit {
public:
    int button = kivControlOk;

    std::unique_ptr<KivWindow> createWindow(HINSTANCE resources, unsigned int id, HWND parent) override {
        auto window = RecordingToolkit::createWindow(resources, id, parent);
        WindowRecord* const user = windows.back().get();
        user->modal = [this, user] {
            user->type(KivSaveStyleDlg::nameField, L"typed");
            user->click(button);
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

} // namespace
