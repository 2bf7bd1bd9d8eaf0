// What the tests of the vector stages share: making primitives, comparing lists, a host with a progress to watch.
#ifndef SELVARIN_TESTS_VECTOR_VECTORTESTING_H
#define SELVARIN_TESTS_VECTOR_VECTORTESTING_H

#include "kivrender/vector/feedbackprimitive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vectortest {

// Deletes what it holds.
struct OwnedList : FeedbackPrimitiveList {
    OwnedList() = default;
    OwnedList(const OwnedList&) = delete;
    OwnedList& operator=(const OwnedList&) = delete;
    ~OwnedList() {
        deletePrimitives(*this);
    }
};

inline FeedbackVertex vertex(float x, float y, float z = 0, float r = 0, float g = 0, float b = 0, float a = 1) {
    FeedbackVertex made;
    made.x = x;
    made.y = y;
    made.z = z;
    made.r = r;
    made.g = g;
    made.b = b;
    made.a = a;
    return made;
}

inline FeedbackPrimitive* primitive(int type, std::vector<FeedbackVertex> vertices) {
    auto made = std::make_unique<FeedbackPrimitive>();
    made->type = static_cast<std::int16_t>(type);
    made->vertexCount = static_cast<std::int32_t>(vertices.size());
    made->vertices = std::move(vertices);
    return made.release();
}

inline FeedbackPrimitive* line(const FeedbackVertex& start, const FeedbackVertex& end) {
    return primitive(FeedbackToken::line, {start, end});
}

inline FeedbackPrimitive* triangle(const FeedbackVertex& p0, const FeedbackVertex& p1, const FeedbackVertex& p2) {
    return primitive(FeedbackToken::polygon, {p0, p1, p2});
}

inline void clone(const FeedbackPrimitiveList& from, FeedbackPrimitiveList& to) {
    for (const FeedbackPrimitive* each : from)
        to.push_back(new FeedbackPrimitive(*each));
}

// Every bit of a primitive as text, so that lists compare exactly and differences can be read.
inline std::string describe(const FeedbackPrimitive& each) {
    char text[256];
    std::snprintf(text, sizeof text, "%d n%d o%d b%d l%d s%u/%d f%d/%d w%a p%a", each.type, each.vertexCount,
                  each.offset, each.boundary, each.blend, each.stipplePattern, each.stippleFactor, each.blendSource,
                  each.blendDestination, static_cast<double>(each.lineWidth), static_cast<double>(each.pointSize));
    std::string all = text;
    for (const FeedbackVertex& v : each.vertices) {
        std::snprintf(text, sizeof text, " (%.9g %.9g %.9g | %.9g %.9g %.9g %.9g)", static_cast<double>(v.x),
                      static_cast<double>(v.y), static_cast<double>(v.z), static_cast<double>(v.r),
                      static_cast<double>(v.g), static_cast<double>(v.b), static_cast<double>(v.a));
        all += text;
    }
    return all;
}

inline std::vector<std::string> describe(const FeedbackPrimitiveList& list) {
    std::vector<std::string> all;
    for (const FeedbackPrimitive* each : list)
        all.push_back(each ? describe(*each) : "null");
    return all;
}

// Random values from raw generator words, the same with every standard library.
class Random {
public:
    explicit Random(std::uint32_t seed) : words(seed) {}
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(words() % limit);
    }
    bool chance(std::uint32_t oneIn) {
        return below(oneIn) == 0;
    }
    // From 0 up to but not including 1, in 2^24 steps.
    float unit() {
        return static_cast<float>(words() >> 8) * 0x1p-24F;
    }
    std::uint32_t word() {
        return static_cast<std::uint32_t>(words());
    }

private:
    std::mt19937 words;
};

} // namespace vectortest

#endif
