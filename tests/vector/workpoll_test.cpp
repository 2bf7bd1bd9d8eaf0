// Long work asks for a cancel as often as it is long: without any of the questions some stage here asks too seldom.
#include "kivrender/vector/workpoll.h"

#include "kivrender/vector/circlebreaker.h"
#include "kivrender/vector/hiddenprimitives.h"
#include "kivrender/vector/likeprimitives.h"
#include "kivrender/vector/paintersorder.h"
#include "kivrender/vector/pairorder.h"
#include "kivrender/vector/pairsort.h"
#include "vector/vectorprogress.h"
#include "vector/vectortesting.h"

namespace {

using namespace vectortest;

TEST(WorkPoll, AsksAtOnceAndThenAfterSoMuchWork) {
    ScopedProgress progress;
    WorkPoll poll;
    for (std::size_t i = 0; i < 10 * WorkPoll::workBetween; i += 1000)
        EXPECT_FALSE(poll.isCancelled(1000));
    EXPECT_EQ(progress.polls(), 10);
    EXPECT_FALSE(poll.isCancelled());
    progress.cancelAfterPolls(0);
    EXPECT_FALSE(poll.isCancelled()) << "nothing has been asked again";
    EXPECT_TRUE(poll.isCancelled(WorkPoll::workBetween));
    EXPECT_TRUE(poll.isCancelled());
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(poll.isCancelled(WorkPoll::workBetween)) << "without another question";
    EXPECT_EQ(progress.polls(), 11);
}

TEST(WorkPoll, SortingOfPairsAsks) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    Random random(1);
    for (int i = 0; i < 1000000; ++i)
        pairs.emplace_back(random.below(1000000), random.below(1000000));
    ScopedProgress progress;
    for (const int polls : {0, 1, 2, 4, 10}) {
        progress.cancelAfterPolls(polls);
        WorkPoll poll;
        auto copy = pairs;
        EXPECT_FALSE(sortPairs(copy, 1000000, poll)) << polls;
    }
    progress.cancelAfterPolls(-1);
    WorkPoll poll;
    EXPECT_TRUE(sortPairs(pairs, 1000000, poll));
    EXPECT_TRUE(std::is_sorted(pairs.begin(), pairs.end()));
    EXPECT_EQ(std::adjacent_find(pairs.begin(), pairs.end()), pairs.end());
}

// Counts the polls of a piece of work after its first.
template <class Work> int pollsOf(const Work& work) {
    ScopedProgress progress;
    WorkPoll poll;
    work(poll);
    return progress.polls() - 1;
}

TEST(WorkPoll, EachStageAsks) {
    std::vector<PairOrder::Thing> things(200000);
    std::vector<PairOrder::Pair> chain;
    for (std::uint32_t i = 0; i + 1 < things.size(); ++i)
        chain.emplace_back(i, i + 1);
    std::vector<std::uint32_t> order;
    // 200 000 numbers of 300 units each, and five looks at each pair.
    EXPECT_GE(pollsOf([&](WorkPoll& poll) { PairOrder(chain, things, poll).run(order); }), 15 + 4);
    EXPECT_EQ(order.size(), things.size());
    // Ten thousand circles of two: components, ranks and another order come on top.
    std::vector<PairOrder::Pair> circles;
    for (std::uint32_t i = 0; i < things.size(); i += 2) {
        circles.emplace_back(i, i + 1);
        circles.emplace_back(i + 1, i);
    }
    EXPECT_GE(pollsOf([&](WorkPoll& poll) { PairOrder(circles, things, poll).run(order); }), 60);

    std::vector<CircleBreaker::Member> members(600);
    EXPECT_GE(pollsOf([&](WorkPoll& poll) {
                  CircleBreaker breaker(members, poll);
                  for (std::uint32_t i = 0; i < members.size(); ++i) {
                      for (std::uint32_t k = 1; k < members.size() / 2; ++k)
                          breaker.addPair(i, (i + k) % static_cast<std::uint32_t>(members.size()));
                  }
                  breaker.run(order);
              }),
              30);

    OwnedList list;
    for (int i = 0; i < 50000; ++i)
        list.push_back(triangle(vertex(0, 0, static_cast<float>(i)), vertex(1, 0), vertex(0, 1)));
    EXPECT_GE(pollsOf([&](WorkPoll& poll) { LikePrimitives().find(list, poll); }), 3);
}

// Sheets that nothing is hidden of: most of the work is to compare pairs.
TEST(WorkPoll, ComparingAndCuttingAsk) {
    OwnedList sheets;
    for (int i = 0; i < 400; ++i) {
        const float shift = 0.01F * static_cast<float>(i);
        sheets.push_back(triangle(vertex(shift, 0, 0.5F, 0, 0, 0, 0.5F), vertex(100, shift, 0.5F, 0, 0, 0, 0.5F),
                                  vertex(0, 100 - shift, 0.5F, 0, 0, 0, 0.5F)));
    }
    // 80 000 pairs of 560 units.
    EXPECT_GE(pollsOf([&](WorkPoll&) { PaintersOrder().sort(&sheets); }), 11);

    // Needles through one another: to cut them takes as long as to compare.
    OwnedList needles;
    Random random(3);
    for (int i = 0; i < 300; ++i) {
        FeedbackVertex from = vertex(1000 * random.unit(), 0, random.unit());
        FeedbackVertex to = vertex(1000 * random.unit(), 1000, random.unit());
        FeedbackVertex beside = to;
        beside.x += 2;
        needles.push_back(triangle(from, to, beside));
    }
    EXPECT_GE(pollsOf([&](WorkPoll&) { PaintersOrder().sort(&needles); }), 12);
    EXPECT_GT(needles.size(), 500U);

    OwnedList field;
    for (int i = 0; i < 30000; ++i) {
        const float x = 100 * random.unit();
        const float y = 100 * random.unit();
        field.push_back(triangle(vertex(x, y, random.unit()), vertex(x + 1, y, 0.5F), vertex(x, y + 1, 0.5F)));
    }
    EXPECT_GE(pollsOf([&](WorkPoll&) { HiddenPrimitives().remove(&field); }), 40);
}

} // namespace
