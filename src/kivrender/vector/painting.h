// One list on its way to the order of painting: what PaintersOrder does, step by step.
//
// Of primitives that are alike only the last, which owns the faces of all, is compared with others; among themselves
// they stay in the order of drawing.
//
// A primitive that is painted after another that lies over it somewhere, because the two run through one another or
// stand in a circle, loses what is hidden there. At each place the nearest loses nothing, and all that is farther comes
// before it or is cut, so that the picture is right whichever order was found.
#ifndef KIVRENDER_VECTOR_PAINTING_H
#define KIVRENDER_VECTOR_PAINTING_H

#include "kivrender/vector/coveredparts.h"
#include "kivrender/vector/faceoverlaps.h"
#include "kivrender/vector/likeprimitives.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

class Painting {
public:
    Painting(const FeedbackPrimitiveList& all, const PolygonShift& offset, std::size_t work)
        : list(all), shift(offset), mostWork(work) {}

    // All false when the user has cancelled.
    bool findOverlaps();
    bool findOrder();
    // In place of all three, by the mean depths alone.
    bool orderByDepth();
    bool cutCovered();
    // The list in its new order, with parts in place of what is cut; what is no longer needed goes to the second.
    void assemble(FeedbackPrimitiveList& painted, FeedbackPrimitiveList& replaced, std::vector<std::uint32_t>& origins);
    bool isComplete() const {
        return complete;
    }

private:
    struct Made {
        std::unique_ptr<FeedbackPrimitive> shape;
        std::uint32_t origin;
        double depth;
    };

    using Members = std::span<const std::uint32_t>;
    using Parts = std::vector<std::pair<std::uint32_t, Made>>; // by places of the order

    Members membersOf(std::uint32_t owner) const {
        return alike.members(groupOf[owner]);
    }
    bool addFaces();
    void addLevelPairs(std::uint32_t first, std::uint32_t second, std::vector<OwnerPair>& pairs) const;
    bool findPairs(std::vector<OwnerPair>& pairs);
    bool findCovers();
    void addCovers(std::uint32_t hidden, std::uint32_t cover);
    void addLevelCovers(std::uint32_t hidden, std::uint32_t cover);
    bool addFartherCovers();
    bool isUnder(std::uint32_t first, std::uint32_t second) const;
    bool cut(std::span<const OwnerPair> some);
    bool hasRoomFor(const CoveredParts& pieces) const;
    void addParts(std::uint32_t number, CoveredParts& pieces);

    const FeedbackPrimitiveList& list;
    PolygonShift shift;
    std::size_t mostWork;
    WorkPoll cancel;
    LikePrimitives alike;
    std::vector<std::uint32_t> groupOf; // of each primitive
    std::vector<ScreenFace> faces;
    std::vector<std::size_t> facesOf; // where those of each group begin
    std::vector<OwnerPair> ordered;
    std::vector<OwnerPair> level;
    std::vector<OwnerPair> crossed; // the larger first
    std::vector<OwnerPair> hidden;  // behind the first, and not compared with what is before it
    std::vector<std::uint32_t> order;
    std::vector<std::uint32_t> placeOf; // in the order
    std::vector<OwnerPair> covers;      // of the first, which is painted after the second and under it somewhere
    Parts before;                       // painted before the primitive of that place
    Parts instead;                      // and in its stead
    std::vector<bool> isCut;
    std::size_t numParts = 0;
    bool complete = true;
};

#endif
