// The plug-ins' property pages in a dialog: what stands in their controls, and what comes of a user's edits.
#include "pagesfixture.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "support/temphome.h"

TEST_F(ShaderPages, StandInTheDialogUnderTheirTitles) {
    write(stream, defaults());
    open(stream);
    const std::vector<WindowRecord::Item>& tabs = dialogWindow().at(Dlg::pagesTab).items;
    ASSERT_EQ(tabs.size(), 5U);
    const wchar_t* const order[] = {L"Cartoon", L"Backdrop", L"Halftone", L"Outline", L"Sketch"};
    for (std::size_t i = 0; i < tabs.size(); ++i) {
        KivShader* const shader = KivShader::getByTag(order[i]);
        KivPageDlg* const page = shader->getPage(&dialog, 0);
        ASSERT_NE(page->getWindow(), nullptr);
        EXPECT_EQ(tabs[i].text, shader->getName());
        EXPECT_FALSE(pageWindow(shader).caption);
        EXPECT_EQ(pageWindow(shader).visible, i == 0);
        EXPECT_EQ(page->getModuleState(), moduleOf(*shader));
    }
    for (const HWND parent : toolkit.parents) {
        EXPECT_EQ(parent, dialog.getWindow());
    }
    EXPECT_EQ(dialogWindow().at(Dlg::pagesTab).page, shaders()[cartoonAt]->getPage(&dialog, 0)->getWindow());
}

TEST_F(ShaderPages, ShowWhatTheStreamHoldsAndWriteIt) {
    RawRandom random(11);
    for (int round = 0; round < 20; ++round) {
        std::vector<KivTablePageSettings> all = defaults();
        for (KivTablePageSettings& page : all) {
            for (int i = 0; i < page.getNumSettings(); ++i) {
                page.setValue(i, randomValue(page.getInfo(i), random));
            }
        }
        write(stream, all);
        open(stream);
        dialog.saveData();
        const std::vector<KivTablePageSettings> saved = read(stream);
        for (std::size_t s = 0; s < all.size(); ++s) {
            WindowRecord& user = pageWindow(shaders()[s]);
            for (int i = 0; i < all[s].getNumSettings(); ++i) {
                const KivSettingInfo& info = all[s].getInfo(i);
                EXPECT_EQ(saved[s].getValue(i), all[s].getValue(i))
                    << info.key << ": no field's rounding may change it";
                const WindowRecord::Control& control = user.at(firstControl + i);
                EXPECT_FALSE(control.varied);
                if (info.type == KivSettingType::Bool) {
                    EXPECT_EQ(control.check, all[s].getInt(i)) << info.key;
                } else if (info.type == KivSettingType::Choice) {
                    EXPECT_EQ(control.selection, all[s].getInt(i)) << info.key;
                } else if (info.type == KivSettingType::Colour) {
                    EXPECT_EQ(control.fill, all[s].getColour(i)) << info.key;
                } else {
                    EXPECT_NEAR(std::stod(control.text), all[s].getValue(i), 0.5001) << info.key;
                }
            }
        }
        dialog.DestroyWindow();
        toolkit.windows.clear();
    }
}

TEST_F(ShaderPages, TakeWhatTheUserDoesToEachControl) {
    RawRandom random(12);
    write(stream, defaults());
    open(stream);
    for (KivShader* const shader : shaders()) {
        for (int i = 0; i < values(shader).getNumSettings(); ++i) {
            const double value = randomValue(values(shader).getInfo(i), random);
            work(shader, i, value);
            EXPECT_EQ(values(shader).getValue(i), value) << values(shader).getInfo(i).key;
        }
    }
}

TEST_F(ShaderPages, AnEditGivesOnePreview) {
    write(stream, defaults());
    open(stream);
    EXPECT_TRUE(toolkit.timers.empty()) << "showing the settings is no edit";
    EXPECT_FALSE(dialog.isChanged());
    for (KivShader* const shader : shaders()) {
        for (int i = 0; i < values(shader).getNumSettings(); ++i) {
            const KivSettingInfo& info = values(shader).getInfo(i);
            SCOPED_TRACE(info.key);
            const double now = values(shader).getValue(i);
            dialog.setChanged(false);
            const int before = dialogWindow().redraws;
            work(shader, i, now == info.maximum ? info.minimum : kivClampSetting(info, now + 1));
            toolkit.passTime(previewDelay - 1);
            EXPECT_EQ(dialogWindow().redraws, before);
            toolkit.passTime(1);
            EXPECT_EQ(dialogWindow().redraws, before + 1);
            toolkit.passTime(10 * previewDelay);
            EXPECT_EQ(dialogWindow().redraws, before + 1);
            EXPECT_TRUE(dialog.isChanged());
        }
    }
}

TEST_F(ShaderPages, ABurstOfEditsGivesOnePreview) {
    write(stream, defaults());
    open(stream);
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    const int before = dialogWindow().redraws;
    for (const double wobble : {1.0, 2.0, 3.0}) {
        work(sketch, values(sketch).find("Wobble"), wobble);
        toolkit.passTime(previewDelay - 1);
    }
    EXPECT_EQ(dialogWindow().redraws, before);
    toolkit.passTime(previewDelay);
    EXPECT_EQ(dialogWindow().redraws, before + 1);
}

TEST_F(ShaderPages, WhatMeansNothingToAControlIsNoEdit) {
    write(stream, defaults());
    open(stream);
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    WindowRecord& user = pageWindow(sketch);
    using Change = KivControlChange;
    for (const int control : {0, 500, defaultsButton, firstControl - 2, firstControl, firstControl + 1,
                              firstControl + 2, firstControl + 9, firstControl + 25, 1 << 30}) {
        for (const Change change :
             {Change::focused, Change::left, Change::checkToggle, Change::pointed, Change::resized}) {
            user.tell(control, change);
        }
    }
    user.tell(firstControl + values(sketch).find("Width"), Change::clicked);
    user.tell(firstControl + values(sketch).find("Hatching"), Change::edited);
    user.tell(firstControl + values(sketch).find("Medium"), Change::clicked);
    user.tell(firstControl + values(sketch).getNumSettings(), Change::edited);
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(toolkit.timers.empty());
}

TEST_F(ShaderPages, ACancelledColourChangesNothing) {
    write(stream, defaults());
    open(stream);
    KivShader* const outline = KivShader::getByTag(L"Outline");
    const int index = values(outline).find("Colour");
    const std::uint32_t before = values(outline).getColour(index);
    EXPECT_TRUE(pageWindow(outline).click(firstControl + index));
    EXPECT_EQ(values(outline).getColour(index), before);
    EXPECT_FALSE(dialog.isChanged());
    toolkit.pickedColor = 0x00AA55;
    EXPECT_TRUE(pageWindow(outline).click(firstControl + index));
    EXPECT_EQ(values(outline).getColour(index), 0x00AA55U);
    EXPECT_EQ(pageWindow(outline).at(firstControl + index).fill, 0x00AA55U);
    EXPECT_TRUE(dialog.isChanged());
}

TEST_F(ShaderPages, WhatIsTypedComesIntoRange) {
    write(stream, defaults());
    open(stream);
    for (KivShader* const shader : shaders()) {
        WindowRecord& user = pageWindow(shader);
        for (int i = 0; i < values(shader).getNumSettings(); ++i) {
            const KivSettingInfo info = values(shader).getInfo(i);
            if (info.type != KivSettingType::Int && info.type != KivSettingType::Double) {
                continue;
            }
            const int control = firstControl + i;
            EXPECT_TRUE(user.type(control, L"99999999999999"));
            EXPECT_EQ(values(shader).getValue(i), info.maximum) << info.key;
            EXPECT_TRUE(user.focusOn(defaultsButton));
            EXPECT_NEAR(std::stod(user.at(control).text), info.maximum, 0.5) << info.key;
            EXPECT_TRUE(user.type(control, L"-99999999999999"));
            EXPECT_EQ(values(shader).getValue(i), info.minimum) << info.key;
            EXPECT_TRUE(user.focusOn(defaultsButton));
            const std::wstring least = user.at(control).text;
            for (const wchar_t* const nonsense : {L"", L"abc", L"1,5", L"12px", L"nan"}) {
                EXPECT_TRUE(user.type(control, nonsense));
                EXPECT_EQ(values(shader).getValue(i), info.minimum) << info.key << " " << kivToUtf8(nonsense);
                EXPECT_TRUE(user.focusOn(defaultsButton));
                EXPECT_EQ(user.at(control).text, least) << info.key;
            }
        }
    }
}

TEST_F(ShaderPages, LeavingAFieldIsNoEdit) {
    write(stream, defaults());
    open(stream);
    KivShader* const outline = KivShader::getByTag(L"Outline");
    const int control = firstControl + values(outline).find("LineWidth");
    EXPECT_TRUE(pageWindow(outline).focusOn(control));
    EXPECT_TRUE(pageWindow(outline).focusOn(defaultsButton));
    EXPECT_FALSE(dialog.isChanged());
}

TEST_F(ShaderPages, AChoiceThatIsNoneKeepsTheSetting) {
    write(stream, defaults());
    open(stream);
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    const int index = values(sketch).find("Medium");
    work(sketch, index, 2);
    ASSERT_EQ(values(sketch).getInt(index), 2);
    dialog.saveData();
    shaders()[sketchAt]->getPage(&dialog, 0)->loadControls();
    pageWindow(sketch).controls[firstControl + index].selection = -1;
    EXPECT_EQ(values(sketch).getInt(index), 2);
}

TEST_F(ShaderPages, OneButtonSetsAllBack) {
    RawRandom random(13);
    std::vector<KivTablePageSettings> all = defaults();
    for (KivTablePageSettings& page : all) {
        for (int i = 0; i < page.getNumSettings(); ++i) {
            page.setValue(i, randomValue(page.getInfo(i), random));
        }
    }
    write(stream, all);
    open(stream);
    const std::vector<KivTablePageSettings> untouched = defaults();
    for (std::size_t s = 0; s < all.size(); ++s) {
        dialog.setChanged(false);
        EXPECT_TRUE(pageWindow(shaders()[s]).click(defaultsButton));
        EXPECT_TRUE(dialog.isChanged());
        for (int i = 0; i < all[s].getNumSettings(); ++i) {
            EXPECT_EQ(values(shaders()[s]).getValue(i), untouched[s].getValue(i)) << all[s].getInfo(i).key;
            for (std::size_t other = s + 1; other < all.size() && i < all[other].getNumSettings(); ++other) {
                EXPECT_EQ(values(shaders()[other]).getValue(i), all[other].getValue(i)) << "that of other pages stays";
            }
        }
    }
}

TEST_F(ShaderPages, MadeWithoutAWindowGetOneLater) {
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    dialog.initShaderPages(sketch);
    KivPageDlg* const page = sketch->getPage(&dialog, 0);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->getWindow(), nullptr);
    EXPECT_TRUE(toolkit.windows.empty());
    values(sketch).setText("Wobble", "4.5");
    page->loadControls();
    EXPECT_EQ(values(sketch).getValue(values(sketch).find("Wobble")), 4.5);
    KivMemoryDataManager empty;
    open(empty);
    dialog.initShaderPages(sketch);
    EXPECT_EQ(sketch->getPage(&dialog, 0), page);
    ASSERT_NE(page->getWindow(), nullptr);
    EXPECT_FALSE(pageWindow(sketch).caption);
    EXPECT_EQ(pageWindow(sketch).at(firstControl + values(sketch).find("Wobble")).text, L"4.5");
    const std::size_t windows = toolkit.windows.size();
    dialog.initShaderPages(sketch);
    EXPECT_EQ(toolkit.windows.size(), windows);
}

TEST_F(ShaderPages, WithoutAToolkitHoldTheirSettings) {
    KivToolkit* const former = KivToolkit::install(nullptr);
    EXPECT_EQ(dialog.Create(&stream, &settings, Dlg::propertiesTemplate, nullptr), 0);
    for (KivShader* const shader : shaders()) {
        dialog.initShaderPages(shader);
        KivPageDlg* const page = shader->getPage(&dialog, 0);
        ASSERT_NE(page, nullptr);
        EXPECT_EQ(page->getWindow(), nullptr);
        page->resetStyle();
        KivTablePageSettings& own = values(shader);
        own.setValue(0, own.getInfo(0).maximum);
        page->loadControls();
        page->saveControls();
        EXPECT_EQ(own.getValue(0), own.getInfo(0).maximum);
        shader->destroyPages(&dialog);
    }
    KivToolkit::install(former);
}

TEST_F(ShaderPages, TwoDialogsHaveWindowsOfTheirOwn) {
    write(stream, defaults());
    open(stream);
    KivMemoryDataManager second;
    write(second, defaults());
    KivPropertiesDlg other;
    ASSERT_NE(other.Create(&second, &settings, Dlg::propertiesTemplate, nullptr), 0);
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    KivWindow* const first = sketch->getPage(&dialog, 0)->getWindow();
    KivWindow* const last = sketch->getPage(&other, 0)->getWindow();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(last, nullptr);
    EXPECT_NE(first, last);
    work(sketch, values(sketch).find("Wobble"), 9);
    EXPECT_TRUE(dialog.isChanged());
    EXPECT_FALSE(other.isChanged());
    other.saveData();
    EXPECT_EQ(read(second)[sketchAt].getValue(values(sketch).find("Wobble")), defaults()[sketchAt].getValue(5));
    other.DestroyWindow();
    EXPECT_EQ(sketch->getPage(&other, 0), nullptr);
    EXPECT_EQ(sketch->getPage(&dialog, 0)->getWindow(), first);
}

TEST_F(ShaderPages, EndWithTheirDialog) {
    write(stream, defaults());
    open(stream);
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    KivPageDlg* const page = sketch->getPage(&dialog, 0);
    dialog.DestroyWindow();
    for (const auto& window : toolkit.windows) {
        EXPECT_FALSE(window->exists);
    }
    dialog.setChanged(false);
    page->resetStyle();
    EXPECT_FALSE(dialog.isChanged()) << "there is no window any more";
    EXPECT_TRUE(toolkit.timers.empty());
    open(stream);
    EXPECT_NE(sketch->getPage(&dialog, 0)->getWindow(), nullptr);
}

TEST_F(ShaderPages, KeepTheirValuesInStyleFiles) {
    const TempFolder folder;
    const std::wstring file = folder.wide("style.kiv");
    write(stream, defaults());
    open(stream);
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    const int seed = values(sketch).find("Seed");
    work(sketch, seed, 1000000);
    EXPECT_TRUE(sketch->saveDataOnStyle(file.c_str(), &dialog));
    work(sketch, seed, 5);
    dialog.setChanged(false);
    EXPECT_TRUE(sketch->loadDataFromStyle(file.c_str(), &dialog));
    EXPECT_EQ(values(sketch).getInt(seed), 1000000);
    EXPECT_EQ(pageWindow(sketch).at(firstControl + seed).text, L"1000000");
    EXPECT_FALSE(dialog.isChanged()) << "the page's own doing is no edit";
}

TEST_F(ShaderPages, PreviewsSeeWhatStandsInTheControls) {
    write(stream, defaults());
    open(stream);
    KivShader* const cartoon = KivShader::getByTag(L"Cartoon");
    work(cartoon, 0, 7);
    KivScene scene;
    scene.addMesh(new KivMesh);
    cartoon->preparePreview(&scene, &dialog);
    const auto* const seen =
        dynamic_cast<const KivTablePageSettings*>(scene.getMesh(0)->getPageSettings(values(cartoon).getSectionName()));
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(seen->getInt(0), 7);
}
