#include "qt/kivcolorfield.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>

KivColorField::KivColorField(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QColor KivColorField::getColor() const {
    return color;
}

void KivColorField::setColor(const QColor& value) {
    color = value;
    setVaried(false);
    update();
}

void KivColorField::setVaried(bool value) {
    varied = value;
    update();
}

bool KivColorField::isVaried() const {
    return varied;
}

QSize KivColorField::sizeHint() const {
    const int line = fontMetrics().height();
    return {4 * line, line + 8};
}

void KivColorField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
    QColor edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(isEnabled() ? 0.5F : 0.25F);
    painter.setPen(edge);
    // A disabled field looks like its window.
    painter.setBrush(isEnabled() && !varied && color.isValid() ? QBrush(color) : Qt::NoBrush);
    painter.drawRoundedRect(frame, 3, 3);
    if (varied) {
        painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
        painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("?"));
    }
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
    }
}

void KivColorField::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        emit clicked();
    }
}

void KivColorField::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        emit clicked();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void KivColorField::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    update();
}

void KivColorField::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    update();
}
