#include "kivrender/vector/coplanartrianglemerger.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/coplanarsweep.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/outlinetessellator.h"
#include "kivrender/vector/sweeporder.h"

namespace {

void beginStep(KivProgress* progress, int step, std::size_t size, const wchar_t* stage) {
    progress->setStepSize(step, static_cast<unsigned int>(size));
    progress->setText((kivText(KivVectorProgress::textNumber) + stage).c_str());
    progress->beginStep();
}

} // namespace

void CoplanarTriangleMerger::sortTriangles(std::vector<SweepTriangle*>& sweep, FeedbackPrimitiveList* triangles, int) {
    std::vector<float> keys;
    keys.reserve(sweep.size());
    for (const SweepTriangle* triangle : sweep)
        keys.push_back(triangle->minExtent);
    std::vector<SweepTriangle*> sortedSweep;
    FeedbackPrimitiveList sortedTriangles;
    sortedSweep.reserve(sweep.size());
    sortedTriangles.reserve(sweep.size());
    for (const int index : sweepOrder(keys)) {
        sortedSweep.push_back(sweep[static_cast<std::size_t>(index)]);
        sortedTriangles.push_back((*triangles)[static_cast<std::size_t>(index)]);
    }
    sweep.swap(sortedSweep);
    triangles->swap(sortedTriangles);
}

void CoplanarTriangleMerger::merge(FeedbackPrimitiveList* triangles, int step, float xSize, float ySize) {
    KivProgress* progress = kivCurrentProgress();
    if (progress && !progress->isCancelled())
        beginStep(progress, step, triangles->size(), L" (2) ");
    const int axis = xSize > ySize ? 0 : 1;
    std::vector<SweepTriangle*> sweep;
    sweep.reserve(triangles->size());
    for (const FeedbackPrimitive* triangle : *triangles) {
        sweep.push_back(new SweepTriangle(*triangle));
        sweep.back()->axis = axis;
        sweep.back()->computeExtents();
    }
    sortTriangles(sweep, triangles, axis);
    std::vector<std::unique_ptr<CoplanarGroup>> groups;
    if (!CoplanarSweep(sweep, *triangles).run(progress, groups))
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
    deletePrimitives(*triangles);
    triangles->swap(result);
    if (progress && !progress->isCancelled())
        progress->endStep();
}

// False when the user has cancelled.
bool CoplanarTriangleMerger::tessellateGroups(std::vector<std::unique_ptr<CoplanarGroup>>& groups,
                                              const FeedbackPrimitiveList& seeds, KivProgress* progress,
                                              FeedbackPrimitiveList& result) {
    OutlineTessellator tessellator;
    for (std::size_t k = 0; k < groups.size(); ++k) {
        const std::unique_ptr<FeedbackPrimitiveList> pieces(tessellator.tessellate(groups[k].get()));
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
