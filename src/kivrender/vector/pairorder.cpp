#include "kivrender/vector/pairorder.h"

#include "kivrender/vector/circlebreaker.h"

#include <algorithm>
#include <numeric>
#include <queue>

namespace {

// In units of WorkPoll: to look at a pair, what is done for one, and for a number in a queue.
constexpr std::size_t workOfLook = 5;
constexpr std::size_t workOfPair = 30;
constexpr std::size_t workOfNumber = 300;

constexpr std::uint32_t none = 0xFFFFFFFF;

} // namespace

PairOrder::PairOrder(const std::vector<Pair>& all, const std::vector<Thing>& numbered, WorkPoll& poll)
    : pairs(all), things(numbered), cancel(poll) {}

bool PairOrder::run(std::vector<std::uint32_t>& order) {
    begin.assign(things.size() + 1, 0);
    for (const Pair& pair : pairs) {
        ++begin[pair.first + 1];
        if (cancel.isCancelled(workOfLook))
            return false;
    }
    std::partial_sum(begin.begin(), begin.end(), begin.begin());
    if (!sort(order))
        return false;
    if (order.size() == things.size())
        return true;
    return breakCircles() && sort(order);
}

// Leaves out what stands in circles or behind them.
bool PairOrder::sort(std::vector<std::uint32_t>& order) {
    std::vector<std::uint32_t> waits(things.size(), 0); // for so many
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (isBroken.empty() || !isBroken[i])
            ++waits[pairs[i].second];
        if (cancel.isCancelled(workOfPair))
            return false;
    }
    std::priority_queue<std::uint32_t, std::vector<std::uint32_t>, Nearer> ready(Nearer{&things});
    for (std::uint32_t number = 0; number < things.size(); ++number) {
        if (waits[number] == 0)
            ready.push(number);
        if (cancel.isCancelled(workOfPair))
            return false;
    }
    order.clear();
    order.reserve(things.size());
    while (!ready.empty()) {
        const std::uint32_t number = ready.top();
        ready.pop();
        order.push_back(number);
        if (cancel.isCancelled(workOfNumber + workOfPair * (begin[number + 1] - begin[number])))
            return false;
        for (std::size_t i = begin[number]; i < begin[number + 1]; ++i) {
            if ((isBroken.empty() || !isBroken[i]) && --waits[pairs[i].second] == 0)
                ready.push(pairs[i].second);
        }
    }
    return true;
}

// Numbers the strongly connected components (Tarjan, Depth-first search and linear graph algorithms, 1972), with the
// stack of calls in a vector.
bool PairOrder::findCircles(std::vector<std::uint32_t>& circleOf) {
    struct Visit {
        std::uint32_t number;
        std::size_t next; // of its pairs
    };
    const std::size_t count = things.size();
    circleOf.assign(count, none);
    std::vector<std::uint32_t> found(count, none); // when
    std::vector<std::uint32_t> lowest(count, 0);
    std::vector<std::uint32_t> open;
    std::vector<Visit> visits;
    std::uint32_t clock = 0;
    std::uint32_t circles = 0;
    const auto enter = [&](std::uint32_t number) {
        found[number] = lowest[number] = clock++;
        open.push_back(number);
        visits.push_back({number, begin[number]});
    };
    for (std::uint32_t start = 0; start < count; ++start) {
        if (found[start] == none)
            enter(start);
        while (!visits.empty()) {
            if (cancel.isCancelled(workOfPair))
                return false;
            const std::uint32_t number = visits.back().number;
            if (visits.back().next < begin[number + 1]) {
                const std::uint32_t next = pairs[visits.back().next++].second;
                if (found[next] == none)
                    enter(next);
                else if (circleOf[next] == none)
                    lowest[number] = std::min(lowest[number], found[next]);
                continue;
            }
            visits.pop_back();
            if (!visits.empty())
                lowest[visits.back().number] = std::min(lowest[visits.back().number], lowest[number]);
            if (lowest[number] != found[number])
                continue;
            for (std::uint32_t member = none; member != number; open.pop_back()) {
                member = open.back();
                circleOf[member] = circles;
            }
            ++circles;
        }
    }
    return true;
}

bool PairOrder::breakCircles() {
    std::vector<std::uint32_t> circleOf;
    if (!findCircles(circleOf))
        return false;
    std::vector<std::uint32_t> byCircle(things.size());
    std::iota(byCircle.begin(), byCircle.end(), 0U);
    std::sort(byCircle.begin(), byCircle.end(), [&](std::uint32_t a, std::uint32_t b) {
        return circleOf[a] != circleOf[b] ? circleOf[a] < circleOf[b] : a < b;
    });
    isBroken.assign(pairs.size(), false);
    std::vector<std::size_t> rank(things.size(), 0);
    for (std::size_t first = 0; first < byCircle.size();) {
        std::size_t last = first + 1;
        while (last < byCircle.size() && circleOf[byCircle[last]] == circleOf[byCircle[first]])
            ++last;
        const std::span<const std::uint32_t> circle = std::span(byCircle).subspan(first, last - first);
        if (circle.size() > 1 && !arrange(circle, rank))
            return false;
        first = last;
    }
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto [first, second] = pairs[i];
        isBroken[i] = circleOf[first] == circleOf[second] && rank[first] > rank[second];
        if (cancel.isCancelled(workOfPair))
            return false;
    }
    return true;
}

// Gives each number of the circle a rank among them.
bool PairOrder::arrange(std::span<const std::uint32_t> circle, std::vector<std::size_t>& rank) const {
    std::vector<CircleBreaker::Member> members;
    members.reserve(circle.size());
    for (const std::uint32_t number : circle)
        members.push_back({things[number].depth, things[number].isStroke});
    CircleBreaker breaker(members, cancel);
    for (std::size_t i = 0; i < circle.size(); ++i) {
        for (const Pair& pair : pairsOf(circle[i])) {
            const auto other = std::lower_bound(circle.begin(), circle.end(), pair.second);
            if (other != circle.end() && *other == pair.second)
                breaker.addPair(static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(other - circle.begin()));
        }
        if (cancel.isCancelled(2 * workOfPair * pairsOf(circle[i]).size()))
            return false;
    }
    std::vector<std::uint32_t> order;
    if (!breaker.run(order))
        return false;
    for (std::size_t i = 0; i < order.size(); ++i)
        rank[circle[order[i]]] = i;
    return true;
}
