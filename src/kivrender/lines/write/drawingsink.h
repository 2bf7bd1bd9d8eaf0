// The text of a drawing on its way into a file: collected in blocks, with numbers as short as their places ask for.
#ifndef KIVRENDER_LINES_WRITE_DRAWINGSINK_H
#define KIVRENDER_LINES_WRITE_DRAWINGSINK_H

#include "kivrender/lines/curvefit.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// With at most that many digits behind the point, without zeros at the end and without a negative zero. What is not
// finite is 0.
void kivAppendNumber(std::string& text, double number, int decimals = 3);
std::string kivNumberText(double number, int decimals = 3);

class DrawingSink {
public:
    // Takes a block; false ends the writing.
    using Put = std::function<bool(std::string_view)>;

    DrawingSink(Put put, std::function<bool()> isCancelled);

    DrawingSink& operator<<(std::string_view text) {
        held += text;
        return *this;
    }
    DrawingSink& operator<<(char c) {
        held += c;
        return *this;
    }
    DrawingSink& operator<<(int number) {
        held += std::to_string(number);
        return *this;
    }
    DrawingSink& operator<<(double number) {
        kivAppendNumber(held, number);
        return *this;
    }
    // "x y"
    DrawingSink& operator<<(const KivPicturePoint& p) {
        return *this << p.x << ' ' << p.y;
    }

    // To be called after each stroke and area: hands a full block on. False once the writing has ended.
    bool goesOn();
    // The rest. False if the writing has ended before.
    bool finish();
    bool isCancelled();
    bool wasCancelled() const {
        return cancelled;
    }
    // The bytes so far.
    std::uint64_t size() const {
        return handedOn + held.size();
    }

private:
    bool flush();

    Put putBlock;
    std::function<bool()> askCancelled;
    std::string held;
    std::uint64_t handedOn = 0;
    std::uint64_t polledAt = 0;
    bool cancelled = false;
    bool failed = false;
};

#endif
