#include "apps/document/documentvalues.h"

#include <charconv>
#include <cstdio>

Json numberJson(double number) {
    if (std::isnan(number)) {
        return "nan";
    }
    if (std::isinf(number)) {
        return number > 0 ? "inf" : "-inf";
    }
    return number;
}

double numberIn(const Json& value, double otherwise) {
    if (value.isString()) {
        const std::string& text = value.toString();
        return text == "nan"    ? std::numeric_limits<double>::quiet_NaN()
               : text == "inf"  ? std::numeric_limits<double>::infinity()
               : text == "-inf" ? -std::numeric_limits<double>::infinity()
                                : otherwise;
    }
    return value.toDouble(otherwise);
}

double finiteIn(const Json& value, double otherwise) {
    const double number = numberIn(value, otherwise);
    return std::isfinite(number) ? number : otherwise;
}

Json colourJson(std::uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
    return text;
}

std::uint32_t colourIn(const Json& value, std::uint32_t otherwise) {
    const std::string& text = value.toString();
    std::uint32_t rgb = 0;
    if (text.size() != 7 || text[0] != '#') {
        return otherwise;
    }
    const auto [end, problem] = std::from_chars(text.data() + 1, text.data() + text.size(), rgb, 16);
    const bool isGood = problem == std::errc{} && end == text.data() + text.size();
    return isGood ? (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16 : otherwise;
}
