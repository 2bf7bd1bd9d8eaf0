#include "import/textscanner.h"

#include <charconv>
#include <cstring>

namespace kivimport {
namespace {

// Up to and without the line's end. One line may go on after a backslash.
struct Line {
    const char* end;
    const char* next;
    std::uint64_t lines;
};

Line findLine(const char* begin, const char* textEnd, char separator) {
    std::uint64_t lines = 1;
    const char* from = begin;
    for (;;) {
        const auto* found =
            static_cast<const char*>(std::memchr(from, separator, static_cast<std::size_t>(textEnd - from)));
        const char* end = found != nullptr ? found : textEnd;
        const char* last = end;
        while (last != from && last[-1] == '\r') {
            --last;
        }
        const char* following = end == textEnd ? textEnd : end + 1;
        if (following != textEnd && last != from && last[-1] == '\\') {
            from = following;
            ++lines;
            continue;
        }
        return {last, following, lines};
    }
}

} // namespace

TextScanner::TextScanner(std::string_view source)
    : at(source.data()), textBegin(source.data()), textEnd(source.data() + source.size()), next(source.data()),
      // Old Macintosh files end their lines with CR alone.
      separator(source.find('\n') == std::string_view::npos ? '\r' : '\n') {}

bool TextScanner::nextLine() {
    while (next != textEnd) {
        line += line == 0 ? 1 : linesInThis;
        const Line found = findLine(next, textEnd, separator);
        at = next;
        lineEnd = found.end;
        next = found.next;
        linesInThis = found.lines;
        skipBlanks();
        if (at != lineEnd) {
            return true;
        }
    }
    return false;
}

double TextScanner::done() const {
    return textEnd == textBegin ? 1.0
                                : static_cast<double>(next - textBegin) / static_cast<double>(textEnd - textBegin);
}

std::string_view TextScanner::word() {
    skipBlanks();
    const char* begin = at;
    while (!atBlank()) {
        ++at;
    }
    return {begin, static_cast<std::size_t>(at - begin)};
}

std::string_view TextScanner::rest() {
    skipBlanks();
    const char* end = lineEnd;
    while (end != at && isBlank(end[-1])) {
        --end;
    }
    const std::string_view text{at, static_cast<std::size_t>(end - at)};
    at = lineEnd;
    return text;
}

bool TextScanner::atEnd() {
    skipBlanks();
    return at == lineEnd || *at == '#';
}

// Up to fifteen digits and a division by a power of ten that a double holds exactly give the nearest number, as one
// rounding is all there is. That is how nearly all coordinates are written.
bool TextScanner::plainNumber(double& value) {
    static constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const char* c = at;
    const bool negative = c != lineEnd && *c == '-';
    c += negative ? 1 : 0;
    std::uint64_t mantissa = 0;
    const char* const digits = c;
    while (c != lineEnd && isDigit(*c)) {
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(*c++ - '0');
        if (c - digits > 15) {
            return false;
        }
    }
    std::ptrdiff_t count = c - digits;
    std::ptrdiff_t decimals = 0;
    if (c != lineEnd && *c == '.') {
        const char* const fraction = ++c;
        while (c != lineEnd && isDigit(*c)) {
            mantissa = mantissa * 10 + static_cast<std::uint64_t>(*c++ - '0');
            if (count + (c - fraction) > 15) {
                return false;
            }
        }
        decimals = c - fraction;
        count += decimals;
    }
    if (count == 0 || (c != lineEnd && !isBlank(*c))) {
        return false;
    }
    value = static_cast<double>(mantissa) / powers[decimals];
    value = negative ? -value : value;
    at = c;
    return true;
}

double TextScanner::number(const char* what) {
    skipBlanks();
    double plain = 0.0;
    if (plainNumber(plain)) {
        return plain;
    }
    if (at != lineEnd && *at == '+') {
        ++at;
    }
    double value = 0.0;
    const auto [end, problem] = std::from_chars(at, lineEnd, value);
    if (problem == std::errc::invalid_argument || (end != lineEnd && !isBlank(*end))) {
        throw error(std::string(what) + " is expected, found " + wordAt());
    }
    if (problem == std::errc::result_out_of_range) {
        // Too small to be told from zero is not an error.
        const std::string_view digits{at, static_cast<std::size_t>(end - at)};
        if (digits.find("e-") == std::string_view::npos && digits.find("E-") == std::string_view::npos) {
            throw error(std::string(what) + " is too large, found " + wordAt());
        }
        value = 0.0;
    }
    at = end;
    return value;
}

std::int64_t TextScanner::integer(const char* what) {
    skipBlanks();
    if (std::int64_t plain = 0; plainIndex(plain)) {
        return plain;
    }
    std::int64_t value = 0;
    const auto [end, problem] = std::from_chars(at, lineEnd, value);
    if (problem == std::errc::result_out_of_range || value < -std::int64_t{1} * noIndex || value > noIndex) {
        throw error(std::string(what) + " is too large, found " + wordAt());
    }
    if (problem != std::errc{}) {
        throw error(std::string(what) + " is expected, found " + wordAt());
    }
    at = end;
    return value;
}

Vec3 TextScanner::point() {
    const double x = number("a coordinate");
    const double y = number("a coordinate");
    const Vec3 p{x, y, number("a coordinate")};
    if (!isFinite(p)) {
        throw error("a coordinate is not a finite number");
    }
    if (!isUsable(p)) {
        throw error("a coordinate is too large");
    }
    return p;
}

Vec3 TextScanner::direction() {
    const double x = number("a component of a normal");
    const double y = number("a component of a normal");
    const Vec3 v{x, y, number("a component of a normal")};
    // Some programs write such normals for triangles without an area; they count as not given.
    return isFinite(v) ? v : Vec3{};
}

void TextScanner::expectBlank() {
    if (!atBlank()) {
        throw error("an index is expected, found " + wordAt());
    }
}

ImportError TextScanner::error(const std::string& message) const {
    return ImportError("line " + std::to_string(line) + ": " + message);
}

// For a message: what stands here, cut short, as a binary file may have no blank for a long way.
std::string TextScanner::wordAt() const {
    std::string found;
    for (const char* c = at; c != lineEnd && !isBlank(*c) && found.size() < 24; ++c) {
        found += static_cast<unsigned char>(*c) >= 0x20 && *c != 0x7F ? *c : '?';
    }
    return found.empty() ? "the end of the line" : '"' + found + '"';
}

} // namespace kivimport
