// Message boxes, pickers and timers.
#include "qt/kivqttext.h"
#include "qt/qtdialogs.h"

#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>

TEST_F(QtDialogs, MessagesHaveOneButtonAndQuestionsTwo) {
    whenModal([](QWidget* modal) {
        auto* const box = qobject_cast<QMessageBox*>(modal);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->text(), "what <b>happened</b>");
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        EXPECT_EQ(box->buttons().size(), 1);
        box->button(QMessageBox::Ok)->click();
    });
    EXPECT_EQ(toolkit.showMessage(nullptr, L"what <b>happened</b>", L"Selvarin", KivMessageKind::Error), kivAnswerOk);
    whenModal([](QWidget* modal) { static_cast<QMessageBox*>(modal)->button(QMessageBox::Yes)->click(); });
    EXPECT_EQ(toolkit.showMessage(nullptr, L"?", L"Selvarin", KivMessageKind::Question), kivAnswerYes);
    whenModal([](QWidget* modal) { static_cast<QMessageBox*>(modal)->button(QMessageBox::No)->click(); });
    EXPECT_EQ(toolkit.showMessage(nullptr, L"?", L"Selvarin", KivMessageKind::Question), kivAnswerNo);
    whenModal([](QWidget* modal) { QTest::keyClick(modal, Qt::Key_Escape); });
    EXPECT_EQ(toolkit.showMessage(nullptr, L"?", L"Selvarin", KivMessageKind::Question), kivAnswerNo);
}

TEST_F(QtDialogs, ThePickerHasTheFiltersOfTheHost) {
    const QTemporaryDir folder;
    QStringList filters;
    whenModal([&](QWidget* modal) {
        auto* const dialog = qobject_cast<QFileDialog*>(modal);
        ASSERT_NE(dialog, nullptr);
        filters = dialog->nameFilters();
        dialog->setDirectory(folder.path());
        dialog->selectNameFilter("PNG images (*.png)");
        emit dialog->filterSelected("PNG images (*.png)");
        auto* const field = dialog->findChild<QLineEdit*>("fileNameEdit");
        ASSERT_NE(field, nullptr);
        field->setText("picture");
        QTest::keyClick(field, Qt::Key_Return);
    });
    wchar_t name[kivMaxPath] = {};
    EXPECT_EQ(host.getBitmapFilename(nullptr, name, kivMaxPath, 0), 1);
    EXPECT_EQ(QString::fromWCharArray(name), folder.path() + "/picture.png") << "the ending of the chosen kind";
    ASSERT_GE(filters.size(), 6);
    EXPECT_TRUE(filters.contains("PNG images (*.png)"));
    EXPECT_TRUE(filters.contains("JPEG images (*.jpe *.jpg *.jpeg)")) << filters.join("|").toStdString();
}

// Types a name without an ending into a picker in which a row of the kinds is chosen.
static void saveAs(QWidget* modal, const QString& folder, int row) {
    auto* const dialog = qobject_cast<QFileDialog*>(modal);
    ASSERT_NE(dialog, nullptr);
    ASSERT_EQ(dialog->nameFilters().size(), 7);
    EXPECT_EQ(dialog->selectedNameFilter(), dialog->nameFilters().constFirst());
    dialog->setDirectory(folder);
    auto* const kinds = dialog->findChild<QComboBox*>("fileTypeCombo");
    ASSERT_NE(kinds, nullptr);
    for (int i = 0; i < row; ++i) {
        QTest::keyClick(kinds, Qt::Key_Down);
    }
    auto* const field = dialog->findChild<QLineEdit*>("fileNameEdit");
    ASSERT_NE(field, nullptr);
    field->setText("picture");
    QTest::keyClick(field, Qt::Key_Return);
}

TEST_F(QtDialogs, ANameWithoutEndingGetsThatOfTheChosenKind) {
    const QTemporaryDir folder;
    const char* const bitmaps[] = {".jpg", ".jpg", ".tif", ".png", ".bmp", ".gif", ".jpg"};
    const char* const drawings[] = {".pdf", ".pdf", ".ps", ".eps", ".ai", ".svg", ".pdf"};
    wchar_t name[kivMaxPath] = {};
    for (int row = 0; row < 7; ++row) {
        whenModal([&](QWidget* modal) { saveAs(modal, folder.path(), row); });
        EXPECT_EQ(host.getBitmapFilename(nullptr, name, kivMaxPath, 0), 1);
        EXPECT_EQ(name, kivFromQt(folder.path() + "/picture" + bitmaps[row]));
        whenModal([&](QWidget* modal) { saveAs(modal, folder.path(), row); });
        EXPECT_EQ(host.getVectorialFilename(nullptr, name, kivMaxPath, 0), 1);
        EXPECT_EQ(name, kivFromQt(folder.path() + "/picture" + drawings[row]));
    }
}

// The name of the file that is there is "picture.jpg", and what the user types is "picture".
TEST_F(QtDialogs, NoFileIsOverwrittenUnasked) {
    const QTemporaryDir folder;
    for (const char* const ending : {".jpg", ".pdf"}) {
        QFile file(folder.path() + "/picture" + ending);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    for (const bool drawing : {false, true}) {
        for (const int row : {0, 1, 6}) {
            int questions = 0;
            QTimer user;
            QObject::connect(&user, &QTimer::timeout, &user, [&questions] {
                QWidget* const modal = QApplication::activeModalWidget();
                if (auto* const box = qobject_cast<QMessageBox*>(modal)) {
                    ++questions;
                    box->button(QMessageBox::No)->click();
                } else if (modal != nullptr && questions > 0) {
                    static_cast<QDialog*>(modal)->reject();
                }
            });
            user.start(10);
            whenModal([&](QWidget* modal) { saveAs(modal, folder.path(), row); });
            wchar_t name[kivMaxPath] = {};
            EXPECT_EQ(drawing ? host.getVectorialFilename(nullptr, name, kivMaxPath, 0)
                              : host.getBitmapFilename(nullptr, name, kivMaxPath, 0),
                      0)
                << row;
            EXPECT_EQ(questions, 1) << row;
        }
    }
}

TEST_F(QtDialogs, ACancelledPickerChangesNothing) {
    whenModal([](QWidget* modal) { static_cast<QDialog*>(modal)->reject(); });
    KivFileRequest request;
    request.file = L"as it was.png";
    EXPECT_FALSE(toolkit.pickFile(request));
    EXPECT_EQ(request.file, L"as it was.png");
    whenModal([](QWidget* modal) { static_cast<QDialog*>(modal)->reject(); });
    wchar_t folder[kivMaxPath] = L"as it was";
    EXPECT_EQ(host.getFolder(nullptr, L"title", folder), 0);
    EXPECT_STREQ(folder, L"as it was");
}

TEST_F(QtDialogs, TimersFireUntilTheyAreStopped) {
    int fired = 0;
    const unsigned int timer = toolkit.startTimer(5, [&] { ++fired; });
    ASSERT_NE(timer, 0U);
    ASSERT_TRUE(QTest::qWaitFor([&] { return fired >= 3; }, 2000));
    toolkit.stopTimer(timer);
    const int then = fired;
    QTest::qWait(30);
    EXPECT_EQ(fired, then);
    toolkit.stopTimer(timer); // twice does no harm
}

TEST_F(QtDialogs, ATimerMayStopItself) {
    int fired = 0;
    unsigned int timer = 0;
    timer = toolkit.startTimer(1, [&] {
        ++fired;
        toolkit.stopTimer(timer);
    });
    QTest::qWait(30);
    EXPECT_EQ(fired, 1);
}

TEST_F(QtDialogs, NoFormNoWindow) {
    EXPECT_EQ(toolkit.createWindow(nullptr, 4711, nullptr), nullptr);
}
