// Brings numbers into an order in which each pair's first stands before its second; of those that are free to come, the
// farthest first.
//
// Pairs that run in a circle can't all be kept. Of a circle's numbers the kept pairs are those that an order by Eades,
// Lin and Smyth (A fast and effective heuristic for the feedback arc set problem, 1993) keeps, which breaks few: again
// and again the numbers that nothing has to follow go to its end, those that nothing has to precede to its beginning,
// and where there are none, the number that most others have to follow, less those that it has to follow itself.
// Strokes go to the end instead, those with the fewest behind them first: a line is easily cut where something hides
// it.
#ifndef KIVRENDER_VECTOR_PAIRORDER_H
#define KIVRENDER_VECTOR_PAIRORDER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/workpoll.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

class KIV_API PairOrder {
public:
    using Pair = std::pair<std::uint32_t, std::uint32_t>;

    struct Thing {
        double depth = 0;
        bool isStroke = false;
    };

    // The pairs are sorted, each once, with numbers of the things. All must outlive the object.
    PairOrder(const std::vector<Pair>& all, const std::vector<Thing>& numbered, WorkPoll& poll);

    // False when the user has cancelled.
    bool run(std::vector<std::uint32_t>& order);

private:
    struct Nearer {
        const std::vector<Thing>* things;

        bool operator()(std::uint32_t a, std::uint32_t b) const {
            const double first = (*things)[a].depth;
            const double second = (*things)[b].depth;
            return first < second || (first == second && a > b);
        }
    };

    bool sort(std::vector<std::uint32_t>& order);
    bool findCircles(std::vector<std::uint32_t>& circleOf);
    bool breakCircles();
    bool arrange(std::span<const std::uint32_t> circle, std::vector<std::size_t>& rank) const;
    std::span<const Pair> pairsOf(std::uint32_t number) const {
        return std::span(pairs).subspan(begin[number], begin[number + 1] - begin[number]);
    }

    const std::vector<Pair>& pairs;
    const std::vector<Thing>& things;
    WorkPoll& cancel;
    std::vector<std::size_t> begin; // of each number's pairs
    std::vector<bool> isBroken;     // of the pairs; empty if none is
};

#endif
