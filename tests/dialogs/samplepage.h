// A page with one number behind one control, and a shader that shows such pages.
#ifndef TESTS_DIALOGS_SAMPLEPAGE_H
#define TESTS_DIALOGS_SAMPLEPAGE_H

#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/settings/kivpagesettings.h"
#include "support/plainshader.h"

#include <cstdint>
#include <string>
#include <utility>

inline constexpr int samplePageControl = 7;

// Stands for a dialog, of which no more than its identity matters here.
class DialogToken {
public:
    KivPropertiesDlg* get() {
        return reinterpret_cast<KivPropertiesDlg*>(&place);
    }

private:
    int place = 0;
};

class SampleSettings : public KivPageSettings {
public:
    explicit SampleSettings(std::wstring sectionName) : name(std::move(sectionName)) {}

    const wchar_t* getSectionName() const override {
        return name.c_str();
    }
    void reservedSlot() override {}
    void saveSettings() override {
        dataManager->saveInt(value);
        dataManager->saveCurrentVaried(false);
    }
    bool loadSettings() override {
        value = dataManager->loadInt();
        return true;
    }
    bool save(const wchar_t* section, const wchar_t* file) override {
        return KivConfigFile(file).write(section, name.c_str(), static_cast<std::uint32_t>(value));
    }
    bool load(const wchar_t* section, const wchar_t* file) override {
        std::uint32_t number = 0;
        KivConfigFile(file).read(section, name.c_str(), number, 0);
        value = static_cast<int>(number);
        return loads;
    }

    std::wstring name;
    int value = 0;
    bool loads = true;
};

class SamplePage : public KivPageDlg {
public:
    explicit SamplePage(const std::wstring& sectionName) : KivPageDlg(100), own(sectionName) {
        settings = &own;
    }
    void saveControls() override {
        ++savedControls;
        if (getWindow() != nullptr && !getControlText(samplePageControl).empty()) {
            own.value = std::stoi(getControlText(samplePageControl));
        }
    }
    void loadControls() override {
        ++loadedControls;
        setControlText(samplePageControl, std::to_wstring(own.value));
    }

    SampleSettings own;
    int savedControls = 0;
    int loadedControls = 0;
};

class ShaderWithPages : public PlainCombinable {
public:
    ShaderWithPages() : PlainCombinable(nullptr, L"Sample", L"Test sample") {}
    using KivShader::createPage;
    using KivShader::loadPreviewSettingsFromPages;
    bool saveDefaultData(KivDataManager* manager) override {
        manager->saveString(L"defaults");
        manager->saveCurrentVaried(false);
        return defaultsSave;
    }

    bool defaultsSave = true;
};

#endif
