#include "kivrender/vector/circlebreaker.h"

#include <algorithm>

namespace {

// In units of WorkPoll: a number whose place in the sets changes.
constexpr std::size_t workOfChange = 400;

} // namespace

CircleBreaker::CircleBreaker(const std::vector<Member>& all, WorkPoll& poll) : nodes(all.size()), cancel(poll) {
    for (std::size_t i = 0; i < all.size(); ++i)
        nodes[i].member = all[i];
}

void CircleBreaker::addPair(std::uint32_t before, std::uint32_t after) {
    nodes[before].behind.push_back(after);
    ++nodes[before].numBehind;
    nodes[after].before.push_back(before);
    ++nodes[after].numBefore;
}

CircleBreaker::Key CircleBreaker::keyOf(std::uint32_t number) const {
    const Node& node = nodes[number];
    if (node.member.isStroke)
        return {false, node.numBehind, node.member.depth, number};
    return {true, node.numBefore - node.numBehind, -node.member.depth, number};
}

void CircleBreaker::change(std::uint32_t number, std::int64_t behind, std::int64_t before) {
    Node& node = nodes[number];
    if (node.isLinedUp)
        return;
    left.erase(keyOf(number));
    node.numBehind += behind;
    node.numBefore += before;
    left.insert(keyOf(number));
    if (node.numBehind == 0)
        last.insert(number);
    if (node.numBefore == 0)
        first.insert(number);
}

bool CircleBreaker::take(std::uint32_t number, std::vector<std::uint32_t>& end) {
    Node& node = nodes[number];
    left.erase(keyOf(number));
    last.erase(number);
    first.erase(number);
    node.isLinedUp = true;
    end.push_back(number);
    for (const std::uint32_t other : node.behind)
        change(other, 0, -1);
    for (const std::uint32_t other : node.before)
        change(other, -1, 0);
    return !cancel.isCancelled(workOfChange * (1 + node.behind.size() + node.before.size()));
}

bool CircleBreaker::run(std::vector<std::uint32_t>& order) {
    for (std::uint32_t number = 0; number < nodes.size(); ++number)
        change(number, 0, 0);
    std::vector<std::uint32_t> back;
    order.clear();
    while (!left.empty()) {
        bool goesOn = true;
        if (!last.empty())
            goesOn = take(*last.begin(), back);
        else if (!first.empty())
            goesOn = take(*first.begin(), order);
        else if (const std::uint32_t number = std::get<3>(*left.begin()); nodes[number].member.isStroke)
            goesOn = take(number, back);
        else
            goesOn = take(number, order);
        if (!goesOn)
            return false;
    }
    order.insert(order.end(), back.rbegin(), back.rend());
    return true;
}
