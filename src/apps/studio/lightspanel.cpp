#include "apps/studio/lightspanel.h"

#include "apps/studio/studiotexts.h"
#include "qt/kivcolorfield.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

namespace {

constexpr int roomForArrows = 36; // pixels, with the frame

using std::numbers::pi;
constexpr StudioText kindTexts[] = {StudioText::lightDirectional, StudioText::lightPoint, StudioText::lightSpot};

QColor toColor(std::uint32_t colour) {
    return QColor(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                  static_cast<int>(colour >> 16 & 0xFFU));
}

// Where a light of that direction comes from, in degrees: around the model from its front to its right, and up.
void toAngles(const Kiv3DVector& direction, bool zUp, double* azimuth, double* elevation) {
    const double x = -direction.x;
    const double front = zUp ? direction.y : -direction.z;
    const double high = zUp ? -direction.z : -direction.y;
    *azimuth = std::atan2(x, front) * 180.0 / pi;
    *elevation = std::atan2(high, std::hypot(x, front)) * 180.0 / pi;
}

Kiv3DVector fromAngles(double azimuth, double elevation, bool zUp) {
    const double a = azimuth * pi / 180.0;
    const double e = elevation * pi / 180.0;
    const double x = std::sin(a) * std::cos(e);
    const double front = std::cos(a) * std::cos(e);
    const double high = std::sin(e);
    return zUp ? Kiv3DVector(-x, front, -high) : Kiv3DVector(-x, -high, -front);
}

} // namespace

LightsPanel::LightsPanel(QWidget* parent)
    : QWidget(parent), list(new QListWidget(this)), addButton(new QToolButton(this)),
      removeButton(new QToolButton(this)), defaultButton(new QPushButton(this)), note(new QLabel(this)),
      form(new QFormLayout), kind(new QComboBox(this)), colour(new KivColorField(this)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    list->setMaximumHeight(110);
    list->setToolTip(studioText(StudioText::lightsTip));
    list->setAccessibleName(studioText(StudioText::lights));
    column->addWidget(list);
    auto* const row = new QHBoxLayout;
    addButton->setText(studioText(StudioText::addLight));
    // The whole button opens the menu; this way its arrow has a place of its own.
    addButton->setPopupMode(QToolButton::MenuButtonPopup);
    connect(addButton, &QToolButton::clicked, addButton, &QToolButton::showMenu);
    auto* const menu = new QMenu(addButton);
    for (int i = 0; i < 3; ++i) {
        menu->addAction(studioText(kindTexts[i]), this, [this, i] { add(static_cast<StudioLight::Kind>(i)); });
        kind->addItem(studioText(kindTexts[i]));
    }
    addButton->setMenu(menu);
    removeButton->setText(studioText(StudioText::removeLight));
    defaultButton->setText(studioText(StudioText::defaultLights));
    defaultButton->setToolTip(studioText(StudioText::defaultLightsTip));
    row->addWidget(addButton);
    row->addWidget(removeButton);
    row->addStretch(1);
    row->addWidget(defaultButton);
    column->addLayout(row);
    note->setText(studioText(StudioText::lightsAreDefault));
    note->setWordWrap(true);
    column->addWidget(note);
    form->addRow(studioText(StudioText::lightKind), kind);
    form->addRow(studioText(StudioText::lightColour), colour);
    const QString degrees = QStringLiteral("\u00B0");
    const auto turn = [this](StudioLight* light, const double* newAzimuth, const double* newElevation) {
        double around = 0.0;
        double high = 0.0;
        toAngles(light->direction, isZUp(), &around, &high);
        light->direction = fromAngles(newAzimuth != nullptr ? *newAzimuth : around,
                                      newElevation != nullptr ? *newElevation : high, isZUp());
    };
    azimuth = addField(form, static_cast<int>(StudioText::lightAzimuth), -180.0, 180.0, degrees,
                       [turn](StudioLight* light, double value) { turn(light, &value, nullptr); });
    azimuth->setWrapping(true);
    elevation = addField(form, static_cast<int>(StudioText::lightElevation), -90.0, 90.0, degrees,
                         [turn](StudioLight* light, double value) { turn(light, nullptr, &value); });
    for (int i = 0; i < 3; ++i) {
        place[i] = addField(form, static_cast<int>(StudioText::lightX) + i, -1e12, 1e12, QString(),
                            [this, i](StudioLight* light, double value) {
                                const double zero[] = {origin.x, origin.y, origin.z};
                                double* const axes[] = {&light->location.x, &light->location.y, &light->location.z};
                                *axes[i] = (value - zero[i]) * scale;
                            });
    }
    angle = addField(form, static_cast<int>(StudioText::lightAngle), 1.0, 90.0, degrees,
                     [](StudioLight* light, double value) { light->angle = value; });
    column->addLayout(form);
    connect(list, &QListWidget::currentRowChanged, this, [this] {
        if (!showing) {
            showFields();
            emit currentChanged();
        }
    });
    connect(removeButton, &QToolButton::clicked, this, &LightsPanel::removeCurrent);
    connect(defaultButton, &QPushButton::clicked, this, &LightsPanel::defaultWanted);
    connect(kind, &QComboBox::activated, this, [this](int chosen) {
        edit([chosen](StudioLight* light) { light->kind = static_cast<StudioLight::Kind>(std::max(chosen, 0)); });
    });
    connect(colour, &KivColorField::clicked, this, &LightsPanel::pickColour);
}

QDoubleSpinBox* LightsPanel::addField(QFormLayout* layout, int text, double low, double high, const QString& suffix,
                                      const std::function<void(StudioLight*, double)>& take) {
    auto* const field = new QDoubleSpinBox(this);
    field->setRange(low, high);
    field->setDecimals(1);
    field->setSuffix(suffix);
    field->setSingleStep(5.0);
    // As wide for a model in microns as for one in metres, or the view would change its size with what is shown here.
    field->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    field->setMinimumWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("-00000.0")) + roomForArrows);
    layout->addRow(studioText(static_cast<StudioText>(text)), field);
    connect(field, &QDoubleSpinBox::valueChanged, this,
            [this, take](double value) { edit([&](StudioLight* light) { take(light, value); }); });
    return field;
}

// A model is about a hundred units of the scene large: a digit behind the point of these is what a hand can tell.
void LightsPanel::setPlacement(const Kiv3DPoint& newOrigin, double newScale) {
    if (newOrigin.x == origin.x && newOrigin.y == origin.y && newOrigin.z == origin.z && newScale == scale) {
        return;
    }
    origin = newOrigin;
    scale = newScale > 0.0 ? newScale : 1.0;
    const double step = 5.0 / scale;
    for (QDoubleSpinBox* const field : place) {
        const bool was = std::exchange(showing, true);
        field->setDecimals(std::clamp(static_cast<int>(std::ceil(std::log10(scale))) + 1, 0, 9));
        field->setSingleStep(step);
        showing = was;
    }
    hasShown = false;
}

const std::vector<StudioLight>& LightsPanel::lights() const {
    return all;
}

int LightsPanel::current() const {
    return list->currentRow();
}

void LightsPanel::setCurrent(int light) {
    list->setCurrentRow(light);
}

void LightsPanel::show(const std::vector<StudioLight>& lights, bool own, const StudioCamera& shown) {
    const bool wasZUp = isZUp();
    const bool isSame = own == isOwn && lights == all && list->count() == static_cast<int>(all.size());
    camera = shown;
    if (isSame && wasZUp == isZUp() && hasShown) {
        return; // the camera moved, and the list is as it was
    }
    hasShown = true;
    const int former = list->currentRow();
    showing = true;
    all = lights;
    isOwn = own;
    list->clear();
    for (std::size_t i = 0; i < all.size(); ++i) {
        QPixmap patch(16, 16);
        patch.fill(toColor(all[i].colour));
        list->addItem(new QListWidgetItem(
            patch, QStringLiteral("%1  %2").arg(i + 1).arg(studioText(kindTexts[static_cast<int>(all[i].kind)]))));
    }
    const int count = static_cast<int>(all.size());
    list->setCurrentRow(std::min(std::max(former, 0), count - 1));
    addButton->setEnabled(all.size() < mostLights);
    showing = false;
    note->setVisible(!isOwn);
    defaultButton->setVisible(isOwn);
    showFields();
}

void LightsPanel::showFields() {
    showing = true;
    const int row = list->currentRow();
    const bool any = row >= 0 && static_cast<std::size_t>(row) < all.size();
    removeButton->setEnabled(any);
    const StudioLight light = any ? all[static_cast<std::size_t>(row)] : StudioLight();
    const bool shines = any && light.kind != StudioLight::Kind::point;
    const bool stands = any && light.kind != StudioLight::Kind::directional;
    const auto showRow = [this](QWidget* field, bool visible) { form->setRowVisible(field, visible); };
    showRow(kind, any);
    showRow(colour, any);
    showRow(azimuth, shines);
    showRow(elevation, shines);
    for (QDoubleSpinBox* const field : place) {
        showRow(field, stands);
    }
    showRow(angle, any && light.kind == StudioLight::Kind::spot);
    kind->setCurrentIndex(static_cast<int>(light.kind));
    colour->setColor(toColor(light.colour));
    double around = 0.0;
    double high = 0.0;
    toAngles(light.direction, isZUp(), &around, &high);
    azimuth->setValue(around);
    elevation->setValue(high);
    place[0]->setValue(light.location.x / scale + origin.x);
    place[1]->setValue(light.location.y / scale + origin.y);
    place[2]->setValue(light.location.z / scale + origin.z);
    angle->setValue(light.angle);
    showing = false;
}

void LightsPanel::edit(const std::function<void(StudioLight*)>& change) {
    const int row = list->currentRow();
    if (showing || row < 0 || static_cast<std::size_t>(row) >= all.size()) {
        return;
    }
    hasShown = false;
    change(&all[static_cast<std::size_t>(row)]);
    emit changed(StudioText::changeLights);
}

bool LightsPanel::isZUp() const {
    return camera.up.z > camera.up.y;
}

void LightsPanel::pickColour() {
    const int row = list->currentRow();
    if (row < 0) {
        return;
    }
    const QColor former = toColor(all[static_cast<std::size_t>(row)].colour);
    const QColor picked = QColorDialog::getColor(former, this, studioText(StudioText::colourOfLight));
    if (picked.isValid()) {
        edit([&](StudioLight* light) {
            light->colour = static_cast<std::uint32_t>(picked.red() | picked.green() << 8 | picked.blue() << 16);
        });
    }
}

// The way from which a new light comes, as parts of the view's axes (right, up, towards the viewer): of some between
// the viewer and the model, where a handle can be seen, the one farthest from all lights that shine already. The
// strongest light on a point decides its tone, so that a second one from the same side would not be seen to act.
Kiv3DVector LightsPanel::freshDirection() const {
    const ViewAxes axes = camera.axes();
    const auto dot = [](const Kiv3DVector& a, const Kiv3DVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; };
    const auto lengthOf = [&dot](const Kiv3DVector& v) { return std::max(std::sqrt(dot(v, v)), 1e-12); };
    const Kiv3DVector ways[] = {
        {-0.22, 0.25, 0.3}, {0.3, 0.2, 0.25}, {0.3, -0.25, 0.2}, {-0.3, -0.25, 0.2}, {0.0, 0.35, 0.1}};
    Kiv3DVector best = ways[0];
    double least = std::numeric_limits<double>::infinity();
    for (const Kiv3DVector& way : ways) {
        const Kiv3DVector from(way.x * axes.right.x + way.y * axes.up.x - way.z * axes.forward.x,
                               way.x * axes.right.y + way.y * axes.up.y - way.z * axes.forward.y,
                               way.x * axes.right.z + way.y * axes.up.z - way.z * axes.forward.z);
        double nearest = -1.0; // the cosine of the angle to the nearest light
        for (const StudioLight& light : all) {
            const Kiv3DVector other =
                light.kind == StudioLight::Kind::point
                    ? Kiv3DVector(light.location.x - camera.target.x, light.location.y - camera.target.y,
                                  light.location.z - camera.target.z)
                    : Kiv3DVector(-light.direction.x, -light.direction.y, -light.direction.z);
            nearest = std::max(nearest, dot(from, other) / (lengthOf(from) * lengthOf(other)));
        }
        if (nearest < least) {
            least = nearest;
            best = way;
        }
    }
    return best;
}

void LightsPanel::add(StudioLight::Kind newKind) {
    if (all.size() >= mostLights) {
        return;
    }
    const ViewAxes axes = camera.axes();
    const double size = camera.heightAtTarget();
    const Kiv3DVector way = freshDirection();
    const auto stand = [&](double target, double right, double upwards, double forward) {
        return target + size * (way.x * right + way.y * upwards - way.z * forward);
    };
    StudioLight light;
    light.kind = newKind;
    light.location = {stand(camera.target.x, axes.right.x, axes.up.x, axes.forward.x),
                      stand(camera.target.y, axes.right.y, axes.up.y, axes.forward.y),
                      stand(camera.target.z, axes.right.z, axes.up.z, axes.forward.z)};
    light.direction = {camera.target.x - light.location.x, camera.target.y - light.location.y,
                       camera.target.z - light.location.z};
    all.push_back(light);
    showing = true;
    list->addItem(QString());
    list->setCurrentRow(list->count() - 1);
    showing = false;
    hasShown = false;
    emit changed(StudioText::addedLight);
}

void LightsPanel::removeCurrent() {
    const int row = list->currentRow();
    if (row >= 0 && static_cast<std::size_t>(row) < all.size()) {
        all.erase(all.begin() + row);
        hasShown = false;
        emit changed(StudioText::removedLight);
    }
}
