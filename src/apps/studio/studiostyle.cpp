#include "apps/studio/studiostyle.h"

#include <QPainter>
#include <QStyleOption>

namespace {

QColor between(const QColor& one, const QColor& other) {
    return {(one.red() + other.red()) / 2, (one.green() + other.green()) / 2, (one.blue() + other.blue()) / 2};
}

} // namespace

void StudioStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                const QWidget* widget) const {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    const bool isRound = element == PE_IndicatorRadioButton;
    if (!isRound && element != PE_IndicatorCheckBox && element != PE_IndicatorItemViewItemCheck) {
        return;
    }
    const QPalette::ColorGroup group = option->state & State_Enabled ? QPalette::Active : QPalette::Disabled;
    const QColor window = option->palette.color(group, QPalette::Window);
    const QColor text = option->palette.color(group, QPalette::WindowText);
    if (window.lightness() >= text.lightness()) {
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(between(window, text));
    painter->setBrush(Qt::NoBrush);
    const QRectF frame = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
    if (isRound) {
        painter->drawEllipse(frame);
    } else {
        painter->drawRoundedRect(frame, 1.5, 1.5);
    }
    painter->restore();
}
