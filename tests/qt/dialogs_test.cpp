// The dialogs as a user meets them: real windows, real mouse and keys.
#include "kivrender/dialogs/kivoptionsdlg.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/dialogs/kivsavestyledlg.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "qt/kivcolorfield.h"
#include "qt/kivpagetabs.h"
#include "qt/qtdialogs.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QToolButton>
#include <QTreeWidget>
#include <filesystem>
#include <fstream>
#include <set>

namespace {

using Dlg = KivPropertiesDlg;

// The panel over a stream of its own, shown.
class PropertiesWindow : public QtDialogs {
protected:
    PropertiesWindow() {
        stream.setSaving();
        stream.setDefault();
        settings.setBackgroundColor(0xFFFFFF);
        settings.setAmbientLight(0x606060);
        host.setShowPreview(true);
        EXPECT_NE(dialog.Create(&stream, &settings, Dlg::propertiesTemplate, nullptr), 0);
        window().show(true);
    }
    ~PropertiesWindow() override {
        dialog.DestroyWindow();
    }
    KivWindow& window() {
        return *dialog.getWindow();
    }
    QImage preview() {
        return at<QLabel>(&window(), Dlg::previewPicture)->pixmap(Qt::ReturnByValue).toImage();
    }
    // Clicks the check mark of a tree's item.
    void clickMark(int control, int item) {
        auto* const tree = at<QTreeWidget>(&window(), control);
        const QRect row = tree->visualItemRect(tree->topLevelItem(item));
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, QPoint(row.left() + 10, row.center().y()));
    }
    // Presses the button of a message box that says so.
    static void pressButton(QWidget* modal, const char* text) {
        auto* const box = qobject_cast<QMessageBox*>(modal);
        ASSERT_NE(box, nullptr);
        for (QAbstractButton* const button : box->buttons()) {
            if (button->text() == QLatin1String(text)) {
                return button->click();
            }
        }
        ADD_FAILURE() << "no such button: " << text;
        box->reject();
    }
    static int colours(const QImage& image) {
        std::set<QRgb> found;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                found.insert(image.pixel(x, y));
            }
        }
        return static_cast<int>(found.size());
    }

    KivMemoryDataManager stream;
    KivCommonSettings settings;
    KivPropertiesDlg dialog;
};

} // namespace

TEST_F(PropertiesWindow, ShowsTheLookOfTheStream) {
    EXPECT_TRUE(at<QCheckBox>(&window(), Dlg::nonCombinableBox)->isChecked());
    EXPECT_EQ(window().getItemText(Dlg::nonCombinableTree, 0), L"Cartoon");
    EXPECT_TRUE(at<QTreeWidget>(&window(), Dlg::nonCombinableTree)->topLevelItem(0)->font(0).bold());
    EXPECT_EQ(window().getItemCount(Dlg::combinableTree), 4);
    EXPECT_FALSE(window().isItemChecked(Dlg::combinableTree, 0));
    EXPECT_GT(window().getItemCount(Dlg::stylesCombo), 15);
    EXPECT_EQ(window().getSelection(Dlg::stylesCombo), -1);
    EXPECT_FALSE(at<QComboBox>(&window(), Dlg::stylesCombo)->itemIcon(0).isNull());
    EXPECT_EQ(preview().size(), QSize(110, 110));
    EXPECT_GE(colours(preview()), 3) << "an empty picture has one colour";
}

TEST_F(PropertiesWindow, ACheckMarkAddsALookAndItsTab) {
    const int tabs = window().getItemCount(Dlg::pagesTab);
    const QImage before = preview();
    clickMark(Dlg::combinableTree, 1);
    EXPECT_TRUE(window().isItemChecked(Dlg::combinableTree, 1));
    EXPECT_EQ(window().getItemCount(Dlg::pagesTab), tabs + 1);
    EXPECT_TRUE(dialog.isChanged());
    QTest::qWait(100);
    EXPECT_EQ(preview(), before) << "400 milliseconds have not passed";
    ASSERT_TRUE(QTest::qWaitFor([&] { return preview() != before; }, 1000));
    clickMark(Dlg::combinableTree, 1);
    EXPECT_FALSE(window().isItemChecked(Dlg::combinableTree, 1));
    EXPECT_EQ(window().getItemCount(Dlg::pagesTab), tabs);
    ASSERT_TRUE(QTest::qWaitFor([&] { return preview() == before; }, 1000)) << "the old look is back";
}

TEST_F(PropertiesWindow, TheKeyboardTogglesAsWell) {
    auto* const tree = at<QTreeWidget>(&window(), Dlg::combinableTree);
    tree->setFocus();
    tree->setCurrentItem(tree->topLevelItem(2));
    QTest::keyClick(tree, Qt::Key_Space);
    EXPECT_TRUE(window().isItemChecked(Dlg::combinableTree, 2));
    EXPECT_EQ(window().getItemCount(Dlg::pagesTab), 2);
    QTest::keyClick(tree, Qt::Key_Space);
    EXPECT_FALSE(window().isItemChecked(Dlg::combinableTree, 2));
    EXPECT_EQ(window().getItemCount(Dlg::pagesTab), 1);
}

TEST_F(PropertiesWindow, TheBaseBoxPutsTheBaseLookOffAndOn) {
    auto* const box = at<QCheckBox>(&window(), Dlg::nonCombinableBox);
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    EXPECT_EQ(dialog.checkNonCombinableState(), 0);
    EXPECT_FALSE(window().isControlEnabled(Dlg::nonCombinableTree));
    EXPECT_FALSE(at<KivPageTabs>(&window(), Dlg::pagesTab)->isVisible());
    QTest::keyClick(box, Qt::Key_Space);
    EXPECT_EQ(dialog.checkNonCombinableState(), 1);
    EXPECT_TRUE(window().isControlEnabled(Dlg::nonCombinableTree));
    EXPECT_TRUE(at<KivPageTabs>(&window(), Dlg::pagesTab)->isVisible());
}

TEST_F(PropertiesWindow, AVariedBoxGoesOffFirst) {
    auto* const box = at<QCheckBox>(&window(), Dlg::nonCombinableBox);
    dialog.setCheckNonCombinableState(2);
    EXPECT_EQ(box->checkState(), Qt::PartiallyChecked);
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    EXPECT_EQ(dialog.checkNonCombinableState(), 0);
}

TEST_F(PropertiesWindow, AStyleOfTheListIsShown) {
    const QImage before = preview();
    auto* const combo = at<QComboBox>(&window(), Dlg::stylesCombo);
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_Down);
    EXPECT_EQ(combo->currentIndex(), 0);
    EXPECT_NE(preview(), before) << "at once";
    dialog.saveData();
    ASSERT_TRUE(stream.setLoading());
    wchar_t line[kivMaxPath] = {};
    stream.loadString(line);
    EXPECT_EQ(line, L"Style:" + kivFromUtf8(combo->itemText(0).toStdString()));
}

TEST_F(PropertiesWindow, AStyleIsSavedUnderANameAndMovedToTheTrash) {
    const int before = window().getItemCount(Dlg::stylesCombo);
    whenModal([](QWidget* modal) {
        auto* const field = modal->findChild<QLineEdit*>();
        ASSERT_NE(field, nullptr);
        QTest::keyClicks(field, "My own look");
        QTest::keyClick(field, Qt::Key_Return);
    });
    QTest::mouseClick(at<QToolButton>(&window(), Dlg::saveStyleButton), Qt::LeftButton);
    ASSERT_EQ(window().getItemCount(Dlg::stylesCombo), before + 1);
    EXPECT_EQ(window().getItemText(Dlg::stylesCombo, 0), L"My own look");
    EXPECT_EQ(window().getSelection(Dlg::stylesCombo), 0);
    wchar_t folder[kivMaxPath] = {};
    ASSERT_TRUE(host.getStyleFolder(KivHostApplicationServices::userFolder, folder));
    const std::filesystem::path file = kivToUtf8(std::wstring(folder) + L"/My own look.kiv");
    EXPECT_TRUE(std::filesystem::exists(file));
    // Enter and Escape keep it.
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        whenModal([key](QWidget* modal) {
            auto* const box = qobject_cast<QMessageBox*>(modal);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->text(), QString::fromUtf8("Move “My own look” to the trash?"));
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            EXPECT_EQ(box->defaultButton()->text(), "&Cancel");
            QTest::keyClick(modal, key);
        });
        QTest::mouseClick(at<QToolButton>(&window(), Dlg::removeStyleButton), Qt::LeftButton);
        EXPECT_EQ(window().getItemCount(Dlg::stylesCombo), before + 1);
        EXPECT_EQ(window().getSelection(Dlg::stylesCombo), 0);
        EXPECT_TRUE(std::filesystem::exists(file));
    }
    whenModal([](QWidget* modal) { pressButton(modal, "&Move to trash"); });
    QTest::mouseClick(at<QToolButton>(&window(), Dlg::removeStyleButton), Qt::LeftButton);
    EXPECT_EQ(window().getItemCount(Dlg::stylesCombo), before);
    EXPECT_EQ(window().getSelection(Dlg::stylesCombo), -1);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_TRUE(std::filesystem::exists(kivToUtf8(kivDataFolder()) + "/Trash/files/My own look.kiv"));
}

TEST_F(PropertiesWindow, AStyleThatCantBeTrashedStaysAndIsSpokenOf) {
    ASSERT_TRUE(kivLoadLanguage(L"es"));
    const std::filesystem::path data(kivToUtf8(kivDataFolder()));
    std::filesystem::create_directories(data);
    std::ofstream(data / "Trash") << "in the way";
    const int before = window().getItemCount(Dlg::stylesCombo);
    auto* const combo = at<QComboBox>(&window(), Dlg::stylesCombo);
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_Down);
    const QString name = combo->currentText();
    QString said;
    whenModal([&said](QWidget* modal) {
        whenModal([&said](QWidget* next) {
            auto* const box = qobject_cast<QMessageBox*>(next);
            ASSERT_NE(box, nullptr);
            said = box->text();
            box->button(QMessageBox::Ok)->click();
        });
        pressButton(modal, "&Mover a la papelera");
    });
    QTest::mouseClick(at<QToolButton>(&window(), Dlg::removeStyleButton), Qt::LeftButton);
    EXPECT_EQ(said, QString::fromUtf8("«%1» no se puede mover a la papelera.").arg(name));
    EXPECT_EQ(window().getItemCount(Dlg::stylesCombo), before);
    EXPECT_EQ(combo->currentText(), name);
}

TEST_F(PropertiesWindow, EscapeLeavesTheNameOfAStyle) {
    const int before = window().getItemCount(Dlg::stylesCombo);
    whenModal([](QWidget* modal) { QTest::keyClick(modal, Qt::Key_Escape); });
    QTest::mouseClick(at<QToolButton>(&window(), Dlg::saveStyleButton), Qt::LeftButton);
    EXPECT_EQ(window().getItemCount(Dlg::stylesCombo), before);
}

TEST_F(PropertiesWindow, ClosingTheWindowAsksTheDialog) {
    QWidget* const widget = KivQtWindow::widgetOf(&window());
    widget->close();
    EXPECT_FALSE(widget->isVisible());
    EXPECT_NE(dialog.getWindow(), nullptr) << "hidden, not destroyed";
    EXPECT_EQ(window().getItemCount(Dlg::pagesTab), 0);
}

TEST_F(PropertiesWindow, SpeaksSpanish) {
    dialog.DestroyWindow();
    ASSERT_TRUE(kivLoadLanguage(L"es"));
    ASSERT_NE(dialog.Create(&stream, &settings, Dlg::fixedDataTemplate, nullptr), 0);
    EXPECT_EQ(window().getTitle(), L"Estilo");
    EXPECT_EQ(window().getItemText(Dlg::combinableTree, 1), L"Trama");
    EXPECT_EQ(window().getItemText(Dlg::combinableTree, 3), L"Boceto");
}

// --- options ---

namespace {

class OptionsWindow : public QtDialogs {
protected:
    OptionsWindow() {
        KivCommonSettings settings;
        settings.setResolution({800, 600});
        settings.setCustomSize(true);
        settings.setBackgroundColor(0x00FF8040);
        EXPECT_TRUE(settings.saveDataOnHost(&common));
        EXPECT_NE(dialog.Create(nullptr, &common, {4, 3}, nullptr), 0);
        EXPECT_EQ(dialog.OnActivate(1), 1);
    }
    ~OptionsWindow() override {
        dialog.DestroyWindow();
    }
    KivWindow& window() {
        return *dialog.getWindow();
    }
    void click(int control) {
        auto* const button = at<QAbstractButton>(&window(), control);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    void choose(int entry) {
        auto* const combo = at<QComboBox>(&window(), KivOptionsDlg::sizeChoice);
        combo->setFocus();
        while (combo->currentIndex() < entry) {
            QTest::keyClick(combo, Qt::Key_Down);
        }
        while (combo->currentIndex() > entry) {
            QTest::keyClick(combo, Qt::Key_Up);
        }
    }

    KivMemoryCommonDataManager common;
    KivOptionsDlg dialog;
};

} // namespace

TEST_F(OptionsWindow, ShowsWhatTheHostKeeps) {
    EXPECT_EQ(window().getSelection(KivOptionsDlg::sizeChoice), 2);
    EXPECT_EQ(window().getText(KivOptionsDlg::widthField), L"800");
    EXPECT_FALSE(window().isControlEnabled(KivOptionsDlg::widthField));
    EXPECT_EQ(window().getCheck(KivOptionsDlg::antialiasFour), 1);
    EXPECT_EQ(at<KivColorField>(&window(), KivOptionsDlg::backgroundColor)->getColor(), QColor(0x40, 0x80, 0xFF));
    EXPECT_TRUE(at<QLabel>(&window(), KivOptionsDlg::backgroundCaption)->font().underline());
}

TEST_F(OptionsWindow, ASizeOfOnesOwnKeepsItsProportions) {
    choose(5);
    EXPECT_TRUE(window().isControlEnabled(KivOptionsDlg::widthField));
    click(KivOptionsDlg::aspectBox);
    auto* const width = at<QLineEdit>(&window(), KivOptionsDlg::widthField);
    QApplication::setActiveWindow(width->window());
    width->setFocus();
    width->selectAll();
    QTest::keyClicks(width, "1000");
    EXPECT_EQ(window().getText(KivOptionsDlg::heightField), L"750");
    ASSERT_TRUE(dialog.OnApply());
    EXPECT_EQ(dialog.getCommonSettings().getResolution(), (SIZE{1000, 750}));
    choose(4);
    EXPECT_EQ(window().getText(KivOptionsDlg::widthField), L"1280");
    EXPECT_FALSE(window().isControlEnabled(KivOptionsDlg::widthField));
}

TEST_F(OptionsWindow, RadioButtonsOfAGroupExcludeEachOther) {
    click(KivOptionsDlg::antialiasTwo);
    EXPECT_EQ(window().getCheck(KivOptionsDlg::antialiasFour), 0);
    ASSERT_TRUE(dialog.OnApply());
    EXPECT_EQ(dialog.getCommonSettings().getAntialias(), 1);
    window().setCheck(KivOptionsDlg::antialiasTwo, 0);
    EXPECT_EQ(window().getCheck(KivOptionsDlg::antialiasTwo), 0) << "by hand all of them can be off";
}

TEST_F(OptionsWindow, VectorOutputWantsAFile) {
    whenModal([](QWidget* modal) { static_cast<QDialog*>(modal)->reject(); });
    click(KivOptionsDlg::vectorialBox);
    EXPECT_EQ(window().getCheck(KivOptionsDlg::vectorialBox), 0) << "the picker was cancelled";
    EXPECT_TRUE(window().isControlEnabled(KivOptionsDlg::antialiasNone));
    window().setText(KivOptionsDlg::vectorField, L"/somewhere/a.svg");
    click(KivOptionsDlg::vectorialBox);
    EXPECT_EQ(window().getCheck(KivOptionsDlg::vectorialBox), 1);
    EXPECT_TRUE(window().isControlEnabled(KivOptionsDlg::vectorField));
    EXPECT_FALSE(window().isControlEnabled(KivOptionsDlg::antialiasNone));
    click(KivOptionsDlg::shadowsBox);
    EXPECT_EQ(window().getCheck(KivOptionsDlg::vectorialBox), 0);
    EXPECT_FALSE(window().isControlEnabled(KivOptionsDlg::vectorField));
}

TEST_F(OptionsWindow, AColourIsPickedWithMouseOrKey) {
    auto* const field = at<KivColorField>(&window(), KivOptionsDlg::ambientColor);
    whenModal([](QWidget* modal) {
        auto* const picker = qobject_cast<QColorDialog*>(modal);
        ASSERT_NE(picker, nullptr);
        picker->setCurrentColor(QColor(1, 2, 3));
        picker->accept();
    });
    QTest::mouseClick(field, Qt::LeftButton);
    EXPECT_EQ(field->getColor(), QColor(1, 2, 3));
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x030201U);
    whenModal([](QWidget* modal) { static_cast<QDialog*>(modal)->reject(); });
    QTest::keyClick(field, Qt::Key_Space);
    EXPECT_EQ(field->getColor(), QColor(1, 2, 3)) << "a cancel changes nothing";
}

TEST_F(OptionsWindow, TheFolderFieldFallsBackToItsText) {
    auto* const field = at<QLineEdit>(&window(), KivOptionsDlg::folderField);
    QApplication::setActiveWindow(field->window());
    field->setFocus();
    field->clear();
    at<QComboBox>(&window(), KivOptionsDlg::sizeChoice)->setFocus();
    EXPECT_EQ(field->text(), "(default folder)");
}

// --- themes

static QPalette theme(const QColor& window) {
    QPalette palette(window);
    palette.setColor(QPalette::Link, QColor(0x7F, 0xB0, 0xFF));
    return palette;
}

TEST_F(OptionsWindow, LinksFollowTheTheme) {
    auto* const caption = at<QLabel>(&window(), KivOptionsDlg::ambientCaption);
    QWidget* const widget = KivQtWindow::widgetOf(&window());
    EXPECT_EQ(caption->cursor().shape(), Qt::PointingHandCursor);
    widget->setPalette(theme(Qt::white));
    EXPECT_EQ(caption->palette().color(QPalette::WindowText), QColor(0, 0, 255));
    widget->setPalette(theme(QColor(30, 30, 30)));
    EXPECT_EQ(caption->palette().color(QPalette::WindowText), QColor(0x7F, 0xB0, 0xFF));
    widget->setPalette(theme(Qt::white));
    EXPECT_EQ(caption->palette().color(QPalette::WindowText), QColor(0, 0, 255));
}

TEST_F(OptionsWindow, AClickOnACaptionPicksItsColour) {
    whenModal([](QWidget* modal) {
        auto* const picker = qobject_cast<QColorDialog*>(modal);
        ASSERT_NE(picker, nullptr);
        picker->setCurrentColor(QColor(1, 2, 3));
        picker->accept();
    });
    QTest::mouseClick(at<QLabel>(&window(), KivOptionsDlg::backgroundCaption), Qt::LeftButton);
    EXPECT_EQ(at<KivColorField>(&window(), KivOptionsDlg::backgroundColor)->getColor(), QColor(1, 2, 3));
    EXPECT_EQ(dialog.getCommonSettings().getBackgroundColor(), 0x030201U);
}

TEST_F(OptionsWindow, ADisabledColourLooksLikeItsWindow) {
    QWidget* const widget = KivQtWindow::widgetOf(&window());
    auto* const field = at<KivColorField>(&window(), KivOptionsDlg::backgroundColor);
    for (const QColor& ground : {QColor(240, 240, 240), QColor(30, 30, 30)}) {
        widget->setPalette(theme(ground));
        for (const bool enabled : {true, false}) {
            window().enableControl(KivOptionsDlg::backgroundColor, enabled);
            const QImage shown = field->grab().toImage();
            EXPECT_EQ(shown.pixelColor(shown.rect().center()), enabled ? QColor(0x40, 0x80, 0xFF) : ground);
        }
    }
}

// --- list boxes

TEST_F(QtDialogs, AListBoxTellsOfTheRowUnderTheMouse) {
    auto form = std::make_unique<QWidget>();
    auto* const list = new QListWidget(form.get());
    list->setProperty("control", 7);
    list->addItems({"first", "second"});
    list->resize(200, 200);
    form->resize(200, 200);
    KivQtWindow window(std::move(form));
    EXPECT_TRUE(window.isListBox(7));
    EXPECT_FALSE(window.isListBox(8));
    std::vector<int> rows;
    window.setListener([&](const KivControlEvent& event) {
        if (event.control == 7 && event.change == KivControlChange::pointed) {
            rows.push_back(event.item);
            window.setToolTip(7, window.getItemText(7, event.item));
        }
    });
    window.show(true);
    QTest::mouseMove(list->viewport(), list->visualItemRect(list->item(1)).center());
    ASSERT_TRUE(QTest::qWaitFor([&rows] { return !rows.empty(); }, 1000));
    EXPECT_EQ(rows.back(), 1);
    EXPECT_EQ(list->toolTip(), "second");
    QTest::mouseMove(list->viewport(), QPoint(20, 180));
    ASSERT_TRUE(QTest::qWaitFor([&rows] { return rows.back() == -1; }, 1000));
    EXPECT_EQ(list->toolTip(), "") << "none outside the rows";
}
