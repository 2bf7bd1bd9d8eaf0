#include "apps/document/studioobjects.h"

#include "apps/studio/studiomodel.h"
#include "kivrender/scene/kivmesh.h"
#include "support/temphome.h"

#include <fstream>

#include <gtest/gtest.h>

namespace {

Json written(const StudioState& state) {
    return Json::parse(state.toJson().compact()).value_or(Json());
}

// Three triangles side by side along x, each an object.
StudioState threeTriangles(const TempFolder& folder, StudioModel* model) {
    std::ofstream out(folder.path() / "three.obj");
    for (int i = 0; i < 3; ++i) {
        out << "o part" << i << "\nv " << 2 * i << " 0 0\nv " << 2 * i + 1 << " 0 0\nv " << 2 * i << " 1 0\nf "
            << 3 * i + 1 << ' ' << 3 * i + 2 << ' ' << 3 * i + 3 << '\n';
    }
    out.close();
    StudioState state = StudioState::fresh();
    state.models = {folder.wide("three.obj")};
    std::wstring message;
    EXPECT_TRUE(model->load(state, &message)) << message.c_str();
    return state;
}

} // namespace

TEST(StudioObjectStates, ACopyChangesByItself) {
    StudioObjectStates first;
    first.set(3, {.hidden = true});
    StudioObjectStates second = first;
    EXPECT_TRUE(second == first);
    second.set(3, {.ghost = true});
    EXPECT_TRUE(first.at(3).hidden);
    EXPECT_FALSE(second.at(3).hidden);
    EXPECT_FALSE(second == first);
    EXPECT_TRUE(second.hasGhosts());
    second.set(3, {});
    EXPECT_TRUE(second.empty()) << "a plain state is none";
    EXPECT_TRUE(second == StudioObjectStates());
}

TEST(StudioObjectStates, ADocumentKeepsThem) {
    StudioState state = StudioState::fresh();
    EXPECT_EQ(state.toJson()["selvarin"].toInt(), 1);
    state.shown.set(1, {.hidden = true});
    state.shown.set(4, {.hidden = true});
    state.shown.set(2, {.ghost = true, .colour = 0x123456});
    EXPECT_EQ(state.toJson()["selvarin"].toInt(), 3) << "older programs would show all objects";
    EXPECT_EQ(state.toJson()["objectStates"].toArray().size(), 2U) << "what is alike is written once";
    StudioState read;
    std::wstring why;
    ASSERT_TRUE(read.fromJson(written(state), {}, &why));
    EXPECT_TRUE(read.shown == state.shown);
    EXPECT_TRUE(read == state);
    EXPECT_TRUE(read.shown.at(1).hidden);
    EXPECT_EQ(read.shown.at(2).colour, 0x123456U);
    state.shown.set(1, {});
    EXPECT_FALSE(read == state);
}

TEST(StudioObjectStates, AStrangeNumberOfAnObjectIsRefused) {
    for (const Json& number : {Json(-1), Json(1.5e9), Json("one")}) {
        Json json = StudioState::fresh().toJson();
        json["objectStates"] = JsonArray{JsonObject{{"objects", JsonArray{number}}, {"hidden", true}}};
        StudioState read;
        std::wstring why;
        EXPECT_FALSE(read.fromJson(json, {}, &why));
        EXPECT_FALSE(why.empty());
    }
}

TEST(StudioObjectStates, WhatIsHiddenIsNeitherDrawnNorPickedNorFitted) {
    const TempFolder folder;
    StudioModel model;
    StudioState state = threeTriangles(folder, &model);
    EXPECT_EQ(model.scene(state, false).numMeshes(), 3U);
    state.shown.set(1, {.hidden = true});
    const KivScene scene = model.scene(state, false);
    ASSERT_EQ(scene.numMeshes(), 2U);
    EXPECT_EQ(scene.getMesh(1), model.model().scene->getMesh(2));
    EXPECT_EQ(model.drawnNames(state.shown), (std::vector<std::wstring>{L"part0", L"part2"}));
    const std::vector<Kiv3DPoint> middle = model.corners({1});
    const Kiv3DPoint before(middle[0].x + 0.1, middle[0].y + 0.1, middle[0].z + 10.0);
    EXPECT_EQ(model.pick(before, {0.0, 0.0, -1.0}, {}), 1);
    EXPECT_EQ(model.pick(before, {0.0, 0.0, -1.0}, state.shown), -1);
    state.shown.set(0, {.hidden = true});
    EXPECT_GT(model.shownPoints(state.shown).front().x, middle[0].x);
    EXPECT_EQ(model.scene(state, true).numMeshes(), 1U) << "in motion too";
}

TEST(StudioObjectStates, ColoursAndGhostsComeForOneRenderAndGoAgain) {
    const TempFolder folder;
    StudioModel model;
    StudioState state = threeTriangles(folder, &model);
    const KivMesh& mesh = *model.model().scene->getMesh(2);
    const std::uint32_t own = mesh.getMaterial()->getDiffuse();
    state.shown.set(2, {.ghost = true, .colour = 0x0000FF});
    for (const bool plain : {true, false}) {
        {
            const StudioModel::OwnLooks looks(model, state, plain);
            EXPECT_EQ(mesh.getMaterial()->getDiffuse(), 0x0000FFU);
            EXPECT_EQ(mesh.getMaterial()->getAmbient(), 0x0000FFU);
            EXPECT_LT(mesh.getMaterial()->getTransparency(), 0.5);
        }
        EXPECT_EQ(mesh.getMaterial()->getDiffuse(), own);
        EXPECT_EQ(mesh.getMaterial()->getTransparency(), 1.0);
    }
}
