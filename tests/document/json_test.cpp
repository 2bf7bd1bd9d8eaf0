#include "apps/document/json.h"

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

Json parsed(const std::string& text) {
    const std::optional<Json> json = Json::parse(text);
    EXPECT_TRUE(json) << text;
    return json.value_or(Json("not read"));
}

std::size_t faultAt(const std::string& text) {
    std::size_t where = 0;
    EXPECT_FALSE(Json::parse(text, &where)) << text;
    return where;
}

} // namespace

TEST(Json, ReadsEveryKindOfValue) {
    const Json json =
        parsed(" {\"n\": null, \"t\": true, \"f\": false, \"i\": -12, \"d\": 2.5e-3,\t\"s\": \"a\\u00e9\\n\\/\","
               "\r\n\"a\": [1, [], {}], \"o\": {\"k\": \"v\"}} ");
    EXPECT_TRUE(json["n"] == Json());
    EXPECT_TRUE(json["t"].toBool());
    EXPECT_FALSE(json["f"].toBool(true));
    EXPECT_EQ(json["i"].toInt(), -12);
    EXPECT_EQ(json["d"].toDouble(), 0.0025);
    EXPECT_EQ(json["s"].toString(), "a\xC3\xA9\n/");
    ASSERT_EQ(json["a"].toArray().size(), 3U);
    EXPECT_TRUE(json["a"].at(2).isObject());
    EXPECT_EQ(json["o"]["k"].toString(), "v");
    EXPECT_EQ(json.size(), 13U);
}

TEST(Json, WhatAValueIsNotReadsAsTheDefault) {
    const Json text("7");
    EXPECT_EQ(text.toInt(3), 3);
    EXPECT_EQ(text.toDouble(0.5), 0.5);
    EXPECT_TRUE(text.toBool(true));
    EXPECT_TRUE(Json(7).toString().empty());
    EXPECT_TRUE(Json(7)["key"] == Json());
    EXPECT_TRUE(Json(7).at(0) == Json());
    EXPECT_EQ(Json(1.5).toInt(-1), -1);
    EXPECT_EQ(Json(1e300).toInt(-1), -1);
    EXPECT_EQ(Json(2147483647.0).toInt(), 2147483647);
}

TEST(Json, TextGivesTheValueBack) {
    Json json =
        JsonObject{{"b", JsonArray{1, 0.1, "x\"\\\n\x01", true, Json()}}, {"a", JsonObject{}}, {"e", Json::Array()}};
    EXPECT_EQ(json.compact(), "{\"a\":{},\"b\":[1,0.1,\"x\\\"\\\\\\n\\u0001\",true,null],\"e\":[]}");
    EXPECT_EQ(json.indented(),
              "{\n    \"a\": {},\n    \"b\": [\n        1,\n        0.1,\n        \"x\\\"\\\\\\n\\u0001\",\n"
              "        true,\n        null\n    ],\n    \"e\": []\n}\n");
    EXPECT_TRUE(parsed(json.compact()) == json);
    EXPECT_TRUE(parsed(json.indented()) == json);
    for (const double number : {0.1, 1.0 / 3.0, 123.456789012345678, std::numeric_limits<double>::denorm_min(),
                                std::numeric_limits<double>::max(), -0.0}) {
        EXPECT_EQ(parsed(Json(number).compact()).toDouble(1.0), number);
    }
}

TEST(Json, CharactersBeyondTheFirstPlaneComeInPairs) {
    EXPECT_EQ(parsed("\"\\ud83d\\udc00\"").toString(), "\xF0\x9F\x90\x80");
    EXPECT_EQ(parsed("\"\\ud83d!\"").toString(), "\xEF\xBF\xBD!");
    EXPECT_EQ(parsed("\"\\udc00\"").toString(), "\xEF\xBF\xBD");
    EXPECT_EQ(parsed("\"\\ud83d\\u0041\"").toString(), "\xEF\xBF\xBD"
                                                       "A");
}

TEST(Json, WhatIsNoJsonIsRefusedWithItsPlace) {
    EXPECT_EQ(faultAt(""), 0U);
    EXPECT_EQ(faultAt("{\"a\": 1,}"), 8U);
    EXPECT_EQ(faultAt("[1 2]"), 3U);
    EXPECT_EQ(faultAt("[1] 2"), 4U);
    EXPECT_EQ(faultAt("{\"a\" 1}"), 5U);
    for (const char* const text :
         {"{",  "[", "[1,", "\"",    "\"\\", "\"\\u12", "\"\\u12g4\"", "\"\n\"", "tru",    "nul",      "+1",
          ".5", "-", "1e",  "1.2.3", "0x10", "inf",     "nan",         "-inf",   "{1: 2}", "{\"a\": }"}) {
        faultAt(text);
    }
}

TEST(Json, NumbersBeyondTheRangeAreBroughtIntoIt) {
    EXPECT_EQ(parsed("1e999").toDouble(), std::numeric_limits<double>::max());
    EXPECT_EQ(parsed("-1e999").toDouble(), std::numeric_limits<double>::lowest());
    EXPECT_EQ(parsed("1e-999").toDouble(1.0), 0.0);
}

TEST(Json, NestingHasABound) {
    const auto nested = [](int depth) {
        const auto count = static_cast<std::size_t>(depth);
        return std::string(count, '[') + std::string(count, ']');
    };
    EXPECT_TRUE(Json::parse(nested(Json::deepest)));
    EXPECT_FALSE(Json::parse(nested(Json::deepest + 2)));
    EXPECT_FALSE(Json::parse(std::string(1'000'000, '[')));
}

TEST(Json, OfEqualKeysTheLastOneCounts) {
    EXPECT_EQ(parsed("{\"a\": 1, \"a\": 2}")["a"].toInt(), 2);
}
