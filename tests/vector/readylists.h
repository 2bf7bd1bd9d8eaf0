// Copies of a list of primitives, made beforehand, for work that is measured: making and deleting them does not count.
#ifndef SELVARIN_TESTS_VECTOR_READYLISTS_H
#define SELVARIN_TESTS_VECTOR_READYLISTS_H

#include "vector/vectortesting.h"

#include <deque>

namespace vectortest {

class ReadyLists {
public:
    explicit ReadyLists(const FeedbackPrimitiveList& model, std::size_t count = 16) {
        for (std::size_t i = 0; i < count; ++i)
            clone(model, lists.emplace_back());
    }
    // A copy that has not been taken before. It stays here.
    FeedbackPrimitiveList& take() {
        return lists.at(next++);
    }

private:
    std::deque<OwnedList> lists;
    std::size_t next = 0;
};

} // namespace vectortest

#endif
