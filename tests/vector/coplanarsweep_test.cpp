#include "reference/literaltriangles.h"
#include "support/pollcost.h"
#include "vector/trianglesource.h"
#include "vector/vectortesting.h"

#include "kivrender/vector/coplanarsweep.h"
#include "kivrender/vector/coplanartrianglemerger.h"

#include <cmath>
#include <limits>

using vectortest::describe;
using vectortest::OwnedList;
using vectortest::Random;
using vectortest::triangle;
using vectortest::TriangleSource;
using vectortest::vertex;

namespace {

std::vector<std::string> groupsAsText(const std::vector<std::unique_ptr<CoplanarGroup>>& groups,
                                      const FeedbackPrimitiveList& seeds) {
    std::vector<std::string> all = describe(seeds);
    const auto place = [](const FeedbackVertex& v) {
        char text[120];
        std::snprintf(text, sizeof text, "%.9g,%.9g,%.9g,%.9g", static_cast<double>(v.x), static_cast<double>(v.y),
                      static_cast<double>(v.z), static_cast<double>(v.g));
        return std::string(text);
    };
    for (const auto& group : groups) {
        std::string text = "group " + std::to_string(group->minExtent) + " " + std::to_string(group->maxExtent);
        for (const SweepTriangle* each : group->sweepTriangles)
            text +=
                " [" + place(each->vertices[0]) + " " + place(each->vertices[1]) + " " + place(each->vertices[2]) + "]";
        for (const FeedbackEdge& edge : group->edges)
            text += " <" + place(*edge.from) + " " + place(*edge.to) + ">";
        all.push_back(text);
    }
    return all;
}

std::vector<std::unique_ptr<CoplanarGroup>> grouped(OwnedList& list, int axis) {
    std::vector<SweepTriangle*> sweep = literal::sweepOf(list, axis);
    CoplanarTriangleMerger().sortTriangles(sweep, &list, axis);
    std::vector<std::unique_ptr<CoplanarGroup>> groups;
    CoplanarSweep(sweep, list).run(nullptr, groups);
    return groups;
}

void compareWithLiteral(OwnedList& list, int axis, const std::string& what) {
    OwnedList expected;
    vectortest::clone(list, expected);
    const auto groups = grouped(list, axis);
    std::vector<SweepTriangle*> expectedSweep = literal::sweepOf(expected, axis);
    literal::SweepSort(expectedSweep, expected).run();
    const auto expectedGroups = literal::group(expectedSweep, expected);
    ASSERT_EQ(groupsAsText(groups, list), groupsAsText(expectedGroups, expected)) << what;
}

TEST(CoplanarSweep, AgreesWithTheLiteralForm) {
    for (std::uint32_t seed = 0; seed < 6000 && !HasFatalFailure(); ++seed) {
        OwnedList list;
        TriangleSource(seed).fill(list, 2 + seed % 5);
        compareWithLiteral(list, static_cast<int>(seed % 2), "seed " + std::to_string(seed));
    }
}

TEST(CoplanarSweep, AgreesWithTheLiteralFormOnLargerFaces) {
    for (std::uint32_t seed = 90000; seed < 90060 && !HasFatalFailure(); ++seed) {
        OwnedList list;
        TriangleSource(seed).fill(list, 20);
        compareWithLiteral(list, static_cast<int>(seed % 2), "seed " + std::to_string(seed));
    }
}

// Triangles that lie on each other, or nearly: what a model has where faces coincide.
class StackedSource {
public:
    static constexpr std::uint32_t numKinds = 8;

    explicit StackedSource(std::uint32_t seed) : random(seed), kind(seed % numKinds) {}

    void fill(FeedbackPrimitiveList& list, std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            list.push_back(made(i, count));
            for (FeedbackVertex& each : list.back()->vertices) {
                each.r = 0.25F;
                // Averages within the tolerance, about it, and beyond it.
                if (kind == 3)
                    each.a = 0.5F + 6e-8F * static_cast<float>(random.below(5));
            }
            list.back()->blend = random.chance(40);
            std::rotate(list.back()->vertices.begin(), list.back()->vertices.begin() + random.below(3),
                        list.back()->vertices.end());
            if (random.chance(2))
                std::swap(list.back()->vertices[0], list.back()->vertices[1]);
        }
    }

private:
    FeedbackPrimitive* made(std::uint32_t i, std::uint32_t count) {
        const float part = static_cast<float>(i) / static_cast<float>(count);
        switch (kind) {
        case 1: // pages about one side, neighbours within the tolerance of directions
            return page(0.02F * part * static_cast<float>(count) / 16);
        case 2: // pages all around, each twice
            return page(3.14159F * static_cast<float>(i / 2) / static_cast<float>(count));
        case 4: // squares with sides of a fifth of the tolerance of vertices
            return tiny(i);
        case 5: { // one middle for the sides of all, each twice
            const float angle = 3.14159F * static_cast<float>(i / 2) / static_cast<float>(count);
            const float x = 4 * std::cos(angle);
            const float y = 4 * std::sin(angle);
            return triangle(vertex(x, y), vertex(-x, -y), vertex(2 * x - y, 2 * y + x));
        }
        case 6: // far out along one axis or two, where floats are wider apart than the tolerance
            return far(i);
        case 7: { // some corners that all share
            const auto corner = [this] {
                return vertex(static_cast<float>(random.below(3)), static_cast<float>(random.below(3)));
            };
            return triangle(corner(), corner(), corner());
        }
        default: // copies
            return triangle(vertex(1, 1), vertex(5, 1), vertex(1, 4));
        }
    }
    static FeedbackPrimitive* page(float angle) {
        return triangle(vertex(1, 1), vertex(1, 5), vertex(1 + 3 * std::cos(angle), 2, 3 * std::sin(angle)));
    }
    static FeedbackPrimitive* tiny(std::uint32_t i) {
        constexpr float side = 0.0002F;
        const float x = side * static_cast<float>(i / 2 % 12);
        const float y = side * static_cast<float>(i / 24);
        return i % 2 == 0 ? triangle(vertex(x, y), vertex(x + side, y), vertex(x + side, y + side))
                          : triangle(vertex(x, y), vertex(x + side, y + side), vertex(x, y + side));
    }
    FeedbackPrimitive* far(std::uint32_t i) {
        static constexpr float distances[] = {0x1p29F, 0x1p30F, -0x1p30F, 0x1p31F, 1e11F, -3e12F, 1e20F};
        const float away = distances[i % 3 == 0 ? 0 : random.below(std::size(distances))];
        const float other = random.chance(2) ? 1.0F : away;
        const float nudge = random.chance(2) ? 0.0009F : 0.0F;
        return triangle(vertex(away, 1 + nudge), vertex(other, 5), vertex(away, 9 + nudge));
    }

    Random random;
    std::uint32_t kind;
};

TEST(CoplanarSweep, AgreesWithTheLiteralFormOnStackedTriangles) {
    for (std::uint32_t seed = 0; seed < 2000 && !HasFatalFailure(); ++seed) {
        OwnedList list;
        StackedSource(seed).fill(list, seed % 50 < StackedSource::numKinds ? 150 : 2 + seed % 37);
        compareWithLiteral(list, static_cast<int>(seed / StackedSource::numKinds % 2), "seed " + std::to_string(seed));
    }
}

TEST(CoplanarSweep, StackedTrianglesGroup) {
    // The random lists have groups of many triangles and triangles that stay alone.
    for (std::uint32_t kind = 0; kind < StackedSource::numKinds; ++kind) {
        std::size_t triangles = 0;
        std::size_t groups = 0;
        for (std::uint32_t seed = kind; seed < 200; seed += StackedSource::numKinds) {
            OwnedList list;
            StackedSource(seed).fill(list, 60);
            triangles += list.size();
            groups += grouped(list, 0).size();
        }
        EXPECT_LT(groups, triangles * 9 / 10) << kind;
        EXPECT_GT(groups, triangles / 50) << kind;
    }
}

// In a time that grows with the square of their number each of these would take minutes.
TEST(CoplanarSweep, StackedTrianglesCostNoMoreThanOthers) {
    for (const std::uint32_t kind : {0U, 2U, 3U, 4U}) {
        OwnedList list;
        StackedSource(kind).fill(list, 60000);
        timespec before{};
        timespec after{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
        EXPECT_FALSE(grouped(list, 0).empty());
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
        const double seconds = static_cast<double>(after.tv_sec - before.tv_sec) +
                               1e-9 * static_cast<double>(after.tv_nsec - before.tv_nsec);
        EXPECT_LT(seconds, 1.5 * PollCost::slowness) << kind;
    }
}

} // namespace
