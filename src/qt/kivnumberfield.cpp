#include "qt/kivnumberfield.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSlider>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int sliderSteps = 1000;

// Pages scroll under the mouse: a wheel that passes over a field must not turn its number.
template <class Base> class CalmWheel : public Base {
public:
    using Base::Base;

protected:
    void wheelEvent(QWheelEvent* event) override {
        if (this->hasFocus()) {
            Base::wheelEvent(event);
        } else {
            event->ignore();
        }
    }
};

using CalmSlider = CalmWheel<QSlider>;

} // namespace

class KivNumberBox : public CalmWheel<QDoubleSpinBox> {
public:
    using CalmWheel::CalmWheel;

    bool varied = false;

    using CalmWheel::lineEdit;

protected:
    QString textFromValue(double value) const override {
        if (varied) {
            return QStringLiteral("?");
        }
        // No zeros that say nothing.
        QString text = CalmWheel::textFromValue(value);
        const QString point = locale().decimalPoint();
        if (text.contains(point)) {
            while (text.endsWith(QLatin1Char('0'))) {
                text.chop(1);
            }
            if (text.endsWith(point)) {
                text.chop(point.size());
            }
        }
        return text;
    }
};

KivNumberField::KivNumberField(QWidget* parent)
    : QWidget(parent), slider(new CalmSlider(Qt::Horizontal, this)), box(new KivNumberBox(this)) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(slider, 1);
    row->addWidget(box);
    slider->setRange(0, sliderSteps);
    slider->setPageStep(sliderSteps / 10);
    slider->setFocusPolicy(Qt::ClickFocus); // with the keyboard one is enough
    slider->setMinimumWidth(60);
    box->setFocusPolicy(Qt::StrongFocus);
    box->setKeyboardTracking(true);
    box->setGroupSeparatorShown(false);
    setFocusProxy(box);
    setMaximum(100.0);
    connect(slider, &QSlider::valueChanged, this, &KivNumberField::slide);
    connect(box, &QDoubleSpinBox::valueChanged, this, &KivNumberField::type);
    // Of several values the box holds one, of which it does not tell when the user types just that.
    connect(box->lineEdit(), &QLineEdit::textEdited, this, [this](const QString& text) {
        if (box->varied && box->hasAcceptableInput()) {
            type(box->valueFromText(text));
        }
    });
}

double KivNumberField::getMinimum() const {
    return box->minimum();
}

void KivNumberField::setMinimum(double value) {
    const bool former = std::exchange(showing, true);
    box->setMinimum(value);
    showing = former;
    setValue(exact);
}

double KivNumberField::getMaximum() const {
    return box->maximum();
}

void KivNumberField::setMaximum(double value) {
    const bool former = std::exchange(showing, true);
    box->setMaximum(value);
    showing = former;
    setValue(exact);
}

double KivNumberField::getSoftMaximum() const {
    return hasSoftMaximum ? std::clamp(softMaximum, getMinimum(), getMaximum()) : getMaximum();
}

void KivNumberField::setSoftMaximum(double value) {
    softMaximum = value;
    hasSoftMaximum = true;
    showOnSlider();
}

double KivNumberField::getStep() const {
    return box->singleStep();
}

void KivNumberField::setStep(double value) {
    box->setSingleStep(value);
}

int KivNumberField::getDecimals() const {
    return box->decimals();
}

void KivNumberField::setDecimals(int value) {
    const bool former = std::exchange(showing, true);
    box->setDecimals(value);
    showing = former;
    setValue(exact);
}

QString KivNumberField::getSuffix() const {
    return box->suffix();
}

void KivNumberField::setSuffix(const QString& value) {
    box->setSuffix(value);
}

double KivNumberField::getValue() const {
    return exact;
}

void KivNumberField::setValue(double value) {
    const bool former = std::exchange(showing, true);
    box->varied = false;
    exact = std::clamp(value, getMinimum(), std::max(getMinimum(), getMaximum()));
    box->setValue(exact);
    showing = former;
    showOnSlider();
}

void KivNumberField::setVaried(bool value) {
    if (box->varied == value) {
        return;
    }
    box->varied = value;
    // The box makes its text anew where its range does.
    const bool former = std::exchange(showing, true);
    box->setRange(box->minimum(), box->maximum());
    box->setDecimals(box->decimals());
    showing = former;
    showOnSlider();
}

bool KivNumberField::isVaried() const {
    return box->varied;
}

int KivNumberField::getBoxWidth() const {
    return box->sizeHint().width();
}

void KivNumberField::setBoxWidth(int width) {
    box->setMinimumWidth(width);
}

void KivNumberField::slide(int place) {
    if (showing) {
        return;
    }
    const double span = getSoftMaximum() - getMinimum();
    // In whole steps, as a hand has no more precision than that.
    const double step = getStep() > 0.0 ? getStep() : 1.0;
    const double value = getMinimum() + std::round(span * place / sliderSteps / step) * step;
    setValue(std::min(value, getSoftMaximum()));
    emit edited();
}

void KivNumberField::type(double value) {
    if (showing) {
        return;
    }
    box->varied = false;
    exact = value;
    showOnSlider();
    emit edited();
}

void KivNumberField::showOnSlider() {
    const bool former = std::exchange(showing, true);
    const double span = getSoftMaximum() - getMinimum();
    const double part = span > 0.0 ? (exact - getMinimum()) / span : 0.0;
    slider->setValue(static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * sliderSteps)));
    showing = former;
}
