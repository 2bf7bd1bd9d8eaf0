// Sorting of a great many pairs of numbers.
#ifndef KIVRENDER_VECTOR_PAIRSORT_H
#define KIVRENDER_VECTOR_PAIRSORT_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/workpoll.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Sorts the pairs, whose first numbers are below the limit, and leaves each once. Linear in the pairs and the limit
// while few pairs have the same first number. False when the user has cancelled; the pairs may be incomplete then.
KIV_API bool sortPairs(std::vector<std::pair<std::uint32_t, std::uint32_t>>& pairs, std::size_t limit,
                       WorkPoll& cancel);

#endif
