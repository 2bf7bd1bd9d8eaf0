#include "apps/common/viewchoice.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

const Kiv3DVector yUp(0.0, 1.0, 0.0);

std::vector<Kiv3DPoint> corners() {
    std::vector<Kiv3DPoint> points;
    for (int i = 0; i < 8; ++i) {
        points.emplace_back((i & 1) != 0 ? 3.0 : -1.0, (i & 2) != 0 ? 1.0 : -1.0, (i & 4) != 0 ? 1.0 : -1.0);
    }
    return points;
}

KivModelCamera ownCamera() {
    KivModelCamera own;
    own.location = Kiv3DPoint(0.0, 0.0, 50.0);
    own.direction = Kiv3DVector(0.0, 0.0, -1.0);
    own.up = yUp;
    own.verticalFov = 12.0;
    return own;
}

} // namespace

TEST(ViewChoice, AFreeViewIsThatOfTheModelsOwnCamera) {
    const ChosenView view = chooseView({}, {ownCamera()}, yUp, corners(), 1.5);
    EXPECT_EQ(view.camera.getLocation().z, 50.0);
    EXPECT_EQ(view.lens.verticalFov, 12.0);
}

TEST(ViewChoice, CamerasThatMissTheModelArePassedOver) {
    KivModelCamera away = ownCamera();
    away.direction = Kiv3DVector(0.0, 0.0, 1.0);
    const ChosenView second = chooseView({}, {away, ownCamera()}, yUp, corners(), 1.5);
    EXPECT_EQ(second.camera.getLocation().z, 50.0);
    EXPECT_LT(second.axes.forward.z, 0.0);
    EXPECT_FALSE(second.passesOverCameras);

    const ChosenView framed = chooseView({}, {away}, yUp, corners(), 1.5);
    EXPECT_TRUE(framed.passesOverCameras);
    EXPECT_EQ(framed.camera.getLocation().z, chooseView({}, {}, yUp, corners(), 1.5).camera.getLocation().z);
    EXPECT_FALSE(chooseView({}, {}, yUp, corners(), 1.5).passesOverCameras);

    EXPECT_EQ(firstThatSees({away}, corners(), 1.5), nullptr);
    EXPECT_EQ(firstThatSees({}, corners(), 1.5), nullptr);
}

TEST(ViewChoice, AnythingSaidTakesTheModelsOwnCameraOutOfForce) {
    ViewChoice choice;
    choice.verticalFov = 40.0;
    const ChosenView view = chooseView(choice, {ownCamera()}, yUp, corners(), 1.5);
    EXPECT_NE(view.camera.getLocation().z, 50.0);
    EXPECT_EQ(view.lens.verticalFov, 40.0);
    choice = {};
    choice.direction = Kiv3DVector(1.0, 0.0, 0.0);
    EXPECT_EQ(chooseView(choice, {ownCamera()}, yUp, corners(), 1.5).axes.forward.x, 1.0);
}

TEST(ViewChoice, ATargetStaysInTheMiddleAtTheFittingDistance) {
    ViewChoice choice;
    choice.direction = Kiv3DVector(0.0, 0.0, -1.0);
    const double fitting = chooseView(choice, {}, yUp, corners(), 1.5).camera.getLocation().z;
    choice.target = Kiv3DPoint(2.0, 0.5, -7.0);
    const Kiv3DPoint eye = chooseView(choice, {}, yUp, corners(), 1.5).camera.getLocation();
    EXPECT_DOUBLE_EQ(eye.x, 2.0);
    EXPECT_DOUBLE_EQ(eye.y, 0.5);
    EXPECT_DOUBLE_EQ(eye.z, fitting);
}

TEST(ViewChoice, AParallelViewOfNoHeightFitsTheModel) {
    ViewChoice choice;
    choice.eye = Kiv3DPoint(500.0, 0.0, 0.0);
    choice.orthoHeight = 0.0;
    const ChosenView view = chooseView(choice, {}, yUp, corners(), 1.0);
    EXPECT_EQ(view.camera.getProjection(), KivCamera::orthographic);
    EXPECT_GT(view.lens.orthoHeight, 2.0);
    EXPECT_LT(view.lens.orthoHeight, 2.6);
    EXPECT_LT(view.camera.getLocation().x, 100.0) << "the place is chosen as well";
}

TEST(ViewChoice, EyeAndTargetInOnePlaceAreRefused) {
    ViewChoice choice;
    choice.eye = Kiv3DPoint(1.0, 2.0, 3.0);
    choice.target = choice.eye;
    EXPECT_THROW(chooseView(choice, {}, yUp, corners(), 1.0), std::invalid_argument);
}

TEST(ViewChoice, APlacedLightIsASpotIfItHasAnAngle) {
    EXPECT_EQ(placedLight({1.0, 2.0, 3.0}, {0.0, 0.0, 1.0}, 0.5).getStyle(), KivLight::spotLight);
    EXPECT_EQ(placedLight({1.0, 2.0, 3.0}, {0.0, 0.0, 1.0}, 0.0).getStyle(), KivLight::pointLight);
}
