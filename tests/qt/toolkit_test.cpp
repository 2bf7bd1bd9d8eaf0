// Message boxes, pickers and timers.
#include "qt/qtdialogs.h"

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
