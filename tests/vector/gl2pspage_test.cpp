// The page over gl2ps: what it prints of a recorded buffer is what gl2ps itself prints of it.
#include "kivrender/vector/gl2pspage.h"

#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/libraryfeedback.h"
#include "kivrender/vector/pagetext.h"
#include "support/gl_driver.h"
#include "support/glsurface.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>

namespace {

constexpr GLint pageOptions = GL2PS_DRAW_BACKGROUND | GL2PS_SIMPLE_LINE_OFFSET | GL2PS_BEST_ROOT |
                              GL2PS_NO_PS3_SHADING | GL2PS_USE_CURRENT_VIEWPORT;

int ticks = 0;
int polls = 0;
int cancelAtPoll = 0;
int announced = -1;

void tick() {
    ++ticks;
}
bool isCancelled() {
    return ++polls == cancelAtPoll || (cancelAtPoll != 0 && polls > cancelAtPoll);
}
void beginOutput(int primitives) {
    announced = primitives;
}

class Gl2psPage : public testing::Test {
protected:
    Gl2psPage() {
        ticks = polls = cancelAtPoll = 0;
        announced = -1;
        KivVectorPage::setExactOrder(false); // as gl2ps itself sorts, so that files can be compared
    }
    ~Gl2psPage() override {
        KivVectorPage::setExactOrder(true);
        gl2psDiscardPage();
        keepGlDriverLoaded();
    }

    GLint begin(const std::wstring& file, GLint format = GL2PS_SVG, GLint bufferSize = 1 << 20, GLint options = 0) {
        return gl2psBeginPageW("title", "producer", nullptr, format, GL2PS_SIMPLE_SORT, pageOptions | options, GL_RGBA,
                               0, nullptr, 0, 0, 0, bufferSize, file.c_str());
    }
    std::string ours(const std::function<void()>& draw, GLint format) {
        EXPECT_EQ(begin(folder.wide("ours"), format), GL2PS_SUCCESS);
        draw();
        EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_SUCCESS);
        return folder.read("ours");
    }
    // What gl2ps writes when it reads its buffer itself, changed as every page's text is.
    std::string theirs(const std::function<void()>& draw, GLint format) const {
        const std::filesystem::path path = folder.path() / "theirs";
        std::FILE* const file = std::fopen(path.c_str(), "w");
        EXPECT_EQ(gl2psBeginPage("title", "producer", nullptr, format, GL2PS_SIMPLE_SORT, pageOptions, GL_RGBA, 0,
                                 nullptr, 0, 0, 0, 1 << 20, file, "ours"),
                  GL2PS_SUCCESS);
        draw();
        gl2psEndPage();
        std::fclose(file);
        std::string text = folder.read("theirs");
        PageText(format == GL2PS_SVG ? PageText::Format::svg : PageText::Format::postScript).change(text);
        return text;
    }

    TempFolder folder;
    GlSurface surface{200, 160};
};

void triangle(float x, float y, float z, float slope = 0.0F) {
    glBegin(GL_TRIANGLES);
    glVertex3f(x, y, z);
    glVertex3f(x + 0.5F, y, z + slope);
    glVertex3f(x, y + 0.6F, z - slope);
    glEnd();
}

void line(float x, float y, float z) {
    glBegin(GL_LINES);
    glVertex3f(x, y, z);
    glVertex3f(x + 0.7F, y + 0.3F, z);
    glEnd();
}

void drawOffsets() {
    glColor3f(1, 0, 0);
    triangle(-0.6F, -0.5F, 0.2F, 0.3F);
    glPolygonOffset(2.5F, 5.0F);
    gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
    glColor3f(0, 1, 0);
    triangle(-0.5F, -0.5F, 0.2F, 0.3F);
    line(-0.6F, -0.4F, 0.2F);
    gl2psDisable(GL2PS_POLYGON_OFFSET_FILL);
    glColor3f(0, 0, 1);
    triangle(-0.4F, -0.6F, 0.2F, -0.2F);
}

void drawBlending() {
    glColor4f(1, 0, 0, 0.25F);
    triangle(-0.6F, -0.5F, 0.5F);
    gl2psEnable(GL2PS_BLEND);
    gl2psBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    triangle(-0.5F, -0.5F, 0.4F);
    line(-0.6F, -0.4F, 0.2F);
    gl2psBlendFunc(GL_ONE, GL_ZERO);
    triangle(-0.4F, -0.5F, 0.3F);
    gl2psBlendFunc(GL_ONE, GL_ONE);
    triangle(-0.3F, -0.5F, 0.25F);
    gl2psDisable(GL2PS_BLEND);
    triangle(-0.2F, -0.5F, 0.2F);
}

void drawLines() {
    glColor3f(0.2F, 0.4F, 0.6F);
    line(-0.9F, -0.9F, 0.0F);
    gl2psLineWidth(3.5F);
    line(-0.8F, -0.7F, 0.0F);
    glLineStipple(2, 0x0F3F);
    gl2psEnable(GL2PS_LINE_STIPPLE);
    line(-0.7F, -0.5F, 0.0F);
    gl2psDisable(GL2PS_LINE_STIPPLE);
    gl2psLineCap(GL2PS_LINE_CAP_ROUND);
    gl2psLineJoin(GL2PS_LINE_JOIN_BEVEL);
    glBegin(GL_LINE_STRIP);
    for (int i = 0; i < 9; ++i) {
        glColor3f(0.1F * static_cast<float>(i), 0.0F, 1.0F);
        glVertex3f(-0.8F + 0.2F * static_cast<float>(i), i % 2 == 0 ? 0.1F : 0.4F, 0.1F);
    }
    glEnd();
}

void drawPoints() {
    glColor3f(1, 0.5F, 0);
    for (const float size : {1.0F, 4.0F, 9.5F}) {
        gl2psPointSize(size);
        glBegin(GL_POINTS);
        glVertex3f(-0.5F + 0.1F * size, 0.0F, 0.3F);
        glVertex3f(-0.5F + 0.1F * size, 0.2F, -0.3F);
        glEnd();
    }
}

void drawBoundaries() {
    gl2psEnable(GL2PS_POLYGON_BOUNDARY);
    glColor3f(0, 0.6F, 0.3F);
    glBegin(GL_POLYGON);
    for (int i = 0; i < 7; ++i) {
        const float angle = 0.9F * static_cast<float>(i);
        glVertex3f(0.6F * std::cos(angle), 0.6F * std::sin(angle), 0.1F);
    }
    glEnd();
    triangle(-0.9F, -0.9F, 0.0F);
    gl2psDisable(GL2PS_POLYGON_BOUNDARY);
    triangle(0.2F, -0.9F, 0.0F);
}

// Neighbours in depth, smooth colours, what the window cuts off.
void drawMixture() {
    drawOffsets();
    drawBlending();
    drawLines();
    drawPoints();
    drawBoundaries();
    glBegin(GL_TRIANGLES);
    glColor3f(1, 0, 0);
    glVertex3f(-2.0F, 0.2F, 0.9F);
    glColor3f(0, 1, 0);
    glVertex3f(2.0F, 0.3F, 0.9F);
    glColor3f(0, 0, 1);
    glVertex3f(0.0F, 2.0F, 0.9F);
    glEnd();
    std::uint32_t random = 1;
    for (int i = 0; i < 300; ++i) {
        random = random * 1664525U + 1013904223U;
        glColor3ub(static_cast<GLubyte>(random >> 24U), static_cast<GLubyte>(random >> 16U), 90);
        triangle(-1.0F + static_cast<float>(random >> 8U & 255U) / 140.0F, -1.0F + static_cast<float>(i) / 200.0F,
                 -0.9F + static_cast<float>(random >> 12U & 255U) / 150.0F, 0.05F);
    }
}

struct Drawing {
    const char* name;
    void (*draw)();
};

class Gl2psPageReading : public Gl2psPage, public testing::WithParamInterface<Drawing> {};

float* keepAll(float* feedback, int* used) {
    auto* const copy = static_cast<float*>(std::malloc(sizeof(float) * static_cast<std::size_t>(*used + 1)));
    std::memcpy(copy, feedback, sizeof(float) * static_cast<std::size_t>(*used));
    return copy;
}
float* cancelAll(float*, int* used) {
    *used = 0;
    return nullptr;
}

} // namespace

TEST_P(Gl2psPageReading, IsThatOfTheLibrary) {
    for (const GLint format : {GL2PS_SVG, GL2PS_PS, GL2PS_EPS}) {
        const std::string expected = theirs(GetParam().draw, format);
        EXPECT_GT(expected.size(), 500U);
        // Not compared by EXPECT_EQ, which would print the files.
        EXPECT_TRUE(ours(GetParam().draw, format) == expected) << "format " << format;
    }
}

INSTANTIATE_TEST_SUITE_P(Markers, Gl2psPageReading,
                         testing::Values(Drawing{"Offsets", drawOffsets}, Drawing{"Blending", drawBlending},
                                         Drawing{"Lines", drawLines}, Drawing{"Points", drawPoints},
                                         Drawing{"Boundaries", drawBoundaries}, Drawing{"Mixture", drawMixture}),
                         [](const testing::TestParamInfo<Drawing>& drawing) { return drawing.param.name; });

TEST_F(Gl2psPage, AnEmptyPageIsAFileToo) {
    const auto nothing = [] {};
    EXPECT_EQ(ours(nothing, GL2PS_SVG), theirs(nothing, GL2PS_SVG));
    EXPECT_EQ(announced, 0);
    EXPECT_EQ(ticks, 0);
}

TEST_F(Gl2psPage, PrimitivesAreAnnouncedAndTickedOnceEach) {
    ours(drawMixture, GL2PS_SVG);
    EXPECT_GT(announced, 300);
    EXPECT_EQ(ticks, announced);
    EXPECT_GT(polls, 1);
}

TEST_F(Gl2psPage, ASimplifiedPageTicksTwiceForEachPrimitive) {
    ASSERT_EQ(begin(folder.wide("a.svg")), GL2PS_SUCCESS);
    for (int i = 0; i < 5; ++i) {
        triangle(-0.5F, -0.5F, 0.1F * static_cast<float>(i));
    }
    EXPECT_EQ(gl2psEndPage(keepAll, tick, isCancelled, beginOutput), GL2PS_SUCCESS);
    EXPECT_EQ(ticks, 10);
    EXPECT_EQ(announced, -1) << "the plain stage is not for it";
}

// What goes through the stages' own form comes back with every marker that the form has a place for.
TEST_F(Gl2psPage, ASimplifierThatKeepsAllChangesNothing) {
    for (const Drawing& drawing : {Drawing{"blending", drawBlending}, Drawing{"points", drawPoints}}) {
        const std::string plain = ours(drawing.draw, GL2PS_SVG);
        ASSERT_EQ(begin(folder.wide("again")), GL2PS_SUCCESS);
        drawing.draw();
        EXPECT_EQ(gl2psEndPage(keepAll, tick, isCancelled, nullptr), GL2PS_SUCCESS);
        EXPECT_EQ(folder.read("again"), plain) << drawing.name;
    }
}

TEST_F(Gl2psPage, TheSameDrawingGivesTheSameBytesWithoutADate) {
    for (const GLint format : {GL2PS_SVG, GL2PS_PDF, GL2PS_AI, GL2PS_EPS}) {
        const std::string first = ours(drawMixture, format);
        EXPECT_TRUE(ours(drawMixture, format) == first);
        EXPECT_EQ(first.find("CreationDate"), std::string::npos);
    }
}

TEST_F(Gl2psPage, IllustratorFilesArePdfAndPdfIsCompressed) {
    const std::string pdf = ours(drawMixture, GL2PS_PDF);
    EXPECT_EQ(pdf.substr(0, 5), "%PDF-");
    EXPECT_NE(pdf.find("/FlateDecode"), std::string::npos);
    EXPECT_TRUE(ours(drawMixture, GL2PS_AI) == pdf);
}

// Two areas whose mean depths tell nothing about which lies over the other, with a line on the lower one.
void drawDeceptively() {
    glColor3f(0, 1, 0);
    glBegin(GL_TRIANGLES);
    glVertex3f(-0.9F, -0.9F, 0.2F);
    glVertex3f(0.9F, -0.9F, 0.2F);
    glVertex3f(0.0F, 0.9F, 0.2F);
    glColor3f(1, 0, 0);
    glVertex3f(-0.1F, -0.5F, 0.1F);
    glVertex3f(0.2F, -0.5F, 0.1F);
    glVertex3f(0.9F, 0.9F, 0.9F);
    glEnd();
    glColor3f(0, 0, 1);
    line(-0.5F, -0.6F, 0.2F);
}

// The colours in the order in which the file paints them.
std::vector<std::string> coloursOf(const std::string& svg) {
    std::vector<std::string> colours;
    for (std::size_t at = svg.find("=\"#"); at != std::string::npos; at = svg.find("=\"#", at + 1)) {
        const std::string colour = svg.substr(at + 2, 7);
        if (colours.empty() || colours.back() != colour)
            colours.push_back(colour);
    }
    return colours;
}

TEST_F(Gl2psPage, PaintsWhatIsNearestLast) {
    KivVectorPage::setExactOrder(true);
    EXPECT_TRUE(KivVectorPage::isExactOrder());
    const std::string back = "#000000";
    const std::string red = "#ff0000";
    const std::string green = "#00ff00";
    const std::string blue = "#0000ff";
    // The red area runs through the green one, and the line through the red one: what is hidden of both is left out.
    EXPECT_EQ(coloursOf(ours(drawDeceptively, GL2PS_SVG)), (std::vector<std::string>{back, green, red, blue}));
    ASSERT_EQ(begin(folder.wide("again")), GL2PS_SUCCESS);
    drawDeceptively();
    EXPECT_EQ(gl2psEndPage(keepAll, tick, isCancelled, nullptr), GL2PS_SUCCESS);
    EXPECT_EQ(coloursOf(folder.read("again")), (std::vector<std::string>{back, green, red, blue}));
    EXPECT_TRUE(KivVectorPage::wasOrderExact());
    KivVectorPage::setExactOrder(false);
    EXPECT_EQ(coloursOf(ours(drawDeceptively, GL2PS_SVG)), (std::vector<std::string>{back, red, green, blue}));
    EXPECT_FALSE(KivVectorPage::wasOrderExact());
}

void corners(const Kiv3DPoint& a, const Kiv3DPoint& b, const Kiv3DPoint& c) {
    glBegin(GL_TRIANGLES);
    for (const Kiv3DPoint& corner : {a, b, c}) {
        glVertex3d(corner.x, corner.y, corner.z);
    }
    glEnd();
}

// Triangles that are a line in the picture: without an area, whatever the order of the corners, and real ones that are
// seen edge-on along a line that is not a round number of pixels anywhere.
void drawWithoutAnArea() {
    glColor3f(0.3F, 0.1F, 0.2F);
    corners({-0.5, -0.5, 0.0}, {0.1, 0.2, 0.0}, {0.7, 0.9, 0.0});
    corners({-0.5, -0.5, 0.0}, {0.7, 0.9, 0.1}, {0.1, 0.2, 0.2});
    corners({0.2, 0.3, 0.0}, {0.2, 0.3, 0.4}, {0.6, 0.1, 0.0});
    corners({0.2, 0.3, 0.1}, {0.2, 0.3, 0.1}, {0.2, 0.3, 0.1});
    glPushMatrix();
    for (int i = 0; i < 20; ++i) {
        glRotated(17.3, 0.0, 0.0, 1.0);
        corners({-0.7, 0.031, -0.4}, {0.613, 0.031, 0.1}, {0.2, 0.031, 0.7});
    }
    glPopMatrix();
}

TEST_F(Gl2psPage, FillsWithoutAnAreaPrintNothing) {
    const auto thinLine = [] {
        glColor3f(1.0F, 0.0F, 0.0F);
        line(-0.4F, -0.3F, 0.1F);
    };
    for (const GLint format : {GL2PS_SVG, GL2PS_PS, GL2PS_PDF}) {
        for (const bool inOrder : {false, true}) {
            KivVectorPage::setExactOrder(inOrder);
            const std::string empty = ours([] {}, format);
            EXPECT_EQ(ours(drawWithoutAnArea, format), empty) << format << inOrder;
            const std::string one = ours(thinLine, format);
            EXPECT_NE(one, empty);
            EXPECT_EQ(ours(
                          [&] {
                              drawWithoutAnArea();
                              thinLine();
                          },
                          format),
                      one)
                << format << inOrder << ": a line stays";
        }
    }
}

TEST_F(Gl2psPage, ThinTrianglesAndThoseWithBoundariesStay) {
    const std::string empty = ours([] {}, GL2PS_SVG);
    // A thousandth of a pixel high, and so small a one.
    EXPECT_NE(ours([] { corners({-0.5, 0.0, 0.0}, {0.5, 0.0, 0.0}, {0.0, 0.00005, 0.0}); }, GL2PS_SVG), empty);
    EXPECT_NE(ours([] { corners({0.0, 0.0, 0.0}, {0.0001, 0.0, 0.0}, {0.0, 0.0001, 0.0}); }, GL2PS_SVG), empty);
    const auto drawBounded = [] {
        gl2psEnable(GL2PS_POLYGON_BOUNDARY);
        corners({-0.5, -0.5, 0.0}, {0.1, 0.2, 0.0}, {0.7, 0.9, 0.0});
        gl2psDisable(GL2PS_POLYGON_BOUNDARY);
    };
    EXPECT_EQ(ours(drawBounded, GL2PS_SVG), theirs(drawBounded, GL2PS_SVG));
}

TEST_F(Gl2psPage, TooSmallABufferIsAnOverflowAndLeavesNoFile) {
    ASSERT_EQ(begin(folder.wide("a.svg"), GL2PS_SVG, 1024), GL2PS_SUCCESS);
    drawMixture();
    EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_OVERFLOW);
    EXPECT_TRUE(KivVectorPage::hasOverflowed());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "a.svg"));
    ours(drawMixture, GL2PS_SVG);
    EXPECT_FALSE(KivVectorPage::hasOverflowed());
}

TEST_F(Gl2psPage, ACancelAtAnyPollLeavesNoFileAndTheNextPageWorks) {
    const std::string whole = ours(drawMixture, GL2PS_SVG);
    const int plainPolls = polls;
    for (int poll = 1; poll <= plainPolls; ++poll) {
        polls = 0;
        cancelAtPoll = poll;
        ASSERT_EQ(begin(folder.wide("a.svg")), GL2PS_SUCCESS);
        drawMixture();
        EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_NO_FEEDBACK) << poll;
        EXPECT_FALSE(std::filesystem::exists(folder.path() / "a.svg")) << poll;
    }
    cancelAtPoll = 0;
    EXPECT_TRUE(ours(drawMixture, GL2PS_SVG) == whole);
}

TEST_F(Gl2psPage, ACancelInTheStagesLeavesNoFile) {
    ASSERT_EQ(begin(folder.wide("a.svg")), GL2PS_SUCCESS);
    drawMixture();
    EXPECT_EQ(gl2psEndPage(cancelAll, tick, isCancelled, nullptr), GL2PS_NO_FEEDBACK);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "a.svg"));
}

TEST_F(Gl2psPage, AnOpenPageIsGivenUpByTheNextOne) {
    const std::string whole = ours(drawMixture, GL2PS_SVG);
    {
        GlSurface other{50, 50};
        ASSERT_EQ(begin(folder.wide("left.svg")), GL2PS_SUCCESS);
        drawMixture();
    }
    GlSurface again{200, 160};
    EXPECT_TRUE(ours(drawMixture, GL2PS_SVG) == whole);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "left.svg"));
}

TEST_F(Gl2psPage, WithoutAPageThereIsNoneToEnd) {
    EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_UNINITIALIZED);
    gl2psDiscardPage();
}

// What a cancelled drawing has recorded is not printed for nobody.
TEST_F(Gl2psPage, APageIsGivenUpAtOnce) {
    const auto timeOf = [this](const std::function<void()>& end) {
        EXPECT_EQ(begin(folder.wide("long.svg"), GL2PS_SVG, 1 << 22), GL2PS_SUCCESS);
        for (int i = 0; i < 20000; ++i) {
            triangle(-0.9F + 0.00005F * static_cast<float>(i), -0.5F, 0.1F);
        }
        const std::clock_t start = std::clock();
        end();
        return std::clock() - start;
    };
    const std::clock_t printed =
        timeOf([] { EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_SUCCESS); });
    EXPECT_GT(std::filesystem::file_size(folder.path() / "long.svg"), 1000000U);
    EXPECT_LT(timeOf([] { gl2psDiscardPage(); }), printed / 4);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "long.svg"));
}

TEST_F(Gl2psPage, ARecordingGivesWhatWasDrawnAndWritesNothing) {
    std::vector<float> recorded = {1.0F};
    EXPECT_EQ(gl2psEndRecording(&recorded), GL2PS_UNINITIALIZED);
    EXPECT_TRUE(recorded.empty());
    ASSERT_EQ(gl2psBeginRecording(1 << 20), GL2PS_SUCCESS);
    drawBlending();
    EXPECT_EQ(gl2psEndRecording(&recorded), GL2PS_SUCCESS);
    EXPECT_EQ(kivCountFeedback(recorded), 6);
    LibraryFeedback feedback(recorded);
    FeedbackItem item;
    ASSERT_TRUE(feedback.next(item));
    EXPECT_EQ(item.count, 3);
    EXPECT_FLOAT_EQ(item.vertices[0], 40.0F);
    EXPECT_FALSE(feedback.state().blend);
    ASSERT_TRUE(feedback.next(item));
    EXPECT_TRUE(feedback.state().blend);
    EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_UNINITIALIZED);

    ASSERT_EQ(gl2psBeginRecording(1024), GL2PS_SUCCESS);
    drawMixture();
    EXPECT_EQ(gl2psEndRecording(&recorded), GL2PS_OVERFLOW);
    EXPECT_TRUE(recorded.empty());
    EXPECT_TRUE(KivVectorPage::hasOverflowed());
    ours(drawMixture, GL2PS_SVG);
    EXPECT_FALSE(KivVectorPage::hasOverflowed());
}

TEST_F(Gl2psPage, AFullDiskAndAMissingFolderAreErrors) {
    ASSERT_EQ(begin(L"/dev/full", GL2PS_EPS), GL2PS_SUCCESS);
    drawMixture();
    EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_ERROR);
    EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
    ASSERT_EQ(begin(folder.wide("nowhere/a.svg")), GL2PS_SUCCESS);
    drawMixture();
    EXPECT_EQ(gl2psEndPage(nullptr, tick, isCancelled, beginOutput), GL2PS_ERROR);
    EXPECT_EQ(kivGetLastError(), kivErrorFileNotFound);
}

TEST(KivVectorPage, TheBufferStaysWithinItsBounds) {
    EXPECT_EQ(KivVectorPage::getBufferSize(), 16777216);
    KivVectorPage::setBufferSize(0);
    EXPECT_EQ(KivVectorPage::getBufferSize(), KivVectorPage::smallestBuffer);
    KivVectorPage::setBufferSize(KivVectorPage::defaultBuffer);
    EXPECT_EQ(KivVectorPage::getBufferSize(), 16777216);
}
