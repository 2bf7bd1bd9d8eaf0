// Vector drawings as the render driver makes them: the file, the messages, and a cancel at every question.
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "render/renderfixture.h"
#include "support/commalocale.h"

#include <gmock/gmock.h>

#include <clocale>
#include <filesystem>
#include <iterator>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::size_t openFiles() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

class KivRendererVector : public KivRendererRender {
protected:
    KivRendererVector() {
        std::filesystem::create_directory(home.path() / "temporary");
        environment.set("TMPDIR", (home.path() / "temporary").string());
        loadShaders();
        shader(L"base").color = 0x4080C0;
        setStyle(L"base", L"add-lines;", {L"base", L"add-lines"});
        settings.setVectorial(true);
        setFile("drawing.svg");
    }
    ~KivRendererVector() override {
        KivVectorPage::setBufferSize(KivVectorPage::defaultBuffer);
    }

    void setFile(const std::string& name) {
        settings.setSaveVectorFile(home.wide(name).c_str());
    }
    // Areas before one another, so that simplification has something to join and something to leave out.
    bool renderOnce(int cancelAtPoll = 0) {
        progress.polls = 0;
        progress.cancelAtPoll = cancelAtPoll;
        progress.calls.clear();
        scene.empty();
        fillScene(scene, 1, 1, 1);
        scene.addMesh(rectangle(-0.9, -0.3, 0.9, 0.3, 0.5).release());
        return render({60, 40});
    }

    ScopedEnvironment environment;
};

class KivRendererVectorCancel : public KivRendererVector, public testing::WithParamInterface<bool> {};

TEST_P(KivRendererVectorCancel, WorksAtEveryPollAndLeavesNothing) {
    settings.setVectorSimplify(GetParam());
    ASSERT_TRUE(renderOnce());
    const int polls = progress.polls;
    ASSERT_GT(polls, 10);
    const std::string whole = home.read("drawing.svg");
    ASSERT_THAT(whole, HasSubstr("#c08040"));
    const std::size_t files = openFiles();
    for (int poll = 1; poll <= polls; ++poll) {
        SCOPED_TRACE("cancel at poll " + std::to_string(poll) + " of " + std::to_string(polls));
        std::filesystem::remove(home.path() / "drawing.svg");
        EXPECT_FALSE(renderOnce(poll));
        EXPECT_EQ(std::filesystem::exists(home.path() / "drawing.svg"), poll == polls)
            << "only the very last question comes behind the saving";
        EXPECT_EQ(home.count("temporary"), 0U);
        EXPECT_LE(openFiles(), files);
        ASSERT_TRUE(renderOnce());
        EXPECT_EQ(progress.polls, polls);
        EXPECT_TRUE(home.read("drawing.svg") == whole);
        EXPECT_EQ(openFiles(), files);
        EXPECT_EQ(kivCurrentGlContext(), nullptr);
    }
    EXPECT_THAT(host.messages, IsEmpty());
    EXPECT_THAT(host.errors, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Drawings, KivRendererVectorCancel, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& simplify) {
                             return simplify.param ? "Simplified" : "Plain";
                         });

TEST_F(KivRendererVector, AllFiveEndingsWriteTheirFormat) {
    const std::pair<const char*, const char*> heads[] = {{"a.svg", "<?xml"},
                                                         {"a.pdf", "%PDF-1."},
                                                         {"a.ai", "%PDF-1."},
                                                         {"a.eps", "%!PS-Adobe-3.0 EPSF-3.0"},
                                                         {"a.PS", "%!PS-Adobe-3.0\n"}};
    for (const auto& [name, head] : heads) {
        setFile(name);
        ASSERT_TRUE(renderOnce()) << name;
        EXPECT_TRUE(home.read(name).starts_with(head)) << name;
    }
}

TEST_F(KivRendererVector, ADrawingHasItsTitleItsProducerAndTheBackground) {
    settings.setBackgroundColor(0x123456);
    ASSERT_TRUE(renderOnce());
    const std::string drawing = home.read("drawing.svg");
    EXPECT_THAT(drawing, HasSubstr("<title>Morvane Render</title>"));
    EXPECT_THAT(drawing, HasSubstr("For: Morvane 2.0\n"));
    EXPECT_THAT(drawing, HasSubstr("<polygon fill=\"#563412\" points=\"0,0 60,0 60,40 0,40\"/>"));
}

// With the page open the paper is drawn as in a picture: an area over everything.
TEST_F(KivRendererVector, APaperIsAnAreaOverTheDrawing) {
    ASSERT_TRUE(renderOnce());
    const std::string without = home.read("drawing.svg");
    const auto paper = KivImage::create({8, 8});
    GUID encoder;
    host.getEncoderClsidFromFileName(L"p.png", &encoder);
    ASSERT_EQ(paper->save(home.wide("p.png"), encoder), KivImageStatus::ok);
    settings.setPaperImage(home.wide("p.png").c_str());
    ASSERT_TRUE(renderOnce());
    const std::string with = home.read("drawing.svg");
    const auto areas = [](const std::string& text) {
        std::size_t number = 0;
        for (std::size_t at = text.find("<polygon"); at != std::string::npos; at = text.find("<polygon", at + 1)) {
            ++number;
        }
        return number;
    };
    EXPECT_GT(areas(with), areas(without));
}

TEST_F(KivRendererVector, AnUnknownEndingIsToldAndNothingIsWritten) {
    setFile("drawing.txt");
    EXPECT_TRUE(renderOnce());
    EXPECT_THAT(host.messages, ElementsAre(kivText(1003)));
    EXPECT_FALSE(std::filesystem::exists(home.path() / "drawing.txt"));
    EXPECT_EQ(home.count("temporary"), 0U);
}

TEST_F(KivRendererVector, AnOverflowIsToldAndDoesNotFailTheRender) {
    KivVectorPage::setBufferSize(KivVectorPage::smallestBuffer);
    scene.empty();
    fillScene(scene, 200);
    EXPECT_TRUE(render({60, 40}));
    EXPECT_THAT(host.messages, ElementsAre(kivText(129)));
    EXPECT_TRUE(KivVectorPage::hasOverflowed());
    EXPECT_FALSE(std::filesystem::exists(home.path() / "drawing.svg"));
    EXPECT_EQ(home.count("temporary"), 0U);
    KivVectorPage::setBufferSize(KivVectorPage::defaultBuffer);
    EXPECT_TRUE(renderOnce());
    EXPECT_FALSE(KivVectorPage::hasOverflowed());
    EXPECT_TRUE(std::filesystem::exists(home.path() / "drawing.svg"));
}

// Kept on purpose: what is put back at the end is the locale that the page itself has set.
TEST_F(KivRendererVector, NumbersStayInTheCLocaleFromTheFirstDrawingOn) {
    ASSERT_TRUE(renderOnce());
    const std::string drawing = home.read("drawing.svg");
    ASSERT_THAT(drawing, HasSubstr("."));
    const CommaLocale locale;
    if (!CommaLocale::isInForce()) {
        GTEST_SKIP() << "no localedef to make a locale with";
    }
    EXPECT_TRUE(renderOnce());
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    EXPECT_EQ(home.read("drawing.svg"), drawing);
}

// Simplification has a step for lines and three more; a plain drawing has one.
TEST_F(KivRendererVector, TheBarShowsTheStages) {
    ASSERT_TRUE(renderOnce());
    const std::string label = kivToUtf8(kivText(KivVectorProgress::textNumber));
    EXPECT_THAT(progress.calls, Contains("setText " + label));
    EXPECT_THAT(progress.calls, Not(Contains("setText " + label + " (1) ")));
    settings.setVectorSimplify(true);
    ASSERT_TRUE(renderOnce());
    for (const char* stage : {" (1) ", " (2) ", " (3) ", " (4) "}) {
        EXPECT_THAT(progress.calls, Contains("setText " + label + stage));
    }
    const auto count = [this](const std::string& call) {
        return std::count(progress.calls.begin(), progress.calls.end(), call);
    };
    EXPECT_EQ(count("beginStep"), count("endStep"));
}

// A picture that is saved goes before a drawing, whatever the names say.
TEST_F(KivRendererVector, WithASavedPictureTheDrawingIsNotCopied) {
    settings.setSaveRender(true);
    settings.setSaveRenderFile((home.wide() + L"/picture.png").c_str());
    ASSERT_TRUE(renderOnce());
    EXPECT_TRUE(std::filesystem::exists(home.path() / "picture.png"));
    EXPECT_FALSE(std::filesystem::exists(home.path() / "drawing.svg"));
}

} // namespace
