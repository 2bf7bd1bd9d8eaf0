#include "apps/studio/barepicture.h"

#include "apps/common/coverage.h"
#include "kivrender/platform/kivimage.h"

#include <QFileInfo>
#include <QPainter>

#include <cstring>

namespace {

// Both keep blue, green, red and alpha in this order, not multiplied.
constexpr std::size_t pixelBytes = 4;

} // namespace

std::unique_ptr<KivImage> kivImageOf(const QImage& picture) {
    std::unique_ptr<KivImage> made = KivImage::createWithAlpha({picture.width(), picture.height()});
    const QImage pixels = picture.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; made != nullptr && y < picture.height(); ++y) {
        std::memcpy(made->row(y), pixels.constScanLine(y), pixelBytes * static_cast<std::size_t>(picture.width()));
    }
    return made;
}

QImage barePicture(const QImage& onBlack, const QImage& onWhite, const QImage& onPaper) {
    const std::unique_ptr<KivImage> black = kivImageOf(onBlack);
    const std::unique_ptr<KivImage> white = kivImageOf(onWhite);
    const std::unique_ptr<KivImage> paper = onPaper.isNull() ? nullptr : kivImageOf(onPaper);
    if (black == nullptr || white == nullptr || (paper == nullptr && !onPaper.isNull())) {
        return {};
    }
    const std::unique_ptr<KivImage> bare = pictureWithoutBackground(*black, *white, paper.get());
    QImage made(onBlack.size(), QImage::Format_ARGB32);
    if (bare == nullptr || made.isNull()) {
        return {};
    }
    for (int y = 0; y < made.height(); ++y) {
        std::memcpy(made.scanLine(y), bare->row(y), pixelBytes * static_cast<std::size_t>(made.width()));
    }
    return made;
}

QImage laidOn(const QImage& picture, const QColor& colour) {
    QImage made(picture.size(), QImage::Format_RGB32);
    made.fill(colour);
    QPainter painter(&made);
    painter.drawImage(0, 0, picture);
    return made;
}

bool keepsAlpha(const QString& file) {
    const QString ending = QFileInfo(file).suffix().toLower();
    return ending == QLatin1String("png") || ending == QLatin1String("tif") || ending == QLatin1String("tiff");
}
