// Numbers, colours and triples as documents write them. Reading never fails: what has no good form gives the value
// that the caller names.
#ifndef APPS_DOCUMENT_DOCUMENTVALUES_H
#define APPS_DOCUMENT_DOCUMENTVALUES_H

#include "apps/document/json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

// JSON has no form for infinities and NaN; they are written as "inf", "-inf" and "nan".
Json numberJson(double number);
double numberIn(const Json& value, double otherwise = 0.0);
// The same where only a finite number makes sense.
double finiteIn(const Json& value, double otherwise);

// Brought into the range of an integer type; anything else is 0.
template <class T> T integerIn(const Json& value) {
    const double number = std::trunc(finiteIn(value, 0.0));
    return static_cast<T>(std::clamp(number, static_cast<double>(std::numeric_limits<T>::min()),
                                     static_cast<double>(std::numeric_limits<T>::max())));
}

// A point or a vector as an array of its three coordinates.
template <class Triple> Json tripleJson(const Triple& t) {
    return JsonArray{t.x, t.y, t.z};
}
template <class Triple> Triple tripleIn(const Json& value, const Triple& otherwise) {
    return value.toArray().size() == 3 ? Triple(finiteIn(value.at(0), otherwise.x), finiteIn(value.at(1), otherwise.y),
                                                finiteIn(value.at(2), otherwise.z))
                                       : otherwise;
}

// As "#rrggbb"; in memory red is in the low byte.
Json colourJson(std::uint32_t colour);
std::uint32_t colourIn(const Json& value, std::uint32_t otherwise);

#endif
