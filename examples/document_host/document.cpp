#include "document.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

const char* const firstLine = "Selvarin example document 1";
constexpr int mostCells = 100000;
constexpr int mostObjects = 1000;

// Texts may hold any character: those beyond the printable ones of ASCII are written as numbers.
std::string escaped(const std::wstring& text) {
    std::string result;
    for (const wchar_t c : text) {
        if (c > L' ' && c < 127 && c != L'%') {
            result += static_cast<char>(c);
        } else {
            char number[16];
            std::snprintf(number, sizeof number, "%%%x;", static_cast<unsigned int>(c));
            result += number;
        }
    }
    return result;
}

bool unescape(const std::string& text, std::wstring& out) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += static_cast<wchar_t>(static_cast<unsigned char>(text[i]));
            continue;
        }
        char* end = nullptr;
        const unsigned long number = std::strtoul(text.c_str() + i + 1, &end, 16);
        if (*end != ';' || number == 0 || number > 0x10FFFF) {
            return false;
        }
        out += static_cast<wchar_t>(number);
        i = static_cast<std::size_t>(end - text.c_str());
    }
    return true;
}

template <class T> T valueOf(const KivProperty& cell) {
    T value{};
    cell.getValue(value);
    return value;
}

// Floating point in hexadecimal, so that no digit is lost.
std::string written(const KivProperty& cell) {
    char text[64];
    switch (cell.getType()) {
    case KivProperty::Int:
        return "int " + std::to_string(valueOf<int>(cell));
    case KivProperty::Float:
        std::snprintf(text, sizeof text, "float %a", static_cast<double>(valueOf<float>(cell)));
        return text;
    case KivProperty::Double:
        std::snprintf(text, sizeof text, "double %a", valueOf<double>(cell));
        return text;
    case KivProperty::Bool:
        return valueOf<bool>(cell) ? "bool 1" : "bool 0";
    case KivProperty::Char:
        return "char " + std::to_string(static_cast<int>(valueOf<char>(cell)));
    case KivProperty::String:
        return "text " + escaped(valueOf<std::wstring>(cell));
    case KivProperty::UnsignedShort:
        return "short " + std::to_string(valueOf<unsigned short>(cell));
    case KivProperty::UnsignedLong:
        return "colour " + std::to_string(valueOf<std::uint32_t>(cell));
    case KivProperty::Void:
        break;
    }
    return "nothing";
}

bool readCell(const std::string& line, KivProperty& cell) {
    const std::size_t blank = line.find(' ');
    const std::string type = line.substr(0, blank);
    const std::string value = blank == std::string::npos ? "" : line.substr(blank + 1);
    if (type == "text") {
        std::wstring text;
        if (!unescape(value, text)) {
            return false;
        }
        cell.setValue(text);
        return true;
    }
    if (type == "nothing") {
        return true;
    }
    char* end = nullptr;
    const double number = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0' || number < -2147483648.0 * (type == "double" ? 1e300 : 1.0)) {
        return false;
    }
    const bool isWhole = number >= -2147483648.0 && number <= 4294967295.0;
    if (type == "float") {
        cell.setValue(static_cast<float>(number));
    } else if (type == "double") {
        cell.setValue(number);
    } else if (!isWhole) {
        return false;
    } else if (type == "int" && number <= 2147483647.0) {
        cell.setValue(static_cast<int>(number));
    } else if (type == "bool") {
        cell.setValue(number != 0.0);
    } else if (type == "char" && number >= -128.0 && number <= 127.0) {
        cell.setValue(static_cast<char>(number));
    } else if (type == "short" && number >= 0.0 && number <= 65535.0) {
        cell.setValue(static_cast<unsigned short>(number));
    } else if (type == "colour" && number >= 0.0) {
        cell.setValue(static_cast<std::uint32_t>(number));
    } else {
        return false;
    }
    return true;
}

class Reader {
public:
    explicit Reader(const std::string& path) : name(path), stream(path) {}

    Document read() {
        if (!stream) {
            throw std::runtime_error("can't open \"" + name + "\"");
        }
        if (nextLine() != firstLine) {
            fail("this is no document of the example");
        }
        Document document;
        for (std::string line; std::getline(stream, line);) {
            ++number;
            std::istringstream words(line);
            std::string what;
            int object = -1;
            int count = -1;
            words >> what;
            if (what == "object") {
                words >> object;
            }
            if (!(words >> count) || count < 0 || count > mostCells || (what != "picture" && what != "object") ||
                object >= mostObjects || (what == "object" && object < 0)) {
                fail("a stream is expected");
            }
            (what == "object" ? document.objects[object] : document.picture) = readCells(count);
        }
        return document;
    }

private:
    std::string nextLine() {
        std::string line;
        ++number;
        if (!std::getline(stream, line)) {
            fail("it ends too early");
        }
        return line;
    }
    Cells readCells(int count) {
        Cells cells;
        for (int i = 0; i < count; ++i) {
            KivProperty cell;
            if (!readCell(nextLine(), cell)) {
                fail("a value is expected");
            }
            cells.push_back(cell);
        }
        return cells;
    }
    [[noreturn]] void fail(const std::string& why) const {
        throw std::runtime_error("\"" + name + "\", line " + std::to_string(number) + ": " + why);
    }

    std::string name;
    std::ifstream stream;
    int number = 0;
};

void writeCells(std::ofstream& stream, const std::string& head, const Cells& cells) {
    stream << head << ' ' << cells.size() << '\n';
    for (const KivProperty& cell : cells) {
        stream << written(cell) << '\n';
    }
}

} // namespace

Document readDocument(const std::string& path) {
    return Reader(path).read();
}

void writeDocument(const Document& document, const std::string& path) {
    // Under another name first: whoever reads meanwhile, or after a crash, has the old document or the new one.
    const std::string work = path + ".new";
    {
        std::ofstream stream(work);
        stream << firstLine << '\n';
        writeCells(stream, "picture", document.picture);
        for (const auto& [object, cells] : document.objects) {
            writeCells(stream, "object " + std::to_string(object), cells);
        }
        stream.close();
        if (!stream) {
            std::remove(work.c_str());
            throw std::runtime_error("can't write \"" + path + "\"");
        }
    }
    if (std::rename(work.c_str(), path.c_str()) != 0) {
        std::remove(work.c_str());
        throw std::runtime_error("can't write \"" + path + "\"");
    }
}
