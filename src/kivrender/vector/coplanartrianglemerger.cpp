#include "kivrender/vector/coplanartrianglemerger.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/coplanarsweep.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/outlinetessellator.h"
#include "kivrender/vector/prefetch.h"
#include "kivrender/vector/sweeporder.h"
#include "kivrender/vector/trianglecover.h"
#include "kivrender/vector/workpoll.h"

namespace {

void beginStep(KivProgress* progress, int step, std::size_t size, const wchar_t* stage) {
    progress->setStepSize(step, static_cast<unsigned int>(size));
    progress->setText((kivText(KivVectorProgress::textNumber) + stage).c_str());
    progress->beginStep();
}

// Puts entry order[k] of the list to place k.
template <class Entry> void arrange(std::vector<Entry>& list, const std::vector<int>& order) {
    std::vector<Entry> arranged;
    arranged.reserve(list.size());
    for (const int index : order)
        arranged.push_back(list[static_cast<std::size_t>(index)]);
    list.swap(arranged);
}

} // namespace

void CoplanarTriangleMerger::sortTriangles(std::vector<SweepTriangle*>& sweep, FeedbackPrimitiveList* triangles, int) {
    std::vector<float> keys;
    keys.reserve(sweep.size());
    for (const SweepTriangle* triangle : sweep)
        keys.push_back(triangle->minExtent);
    const std::vector<int> order = sweepOrder(keys);
    arrange(sweep, order);
    arrange(*triangles, order);
}

// Fills the sweep and sorts both lists. What belongs together in the sweep is made one after another, so that it lies
// together in memory. On false, when the user has cancelled, the sweep is empty.
bool CoplanarTriangleMerger::fillSweep(FeedbackPrimitiveList& triangles, int axis, std::vector<SweepTriangle*>& sweep) {
    WorkPoll poll;
    std::vector<float> keys;
    keys.reserve(triangles.size());
    for (const FeedbackPrimitive* triangle : triangles) {
        SweepTriangle swept(*triangle);
        swept.axis = axis;
        swept.computeExtents();
        keys.push_back(swept.minExtent);
        poll.isCancelled(20);
    }
    arrange(triangles, sweepOrder(keys, poll));
    if (poll.isCancelled())
        return false;
    sweep.reserve(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        prefetchAhead(triangles, i, 32);
        if (i + 16 < triangles.size())
            prefetch(triangles[i + 16]->vertices.data());
        sweep.push_back(new SweepTriangle(*triangles[i]));
        sweep.back()->axis = axis;
        sweep.back()->computeExtents();
        if (poll.isCancelled(80)) {
            for (SweepTriangle* each : sweep)
                delete each;
            sweep.clear();
            return false;
        }
    }
    return true;
}

void CoplanarTriangleMerger::merge(FeedbackPrimitiveList* triangles, int step, float xSize, float ySize) {
    KivProgress* progress = kivCurrentProgress();
    if (progress && !progress->isCancelled())
        beginStep(progress, step, triangles->size(), L" (2) ");
    const int axis = xSize > ySize ? 0 : 1;
    std::vector<SweepTriangle*> sweep;
    std::vector<std::unique_ptr<CoplanarGroup>> groups;
    if (!fillSweep(*triangles, axis, sweep) || !CoplanarSweep(sweep, *triangles).run(progress, groups))
        return;
    if (progress && !progress->isCancelled()) {
        progress->endStep();
        beginStep(progress, step + 1, groups.size(), L" (3) ");
    }
    FeedbackPrimitiveList result;
    if (!tessellateGroups(groups, *triangles, progress, result)) {
        deletePrimitives(result);
        return;
    }
    groups.clear();
    deleteScatteredPrimitives(*triangles);
    triangles->swap(result);
    if (progress && !progress->isCancelled())
        progress->endStep();
}

// False when the user has cancelled.
bool CoplanarTriangleMerger::tessellateGroups(std::vector<std::unique_ptr<CoplanarGroup>>& groups,
                                              const FeedbackPrimitiveList& seeds, KivProgress* progress,
                                              FeedbackPrimitiveList& result) {
    OutlineTessellator tessellator;
    WorkPoll poll;
    for (std::size_t k = 0; k < groups.size(); ++k) {
        prefetchAhead(seeds, k);
        std::unique_ptr<FeedbackPrimitiveList> pieces(tessellator.tessellate(groups[k].get()));
        if (failed == Failed::staysAsItWas) {
            if (!pieces)
                pieces = std::make_unique<FeedbackPrimitiveList>();
            if (!TriangleCover::hasSameArea(groups[k]->sweepTriangles, *pieces)) {
                deletePrimitives(*pieces);
                TriangleCover::appendCopies(groups[k]->sweepTriangles, *pieces, poll);
            }
        }
        if (pieces) {
            for (std::size_t i = 0; i < pieces->size(); ++i) {
                if (progress && progress->isCancelled()) {
                    result.insert(result.end(), pieces->begin() + static_cast<std::ptrdiff_t>(i), pieces->end());
                    return false;
                }
                copyAttributes(*(*pieces)[i], *seeds[k]);
                result.push_back((*pieces)[i]);
            }
        }
        if (progress) {
            if (progress->isCancelled())
                return false;
            progress->advance(1, false);
        }
        // Outlines are used up one by one, so their memory need not wait for the last.
        groups[k].reset();
    }
    return true;
}
