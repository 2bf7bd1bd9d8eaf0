#include "kivrender/vector/outlinetessellator.h"

#include "kivrender/vector/outlinecontours.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

using TessCallback = void (*)();

// GLU's tessellator does not survive a vertex that is nowhere: it compares places to keep its lists in order, and a
// value that is not a number fits in none (seen as a crash with libGLU 9.0.2).
bool isFinite(const std::vector<FeedbackVertex*>& vertices, int start, int end) {
    return std::all_of(vertices.begin() + start, vertices.begin() + end, [](const FeedbackVertex* each) {
        return std::isfinite(each->x) && std::isfinite(each->y) && std::isfinite(each->z);
    });
}

} // namespace

OutlineTessellator::OutlineTessellator() : tessellator(gluNewTess()) {
    gluTessCallback(tessellator, GLU_TESS_ERROR_DATA, reinterpret_cast<TessCallback>(&onError));
    gluTessCallback(tessellator, GLU_TESS_BEGIN_DATA, reinterpret_cast<TessCallback>(&onBegin));
    gluTessCallback(tessellator, GLU_TESS_END_DATA, reinterpret_cast<TessCallback>(&onEnd));
    gluTessCallback(tessellator, GLU_TESS_VERTEX_DATA, reinterpret_cast<TessCallback>(&onVertex));
    errorCode = 0;
    gluTessProperty(tessellator, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_ODD);
}

OutlineTessellator::~OutlineTessellator() {
    gluDeleteTess(tessellator);
}

void OutlineTessellator::begin(std::uint32_t mode) {
    primitiveType = static_cast<std::int32_t>(mode);
}

void OutlineTessellator::vertex(std::int32_t index) {
    currentIndices.push_back(index);
}

void OutlineTessellator::end() {
    const std::size_t size = currentIndices.size();
    const auto append = [this](std::size_t first, std::size_t second, std::size_t third) {
        for (const std::size_t i : {first, second, third})
            resultIndices.push_back(currentIndices[i]);
    };
    switch (primitiveType) {
    case GL_TRIANGLES:
        resultIndices.insert(resultIndices.end(), currentIndices.begin(), currentIndices.end());
        break;
    case GL_TRIANGLE_STRIP:
        // Every second triangle faces the other way: a drawing on paper has no back.
        for (std::size_t k = 2; k < size; ++k)
            append(k - 2, k - 1, k);
        break;
    case GL_TRIANGLE_FAN:
        for (std::size_t k = 2; k < size; ++k)
            append(0, k - 1, k);
        break;
    default:
        break;
    }
    currentIndices.clear();
}

void OutlineTessellator::error(std::uint32_t code) {
    errorCode = static_cast<std::int32_t>(code);
}

void OutlineTessellator::onBegin(std::uint32_t mode, void* self) {
    static_cast<OutlineTessellator*>(self)->begin(mode);
}

void OutlineTessellator::onVertex(void* index, void* self) {
    static_cast<OutlineTessellator*>(self)->vertex(static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(index)));
}

void OutlineTessellator::onEnd(void* self) {
    static_cast<OutlineTessellator*>(self)->end();
}

void OutlineTessellator::onError(std::uint32_t code, void* self) {
    static_cast<OutlineTessellator*>(self)->error(code);
}

void OutlineTessellator::cover(const std::vector<FeedbackVertex*>& vertices, const std::vector<int>& contourEnds) {
    gluTessBeginPolygon(tessellator, this);
    int start = 0;
    for (const int end : contourEnds) {
        if (end - start > 2 && isFinite(vertices, start, end)) {
            gluTessBeginContour(tessellator);
            double place[3];
            for (int m = start; m < end; ++m) {
                const FeedbackVertex& each = *vertices[static_cast<std::size_t>(m)];
                place[0] = each.x;
                place[1] = each.y;
                place[2] = each.z;
                gluTessVertex(tessellator, place, reinterpret_cast<void*>(static_cast<std::intptr_t>(m)));
            }
            gluTessEndContour(tessellator);
        }
        start = end;
    }
    gluTessEndPolygon(tessellator);
}

FeedbackPrimitiveList* OutlineTessellator::tessellate(CoplanarGroup* group) {
    resultIndices.clear();
    currentIndices.clear();
    errorCode = 0;
    std::vector<FeedbackVertex*> vertices;
    std::vector<int> contourEnds;
    OutlineContours contours(group->edges);
    if (!contours.joinCollinearEdges() || !contours.chain(vertices, contourEnds))
        return nullptr;
    cover(vertices, contourEnds);
    if (resultIndices.size() < 3)
        return nullptr;
    auto triangles = std::make_unique<FeedbackPrimitiveList>();
    triangles->reserve(resultIndices.size() / 3);
    for (std::size_t m = 2; m < resultIndices.size(); m += 3) {
        auto* triangle = new FeedbackPrimitive;
        triangle->vertices.reserve(3);
        for (const std::size_t i : {m - 2, m - 1, m})
            triangle->vertices.push_back(*vertices[static_cast<std::size_t>(resultIndices[i])]);
        triangle->vertexCount = 3;
        triangles->push_back(triangle);
    }
    return triangles.release();
}
