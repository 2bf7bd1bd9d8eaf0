// Pictures in layers, saved as OpenRaster.
#include "apps/studio/documentfiles.h"
#include "windowfixture.h"

#include <QProcess>
#include <QStatusBar>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

class LayeredPictures : public StudioWindowTest {
protected:
    void save(const QString& name) {
        chooseFile(homeFolder() + "/" + name);
        trigger(StudioText::savePicture);
    }
    static QString outputOf(const QString& program, const QStringList& words) {
        QProcess process;
        process.start(program, words);
        EXPECT_TRUE(process.waitForFinished());
        return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError()).trimmed();
    }
    // The layers from the lowest up, as Python's zipfile finds them.
    static QString layersIn(const QString& file) {
        return outputOf("python3", {READ_OPENRASTER, file});
    }
    // The worst channel of so many layers laid over one another, against the picture.
    static double worstDifference(const QString& folder, int layers, const QImage& picture) {
        double worst = 0.0;
        std::vector<QImage> images;
        for (int i = 0; i < layers; ++i) {
            images.push_back(QImage(folder + "/data/layer" + QString::number(i) + ".png"));
            EXPECT_EQ(images.back().size(), picture.size()) << i;
        }
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                double laid[3] = {};
                for (const QImage& image : images) {
                    const QRgb pixel = image.pixel(x, y);
                    const double alpha = qAlpha(pixel) / 255.0;
                    const int own[3] = {qRed(pixel), qGreen(pixel), qBlue(pixel)};
                    for (int c = 0; c < 3; ++c) {
                        laid[c] += (own[c] - laid[c]) * alpha;
                    }
                }
                const QRgb wanted = picture.pixel(x, y);
                worst = std::max({worst, std::abs(laid[0] - qRed(wanted)), std::abs(laid[1] - qGreen(wanted)),
                                  std::abs(laid[2] - qBlue(wanted))});
            }
        }
        return worst;
    }
};

} // namespace

TEST_F(LayeredPictures, LaidOverOneAnotherGiveThePicture) {
    openBoxes();
    trigger(StudioText::render);
    ASSERT_EQ(tabs().count(), 2);
    save("out.png");
    save("out.ora");
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("out.ora"));
    EXPECT_EQ(tabs().count(), 2) << "no tab for them";
    const QString names = layersIn(homeFolder() + "/out.ora");
    EXPECT_TRUE(names.startsWith("paper colours ") && names.endsWith(" lines")) << names.toStdString();
    outputOf("unzip", {"-q", homeFolder() + "/out.ora", "-d", homeFolder() + "/ora"});
    const QImage picture(homeFolder() + "/out.png");
    EXPECT_LE(worstDifference(homeFolder() + "/ora", static_cast<int>(names.split(' ').size()), picture), 2.5);
}

// Only what is drawn, in the layers of a picture without a background.
TEST_F(LayeredPictures, APictureWithoutABackgroundHasNoPaper) {
    StudioState state = window->state();
    state.withoutBackground = true;
    const QString document = homeFolder() + "/bare.selvarin";
    QString why;
    ASSERT_TRUE(saveStudioDocument(document, state, &why)) << why.toStdString();
    ASSERT_TRUE(window->openFiles({document}));
    settle();
    trigger(StudioText::render);
    ASSERT_EQ(tabs().count(), 2);
    save("bare.ora");
    const QString names = layersIn(homeFolder() + "/bare.ora");
    EXPECT_TRUE(names.startsWith("colours ")) << names.toStdString();
    outputOf("unzip", {"-q", homeFolder() + "/bare.ora", "-d", homeFolder() + "/ora"});
    const QImage merged(homeFolder() + "/ora/mergedimage.png");
    ASSERT_TRUE(merged.hasAlphaChannel());
    EXPECT_EQ(qAlpha(merged.pixel(1, 1)), 0);
}
