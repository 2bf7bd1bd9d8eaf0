#include "vector/vectortesting.h"

#include "kivrender/vector/tessellationcost.h"

#include <cmath>
#include <deque>

using vectortest::vertex;

namespace {

struct Contours {
    std::deque<FeedbackVertex> places;
    std::vector<FeedbackVertex*> vertices;
    std::vector<int> ends;

    // In the plane whose normal is that axis.
    void add(const std::vector<std::pair<float, float>>& corners, int axis = 2) {
        for (const auto& [u, v] : corners) {
            places.push_back(axis == 0 ? vertex(0, u, v) : axis == 1 ? vertex(v, 0, u) : vertex(u, v));
            vertices.push_back(&places.back());
        }
        ends.push_back(static_cast<int>(vertices.size()));
    }
    bool isLow(int axis = 2) const {
        const double one = -1;
        return TessellationCost::isLow(vertices, ends,
                                       {axis == 0 ? one : 0.1, axis == 1 ? one : 0.1, axis == 2 ? one : 0.1});
    }
};

void addPlate(Contours& contours, int rows, int axis = 2) {
    const float size = 3 * static_cast<float>(rows) + 1;
    contours.add({{0, 0}, {size, 0}, {size, size}, {0, size}}, axis);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < rows; ++j) {
            const float x = 1 + 3 * static_cast<float>(i);
            const float y = 1 + 3 * static_cast<float>(j);
            contours.add({{x, y}, {x + 1, y}, {x + 1, y + 1}, {x, y + 1}}, axis);
        }
    }
}

// Teeth that point against the sweep, or across it.
void addComb(Contours& contours, int teeth, bool isAgainst) {
    std::vector<std::pair<float, float>> corners;
    for (int i = 0; i < teeth; ++i) {
        corners.emplace_back(0.0F, 2 * static_cast<float>(i));
        corners.emplace_back(100.0F, 2 * static_cast<float>(i) + 1);
    }
    corners.emplace_back(200.0F, 2 * static_cast<float>(teeth));
    corners.emplace_back(200.0F, -1.0F);
    for (auto& [u, v] : corners) {
        if (!isAgainst)
            std::swap(u, v);
    }
    contours.add(corners);
}

void addCircle(Contours& contours, int count) {
    std::vector<std::pair<float, float>> corners;
    for (int i = 0; i < count; ++i) {
        const double angle = 6.283185307179586 * i / count;
        corners.emplace_back(static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)));
    }
    contours.add(corners);
}

TEST(TessellationCost, FewHolesAreCheapAndThousandsAreNot) {
    for (int axis = 0; axis < 3; ++axis) {
        Contours few;
        addPlate(few, 30, axis);
        EXPECT_TRUE(few.isLow(axis)) << axis;
        Contours many;
        addPlate(many, 45, axis);
        EXPECT_LT(many.vertices.size(), TessellationCost::mostVertices + 1);
        EXPECT_FALSE(many.isLow(axis)) << axis;
    }
}

TEST(TessellationCost, TeethCostByTheWayTheyPoint) {
    Contours against;
    addComb(against, 1000, true);
    EXPECT_FALSE(against.isLow());
    Contours across;
    addComb(across, 1000, false);
    EXPECT_TRUE(across.isLow());
}

TEST(TessellationCost, SmoothOutlinesAreCheapUntilTheyAreLong) {
    Contours none;
    EXPECT_TRUE(none.isLow());
    Contours one;
    one.add({{1, 1}});
    EXPECT_TRUE(one.isLow());
    Contours circle;
    addCircle(circle, static_cast<int>(TessellationCost::mostVertices));
    EXPECT_TRUE(circle.isLow());
    Contours longer;
    addCircle(longer, static_cast<int>(TessellationCost::mostVertices) + 1);
    EXPECT_FALSE(longer.isLow());
}

} // namespace
