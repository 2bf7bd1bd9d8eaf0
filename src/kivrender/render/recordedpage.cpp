#include "kivrender/render/recordedpage.h"

#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/render/recordedobjects.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/gl2pspage.h"
#include "kivrender/vector/hiddenprimitives.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/paintersorder.h"
#include "kivrender/vector/parsertoclasses.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

constexpr std::size_t vertexFloats = 7;
constexpr std::size_t itemsPerPoll = 4096;

struct DeleteList {
    void operator()(FeedbackPrimitiveList* list) const {
        deletePrimitives(*list);
        delete list;
    }
};

using OwnedList = std::unique_ptr<FeedbackPrimitiveList, DeleteList>;

std::uint32_t byteOf(double part) {
    return static_cast<std::uint32_t>(std::lround(255.0 * (part > 0.0 ? std::min(part, 1.0) : 0.0)));
}

RecordedPaint paintOf(const double (&sum)[4], std::size_t corners, bool covers) {
    const double share = corners > 0 ? 1.0 / static_cast<double>(corners) : 0.0;
    RecordedPaint paint;
    paint.color = byteOf(sum[0] * share) | byteOf(sum[1] * share) << 8U | byteOf(sum[2] * share) << 16U;
    paint.opacity = covers ? 1.0 : byteOf(sum[3] * share) / 255.0;
    return paint;
}

RecordedPaint paintOf(const FeedbackPrimitive& primitive) {
    double sum[4] = {};
    for (const FeedbackVertex& v : primitive.vertices) {
        sum[0] += v.r;
        sum[1] += v.g;
        sum[2] += v.b;
        sum[3] += v.a;
    }
    return paintOf(sum, primitive.vertices.size(), !primitive.blend || primitive.blendSource == GL_ONE);
}

KivArea areaOf(const FeedbackPrimitive& primitive) {
    const RecordedPaint paint = paintOf(primitive);
    KivArea area;
    area.color = paint.color;
    area.opacity = paint.opacity;
    KivCurvePath ring;
    ring.closed = true;
    const std::vector<FeedbackVertex>& corners = primitive.vertices;
    ring.start = {corners[0].x, corners[0].y};
    for (std::size_t i = 1; i <= corners.size(); ++i) {
        const FeedbackVertex& corner = corners[i < corners.size() ? i : 0];
        ring.pieces.push_back({KivCurvePiece::Kind::line, {}, {corner.x, corner.y}});
    }
    area.rings.push_back(std::move(ring));
    return area;
}

} // namespace

RecordedPaint kivPaintOf(const FeedbackItem& item, const FeedbackState& state) {
    double sum[4] = {};
    for (std::size_t i = 0; i < static_cast<std::size_t>(item.count); ++i) {
        for (std::size_t part = 0; part < 4; ++part) {
            sum[part] += item.vertices[i * vertexFloats + 3 + part];
        }
    }
    return paintOf(sum, static_cast<std::size_t>(item.count), !state.blend || state.blendSource == GL_ONE);
}

RecordedPage::RecordedPage(std::span<const float> recorded) : library(recorded) {
    LibraryFeedback feedback(library);
    FeedbackItem item;
    while (feedback.next(item)) {
        ++count;
        if (feedback.state().offset) {
            offset = {feedback.state().offsetFactor, feedback.state().offsetUnits};
        }
    }
}

bool RecordedPage::sort(FeedbackPrimitiveList& list, Order order, std::vector<std::uint32_t>& origins) const {
    PaintersOrder painters(offset);
    if (order == Order::byDepth) {
        kivNoteOrder(false);
        return painters.sortByDepth(&list, &origins);
    }
    if (!KivVectorPage::isExactOrder()) {
        painters.setWork(0);
    }
    bool isExact = true;
    const bool done = painters.sort(&list, &origins, &isExact);
    kivNoteOrder(isExact);
    return done;
}

bool RecordedPage::paint(FeedbackPrimitiveList& list, const ObjectsOfPrimitives& objects, Order order,
                         KivVectorDrawing& drawing) const {
    if (order == Order::exact && !HiddenPrimitives(offset).remove(&list)) {
        return false;
    }
    std::vector<std::uint32_t> before;
    for (const FeedbackPrimitive* primitive : list) {
        const auto place = objects.find(primitive);
        before.push_back(place != objects.end() && place->second < drawing.objects.size() ? place->second : 0);
    }
    std::vector<std::uint32_t> origins;
    if (!sort(list, order, origins)) {
        return false;
    }
    drawing.areas.reserve(drawing.areas.size() + list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i % itemsPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        drawing.areas.push_back(areaOf(*list[i]));
        drawing.areas.back().object = before[origins[i]];
    }
    return true;
}

bool RecordedPage::addTriangles(KivVectorDrawing& drawing, Order order) const {
    const OwnedList list(new FeedbackPrimitiveList);
    ObjectsOfPrimitives objects;
    LibraryFeedback feedback(library);
    FeedbackItem item;
    for (std::size_t i = 0; feedback.next(item); ++i) {
        if (i % itemsPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        if (item.token == FeedbackToken::polygon && item.count >= 3) {
            list->push_back(kivPrimitiveOf(item, feedback.state()).release());
            list->back()->blendSource = feedback.state().blendSource;
            if (feedback.state().object != 0) {
                objects.emplace(list->back(), feedback.state().object);
            }
        }
    }
    return paint(*list, objects, order, drawing);
}

bool RecordedPage::addSimplified(float* simplified, int used, KivVectorDrawing& drawing) const {
    ParserToClasses parser(simplified, used);
    parser.parse();
    const OwnedList list(parser.getPrimitives());
    const auto isArea = [](const FeedbackPrimitive* primitive) {
        return primitive->type == FeedbackToken::polygon && primitive->vertices.size() >= 3;
    };
    const auto rest = std::stable_partition(list->begin(), list->end(), isArea);
    FeedbackPrimitiveList others(rest, list->end());
    list->erase(rest, list->end());
    deletePrimitives(others);
    RecordedObjects recorded;
    if (!recorded.read(library)) {
        return false;
    }
    ObjectsOfPrimitives objects;
    for (std::size_t i = 0; i < list->size(); ++i) {
        if (i % itemsPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        if (const std::uint32_t object = recorded.objectOf(*(*list)[i]); object != 0) {
            objects.emplace((*list)[i], object);
        }
    }
    return paint(*list, objects, Order::exact, drawing);
}
