// Where files go that the user saves.
#include "studio/window/windowfixture.h"

#include <QComboBox>
#include <QDir>
#include <QMessageBox>

namespace {

class StudioWindowSaving : public StudioWindowTest {
protected:
    // A message that comes while files are chosen: what it says, and its button that is pressed.
    void hear(const QString& button) {
        whenModal([this, button](QWidget* modal) {
            if (qobject_cast<QFileDialog*>(modal) != nullptr) {
                hear(button);
                return;
            }
            heard << qobject_cast<QMessageBox*>(modal)->text();
            for (QAbstractButton* const each : modal->findChildren<QAbstractButton*>()) {
                if (each->text() == button) {
                    each->click();
                    return;
                }
            }
            ADD_FAILURE() << "no button " << button.toStdString();
            modal->close();
        });
    }
    // What the file dialog that comes suggests, which is taken as it is, or not at all.
    static void lookAtDialog(QString* suggested, QStringList* filters, bool take = false) {
        whenModal([=](QWidget* modal) {
            auto* const dialog = qobject_cast<QFileDialog*>(modal);
            ASSERT_NE(dialog, nullptr);
            *suggested = dialog->directory().absoluteFilePath(dialog->findChild<QLineEdit*>("fileNameEdit")->text());
            if (filters != nullptr) {
                *filters = dialog->nameFilters();
            }
            QTest::keyClick(dialog->findChild<QLineEdit*>("fileNameEdit"), take ? Qt::Key_Return : Qt::Key_Escape);
        });
    }
    void renderBoxes() {
        openBoxes();
        trigger(StudioText::render);
        ASSERT_EQ(tabs().count(), 2);
    }
    QByteArray start(const QString& file, int bytes) const {
        QFile in(file);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << file.toStdString();
        return in.read(bytes);
    }

    QStringList heard;
};

} // namespace

TEST_F(StudioWindowSaving, ADocumentThatGetsItsEndingIsReplacedOnlyAfterAQuestion) {
    openBoxes();
    const QString other = write("other.selvarin", "somebody's work");
    // The dialog's own question, about the name with its ending.
    chooseFile(homeFolder() + "/other");
    QTimer::singleShot(300, qApp, [] {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr) << "it asks";
        QTest::keyClick(box, Qt::Key_Escape);
        QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape);
    });
    trigger(StudioText::saveAs);
    EXPECT_EQ(start(other, 100), "somebody's work");

    // Here the dialog takes ".2" for an ending.
    const QString dotted = write("other.2.selvarin", "somebody's work");
    chooseFile(homeFolder() + "/other.2");
    QTimer::singleShot(300, qApp, [this] {
        hear("Cancel");
        QTimer::singleShot(300, qApp, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
    });
    trigger(StudioText::saveAs);
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].contains(dotted));
    EXPECT_EQ(start(dotted, 100), "somebody's work");

    chooseFile(homeFolder() + "/other.2");
    QTimer::singleShot(300, qApp, [this] { hear("Replace"); });
    trigger(StudioText::saveAs);
    EXPECT_EQ(start(dotted, 1), "{");
    EXPECT_TRUE(window->windowTitle().startsWith("other.2"));
}

TEST_F(StudioWindowSaving, ADocumentWithAnotherEndingGetsOurs) {
    openBoxes();
    chooseFile(homeFolder() + "/mine.json");
    trigger(StudioText::saveAs);
    EXPECT_EQ(start(homeFolder() + "/mine.json.selvarin", 1), "{");
    EXPECT_FALSE(QFile::exists(homeFolder() + "/mine.json"));
}

TEST_F(StudioWindowSaving, AnEndingThatCantBeWrittenIsToldAndTheDialogComesAgain) {
    renderBoxes();
    chooseFile(homeFolder() + "/pic.webp");
    QTimer::singleShot(300, qApp, [this] {
        hear("OK");
        QTimer::singleShot(300, qApp, [this] { chooseFile(homeFolder() + "/pic.gif"); });
    });
    trigger(StudioText::savePicture);
    EXPECT_EQ(heard, QStringList{"Selvarin can't write .webp; it writes PNG, JPEG, TIFF, BMP and GIF."});
    EXPECT_FALSE(QFile::exists(homeFolder() + "/pic.webp"));
    EXPECT_EQ(start(homeFolder() + "/pic.gif", 3), "GIF");

    heard.clear();
    chooseFile(homeFolder() + "/drawing.docx");
    QTimer::singleShot(300, qApp, [this] {
        hear("OK");
        QTimer::singleShot(300, qApp, [] { QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape); });
    });
    trigger(StudioText::exportDrawing);
    EXPECT_EQ(heard, QStringList{"Selvarin can't write .docx; it writes SVG, PDF, DXF, EPS, PostScript, AI and HPGL."});
}

TEST_F(StudioWindowSaving, APictureIsPngUnlessSomebodySaysOtherwise) {
    renderBoxes();
    chooseFile(homeFolder() + "/plain");
    trigger(StudioText::savePicture);
    EXPECT_EQ(start(homeFolder() + "/plain.png", 4), "\x89PNG");
    whenModal([this](QWidget* modal) {
        auto* const kinds = modal->findChild<QComboBox*>("fileTypeCombo");
        ASSERT_NE(kinds, nullptr);
        QTest::keyClick(kinds, Qt::Key_Down);
        EXPECT_EQ(kinds->currentText(), "JPEG images (*.jpg *.jpeg)");
        chooseFile(homeFolder() + "/chosen");
    });
    trigger(StudioText::savePicture);
    EXPECT_EQ(start(homeFolder() + "/chosen.jpg", 2), "\xFF\xD8");
    chooseFile(homeFolder() + "/drawing");
    trigger(StudioText::exportDrawing);
    EXPECT_TRUE(start(homeFolder() + "/drawing.svg", 5).startsWith("<"));
}

TEST_F(StudioWindowSaving, ANameIsSuggestedAndEachKindHasItsFolder) {
    renderBoxes();
    QString suggested;
    QStringList filters;
    lookAtDialog(&suggested, &filters, true);
    trigger(StudioText::savePicture);
    EXPECT_EQ(suggested, homeFolder() + "/boxes.png") << "beside the model at first";
    EXPECT_EQ(filters.value(0), "PNG images (*.png)");
    EXPECT_EQ(filters.size(), 6) << "pictures in layers among them";
    EXPECT_TRUE(QFile::remove(suggested)) << "it was written, and is in no later dialog's way";

    ASSERT_TRUE(QDir(homeFolder()).mkpath("pictures") && QDir(homeFolder()).mkpath("documents"));
    chooseFile(homeFolder() + "/pictures/one.png");
    trigger(StudioText::savePicture);
    chooseFile(homeFolder() + "/documents/work.selvarin");
    trigger(StudioText::saveAs);
    lookAtDialog(&suggested, nullptr);
    trigger(StudioText::savePicture);
    EXPECT_EQ(suggested, homeFolder() + "/pictures/work.png") << "the document's name, the pictures' folder";
    lookAtDialog(&suggested, &filters);
    trigger(StudioText::exportDrawing);
    EXPECT_EQ(suggested, homeFolder() + "/documents/work.svg") << "beside the document, as there was no drawing yet";
    EXPECT_EQ(filters.value(0), "SVG drawings (*.svg)");
    window.reset();
    open();
    openBoxes();
    lookAtDialog(&suggested, nullptr);
    trigger(StudioText::saveAs);
    EXPECT_EQ(suggested, homeFolder() + "/documents/boxes.selvarin") << "another window knows the folder";
}

// Longer than many buffers are.
TEST_F(StudioWindowSaving, LongPathsAreWrittenWhole) {
    renderBoxes();
    QString folder = homeFolder();
    for (int i = 0; i < 6; ++i) {
        folder += "/" + QString(60, QLatin1Char(static_cast<char>('a' + i)));
    }
    ASSERT_TRUE(QDir().mkpath(folder));
    chooseFile(folder + "/long.svg");
    trigger(StudioText::exportDrawing);
    EXPECT_TRUE(QFile::exists(folder + "/long.svg"));
    tabs().setCurrentIndex(1);
    chooseFile(folder + "/long.png");
    trigger(StudioText::savePicture);
    EXPECT_TRUE(QFile::exists(folder + "/long.png"));
}
