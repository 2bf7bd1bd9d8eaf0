// A properties dialog over the plug-ins as they are loaded, in windows that are played.
#ifndef TESTS_SHADERS_PAGES_PAGESFIXTURE_H
#define TESTS_SHADERS_PAGES_PAGESFIXTURE_H

#include "formtoolkit.h"
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/settings/kivaveragedatamanager.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshadersettings.h"
#include "support/rawrandom.h"
#include "support/testhost.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

class ShaderPages : public testing::Test {
protected:
    using Dlg = KivPropertiesDlg;
    static constexpr int firstControl = 1000;
    static constexpr int defaultsButton = 999;
    static constexpr unsigned int previewDelay = Dlg::previewDelay;

    ShaderPages() {
        KivShader::loadShaders(kivFromUtf8(SELVARIN_BIN_DIR "/shaders").c_str());
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        // Here, as a shader has room for the pages of two dialogs.
        for (KivShader* const shader : shaders()) {
            shader->createPages(nullptr, nullptr);
            initial.push_back(dynamic_cast<KivTablePageSettings&>(*shader->getPage(nullptr, 0)->getSettings()));
            shader->destroyPages(nullptr);
        }
    }
    ~ShaderPages() override {
        dialog.DestroyWindow();
        KivShader::unLoadAll();
    }

    // In the order of the table, which is that of their blocks in a stream.
    static constexpr std::size_t cartoonAt = 1;
    static constexpr std::size_t sketchAt = 4;
    static std::vector<KivShader*> shaders() {
        std::vector<KivShader*> all;
        for (const wchar_t* const tag : {L"Backdrop", L"Cartoon", L"Halftone", L"Outline", L"Sketch"}) {
            all.push_back(KivShader::getByTag(tag));
        }
        return all;
    }
    static HINSTANCE moduleOf(KivShader& shader) {
        int count = 0;
        const KivSettingInfo* const table = kivShaderSettings(&shader, &count);
        return kivModuleOf(table);
    }
    static std::string_view formOf(KivShader& shader) {
        return kivFindResource(moduleOf(shader), KivResourceKind::dialog, 1);
    }
    // One row for each shader, at the defaults.
    std::vector<KivTablePageSettings> defaults() const {
        return initial;
    }
    static double randomValue(const KivSettingInfo& info, RawRandom& random) {
        switch (info.type) {
        case KivSettingType::Bool:
            return random.below(2);
        case KivSettingType::Choice:
            return random.below(static_cast<unsigned int>(kivNumChoices(info)));
        case KivSettingType::Colour:
            return random.below(0x1000000);
        case KivSettingType::Int:
        case KivSettingType::Double:
            break;
        }
        return kivClampSetting(info, random.between(info.minimum, info.maximum));
    }
    // A whole stream: Cartoon as the base, the other three added to it.
    static void write(KivDataManager& manager, std::vector<KivTablePageSettings> all) {
        manager.clearData();
        manager.setSaving();
        for (const wchar_t* const line :
             {L"Style:", L"NonCombinableShader:Cartoon", L"CombinableShader:Backdrop;Halftone;Outline;Sketch;"}) {
            manager.saveString(line);
            manager.saveCurrentVaried(false);
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
            manager.startShader(shaders()[i]->getTag());
            all[i].setDataManager(&manager);
            all[i].saveData();
            manager.endShader();
        }
        manager.saveString(L"End Morvane");
        manager.saveCurrentVaried(false);
    }
    std::vector<KivTablePageSettings> read(KivDataManager& manager) {
        std::vector<KivTablePageSettings> all = defaults();
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_TRUE(manager.setLoading());
            EXPECT_TRUE(manager.startShader(shaders()[i]->getTag()));
            all[i].setDataManager(&manager);
            all[i].loadData();
            EXPECT_TRUE(all[i].isLoaded());
        }
        return all;
    }
    void open(KivDataManager& manager) {
        ASSERT_NE(dialog.Create(&manager, &settings, Dlg::propertiesTemplate, nullptr), 0);
    }
    WindowRecord& dialogWindow() {
        return *toolkit.windows.at(0);
    }
    KivTablePageSettings& values(KivShader* shader) {
        return dynamic_cast<KivTablePageSettings&>(*shader->getPage(&dialog, 0)->getSettings());
    }
    // The shown page's record: pages have the title of their form, and no two shaders share one.
    WindowRecord& pageWindow(KivShader* shader) {
        for (const auto& window : toolkit.windows) {
            if (window->exists && window->title == shader->getName()) {
                return *window;
            }
        }
        ADD_FAILURE() << "no window";
        return dialogWindow();
    }
    // A user's hand on the control of a setting, who leaves that value there.
    void work(KivShader* shader, int index, double value) {
        const KivSettingInfo info = values(shader).getInfo(index);
        WindowRecord& user = pageWindow(shader);
        const int control = firstControl + index;
        switch (info.type) {
        case KivSettingType::Bool:
            for (int clicks = 0; clicks < 2 && (user.at(control).varied || user.at(control).check != value); ++clicks) {
                EXPECT_TRUE(user.clickCheck(control));
            }
            break;
        case KivSettingType::Choice:
            EXPECT_TRUE(user.choose(control, static_cast<int>(value)));
            break;
        case KivSettingType::Colour:
            toolkit.pickedColor = static_cast<std::uint32_t>(value);
            EXPECT_TRUE(user.click(control));
            toolkit.pickedColor.reset();
            break;
        case KivSettingType::Int:
        case KivSettingType::Double:
            EXPECT_TRUE(user.type(control, kivFromUtf8(kivFormatSetting(info, value))));
            break;
        }
    }

    TestHost host;
    FormToolkit toolkit;
    KivCommonSettings settings;
    KivMemoryDataManager stream;
    KivPropertiesDlg dialog;

private:
    std::vector<KivTablePageSettings> initial;
};

#endif
