// Makes contours of the edges of an outline.
#ifndef KIVRENDER_VECTOR_OUTLINECONTOURS_H
#define KIVRENDER_VECTOR_OUTLINECONTOURS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/edgeends.h"

#include <vector>

// Both operations look at edges in the order of their list and start over after each success. Only edges that touch the
// one at hand matter to them, so these are looked up.
class KIV_API OutlineContours {
public:
    // Works on the list in place; it must outlive the object.
    explicit OutlineContours(std::vector<FeedbackEdge>& outline);

    // Replaces runs of edges that continue each other in one direction by one edge. False when the user has cancelled.
    bool joinCollinearEdges();

    // Chains the edges, end to end. Contour k has the vertices from contourEnds[k - 1], or 0, to contourEnds[k]; the
    // vertex that closes it does not come again. A chain that finds no continuation is a contour too. False when the
    // user has cancelled.
    bool chain(std::vector<FeedbackVertex*>& vertices, std::vector<int>& contourEnds);

private:
    bool joinOnto(std::size_t index);
    void absorb(std::size_t other, const FeedbackEdge& joined);

    std::vector<FeedbackEdge>& edges;
    EdgeEnds ends;
    std::size_t self = 0; // where the edge stands onto which others are joined
};

#endif
