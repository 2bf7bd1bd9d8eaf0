// What the render command tells of what the library tells it, in this process.
#include "apps/cli/rendercommand.h"

#include "apps/cli/commandline.h"
#include "apps/cli/exitstatus.h"
#include "kivrender/vector/kivvectorpage.h"
#include "support/gl_driver.h"
#include "support/temphome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

std::string warningsOf(const std::string& output, const char* areas = nullptr) {
    std::vector<const char*> words{"selvarin", "render", "--demo", "-q", "-s",
                                   "40x30",    "--add",  "none",   "-o", output.c_str()};
    if (areas != nullptr) {
        words.insert(words.end(), {"--areas", areas});
    }
    testing::internal::CaptureStderr();
    const Words parsed = parseWords(static_cast<int>(words.size()), words.data());
    EXPECT_EQ(runRender(parseRenderOptions(parsed)), statusDone);
    keepGlDriverLoaded();
    return testing::internal::GetCapturedStderr();
}

// An order that was cut short, which takes thousands of areas over one another, is told in the same way as one that was
// not asked for.
TEST(RenderCommand, WarnsOfADrawingThatIsNotPaintedExactly) {
    const TempFolder folder;
    const std::string drawing = (folder.path() / "a.svg").string();
    const char* const warning = "so much lies over one another in the drawing that some of it may be painted in the "
                                "wrong order";
    EXPECT_EQ(warningsOf(drawing, "triangles"), "");
    KivVectorPage::setExactOrder(false);
    EXPECT_THAT(warningsOf(drawing, "triangles"), testing::HasSubstr(warning));
    EXPECT_EQ(warningsOf(drawing), "") << "regions lie side by side";
    EXPECT_EQ(warningsOf((folder.path() / "a.png").string()), "") << "a picture has no order";
    KivVectorPage::setExactOrder(true);
    EXPECT_EQ(warningsOf(drawing), "");
}

} // namespace
