#include "kivrender/settings/kivproperty.h"

#include "kivrender/platform/kivtext.h"

#include <charconv>
#include <cstring>
#include <type_traits>
#include <utility>

namespace {

// Every number is held in 8 bytes, zero behind the value, whatever its type: a positional reader may ask a cell for a
// wider type than it holds, and then reads zeros and not what lies behind the object.
constexpr std::size_t numberSize = sizeof(std::uint64_t);

std::uint64_t patternOf(const void* value) {
    std::uint64_t pattern = 0;
    if (value != nullptr) {
        std::memcpy(&pattern, value, numberSize);
    }
    return pattern;
}

// As "%f" in the C locale, whatever locale the host has set.
void printNumber(std::FILE* file, const char* name, double number) {
    char text[512]; // the largest double has 309 digits before the point
    const auto end = std::to_chars(text, text + sizeof text - 1, number, std::chars_format::fixed, 6);
    *end.ptr = '\0';
    std::fprintf(file, "%s: %s\n", name, text);
}

template <class T> T read(const KivProperty& cell) {
    T out{};
    cell.getValue(out);
    return out;
}

} // namespace

KivProperty::KivProperty(const KivProperty& other) {
    set(other);
}

KivProperty::KivProperty(KivProperty&& other) noexcept
    : value(std::exchange(other.value, nullptr)), type(std::exchange(other.type, Void)) {}

KivProperty::~KivProperty() {
    clear();
}

void KivProperty::operator=(const KivProperty& other) {
    if (this != &other) {
        clear();
        set(other);
    }
}

void KivProperty::set(const KivProperty& other) {
    switch (other.type) {
    case Int:
        return setValue(read<int>(other));
    case Float:
        return setValue(read<float>(other));
    case Double:
        return setValue(read<double>(other));
    case Bool:
        return setValue(read<bool>(other));
    case Char:
        return setValue(read<char>(other));
    case String:
        return setValue(read<std::wstring>(other));
    case UnsignedShort:
        return setValue(read<unsigned short>(other));
    case UnsignedLong:
        return setValue(read<std::uint32_t>(other));
    case Void:
        break;
    }
    clear();
}

void KivProperty::clear() {
    if (type == String) {
        delete static_cast<std::wstring*>(value);
    } else {
        delete static_cast<std::uint64_t*>(value);
    }
    value = nullptr;
    type = Void;
}

KivProperty::propertyType KivProperty::getType() const {
    return type;
}

template <class T> void KivProperty::setValue(const T& newValue) {
    if constexpr (std::is_same_v<T, std::wstring>) {
        auto* held = new std::wstring(newValue);
        clear();
        value = held;
    } else {
        auto* held = new std::uint64_t(0);
        std::memcpy(held, &newValue, sizeof newValue);
        clear();
        value = held;
    }
    type = typeOf(newValue);
}

template <class T> void KivProperty::getValue(T& out) const {
    if constexpr (std::is_same_v<T, std::wstring>) {
        out = type == String ? *static_cast<const std::wstring*>(value) : std::wstring();
    } else {
        const std::uint64_t pattern = type == String ? 0 : patternOf(value);
        if constexpr (std::is_same_v<T, bool>) {
            out = (pattern & 0xFF) != 0; // any other byte than 0 and 1 is not a bool and must not become one
        } else {
            std::memcpy(&out, &pattern, sizeof out);
        }
    }
}

// NOLINTBEGIN(bugprone-macro-parentheses): a type takes none
#define KIV_PROPERTY_TYPE(T)                                                                                           \
    template KIV_API void KivProperty::setValue<T>(const T&);                                                          \
    template KIV_API void KivProperty::getValue<T>(T&) const;
KIV_PROPERTY_TYPE(int)
KIV_PROPERTY_TYPE(float)
KIV_PROPERTY_TYPE(double)
KIV_PROPERTY_TYPE(bool)
KIV_PROPERTY_TYPE(char)
KIV_PROPERTY_TYPE(std::wstring)
KIV_PROPERTY_TYPE(unsigned short)
KIV_PROPERTY_TYPE(std::uint32_t)
#undef KIV_PROPERTY_TYPE
// NOLINTEND(bugprone-macro-parentheses)

void KivProperty::report(std::FILE* file) const {
    if (file == nullptr) {
        return;
    }
    switch (type) {
    case Void:
        std::fputs("Void\n", file);
        break;
    case Int:
        std::fprintf(file, "Int: %d\n", read<int>(*this));
        break;
    case Float:
        printNumber(file, "Float", static_cast<double>(read<float>(*this)));
        break;
    case Double:
        printNumber(file, "Double", read<double>(*this));
        break;
    case Bool:
        std::fprintf(file, "Bool: %s\n", read<bool>(*this) ? "true" : "false");
        break;
    case Char:
        std::fprintf(file, "Char: %c\n", read<char>(*this));
        break;
    case String:
        // Not %ls: it stops at the first character that the process's locale can't express.
        std::fprintf(file, "String: %s\n", kivToUtf8(read<std::wstring>(*this)).c_str());
        break;
    case UnsignedShort:
        // The format ends each of the last two numbers with a letter.
        std::fprintf(file, "UnsignedShort: %uh\n", static_cast<unsigned int>(read<unsigned short>(*this)));
        break;
    case UnsignedLong:
        std::fprintf(file, "UnsignedLong: %ul\n", static_cast<unsigned int>(read<std::uint32_t>(*this)));
        break;
    }
}

bool KivProperty::differs(const KivProperty& a, const KivProperty& b) {
    if (a.type != b.type) {
        return true;
    }
    switch (a.type) {
    case Void:
        return false;
    case Int:
    case UnsignedLong:
        return read<std::uint32_t>(a) != read<std::uint32_t>(b);
    // Plain inequality: a NaN differs from itself, and the two zeros are equal.
    case Float:
        return read<float>(a) != read<float>(b);
    case Double:
        return read<double>(a) != read<double>(b);
    case Bool:
    case Char:
        return read<char>(a) != read<char>(b);
    case UnsignedShort:
        return read<unsigned short>(a) != read<unsigned short>(b);
    case String:
        return read<std::wstring>(a) != read<std::wstring>(b);
    }
    return true;
}

KivProperty::propertyType KivProperty::typeOf(const int&) {
    return Int;
}

KivProperty::propertyType KivProperty::typeOf(const float&) {
    return Float;
}

KivProperty::propertyType KivProperty::typeOf(const double&) {
    return Double;
}

KivProperty::propertyType KivProperty::typeOf(const bool&) {
    return Bool;
}

KivProperty::propertyType KivProperty::typeOf(const char&) {
    return Char;
}

KivProperty::propertyType KivProperty::typeOf(const std::wstring&) {
    return String;
}

KivProperty::propertyType KivProperty::typeOf(const unsigned short&) {
    return UnsignedShort;
}

KivProperty::propertyType KivProperty::typeOf(const std::uint32_t&) {
    return UnsignedLong;
}
