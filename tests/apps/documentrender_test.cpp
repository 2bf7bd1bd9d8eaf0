// Documents of Studio, drawn by the command line.
#include "apps/document/documentfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivstreamhead.h"
#include "pngpixels.h"
#include "programrun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

constexpr std::uint32_t red = 0x0000FF; // red in the low byte
constexpr std::uint32_t blue = 0xFF0000;

// Two plates that face +z, the first on the left.
constexpr const char* twoPlates = "o left\nv -2 -1 0\nv -0.2 -1 0\nv -0.2 1 0\nv -2 1 0\nf 1 2 3 4\n"
                                  "o right\nv 0.2 -1 0\nv 2 -1 0\nv 2 1 0\nv 0.2 1 0\nf 5 6 7 8\n";

class DocumentRender : public testing::Test {
protected:
    DocumentRender() {
        state = StudioState::fresh();
        state.models = {kivFromUtf8(folder.write("plates.obj", twoPlates))};
        state.options.setCustomSize(true);
        state.options.setResolution({80, 40});
        state.options.setAntialias(0);
        state.options.setBackgroundColor(blue);
        chooseShaders({});
        state.camera.parallel = true;
        state.camera.target = {0.0, 0.0, 0.0};
        state.camera.distance = 150.0;
    }

    // Cartoon with its defaults, and these.
    void chooseShaders(const std::vector<std::wstring>& added) {
        KivStreamHead head;
        head.nonCombinable = L"Cartoon";
        head.combinables = added;
        state.look = kivWithStreamHead({}, head);
    }

    std::string save() {
        const std::string file = folder.path("look.selvarin");
        std::wstring why;
        EXPECT_TRUE(saveStudioDocument(kivFromUtf8(file), state, &why)) << kivToUtf8(why);
        return file;
    }

    Outcome render(std::vector<std::string> more = {}) {
        std::vector<std::string> words{"render", save(), "-o", folder.path("x.png"), "-q"};
        words.insert(words.end(), more.begin(), more.end());
        return run(folder, words);
    }

    Pixels picture() const {
        return readPixels(folder.path("x.png"));
    }

    ProgramFolder folder;
    StudioState state;
};

std::uint32_t pixelAt(const Pixels& picture, std::uint32_t x, std::uint32_t y) {
    const std::size_t at = (static_cast<std::size_t>(y) * picture.width + x) * 4;
    return at + 2 < picture.rgba.size()
               ? picture.rgba[at] | picture.rgba[at + 1] << 8U | static_cast<std::uint32_t>(picture.rgba[at + 2]) << 16U
               : 0xFFFFFFFF;
}

} // namespace

TEST_F(DocumentRender, DrawsTheModelAsTheDocumentSays) {
    const Outcome outcome = render();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const Pixels drawn = picture();
    ASSERT_EQ(drawn.width, 80U) << "the size of the document";
    ASSERT_EQ(drawn.height, 40U);
    EXPECT_EQ(pixelAt(drawn, 1, 1), blue);
    EXPECT_NE(pixelAt(drawn, 30, 20), blue) << "the left plate";
    EXPECT_EQ(pixelAt(drawn, 40, 20), blue) << "between the two";
    EXPECT_NE(pixelAt(drawn, 50, 20), blue) << "the right plate";
    EXPECT_EQ(run(folder, {"render", folder.path("look.selvarin"), "-o", folder.path("{model}.png"), "-q"}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path("look.png"))) << "named by the document";
}

TEST_F(DocumentRender, ObjectsAreHiddenAndPaintedAsInStudio) {
    state.shown.set(0, {.hidden = true, .ghost = false, .colour = {}});
    state.shown.set(1, {.hidden = false, .ghost = false, .colour = red});
    ASSERT_EQ(render().status, 0);
    const Pixels drawn = picture();
    EXPECT_EQ(pixelAt(drawn, 30, 20), blue);
    const std::uint32_t right = pixelAt(drawn, 50, 20);
    EXPECT_GT(right & 0xFF, 60U);
    EXPECT_EQ(right >> 8, 0U) << "red alone";
}

TEST_F(DocumentRender, LightsOfTheDocumentShine) {
    state.hasLights = true;
    state.lights.resize(1);
    state.lights[0].direction = {0.0, 0.0, -1.0};
    state.options.setAmbientLight(0);
    ASSERT_EQ(render().status, 0);
    const std::uint32_t lit = pixelAt(picture(), 30, 20);
    state.lights[0].direction = {1.0, 0.0, 0.0}; // along the plates
    ASSERT_EQ(render().status, 0);
    const std::uint32_t dark = pixelAt(picture(), 30, 20);
    EXPECT_GT(lit & 0xFF, dark & 0xFF);
}

TEST_F(DocumentRender, TheCameraOfTheDocumentLooks) {
    ASSERT_EQ(render().status, 0);
    const Pixels front = picture();
    state.camera.look(StudioSide::right);
    ASSERT_EQ(render().status, 0);
    const Pixels side = picture();
    EXPECT_EQ(pixelAt(side, 30, 20), blue) << "the plates have no thickness";
    EXPECT_NE(front.rgba, side.rgba);
}

TEST_F(DocumentRender, OptionsThatAreGivenWin) {
    ASSERT_EQ(render({"-s", "60x50", "--background", "00ff00"}).status, 0);
    Pixels drawn = picture();
    EXPECT_EQ(drawn.width, 60U);
    EXPECT_EQ(pixelAt(drawn, 0, 0), 0x00FF00U);
    state.camera.look(StudioSide::right);
    ASSERT_EQ(render({"--view", "front"}).status, 0);
    EXPECT_NE(pixelAt(picture(), 30, 20), blue);
    ASSERT_EQ(render({"--base", "none", "--add", "none"}).status, 0);
    drawn = picture();
    EXPECT_EQ(pixelAt(drawn, 50, 20), blue) << "another look than that of the document";
    const Outcome set = render({"--set", "Cartoon.Bands=2"});
    EXPECT_EQ(set.status, 2);
    EXPECT_THAT(set.err, HasSubstr("the document has one of its own"));
}

TEST_F(DocumentRender, OnlyWhatTheUserNamesIsWritten) {
    state.options.setSaveRender(true);
    state.options.setSaveRenderFile(kivFromUtf8(folder.path("mine.png")).c_str());
    state.options.setSaveDepth(true);
    state.options.setSaveShadows(true);
    state.options.setShadows(true);
    state.options.setVectorial(true);
    state.options.setSaveVectorFile(kivFromUtf8(folder.path("mine.svg")).c_str());
    ASSERT_EQ(render().status, 0);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"look.selvarin", "plates.obj", "x.png"}));
}

TEST_F(DocumentRender, AFolderThatWasMovedIsDrawnToo) {
    save();
    std::filesystem::create_directory(folder.path("moved"));
    for (const char* const name : {"look.selvarin", "plates.obj"}) {
        std::filesystem::rename(folder.path(name), folder.path(std::string("moved/") + name));
    }
    const Outcome outcome =
        run(folder, {"render", folder.path("moved/look.selvarin"), "-o", folder.path("x.png"), "-q"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(DocumentRender, DrawingsAreOfTheDocumentsPage) {
    state.drawing.sheet.page = KivSheet::Page::paper;
    state.drawing.sheet.width = 200.0;
    state.drawing.sheet.height = 100.0;
    chooseShaders({L"Outline"});
    const Outcome outcome = run(folder, {"render", save(), "-o", folder.path("x.svg"), "-q"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const std::string drawing = folder.read("x.svg");
    EXPECT_THAT(drawing, HasSubstr("width=\"200mm\""));
    EXPECT_THAT(drawing, HasSubstr("left")) << "objects have their names";
}

TEST_F(DocumentRender, WhatCantBeDrawnIsToldInOneLine) {
    const auto told = [this](const std::string& content, std::vector<std::string> more = {}) {
        std::vector<std::string> words{"render", folder.write("bad.selvarin", content), "-o", folder.path("x.png"),
                                       "-q"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome outcome = run(folder, words);
        EXPECT_NE(outcome.status, 0);
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_FALSE(std::filesystem::exists(folder.path("x.png")));
        return outcome.err;
    };
    EXPECT_THAT(told("{}"), HasSubstr("bad.selvarin: it is no Selvarin document"));
    EXPECT_THAT(told("{\"selvarin\": 1,"), HasSubstr("bad.selvarin: the file is damaged at byte 15"));
    EXPECT_THAT(told("{\"selvarin\": 99}"), HasSubstr("newer version"));
    EXPECT_THAT(told("{\"selvarin\": 1, \"look\": [], \"models\": [{\"path\": \"/no/such.obj\"}]}"),
                HasSubstr("can't use \"/no/such.obj\": there is no such file"));
    EXPECT_THAT(told("{}", {folder.path("plates.obj")}), HasSubstr("is a document and stands alone"));
    EXPECT_THAT(run(folder, {"render", folder.path("no.selvarin"), "-o", folder.path("x.png")}).err,
                HasSubstr("no.selvarin: The file can't be found."));
    EXPECT_THAT(run(folder, {"render", save(), "-o", folder.path("x.ora")}).err, HasSubstr("saved by Selvarin Studio"));
}
