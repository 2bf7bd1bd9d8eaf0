#include "import/kivmodelobjects.h"

#include "importtestfiles.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

KivModel import(const std::string& path) {
    KivModel model;
    std::wstring message;
    EXPECT_TRUE(kivImportModels({kivFromUtf8(path)}, KivModelOptions(), model, message)) << kivToUtf8(message);
    return model;
}

// Three triangles: wheel, Wheel 2, body; and a line.
const char* const carObj = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\no wheel\nf 1 2 3\no Wheel 2\nf 1 3 4\no body\nf 2 3 4\n"
                           "l 1 4\n";

class KivModelObjects : public testing::Test {
protected:
    KivModelObjects() : model(import(folder.write("car.obj", carObj))) {}

    std::vector<std::wstring> choose(const KivObjectChoice& choice) {
        return kivChooseObjects(model, choice);
    }

    TestFolder folder;
    KivModel model;
};

// A glTF file in which a node "car" holds "left" and "right", which show one mesh "wheel", and "body" of no name.
std::string carGltf() {
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
"nodes":[{"name":"car","children":[1,2]},{"name":"left","mesh":0},{"name":"right","mesh":0,"translation":[5,0,0]}],
"meshes":[{"name":"wheel","primitives":[{"attributes":{"POSITION":0}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]}],
"bufferViews":[{"buffer":0,"byteLength":36}],
"buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})";
}

} // namespace

TEST(KivIsObject, NamesAndPathsWithWildcards) {
    const struct {
        const wchar_t* path;
        const wchar_t* pattern;
        bool is;
    } cases[] = {
        {L"car/left/wheel", L"wheel", true},
        {L"car/left/wheel", L"left", true},
        {L"car/left/wheel", L"lef", false},
        {L"car/left/wheel", L"l?ft", true},
        {L"car/left/wheel", L"*eel", true},
        {L"car/left/wheel", L"WHEEL", true},
        {L"car/left/wheel", L"car/left", true},
        {L"car/left/wheel", L"left/wheel", false},
        {L"car/left/wheel", L"*/wheel", true},
        {L"car/left/wheel", L"car/*", true},
        {L"car/left/wheel", L"ca/*", false},
        {L"car/left/wheel", L"", false},
        {L"", L"*", true},
        {L"", L"x", false},
        {L"aaaaaaaab", L"*a*a*a*a*c", false},
        {L"bolt 10", L"bolt 1", false},
        {L"bolt 10", L"bolt 1*", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(kivIsObject(c.path, c.pattern), c.is) << kivToUtf8(c.path) << " " << kivToUtf8(c.pattern);
    }
}

TEST_F(KivModelObjects, PathsComeFromTheFile) {
    EXPECT_EQ(kivObjectPath(model, 1), L"Wheel 2");
    const KivModel car = import(folder.write("car.gltf", carGltf()));
    ASSERT_EQ(car.scene->numMeshes(), 2U);
    EXPECT_EQ(kivObjectPath(car, 0), L"car/left/wheel");
    EXPECT_EQ(kivObjectPath(car, 1), L"car/right/wheel");
}

TEST_F(KivModelObjects, LayersAreMeantByTheirWord) {
    KivModel car = import(folder.write("car.gltf", carGltf()));
    car.nodes.at(0).layers = {L"Paint 1"};
    car.nodes.at(2).layers = {L"right side"};
    EXPECT_EQ(kivObjectLayers(car, 0), std::vector<std::wstring>{L"Paint 1"});
    EXPECT_EQ(kivObjectLayers(car, 1), (std::vector<std::wstring>{L"right side", L"Paint 1"}));
    EXPECT_TRUE(kivIsOnLayer({L"Paint 1"}, L"LAYER:paint*"));
    EXPECT_FALSE(kivIsOnLayer({L"Paint 1"}, L"layer:paint"));
    EXPECT_FALSE(kivIsOnLayer({L"Paint 1"}, L"paint 1"));
    EXPECT_THAT(kivChooseObjects(car, {{L"layer:paint 1"}, {L"layer:right*"}, {}, {}}), IsEmpty());
    ASSERT_EQ(car.scene->numMeshes(), 1U);
    EXPECT_EQ(kivObjectPath(car, 0), L"car/left/wheel");
    EXPECT_EQ(kivChooseObjects(car, {{}, {L"layer:none"}, {}, {}}), std::vector<std::wstring>{L"layer:none"});
}

TEST_F(KivModelObjects, HidesAndKeeps) {
    EXPECT_THAT(choose({{}, {L"wheel*"}, {}, {}}), IsEmpty());
    ASSERT_EQ(model.scene->numMeshes(), 1U);
    EXPECT_EQ(model.meshNames, std::vector<std::wstring>{L"body"});
    EXPECT_EQ(model.meshNodes.size(), 1U);
    EXPECT_EQ(model.scene->numLines(), 1U);
}

TEST_F(KivModelObjects, OnlyLeavesNothingElse) {
    EXPECT_THAT(choose({{L"wheel"}, {}, {}, {}}), IsEmpty());
    ASSERT_EQ(model.scene->numMeshes(), 1U);
    EXPECT_EQ(model.meshNames.front(), L"wheel");
    EXPECT_EQ(model.scene->numLines(), 0U);
}

TEST_F(KivModelObjects, PaintsAndMakesGhosts) {
    EXPECT_THAT(choose({{}, {}, {L"body"}, {{L"*", 0x0000FFU}, {L"wheel", 0x00FF00U}}}), IsEmpty());
    EXPECT_EQ(model.scene->getMesh(0)->getMaterial()->getDiffuse(), 0x00FF00U);
    EXPECT_EQ(model.scene->getMesh(0)->getMaterial()->getAmbient(), 0x00FF00U);
    EXPECT_EQ(model.scene->getMesh(1)->getMaterial()->getDiffuse(), 0x0000FFU);
    EXPECT_TRUE(model.scene->getMesh(1)->isOpaque());
    EXPECT_EQ(model.scene->getMesh(2)->getMaterial()->getTransparency(), kivGhostOpacity);
}

TEST_F(KivModelObjects, TellsPatternsThatMeanNothing) {
    EXPECT_THAT(choose({{}, {L"weel"}, {L"body"}, {{L"door", 0}}}), ElementsAre(L"weel", L"door"));
    EXPECT_EQ(model.scene->numMeshes(), 3U);
}
