// What a profile file says, read the plainest way: line by line, each question from the beginning. The library's reader
// is compared with it.
#ifndef TESTS_REFERENCE_LITERALPROFILE_H
#define TESTS_REFERENCE_LITERALPROFILE_H

#include <cwctype>
#include <optional>
#include <string>
#include <vector>

class LiteralProfile {
public:
    explicit LiteralProfile(const std::wstring& text) {
        std::wstring line;
        for (const wchar_t c : text) {
            if (c == L'\n' || c == L'\r') {
                lines.push_back(line);
                line.clear();
            } else {
                line += c;
            }
        }
        lines.push_back(line);
    }

    // The value of the first such key in the first such section.
    std::optional<std::wstring> read(const std::wstring& section, const std::wstring& key) const {
        bool inside = false;
        for (const std::wstring& whole : lines) {
            const std::wstring line = withoutBlanks(whole);
            if (line.empty() || line[0] == L';') {
                continue;
            }
            if (line[0] == L'[') {
                const std::size_t close = line.find(L']');
                if (close == std::wstring::npos) {
                    continue;
                }
                if (inside) {
                    return std::nullopt;
                }
                inside = same(withoutBlanks(line.substr(1, close - 1)), section);
                continue;
            }
            const std::size_t equals = line.find(L'=');
            if (inside && equals != std::wstring::npos && same(withoutBlanks(line.substr(0, equals)), key)) {
                return withoutQuotes(withoutBlanks(line.substr(equals + 1)));
            }
        }
        return std::nullopt;
    }

private:
    static std::wstring withoutBlanks(std::wstring text) {
        while (!text.empty() && (text.front() == L' ' || text.front() == L'\t')) {
            text.erase(0, 1);
        }
        while (!text.empty() && (text.back() == L' ' || text.back() == L'\t')) {
            text.pop_back();
        }
        return text;
    }
    static std::wstring withoutQuotes(const std::wstring& text) {
        const bool quoted =
            text.size() >= 2 && (text.front() == L'"' || text.front() == L'\'') && text.front() == text.back();
        return quoted ? text.substr(1, text.size() - 2) : text;
    }
    static bool same(std::wstring a, std::wstring b) {
        for (std::wstring* const text : {&a, &b}) {
            for (wchar_t& c : *text) {
                c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
            }
        }
        return a == b;
    }

    std::vector<std::wstring> lines;
};

#endif
