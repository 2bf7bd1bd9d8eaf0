// The property pages that the plug-ins bring, in real windows with real mouse and keys.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivaveragedatamanager.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshader.h"
#include "qt/kivcolorfield.h"
#include "qt/kivnumberfield.h"
#include "qt/qtdialogs.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QStringList>
#include <QTextDocument>
#include <set>

namespace {

using Dlg = KivPropertiesDlg;
constexpr int firstControl = 1000;
constexpr int defaultsButton = 999;

QStringList warnings; // of Qt, while a test collects them

void collect(QtMsgType, const QMessageLogContext&, const QString& text) {
    warnings.append(text);
}

class PageWindows : public QtDialogs {
protected:
    PageWindows() {
        stream.setSaving();
        stream.setDefault();
    }
    ~PageWindows() override {
        dialog.DestroyWindow();
    }
    void open(KivDataManager& manager) {
        ASSERT_NE(dialog.Create(&manager, &settings, Dlg::propertiesTemplate, nullptr), 0);
        KivQtWindow::widgetOf(dialog.getWindow())->resize(420, 900);
        dialog.getWindow()->show(true);
        for (int item = 0; item < dialog.getWindow()->getItemCount(Dlg::combinableTree); ++item) {
            dialog.getWindow()->checkItem(Dlg::combinableTree, item, true);
        }
    }
    static KivShader* shader(const wchar_t* tag) {
        return KivShader::getByTag(tag);
    }
    KivPageDlg& pageOf(KivShader* of) {
        dialog.initShaderPages(of);
        return *of->getPage(&dialog, 0);
    }
    KivTablePageSettings& values(KivShader* of) {
        return dynamic_cast<KivTablePageSettings&>(*pageOf(of).getSettings());
    }
    // The widget of a setting, brought to where a hand can reach it.
    template <class Widget> Widget* field(const wchar_t* tag, const char* key) {
        KivPageDlg& page = pageOf(shader(tag));
        dialog.PositionTabDialog(&page);
        page.getWindow()->show(true);
        auto* const widget = at<Widget>(page.getWindow(), firstControl + values(shader(tag)).find(key));
        for (QWidget* above = widget; above != nullptr; above = above->parentWidget()) {
            if (auto* const area = qobject_cast<QScrollArea*>(above)) {
                area->ensureWidgetVisible(widget);
            }
        }
        return widget;
    }
    double value(const wchar_t* tag, const char* key) {
        return values(shader(tag)).getValue(values(shader(tag)).find(key));
    }
    static void typeInto(KivNumberField* number, const QString& text) {
        auto* const box = number->findChild<QDoubleSpinBox*>();
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, text);
    }

    KivMemoryDataManager stream;
    KivCommonSettings settings;
    KivPropertiesDlg dialog;
};

} // namespace

TEST_F(PageWindows, FormsOfAllPlugInsAreUnderstood) {
    for (const wchar_t* const language : {L"en", L"es"}) {
        ASSERT_TRUE(kivLoadLanguage(language));
        open(stream);
        warnings.clear();
        const QtMessageHandler usual = qInstallMessageHandler(collect);
        for (unsigned long s = 0; s < KivShader::shaders(); ++s) {
            KivWindow* const window = pageOf(KivShader::getByIndex(s)).getWindow();
            ASSERT_NE(window, nullptr);
            EXPECT_EQ(window->getTitle(), KivShader::getByIndex(s)->getName());
            const KivTablePageSettings& page = values(KivShader::getByIndex(s));
            for (int i = 0; i < page.getNumSettings(); ++i) {
                const KivSettingInfo& info = page.getInfo(i);
                const int control = firstControl + i;
                EXPECT_FALSE(at(window, control)->toolTip().isEmpty()) << info.key;
                if (info.type == KivSettingType::Bool) {
                    EXPECT_EQ(at<QCheckBox>(window, control)->isChecked(), page.getBool(i)) << info.key;
                } else if (info.type == KivSettingType::Choice) {
                    EXPECT_EQ(at<QComboBox>(window, control)->count(), kivNumChoices(info)) << info.key;
                    EXPECT_EQ(at<QComboBox>(window, control)->currentIndex(), page.getInt(i)) << info.key;
                } else if (info.type == KivSettingType::Colour) {
                    const QColor color = at<KivColorField>(window, control)->getColor();
                    EXPECT_EQ(static_cast<std::uint32_t>(color.red() | color.green() << 8 | color.blue() << 16),
                              page.getColour(i))
                        << info.key;
                } else {
                    auto* const number = at<KivNumberField>(window, control);
                    EXPECT_EQ(number->getValue(), page.getValue(i)) << info.key;
                    EXPECT_EQ(number->getMinimum(), info.minimum) << info.key;
                    EXPECT_EQ(number->getMaximum(), info.maximum) << info.key;
                    EXPECT_GE(number->getSoftMaximum(), info.defaultValue) << info.key;
                }
            }
        }
        qInstallMessageHandler(usual);
        warnings.removeAll("This plugin does not support propagateSizeHints()"); // the offscreen platform's own
        EXPECT_TRUE(warnings.isEmpty()) << warnings.join("; ").toStdString();
        dialog.DestroyWindow();
    }
}

TEST_F(PageWindows, FieldsStandInColumnsAndTipsHaveSeveralLines) {
    open(stream);
    for (unsigned long s = 0; s < KivShader::shaders(); ++s) {
        KivPageDlg& page = pageOf(KivShader::getByIndex(s));
        dialog.PositionTabDialog(&page);
        page.getWindow()->show(true);
        QWidget* const root = KivQtWindow::widgetOf(page.getWindow());
        std::set<int> sliders;
        std::set<int> boxes;
        for (KivNumberField* const number : root->findChildren<KivNumberField*>()) {
            sliders.insert(number->mapTo(root, QPoint()).x());
            const QDoubleSpinBox* const box = number->findChild<QDoubleSpinBox*>();
            boxes.insert(box->mapTo(root, QPoint()).x());
            EXPECT_TRUE(Qt::mightBeRichText(number->toolTip())) << "only such tips are broken";
        }
        EXPECT_EQ(sliders.size(), 1U);
        EXPECT_EQ(boxes.size(), 1U);
    }
}

TEST_F(PageWindows, ANumberIsTypedOrSlidOrStepped) {
    open(stream);
    auto* const wobble = field<KivNumberField>(L"Sketch", "Wobble");
    typeInto(wobble, "3.5");
    EXPECT_EQ(value(L"Sketch", "Wobble"), 3.5);
    EXPECT_TRUE(dialog.isChanged());
    QTest::keyClick(wobble->findChild<QDoubleSpinBox*>(), Qt::Key_Up);
    EXPECT_NEAR(value(L"Sketch", "Wobble"), 3.6, 1e-9);
    wobble->findChild<QSlider*>()->setValue(1000);
    EXPECT_EQ(value(L"Sketch", "Wobble"), wobble->getSoftMaximum());
    typeInto(wobble, "30");
    EXPECT_EQ(value(L"Sketch", "Wobble"), 30.0) << "beyond the slider's end";
}

TEST_F(PageWindows, BoxesAndChoicesAreClicked) {
    open(stream);
    auto* const creases = field<QCheckBox>(L"Outline", "Creases");
    QTest::mouseClick(creases, Qt::LeftButton, {}, QPoint(8, creases->height() / 2));
    EXPECT_EQ(value(L"Outline", "Creases"), 0.0);
    EXPECT_TRUE(dialog.isChanged());
    dialog.setChanged(false);
    auto* const medium = field<QComboBox>(L"Sketch", "Medium");
    medium->setFocus();
    QTest::keyClick(medium, Qt::Key_Down);
    EXPECT_EQ(value(L"Sketch", "Medium"), 1.0);
    EXPECT_TRUE(dialog.isChanged());
}

TEST_F(PageWindows, AColourIsPicked) {
    open(stream);
    auto* const colour = field<KivColorField>(L"Outline", "Colour");
    whenModal([](QWidget* modal) { static_cast<QDialog*>(modal)->reject(); });
    QTest::mouseClick(colour, Qt::LeftButton);
    EXPECT_FALSE(dialog.isChanged());
    whenModal([](QWidget* modal) {
        auto* const picker = qobject_cast<QColorDialog*>(modal);
        ASSERT_NE(picker, nullptr);
        picker->setCurrentColor(QColor(10, 20, 30));
        picker->accept();
    });
    QTest::mouseClick(colour, Qt::LeftButton);
    EXPECT_EQ(value(L"Outline", "Colour"), 10 + 20 * 256 + 30 * 65536);
    EXPECT_TRUE(dialog.isChanged());
}

TEST_F(PageWindows, TheButtonSetsThePageBack) {
    open(stream);
    const double before = value(L"Sketch", "Wobble");
    typeInto(field<KivNumberField>(L"Sketch", "Wobble"), "9");
    ASSERT_EQ(value(L"Sketch", "Wobble"), 9.0);
    QTest::mouseClick(at<QPushButton>(pageOf(shader(L"Sketch")).getWindow(), defaultsButton), Qt::LeftButton);
    EXPECT_EQ(value(L"Sketch", "Wobble"), before);
}

TEST_F(PageWindows, WhatObjectsDifferInIsKeptUntilItIsTouched) {
    KivMemoryDataManager objects[2];
    const char* const keys[] = {"Wobble", "Strokes", "Medium", "Colour", "Hatching", "Overshoot"};
    const std::vector<double> unlike[2] = {{2, 3, 1, 100, 1, 5}, {4, 5, 2, 200, 0, 6}};
    for (int o = 0; o < 2; ++o) {
        objects[o].setSaving();
        objects[o].saveString(L"Style:");
        objects[o].saveString(L"NonCombinableShader:");
        objects[o].saveString(L"CombinableShader:Sketch;");
        shader(L"Sketch")->createPages(nullptr, nullptr);
        auto& page = dynamic_cast<KivTablePageSettings&>(*shader(L"Sketch")->getPage(nullptr, 0)->getSettings());
        for (std::size_t k = 0; k < unlike[o].size(); ++k) {
            page.setValue(page.find(keys[k]), unlike[o][k]);
        }
        for (unsigned long s = 0; s < KivShader::shaders(); ++s) {
            KivShader::getByIndex(s)->saveData(&objects[o], nullptr);
        }
        objects[o].saveString(L"End Morvane");
        shader(L"Sketch")->destroyPages(nullptr);
    }
    KivAverageDataManager both;
    both.buildAverageData({objects, objects + 1});
    open(both);
    for (const char* const key : keys) {
        const int control = firstControl + values(shader(L"Sketch")).find(key);
        EXPECT_TRUE(pageOf(shader(L"Sketch")).getWindow()->isVaried(control)) << key;
    }
    EXPECT_EQ(field<QCheckBox>(L"Sketch", "Hatching")->checkState(), Qt::PartiallyChecked);
    // What the first object has already is a decision as well.
    typeInto(field<KivNumberField>(L"Sketch", "Wobble"), "2");
    auto* const medium = field<QComboBox>(L"Sketch", "Medium");
    medium->setFocus();
    QTest::keyClick(medium, Qt::Key_End);
    // Only passed through.
    field<KivNumberField>(L"Sketch", "Overshoot")->setFocus();
    field<KivNumberField>(L"Sketch", "Strokes")->setFocus();
    medium->setFocus();
    dialog.saveData();
    both.rebuildObjectsDataFromAverageData({objects, objects + 1});
    const std::vector<double> expected[2] = {{2, 3, 3, 100, 1, 5}, {2, 5, 3, 200, 0, 6}};
    for (int o = 0; o < 2; ++o) {
        KivTablePageSettings own = values(shader(L"Sketch"));
        ASSERT_TRUE(objects[o].setLoading());
        ASSERT_TRUE(objects[o].startShader(L"Sketch"));
        own.setDataManager(&objects[o]);
        own.loadData();
        ASSERT_TRUE(own.isLoaded());
        for (std::size_t k = 0; k < expected[o].size(); ++k) {
            EXPECT_EQ(own.getValue(own.find(keys[k])), expected[o][k]) << keys[k] << " of object " << o;
        }
    }
}
