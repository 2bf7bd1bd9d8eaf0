// Divides the window into squares in which few faces meet (Warnock 1969). What lies wholly behind a face that fills a
// square is left out of that square's parts, so that depth costs nothing where one face covers much.
//
// Where many faces meet a square is divided only if that makes less work in the end: what grows with the square of the
// number of faces in its parts. To find out is bounded: what may be counted is dealt out evenly over the picture, and
// where it is used up squares are taken as they are, with as many faces as they hold.
#ifndef KIVRENDER_VECTOR_SCREENTREE_H
#define KIVRENDER_VECTOR_SCREENTREE_H

#include "kivrender/vector/screenface.h"
#include "kivrender/vector/workpoll.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class ScreenTree {
public:
    using Numbers = std::span<const std::uint32_t>;

    struct Square {
        ScreenPoint corner; // lower left
        std::int32_t size = 0;
    };

    class Visitor {
    public:
        Visitor() = default;
        Visitor(const Visitor&) = delete;
        Visitor& operator=(const Visitor&) = delete;
        virtual ~Visitor() = default;

        // Whether anything in a square with these faces is still to be found out.
        virtual bool wants(Numbers faces) = 0;
        // In the current square the face is out of sight behind another, which fills it.
        virtual void takeHidden(std::uint32_t face, std::uint32_t cover) = 0;
        // A square that is divided no further. False when the user has cancelled.
        virtual bool takeSquare(const Square& square, Numbers faces) = 0;
    };

    // Both must outlive the object.
    ScreenTree(const std::vector<ScreenFace>& all, WorkPoll& poll);
    // False when the user has cancelled.
    bool walk(Visitor& visitor);

    // The size of a square that is divided no further: a 256th of a pixel.
    static constexpr std::int32_t smallest = 16;

private:
    static constexpr std::size_t fewFaces = 32;
    // So many are taken as they are where division brings little: where most of them meet in each part.
    static constexpr std::size_t manyFaces = 160;

    bool plan(const Square& square, std::size_t first, std::size_t& budget, std::size_t& cost);
    bool planParts(const Square& square, std::size_t first, std::size_t& budget, std::size_t& cost);
    bool walk(const Square& square, std::size_t first, Visitor& visitor);
    bool divide(const Square& square, std::size_t first, Visitor& visitor);
    void addThoseOf(const Square& part, std::size_t first, std::size_t last);
    bool paysToDivide(const Square& square, std::size_t first) const;
    void leaveOutHidden(const Square& square, std::size_t first, Visitor* visitor);
    static Square quarterOf(const Square& square, int number);
    Numbers numbersFrom(std::size_t first) const {
        return Numbers(numbers).subspan(first);
    }

    const std::vector<ScreenFace>& faces;
    std::vector<std::uint32_t> numbers; // of the squares on the way down, one behind the other
    WorkPoll& cancel;
    // Of squares with many faces, in the order of the walk: 0 for one that stays whole, else where those in it end.
    std::vector<std::size_t> planned;
    std::size_t nextPlanned = 0;
};

#endif
