#include "kivrender/vector/outlinetessellator.h"

#include "kivrender/vector/outlinecontours.h"
#include "kivrender/vector/outlinesides.h"
#include "kivrender/vector/tessellationcost.h"
#include "kivrender/vector/trianglecover.h"
#include "kivrender/vector/workpoll.h"

#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace {

using TessCallback = void (*)();

// GLU's tessellator does not survive a vertex that is nowhere: it compares places to keep its lists in order, and a
// value that is not a number fits in none (seen as a crash with libGLU 9.0.2).
bool isFinite(const std::vector<FeedbackVertex*>& vertices, int start, int end) {
    return std::all_of(vertices.begin() + start, vertices.begin() + end, [](const FeedbackVertex* each) {
        return std::isfinite(each->x) && std::isfinite(each->y) && std::isfinite(each->z);
    });
}

constexpr std::size_t mostTrianglesOfPiece = 8192;

double middleAlong(const SweepTriangle& triangle, int axis) {
    const FeedbackVertex* v = triangle.vertices;
    const auto sum = [](double a, double b, double c) { return a + b + c; };
    return axis == 0   ? sum(v[0].x, v[1].x, v[2].x)
           : axis == 1 ? sum(v[0].y, v[1].y, v[2].y)
                       : sum(v[0].z, v[1].z, v[2].z);
}

// Cuts across the longest extent. Both halves keep their order.
std::pair<std::vector<SweepTriangle*>, std::vector<SweepTriangle*>> halvesOf(const std::vector<SweepTriangle*>& all) {
    std::vector<double> middles[3];
    double longest = -1;
    int axis = 0;
    for (int each = 0; each < 3; ++each) {
        for (const SweepTriangle* triangle : all)
            middles[each].push_back(middleAlong(*triangle, each));
        const auto [low, high] = std::minmax_element(middles[each].begin(), middles[each].end());
        if (*high - *low > longest) {
            longest = *high - *low;
            axis = each;
        }
    }
    std::vector<double> sorted = middles[axis];
    const auto half = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), half, sorted.end());
    // Of triangles with the middle one's place as many go to the first half as it lacks.
    std::ptrdiff_t left =
        half - sorted.begin() - std::count_if(sorted.begin(), half, [half](double middle) { return middle < *half; });
    std::pair<std::vector<SweepTriangle*>, std::vector<SweepTriangle*>> halves;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const double middle = middles[axis][i];
        const bool isFirst = middle < *half || (middle == *half && left-- > 0);
        (isFirst ? halves.first : halves.second).push_back(all[i]);
    }
    return halves;
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

void OutlineTessellator::appendResult(const std::vector<FeedbackVertex*>& vertices, FeedbackPrimitiveList& list) const {
    list.reserve(list.size() + resultIndices.size() / 3);
    for (std::size_t m = 2; m < resultIndices.size(); m += 3) {
        auto* triangle = new FeedbackPrimitive;
        list.push_back(triangle);
        triangle->vertices.reserve(3);
        for (const std::size_t i : {m - 2, m - 1, m})
            triangle->vertices.push_back(*vertices[static_cast<std::size_t>(resultIndices[i])]);
        triangle->vertexCount = 3;
    }
}

// Covers the outline of the triangles, if that costs little.
OutlineTessellator::Covered OutlineTessellator::coverOutline(std::vector<FeedbackEdge>& edges,
                                                             const std::vector<SweepTriangle*>& triangles,
                                                             FeedbackPrimitiveList& list) {
    resultIndices.clear();
    currentIndices.clear();
    errorCode = 0;
    std::vector<FeedbackVertex*> vertices;
    std::vector<int> contourEnds;
    OutlineContours contours(edges);
    if (!contours.joinCollinearEdges() || !contours.chain(vertices, contourEnds))
        return Covered::Cancelled;
    if (triangles.size() > 1) {
        const FeedbackVertex* corners = triangles.front()->vertices;
        if (!TessellationCost::isLow(vertices, contourEnds, FeedbackPlane(corners[0], corners[1], corners[2]).normal))
            return Covered::TooCostly;
    }
    cover(vertices, contourEnds);
    appendResult(vertices, list);
    return Covered::All;
}

// Covers a part of a group.
OutlineTessellator::Covered OutlineTessellator::coverPiece(const std::vector<SweepTriangle*>& triangles,
                                                           FeedbackPrimitiveList& list, WorkPoll& poll) {
    std::vector<FeedbackEdge> edges;
    OutlineSides outline(triangles);
    outline.begin(edges);
    for (int triangle = 0; triangle < static_cast<int>(triangles.size()); ++triangle) {
        const unsigned open = outline.closeShared(triangle, poll);
        for (int side = 0; side < 3; ++side) {
            if ((open & (1U << side)) != 0)
                outline.append(3 * triangle + side);
        }
        if (poll.isCancelled(200))
            return Covered::Cancelled;
    }
    const std::size_t before = list.size();
    const Covered covered = coverOutline(edges, triangles, list);
    const auto added = list.begin() + static_cast<std::ptrdiff_t>(before);
    if (covered != Covered::All || TriangleCover::hasSameArea(triangles, {added, list.end()}))
        return covered;
    FeedbackPrimitiveList failed(added, list.end());
    list.resize(before);
    deletePrimitives(failed);
    return TriangleCover::appendCopies(triangles, list, poll) ? Covered::All : Covered::Cancelled;
}

// False when the user has cancelled.
bool OutlineTessellator::coverInPieces(const std::vector<SweepTriangle*>& triangles, FeedbackPrimitiveList& list) {
    WorkPoll poll;
    std::vector<std::vector<SweepTriangle*>> open = {triangles};
    while (!open.empty()) {
        const std::vector<SweepTriangle*> piece = std::move(open.back());
        open.pop_back();
        const Covered covered =
            piece.size() > mostTrianglesOfPiece ? Covered::TooCostly : coverPiece(piece, list, poll);
        if (covered == Covered::TooCostly) {
            auto [first, second] = halvesOf(piece);
            open.push_back(std::move(second));
            open.push_back(std::move(first));
        }
        if (covered == Covered::Cancelled || poll.isCancelled(200 * piece.size()))
            return false;
    }
    return true;
}

FeedbackPrimitiveList* OutlineTessellator::tessellate(CoplanarGroup* group) {
    auto triangles = std::make_unique<FeedbackPrimitiveList>();
    Covered covered = coverOutline(group->edges, group->sweepTriangles, *triangles);
    if (covered == Covered::TooCostly)
        covered = coverInPieces(group->sweepTriangles, *triangles) ? Covered::All : Covered::Cancelled;
    if (covered == Covered::Cancelled)
        deletePrimitives(*triangles);
    return triangles->empty() ? nullptr : triangles.release();
}
