#include "host/testhost.h"
#include "kivrender/settings/kivpagesettings.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class KivPreviewSceneTest : public testing::Test {
protected:
    void SetUp() override {
        host.buildPreviewSceneAndCamera();
    }

    TempHome home;
    TestHost host;
    KivScene& scene = *host.getPreviewScene();
};

void expectPoint(const Kiv3DPoint& point, double x, double y, double z) {
    EXPECT_EQ(point.x, x);
    EXPECT_EQ(point.y, y);
    EXPECT_EQ(point.z, z);
}

void expectVector(const Kiv3DVector& vector, double x, double y, double z) {
    EXPECT_EQ(vector.x, x);
    EXPECT_EQ(vector.y, y);
    EXPECT_EQ(vector.z, z);
}

} // namespace

TEST_F(KivPreviewSceneTest, HoldsASphereABoxAndALight) {
    EXPECT_EQ(scene.numMeshes(), 2U);
    EXPECT_EQ(scene.numLights(), 1U);
    EXPECT_EQ(scene.numLines() + scene.numPoints() + scene.numPolyline(), 0U);
}

TEST_F(KivPreviewSceneTest, SphereHas1600Quads) {
    const KivMesh& sphere = *scene.getMesh(0);
    EXPECT_EQ(sphere.getNumVertexs(), 6400U);
    EXPECT_EQ(sphere.getNumTriangles(), 3200U); // two a quad
    const KivMaterial& red = *sphere.getMaterial();
    EXPECT_EQ(red.getAmbient(), 255U);
    EXPECT_EQ(red.getDiffuse(), 255U);
    EXPECT_EQ(red.getEmission(), 255U);
    EXPECT_EQ(red.getSpecular(), 0U);
}

TEST_F(KivPreviewSceneTest, SphereBeginsAtTheNorthPole) {
    const KivMesh& sphere = *scene.getMesh(0);
    const Kiv3DPoint pole = sphere.getVertex(0);
    EXPECT_NEAR(pole.x, 0, 1e-12);
    EXPECT_NEAR(pole.y, 0, 1e-12);
    EXPECT_EQ(pole.z, 10);
    // The first cell goes one step around and one step down.
    const double a = std::acos(-1.0) * 2 / 40;
    const double p = std::acos(-1.0) / 2 - std::acos(-1.0) / 40;
    const Kiv3DPoint third = sphere.getVertex(2);
    EXPECT_NEAR(third.x, 10 * std::cos(p) * std::cos(a), 1e-12);
    EXPECT_NEAR(third.y, 10 * std::cos(p) * std::sin(a), 1e-12);
    EXPECT_NEAR(third.z, 10 * std::sin(p), 1e-12);
    EXPECT_NEAR(sphere.getVertex(6399).z, -10, 1e-12); // and the last one ends at the south pole
}

TEST_F(KivPreviewSceneTest, SphereNormalsLeadOutwards) {
    const KivMesh& sphere = *scene.getMesh(0);
    for (unsigned int i = 0; i < sphere.getNumVertexs(); i += 7) {
        const Kiv3DPoint point = sphere.getVertex(i);
        const Kiv3DVector normal = sphere.getNormal(i);
        ASSERT_NEAR(normal.x * 10, point.x, 1e-9);
        ASSERT_NEAR(normal.y * 10, point.y, 1e-9);
        ASSERT_NEAR(normal.z * 10, point.z, 1e-9);
    }
}

TEST_F(KivPreviewSceneTest, SphereQuadsRunBackwards) {
    const KivMesh& sphere = *scene.getMesh(0);
    unsigned int indices[3];
    ASSERT_TRUE(sphere.getTriangle(indices, 0));
    // The fourth corner comes first.
    EXPECT_EQ(indices[0], 3U);
    EXPECT_EQ(indices[1], 2U);
    EXPECT_EQ(indices[2], 1U);
    // Reversed, the corners turn counterclockwise as seen from outside.
    const Kiv3DVector face = sphere.getTriangleNormal(2 * 20); // half way down the first strip
    const Kiv3DVector out = sphere.getNormal(4 * 20);
    const double dot = face.x * out.x + face.y * out.y + face.z * out.z;
    EXPECT_GT(dot, 0.9);
}

TEST_F(KivPreviewSceneTest, BoxIsTheTable) {
    const double positions[24][3] = {{-9, -9, 9}, {9, -9, 9},  {9, 9, 9},    {-9, 9, 9},   {9, 9, 9},    {9, -9, 9},
                                     {9, -9, -9}, {9, 9, -9},  {9, 9, -9},   {9, -9, -9},  {-9, -9, -9}, {-9, 9, -9},
                                     {-9, 9, 9},  {-9, 9, -9}, {-9, -9, -9}, {-9, -9, 9},  {-9, 9, 9},   {9, 9, 9},
                                     {9, 9, -9},  {-9, 9, -9}, {-9, -9, 9},  {-9, -9, -9}, {9, -9, -9},  {9, -9, 9}};
    // The last two lead into the box.
    const double normals[6][3] = {{0, 0, 1}, {1, 0, 0}, {0, 0, -1}, {-1, 0, 0}, {0, -1, 0}, {0, 1, 0}};
    const KivMesh& box = *scene.getMesh(1);
    ASSERT_EQ(box.getNumVertexs(), 24U);
    EXPECT_EQ(box.getNumTriangles(), 12U);
    for (unsigned int i = 0; i < 24; ++i) {
        expectPoint(box.getVertex(i), positions[i][0], positions[i][1], positions[i][2]);
        expectVector(box.getNormal(i), normals[i / 4][0], normals[i / 4][1], normals[i / 4][2]);
    }
    EXPECT_EQ(box.getMaterial()->getDiffuse(), KivMaterial().getDiffuse());
}

TEST_F(KivPreviewSceneTest, Camera) {
    const KivCamera& camera = *host.getPreviewCamera();
    expectPoint(camera.getLocation(), 34.91, -60.46, 40.37);
    expectVector(camera.getDirection(), -34.91, 60.46, -40.37);
    expectVector(camera.getUp(), 0, 0, 1);
    EXPECT_EQ(camera.getProjection(), KivCamera::perspective);
    EXPECT_EQ(camera.getFrustumLeft(), -15.163);
    EXPECT_EQ(camera.getFrustumRight(), 15.163);
    EXPECT_EQ(camera.getFrustumBottom(), -15.163);
    EXPECT_EQ(camera.getFrustumTop(), 15.162); // one step off the others
    EXPECT_EQ(camera.getFrustumNear(), 63.177);
    EXPECT_EQ(camera.getFrustumFar(), 98.453);
}

TEST_F(KivPreviewSceneTest, Light) {
    const KivLight& light = *scene.getLight(0);
    EXPECT_EQ(light.getStyle(), KivLight::directionalLight);
    expectVector(light.getDirection(), 0.0008472031142885972, -0.9996386917494754, -1.0003608190069797);
}

TEST_F(KivPreviewSceneTest, SecondCallAddsASecondSet) {
    host.buildPreviewSceneAndCamera();
    EXPECT_EQ(scene.numMeshes(), 4U);
    EXPECT_EQ(scene.numLights(), 2U);
}

TEST(KivPreviewSceneHost, SharedPagesSurviveTheHost) {
    class Page : public KivPageSettings {
    public:
        explicit Page(bool& deleted) : gone(deleted) {}
        ~Page() override {
            gone = true;
        }
        bool save(const wchar_t*, const wchar_t*) override {
            return true;
        }
        bool load(const wchar_t*, const wchar_t*) override {
            return true;
        }
        const wchar_t* getSectionName() const override {
            return L"Page";
        }
        void reservedSlot() override {}
        void saveSettings() override {}
        bool loadSettings() override {
            return true;
        }

    private:
        bool& gone;
    };
    const TempHome home;
    bool deleted = false;
    Page page(deleted);
    {
        TestHost host;
        host.buildPreviewSceneAndCamera();
        host.getPreviewScene()->addSettingsToAllMeshes(L"Cartoon", false, &page);
    }
    EXPECT_FALSE(deleted); // the meshes have let go of it
}
