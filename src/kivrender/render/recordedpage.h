// What a render recorded of its page, sorted into areas and lines: the way from OpenGL's feedback to a drawing as data.
#ifndef KIVRENDER_RENDER_RECORDEDPAGE_H
#define KIVRENDER_RENDER_RECORDEDPAGE_H

#include "kivrender/lines/kivlineview.h"
#include "kivrender/vector/libraryfeedback.h"
#include "kivrender/vector/screenface.h"

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

struct CollectedShadows;
struct CollectedSkins;
struct KivVectorDrawing;

// A colour of four parts from 0 to 1 as a drawing has it; the fourth is its opacity.
struct RecordedPaint {
    std::uint32_t color = 0;
    double opacity = 1.0;

    friend bool operator==(const RecordedPaint&, const RecordedPaint&) = default;
};

// The mean over all corners. What is not blended, or is blended in whole, covers.
RecordedPaint kivPaintOf(const FeedbackItem& item, const FeedbackState& state);

// How regions are drawn; see KivDrawingCollector.
struct RegionRules {
    double tolerance = 0.1;
    double smallestArea = 0.05;
    double smallestTone = 0.0;
    double underlap = 1.0; // as KivVisibleRegions::setUnderlap
    CollectedShadows* shadows = nullptr;
    CollectedSkins* skins = nullptr;
};

class RecordedPage {
public:
    // The floats stay the caller's and must outlive the page.
    explicit RecordedPage(std::span<const float> recorded);

    std::size_t size() const {
        return count;
    }
    // How primitives that were drawn with polygon offset lie behind their depth.
    const PolygonShift& shift() const {
        return offset;
    }
    std::span<const float> floats() const {
        return library;
    }

    // Each adds to the drawing; false after a cancel.
    //
    // The visible parts of each look as regions: of opaque polygons side by side, and above them those of blended ones,
    // from back to front by look.
    // None are added and tooMuch is true where that would be more work than the drawing's effort allows; false then,
    // too.
    bool addRegions(KivVectorDrawing& drawing, const RegionRules& rules, bool* tooMuch) const;
    // The polygons as they were drawn, without those that are hidden, from back to front; or all of them by their mean
    // depths alone, which takes little time for any arrangement.
    enum class Order { exact, byDepth };
    bool addTriangles(KivVectorDrawing& drawing, Order order) const;
    // The same of a buffer that the stages of simplification gave. What of several objects lies in one plane and has
    // one colour runs together, and belongs to the one in its middle.
    bool addSimplified(float* simplified, int used, KivVectorDrawing& drawing) const;
    // Lines and points, as far as no opaque polygon hides them.
    bool addStrokes(KivVectorDrawing& drawing) const;

private:
    // Those that belong to none are not in it.
    using ObjectsOfPrimitives = std::unordered_map<const FeedbackPrimitive*, std::uint32_t>;

    bool sort(FeedbackPrimitiveList& list, Order order, std::vector<std::uint32_t>& origins) const;
    bool paint(FeedbackPrimitiveList& list, const ObjectsOfPrimitives& objects, Order order,
               KivVectorDrawing& drawing) const;

    std::span<const float> library;
    std::size_t count = 0;
    PolygonShift offset;
};

#endif
