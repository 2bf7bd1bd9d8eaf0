#include "apps/studio/studioview.h"

#include "apps/studio/studiotexts.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double turnPerPixel = 0.0075; // radians
constexpr double handleDistance = 90.0; // of a directional light from the target, scene units
constexpr double handleReach = 12.0;    // pixels
constexpr int clickSlack = 4;           // pixels that a hand trembles
constexpr double zoomPerStep = 1.0012;  // to the power of the wheel's eighths of a degree

double length(const Kiv3DVector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

} // namespace

StudioView::StudioView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(240, 180);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(studioText(StudioText::viewTab));
}

void StudioView::setPicture(const QImage& picture) {
    image = picture;
    update();
}

const QImage& StudioView::picture() const {
    return image;
}

void StudioView::setCamera(const StudioCamera& newCamera) {
    camera = newCamera;
    update();
}

void StudioView::setAspect(double newAspect) {
    aspect = newAspect;
    update();
}

QRect StudioView::pictureRect() const {
    if (aspect <= 0.0) {
        return rect();
    }
    const int wide = std::min(width(), static_cast<int>(std::lround(height() * aspect)));
    const int high = std::min(height(), static_cast<int>(std::lround(width() / aspect)));
    return {(width() - wide) / 2, (height() - high) / 2, std::max(wide, 1), std::max(high, 1)};
}

void StudioView::setLights(const std::vector<StudioLight>& newLights, int current) {
    lights = newLights;
    currentLight = current;
    update();
}

void StudioView::setFrames(const std::vector<std::vector<Kiv3DPoint>>& newFrames) {
    frames = newFrames;
    update();
}

Kiv3DPoint StudioView::handleOf(const StudioLight& light) const {
    if (light.kind != StudioLight::Kind::directional) {
        return light.location;
    }
    const double size = std::max(length(light.direction), 1e-9);
    const double away = handleDistance / size;
    return {-light.direction.x * away, -light.direction.y * away, -light.direction.z * away};
}

QPointF StudioView::fromMiddle(const QPointF& pixel) const {
    return pixel - QRectF(pictureRect()).center();
}

bool StudioView::place(const Kiv3DPoint& point, QPointF* pixel) const {
    const QRect area = pictureRect();
    double x = 0.0;
    double y = 0.0;
    if (!camera.project(point, area.width(), area.height(), &x, &y)) {
        return false;
    }
    *pixel = QPointF(area.left() + x, area.top() + y);
    return true;
}

void StudioView::rayThrough(const QPointF& pixel, Kiv3DPoint* from, Kiv3DVector* way) const {
    const QPointF middle = fromMiddle(pixel);
    const ViewAxes axes = camera.axes();
    const double units = camera.heightAtTarget() / std::max(pictureRect().height(), 1);
    const Kiv3DPoint eye = camera.eye();
    const Kiv3DVector across(axes.right.x * middle.x() * units - axes.up.x * middle.y() * units,
                             axes.right.y * middle.x() * units - axes.up.y * middle.y() * units,
                             axes.right.z * middle.x() * units - axes.up.z * middle.y() * units);
    if (camera.parallel) {
        // From far behind the eye, as a parallel view has no place where it begins.
        constexpr double back = 1e4;
        *from = {eye.x + across.x - axes.forward.x * back, eye.y + across.y - axes.forward.y * back,
                 eye.z + across.z - axes.forward.z * back};
        *way = axes.forward;
    } else {
        *from = eye;
        *way = {axes.forward.x * camera.distance + across.x, axes.forward.y * camera.distance + across.y,
                axes.forward.z * camera.distance + across.z};
    }
}

// --- painting ---

void StudioView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor ground = palette().color(QPalette::Window);
    painter.fillRect(rect(), ground.lightness() < 128 ? ground.darker(130) : ground.darker(112));
    if (image.isNull()) {
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(rect(), Qt::AlignCenter, studioText(StudioText::dropHere));
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(pictureRect(), image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawFrames(painter);
    drawLights(painter);
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1));
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

void StudioView::drawFrames(QPainter& painter) const {
    constexpr int edges[12][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}, {0, 2}, {1, 3},
                                  {4, 6}, {5, 7}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1.2, Qt::DashLine));
    for (const std::vector<Kiv3DPoint>& corners : frames) {
        for (const auto& edge : edges) {
            QPointF from;
            QPointF to;
            if (corners.size() == 8 && place(corners[static_cast<std::size_t>(edge[0])], &from) &&
                place(corners[static_cast<std::size_t>(edge[1])], &to)) {
                painter.drawLine(from, to);
            }
        }
    }
}

void StudioView::drawLights(QPainter& painter) const {
    for (std::size_t i = 0; i < lights.size(); ++i) {
        QPointF at;
        if (!place(handleOf(lights[i]), &at)) {
            continue;
        }
        const std::uint32_t colour = lights[i].colour;
        const bool isCurrent = static_cast<int>(i) == currentLight;
        QPointF middle;
        if (isCurrent && lights[i].kind != StudioLight::Kind::point && place(camera.target, &middle)) {
            painter.setPen(QPen(QColor(120, 120, 120, 160), 1, Qt::DotLine));
            painter.drawLine(at, middle);
        }
        painter.setPen(
            QPen(isCurrent ? palette().color(QPalette::Highlight) : QColor(60, 60, 60), isCurrent ? 2.2 : 1.4));
        for (int ray = 0; ray < 8; ++ray) {
            const double angle = ray * std::numbers::pi / 4.0;
            const QPointF way(std::cos(angle), std::sin(angle));
            painter.drawLine(at + way * 8.5, at + way * 12.0);
        }
        painter.setBrush(QColor(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                                static_cast<int>(colour >> 16 & 0xFFU)));
        painter.drawEllipse(at, 6, 6);
    }
}

// --- the hand ---

int StudioView::lightAt(const QPointF& pixel) const {
    for (std::size_t i = 0; i < lights.size(); ++i) {
        QPointF at;
        if (place(handleOf(lights[i]), &at) && std::hypot(at.x() - pixel.x(), at.y() - pixel.y()) < handleReach) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void StudioView::mousePressEvent(QMouseEvent* event) {
    if (hand != Hand::none) {
        return; // a second button in the middle of a movement
    }
    pressed = event->position();
    last = pressed;
    hasMoved = false;
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    if (event->button() == Qt::LeftButton) {
        grabbedLight = lightAt(pressed);
        hand = grabbedLight >= 0 ? Hand::light : shift ? Hand::moves : Hand::turns;
        if (grabbedLight >= 0) {
            emit lightClicked(grabbedLight);
        }
    } else if (event->button() == Qt::MiddleButton) {
        hand = Hand::moves;
    } else if (event->button() == Qt::RightButton) {
        hand = Hand::zooms;
    }
}

void StudioView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF by = event->position() - last;
    if (hand == Hand::none || by.isNull()) {
        return;
    }
    if (!hasMoved && (event->position() - pressed).manhattanLength() < clickSlack) {
        return;
    }
    hasMoved = true;
    last = event->position();
    const double height = pictureRect().height();
    switch (hand) {
    case Hand::turns:
        camera.orbit(-by.x() * turnPerPixel, by.y() * turnPerPixel);
        break;
    case Hand::moves:
        camera.pan(by.x(), by.y(), height);
        break;
    case Hand::zooms:
        camera.zoom(std::exp(-by.y() * 0.01), 0.0, 0.0, height);
        break;
    case Hand::light:
        moveLight(by);
        return;
    case Hand::none:
        return;
    }
    update();
    emit cameraMoved(camera);
}

// A directional light goes around the model at its distance; the others move in the plane of the view.
void StudioView::moveLight(const QPointF& by) {
    if (grabbedLight < 0 || static_cast<std::size_t>(grabbedLight) >= lights.size()) {
        return;
    }
    StudioLight& light = lights[static_cast<std::size_t>(grabbedLight)];
    const Kiv3DPoint handle = handleOf(light);
    const Kiv3DVector way = camera.moved(handle, by.x(), by.y(), pictureRect().height());
    const Kiv3DPoint moved(handle.x + way.x, handle.y + way.y, handle.z + way.z);
    light.location = moved;
    if (light.kind == StudioLight::Kind::directional) {
        const Kiv3DVector direction(-moved.x, -moved.y, -moved.z);
        const double size = length(direction);
        if (size > 1e-6) {
            light.direction = {direction.x / size, direction.y / size, direction.z / size};
        }
    }
    update();
    emit lightMoved(grabbedLight, light);
}

void StudioView::mouseReleaseEvent(QMouseEvent* event) {
    const bool wasTurning = hand == Hand::turns || hand == Hand::moves;
    hand = Hand::none;
    grabbedLight = -1;
    if (wasTurning && !hasMoved && event->button() == Qt::LeftButton) {
        emit clicked(event->position(), event->modifiers());
    }
}

void StudioView::wheelEvent(QWheelEvent* event) {
    const QPointF middle = fromMiddle(event->position());
    camera.zoom(std::pow(zoomPerStep, event->angleDelta().y()), middle.x(), middle.y(), pictureRect().height());
    update();
    emit cameraMoved(camera);
}

void StudioView::keyPressEvent(QKeyEvent* event) {
    constexpr double step = 0.1; // radians
    const bool moves = event->modifiers() & Qt::ShiftModifier;
    const double height = pictureRect().height();
    const auto arrow = [&](double x, double y) {
        if (moves) {
            camera.pan(x * height * 0.05, y * height * 0.05, height);
        } else {
            camera.orbit(-x * step, y * step);
        }
    };
    switch (event->key()) {
    case Qt::Key_Left:
        arrow(-1, 0);
        break;
    case Qt::Key_Right:
        arrow(1, 0);
        break;
    case Qt::Key_Up:
        arrow(0, -1);
        break;
    case Qt::Key_Down:
        arrow(0, 1);
        break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        camera.zoom(1.15, 0.0, 0.0, height);
        break;
    case Qt::Key_Minus:
        camera.zoom(1.0 / 1.15, 0.0, 0.0, height);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    update();
    emit cameraMoved(camera);
}

void StudioView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    emit resized();
}
