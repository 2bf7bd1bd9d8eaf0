#include "kivrender/scene/kivcamera.h"

#include <gtest/gtest.h>

namespace {

TEST(KivCamera, StartsPerspectiveWithEverythingZero) {
    const KivCamera camera;
    EXPECT_EQ(camera.getProjection(), KivCamera::perspective);
    EXPECT_EQ(static_cast<int>(KivCamera::orthographic), 0);
    EXPECT_EQ(static_cast<int>(KivCamera::perspective), 1);
    EXPECT_EQ(sizeof(KivCamera::projection), 4U);
    for (const double value : {camera.getFrustumLeft(), camera.getFrustumRight(), camera.getFrustumBottom(),
                               camera.getFrustumTop(), camera.getFrustumNear(), camera.getFrustumFar()}) {
        EXPECT_EQ(value, 0.0);
    }
    EXPECT_TRUE(camera.getLocation() == Kiv3DPoint());
    EXPECT_TRUE(camera.getDirection() == Kiv3DVector());
    EXPECT_TRUE(camera.getUp() == Kiv3DVector());
    EXPECT_EQ(camera.getMinFrustumSize(), 0.0);
}

TEST(KivCamera, KeepsWhatItIsGivenAndCopiesIt) {
    KivCamera camera;
    camera.setFrustumLeft(1.0);
    camera.setFrustumRight(2.0);
    camera.setFrustumBottom(3.0);
    camera.setFrustumTop(4.0);
    camera.setFrustumNear(5.0);
    camera.setFrustumFar(6.0);
    camera.setLocation(Kiv3DPoint(7.0, 8.0, 9.0));
    camera.setDirection(Kiv3DVector(0.0, 0.0, -5.0));
    camera.setUp(Kiv3DVector(0.0, 2.0, 0.0));
    camera.setProjection(KivCamera::orthographic);
    const KivCamera copy(camera);
    EXPECT_EQ(copy.getFrustumLeft(), 1.0);
    EXPECT_EQ(copy.getFrustumRight(), 2.0);
    EXPECT_EQ(copy.getFrustumBottom(), 3.0);
    EXPECT_EQ(copy.getFrustumTop(), 4.0);
    EXPECT_EQ(copy.getFrustumNear(), 5.0);
    EXPECT_EQ(copy.getFrustumFar(), 6.0);
    EXPECT_TRUE(copy.getLocation() == Kiv3DPoint(7.0, 8.0, 9.0));
    EXPECT_TRUE(copy.getDirection() == Kiv3DVector(0.0, 0.0, -5.0));
    EXPECT_TRUE(copy.getUp() == Kiv3DVector(0.0, 2.0, 0.0));
    EXPECT_EQ(copy.getProjection(), KivCamera::orthographic);
}

TEST(KivCamera, MinFrustumSizeIsTheShortSide) {
    KivCamera camera;
    camera.setFrustumLeft(-2.0);
    camera.setFrustumRight(2.0);
    camera.setFrustumBottom(-1.0);
    camera.setFrustumTop(1.0);
    EXPECT_EQ(camera.getMinFrustumSize(), 2.0);
    camera.setFrustumTop(9.0);
    EXPECT_EQ(camera.getMinFrustumSize(), 4.0);
}

} // namespace
