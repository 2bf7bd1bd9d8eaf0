#include "apps/studio/drawingview.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr double pixelOfPages = 25.4 / 96.0; // millimetres
constexpr double mostPixels = 8192.0;        // of a side of an image
constexpr double closest = 400.0;

QColor colourOf(std::uint32_t colour, double opacity = 1.0) {
    QColor made(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                static_cast<int>(colour >> 16 & 0xFFU));
    made.setAlphaF(static_cast<float>(std::clamp(opacity, 0.0, 1.0)));
    return made;
}

QPointF pointOf(const KivPicturePoint& p) {
    return {p.x, p.y};
}

// Over its rectangle on the page, whose y axis points up.
QBrush brushOf(const KivAreaPicture& picture, const SheetLayout& layout) {
    const QImage image(picture.pixels.data(), picture.width, picture.height, 3 * picture.width, QImage::Format_RGB888);
    const QPointF low = pointOf(layout.place(picture.low));
    const QPointF high = pointOf(layout.place(picture.high));
    QBrush brush(image.convertToFormat(QImage::Format_RGB32)); // a copy
    brush.setTransform(QTransform((high.x() - low.x()) / picture.width, 0.0, 0.0, (low.y() - high.y()) / picture.height,
                                  low.x(), high.y()));
    return brush;
}

void addPath(const KivCurvePath& path, QPainterPath* to) {
    to->moveTo(pointOf(path.start));
    for (const KivCurvePiece& piece : path.pieces) {
        if (piece.kind == KivCurvePiece::Kind::cubic) {
            to->cubicTo(pointOf(piece.control[0]), pointOf(piece.control[1]), pointOf(piece.end));
        } else {
            to->lineTo(pointOf(piece.end));
        }
    }
    if (path.closed) {
        to->closeSubpath();
    }
}

} // namespace

DrawingView::DrawingView(QWidget* parent) : PictureView(parent) {
    setLargestZoom(closest);
}

void DrawingView::setDrawing(const KivVectorDrawing& drawing, const KivSheet& wanted) {
    KivSheet sheet = wanted;
    if (kivPlaceOnSheet(drawing, sheet, KivDrawingFormat::svg).problem != KivSheetProblem::none) {
        sheet.page = KivSheet::Page::picture;
        sheet.scale = 0.0;
    }
    const SheetLayout layout(drawing, sheet, pixelOfPages);
    items.clear();
    page = QSizeF(layout.page().pageWidth, layout.page().pageHeight);
    ground = sheet.paintsBackground ? colourOf(drawing.background) : QColor(Qt::white);
    for (const KivArea& area : drawing.areas) {
        if (SheetLayout::isDrawn(area)) {
            addArea(area, layout);
        }
    }
    for (const bool hidden : {true, false}) {
        for (const KivStroke& stroke : drawing.strokes) {
            if (stroke.hidden == hidden && layout.isDrawn(stroke)) {
                addStroke(stroke, layout);
            }
        }
    }
    update();
}

void DrawingView::addArea(const KivArea& area, const SheetLayout& layout) {
    Item item;
    item.path.setFillRule(Qt::OddEvenFill);
    for (const KivCurvePath& ring : area.rings) {
        addPath(layout.placed(ring), &item.path);
        item.path.closeSubpath();
    }
    item.brush = area.picture != nullptr ? brushOf(*area.picture, layout) : QBrush(colourOf(area.color, area.opacity));
    item.pen = Qt::NoPen;
    if (area.opacity >= 1.0) {
        // Neighbours that are smoothed each by itself let what lies behind them shine through: a hair of the area's
        // own colour, as wide on the screen however close one looks, closes the gap.
        item.pen = QPen(item.brush, layout.rim(), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        item.pen.setCosmetic(layout.rim() == 0.0);
    }
    const double reach = layout.rim();
    item.bounds = item.path.controlPointRect().adjusted(-reach, -reach, reach, reach);
    items.push_back(std::move(item));
}

void DrawingView::addStroke(const KivStroke& stroke, const SheetLayout& layout) {
    Item item;
    const double width = layout.widthOf(stroke);
    addPath(layout.placed(stroke.path), &item.path);
    if (stroke.path.pieces.empty()) {
        item.path.lineTo(item.path.currentPosition() + QPointF(width * 1e-3, 0.0)); // a dot
    }
    item.pen = QPen(colourOf(stroke.color), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    if (layout.isDashed(stroke)) {
        item.pen.setDashPattern({kivDashLength, kivDashGap});
        item.pen.setCapStyle(Qt::FlatCap);
    }
    item.bounds = item.path.controlPointRect().adjusted(-width, -width, width, width);
    items.push_back(std::move(item));
}

QSizeF DrawingView::contentSize() const {
    return page.isEmpty() ? PictureView::contentSize() : page / pixelOfPages;
}

void DrawingView::drawContent(QPainter& painter, const QRectF& place) const {
    if (page.isEmpty()) {
        PictureView::drawContent(painter, place);
        return;
    }
    painter.save();
    painter.setClipRect(place, Qt::IntersectClip);
    painter.fillRect(place, ground);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.translate(place.bottomLeft());
    painter.scale(place.width() / page.width(), -place.height() / page.height());
    const QRectF seen = painter.clipBoundingRect();
    for (const Item& item : items) {
        if (item.bounds.intersects(seen)) {
            painter.setBrush(item.brush);
            painter.setPen(item.pen);
            painter.drawPath(item.path);
        }
    }
    painter.restore();
}

QImage DrawingView::image() const {
    if (page.isEmpty()) {
        return {};
    }
    QSizeF size = contentSize();
    size *= std::min(1.0, mostPixels / std::max(size.width(), size.height()));
    QImage made(size.toSize().expandedTo(QSize(1, 1)), QImage::Format_RGB32);
    QPainter painter(&made);
    drawContent(painter, QRectF(QPointF(0.0, 0.0), QSizeF(made.size())));
    return made;
}
