#include "qt/kivqtimages.h"

#include "kivrender/host/kivresources.h"
#include "kivrender/platform/kivbitmap.h"

#include <QByteArray>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include <cmath>
#include <cstring>

QIcon kivQtIcon(HINSTANCE resources, unsigned int id, const QPalette& palette) {
    const std::string_view bytes = kivFindResource(resources, KivResourceKind::icon, id);
    if (bytes.empty()) {
        return {};
    }
    QSvgRenderer picture(QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
    QIcon icon;
    for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled}) {
        const QColor ink =
            palette.color(mode == QIcon::Normal ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText);
        for (const int side : {16, 24, 32, 48, 64}) {
            QPixmap pixels(side, side);
            pixels.fill(Qt::transparent);
            QPainter painter(&pixels);
            picture.render(&painter);
            // The drawings are black on nothing: their shape is what counts.
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(pixels.rect(), ink);
            painter.end();
            icon.addPixmap(pixels, mode);
        }
    }
    return icon;
}

QImage kivQtImage(HBITMAP bitmap) {
    KivBitmapInfo info;
    if (!kivGetBitmapInfo(bitmap, &info)) {
        return {};
    }
    QImage image(info.width, info.height, QImage::Format_RGB32);
    if (image.isNull()) {
        return {};
    }
    // The bottom row comes first there, the top one here; the bytes of a pixel are in the same order, but for the
    // fourth, which counts for nothing there and says here that the pixel is opaque.
    for (int y = 0; y < info.height; ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(info.height - 1 - y));
        std::memcpy(row, info.pixels + static_cast<std::size_t>(y) * info.rowBytes,
                    static_cast<std::size_t>(info.width) * sizeof(QRgb));
        for (int x = 0; x < info.width; ++x) {
            row[x] |= 0xFF000000U;
        }
    }
    return image;
}

QImage kivQtFitted(const QImage& image, const QSize& room, double pixelRatio) {
    if (image.isNull() || (image.width() <= room.width() && image.height() <= room.height())) {
        return image;
    }
    const QSize pixels(static_cast<int>(std::lround(room.width() * pixelRatio)),
                       static_cast<int>(std::lround(room.height() * pixelRatio)));
    QImage fitted = image.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    fitted.setDevicePixelRatio(pixelRatio);
    return fitted;
}
