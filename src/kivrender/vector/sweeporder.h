// The order of triangles in a sweep.
//
// What the sweep finds depends on the order of triangles with equal keys, so this is not any sort: it is the outcome of
// a quicksort that takes the first entry of a range as its pivot, exchanges it with the last, gathers the entries that
// are not greater at the front by exchanges, and puts the pivot behind them. Many meshes come sorted, or have thousands
// of equal keys, where that takes a time that grows with the square of their number. Here ranges that divide badly are
// divided by looking for the few entries on their smaller side alone, which gives the same order in a time that grows
// with n log n.
#ifndef KIVRENDER_VECTOR_SWEEPORDER_H
#define KIVRENDER_VECTOR_SWEEPORDER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/workpoll.h"

#include <vector>

// Entry k of the result is the index of the key that comes to place k. Keys that are not numbers are allowed: they are
// greater than any key, and not comparable among themselves.
KIV_API std::vector<int> sweepOrder(const std::vector<float>& keys);
// The same; after a cancel, which the meter tells, the order is of no use, but still has each index once.
KIV_API std::vector<int> sweepOrder(const std::vector<float>& keys, WorkPoll& poll);

#endif
