// Finds the edges of a list that touch a vertex.
#ifndef KIVRENDER_VECTOR_EDGEENDS_H
#define KIVRENDER_VECTOR_EDGEENDS_H

#include "kivrender/vector/coplanargroup.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

// Short lists are walked; a long one has its ends sorted into cells.
class EdgeEnds {
public:
    // The list must outlive the object. Whoever changes it tells so.
    explicit EdgeEnds(const std::vector<FeedbackEdge>& list);

    // Takes in all edges of the list as they are. False when the user has cancelled.
    bool takeAll();
    // Before an edge changes or goes, and after it has changed or come to its place.
    void remove(std::size_t index);
    void add(std::size_t index);

    // Makes a list of the indices, from first on and in order, of all edges that touch one of the two vertices, and
    // perhaps of others.
    void collect(const FeedbackVertex& one, const FeedbackVertex& other, std::size_t first,
                 std::vector<std::size_t>& indices) const;

private:
    static std::uint64_t keyOf(const FeedbackVertex& vertex);
    void collectCells(const FeedbackVertex& vertex, std::size_t first, std::vector<std::size_t>& indices) const;

    const std::vector<FeedbackEdge>& edges;
    bool isWalked = true;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> cells;
};

#endif
