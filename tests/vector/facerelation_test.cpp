#include "kivrender/vector/facerelation.h"

#include "vector/vectortesting.h"

namespace {

using namespace vectortest;

ScreenFace faceOf(FeedbackPrimitive* primitive, std::uint32_t owner) {
    const std::unique_ptr<FeedbackPrimitive> owned(primitive);
    std::vector<ScreenFace> faces;
    EXPECT_TRUE(addScreenFaces(*owned, owner, {}, faces));
    return faces.at(0);
}

// A triangle of a hundred pixels at one depth.
ScreenFace flat(float depth, std::uint32_t owner) {
    return faceOf(triangle(vertex(0, 0, depth), vertex(100, 0, depth), vertex(0, 100, depth)), owner);
}

// One before and behind the depth: nearer by the one at x = 10, farther by the other at x = 20.
ScreenFace leaning(float depth, float nearer, float farther, std::uint32_t owner) {
    return faceOf(
        triangle(vertex(10, 10, depth - nearer), vertex(20, 10, depth + farther), vertex(20, 20, depth + farther)),
        owner);
}

// The depths of a feedback buffer are told apart down to a quarter of their spacing.
TEST(FaceRelation, IsLevelWithinTheNoise) {
    EXPECT_EQ(faceRelation(flat(0.01F, 0), flat(0.01F + 1.2e-8F, 1)), FaceRelation::Level);
    EXPECT_EQ(faceRelation(flat(0.01F, 0), flat(0.01F + 2.0e-8F, 1)), FaceRelation::Over);
    EXPECT_EQ(faceRelation(flat(0.01F + 2.0e-8F, 0), flat(0.01F, 1)), FaceRelation::Under);
}

TEST(FaceRelation, IsCrossedFromSixteenTimesTheNoiseOn) {
    EXPECT_EQ(faceRelation(leaning(0.01F, 2.0e-7F, 3.0e-7F, 0), flat(0.01F, 1)), FaceRelation::Under);
    EXPECT_EQ(faceRelation(leaning(0.01F, 3.0e-7F, 2.0e-7F, 0), flat(0.01F, 1)), FaceRelation::Over);
    EXPECT_EQ(faceRelation(leaning(0.01F, 3.0e-7F, 3.0e-7F, 0), flat(0.01F, 1)), FaceRelation::Crossed);
    EXPECT_EQ(faceRelation(flat(0.01F, 0), leaning(0.01F, 3.0e-7F, 3.0e-7F, 1)), FaceRelation::Crossed);
}

// Of a steep area that dips in by no more than four steps of the grid nothing is cut off.
TEST(FaceRelation, IsCrossedOnlyWhereACutCanBeTold) {
    const float rise = 0.1F; // over ten pixels
    const float step = rise / 10 / 4096;
    EXPECT_EQ(faceRelation(leaning(0.25F, 3 * step, rise, 0), flat(0.25F, 1)), FaceRelation::Under);
    EXPECT_EQ(faceRelation(leaning(0.25F, 6 * step, rise, 0), flat(0.25F, 1)), FaceRelation::Crossed);
    EXPECT_EQ(faceRelation(leaning(0.25F, rise, 3 * step, 0), flat(0.25F, 1)), FaceRelation::Over);
    EXPECT_EQ(faceRelation(leaning(0.25F, rise, 6 * step, 0), flat(0.25F, 1)), FaceRelation::Crossed);
}

// A line lies over the area that it belongs to, even where that comes nearer within a third of a pixel beside it.
TEST(FaceRelation, AStrokeLiesOverWhatIsLittleNearer) {
    const ScreenFace area =
        faceOf(triangle(vertex(0, 0, 0.25F), vertex(100, 0, 0.75F), vertex(0, 100, 0.25F)), 0); // 0.005 a pixel
    const auto stroke = [](float depth) { return faceOf(line(vertex(50, 10, depth), vertex(50, 40, depth)), 1); };
    EXPECT_EQ(faceRelation(stroke(0.5F + 0.0015F), area), FaceRelation::Over);
    EXPECT_EQ(faceRelation(stroke(0.5F + 0.0020F), area), FaceRelation::Under);
    EXPECT_EQ(faceRelation(area, stroke(0.5F + 0.0015F)), FaceRelation::Under);
    EXPECT_EQ(faceRelation(area, stroke(0.5F + 0.0020F)), FaceRelation::Over);
}

TEST(FaceRelation, NeighboursAreFree) {
    const ScreenFace first = faceOf(triangle(vertex(0, 0, 0.1F), vertex(10, 0, 0.9F), vertex(0, 10, 0.5F)), 0);
    const ScreenFace second = faceOf(triangle(vertex(10, 0, 0.9F), vertex(10, 10, 0.2F), vertex(0, 10, 0.5F)), 1);
    EXPECT_EQ(faceRelation(first, second), FaceRelation::Free);
    EXPECT_EQ(faceRelation(second, first), FaceRelation::Free);
}

} // namespace
