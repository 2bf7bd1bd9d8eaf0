// Divides the window into squares in which few faces meet. What lies wholly behind a face that fills a square is left
// out of that square's parts, so that depth costs nothing where one face covers much.
//
// The work is bounded: once the faces have been counted so often into squares that division does not pay, squares are
// taken as they are, with as many faces as they hold.
#ifndef KIVRENDER_VECTOR_SCREENTREE_H
#define KIVRENDER_VECTOR_SCREENTREE_H

#include "kivrender/vector/screenface.h"

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
        // A square that is divided no further.
        virtual void takeSquare(const Square& square, Numbers faces) = 0;
    };

    // The faces must outlive the object.
    explicit ScreenTree(const std::vector<ScreenFace>& all);
    // False when the user has cancelled.
    bool walk(Visitor& visitor);

private:
    static constexpr std::size_t fewFaces = 32;
    // So many are taken as they are where division brings little: where most of them meet in each part.
    static constexpr std::size_t manyFaces = 160;
    // A 256th of a pixel.
    static constexpr std::int32_t smallest = 16;

    bool walk(const Square& square, std::size_t first, Visitor& visitor);
    bool paysToDivide(const Square& square, std::size_t first) const;
    void leaveOutHidden(const Square& square, std::size_t first, Visitor& visitor);
    static Square quarterOf(const Square& square, int number);
    Numbers numbersFrom(std::size_t first) const {
        return Numbers(numbers).subspan(first);
    }

    const std::vector<ScreenFace>& faces;
    std::vector<std::uint32_t> numbers; // of the squares on the way down, one behind the other
    std::size_t budget = 0;
    unsigned int poll = 0;
};

#endif
