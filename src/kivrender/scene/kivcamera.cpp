#include "kivrender/scene/kivcamera.h"

void KivCamera::setFrustumLeft(double value) {
    frustumLeft = value;
}

double KivCamera::getFrustumLeft() const {
    return frustumLeft;
}

void KivCamera::setFrustumRight(double value) {
    frustumRight = value;
}

double KivCamera::getFrustumRight() const {
    return frustumRight;
}

void KivCamera::setFrustumBottom(double value) {
    frustumBottom = value;
}

double KivCamera::getFrustumBottom() const {
    return frustumBottom;
}

void KivCamera::setFrustumTop(double value) {
    frustumTop = value;
}

double KivCamera::getFrustumTop() const {
    return frustumTop;
}

void KivCamera::setFrustumNear(double value) {
    frustumNear = value;
}

double KivCamera::getFrustumNear() const {
    return frustumNear;
}

void KivCamera::setFrustumFar(double value) {
    frustumFar = value;
}

double KivCamera::getFrustumFar() const {
    return frustumFar;
}

void KivCamera::setLocation(Kiv3DPoint value) {
    location = value;
}

Kiv3DPoint KivCamera::getLocation() const {
    return location;
}

void KivCamera::setDirection(Kiv3DVector value) {
    direction = value;
}

Kiv3DVector KivCamera::getDirection() const {
    return direction;
}

void KivCamera::setUp(Kiv3DVector value) {
    up = value;
}

Kiv3DVector KivCamera::getUp() const {
    return up;
}

void KivCamera::setProjection(projection value) {
    kind = value;
}

KivCamera::projection KivCamera::getProjection() const {
    return kind;
}

double KivCamera::getMinFrustumSize() const {
    const double height = frustumTop - frustumBottom;
    const double width = frustumRight - frustumLeft;
    return height > width ? width : height;
}
