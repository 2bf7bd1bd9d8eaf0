// CAD models on the command line, which chooses how fine their triangles are.
#include "import/cad/cadfiles.h"
#include "programrun.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace {

// Of a file that is drawn.
long trianglesOf(const ProgramFolder& folder, const std::string& name, std::vector<std::string> more = {}) {
    std::vector<std::string> words{"render", folder.path("part.step"), "-o", folder.path(name), "-s", "640x480"};
    words.insert(words.end(), more.begin(), more.end());
    const Outcome outcome = run(folder, words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string size = "640x480, ";
    const std::size_t at = outcome.out.find(size);
    EXPECT_NE(at, std::string::npos) << outcome.out;
    return at != std::string::npos ? std::atol(outcome.out.c_str() + at + size.size()) : 0;
}

} // namespace

TEST(CadDrawing, TrianglesAreFinerThanInAPicture) {
    const ProgramFolder folder;
    writeStep(folder.path("part.step"), documentOf(sphereWithHoles(), "ball"));
    for (const std::vector<std::string>& view : {std::vector<std::string>{}, {"--ortho", "100"}}) {
        const long inPicture = trianglesOf(folder, "a.png", view);
        EXPECT_GT(inPicture, 500);
        EXPECT_GT(trianglesOf(folder, "a.svg", view), 2 * inPicture) << "a third of the distance from the surface";
    }
    const std::vector<std::string> told{"--deflection", "0.1"};
    EXPECT_EQ(trianglesOf(folder, "a.svg", told), trianglesOf(folder, "a.png", told));
}
