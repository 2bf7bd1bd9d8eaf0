// Finds primitives that stand at exactly the same place and hide the same: models hold the same face many times over,
// and what is true of one of them is true of all.
#ifndef KIVRENDER_VECTOR_LIKEPRIMITIVES_H
#define KIVRENDER_VECTOR_LIKEPRIMITIVES_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/workpoll.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

// Neither blended nor seen through anywhere.
KIV_API bool isOpaque(const FeedbackPrimitive& primitive);

class KIV_API LikePrimitives {
public:
    // The list has no null slots. False when the user has cancelled.
    bool find(const FeedbackPrimitiveList& list, WorkPoll& cancel);

    std::size_t numGroups() const {
        return begin.size() - 1;
    }
    // Places in the list, ascending. Each place is in one group; groups stand in the order of their first members, as
    // what stands together in the list mostly does in the picture.
    std::span<const std::uint32_t> members(std::size_t group) const {
        return std::span(places).subspan(begin[group], begin[group + 1] - begin[group]);
    }

private:
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    std::vector<std::uint32_t> places; // of the groups, one behind the other
    std::vector<std::size_t> begin{0}; // of each group's places
};

#endif
