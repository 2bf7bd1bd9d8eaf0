#include "kivrender/lines/lonehairs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <vector>

namespace {

class Drawn {
public:
    // A straight contour.
    void add(KivPicturePoint from, KivPicturePoint to, double step, KivStrokeKind kind = KivStrokeKind::contour,
             bool hidden = false) {
        KivFoundLine& line = lines.emplace_back();
        line.kind = kind;
        line.hidden = hidden;
        line.picture = {from, to};
        strokes.push_back({&line, std::hypot(to.x - from.x, to.y - from.y), step, 5.0});
    }
    std::vector<DrawnStroke> strokes;

private:
    std::deque<KivFoundLine> lines; // these stay where they are
};

std::vector<bool> hairsOf(const Drawn& drawn) {
    return kivLoneHairs(drawn.strokes);
}

} // namespace

TEST(LoneHairs, AreShortAndStepBackByLittle) {
    Drawn drawn;
    drawn.add({100, 100}, {124, 100}, 9.0);
    drawn.add({200, 100}, {226, 100}, 1.0);
    drawn.add({300, 100}, {310, 100}, 19.0);
    drawn.add({400, 100}, {410, 100}, 21.0);
    drawn.add({100, 200}, {124, 200}, 10.0); // together they hide much
    drawn.add({200, 200}, {213, 200}, 18.0);
    drawn.add({300, 200}, {324, 200}, 1.0, KivStrokeKind::crease);
    EXPECT_EQ(hairsOf(drawn), (std::vector<bool>{true, false, true, false, false, false, false}));
    for (DrawnStroke& stroke : drawn.strokes) {
        stroke.shortest = 0.0; // all are wanted
    }
    EXPECT_EQ(hairsOf(drawn), std::vector<bool>(7, false));
}

TEST(LoneHairs, StayWhereTheyRunIntoAStrokeThatStays) {
    Drawn drawn;
    drawn.add({100, 100}, {110, 100}, 2.0);
    drawn.add({111, 60}, {111, 140}, 2.0);
    drawn.add({300, 100}, {310, 100}, 2.0);
    drawn.add({320, 60}, {320, 140}, 2.0);
    EXPECT_EQ(hairsOf(drawn), (std::vector<bool>{false, false, true, false}));
}

TEST(LoneHairs, StayWhereOneGoesOnInAnother) {
    Drawn drawn;
    drawn.add({100, 100}, {110, 100}, 2.0);
    drawn.add({127, 103}, {118, 102}, 2.0);
    drawn.add({100, 200}, {110, 200}, 2.0); // farther apart
    drawn.add({124, 200}, {134, 200}, 2.0);
    drawn.add({100, 300}, {110, 300}, 2.0); // side by side
    drawn.add({100, 306}, {110, 306}, 2.0);
    drawn.add({100, 400}, {110, 400}, 2.0); // another way
    drawn.add({116, 402}, {116, 412}, 2.0);
    EXPECT_EQ(hairsOf(drawn), (std::vector<bool>{false, false, true, true, true, true, true, true}));
}

TEST(LoneHairs, HiddenLinesAreNoneAndHoldNone) {
    Drawn drawn;
    drawn.add({100, 100}, {110, 100}, 2.0);
    drawn.add({111, 60}, {111, 140}, 2.0, KivStrokeKind::contour, true);
    drawn.add({300, 100}, {310, 100}, 2.0, KivStrokeKind::contour, true);
    EXPECT_EQ(hairsOf(drawn), (std::vector<bool>{true, false, false}));
}
