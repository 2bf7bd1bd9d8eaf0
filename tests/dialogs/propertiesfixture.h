// A properties dialog over four shaders with pages and two folders of styles, in a desktop that plays its user.
#ifndef TESTS_DIALOGS_PROPERTIESFIXTURE_H
#define TESTS_DIALOGS_PROPERTIESFIXTURE_H

#include "dialogs/shadertable.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivstylefile.h"
#include "support/recordingtoolkit.h"
#include "support/temphome.h"
#include "support/testhost.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

// Its styles are in two folders of its own.
class StyleHost : public TestHost {
public:
    bool getStyleFolder(Folder folder, wchar_t* out) override {
        if (folder == dataFolder) {
            return false;
        }
        kivCopyText(out, kivMaxPath, (folder == userFolder ? users : shared).wide("").c_str());
        return true;
    }

    ::TempFolder users;
    ::TempFolder shared;
};

class KivPropertiesDlgTest : public testing::Test {
protected:
    using Dlg = KivPropertiesDlg;

    KivPropertiesDlgTest() {
        KivTestAccess::setShaders({&paint, &wash, &lines, &dots});
        stream.setSaving();
    }
    ~KivPropertiesDlgTest() override {
        dialog.DestroyWindow();
        KivTestAccess::setShaders({});
    }

    // Writes a stream as the dialog does, with the first value of each page being its default.
    void writeStream(KivDataManager& manager, const std::wstring& style, const std::wstring& base,
                     const std::wstring& combinables) {
        manager.clearData();
        manager.setSaving();
        for (const std::wstring& line :
             {L"Style:" + style, L"NonCombinableShader:" + base, L"CombinableShader:" + combinables}) {
            manager.saveString(line.c_str());
            manager.saveCurrentVaried(false);
        }
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->saveData(&manager, nullptr);
        }
        manager.saveString(L"End Morvane");
        manager.saveCurrentVaried(false);
    }
    WindowRecord& open(KivDataManager* manager, unsigned int id = Dlg::propertiesTemplate) {
        EXPECT_NE(dialog.Create(manager, &settings, id, &parent), 0);
        const auto at = std::find(toolkit.templates.begin(), toolkit.templates.end(), id) - toolkit.templates.begin();
        return *toolkit.windows[static_cast<std::size_t>(at)];
    }
    // Those whose windows can be seen.
    std::vector<KivPageDlg*> shownPages() {
        std::vector<KivPageDlg*> shown;
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            for (unsigned int page = 0; KivPageDlg* const each = KivShader::getByIndex(i)->getPage(&dialog, page);
                 ++page) {
                if (record(each).visible) {
                    shown.push_back(each);
                }
            }
        }
        return shown;
    }
    static WindowRecord& record(const KivDialog* of) {
        return static_cast<RecordingWindow*>(of->getWindow())->getRecord();
    }
    static std::wstring text(const KivProperty& cell) {
        std::wstring value;
        int number = 0;
        if (cell.getType() == KivProperty::String) {
            cell.getValue(value);
            return value;
        }
        cell.getValue(number);
        return L"#" + std::to_wstring(number);
    }
    static std::vector<std::wstring> texts(const KivMemoryDataManager& manager) {
        std::vector<std::wstring> all;
        for (const KivProperty& cell : manager.getCells()) {
            all.push_back(text(cell));
        }
        return all;
    }
    // The next line of a stream that is being read, and whether it is marked.
    static std::pair<std::wstring, bool> nextLine(KivDataManager& manager) {
        wchar_t line[kivMaxPath] = {};
        manager.loadString(line);
        return {line, manager.isCurrentVaried()};
    }
    static int checkedItems(const WindowRecord& user) {
        const auto& items = user.at(Dlg::combinableTree).items;
        return static_cast<int>(
            std::count_if(items.begin(), items.end(), [](const auto& item) { return item.checked; }));
    }
    void writeStyle(const TempFolder& folder, const std::wstring& name, const KivStyleHead& head) {
        ASSERT_TRUE(kivWriteStyleHead(folder.wide("") + L"/" + name + L".kiv", head));
    }

    StyleHost host;
    RecordingToolkit toolkit;
    std::shared_ptr<WindowRecord> parentRecord = std::make_shared<WindowRecord>();
    RecordingWindow parent{parentRecord};
    KivCommonSettings settings;
    ShownBaseLook paint{L"Paint", 2};
    ShownBaseLook wash{L"Wash", 1};
    ShownCombinable lines{L"Lines", 2};
    ShownCombinable dots{L"Dots", 1};
    KivMemoryDataManager stream;
    KivPropertiesDlg dialog;
};

#endif
