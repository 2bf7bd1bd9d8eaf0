// One object of JSON on a line, as job tables have them: its values are texts, numbers, true, false, null or lists of
// these (RFC 8259 without nested objects).
#ifndef APPS_CLI_FLATJSON_H
#define APPS_CLI_FLATJSON_H

#include <string>
#include <utility>
#include <vector>

// Each name with its values as texts; true and false as "yes" and "no", null as no value at all.
using FlatJson = std::vector<std::pair<std::string, std::vector<std::string>>>;

// Throws std::runtime_error with what was expected, and where.
FlatJson parseFlatJson(const std::string& line);

// A text in quotes; bytes that are no UTF-8 come as U+FFFD.
std::string jsonText(const std::string& text);

#endif
