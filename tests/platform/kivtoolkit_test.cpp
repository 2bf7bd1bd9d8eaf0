#include "kivrender/platform/kivtoolkit.h"

#include "kivrender/platform/kivwindow.h"

#include <gtest/gtest.h>

namespace {

class OneAnswer : public KivToolkit {
public:
    int showMessage(HWND, const std::wstring&, const std::wstring&, KivMessageKind) override {
        return 99;
    }
    bool pickColor(HWND, std::uint32_t&) override {
        return true;
    }
    bool pickFile(KivFileRequest&) override {
        return true;
    }
    bool pickFolder(HWND, const std::wstring&, std::wstring&) override {
        return true;
    }
    unsigned int startTimer(unsigned int, std::function<void()>) override {
        return 1;
    }
    void stopTimer(unsigned int) override {}
    std::unique_ptr<KivWindow> createWindow(HINSTANCE, unsigned int, HWND) override {
        return nullptr;
    }
};

} // namespace

TEST(KivToolkit, MessagesGoToStandardErrorWithoutADesktop) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(KivToolkit::get().showMessage(nullptr, L"The file is Grün.", L"Selvarin", KivMessageKind::Error),
              kivAnswerOk);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Selvarin: The file is Gr\xC3\xBCn.\n");

    testing::internal::CaptureStderr();
    EXPECT_EQ(KivToolkit::get().showMessage(nullptr, L"Delete it?", L"", KivMessageKind::Question), kivAnswerNo);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Delete it?\n");
}

TEST(KivToolkit, PickersAreCancelledWithoutADesktop) {
    std::uint32_t color = 0x123456;
    EXPECT_FALSE(KivToolkit::get().pickColor(nullptr, color));
    EXPECT_EQ(color, 0x123456U);
    KivFileRequest request;
    request.file = L"kept";
    EXPECT_FALSE(KivToolkit::get().pickFile(request));
    EXPECT_EQ(request.file, L"kept");
    std::wstring folder = L"kept";
    EXPECT_FALSE(KivToolkit::get().pickFolder(nullptr, L"title", folder));
    EXPECT_EQ(folder, L"kept");
}

TEST(KivToolkit, NoTimersAndWindowsWithoutADesktop) {
    bool fired = false;
    EXPECT_EQ(KivToolkit::get().startTimer(1, [&] { fired = true; }), 0U);
    KivToolkit::get().stopTimer(0);
    EXPECT_FALSE(fired);
    EXPECT_EQ(KivToolkit::get().createWindow(nullptr, 1, nullptr), nullptr);
}

TEST(KivToolkit, InstallReturnsThePreviousOne) {
    OneAnswer first;
    OneAnswer second;
    EXPECT_EQ(KivToolkit::install(&first), nullptr);
    EXPECT_EQ(&KivToolkit::get(), &first);
    EXPECT_EQ(KivToolkit::get().showMessage(nullptr, L"", L"", KivMessageKind::Error), 99);
    EXPECT_EQ(KivToolkit::install(&second), &first);
    EXPECT_EQ(KivToolkit::install(nullptr), &second);
    EXPECT_EQ(KivToolkit::get().startTimer(1, [] {}), 0U); // our own again
}
