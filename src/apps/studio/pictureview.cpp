#include "apps/studio/pictureview.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr double margin = 12.0;
constexpr double dividerReach = 8.0;

// Lies under what is transparent.
void drawChecks(QPainter& painter, const QRectF& place) {
    constexpr int side = 8;
    QPixmap tile(2 * side, 2 * side);
    tile.fill(QColor(255, 255, 255));
    QPainter squares(&tile);
    squares.fillRect(0, 0, side, side, QColor(214, 214, 214));
    squares.fillRect(side, side, side, side, QColor(214, 214, 214));
    squares.end();
    painter.drawTiledPixmap(place, tile);
}

} // namespace

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setMinimumSize(160, 120);
}

void PictureView::setPictures(const QImage& first, const QImage& second) {
    left = first;
    right = second;
    update();
}

void PictureView::setCaption(const QString& text) {
    caption = text;
    update();
}

QSizeF PictureView::contentSize() const {
    return left.size();
}

void PictureView::setLargestZoom(double newFactor) {
    largest = newFactor;
}

double PictureView::fittingZoom() const {
    const QSizeF content = contentSize();
    if (content.isEmpty()) {
        return 1.0;
    }
    const double across = (width() - 2 * margin) / content.width();
    const double down = (height() - 2 * margin) / content.height();
    return std::clamp(std::min(across, down), 0.01, 1.0);
}

double PictureView::zoom() const {
    return factor > 0.0 ? factor : fittingZoom();
}

void PictureView::zoomTo(double newFactor) {
    factor = std::clamp(newFactor, std::min(0.05, fittingZoom()), largest);
    update();
}

void PictureView::zoomToFit() {
    factor = 0.0;
    middle = QPointF(0.5, 0.5);
    update();
}

double PictureView::divider() const {
    return part;
}

void PictureView::setDivider(double newPart) {
    part = std::clamp(newPart, 0.0, 1.0);
    update();
}

QRectF PictureView::place() const {
    const QSizeF size = contentSize() * zoom();
    return {QPointF(width() / 2.0 - middle.x() * size.width(), height() / 2.0 - middle.y() * size.height()), size};
}

double PictureView::dividerX() const {
    return place().left() + part * place().width();
}

void PictureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor ground = palette().color(QPalette::Window);
    painter.fillRect(rect(), ground.lightness() < 128 ? ground.darker(130) : ground.darker(112));
    if (contentSize().isEmpty()) {
        return;
    }
    const QRectF whole = place();
    drawContent(painter, whole);
    if (!right.isNull()) {
        const double x = dividerX();
        painter.save();
        painter.setClipRect(QRectF(QPointF(x, whole.top()), whole.bottomRight()));
        painter.drawImage(whole, right);
        painter.restore();
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
        painter.setBrush(palette().color(QPalette::Highlight));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawEllipse(QPointF(x, height() / 2.0), 7, 7);
    }
    drawCaption(painter);
}

void PictureView::drawContent(QPainter& painter, const QRectF& whole) const {
    painter.setRenderHint(QPainter::SmoothPixmapTransform, zoom() < 2.0);
    if (left.hasAlphaChannel()) {
        drawChecks(painter, whole);
    }
    painter.drawImage(whole, left);
}

void PictureView::drawCaption(QPainter& painter) const {
    if (caption.isEmpty()) {
        return;
    }
    const QRect box = painter.fontMetrics().boundingRect(caption).adjusted(-8, -4, 8, 4);
    QRect at = box;
    at.moveBottomLeft(QPoint(8, height() - 8));
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::ToolTipBase));
    painter.drawRoundedRect(at, 4, 4);
    painter.setPen(palette().color(QPalette::ToolTipText));
    painter.drawText(at, Qt::AlignCenter, caption);
}

// The point of the picture under the mouse stays under it.
void PictureView::zoomAt(double newFactor, const QPointF& point) {
    if (contentSize().isEmpty()) {
        return;
    }
    const QRectF before = place();
    const QPointF inside((point.x() - before.left()) / before.width(), (point.y() - before.top()) / before.height());
    factor = std::clamp(newFactor, std::min(0.05, fittingZoom()), largest);
    const QSizeF size = contentSize() * factor;
    middle = QPointF(inside.x() - (point.x() - width() / 2.0) / size.width(),
                     inside.y() - (point.y() - height() / 2.0) / size.height());
    middle = QPointF(std::clamp(middle.x(), 0.0, 1.0), std::clamp(middle.y(), 0.0, 1.0));
    update();
}

void PictureView::wheelEvent(QWheelEvent* event) {
    zoomAt(zoom() * std::pow(1.0015, event->angleDelta().y()), event->position());
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    grabbed = event->position();
    movesDivider = !right.isNull() && std::abs(event->position().x() - dividerX()) < dividerReach;
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF now = event->position();
    if (!(event->buttons() & Qt::LeftButton)) {
        const bool over = !right.isNull() && std::abs(now.x() - dividerX()) < dividerReach;
        setCursor(over ? Qt::SplitHCursor : Qt::OpenHandCursor);
        return;
    }
    const QRectF whole = place();
    if (movesDivider) {
        setDivider((now.x() - whole.left()) / std::max(whole.width(), 1.0));
        return;
    }
    factor = zoom();
    const QPointF moved = now - grabbed;
    grabbed = now;
    moveBy(moved);
}

void PictureView::moveBy(const QPointF& pixels) {
    const QRectF whole = place();
    if (whole.isEmpty()) {
        return;
    }
    middle = QPointF(std::clamp(middle.x() - pixels.x() / whole.width(), 0.0, 1.0),
                     std::clamp(middle.y() - pixels.y() / whole.height(), 0.0, 1.0));
    update();
}

// An arrow key: what lies that way comes into sight. Under a dividing line the line has the keys that go its way.
void PictureView::step(int x, int y, Qt::KeyboardModifiers modifiers) {
    constexpr double share = 0.1; // of the window
    if (!right.isNull() && x != 0 && !(modifiers & Qt::ShiftModifier)) {
        setDivider(part + 0.02 * x);
    } else if (factor > 0.0) {
        moveBy({-x * share * width(), -y * share * height()});
    }
}

void PictureView::mouseReleaseEvent(QMouseEvent*) {
    movesDivider = false;
}

void PictureView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (factor > 0.0) {
        zoomToFit();
    } else {
        zoomAt(1.0, event->position());
    }
}

void PictureView::keyPressEvent(QKeyEvent* event) {
    const QPointF centre(width() / 2.0, height() / 2.0);
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomAt(zoom() * 1.25, centre);
        break;
    case Qt::Key_Minus:
        zoomAt(zoom() / 1.25, centre);
        break;
    case Qt::Key_0:
        zoomToFit();
        break;
    case Qt::Key_1:
        zoomAt(1.0, centre);
        break;
    case Qt::Key_Left:
        step(-1, 0, event->modifiers());
        break;
    case Qt::Key_Right:
        step(1, 0, event->modifiers());
        break;
    case Qt::Key_Up:
        step(0, -1, event->modifiers());
        break;
    case Qt::Key_Down:
        step(0, 1, event->modifiers());
        break;
    default:
        QWidget::keyPressEvent(event);
        break;
    }
}
