// Lines up the numbers of one circle of pairs so that few pairs stand the wrong way round; pairorder.h tells the rule.
#ifndef KIVRENDER_VECTOR_CIRCLEBREAKER_H
#define KIVRENDER_VECTOR_CIRCLEBREAKER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/workpoll.h"

#include <cstdint>
#include <set>
#include <tuple>
#include <vector>

class KIV_API CircleBreaker {
public:
    struct Member {
        double depth = 0;
        bool isStroke = false;
    };

    // The poll must outlive the object.
    CircleBreaker(const std::vector<Member>& all, WorkPoll& poll);
    // The first is to stand before the second. Each pair once.
    void addPair(std::uint32_t first, std::uint32_t second);
    // False when the user has cancelled.
    bool run(std::vector<std::uint32_t>& order);

private:
    struct Node {
        Member member;
        std::vector<std::uint32_t> behind;
        std::vector<std::uint32_t> before;
        // Of those that are not lined up.
        std::int64_t numBehind = 0;
        std::int64_t numBefore = 0;
        bool isLinedUp = false;
    };
    // The first goes next where no number is free.
    using Key = std::tuple<bool, std::int64_t, double, std::uint32_t>;

    Key keyOf(std::uint32_t number) const;
    bool take(std::uint32_t number, std::vector<std::uint32_t>& end);
    void change(std::uint32_t number, std::int64_t behind, std::int64_t before);

    std::vector<Node> nodes;
    WorkPoll& cancel;
    std::set<Key> left;
    std::set<std::uint32_t> last;  // nothing has to follow them
    std::set<std::uint32_t> first; // nothing has to precede them
};

#endif
