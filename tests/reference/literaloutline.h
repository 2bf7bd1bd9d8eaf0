// The joining and chaining of outline edges as they are defined: scans over all edges that start over.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALOUTLINE_H
#define SELVARIN_TESTS_REFERENCE_LITERALOUTLINE_H

#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/feedbackvector.h"

#include <vector>

namespace literal {

inline FeedbackVector direction(const FeedbackVertex* from, const FeedbackVertex* to) {
    FeedbackVector made(to->x - from->x, to->y - from->y, to->z - from->z);
    made.normalise();
    return made;
}

inline void joinCollinearEdges(std::vector<FeedbackEdge>& edges) {
    for (std::size_t i = 0; i < edges.size(); ++i) {
        FeedbackVertex* a = edges[i].from;
        FeedbackVertex* b = edges[i].to;
        FeedbackVector d0 = direction(a, b);
        std::size_t self = i; // where this edge is, should it be the last that fills another's place
        for (std::size_t j = i + 1; j < edges.size();) {
            bool shared = false;
            if (j != self) {
                FeedbackVertex* c = edges[j].from;
                FeedbackVertex* d = edges[j].to;
                if (*a == *c) {
                    std::swap(a, b);
                    d0 = d0 * -1.0;
                    shared = true;
                } else if (*a == *d) {
                    std::swap(a, b);
                    d0 = d0 * -1.0;
                    std::swap(c, d);
                    shared = true;
                } else if (*b == *c) {
                    shared = true;
                } else if (*b == *d) {
                    std::swap(c, d);
                    shared = true;
                }
                if (shared) {
                    if (d0 == direction(c, d)) {
                        edges[self] = {a, d};
                        if (self == edges.size() - 1)
                            self = j;
                        edges[j] = edges.back();
                        edges.pop_back();
                        b = d;
                        j = 0;
                        continue;
                    }
                    shared = false;
                }
            }
            ++j;
        }
    }
}

inline void chain(const std::vector<FeedbackEdge>& edges, std::vector<FeedbackVertex*>& vertices,
                  std::vector<int>& contourEnds) {
    std::vector<char> used(edges.size(), 0);
    int count = 0;
    while (count < static_cast<int>(edges.size()) - 1) {
        bool open = false;
        for (std::size_t k = 0; k < edges.size(); ++k) {
            if (used[k])
                continue;
            if (!open) {
                vertices.push_back(edges[k].from);
                vertices.push_back(edges[k].to);
                ++count;
                used[k] = 1;
                open = true;
                continue;
            }
            const FeedbackVertex* last = vertices.back();
            const FeedbackVertex* first =
                vertices[contourEnds.empty() ? 0 : static_cast<std::size_t>(contourEnds.back())];
            FeedbackVertex* next = nullptr;
            if (*edges[k].from == *last)
                next = edges[k].to;
            else if (*edges[k].to == *last)
                next = edges[k].from;
            else
                continue;
            ++count;
            used[k] = 1;
            if (*next == *first)
                break;
            vertices.push_back(next);
            k = 0;
        }
        contourEnds.push_back(static_cast<int>(vertices.size()));
    }
}

} // namespace literal

#endif
