#include "kivrender/lines/write/drawingsink.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace {

constexpr std::size_t blockSize = 65536;
// About a millisecond of writing.
constexpr std::uint64_t bytesBetweenPolls = 65536;

constexpr std::array powers{1.0, 10.0, 100.0, 1000.0, 10000.0, 100000.0, 1000000.0};

} // namespace

void kivAppendNumber(std::string& text, double number, int decimals) {
    const double scaled = std::round(number * powers[static_cast<std::size_t>(decimals)]);
    if (!(std::fabs(scaled) < 9e15)) {
        // No digit behind the point is left.
        std::array<char, 400> digits{};
        const double whole = std::isfinite(number) ? number : 0.0;
        const auto end =
            std::to_chars(digits.data(), digits.data() + digits.size(), whole, std::chars_format::fixed, 0);
        text.append(digits.data(), end.ptr);
        return;
    }
    const auto value = static_cast<std::int64_t>(scaled);
    std::string digits = std::to_string(value < 0 ? -value : value);
    const auto behind = static_cast<std::size_t>(decimals);
    if (digits.size() <= behind) {
        digits.insert(0, behind + 1 - digits.size(), '0');
    }
    const std::size_t point = digits.size() - behind;
    text += value < 0 ? "-" : "";
    text.append(digits, 0, point);
    const std::size_t last = digits.find_last_not_of('0');
    if (last != std::string::npos && last >= point) {
        text += '.';
        text.append(digits, point, last + 1 - point);
    }
}

std::string kivNumberText(double number, int decimals) {
    std::string text;
    kivAppendNumber(text, number, decimals);
    return text;
}

DrawingSink::DrawingSink(Put put, std::function<bool()> isCancelled)
    : putBlock(std::move(put)), askCancelled(std::move(isCancelled)) {}

bool DrawingSink::isCancelled() {
    cancelled = cancelled || (askCancelled && askCancelled());
    return cancelled;
}

bool DrawingSink::flush() {
    if (!failed && !held.empty()) {
        failed = !putBlock(held);
        handedOn += held.size();
        held.clear();
    }
    return !failed;
}

bool DrawingSink::goesOn() {
    if (cancelled || failed) {
        return false;
    }
    if (size() - polledAt >= bytesBetweenPolls || polledAt == 0) {
        polledAt = size();
        if (isCancelled()) {
            return false;
        }
    }
    return held.size() < blockSize || flush();
}

bool DrawingSink::finish() {
    return !isCancelled() && flush();
}
