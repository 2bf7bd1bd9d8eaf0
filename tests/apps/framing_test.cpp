#include "apps/common/framing.h"
#include "apps/common/sight.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace {

constexpr double pi = 3.14159265358979323846;

double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Where a point comes to lie in the picture: -1 to 1 from edge to edge, and its depth before the eye.
struct Seen {
    double x;
    double y;
    double depth;
};

Seen project(const Kiv3DPoint& p, const KivCamera& camera) {
    const ViewAxes axes = viewAxes(camera.getDirection(), camera.getUp());
    const Kiv3DPoint eye = camera.getLocation();
    const Kiv3DVector v(p.x - eye.x, p.y - eye.y, p.z - eye.z);
    const double depth = dot(v, axes.forward);
    const double scale = camera.getProjection() == KivCamera::perspective ? camera.getFrustumNear() / depth : 1.0;
    return {dot(v, axes.right) * scale / camera.getFrustumRight(), dot(v, axes.up) * scale / camera.getFrustumTop(),
            depth};
}

std::vector<Kiv3DPoint> cloud(std::mt19937& random, int n, double sx, double sy, double sz) {
    std::vector<Kiv3DPoint> points;
    const auto next = [&random](double s) { return s * (static_cast<double>(random() % 20001) / 10000.0 - 1.0); };
    for (int i = 0; i < n; ++i) {
        points.emplace_back(next(sx), next(sy), next(sz));
    }
    return points;
}

} // namespace

TEST(Framing, AllPointsFitAndFillThePicture) {
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        const auto points = cloud(random, 50, 1.0 + random() % 40, 1.0 + random() % 40, 1.0 + random() % 40);
        Lens lens;
        lens.aspect = 0.3 + (random() % 30) / 10.0;
        lens.verticalFov = 10.0 + random() % 90;
        Kiv3DVector forward(static_cast<double>(random() % 100) - 50.5, static_cast<double>(random() % 100) - 50.5,
                            static_cast<double>(random() % 100) - 50.5);
        const ViewAxes axes = viewAxes(forward, Kiv3DVector(0.0, 1.0, 0.0));
        if (round % 3 == 0) {
            lens.orthoHeight = fittingOrthoHeight(points, axes, lens.aspect);
        }
        const KivCamera camera = makeCamera(points, fittingLocation(points, axes, lens), axes, lens);
        double widest = 0.0;
        for (const Kiv3DPoint& p : points) {
            const Seen seen = project(p, camera);
            widest = std::max({widest, std::fabs(seen.x), std::fabs(seen.y)});
            EXPECT_GT(seen.depth, camera.getFrustumNear());
            EXPECT_LT(seen.depth, camera.getFrustumFar());
        }
        EXPECT_NEAR(widest, 0.88, 1e-6) << "a margin of 6 % on the tightest side, round " << round;
        EXPECT_NEAR(camera.getFrustumRight() / camera.getFrustumTop(), lens.aspect, 1e-9);
        EXPECT_EQ(camera.getFrustumLeft(), -camera.getFrustumRight());
        EXPECT_EQ(whyNothingIsSeen(points, camera, 960), "");
    }
}

TEST(Framing, PlanesAreCloseToTheModel) {
    const std::vector<Kiv3DPoint> points{{-1, -1, -1}, {1, 1, 1}};
    const ViewAxes axes = viewAxes(Kiv3DVector(0, 0, -1), Kiv3DVector(0, 1, 0));
    const KivCamera camera = makeCamera(points, Kiv3DPoint(0, 0, 11), axes, Lens());
    EXPECT_NEAR(camera.getFrustumNear(), 10.0, 0.05);
    EXPECT_NEAR(camera.getFrustumFar(), 12.0, 0.05);
    EXPECT_NEAR(camera.getFrustumTop(), camera.getFrustumNear() * std::tan(15.0 * pi / 180.0), 1e-9);
    // Inside the model the near plane keeps a distance that the depth buffer can work with.
    const KivCamera inside = makeCamera(points, Kiv3DPoint(0, 0, 0), axes, Lens());
    EXPECT_GT(inside.getFrustumNear(), 0.0);
    EXPECT_GE(inside.getFrustumNear(), inside.getFrustumFar() / 2001.0);
    const KivCamera past = makeCamera(points, Kiv3DPoint(0, 0, -50), axes, Lens());
    EXPECT_EQ(whyNothingIsSeen(points, past, 960), "the whole model is behind it");
    EXPECT_GT(past.getFrustumNear(), 0.0);
    EXPECT_GT(past.getFrustumFar(), past.getFrustumNear());
}

TEST(Framing, APointOrALineHasACamera) {
    for (const std::vector<Kiv3DPoint>& points :
         {std::vector<Kiv3DPoint>{{3, 4, 5}}, std::vector<Kiv3DPoint>{{0, 0, 0}, {0, 0, 10}}}) {
        const ViewAxes axes = viewAxes(Kiv3DVector(0, 0, -1), Kiv3DVector(0, 1, 0));
        for (const double height : {0.0, fittingOrthoHeight(points, axes, 1.0)}) {
            Lens lens;
            lens.orthoHeight = height;
            const KivCamera camera = makeCamera(points, fittingLocation(points, axes, lens), axes, lens);
            EXPECT_GT(camera.getFrustumTop(), 0.0);
            EXPECT_GT(camera.getFrustumFar(), camera.getFrustumNear());
            for (const Kiv3DPoint& p : points) {
                EXPECT_LT(std::fabs(project(p, camera).x), 1.0);
            }
        }
    }
}

TEST(Framing, AxesAreAtRightAngles) {
    const Kiv3DVector up(0, 1, 0);
    for (const Kiv3DVector& forward :
         {Kiv3DVector(1, 2, 3), Kiv3DVector(0, 5, 0), Kiv3DVector(0, -1, 0), Kiv3DVector(0, 0, -1)}) {
        const ViewAxes axes = viewAxes(forward, up);
        for (const Kiv3DVector& v : {axes.right, axes.up, axes.forward}) {
            EXPECT_NEAR(dot(v, v), 1.0, 1e-12);
        }
        EXPECT_NEAR(dot(axes.right, axes.up), 0.0, 1e-12);
        EXPECT_NEAR(dot(axes.right, axes.forward), 0.0, 1e-12);
        EXPECT_NEAR(dot(axes.up, axes.forward), 0.0, 1e-12);
        EXPECT_GE(dot(axes.up, up), -1e-12);
    }
    EXPECT_NEAR(viewAxes(Kiv3DVector(0, -1, 0), up).up.z, -1.0, 1e-12) << "from above the back is up in the picture";
}

TEST(Framing, ThreeQuarterViewShowsFrontRightAndTop) {
    const Kiv3DVector y = threeQuarterDirection(Kiv3DVector(0, 1, 0));
    EXPECT_LT(y.x, 0.0);
    EXPECT_LT(y.y, 0.0);
    EXPECT_LT(y.z, 0.0);
    const Kiv3DVector z = threeQuarterDirection(Kiv3DVector(0, 0, 1));
    EXPECT_LT(z.x, 0.0);
    EXPECT_GT(z.y, 0.0);
    EXPECT_LT(z.z, 0.0);
}

TEST(Framing, DefaultLightsComeFromTheViewersSide) {
    const std::vector<Kiv3DPoint> points{{-1, -1, -1}, {1, 1, 1}};
    const ViewAxes axes = viewAxes(Kiv3DVector(0, 0, -1), Kiv3DVector(0, 1, 0));
    const std::vector<KivLight> lights = defaultLights(axes, points);
    ASSERT_FALSE(lights.empty());
    EXPECT_EQ(lights[0].getStyle(), KivLight::directionalLight);
    EXPECT_LT(lights[0].getDirection().z, 0.0) << "away from the viewer";
    EXPECT_LT(lights[0].getDirection().y, 0.0) << "from above";
    EXPECT_GT(lights[0].getDirection().x, 0.0) << "from the left";
    // Its place is far outside the model, against its direction.
    const Kiv3DPoint place = lights[0].getLocation();
    EXPECT_GT(Kiv3DVector(place.x, place.y, place.z).norm(), 20.0);
    EXPECT_LT(dot(Kiv3DVector(place.x, place.y, place.z), lights[0].getDirection()), 0.0);
}

// Shadows spread from the light's place: those of parallel light must not part as they would from a lamp. Over the
// whole width of a large picture they part by less than a pixel.
TEST(Framing, ParallelLightIsParallelOverTheWholeModel) {
    std::mt19937 random(3);
    for (const double size : {1e-6, 1.0, 1e6}) {
        std::vector<Kiv3DPoint> points = cloud(random, 200, size, 0.2 * size, 3.0 * size);
        for (Kiv3DPoint& p : points) {
            p = p + Kiv3DVector(5.0 * size, -2.0 * size, size);
        }
        const Kiv3DVector direction(0.3, -0.8, -0.5);
        const KivLight light = directionalLight(direction, points);
        for (const Kiv3DPoint& p : points) {
            const Kiv3DVector way = p - light.getLocation();
            const double cosine = dot(way, direction) / (way.norm() * direction.norm());
            ASSERT_GT(cosine, std::cos(1.1e-4)) << size;
        }
    }
}
