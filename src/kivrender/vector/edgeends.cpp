#include "kivrender/vector/edgeends.h"

#include "kivrender/vector/vertexcells.h"
#include "kivrender/vector/workpoll.h"

#include <algorithm>

namespace {

constexpr std::size_t mostWalked = 24;

} // namespace

EdgeEnds::EdgeEnds(const std::vector<FeedbackEdge>& list) : edges(list) {}

bool EdgeEnds::takeAll() {
    cells.clear();
    isWalked = edges.size() <= mostWalked;
    if (isWalked)
        return true;
    WorkPoll poll;
    cells.reserve(edges.size() * 2);
    for (std::size_t index = 0; index < edges.size(); ++index) {
        add(index);
        if (poll.isCancelled(500))
            return false;
    }
    return true;
}

std::uint64_t EdgeEnds::keyOf(const FeedbackVertex& vertex) {
    return VertexCells::keyOf(VertexCells::placeOf(vertex));
}

void EdgeEnds::add(std::size_t index) {
    if (isWalked)
        return;
    for (const FeedbackVertex* end : {edges[index].from, edges[index].to})
        cells[keyOf(*end)].push_back(index);
}

void EdgeEnds::remove(std::size_t index) {
    if (isWalked)
        return;
    for (const FeedbackVertex* end : {edges[index].from, edges[index].to}) {
        std::vector<std::size_t>& cell = cells[keyOf(*end)];
        const auto found = std::find(cell.begin(), cell.end(), index);
        if (found == cell.end())
            continue;
        *found = cell.back();
        cell.pop_back();
    }
}

void EdgeEnds::collect(const FeedbackVertex& one, const FeedbackVertex& other, std::size_t first,
                       std::vector<std::size_t>& indices) const {
    indices.clear();
    if (isWalked) {
        for (std::size_t index = first; index < edges.size(); ++index)
            indices.push_back(index);
        return;
    }
    collectCells(one, first, indices);
    if (&one != &other)
        collectCells(other, first, indices);
    std::sort(indices.begin(), indices.end());
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
}

void EdgeEnds::collectCells(const FeedbackVertex& vertex, std::size_t first, std::vector<std::size_t>& indices) const {
    if (!VertexCells::isFinite(VertexCells::placeOf(vertex)))
        return;
    VertexCells::forEachKeyAround(VertexCells::placeOf(vertex), [&](std::uint64_t key) {
        const auto cell = cells.find(key);
        if (cell == cells.end())
            return;
        for (const std::size_t index : cell->second) {
            if (index >= first)
                indices.push_back(index);
        }
    });
}
