#include "kivrender/scene/kivline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace {

const Kiv3DPoint a(1.0, 2.0, 3.0);
const Kiv3DPoint b(4.0, 5.0, 6.0);

KivLine hiddenLine(const Kiv3DPoint& start, const Kiv3DPoint& end) {
    KivLine line(start, end);
    line.hide();
    return line;
}

KivLine lineAt(double degrees) {
    const double radians = degrees * std::numbers::pi / 180.0;
    return {Kiv3DPoint(1.0, 1.0, 1.0), Kiv3DPoint(1.0 + std::cos(radians), 1.0 + std::sin(radians), 1.0)};
}

TEST(KivLine, StartsAtTheOriginAndShown) {
    const KivLine line;
    EXPECT_TRUE(line.getStart() == Kiv3DPoint());
    EXPECT_TRUE(line.getEnd() == Kiv3DPoint());
    EXPECT_FALSE(line.isHidden());
}

TEST(KivLine, SwapExchangesTheEnds) {
    KivLine line(a, b);
    line.swap();
    EXPECT_TRUE(line.getStart() == b);
    EXPECT_TRUE(line.getEnd() == a);
    line.setStart(Kiv3DPoint());
    line.setEnd(b);
    EXPECT_TRUE(line.getStart() == Kiv3DPoint());
    EXPECT_TRUE(line.getEnd() == b);
}

TEST(KivLine, HiddenCountsOnlyAgainstTheOtherDirection) {
    EXPECT_TRUE(KivLine(a, b) == KivLine(a, b));
    EXPECT_TRUE(KivLine(a, b) == hiddenLine(a, b));
    EXPECT_TRUE(KivLine(a, b) == KivLine(b, a));
    EXPECT_TRUE(hiddenLine(a, b) == hiddenLine(b, a));
    EXPECT_FALSE(KivLine(a, b) == hiddenLine(b, a));
    EXPECT_FALSE(hiddenLine(a, b) == KivLine(b, a));
    EXPECT_FALSE(KivLine(a, b) == KivLine(a, Kiv3DPoint(4.0, 5.0, 6.0000001)));
}

TEST(KivLine, SimilarMeansWithinTenDegreesOfParallel) {
    const KivLine base = lineAt(0.0);
    EXPECT_TRUE(base.hasSimilarDirection(lineAt(0.0)));
    EXPECT_TRUE(base.hasSimilarDirection(lineAt(10.0)));
    EXPECT_TRUE(base.hasSimilarDirection(lineAt(-9.999)));
    EXPECT_FALSE(base.hasSimilarDirection(lineAt(10.001)));
    EXPECT_FALSE(base.hasSimilarDirection(lineAt(90.0)));
    EXPECT_FALSE(base.hasSimilarDirection(lineAt(169.99)));
    EXPECT_TRUE(base.hasSimilarDirection(lineAt(175.0)));
    EXPECT_TRUE(base.hasSimilarDirection(lineAt(180.0)));
    EXPECT_TRUE(base.hasSimilarDirection(lineAt(185.0)));
}

TEST(KivLine, ALineOfNoLengthIsSimilarToAll) {
    EXPECT_TRUE(KivLine(a, a).hasSimilarDirection(lineAt(90.0)));
    EXPECT_TRUE(lineAt(45.0).hasSimilarDirection(KivLine(b, b)));
}

TEST(KivLine, ACopyHasNoShaderSettingsAndAnAssignedOneHas) {
    KivLine line = hiddenLine(a, b);
    line.addCombinableShader(L"Outline");
    const KivLine copy(line);
    EXPECT_FALSE(copy.hasObjectSettings());
    EXPECT_TRUE(copy.isHidden());
    EXPECT_TRUE(copy.getStart() == a);
    EXPECT_TRUE(copy.getEnd() == b);
    KivLine assigned;
    assigned = line;
    EXPECT_TRUE(assigned.rendersThisShader(L"Outline"));
    EXPECT_TRUE(assigned.isHidden());
}

TEST(KivLine, AListThatGrowsKeepsTheShaderSettingsOfItsLines) {
    std::vector<KivLine> lines(1);
    lines[0].addCombinableShader(L"Outline");
    lines.reserve(lines.capacity() + 1);
    EXPECT_TRUE(lines[0].hasObjectSettings());
}

} // namespace
