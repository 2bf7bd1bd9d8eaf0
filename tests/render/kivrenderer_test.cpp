// The stages of a render: sizes, choice of shaders, order, results, failures.
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "render/renderfixture.h"

#include <GL/gl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <new>
#include <optional>
#include <stdexcept>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Calls = std::vector<std::string>;

TEST_F(KivRendererRender, APlainRenderDrawsTheScene) {
    loadShaders();
    shader(L"base").color = 0x2040FF;
    setStyle(L"base", L"");
    settings.setBackgroundColor(0x102030);
    fillScene(scene, 1);
    ASSERT_TRUE(render({100, 50}));
    EXPECT_EQ(surface.getSize(), (tagSIZE{100, 50}));
    EXPECT_EQ(pixelOf(surface, 50, 25), 0x2040FFU);
    EXPECT_EQ(pixelOf(surface, 50, 2), 0x102030U);
    EXPECT_EQ(countPixels(surface, 0x2040FF), 100 * 25) << "the lower half of the rectangle's height is cut off";
    EXPECT_EQ(countPixels(surface, 0x102030), 100 * 25);
}

TEST_F(KivRendererRender, StagesRunInOrder) {
    loadShaders();
    setStyle(L"base", L"add-lines;", {L"base", L"add-lines"});
    fillScene(scene, 10, 2, 3);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(progress.steps, (std::vector<unsigned int>{34, 14, 11, 11, 11, 14, 11, 11, 11, 1}));
    // The shaders here tell nothing of their steps, four for the row of the style and four for that of the sweep.
    EXPECT_THAT(callsOfPasses(),
                ElementsAre("base prepareObjectRendering", "base loadRenderData", "add-lines loadRenderData",
                            "beginStep", "base render 20x10 named", "base prepareObjectRendering",
                            "base render 20x10 sweep", "cartoon prepareObjectRendering", "cartoon render 20x10 sweep",
                            "endStep", "add-lines render 20x10 named", "beginStep", "advance 14", "endStep",
                            "beginStep", "advance 11", "endStep", "beginStep", "advance 11", "endStep", "beginStep",
                            "advance 11", "endStep", "add-lines render 20x10 sweep", "beginStep", "advance 14",
                            "endStep", "beginStep", "advance 9", "add-more render 20x10 sweep", "advance 2", "endStep",
                            "beginStep", "advance 11", "endStep", "beginStep", "advance 11", "endStep", "beginStep",
                            "setText Smoothing edges", "advance 1 show", "advance 1", "endStep"));
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(KivRendererRender, AntialiasMultipliesTheSizeAndReducesItInTheEnd) {
    loadShaders();
    setStyle(L"base", L"");
    for (const auto& [level, call] : {std::pair{0, "base render 100x50 named"},
                                      {1, "base render 200x100 named"},
                                      {2, "base render 400x200 named"}}) {
        progress.calls.clear();
        settings.setAntialias(level);
        fillScene(scene, 1);
        tagSIZE during{};
        shader(L"base").onRender = [&during](KivShader&, KivBitmapManager* target) { during = target->getSize(); };
        ASSERT_TRUE(render({100, 50}));
        EXPECT_THAT(progress.calls, Contains(call));
        EXPECT_EQ(during, (tagSIZE{100 << level, 50 << level}));
        EXPECT_EQ(surface.getSize(), (tagSIZE{100, 50}));
        EXPECT_EQ(pixelOf(surface, 50, 25), 0xFFFFFFU);
        EXPECT_THROW(pixelOf(surface, 100, 0), std::runtime_error) << "the picture itself has the final size";
    }
}

TEST_F(KivRendererRender, AVectorRenderHasTheFinalSizeWhateverTheAntialias) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setAntialias(2);
    settings.setVectorial(true);
    fillScene(scene, 1);
    ASSERT_TRUE(render({100, 50}));
    EXPECT_THAT(progress.calls, Contains("base render 100x50 named"));
    EXPECT_EQ(surface.getSize(), (tagSIZE{100, 50}));
    EXPECT_EQ(pixelOf(surface, 50, 25), 0xFFFFFFU);
}

TEST_F(KivRendererRender, AVectorRenderWithoutAKnownEndingSaysThatThereIsNoFile) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setVectorial(true);
    for (const wchar_t* name : {L"picture.txt", L"picture.svgz", L""}) {
        host.messages.clear();
        const std::wstring file = *name != L'\0' ? home.wide() + L"/" + name : L"";
        settings.setSaveVectorFile(file.c_str());
        fillScene(scene, 1);
        ASSERT_TRUE(render({20, 10}));
        EXPECT_THAT(host.messages, ElementsAre(kivText(1003)));
        EXPECT_EQ(pixelOf(surface, 10, 5), 0xFFFFFFU);
        EXPECT_EQ(home.count(), 1U) << "nothing but the plug-ins' folder";
    }
    EXPECT_FALSE(kivText(1003).empty());
}

TEST_F(KivRendererRender, AVectorRenderKeepsHiddenMeshes) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setVectorial(true);
    scene.addMesh(rectangle(-0.1, -0.1, 0.1, 0.1, -1.0).release()); // behind the next one
    scene.addMesh(rectangle(-1.0, -1.0, 1.0, 1.0).release());
    unsigned int meshes = 0;
    shader(L"base").onRender = [&](KivShader&, KivBitmapManager*) { meshes = scene.numMeshes(); };
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(meshes, 2U);
}

TEST_F(KivRendererRender, WithoutASizeTheSettingsGiveIt) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setResolution({30, 20});
    fillScene(scene, 1);
    ASSERT_TRUE(render(nullptr));
    EXPECT_EQ(surface.getSize(), (tagSIZE{30, 20}));
}

TEST_F(KivRendererRender, WithoutStoredSettingsTheDefaultShaderDrawsWithItsDefaults) {
    loadShaders();
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(callsOfShaders()[0], "cartoon prepareObjectRendering");
    EXPECT_EQ(callsOfShaders()[1], "cartoon render 20x10 named");
    for (const std::string& call : progress.calls) {
        EXPECT_THAT(call, Not(HasSubstr("loadRenderData")));
    }
    EXPECT_TRUE(KivTestAccess::communication(renderer).hasNonCombinable());
    EXPECT_EQ(progress.steps[0], 7U) << "three for each mesh and four, as with a named shader";
}

TEST_F(KivRendererRender, WithoutAnyStreamTheDefaultShaderDraws) {
    loadShaders();
    fillScene(scene, 1);
    tagSIZE size{20, 10};
    EXPECT_TRUE(renderer.render(nullptr, nullptr, &scene, camera, &surface, &size));
    EXPECT_THAT(progress.calls, Contains("cartoon render 80x40 named")) << "with the settings' own antialias level, 2";
}

TEST_F(KivRendererRender, NamesThatAreNotLoadedFallBackToTheDefaultShader) {
    loadShaders();
    setStyle(L"nobody", L"");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(callsOfShaders()[1], "cartoon render 20x10 named");
    EXPECT_TRUE(KivTestAccess::communication(renderer).hasNonCombinable());
}

TEST_F(KivRendererRender, AnUnknownCombinableShaderCountsAndKeepsTheDefaultAway) {
    loadShaders();
    setStyle(L"nobody", L"nothing;");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    for (const std::string& call : progress.calls) {
        EXPECT_THAT(call, Not(HasSubstr("named")));
    }
    EXPECT_FALSE(KivTestAccess::communication(renderer).hasNonCombinable());
    EXPECT_EQ(progress.steps.size(), 1U + 4U + 4U + 1U) << "steps are reserved for it";
}

TEST_F(KivRendererRender, ShadersAreFoundByTagAndThenByName) {
    loadShaders();
    setStyle(L"test BASE", L"test add-more;ADD-LINES;");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_THAT(progress.calls, Contains("base render 20x10 named"));
    EXPECT_THAT(progress.calls, Contains("add-more render 20x10 named"));
    EXPECT_THAT(progress.calls, Contains("add-lines render 20x10 named"));
}

// Headers are passed over by their length, whatever they say; a line that is too short names nothing.
TEST_F(KivRendererRender, HeadersAreNotCompared) {
    loadShaders();
    data.setSaving();
    save(L"");
    save(L"????????????????????base");
    save(L"!");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_THAT(progress.calls, Contains("base render 20x10 named"));

    progress.calls.clear();
    data.clearData();
    data.setSaving();
    save(L"Style:");
    save(L"base");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_THAT(progress.calls, Contains("cartoon render 20x10 named"));
}

TEST_F(KivRendererRender, AShaderOfTheWrongKindIsNoMatch) {
    loadShaders();
    setStyle(L"add-lines", L"base;");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    for (const std::string& call : progress.calls) {
        EXPECT_THAT(call, Not(HasSubstr("named")));
    }
}

TEST_F(KivRendererRender, AnUnknownShaderInTheDataIsPassedOver) {
    loadShaders();
    shader(L"add-lines").cellsToRead = 2;
    data.setSaving();
    save(L"Style:");
    save(L"NonCombinableShader:base");
    save(L"CombinableShader:add-lines;");
    save(L"nobody");
    save(L"add-lines");
    data.saveInt(7);
    data.saveInt(8);
    save(L"base");
    save(L"End Morvane");
    save(L"cartoon"); // behind the end
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(shader(L"add-lines").cells, (std::vector<int>{7, 8}));
    EXPECT_THAT(progress.calls, Contains("base loadRenderData"));
    EXPECT_THAT(progress.calls, Not(Contains("cartoon loadRenderData")));
}

TEST_F(KivRendererRender, DataThatAShaderLeavesUnreadEndTheReading) {
    loadShaders();
    data.setSaving();
    save(L"Style:");
    save(L"NonCombinableShader:base");
    save(L"CombinableShader:");
    save(L"base");
    data.saveInt(7);
    save(L"cartoon");
    save(L"End Morvane");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_THAT(progress.calls, Contains("base loadRenderData"));
    EXPECT_THAT(progress.calls, Not(Contains("cartoon loadRenderData"))) << "a number is no line of text";
}

TEST_F(KivRendererRender, WithoutTheDefaultShaderTheBackgroundIsThePicture) {
    loadShaders({"base"});
    shader(L"base").draws = false;
    settings.setBackgroundColor(0x00FF00);
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(countPixels(surface, 0x00FF00), 200);
    EXPECT_TRUE(KivTestAccess::communication(renderer).hasNonCombinable()) << "the channel was told all the same";
    EXPECT_EQ(progress.steps[0], 3U) << "no mesh has a shader of its own";
}

TEST_F(KivRendererRender, WithoutAnyShaderTheBackgroundIsThePicture) {
    settings.setBackgroundColor(0x00FF00);
    fillScene(scene, 2);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(countPixels(surface, 0x00FF00), 200);
}

TEST_F(KivRendererRender, ALineOfThirtyTwoNamesAndMoreFitsTheList) {
    loadShaders();
    std::wstring names;
    for (int i = 0; i < 100; ++i) {
        names += L"x;";
    }
    setStyle(L"base", names);
    fillScene(scene, 1);
    EXPECT_TRUE(render({20, 10}));
}

TEST_F(KivRendererRender, TheChannelHasTheOffsetAndIsInForceDuringARenderOnly) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setPolygonOffset(6.25);
    float factor = 0.0F;
    float units = 0.0F;
    bool inForce = false;
    shader(L"base").onRender = [&](KivShader&, KivBitmapManager*) {
        KivShaderCommunication* const channel = KivShaderCommunication::getDefaultCommunication();
        inForce = channel == &KivTestAccess::communication(renderer);
        if (channel != nullptr) {
            channel->getPolygonOffset(&factor, &units);
        }
    };
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_TRUE(inForce);
    EXPECT_EQ(factor, 2.5F);
    EXPECT_EQ(units, 6.25F);
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
}

TEST_F(KivRendererRender, AnotherChannelInForceStays) {
    KivRenderer other;
    EXPECT_TRUE(other.onLoad());
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), &KivTestAccess::communication(other));
    EXPECT_TRUE(renderer.onLoad());
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), &KivTestAccess::communication(other));
    renderer.onUnLoad();
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), &KivTestAccess::communication(other));
    other.onUnLoad();
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
}

TEST_F(KivRendererRender, ARendererTakesItsChannelAlongWhenItEnds) {
    {
        KivRenderer passing;
        passing.onLoad();
    }
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
}

TEST_F(KivRendererRender, TheProductFolderIsTheHosts) {
    EXPECT_STREQ(renderer.basePath(), L"");
    renderer.onLoad();
    EXPECT_EQ(renderer.basePath(), home.wide());
    renderer.onUnLoad();
    KivRenderer second;
    TestShader::install(home.path() / "shaders", {"one"});
    EXPECT_TRUE(second.loadShaders());
    EXPECT_EQ(second.basePath(), home.wide());
    EXPECT_NE(KivShader::getByTag(L"one"), nullptr);
    second.unloadShaders();
    EXPECT_EQ(KivShader::shaders(), 0U);
}

TEST_F(KivRendererRender, LoadingFromAFolderWithoutPluginsIsFalse) {
    EXPECT_FALSE(renderer.loadShaders());
    renderer.unloadShaders();
}

TEST_F(KivRendererRender, TheSceneIsEmptyAfterwards) {
    loadShaders();
    fillScene(scene, 3, 2, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(scene.numMeshes(), 0U);
    EXPECT_EQ(scene.numLights(), 0U);
    EXPECT_EQ(scene.numPolyline(), 0U);
}

TEST_F(KivRendererRender, ASizeThatCantBeMadeIsFalseAndLeavesNoOldPicture) {
    loadShaders();
    setStyle(L"base", L"");
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    ASSERT_NE(surface.getHBitmap(), nullptr);
    for (const tagSIZE size : {tagSIZE{0, 0}, tagSIZE{-5, 10}, tagSIZE{2000000000, 2000000000}}) {
        progress.calls.clear();
        settings.setAntialias(2);
        fillScene(scene, 1);
        EXPECT_FALSE(render(size));
        EXPECT_EQ(surface.getHBitmap(), nullptr);
        EXPECT_THAT(callsOfShaders(), IsEmpty());
        EXPECT_EQ(scene.numMeshes(), 1U);
        scene.empty();
    }
    settings.setAntialias(0);
    fillScene(scene, 1);
    EXPECT_TRUE(render({20, 10})) << "the next render works";
}

TEST_F(KivRendererRender, TooLargeForOpenGlIsToldToTheUser) {
    loadShaders();
    fillScene(scene, 1);
    EXPECT_FALSE(render({40000, 16}));
    EXPECT_EQ(host.errors.size(), 1U);
    EXPECT_EQ(surface.getHBitmap(), nullptr);
}

TEST_F(KivRendererRender, ANonsensicalAntialiasLevelIsNoCrash) {
    loadShaders();
    for (const int level : {-3, 40}) {
        settings.setAntialias(level);
        fillScene(scene, 1);
        render({20, 10});
        scene.empty();
    }
    settings.setAntialias(-3);
    fillScene(scene, 1);
    EXPECT_TRUE(render({20, 10}));
    EXPECT_EQ(surface.getSize(), (tagSIZE{20, 10}));
}

TEST_F(KivRendererRender, WithoutAProgressObjectEverythingWorks) {
    loadShaders();
    setStyle(L"base", L"add-lines;", {L"base"});
    host.setCurProgress(nullptr);
    for (const bool shadows : {false, true}) {
        for (const bool transparencies : {false, true}) {
            settings.setShadows(shadows);
            settings.setTransparencies(transparencies);
            settings.setAntialias(1);
            fillScene(scene, 2, 1, 1);
            ASSERT_TRUE(render({20, 10}));
            EXPECT_EQ(pixelOf(surface, 10, 5), 0xFFFFFFU);
        }
    }
    EXPECT_THAT(progress.steps, IsEmpty());
    EXPECT_EQ(progress.polls, 0);
}

TEST_F(KivRendererRender, WithoutAHostEverythingWorks) {
    loadShaders();
    setStyle(L"base", L"");
    KivHostApplicationServices::setDefaultHost(nullptr);
    fillScene(scene, 1);
    const bool done = render({20, 10});
    settings.setShadows(true);
    settings.setVectorial(true);
    fillScene(scene, 1);
    const bool doneAgain = render({20, 10});
    KivHostApplicationServices::setDefaultHost(&host);
    EXPECT_TRUE(done);
    EXPECT_TRUE(doneAgain);
    EXPECT_EQ(pixelOf(surface, 10, 5), 0xFFFFFFU);
}

TEST_F(KivRendererRender, WithoutASceneOrASurfaceThereIsNoRender) {
    tagSIZE size{10, 10};
    EXPECT_FALSE(renderer.render(nullptr, nullptr, nullptr, camera, &surface, &size));
    EXPECT_FALSE(renderer.render(nullptr, nullptr, &scene, camera, nullptr, &size));
}

// Hosts that end a render this way find the channel still in force, and can render again.
TEST_F(KivRendererRender, WhatAShaderThrowsReachesTheHost) {
    loadShaders();
    setStyle(L"base", L"");
    shader(L"base").onRender = [](KivShader&, KivBitmapManager*) { throw KivShader::stopReason{}; };
    fillScene(scene, 1);
    std::optional<KivShader::stopReason> reason;
    try {
        render({20, 10});
    } catch (KivShader::stopReason thrown) {
        reason = thrown;
    }
    ASSERT_TRUE(reason.has_value());
    EXPECT_EQ(*reason, 0);
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), &KivTestAccess::communication(renderer));
    shader(L"base").onRender = nullptr;
    EXPECT_TRUE(render({20, 10}));
    EXPECT_EQ(pixelOf(surface, 10, 5), 0xFFFFFFU);
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
}

// In every branch, from a place where nothing of the library's own is told of it: the host's progress object.
TEST_F(KivRendererRender, WithoutMemoryAHostGetsAMessageAndOneKindOfThrow) {
    loadShaders();
    setStyle(L"base", L"");
    const std::string page = (home.path() / "page.svg").string();
    for (const bool isTooLong : {false, true}) {
        for (const bool vectorial : {false, true}) {
            settings.setVectorial(vectorial);
            settings.setSaveVectorFile(kivFromUtf8(page).c_str());
            fillScene(scene, 2);
            progress.polls = 0;
            progress.onPoll = [this, isTooLong] {
                if (progress.polls == 5) {
                    isTooLong ? throw std::length_error("a list") : throw std::bad_alloc();
                }
            };
            host.errors.clear();
            kivSetLastError(0);
            EXPECT_THROW(render({20, 10}), KivShader::stopReason);
            EXPECT_THAT(host.errors, ElementsAre(kivErrorNotEnoughMemory));
            EXPECT_EQ(kivGetLastError(), kivErrorNotEnoughMemory);
            EXPECT_FALSE(std::filesystem::exists(page));
            progress.onPoll = nullptr;
            scene.empty();
            fillScene(scene, 2);
            EXPECT_TRUE(render({20, 10})) << "the next one works";
            EXPECT_EQ(std::filesystem::exists(page), vectorial);
            std::filesystem::remove(page);
        }
    }
}

TEST_F(KivRendererRender, TheSameRenderGivesTheSamePicture) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setAntialias(2);
    std::vector<std::uint8_t> first;
    for (int run = 0; run < 2; ++run) {
        fillScene(scene, 3);
        ASSERT_TRUE(render({33, 21}));
        KivBitmapInfo info;
        ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        const std::vector<std::uint8_t> bytes(info.pixels,
                                              info.pixels + info.rowBytes * static_cast<std::size_t>(info.height));
        if (run == 0) {
            first = bytes;
        } else {
            EXPECT_EQ(bytes, first);
        }
    }
}

} // namespace
