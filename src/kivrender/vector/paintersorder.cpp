#include "kivrender/vector/paintersorder.h"

#include "kivrender/vector/painting.h"

namespace {

void takeOver(Painting& painting, FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins) {
    FeedbackPrimitiveList painted;
    FeedbackPrimitiveList replaced;
    std::vector<std::uint32_t> places;
    painting.assemble(painted, replaced, places);
    list->swap(painted);
    deletePrimitives(replaced);
    if (origins)
        origins->swap(places);
}

} // namespace

PaintersOrder::PaintersOrder(const PolygonShift& offset) : shift(offset) {}

bool PaintersOrder::sort(FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins, bool* exact) const {
    Painting painting(*list, shift, work == usualWork ? work + workOfPrimitive * list->size() : work);
    if (!painting.findOverlaps() || !painting.findOrder() || !painting.cutCovered())
        return false;
    takeOver(painting, list, origins);
    if (exact)
        *exact = painting.isComplete();
    return true;
}

bool PaintersOrder::sortByDepth(FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins) const {
    Painting painting(*list, shift, 0);
    if (!painting.orderByDepth())
        return false;
    takeOver(painting, list, origins);
    return true;
}
