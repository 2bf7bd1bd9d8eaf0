// The pictures in the list of styles.
#include "apps/studio/stylethumbnails.h"
#include "kivrender/shader/kivstylefile.h"
#include "windowfixture.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <set>

namespace {

using Dlg = KivPropertiesDlg;

class StyleThumbnailsTest : public StudioWindowTest {
protected:
    static constexpr int suppliedFolder = 2; // numbers of folders as the list has them
    static constexpr int userFolder = 1;

    // A list of its own with these styles.
    void makeList(const QStringList& supplied, const QStringList& own) {
        for (const QString& name : supplied) {
            list.addItem(name, folderOf(name));
        }
        for (const QString& name : own) {
            list.addItem(name, userFolder);
        }
        thumbnails = new StyleThumbnails(&list, *host, [this] { return isFree; });
    }
    static int folderOf(const QString& name) {
        for (const int folder : {0, 1, 2}) {
            for (const KivStyleEntry& style : kivListStyles(static_cast<KivHostApplicationServices::Folder>(folder))) {
                if (kivToQt(style.name) == name) {
                    return folder + 1;
                }
            }
        }
        ADD_FAILURE() << "no style " << name.toStdString();
        return 0;
    }
    QString writeStyle(const QString& name, const QByteArray& content) const {
        wchar_t folder[kivMaxPath] = {};
        EXPECT_TRUE(host->getStyleFolder(KivHostApplicationServices::userFolder, folder));
        QDir().mkpath(kivToQt(folder));
        const QString path = kivToQt(kivStylePath(folder, kivFromQt(name)));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        return path;
    }
    static QByteArray contentOf(const QString& style) {
        for (const KivStyleEntry& each : kivListStyles()) {
            if (kivToQt(each.name) == style) {
                QFile file(kivToQt(each.path));
                EXPECT_TRUE(file.open(QIODevice::ReadOnly));
                return file.readAll();
            }
        }
        return {};
    }
    bool complete() {
        list.showPopup();
        return QTest::qWaitFor([this] { return thumbnails->areComplete(); }, 20000);
    }
    QImage picture(const QComboBox& box, int row) const {
        return box.itemIcon(row).pixmap(QSize(StyleThumbnails::side, StyleThumbnails::side)).toImage();
    }
    static std::size_t numColours(const QImage& image) {
        std::set<QRgb> colours;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                colours.insert(image.pixel(x, y));
            }
        }
        return colours.size();
    }

    QComboBox list;
    StyleThumbnails* thumbnails = nullptr;
    bool isFree = true;
};

TEST_F(StyleThumbnailsTest, TheOpenListShowsWhatItsStylesDraw) {
    settle();
    auto* const styles = control<QComboBox>(Dlg::stylesCombo);
    const int chosen = styles->currentIndex();
    const QString title = window->windowTitle();
    const QImage closed = styles->itemIcon(0).pixmap(16, 16).toImage();
    styles->showPopup();
    const auto* const drawn = find<StyleThumbnails>();
    EXPECT_TRUE(QTest::qWaitFor([&] { return drawn->areComplete(); }, 20000));
    styles->view()->window()->grab().save("/tmp/h13pop.png");
    for (const int row : {0, 1, 2}) {
        EXPECT_GT(numColours(picture(*styles, row)), 20U) << row;
    }
    EXPECT_NE(picture(*styles, 0), picture(*styles, 1));
    EXPECT_EQ(styles->itemIcon(0).pixmap(16, 16).toImage(), closed);
    styles->hidePopup();
    EXPECT_EQ(styles->currentIndex(), chosen);
    EXPECT_EQ(window->windowTitle(), title) << "the document is as it was";
    EXPECT_FALSE(find<LookPanel>()->dialog().isChanged());
}

TEST_F(StyleThumbnailsTest, EachIsDrawnOnceUntilItsFileChanges) {
    const QString path = writeStyle("Mine", contentOf("Pencil"));
    makeList({"Pencil"}, {"Mine"});
    ASSERT_TRUE(complete());
    list.hidePopup();
    const QImage pencil = picture(list, 0);
    const qint64 drawn[2] = {list.itemIcon(0).cacheKey(), list.itemIcon(1).cacheKey()};
    ASSERT_TRUE(complete());
    list.hidePopup();
    EXPECT_EQ(list.itemIcon(1).cacheKey(), drawn[1]);
    writeStyle("Mine", contentOf("Clean toon"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime);
    file.close();
    ASSERT_TRUE(complete());
    EXPECT_EQ(list.itemIcon(0).cacheKey(), drawn[0]);
    EXPECT_NE(picture(list, 1), pencil);
}

TEST_F(StyleThumbnailsTest, NothingIsDrawnBesideAnotherPictureOrForAClosedList) {
    makeList({"Pencil"}, {});
    isFree = false;
    list.showPopup();
    QTest::qWait(300);
    EXPECT_FALSE(thumbnails->areComplete());
    EXPECT_TRUE(list.itemIcon(0).isNull());
    list.hidePopup();
    isFree = true;
    QTest::qWait(300);
    EXPECT_TRUE(list.itemIcon(0).isNull());
    EXPECT_TRUE(complete());
    EXPECT_FALSE(list.itemIcon(0).isNull());
}

TEST_F(StyleThumbnailsTest, AFileThatIsNoStyleKeepsItsIcon) {
    writeStyle("Broken", "\xFF\x00not a style");
    makeList({}, {"Broken"});
    const QIcon before = list.itemIcon(0);
    EXPECT_TRUE(complete());
    EXPECT_EQ(list.itemIcon(0).isNull(), before.isNull());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

} // namespace
