// What a crash has left, as the next start finds it.
#include "studio/window/windowfixture.h"

#include <QDateTime>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>
#include <csignal>
#include <sys/resource.h>

namespace {

class StudioWindowRecovery : public StudioWindowTest {
protected:
    // Presses these buttons in the messages that come, one after another, and keeps what they said.
    void hear(const QStringList& buttons) {
        whenModal([this, buttons](QWidget* modal) {
            const auto* const box = qobject_cast<QMessageBox*>(modal);
            heard << (box != nullptr ? box->text() : modal->windowTitle());
            const QList<QAbstractButton*> all = modal->findChildren<QAbstractButton*>();
            const auto found = std::find_if(
                all.begin(), all.end(), [&](const QAbstractButton* each) { return each->text() == buttons.first(); });
            if (found != all.end()) {
                (*found)->click();
            } else {
                ADD_FAILURE() << "no button " << buttons.first().toStdString();
                modal->close();
            }
            if (buttons.size() > 1) {
                hear(buttons.mid(1));
            }
        });
    }
    static QStringList files(const QString& pattern = "*.selvarin") {
        return QDir(StudioRecovery::folder()).entryList({pattern}, QDir::Files);
    }
    // Work on a model that the window did not come to save; nothing of it is open afterwards.
    StudioState leaveWork(const QString& model = {}) {
        EXPECT_TRUE(window->openFiles({model.isEmpty() ? write("boxes.obj", twoBoxes) : model}));
        trigger(StudioText::viewLeft);
        const StudioState work = window->state();
        const auto before = files().size();
        EXPECT_TRUE(QTest::qWaitFor([&] { return files().size() > before; }, 10000));
        window.reset(); // without closing it: as a crash, but for the process
        open();
        return work;
    }

    QStringList heard;
};

// No file may be written as long as it lives, as on a full disk.
class FullDisk {
public:
    FullDisk() : former(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit none{0, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, former);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit limit{};
    void (*former)(int);
};

} // namespace

TEST_F(StudioWindowRecovery, WhatCantBeReadIsToldOnceAndKept) {
    QDir().mkpath(StudioRecovery::folder());
    const QByteArray newer = "{\"selvarin\": 99, \"look\": []}";
    const QString left = write("state/selvarin/recovery/1-x.selvarin", newer);
    hear({"OK"});
    window->offerRecovery();
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].contains(left)) << heard[0].toStdString();
    EXPECT_TRUE(heard[0].contains("newer version")) << heard[0].toStdString();
    EXPECT_TRUE(heard[0].contains(left + ".unreadable")) << heard[0].toStdString();
    QFile kept(left + ".unreadable");
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), newer);
    window->offerRecovery();
    EXPECT_EQ(heard.size(), 1) << "it is not told again";
}

TEST_F(StudioWindowRecovery, NothingCanBeUndoneToAStateThatIsNotTheirs) {
    const StudioState work = leaveWork();
    hear({"Recover"});
    window->offerRecovery();
    EXPECT_TRUE(window->state() == work);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_FALSE(undoAction()->isEnabled());
    EXPECT_EQ(files().size(), 1) << "it is still kept against a crash";
    // Not even a way there and back makes it a saved one.
    trigger(StudioText::viewTop);
    undoAction()->trigger();
    EXPECT_TRUE(window->state() == work);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_EQ(files().size(), 1);
    hear({"Cancel"});
    EXPECT_FALSE(window->close()) << "it asks";
}

TEST_F(StudioWindowRecovery, TheOldFileStaysUntilThereIsANewOne) {
    const StudioState work = leaveWork();
    const QStringList before = files();
    std::unique_ptr<FullDisk> disk;
    whenModal([&](QWidget* modal) {
        disk = std::make_unique<FullDisk>();
        qobject_cast<QMessageBox*>(modal)->defaultButton()->click();
    });
    window->offerRecovery();
    disk.reset();
    EXPECT_TRUE(window->state() == work);
    EXPECT_EQ(files(), before);
}

TEST_F(StudioWindowRecovery, AMissingModelDoesNotHideOlderWork) {
    const StudioState older = leaveWork();
    leaveWork(write("gone.obj", twoBoxes));
    ASSERT_EQ(files().size(), 2);
    for (const StudioRecovery::Found& found : StudioRecovery::findAbandoned()) {
        StudioState read;
        QString why;
        ASSERT_TRUE(StudioRecovery::read(found, &read, &why));
        if (read == older) {
            QFile file(found.file);
            ASSERT_TRUE(file.open(QIODevice::ReadWrite) &&
                        file.setFileTime(QDateTime::currentDateTime().addSecs(-3600), QFile::FileModificationTime));
        }
    }
    ASSERT_TRUE(QFile::remove(homeFolder() + "/gone.obj"));
    hear({"Recover", "OK", "Recover"});
    window->offerRecovery();
    ASSERT_EQ(heard.size(), 3);
    EXPECT_TRUE(heard[1].contains("gone.obj")) << heard[1].toStdString();
    EXPECT_TRUE(window->state() == older);
    EXPECT_EQ(files().size(), 2) << "the other one is kept";
}

TEST_F(StudioWindowRecovery, TheQuestionHasWordsOfItsOwn) {
    leaveWork();
    const auto found = StudioRecovery::findAbandoned();
    ASSERT_EQ(found.size(), 1U);
    const QString when = QLocale().toString(found[0].changed, QLocale::ShortFormat);
    EXPECT_LT(std::abs(found[0].changed.secsTo(QDateTime::currentDateTime())), 60);
    // Escape is for later.
    whenModal([this](QWidget* modal) {
        heard << qobject_cast<QMessageBox*>(modal)->text();
        QTest::keyClick(modal, Qt::Key_Escape);
    });
    window->offerRecovery();
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard[0].contains(when)) << heard[0].toStdString();
    EXPECT_TRUE(heard[0].contains("boxes.obj")) << heard[0].toStdString();
    EXPECT_EQ(files().size(), 1);
    hear({"Later"});
    window->offerRecovery();
    EXPECT_EQ(files().size(), 1);
    hear({"Delete"});
    window->offerRecovery();
    EXPECT_TRUE(files().isEmpty());
    EXPECT_TRUE(window->state().models.empty());
}
