#include "kivrender/vector/vectorsimplifier.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/collinearlinemerger.h"
#include "kivrender/vector/coplanartrianglemerger.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "kivrender/vector/parsertobuffer.h"
#include "kivrender/vector/parsertoclasses.h"

#include <GL/glu.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

// Primitives that are deleted at the end, whichever way it comes.
struct OwnedPrimitives {
    FeedbackPrimitiveList list;

    OwnedPrimitives() = default;
    OwnedPrimitives(const OwnedPrimitives&) = delete;
    OwnedPrimitives& operator=(const OwnedPrimitives&) = delete;
    ~OwnedPrimitives() {
        deletePrimitives(list);
    }
};

void place(FeedbackVertex& vertex, double x, double y, double z) {
    vertex.x = static_cast<float>(x);
    vertex.y = static_cast<float>(y);
    vertex.z = static_cast<float>(z);
}

void beginStep(KivProgress* progress, int step, std::size_t size, const wchar_t* stage) {
    progress->setStepSize(step, static_cast<unsigned int>(size));
    progress->setText((kivText(KivVectorProgress::textNumber) + stage).c_str());
    progress->beginStep();
}

} // namespace

VectorSimplifier::VectorSimplifier(const FeedbackView& seen) : view(seen) {}

// Brings all vertices to object space and moves the lines out, leaving null in their slots. False when the user has
// cancelled, as everywhere here.
bool VectorSimplifier::unproject(FeedbackPrimitiveList& primitives, FeedbackPrimitiveList& lines) const {
    for (FeedbackPrimitive*& primitive : primitives) {
        if (kivIsCancelled())
            return false;
        for (FeedbackVertex& vertex : primitive->vertices) {
            double x = vertex.x;
            double y = vertex.y;
            double z = vertex.z;
            if (gluUnProject(vertex.x, vertex.y, vertex.z, view.modelView, view.projection, view.viewport, &x, &y, &z))
                place(vertex, x, y, z);
        }
        if (primitive->type == FeedbackToken::line && primitive->vertexCount == 2) {
            lines.push_back(primitive);
            primitive = nullptr;
        }
    }
    return true;
}

bool VectorSimplifier::project(FeedbackPrimitiveList& primitives) const {
    for (FeedbackPrimitive* primitive : primitives) {
        if (kivIsCancelled())
            return false;
        for (FeedbackVertex& vertex : primitive->vertices) {
            double x = vertex.x;
            double y = vertex.y;
            double z = vertex.z;
            if (gluProject(vertex.x, vertex.y, vertex.z, view.modelView, view.projection, view.viewport, &x, &y, &z))
                place(vertex, x, y, z);
        }
    }
    return true;
}

// Moves the triangles out. The size is that of the last triangle in x and y, not of all: the direction of the sweep has
// always followed from it, and with it the order of the output.
bool VectorSimplifier::moveTriangles(FeedbackPrimitiveList& primitives, FeedbackPrimitiveList& triangles,
                                     float (&size)[2]) {
    for (FeedbackPrimitive*& primitive : primitives) {
        if (kivIsCancelled())
            return false;
        // A triangle that the end of the buffer cut off has nothing to merge.
        if (!primitive || primitive->type != FeedbackToken::polygon || primitive->vertexCount != 3 ||
            primitive->vertices.size() < 3)
            continue;
        const FeedbackVertex* vertices = primitive->vertices.data();
        float lowX = vertices[0].x;
        float highX = vertices[0].x;
        float lowY = vertices[0].y;
        float highY = vertices[0].y;
        for (const int other : {1, 2}) {
            lowX = std::min(lowX, vertices[other].x);
            highX = std::max(highX, vertices[other].x);
            lowY = std::min(lowY, vertices[other].y);
            highY = std::max(highY, vertices[other].y);
        }
        size[0] = highX - lowX;
        size[1] = highY - lowY;
        triangles.push_back(primitive);
        primitive = nullptr;
    }
    return true;
}

// Leaves the result in lines.
bool VectorSimplifier::runStages(FeedbackPrimitiveList& primitives, FeedbackPrimitiveList& lines,
                                 FeedbackPrimitiveList& triangles, KivProgress* progress) const {
    if (!unproject(primitives, lines))
        return false;
    if (progress && !progress->isCancelled())
        beginStep(progress, KivVectorProgress::vectorLineStep, lines.size(), L" (1) ");
    CollinearLineMerger().mergeLines(&lines);
    if (progress && !progress->isCancelled())
        progress->endStep();
    float size[2] = {0, 0};
    if (!moveTriangles(primitives, triangles, size))
        return false;
    // A drawing with a face missing is worse than one with some triangles more.
    CoplanarTriangleMerger(CoplanarTriangleMerger::Failed::staysAsItWas)
        .merge(&triangles, KivVectorProgress::vectorStep, size[0], size[1]);
    lines.insert(lines.end(), triangles.begin(), triangles.end());
    triangles.clear();
    std::copy_if(primitives.begin(), primitives.end(), std::back_inserter(lines),
                 [](const FeedbackPrimitive* primitive) { return primitive != nullptr; });
    primitives.clear();
    // With nothing left to walk, a cancel in the stages would go unseen.
    return !kivIsCancelled() && project(lines);
}

float* VectorSimplifier::simplify(float* buffer, int* used) {
    KivProgress* progress = kivCurrentProgress();
    ParserToClasses reader(buffer, *used);
    reader.parse();
    const std::unique_ptr<FeedbackPrimitiveList> read(reader.getPrimitives());
    OwnedPrimitives primitives;
    primitives.list.swap(*read);
    OwnedPrimitives lines;
    OwnedPrimitives triangles;
    if (!runStages(primitives.list, lines.list, triangles.list, progress)) {
        *used = 0;
        return nullptr;
    }
    ParserToBuffer writer(&lines.list);
    writer.parse();
    *used = writer.getSize();
    if (progress)
        beginStep(progress, KivVectorProgress::vectorStep + 2, lines.list.size() * 2, L" (4) ");
    return writer.getBuffer();
}
