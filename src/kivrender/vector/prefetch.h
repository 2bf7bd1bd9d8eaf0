// Asks the processor to have memory at hand that is needed soon. Without it, walks of lists whose members lie anywhere
// wait for each of them in turn.
#ifndef KIVRENDER_VECTOR_PREFETCH_H
#define KIVRENDER_VECTOR_PREFETCH_H

#include <cstddef>
#include <vector>

inline void prefetch([[maybe_unused]] const void* place) {
#if defined(__GNUC__)
    __builtin_prefetch(place);
#endif
}

// The member of the list that is so many places behind the one at hand.
template <class Pointer> void prefetchAhead(const std::vector<Pointer>& list, std::size_t at, std::size_t ahead = 16) {
    if (at + ahead < list.size())
        prefetch(list[at + ahead]);
}

#endif
