// The place of a virtual operation in its class's table, as a plug-in or host compiled elsewhere finds it. The
// destructor counts as one slot, number 0.
#ifndef TESTS_SUPPORT_VTABLESLOT_H
#define TESTS_SUPPORT_VTABLESLOT_H

#include <cstddef>
#include <cstring>

// -1 for an operation that is not virtual.
template <class Member> int vtableSlot(Member member) {
    // A pointer to a virtual member holds one more than the offset in the table; where functions may begin at odd
    // addresses (arm) the mark stands in the second word instead.
    std::ptrdiff_t words[2] = {0, 0};
    static_assert(sizeof words == sizeof member);
    std::memcpy(words, &member, sizeof words);
#if defined(__aarch64__) || defined(__arm__)
    if ((words[1] & 1) == 0) {
        return -1;
    }
    const std::ptrdiff_t offset = words[0];
#else
    if ((words[0] & 1) == 0) {
        return -1;
    }
    const std::ptrdiff_t offset = words[0] - 1;
#endif
    // The table begins with two entries for the destructor.
    return static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) - 1;
}

#endif
