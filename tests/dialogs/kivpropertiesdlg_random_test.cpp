// The properties dialog under users who do anything in any order.
#include "dialogs/propertiesfixture.h"
#include "kivrender/dialogs/kivsavestyledlg.h"
#include "kivrender/settings/kivaveragedatamanager.h"

#include <memory>
#include <random>

namespace {

// As many shaders as can be loaded, and as many documents as a dialog may meet.
class KivPropertiesDlgRandom : public KivPropertiesDlgTest {
protected:
    KivPropertiesDlgRandom() {
        std::vector<KivShader*> all{&paint, &wash, &lines, &dots};
        while (all.size() < static_cast<std::size_t>(kivMaxShaders)) {
            const int number = static_cast<int>(all.size());
            more.push_back(std::make_unique<ShownCombinable>(L"More" + std::to_wstring(number), 1 + number % 2));
            all.push_back(more.back().get());
        }
        KivTestAccess::setShaders(all);
        writeStyle(host.users, L"First", {L"Wash", {L"Lines", L"Dots"}});
        writeStyle(host.shared, L"Second", {L"", {L"More9"}});
        writeStream(stream, L"", L"Paint", L"Lines;");
        writeStream(other, L"First", L"Wash", L"More5;More6;Dots;");
        both.buildAverageData({&stream, &other});
        toolkit.onWindow = [this](WindowRecord& window) {
            window.modal = [this, record = toolkit.windows.back().get()] {
                record->controls[KivSaveStyleDlg::nameField].text = L"Own " + std::to_wstring(random() % 3U);
                return random() % 4U == 0 ? kivControlCancel : kivControlOk;
            };
        };
    }
    ~KivPropertiesDlgRandom() override {
        dialog.DestroyWindow();
        KivTestAccess::setShaders({});
    }

    void show(KivDataManager* manager) {
        shown = manager;
        dialog.setData(manager);
    }
    void showAnother() {
        KivMemoryDataManager* const empty = &none;
        none.clearData();
        KivDataManager* const managers[] = {&stream, &other, &both, empty, nullptr};
        show(managers[random() % 5U]);
    }
    // What a save has written is what a load shows and the next save writes.
    void saveAndLoad() {
        dialog.saveData();
        if (shown != &stream && shown != &other) {
            return;
        }
        const auto& memory = static_cast<const KivMemoryDataManager&>(*shown);
        const std::vector<std::wstring> saved = texts(memory);
        show(shown);
        dialog.saveData();
        ASSERT_EQ(texts(memory), saved);
    }
    void closeAndShow(WindowRecord& user, int button) {
        user.visible = true;
        EXPECT_TRUE(user.click(button));
        EXPECT_FALSE(user.visible);
        if (button == kivControlCancel) {
            EXPECT_TRUE(shownPages().empty());
            EXPECT_TRUE(user.at(Dlg::pagesTab).items.empty());
        }
        show(shown);
    }
    void leaveAndReturn() {
        dialog.setActive(true);
        dialog.setActive(false);
        EXPECT_TRUE(shownPages().empty());
        EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
        dialog.setActive(true);
    }
    void lookAtPreview(WindowRecord& user) {
        for (const bool on : {true, false}) {
            EXPECT_TRUE(user.clickCheck(Dlg::previewBox));
            toolkit.passTime(400);
            EXPECT_EQ(user.at(Dlg::previewPicture).picture != nullptr, on);
        }
    }
    void edit() {
        if (KivPageDlg* const page = KivTestAccess::shownPage(dialog)) {
            page->setControlText(samplePageControl, std::to_wstring(random() % 100U));
        }
    }
    // One of no shaders could not be loaded, and would leave the dialog in the middle of the load.
    void saveStyle(WindowRecord& user) {
        if (KivTestAccess::base(dialog) != nullptr || checkedItems(user) > 0) {
            user.click(Dlg::saveStyleButton);
        }
    }
    void removeStyle(WindowRecord& user) {
        toolkit.refusesTrash = random() % 2U == 0;
        user.click(Dlg::removeStyleButton);
    }
    void act(WindowRecord& user) {
        const auto item = static_cast<int>(random() % 33U);
        switch (random() % 20U) {
        case 0:
            return lookAtPreview(user);
        case 1:
        case 2:
            user.clickCheck(Dlg::nonCombinableBox);
            return;
        case 3:
            user.choose(Dlg::nonCombinableTree, item % 3);
            return;
        case 4:
            user.focus = 0;
            user.focusOn(Dlg::nonCombinableTree);
            return;
        case 5:
        case 6:
            user.choose(Dlg::pagesTab, item);
            return;
        case 7:
            user.choose(Dlg::stylesCombo, item % 5);
            return;
        case 8:
            return saveStyle(user);
        case 9:
            return removeStyle(user);
        case 10:
            return edit();
        case 11:
            toolkit.passTime(random() % 500U);
            return;
        case 12:
            user.resize({static_cast<int>(random() % 600U), static_cast<int>(random() % 900U)});
            return;
        case 13:
            return closeAndShow(user, random() % 2U == 0 ? kivControlOk : kivControlCancel);
        case 14:
            return leaveAndReturn();
        case 15:
            return showAnother();
        case 16:
            return saveAndLoad();
        default:
            user.toggle(Dlg::combinableTree, item);
        }
    }

    void checkShaders(const WindowRecord& user) {
        const std::vector<KivShader*> active = KivTestAccess::combinables(dialog);
        ASSERT_EQ(static_cast<int>(active.size()), checkedItems(user));
        for (const WindowRecord::Item& item : user.at(Dlg::combinableTree).items) {
            const auto count = std::count_if(active.begin(), active.end(),
                                             [&item](KivShader* each) { return each->getName() == item.text; });
            ASSERT_EQ(count, item.checked ? 1 : 0);
        }
        KivShader* const base = KivTestAccess::base(dialog);
        const auto& tree = user.at(Dlg::nonCombinableTree);
        ASSERT_EQ(base != nullptr, user.at(Dlg::nonCombinableBox).check == 1);
        ASSERT_EQ(base != nullptr, tree.enabled);
        for (int i = 0; i < static_cast<int>(tree.items.size()); ++i) {
            const WindowRecord::Item& item = tree.items[static_cast<std::size_t>(i)];
            const bool current = base != nullptr && base->getName() == item.text;
            ASSERT_EQ(item.bold, current) << i;
            ASSERT_TRUE(!current || tree.selection == i);
        }
    }
    // Wherever there are pages, the tabs show one of them.
    void checkTabs(const WindowRecord& user) {
        std::vector<KivPageDlg*> pages;
        std::vector<KivShader*> all{KivTestAccess::base(dialog)};
        for (KivShader* const shader : KivTestAccess::combinables(dialog)) {
            all.push_back(shader);
        }
        for (KivShader* const shader : all) {
            for (unsigned int i = 0; shader != nullptr && shader->getPage(&dialog, i) != nullptr; ++i) {
                pages.push_back(shader->getPage(&dialog, i));
            }
        }
        ASSERT_EQ(user.at(Dlg::pagesTab).visible, !pages.empty());
        ASSERT_EQ(user.at(Dlg::pagesTab).items.size(), pages.size());
        if (pages.empty()) {
            ASSERT_TRUE(shownPages().empty());
            return;
        }
        const int tab = KivTestAccess::currentTab(dialog);
        ASSERT_EQ(user.at(Dlg::pagesTab).selection, tab);
        ASSERT_GE(tab, 0);
        ASSERT_LT(tab, static_cast<int>(pages.size()));
        ASSERT_EQ(KivTestAccess::shownPage(dialog), pages[static_cast<std::size_t>(tab)]);
        ASSERT_EQ(shownPages(), std::vector<KivPageDlg*>{KivTestAccess::shownPage(dialog)});
    }

    std::mt19937 random{7};
    std::vector<std::unique_ptr<ShownCombinable>> more;
    KivMemoryDataManager other;
    KivMemoryDataManager none;
    KivAverageDataManager both;
    KivDataManager* shown = &stream;
};

TEST_F(KivPropertiesDlgRandom, HoldsItsInvariants) {
    WindowRecord& user = open(&stream);
    for (int step = 0; step < 1200; ++step) {
        SCOPED_TRACE(step);
        act(user);
        ASSERT_FALSE(KivTestAccess::updating(dialog));
        checkShaders(user);
        checkTabs(user);
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(KivPropertiesDlgRandom, AllShadersCanBeActive) {
    WindowRecord& user = open(&stream);
    const auto count = static_cast<int>(user.at(Dlg::combinableTree).items.size());
    ASSERT_EQ(count, kivMaxShaders - 2);
    for (int item = 1; item < count; ++item) { // the first is
        EXPECT_TRUE(user.toggle(Dlg::combinableTree, item));
    }
    checkShaders(user);
    checkTabs(user);
    for (int item = 0; item < count; ++item) {
        EXPECT_TRUE(user.toggle(Dlg::combinableTree, item));
    }
    checkShaders(user);
    checkTabs(user);
}

} // namespace
