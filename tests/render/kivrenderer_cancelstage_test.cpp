// A cancel during any call of a shader, and during what the bar is told: no more work begins.
#include "render/renderfixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace {

using testing::Contains;

struct Passes {
    const char* name;
    bool shadows;
    bool transparencies;
};

class KivRendererStageCancel : public KivRendererRender, public testing::WithParamInterface<Passes> {
protected:
    KivRendererStageCancel() {
        loadShaders({"add-lines", "add-more", "base", "other"});
        setStyle(L"base", L"add-lines;add-more;", {L"base", L"add-lines", L"add-more"});
        settings.setShadows(GetParam().shadows);
        settings.setTransparencies(GetParam().transparencies);
        settings.setAntialias(1);
        settings.setSaveRender(true);
        settings.setSaveDepth(true);
        settings.setSaveRenderFile(home.wide("p.png").c_str());
        for (const wchar_t* tag : {L"add-lines", L"add-more", L"base", L"other"}) {
            shader(tag).onCall = [this](const std::string&) { count(); };
        }
        progress.onAdvance = [this](bool) { countAdvance(); };
    }
    ~KivRendererStageCancel() override {
        progress.onAdvance = nullptr;
    }

    // Renders with a cancel during call number `at` of the shaders, or of the bar's advances; 0 for neither. What the
    // shaders are asked for from then on.
    std::vector<std::string> after(int atCall, int atAdvance) {
        cancelAtCall = atCall;
        cancelAtAdvance = atAdvance;
        calls = advances = 0;
        progress.polls = progress.cancelAtPoll = 0;
        progress.calls.clear();
        cancelledAt = 0;
        std::filesystem::remove(home.path() / "p.png");
        std::filesystem::remove(home.path() / "p_depth.png");
        scene.empty();
        fillScene(scene, 3, 2, 1);
        for (const double z : {0.5, 1.0}) {
            scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5, z, 0xFFFFFF, 0.7).release());
        }
        const bool done = render({20, 10});
        EXPECT_EQ(done, atCall == 0 && atAdvance == 0);
        std::vector<std::string> later;
        for (std::size_t i = cancelledAt; i < progress.calls.size(); ++i) {
            if (!progress.calls[i].starts_with("advance") && !progress.calls[i].starts_with("setText") &&
                !progress.calls[i].ends_with("Step")) {
                later.push_back(progress.calls[i]);
            }
        }
        return later;
    }
    std::string cancelledCall() const {
        return progress.calls[cancelledAt - 1];
    }

    int calls = 0;
    int advances = 0;
    std::size_t cancelledAt = 0;

private:
    void count() {
        if (++calls == cancelAtCall) {
            cancel();
        }
    }
    void countAdvance() {
        if (++advances == cancelAtAdvance) {
            cancel();
        }
    }
    void cancel() {
        progress.cancelAtPoll = 1;
        cancelledAt = progress.calls.size();
    }

    int cancelAtCall = 0;
    int cancelAtAdvance = 0;
};

// What may still come: the rest of the same triangle, or what is one with the call.
bool belongsTo(const std::string& call, const std::string& later) {
    const auto has = [](const std::string& text, const char* part) { return text.find(part) != std::string::npos; };
    if (has(call, " triangle ") || has(call, " end 1") || has(call, " end 2")) {
        return (has(later, " triangle ") && !has(later, " triangle 1")) || has(later, " end 1") || has(later, " end 2");
    }
    if (has(call, " end 3")) { // the end of the triangle before opens the next one
        return has(later, " triangle ") || has(later, " end 1") || has(later, " end 2");
    }
    if (has(call, " prepareObjectRendering")) {
        return has(later, " render ") && later.substr(0, later.find(' ')) == call.substr(0, call.find(' '));
    }
    if (has(call, " beginTransparency")) {
        return has(later, " beginTransparency") || has(later, " opaque 1 m0");
    }
    if (has(call, " endTransparency")) {
        return has(later, " endTransparency");
    }
    // Behind the last block of settings the first shader of a plain render draws.
    return call == "add-more loadRenderData" && later == "base render 40x20 named";
}

bool beginsWork(const std::string& call) {
    for (const char* work : {" depth ", " pass ", " opaque ", " render ", " triangle 1", " beginTransparency"}) {
        if (call.find(work) != std::string::npos) {
            return true;
        }
    }
    return false;
}

TEST_P(KivRendererStageCancel, DuringACallBeginsNoOther) {
    after(0, 0);
    const int number = calls;
    ASSERT_GT(number, 10);
    EXPECT_TRUE(std::filesystem::exists(home.path() / "p.png"));
    EXPECT_TRUE(std::filesystem::exists(home.path() / "p_depth.png"));
    for (int call = 1; call <= number; ++call) {
        const std::vector<std::string> later = after(call, 0);
        SCOPED_TRACE("cancel in call " + std::to_string(call) + ": " + cancelledCall());
        for (const std::string& one : later) {
            EXPECT_TRUE(belongsTo(cancelledCall(), one)) << one;
        }
        if (beginsWork(cancelledCall()) && cancelledCall().find(" beginTransparency") == std::string::npos) {
            const auto behind = progress.calls.begin() + static_cast<std::ptrdiff_t>(cancelledAt);
            EXPECT_TRUE(std::none_of(behind, progress.calls.end(), [](const std::string& told) {
                return told.starts_with("setText");
            })) << "no stage begins";
        }
        EXPECT_FALSE(std::filesystem::exists(home.path() / "p.png"));
        EXPECT_FALSE(std::filesystem::exists(home.path() / "p_depth.png"));
    }
}

TEST_P(KivRendererStageCancel, WhileTheBarMovesBeginsNoMoreThanOneCall) {
    after(0, 0);
    const int number = advances;
    ASSERT_GT(number, 5);
    for (int advance = 1; advance <= number; ++advance) {
        const std::vector<std::string> later = after(0, advance);
        SCOPED_TRACE("cancel in advance " + std::to_string(advance));
        // A mesh or a triangle asks behind it, and so does a shader.
        EXPECT_LE(std::count_if(later.begin(), later.end(), beginsWork), 1) << later.back();
        EXPECT_FALSE(std::filesystem::exists(home.path() / "p.png"));
        EXPECT_LE(advances, advance + 4) << "none but what ends a row of shaders";
    }
}

INSTANTIATE_TEST_SUITE_P(Branches, KivRendererStageCancel,
                         testing::Values(Passes{"Plain", false, false}, Passes{"Transparent", false, true},
                                         Passes{"Shadows", true, false}, Passes{"Both", true, true}),
                         [](const auto& passes) { return passes.param.name; });

class KivRendererFinishCancel : public KivRendererRender {
protected:
    KivRendererFinishCancel() {
        loadShaders({"base"});
        setStyle(L"base", L"");
        settings.setAntialias(1);
        settings.setSaveRender(true);
        settings.setSaveDepth(true);
        settings.setSaveRenderFile(home.wide("p.png").c_str());
        fillScene(scene, 1);
    }
    ~KivRendererFinishCancel() override {
        progress.onPoll = nullptr;
        progress.onAdvance = nullptr;
    }
    bool isThere(const char* name) const {
        return std::filesystem::exists(home.path() / name);
    }
};

// Drawing the paper asks, and a cancel there stops before the reduction.
TEST_F(KivRendererFinishCancel, AtThePaperLeavesThePictureUnreduced) {
    settings.setPaperImage(L"paper.png");
    progress.onPoll = [this] {
        if (isThere("p_depth.png") && progress.cancelAtPoll == 0) {
            progress.cancelAtPoll = progress.polls; // this very question
        }
    };
    EXPECT_FALSE(render({20, 10}));
    EXPECT_THAT(progress.calls, testing::Not(Contains("setText Drawing the paper image")));
    EXPECT_THAT(progress.calls, testing::Not(Contains("setText Smoothing edges")));
    EXPECT_THAT(progress.calls, testing::Not(Contains("advance 1 show"))) << "the reduction does not begin";
    EXPECT_EQ(surface.getSize(), (tagSIZE{40, 20}));
    EXPECT_FALSE(isThere("p.png"));
}

TEST_F(KivRendererFinishCancel, AtTheReductionSavesNothing) {
    progress.onAdvance = [this](bool show) {
        if (show) {
            progress.cancelAtPoll = 1;
        }
    };
    EXPECT_FALSE(render({20, 10}));
    EXPECT_EQ(surface.getSize(), (tagSIZE{20, 10}));
    EXPECT_TRUE(isThere("p_depth.png"));
    EXPECT_FALSE(isThere("p.png"));
}

} // namespace
