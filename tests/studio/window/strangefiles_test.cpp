// Documents and pictures of strangers: nothing is written that the user has not chosen, and what can't be used is told.
#include "apps/studio/documentfiles.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>

#include <csignal>
#include <sys/resource.h>

namespace {

class StrangeFiles : public StudioWindowTest {
protected:
    // A document with one box, small pictures, and these options.
    QString writeDocument(QJsonObject options) const {
        options["size"] = QJsonArray{40, 30};
        options["customSize"] = true;
        options["antialias"] = 0;
        const QJsonObject json{{"selvarin", 1},
                               {"models", QJsonArray{QJsonObject{{"path", write("boxes.obj", twoBoxes)}}}},
                               {"look", QJsonArray()},
                               {"options", options}};
        return write("strange.selvarin", QJsonDocument(json).toJson());
    }
    QByteArray contentOf(const QString& file) const {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("nothing");
    }
    // Presses that button in the message that comes and keeps what it said.
    void hear(const QString& button) {
        whenModal([this, button](QWidget* modal) {
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
    void openDocument(const QJsonObject& options) {
        ASSERT_TRUE(window->openFiles({writeDocument(options)}));
        settle();
    }

    QStringList heard;
};

} // namespace

TEST_F(StrangeFiles, APictureThatOnlyADocumentNamesIsAskedFor) {
    const QString victim = write("victim.png", "mine");
    openDocument({{"saveImage", true}, {"saveDepth", true}, {"imageFile", victim}});
    hear(studioText(StudioText::cancel));
    trigger(StudioText::render);
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard.first().contains(studioText(StudioText::fileIsReplaced).arg(victim)));
    EXPECT_TRUE(heard.first().contains(homeFolder() + "/victim_depth.png"));
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_EQ(contentOf(victim), "mine");

    hear(studioText(StudioText::dontWriteButton));
    trigger(StudioText::render);
    EXPECT_EQ(tabs().count(), 2) << "there is a picture";
    EXPECT_EQ(contentOf(victim), "mine");
    EXPECT_FALSE(QFileInfo::exists(homeFolder() + "/victim_depth.png"));

    hear(studioText(StudioText::writeButton));
    trigger(StudioText::render);
    EXPECT_TRUE(contentOf(victim).startsWith("\x89PNG"));
    EXPECT_TRUE(QFileInfo::exists(homeFolder() + "/victim_depth.png"));
    trigger(StudioText::render); // once in a run is enough
    EXPECT_EQ(heard.size(), 3);
    EXPECT_EQ(tabs().count(), 4);
}

TEST_F(StrangeFiles, SoIsADrawing) {
    const QString victim = write("victim.svg", "mine");
    openDocument({{"vector", true}, {"vectorFile", victim}});
    hear(studioText(StudioText::cancel));
    trigger(StudioText::render);
    EXPECT_EQ(contentOf(victim), "mine");
    hear(studioText(StudioText::writeButton));
    trigger(StudioText::render);
    EXPECT_TRUE(contentOf(victim).contains("<svg"));
    EXPECT_EQ(heard.size(), 2);
}

// Files that depth and shadows alone would write.
TEST_F(StrangeFiles, DepthAndShadowsAreAskedForWithoutThePicture) {
    openDocument(
        {{"saveDepth", true}, {"saveShadows", true}, {"shadows", true}, {"imageFile", homeFolder() + "/x.png"}});
    hear(studioText(StudioText::cancel));
    trigger(StudioText::render);
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard.first().contains("x_depth.png"));
    EXPECT_TRUE(heard.first().contains("x_shadow.png"));
}

TEST_F(StrangeFiles, AnExportWritesNothingBesideTheDrawing) {
    const QString victim = write("victim_depth.png", "mine");
    openDocument({{"saveDepth", true}, {"saveShadows", true}, {"imageFile", homeFolder() + "/victim.png"}});
    const QString file = homeFolder() + "/out.svg";
    chooseFile(file, "SVG drawings (*.svg)");
    trigger(StudioText::exportDrawing);
    EXPECT_TRUE(contentOf(file).contains("<svg"));
    EXPECT_EQ(contentOf(victim), "mine");
}

TEST_F(StrangeFiles, WhatTheUserChangesInTheOptionsIsChosen) {
    KivCommonSettings before;
    before.setSaveRender(true);
    before.setSaveRenderFile(L"/strange/a.png");
    KivCommonSettings after = before;
    after.setAntialias(1);
    ChosenFiles files;
    files.addChanged(before, after);
    EXPECT_EQ(files.notChosen(after), QStringList{"/strange/a.png"}) << "nobody has looked at it";
    after.setSaveRenderFile(L"/mine/../mine/b.png");
    files.addChanged(before, after);
    EXPECT_EQ(files.notChosen(after), QStringList());
    after.setSaveDepth(true);
    EXPECT_EQ(files.notChosen(after), QStringList{"/mine/b_depth.png"});
    EXPECT_EQ(files.notChosen(KivCommonSettings()), QStringList());
}

TEST_F(StrangeFiles, APaperThatCantBeReadIsAnError) {
    const QString paper = write("paper.png", "no picture");
    openDocument({{"paper", paper}, {"backgroundImage", homeFolder() + "/none.png"}});
    hear(studioText(StudioText::ok));
    trigger(StudioText::render);
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(heard.first().contains(
        studioText(StudioText::pictureUnusable).arg(paper, studioText(StudioText::pictureBroken))));
    EXPECT_TRUE(heard.first().contains(studioText(StudioText::pictureUnusable)
                                           .arg(homeFolder() + "/none.png", studioText(StudioText::pictureMissing))));
    EXPECT_EQ(tabs().count(), 1);
}

TEST_F(StrangeFiles, APlaceThatCantBeWrittenIsNamedWithTheReason) {
    const QString nowhere = homeFolder() + "/nowhere/out.svg";
    openDocument({{"vector", true}, {"vectorFile", nowhere}});
    hear(studioText(StudioText::writeButton));
    QTimer::singleShot(200, qApp, [this] { hear(studioText(StudioText::ok)); });
    trigger(StudioText::render);
    ASSERT_EQ(heard.size(), 2);
    EXPECT_TRUE(heard.last().contains(nowhere)) << heard.last().toStdString();
    EXPECT_TRUE(heard.last().contains("can't be found")) << heard.last().toStdString();
}

// A limit on the size of files stands for a full disk.
TEST_F(StrangeFiles, ADocumentThatCantBeWrittenKeepsTheOldOne) {
    const QString file = write("old.selvarin", "mine");
    StudioState state = window->state();
    state.models.assign(1000, L"/a/long/name/of/a/model.obj");
    rlimit usual = {};
    getrlimit(RLIMIT_FSIZE, &usual);
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit low{1024, usual.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
    QString why;
    const bool saved = saveStudioDocument(file, state, &why);
    setrlimit(RLIMIT_FSIZE, &usual);
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_FALSE(saved);
    EXPECT_EQ(why, file + ": The file is larger than the limit allows.");
    EXPECT_EQ(contentOf(file), "mine");
    EXPECT_EQ(QDir(homeFolder()).entryList({"*old*"}, QDir::Files | QDir::Hidden), QStringList{"old.selvarin"});
}

TEST_F(StrangeFiles, ARecoveryFileNamesADocumentOrNothing) {
    const QString folder = StudioRecovery::folder();
    ASSERT_TRUE(QDir().mkpath(folder));
    const auto found = [&](const QString& document) {
        QFile out(folder + "/a.selvarin");
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(QJsonDocument(QJsonObject{{"selvarin", 1}, {"look", QJsonArray()}, {"recoveredDocument", document}})
                      .toJson());
        out.close();
        const std::vector<StudioRecovery::Found> all = StudioRecovery::findAbandoned();
        return all.size() == 1 ? all.front().document : QStringLiteral("none");
    };
    EXPECT_EQ(found("/home/me/work.selvarin"), "/home/me/work.selvarin");
    EXPECT_EQ(found("/home/me/.profile"), "");
    EXPECT_EQ(found("work.selvarin"), "");
}
