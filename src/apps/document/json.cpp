#include "apps/document/json.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

const Json none;

// --- reading

void appendUtf8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
        return;
    }
    const int tails = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr std::array<unsigned int, 4> heads{0x00, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(heads[static_cast<std::size_t>(tails)] | code >> (6 * tails));
    for (int i = tails - 1; i >= 0; --i) {
        out += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
    }
}

// Recursive descent, as the grammar is written in RFC 8259.
class Parser {
public:
    explicit Parser(std::string_view wholeText) : text(wholeText) {}

    bool parseAll(Json& value) {
        skipBlanks();
        if (!parseValue(value, 0)) {
            return false;
        }
        skipBlanks();
        return at == text.size();
    }

    std::size_t place() const {
        return at;
    }

private:
    bool parseValue(Json& value, int depth) {
        if (at == text.size() || depth > Json::deepest || ++count > Json::mostValues) {
            return false;
        }
        switch (text[at]) {
        case '{':
            return parseObject(value, depth);
        case '[':
            return parseArray(value, depth);
        case '"': {
            std::string read;
            const bool good = parseString(read);
            value = std::move(read);
            return good;
        }
        case 't':
            value = true;
            return accept("true");
        case 'f':
            value = false;
            return accept("false");
        case 'n':
            value = Json();
            return accept("null");
        default:
            return parseNumber(value);
        }
    }

    bool parseObject(Json& value, int depth) {
        Json::Object members;
        ++at;
        skipBlanks();
        for (bool isFirst = true; !accept("}"); isFirst = false) {
            std::string key;
            Json member;
            if ((!isFirst && !acceptAndSkip(",")) || !parseString(key) || !acceptAndSkip(":") ||
                !parseValue(member, depth + 1)) {
                return false;
            }
            members.insert_or_assign(std::move(key), std::move(member)); // of equal keys the last one counts
            skipBlanks();
        }
        value = std::move(members);
        return true;
    }

    bool parseArray(Json& value, int depth) {
        Json::Array items;
        ++at;
        skipBlanks();
        for (bool isFirst = true; !accept("]"); isFirst = false) {
            if ((!isFirst && !acceptAndSkip(",")) || !parseValue(items.emplace_back(), depth + 1)) {
                return false;
            }
            skipBlanks();
        }
        value = std::move(items);
        return true;
    }

    bool parseString(std::string& out) {
        if (!accept("\"")) {
            return false;
        }
        while (at < text.size()) {
            const char c = text[at];
            if (c == '"') {
                ++at;
                return true;
            }
            if (static_cast<unsigned char>(c) < 0x20) {
                return false;
            }
            ++at;
            if (c != '\\') {
                out += c;
            } else if (!parseEscape(out)) {
                return false;
            }
        }
        return false;
    }

    bool parseEscape(std::string& out) {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meant = "\"\\/\b\f\n\r\t";
        if (at == text.size()) {
            return false;
        }
        const char c = text[at++];
        if (const std::size_t index = letters.find(c); index != std::string_view::npos) {
            out += meant[index];
            return true;
        }
        std::uint32_t code = 0;
        if (c != 'u' || !parseHex(code)) {
            return false;
        }
        const bool isHigh = code >= 0xD800 && code < 0xDC00;
        std::uint32_t low = 0;
        if (const std::size_t before = at; isHigh && accept("\\u")) {
            if (!parseHex(low)) {
                return false;
            }
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
            } else {
                at = before;
            }
        }
        // Half of a pair is no character: the sign of a missing one stands for it.
        appendUtf8(out, code >= 0xD800 && code < 0xE000 ? 0xFFFD : code);
        return true;
    }

    bool parseHex(std::uint32_t& code) {
        const std::string_view digits = text.substr(at, 4);
        const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
        at += 4;
        return problem == std::errc{} && digits.size() == 4 && end == digits.data() + 4;
    }

    bool parseNumber(Json& value) {
        const std::size_t from = at;
        while (at < text.size() && std::string_view("+-.0123456789eE").find(text[at]) != std::string_view::npos) {
            ++at;
        }
        const std::string_view digits = text.substr(from, at - from);
        const bool hasSign = digits.starts_with('-');
        const std::string_view unsignedDigits = digits.substr(hasSign ? 1 : 0);
        double number = 0.0;
        const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        const bool startsWithDigit =
            !unsignedDigits.empty() && unsignedDigits.front() >= '0' && unsignedDigits.front() <= '9';
        if (problem == std::errc::invalid_argument || end != digits.data() + digits.size() || !startsWithDigit) {
            at = from;
            return false;
        }
        if (problem == std::errc::result_out_of_range) {
            number = outOfRange(digits);
        }
        value = number;
        return true;
    }

    // A number beyond the largest is the largest, one that is too small is nothing.
    static double outOfRange(std::string_view digits) {
        const std::size_t exponent = digits.find_first_of("eE");
        const bool isSmall = exponent != std::string_view::npos && digits.substr(exponent + 1).starts_with('-');
        const double size = isSmall ? 0.0 : std::numeric_limits<double>::max();
        return digits.starts_with('-') ? -size : size;
    }

    bool accept(std::string_view word) {
        if (!text.substr(at).starts_with(word)) {
            return false;
        }
        at += word.size();
        return true;
    }

    bool acceptAndSkip(std::string_view word) {
        skipBlanks();
        if (!accept(word)) {
            return false;
        }
        skipBlanks();
        return true;
    }

    void skipBlanks() {
        while (at < text.size() && std::string_view(" \t\r\n").find(text[at]) != std::string_view::npos) {
            ++at;
        }
    }

    std::string_view text;
    std::size_t at = 0;
    std::size_t count = 0;
};

// --- writing

void writeString(std::string& out, const std::string& text) {
    constexpr std::string_view digits = "0123456789abcdef";
    out += '"';
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (code < 0x20) {
            out += "\\u00";
            out += digits[code >> 4];
            out += digits[code & 15];
        } else {
            out += c;
        }
    }
    out += '"';
}

// The shortest digits that give the number back.
void writeNumber(std::string& out, double number) {
    if (!std::isfinite(number)) {
        out += "null";
        return;
    }
    std::array<char, 32> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    out.append(digits.data(), written.ptr);
}

// step: blanks for each level; below 0 for a text of one line.
class Writer {
public:
    explicit Writer(int blanks) : step(blanks) {}

    void write(const Json& value, int depth) {
        if (value.isObject()) {
            writeObject(value.toObject(), depth);
        } else if (value.isArray()) {
            writeArray(value.toArray(), depth);
        } else if (value.isString()) {
            writeString(out, value.toString());
        } else if (value == Json()) {
            out += "null";
        } else if (value == Json(true) || value == Json(false)) {
            out += value.toBool() ? "true" : "false";
        } else {
            writeNumber(out, value.toDouble());
        }
    }

    std::string out;

private:
    void writeObject(const Json::Object& members, int depth) {
        out += '{';
        bool isFirst = true;
        for (const auto& [key, member] : members) {
            beginItem(isFirst, depth);
            writeString(out, key);
            out += step < 0 ? ":" : ": ";
            write(member, depth + 1);
        }
        end(isFirst, depth, '}');
    }

    void writeArray(const Json::Array& items, int depth) {
        out += '[';
        bool isFirst = true;
        for (const Json& item : items) {
            beginItem(isFirst, depth);
            write(item, depth + 1);
        }
        end(isFirst, depth, ']');
    }

    void beginItem(bool& isFirst, int depth) {
        if (!isFirst) {
            out += ',';
        }
        isFirst = false;
        newLine(depth + 1);
    }

    void end(bool isEmpty, int depth, char bracket) {
        if (!isEmpty) {
            newLine(depth);
        }
        out += bracket;
    }

    void newLine(int depth) {
        if (step >= 0) {
            out += '\n';
            out.append(static_cast<std::size_t>(step) * static_cast<std::size_t>(depth), ' ');
        }
    }

    int step;
};

} // namespace

Json::Json() = default;
Json::Json(bool value) : data(value) {}
Json::Json(int value) : data(static_cast<double>(value)) {}
Json::Json(double value) : data(value) {}
Json::Json(const char* value) : data(std::string(value)) {}
Json::Json(std::string value) : data(std::move(value)) {}
Json::Json(Array value) : data(std::move(value)) {}
Json::Json(Object value) : data(std::move(value)) {}
Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(const Json& other) = default;
Json& Json::operator=(Json&& other) noexcept = default;
Json::~Json() = default;

JsonObject::JsonObject(std::initializer_list<std::pair<const std::string, Json>> members) : Json(Object(members)) {}
JsonArray::JsonArray(std::initializer_list<Json> items) : Json(Array(items)) {}

bool Json::toBool(bool otherwise) const {
    const bool* const value = std::get_if<bool>(&data);
    return value != nullptr ? *value : otherwise;
}

double Json::toDouble(double otherwise) const {
    const double* const value = std::get_if<double>(&data);
    return value != nullptr ? *value : otherwise;
}

int Json::toInt(int otherwise) const {
    constexpr double least = std::numeric_limits<int>::min();
    constexpr double most = std::numeric_limits<int>::max();
    const double* const value = std::get_if<double>(&data);
    const bool fits = value != nullptr && *value >= least && *value <= most && std::trunc(*value) == *value;
    return fits ? static_cast<int>(*value) : otherwise;
}

const std::string& Json::toString() const {
    static const std::string empty;
    const auto* const value = std::get_if<std::string>(&data);
    return value != nullptr ? *value : empty;
}

const Json::Array& Json::toArray() const {
    static const Array empty;
    const auto* const value = std::get_if<Array>(&data);
    return value != nullptr ? *value : empty;
}

const Json::Object& Json::toObject() const {
    static const Object empty;
    const auto* const value = std::get_if<Object>(&data);
    return value != nullptr ? *value : empty;
}

const Json& Json::operator[](std::string_view key) const {
    const Object& members = toObject();
    const auto found = members.find(key);
    return found == members.end() ? none : found->second;
}

Json& Json::operator[](std::string_view key) {
    if (!isObject()) {
        data = Object();
    }
    return std::get<Object>(data)[std::string(key)];
}

const Json& Json::at(std::size_t index) const {
    const Array& items = toArray();
    return index < items.size() ? items[index] : none;
}

bool Json::contains(std::string_view key) const {
    return toObject().contains(key);
}

void Json::remove(std::string_view key) {
    if (auto* const members = std::get_if<Object>(&data)) {
        if (const auto found = members->find(key); found != members->end()) {
            members->erase(found);
        }
    }
}

void Json::append(Json item) {
    if (!isArray()) {
        data = Array();
    }
    std::get<Array>(data).push_back(std::move(item));
}

bool Json::operator==(const Json& other) const {
    return data == other.data;
}

std::string Json::compact() const {
    Writer writer(-1);
    writer.write(*this, 0);
    return writer.out;
}

std::string Json::indented() const {
    Writer writer(4);
    writer.write(*this, 0);
    return writer.out + "\n";
}

std::size_t Json::size() const {
    std::size_t count = 1;
    for (const Json& item : toArray()) {
        count += item.size();
    }
    for (const auto& [key, member] : toObject()) {
        count += member.size();
    }
    return count;
}

std::optional<Json> Json::parse(std::string_view text, std::size_t* where) {
    Parser parser(text);
    Json value;
    if (parser.parseAll(value)) {
        return value;
    }
    if (where != nullptr) {
        *where = parser.place();
    }
    return std::nullopt;
}
