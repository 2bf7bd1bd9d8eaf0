// A plug-in that throws from its pages, or from anything else that a dialog asks of it: the dialog goes on.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivstylefile.h"
#include "support/hostileshader.h"
#include "support/recordingtoolkit.h"
#include "support/testhost.h"
#include "support/testshader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::Contains;
using testing::HasSubstr;

class HostilePages : public testing::TestWithParam<const char*> {
protected:
    HostilePages() {
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        HostileShader::install(plugins.path(), "hostile");
        HostileShader::install(plugins.path(), "add-hostile");
        TestShader::install(plugins.path(), {"plain"});
        EXPECT_EQ(KivShader::loadShaders(plugins.wide().c_str()), 3U);
    }
    ~HostilePages() override {
        throwFrom("");
        dialog.DestroyWindow();
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->destroyPages(nullptr);
        }
        KivShader::unLoadAll();
    }
    void throwFrom(const std::string& slot) {
        for (const char* const name : {"hostile.so", "add-hostile.so"}) {
            HostileShader::of(plugins.path() / name).slot = slot;
        }
    }
    int thrown() {
        return HostileShader::of(plugins.path() / "hostile.so").thrown +
               HostileShader::of(plugins.path() / "add-hostile.so").thrown;
    }
    void writeStream(KivDataManager& manager) {
        manager.setSaving();
        for (const wchar_t* const text :
             {L"Style:", L"NonCombinableShader:hostile", L"CombinableShader:add-hostile;"}) {
            manager.saveString(text);
            manager.saveCurrentVaried(false);
        }
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->saveData(&manager, nullptr);
        }
        manager.saveString(L"End Morvane");
        manager.saveCurrentVaried(false);
    }
    // All that a user and a host do with a dialog.
    void useDialog() {
        KivMemoryDataManager stream;
        writeStream(stream);
        dialog.Create(&stream, &settings, KivPropertiesDlg::propertiesTemplate, nullptr);
        dialog.setData(&stream);
        for (const auto& window : std::vector(toolkit.windows)) {
            for (const int control : {7, int{KivPropertiesDlg::nonCombinableBox}, int{KivPropertiesDlg::previewBox}}) {
                window->tell(control, KivControlChange::clicked);
            }
            window->tell(KivPropertiesDlg::nonCombinableTree, KivControlChange::selected);
            window->tell(KivPropertiesDlg::combinableTree, KivControlChange::checkToggle, 0);
            window->tell(KivPropertiesDlg::pagesTab, KivControlChange::selected);
        }
        dialog.saveData();
        kivSaveStyle(plugins.wide("some.kiv"), {L"hostile", {L"add-hostile"}}, &dialog);
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader* const shader = KivShader::getByIndex(i);
            shader->loadDataFromStyle(plugins.wide("some.kiv").c_str(), &dialog);
            shader->loadData(&stream, nullptr);
            shader->destroyPages(&dialog);
        }
        dialog.DestroyWindow();
    }

    TempFolder plugins;
    TestHost host;
    RecordingToolkit toolkit;
    KivCommonSettings settings;
    KivPropertiesDlg dialog{nullptr};
};

TEST_P(HostilePages, EndNothingButWhatWasAskedOfThem) {
    throwFrom(GetParam());
    EXPECT_NO_THROW(useDialog());
    EXPECT_GT(thrown(), 0) << GetParam() << " was not reached";
    const std::string reason = std::string("thrown from ") + GetParam();
    if (std::string_view(GetParam()) != "getTag") { // which is asked for in lookups alone, and then nothing matches
        std::vector<std::string> messages;
        for (const std::wstring& message : host.messages) {
            messages.push_back(kivToUtf8(message));
        }
        EXPECT_THAT(messages, Contains(HasSubstr("/hostile.so has failed: " + reason)));
    }
    throwFrom("");
    host.messages.clear();
    EXPECT_NO_THROW(useDialog());
    EXPECT_TRUE(host.messages.empty());
}

INSTANTIATE_TEST_SUITE_P(Slots, HostilePages,
                         testing::Values("getName", "getTag", "isCombinable", "createPages", "saveDefaultData",
                                         "saveControls", "loadControls", "saveSettings", "loadSettings", "save", "load",
                                         "DestroyWindow", "onControl", "getPreviewBitmap"),
                         [](const auto& each) { return std::string(each.param); });

} // namespace
