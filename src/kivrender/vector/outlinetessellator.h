// Turns the outline of a coplanar group into triangles by the tessellator of GLU: runs of collinear edges become one
// edge, the edges are chained into contours, and what lies inside an odd number of contours is covered.
#ifndef KIVRENDER_VECTOR_OUTLINETESSELLATOR_H
#define KIVRENDER_VECTOR_OUTLINETESSELLATOR_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <cstdint>
#include <vector>

class GLUtesselator;
class WorkPoll;

class KIV_API OutlineTessellator {
public:
    OutlineTessellator();
    OutlineTessellator(const OutlineTessellator&) = delete;
    OutlineTessellator& operator=(const OutlineTessellator&) = delete;
    ~OutlineTessellator();

    // A new list of triangles, the caller's to delete with what it holds, whose attributes are those of a new primitive
    // but for the vertex count. Null when there is nothing to cover or the user has cancelled. Uses up the group's
    // edges. A contour that crosses itself gives what the tessellator made of it, which may be nothing.
    //
    // An outline that would keep the tessellator busy for long, without a poll for a cancel, is covered in pieces:
    // parts of the group with an outline of their own. A part that the tessellator can't cover keeps its triangles.
    FeedbackPrimitiveList* tessellate(CoplanarGroup* group);

private:
    // Called back by the tessellator. An index counts into the vertices of the contours and travels as the pointer that
    // the tessellator keeps for each vertex.
    void begin(std::uint32_t mode);
    void vertex(std::int32_t index);
    void end();
    void error(std::uint32_t code);
    static void onBegin(std::uint32_t mode, void* self);
    static void onVertex(void* index, void* self);
    static void onEnd(void* self);
    static void onError(std::uint32_t code, void* self);

    enum class Covered { All, TooCostly, Cancelled };
    Covered coverOutline(std::vector<FeedbackEdge>& edges, const std::vector<SweepTriangle*>& triangles,
                         FeedbackPrimitiveList& list);
    void cover(const std::vector<FeedbackVertex*>& vertices, const std::vector<int>& contourEnds);
    void appendResult(const std::vector<FeedbackVertex*>& vertices, FeedbackPrimitiveList& list) const;
    bool coverInPieces(const std::vector<SweepTriangle*>& triangles, FeedbackPrimitiveList& list);
    Covered coverPiece(const std::vector<SweepTriangle*>& triangles, FeedbackPrimitiveList& list, WorkPoll& poll);

    std::int32_t primitiveType = 0;
    std::vector<std::int32_t> currentIndices;
    std::vector<std::int32_t> resultIndices;
    std::int32_t errorCode = 0; // kept for a debugger's eye
    GLUtesselator* tessellator;
};

#endif
