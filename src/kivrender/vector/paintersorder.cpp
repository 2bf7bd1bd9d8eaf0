#include "kivrender/vector/paintersorder.h"

#include "kivrender/vector/painting.h"

PaintersOrder::PaintersOrder(const PolygonShift& offset) : shift(offset) {}

bool PaintersOrder::sort(FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins, bool* exact) const {
    Painting painting(*list, shift, work == usualWork ? work + workOfPrimitive * list->size() : work);
    if (!painting.findOverlaps() || !painting.findOrder() || !painting.cutCovered())
        return false;
    FeedbackPrimitiveList painted;
    FeedbackPrimitiveList replaced;
    std::vector<std::uint32_t> places;
    painting.assemble(painted, replaced, places);
    list->swap(painted);
    deletePrimitives(replaced);
    if (origins)
        origins->swap(places);
    if (exact)
        *exact = painting.isComplete();
    return true;
}
