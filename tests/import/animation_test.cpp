// Models in the poses of their animations.
#include "animatedfbx.h"
#include "animatedmodel.h"
#include "import/kivmodelimport.h"
#include "import/reader/assimpreader.h"
#include "importtestfiles.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshrest.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kivimport;

class AnimationTest : public testing::Test {
protected:
    // The corners of each object in order, in the pose at that time.
    std::map<std::string, Points> posed(const ClipChoice& clip) const {
        SilentReport report;
        const ModelParts parts = readByAssimp(path, {1000}, clip, report);
        std::map<std::string, Points> all;
        for (const Surface& surface : parts.surfaces) {
            for (const std::uint32_t corner : surface.corners) {
                all[surface.parts.at(0).name].push_back(surface.positions[corner]);
            }
        }
        return all;
    }
    static void expectAt(const Vec3& p, double x, double y, double z) {
        EXPECT_NEAR(p.x, x, 1e-5);
        EXPECT_NEAR(p.y, y, 1e-5);
        EXPECT_NEAR(p.z, z, 1e-5);
    }

    TestFolder folder;
    std::string path = folder.write("moving.gltf", AnimatedModel().gltf());
};

TEST_F(AnimationTest, TheFileTellsItsClips) {
    SilentReport report;
    const ModelParts parts = readByAssimp(path, {1000}, {}, report);
    ASSERT_EQ(parts.animations.size(), 1U);
    EXPECT_EQ(parts.animations[0].name, "go");
    EXPECT_NEAR(parts.animations[0].seconds, 2.0, 1e-6);
    auto rest = posed({});
    expectAt(rest["slider"].at(1), 1, 0, 0);
    expectAt(rest["arm"].at(1), 0, 2, 0);
    expectAt(rest["face"].at(2), 0, 1, 0);
}

TEST_F(AnimationTest, NodesMoveBonesBendAndTargetsMorph) {
    auto end = posed({"go", 2.0});
    expectAt(end["slider"].at(0), 10, 0, 0);
    expectAt(end["slider"].at(1), 11, 0, 0);
    // The first corner is held by the lower bone, the second by the upper one, the third by both.
    expectAt(end["arm"].at(0), 0, 0, 0);
    expectAt(end["arm"].at(1), -1, 1, 0);
    expectAt(end["arm"].at(2), 0, 2, 0);
    expectAt(end["face"].at(0), 0, 0, 0);
    expectAt(end["face"].at(2), 0, 1, 5);
    auto half = posed({"0", 1.0}); // by its number
    expectAt(half["slider"].at(0), 5, 0, 0);
    expectAt(half["face"].at(2), 0, 1, 2.5);
    expectAt(half["arm"].at(1), -0.70710678, 1.70710678, 0);
    auto beyond = posed({"go", 99.0});
    expectAt(beyond["slider"].at(0), 10, 0, 0);
}

TEST_F(AnimationTest, ABoneMayBeCalledAsTheMeshThatItMoves) {
    path = folder.write("named.gltf", AnimatedModel().gltf("arm"));
    auto end = posed({"go", 2.0});
    expectAt(end["arm"].at(0), 0, 0, 0);
    expectAt(end["arm"].at(1), -1, 1, 0);
}

TEST_F(AnimationTest, BonesOfFbxFilesTurnScaleAndInheritInTheirOrder) {
    path = folder.write("stretch.fbx", animatedFbx());
    auto begin = posed({"stretch", 0.0});
    ASSERT_EQ(begin["skin"].size(), 3U);
    expectAt(begin["skin"].at(0), 0, 0, 5);
    expectAt(begin["skin"].at(1), 0, 0.5, 5);
    expectAt(begin["skin"].at(2), 1, 2, 5);
    auto end = posed({"stretch", 1.0});
    expectAt(end["skin"].at(0), 0, 0, 5);
    expectAt(end["skin"].at(1), 0, 1, 5);
    expectAt(end["skin"].at(2), 1, 3, 5);
}

TEST_F(AnimationTest, NodesThatTheReaderMadeHaveNoNames) {
    SilentReport report;
    const ModelParts parts = readByAssimp(folder.write("stretch.fbx", animatedFbx()), {1000}, {}, report);
    std::vector<std::string> names;
    for (const Node& node : parts.nodes) {
        names.push_back(node.name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("skin", "root", "tip"));
}

TEST_F(AnimationTest, OnlyAModelAtRestTellsThatItsSkeletonIsNotUsed) {
    SilentReport report;
    EXPECT_THAT(readByAssimp(path, {1000}, {}, report).warnings,
                testing::ElementsAre("it has the poses of its skeleton and shapes to be blended, which are not drawn"));
    EXPECT_THAT(readByAssimp(path, {1000}, {"go", 1.0}, report).warnings, testing::IsEmpty());
}

TEST_F(AnimationTest, PosesOfOneModelLieInOnePlace) {
    const auto read = [this](double seconds, const KivModel* like, KivModel& model) {
        KivModelOptions options;
        options.clip = L"go";
        options.clipSeconds = seconds;
        options.placedLike = like;
        std::wstring message;
        ASSERT_TRUE(kivImportModels({kivFromUtf8(path)}, options, model, message)) << kivToUtf8(message);
    };
    KivModel first;
    KivModel last;
    read(0.0, nullptr, first);
    read(2.0, &first, last);
    EXPECT_EQ(last.scale, first.scale);
    EXPECT_EQ(first.animationSeconds, std::vector<double>{2.0});
    ASSERT_EQ(first.scene->numMeshes(), 3U);
    for (unsigned int i = 0; i < 3; ++i) {
        if (first.meshNames[i] == L"slider") {
            const double moved = last.scene->getMesh(i)->getVertex(0).x - first.scene->getMesh(i)->getVertex(0).x;
            EXPECT_NEAR(moved, 10.0 * first.scale, 1e-4 * first.scale);
        }
    }
}

TEST_F(AnimationTest, APoseComesWithTheMeshAtRest) {
    const auto read = [this](const wchar_t* clip, double seconds, KivModel& model) {
        KivModelOptions options;
        options.clip = clip;
        options.clipSeconds = seconds;
        std::wstring message;
        ASSERT_TRUE(kivImportModels({kivFromUtf8(path)}, options, model, message)) << kivToUtf8(message);
    };
    KivModel still;
    read(L"", 0.0, still);
    for (unsigned int i = 0; i < still.scene->numMeshes(); ++i) {
        EXPECT_EQ(kivMeshRest(*still.scene->getMesh(i)), nullptr);
    }
    KivModel moved;
    read(L"go", 2.0, moved);
    ASSERT_EQ(moved.scene->numMeshes(), 3U);
    for (unsigned int i = 0; i < 3; ++i) {
        const std::shared_ptr<const KivMesh> rest = kivMeshRest(*moved.scene->getMesh(i));
        ASSERT_NE(rest, nullptr);
        if (moved.meshNames[i] == L"arm") {
            // The second corner from the first, as the file has them and not as the bones do.
            const Kiv3DPoint a = rest->getVertex(0);
            const Kiv3DPoint b = rest->getVertex(1);
            EXPECT_NEAR(b.x - a.x, 0.0, 1e-9);
            EXPECT_NEAR(b.y - a.y, 2.0 * moved.scale, 1e-6 * moved.scale);
        }
    }
}

TEST_F(AnimationTest, AnUnknownClipIsOneLine) {
    const auto line = [](const std::string& model) {
        KivModelOptions options;
        options.clip = L"stop";
        KivModel read;
        std::wstring message;
        EXPECT_FALSE(kivImportModels({kivFromUtf8(model)}, options, read, message));
        return kivToUtf8(message);
    };
    EXPECT_EQ(line(path), "can't use \"" + path + "\": it has no animation \"stop\"; there is \"go\"");
    const std::string box = folder.write("box.obj", boxObj);
    EXPECT_EQ(line(box), "can't use \"" + box + "\": it has no animations");
}

} // namespace
