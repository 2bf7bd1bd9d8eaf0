// Gathers which faces lie over which others in the window, each pair once.
#ifndef KIVRENDER_VECTOR_FACEOVERLAPS_H
#define KIVRENDER_VECTOR_FACEOVERLAPS_H

#include "kivrender/vector/facerelation.h"
#include "kivrender/vector/pairset.h"
#include "kivrender/vector/screentree.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Two owners of faces. An owner with several faces may come up with another more than once.
using OwnerPair = std::pair<std::uint32_t, std::uint32_t>;

// Pairs that an opaque face hides wherever they meet are left out; both then come before that face.
class FaceOverlaps : public ScreenTree::Visitor {
public:
    // Both must outlive the object. So much work, in units of WorkPoll, is spent on comparing.
    FaceOverlaps(const std::vector<ScreenFace>& all, WorkPoll& poll, std::size_t work);

    bool wants(ScreenTree::Numbers) override {
        return true;
    }
    void takeHidden(std::uint32_t face, std::uint32_t cover) override;
    bool takeSquare(const ScreenTree::Square& square, ScreenTree::Numbers numbers) override;

    // Compares what the walk has put off. False when the user has cancelled.
    bool finish();
    // Whether the work was enough to compare all that meet.
    bool isComplete() const {
        return complete;
    }

    // Some pairs may come up more than once.
    std::vector<OwnerPair> ordered; // the first has to be painted before the second
    std::vector<OwnerPair> level;   // the smaller number first
    std::vector<OwnerPair> crossed; // the smaller number first
    // The second is out of sight behind the first somewhere, and has not been compared there with what is nearer.
    std::vector<OwnerPair> hidden;

private:
    struct Box {
        ScreenPoint low;
        ScreenPoint high;
    };

    struct Crowd {
        ScreenTree::Square square;
        std::vector<std::uint32_t> numbers;
    };

    bool compareAll(const ScreenTree::Square& where, ScreenTree::Numbers found);
    bool meetOnlyHere(const Box& first, const Box& second) const;
    bool compareWithRest(std::size_t which);
    bool noteWork(std::size_t& work);
    void add(FaceRelation relation, std::uint32_t first, std::uint32_t second);

    const std::vector<ScreenFace>& faces;
    WorkPoll& cancel;
    Box square;
    ScreenTree::Numbers numbers; // of the faces in the square
    std::vector<Box> here;       // about them
    PairSet compared;            // what may meet in more than one square
    PairSet known;               // of covers and what is hidden behind them
    std::vector<Crowd> crowded;
    std::size_t workLeft;
    bool complete = true;
};

#endif
