#include "apps/studio/filmform.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QSpinBox>

#include <algorithm>
#include <cmath>

namespace {

constexpr int largestSide = 4096;

int even(int side) {
    return std::max(2, side / 2 * 2);
}

} // namespace

int FilmOptions::numFrames() const {
    return std::max(1, static_cast<int>(std::lround(seconds * framesPerSecond)));
}

FilmForm::FilmForm(QWidget* parent) : QWidget(parent) {
    auto* const rows = new QFormLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    const auto add = [rows](StudioText label, QWidget* field) { rows->addRow(studioText(label), field); };
    width = addSide(StudioText::filmWidth);
    add(StudioText::filmWidth, width);
    height = addSide(StudioText::filmHeight);
    add(StudioText::filmHeight, height);
    degrees = addNumber(-36000.0, 36000.0, StudioText::filmTurn, StudioText::filmTurnTip);
    degrees->setSuffix(QStringLiteral("\u00b0"));
    add(StudioText::filmTurn, degrees);
    seconds = addNumber(0.1, 3600.0, StudioText::filmLength, StudioText::filmLength);
    seconds->setSuffix(QStringLiteral(" s"));
    add(StudioText::filmLength, seconds);
    rate = new QSpinBox(this);
    rate->setRange(1, 240);
    rate->setAccessibleName(studioText(StudioText::filmRate));
    connect(rate, &QSpinBox::valueChanged, this, &FilmForm::showFrames);
    add(StudioText::filmRate, rate);
    keepsPart = new QCheckBox(studioText(StudioText::filmKeepsPart), this);
    connect(keepsPart, &QCheckBox::clicked, this, &FilmForm::changed);
    rows->addRow(keepsPart);
    frames = new QLabel(this);
    rows->addRow(frames);
    setOptions({});
}

QSpinBox* FilmForm::addSide(StudioText name) {
    auto* const side = new QSpinBox(this);
    side->setRange(2, largestSide);
    side->setSingleStep(2);
    side->setAccessibleName(studioText(name));
    side->setToolTip(studioText(StudioText::filmSizeTip));
    connect(side, &QSpinBox::valueChanged, this, &FilmForm::changed);
    connect(side, &QSpinBox::editingFinished, side, [side] { side->setValue(even(side->value())); });
    return side;
}

QDoubleSpinBox* FilmForm::addNumber(double least, double most, StudioText name, StudioText tip) {
    auto* const field = new QDoubleSpinBox(this);
    field->setDecimals(1);
    field->setRange(least, most);
    field->setAccessibleName(studioText(name));
    field->setToolTip(studioText(tip));
    connect(field, &QDoubleSpinBox::valueChanged, this, &FilmForm::showFrames);
    return field;
}

FilmOptions FilmForm::options() const {
    FilmOptions options;
    options.size = {even(width->value()), even(height->value())};
    options.degrees = degrees->value();
    options.seconds = seconds->value();
    options.framesPerSecond = rate->value();
    options.keepsPart = keepsPart->isChecked();
    return options;
}

void FilmForm::setOptions(const FilmOptions& options) {
    width->setValue(even(options.size.width()));
    height->setValue(even(options.size.height()));
    degrees->setValue(options.degrees);
    seconds->setValue(options.seconds);
    rate->setValue(options.framesPerSecond);
    keepsPart->setChecked(options.keepsPart);
    showFrames();
}

void FilmForm::showFrames() {
    frames->setText(studioText(StudioText::filmFrames).arg(QLocale().toString(options().numFrames())));
    emit changed();
}
