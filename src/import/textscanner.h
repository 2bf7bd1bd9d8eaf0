// Walks a text line by line and word by word without copying it.
#ifndef IMPORT_TEXTSCANNER_H
#define IMPORT_TEXTSCANNER_H

#include "import/modelparts.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kivimport {

// Lines end with LF or CR LF, in a text without any LF with CR; a backslash at a line's end continues it, both lines
// then count. Nothing is read beyond the text's end, so that it needs no terminator.
class TextScanner {
public:
    explicit TextScanner(std::string_view source);

    // Moves to the next line that is not empty; false at the end of the text.
    bool nextLine();
    std::uint64_t lineNumber() const {
        return line;
    }
    // The part of the text that was passed, 0 to 1.
    double done() const;

    // The next word of the line, or nothing.
    std::string_view word();
    // The rest of the line, without blanks at its ends.
    std::string_view rest();
    bool atEnd();
    // Whether what stands here begins as a number does.
    bool startsNumber() const {
        return at != lineEnd && (isDigit(*at) || *at == '-' || *at == '+' || *at == '.');
    }

    // These throw an ImportError with the line number.
    double number(const char* what);
    std::int64_t integer(const char* what);
    Vec3 point();     // a coordinate that can be used; further numbers of the line are passed over
    Vec3 direction(); // may be anything finite
    void expectBlank();

    // At the next character, without skipping blanks.
    bool is(char c) const {
        return at != lineEnd && *at == c;
    }
    bool skip(char c) {
        if (!is(c)) {
            return false;
        }
        ++at;
        return true;
    }
    bool atBlank() const {
        return at == lineEnd || isBlank(*at);
    }

    ImportError error(const std::string& message) const;

private:
    static bool isBlank(char c) {
        return c == ' ' || c == '\t' || c == '\\' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
    }
    static bool isDigit(char c) {
        return c >= '0' && c <= '9';
    }
    bool plainNumber(double& value);
    // Up to nine digits without a sign.
    bool plainIndex(std::int64_t& value) {
        const char* c = at;
        std::int64_t sum = 0;
        while (c != lineEnd && isDigit(*c)) {
            sum = sum * 10 + (*c++ - '0');
            if (c - at > 9) {
                return false;
            }
        }
        if (c == at) {
            return false;
        }
        value = sum;
        at = c;
        return true;
    }
    void skipBlanks() {
        while (at != lineEnd && isBlank(*at)) {
            ++at;
        }
    }
    std::string wordAt() const;

    const char* at;
    const char* lineEnd = nullptr;
    const char* textBegin;
    const char* textEnd;
    const char* next;
    char separator;
    std::uint64_t line = 0;
    std::uint64_t linesInThis = 1;
};

} // namespace kivimport

#endif
