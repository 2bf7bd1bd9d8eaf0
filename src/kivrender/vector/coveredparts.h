// The rest of a primitive when faces that lie over it are taken away, for one that can't be painted before them.
#ifndef KIVRENDER_VECTOR_COVEREDPARTS_H
#define KIVRENDER_VECTOR_COVEREDPARTS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/primitivecut.h"
#include "kivrender/vector/screenface.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class KIV_API CoveredParts {
public:
    static constexpr std::uint32_t atItsPlace = 0xFFFFFFFF;

    struct Part {
        std::unique_ptr<FeedbackPrimitive> shape;
        // Among the painted, the place that the part has to come before; atItsPlace for that of its primitive.
        std::uint32_t before = atItsPlace;
        ScreenFace face; // of which it is a part
    };

    // The primitive must outlive the object. owner tells when it was drawn.
    CoveredParts(const FeedbackPrimitive& primitive, std::uint32_t owner, const PolygonShift& offset);

    // Takes away where the cover, which is painted at that place, lies over the primitive. What it does not wholly hide
    // becomes a part that comes before that place.
    void takeAway(const ScreenFace& cover, std::uint32_t place);

    // Whether anything was taken away; only then the parts stand for the primitive.
    bool isChanged() const {
        return changed;
    }
    std::size_t size() const {
        return all.size();
    }
    std::vector<Part>& parts() {
        return all;
    }

private:
    bool takeFrom(Part& part, const ScreenFace& cover);
    bool findLines(const Part& part, const ScreenFace& cover);
    bool findLinesOfArea(const Part& part, const ScreenFace& cover);
    bool cutOut(Part& part);

    const FeedbackPrimitive& whole;
    PolygonShift shift;
    std::vector<Part> all;
    std::vector<Part> beside;      // of the part that is cut
    std::vector<WindowLine> lines; // about what the cover hides, which is on their positive sides
    bool changed = false;
};

#endif
