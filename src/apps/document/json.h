// A JSON value (RFC 8259): what documents are made of in memory and as text.
#ifndef APPS_DOCUMENT_JSON_H
#define APPS_DOCUMENT_JSON_H

#include <cstddef>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// Texts are UTF-8. Reading a value as something that it is not gives the default, so that a document whose parts have
// the wrong kind reads like one without them. Keys are kept in the order of their bytes: equal values are equal text.
class Json {
public:
    using Array = std::vector<Json>;
    using Object = std::map<std::string, Json, std::less<>>;

    // NOLINTBEGIN(google-explicit-constructor): each of these is a JSON value
    Json(); // null
    Json(bool value);
    Json(int value);
    Json(double value); // finite: JSON has no form for others
    Json(const char* value);
    Json(std::string value);
    Json(Array value);
    Json(Object value);
    // NOLINTEND(google-explicit-constructor)
    Json(const Json& other);
    Json(Json&& other) noexcept;
    Json& operator=(const Json& other);
    Json& operator=(Json&& other) noexcept;
    ~Json();

    bool isString() const {
        return std::holds_alternative<std::string>(data);
    }
    bool isArray() const {
        return std::holds_alternative<Array>(data);
    }
    bool isObject() const {
        return std::holds_alternative<Object>(data);
    }

    bool toBool(bool otherwise = false) const;
    double toDouble(double otherwise = 0.0) const;
    int toInt(int otherwise = 0) const; // of a whole number that an int can hold
    const std::string& toString() const;
    const Array& toArray() const;
    const Object& toObject() const;

    // A member of an object; null where there is none.
    const Json& operator[](std::string_view key) const;
    // The same to be written: what is not an object becomes one.
    Json& operator[](std::string_view key);
    // An item of an array; null where there is none.
    const Json& at(std::size_t index) const;

    bool contains(std::string_view key) const;
    void remove(std::string_view key);
    void append(Json item); // what is not an array becomes one

    bool operator==(const Json& other) const;

    // As text: in one line, or with a line for each item, indented by four blanks.
    std::string compact() const;
    std::string indented() const;

    // How many values it is of, itself included.
    std::size_t size() const;

    // Far more than any document of ours has; a text of more values, or with deeper nesting, is not read.
    static constexpr std::size_t mostValues = 8'000'000;
    static constexpr int deepest = 500;

    // The value that a whole text is. Nothing for what is no JSON, with the place in bytes in *where.
    static std::optional<Json> parse(std::string_view text, std::size_t* where = nullptr);

private:
    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> data;
};

// For values that are written down in the source.
struct JsonObject : Json {
    JsonObject(std::initializer_list<std::pair<const std::string, Json>> members);
};
struct JsonArray : Json {
    JsonArray(std::initializer_list<Json> items);
};

#endif
