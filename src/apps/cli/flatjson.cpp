#include "apps/cli/flatjson.h"

#include "kivrender/platform/kivtext.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string_view>

namespace {

class Reader {
public:
    explicit Reader(const std::string& line) : text(line) {}

    FlatJson object() {
        FlatJson result;
        take('{');
        skipBlanks();
        if (peek() == '}') {
            ++at;
        } else {
            do {
                skipBlanks();
                const std::string name = string();
                take(':');
                result.emplace_back(name, values());
            } while (takeComma('}'));
        }
        skipBlanks();
        if (at < text.size()) {
            fail("nothing more after the object");
        }
        return result;
    }

private:
    [[noreturn]] void fail(const std::string& expected) const {
        throw std::runtime_error(expected + " is expected at character " + std::to_string(at + 1));
    }

    char peek() const {
        return at < text.size() ? text[at] : '\0';
    }
    void skipBlanks() {
        while (at < text.size() && std::string_view(" \t\r\n").find(text[at]) != std::string_view::npos) {
            ++at;
        }
    }
    void take(char c) {
        skipBlanks();
        if (peek() != c) {
            fail(std::string("\"") + c + "\"");
        }
        ++at;
    }
    // Whether another item follows; otherwise the list is closed.
    bool takeComma(char end) {
        skipBlanks();
        if (peek() == ',') {
            ++at;
            return true;
        }
        take(end);
        return false;
    }

    std::vector<std::string> values() {
        std::vector<std::string> result;
        skipBlanks();
        if (peek() != '[') {
            value(result);
            return result;
        }
        ++at;
        skipBlanks();
        if (peek() == ']') {
            ++at;
            return result;
        }
        do {
            skipBlanks();
            value(result);
        } while (takeComma(']'));
        return result;
    }

    void value(std::vector<std::string>& result) {
        if (peek() == '"') {
            result.push_back(string());
            return;
        }
        const std::size_t start = at;
        while (std::isalnum(static_cast<unsigned char>(peek())) != 0 ||
               (peek() != '\0' && std::string_view("+-.").find(peek()) != std::string_view::npos)) {
            ++at;
        }
        const std::string word = text.substr(start, at - start);
        if (word == "true" || word == "false") {
            result.emplace_back(word == "true" ? "yes" : "no");
        } else if (word != "null") {
            if (word.empty() || (std::isdigit(static_cast<unsigned char>(word[0])) == 0 && word[0] != '-')) {
                at = start;
                fail("a text, a number, true, false, null or a list of these");
            }
            result.push_back(word);
        }
    }

    std::string string() {
        if (peek() != '"') {
            fail("a text in quotes");
        }
        ++at;
        std::string result;
        while (peek() != '"') {
            if (at >= text.size() || static_cast<unsigned char>(text[at]) < ' ') {
                fail("the end of a text");
            }
            if (text[at] == '\\') {
                escape(result);
            } else {
                result += text[at++];
            }
        }
        ++at;
        return result;
    }

    void escape(std::string& result) {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        ++at;
        const std::size_t letter = letters.find(peek());
        if (at < text.size() && letter != std::string_view::npos) {
            result += meanings[letter];
            ++at;
            return;
        }
        if (peek() != 'u') {
            fail("a known character after \"\\\"");
        }
        ++at;
        std::uint32_t code = hexadecimal();
        if (code >= 0xD800 && code < 0xDC00 && text.compare(at, 2, "\\u") == 0) {
            at += 2;
            code = 0x10000 + ((code - 0xD800) << 10) + ((hexadecimal() - 0xDC00) & 0x3FF);
        }
        result += kivToUtf8(std::wstring(1, static_cast<wchar_t>(code)));
    }

    std::uint32_t hexadecimal() {
        std::uint32_t code = 0;
        for (int i = 0; i < 4; ++i, ++at) {
            if (std::isxdigit(static_cast<unsigned char>(peek())) == 0) {
                fail("four hexadecimal digits");
            }
            code = code * 16 + static_cast<std::uint32_t>(std::stoi(std::string(1, text[at]), nullptr, 16));
        }
        return code;
    }

    const std::string& text;
    std::size_t at = 0;
};

} // namespace

FlatJson parseFlatJson(const std::string& line) {
    return Reader(line).object();
}

std::string jsonText(const std::string& text) {
    std::string out = "\"";
    // There and back, what is no UTF-8 has become a character that stands for it.
    for (const char c : kivToUtf8(kivFromUtf8(text))) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            out += code;
        } else {
            out += c;
        }
    }
    return out + "\"";
}
