#include "kivrender/platform/kivprofile.h"

#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <utility>

namespace {

// The outermost of this thread.
thread_local KivProfilesReadOnce* readOnce = nullptr;

constexpr std::string_view utf8Bom = "\xEF\xBB\xBF";
constexpr std::string_view utf16Bom = "\xFF\xFE";
constexpr std::wstring_view lineEnd = L"\r\n";

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t' || c == L'\v' || c == L'\f';
}

std::wstring_view trim(std::wstring_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::wstring_view unquote(std::wstring_view value) {
    if (value.size() >= 2 && value.front() == value.back() && (value.front() == L'"' || value.front() == L'\'')) {
        value.remove_prefix(1);
        value.remove_suffix(1);
    }
    return value;
}

// One line of a text, by position: its characters end at end, its line break at next.
struct Line {
    enum Kind { Other, Section, Key };

    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t next = 0;
    Kind kind = Other;
    std::wstring_view name;
    std::wstring_view value;
};

void classify(std::wstring_view text, Line& line) {
    const std::wstring_view content = trim(text.substr(line.begin, line.end - line.begin));
    if (content.empty() || content.front() == L';') {
        return;
    }
    if (content.front() == L'[') {
        const std::size_t close = content.find(L']');
        if (close != std::wstring_view::npos) {
            line.kind = Line::Section;
            line.name = trim(content.substr(1, close - 1));
        }
        return;
    }
    const std::size_t equals = content.find(L'=');
    if (equals != std::wstring_view::npos) {
        line.kind = Line::Key;
        line.name = trim(content.substr(0, equals));
        line.value = unquote(trim(content.substr(equals + 1)));
    }
}

// Takes the line at position begin, which is below the text's end.
Line lineAt(std::wstring_view text, std::size_t begin) {
    Line line;
    line.begin = begin;
    line.end = std::min(text.find_first_of(lineEnd, begin), text.size());
    line.next = line.end;
    if (line.next < text.size()) {
        line.next += text.substr(line.end, 2) == lineEnd ? 2 : 1;
    }
    classify(text, line);
    return line;
}

// The lines of a section without its head: from begin to end. found says whether it is there.
struct Section {
    bool found = false;
    std::size_t begin = 0;
    std::size_t end = 0;
};

Section findSection(std::wstring_view text, std::wstring_view name) {
    Section section;
    name = trim(name);
    for (std::size_t at = 0; at < text.size();) {
        const Line line = lineAt(text, at);
        at = line.next;
        if (line.kind != Line::Section) {
            continue;
        }
        if (section.found) {
            section.end = line.begin;
            return section;
        }
        if (kivEqualNoCase(line.name, name)) {
            section = {true, line.next, text.size()};
        }
    }
    return section;
}

std::optional<Line> findKey(std::wstring_view text, const Section& section, std::wstring_view key) {
    key = trim(key);
    for (std::size_t at = section.begin; section.found && at < section.end;) {
        Line line = lineAt(text, at);
        if (line.kind == Line::Key && kivEqualNoCase(line.name, key)) {
            return line;
        }
        at = line.next;
    }
    return std::nullopt;
}

bool hasBreak(std::wstring_view text) {
    // A zero would end the text for whoever reads it through a buffer.
    return text.find_first_of(std::wstring_view(L"\r\n\0", 3)) != std::wstring_view::npos;
}

bool isGoodSection(std::wstring_view name) {
    return !hasBreak(name) && name.find(L']') == std::wstring_view::npos;
}

bool isGoodKey(std::wstring_view name) {
    name = trim(name);
    return !name.empty() && !hasBreak(name) && name.find(L'=') == std::wstring_view::npos && name.front() != L';' &&
           name.front() != L'[';
}

// Names in the order in which they come, each once.
class Names {
public:
    void add(std::wstring_view name) {
        if (known.emplace(name).second) {
            list.emplace_back(name);
        }
    }
    std::vector<std::wstring> take() {
        return std::move(list);
    }

private:
    struct Less {
        bool operator()(const std::wstring& a, const std::wstring& b) const {
            return kivCompareNoCase(a.c_str(), b.c_str()) < 0;
        }
    };

    std::set<std::wstring, Less> known;
    std::vector<std::wstring> list;
};

// Pairs of surrogates become one character; a surrogate without its other half stays as it is and is written back as
// such.
std::wstring decodeUtf16(std::string_view bytes) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const auto unit = [&](std::size_t i) { return static_cast<std::uint32_t>(byte(i) | byte(i + 1) << 8); };
    std::wstring wide;
    wide.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::uint32_t c = unit(i);
        if (c >= 0xD800 && c < 0xDC00 && i + 3 < bytes.size()) {
            const std::uint32_t low = unit(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        wide.push_back(static_cast<wchar_t>(c));
    }
    return wide;
}

std::string encodeUtf16(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    const auto put = [&](std::uint32_t unit) {
        bytes.push_back(static_cast<char>(unit & 0xFF));
        bytes.push_back(static_cast<char>(unit >> 8));
    };
    for (const wchar_t w : text) {
        const std::uint32_t c = std::char_traits<wchar_t>::to_int_type(w);
        if (c < 0x10000) {
            put(c);
        } else if (c <= 0x10FFFF) {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            put(0xFFFD);
        }
    }
    return bytes;
}

} // namespace

KivProfile::KivProfile(std::string_view bytes)
    : utf16(bytes.starts_with(utf16Bom)), utf8Mark(bytes.starts_with(utf8Bom)) {
    if (utf16) {
        text = decodeUtf16(bytes.substr(utf16Bom.size()));
    } else {
        text = kivFromUtf8(bytes.substr(utf8Mark ? utf8Bom.size() : 0));
    }
}

std::string KivProfile::bytes() const {
    if (utf16) {
        return std::string(utf16Bom) + encodeUtf16(text);
    }
    return (utf8Mark ? std::string(utf8Bom) : std::string()) + kivToUtf8(text);
}

bool KivProfile::hasSection(std::wstring_view section) const {
    return findSection(text, section).found;
}

std::optional<std::wstring> KivProfile::read(std::wstring_view section, std::wstring_view key) const {
    const auto line = findKey(text, findSection(text, section), key);
    return line ? std::optional<std::wstring>(line->value) : std::nullopt;
}

std::vector<std::wstring> KivProfile::sections() const {
    Names names;
    for (std::size_t at = 0; at < text.size();) {
        const Line line = lineAt(text, at);
        if (line.kind == Line::Section) {
            names.add(line.name);
        }
        at = line.next;
    }
    return names.take();
}

std::vector<std::wstring> KivProfile::keys(std::wstring_view section) const {
    Names names;
    const Section range = findSection(text, section);
    for (std::size_t at = range.begin; range.found && at < range.end;) {
        const Line line = lineAt(text, at);
        if (line.kind == Line::Key) {
            names.add(line.name);
        }
        at = line.next;
    }
    return names.take();
}

bool KivProfile::addSection(std::wstring_view section) {
    if (!isGoodSection(section)) {
        return false;
    }
    if (findSection(text, section).found) {
        return true;
    }
    if (!text.empty() && text.back() != L'\n' && text.back() != L'\r') {
        text += lineEnd;
    }
    text += L'[';
    text += trim(section);
    text += L']';
    text += lineEnd;
    return true;
}

bool KivProfile::write(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
    if (!isGoodKey(key) || hasBreak(value) || !addSection(section)) {
        return false;
    }
    const std::wstring entry = std::wstring(trim(value)) + std::wstring(lineEnd);
    const Section range = findSection(text, section);
    if (const auto line = findKey(text, range, key)) {
        // The key stays as its writer spelt it.
        const std::size_t valueAt = text.find(L'=', line->begin) + 1;
        text.replace(valueAt, line->next - valueAt, entry);
        return true;
    }
    // Blank lines at the end of a section keep it apart from the next one and stay behind the new key.
    std::size_t at = range.begin;
    for (std::size_t next = range.begin; next < range.end;) {
        const Line line = lineAt(text, next);
        next = line.next;
        if (!trim(std::wstring_view(text).substr(line.begin, line.end - line.begin)).empty()) {
            at = next;
        }
    }
    std::wstring added;
    if (at > 0 && text[at - 1] != L'\n' && text[at - 1] != L'\r') {
        added = lineEnd; // the file's last line had no end
    }
    added += trim(key);
    added += L'=';
    text.insert(at, added + entry);
    return true;
}

bool KivProfile::remove(std::wstring_view section, std::wstring_view key) {
    const auto line = findKey(text, findSection(text, section), key);
    if (!line) {
        return false;
    }
    text.erase(line->begin, line->next - line->begin);
    return true;
}

std::optional<KivProfile> KivProfile::load(const std::wstring& path) {
    return readOnce != nullptr ? readOnce->load(path) : loadAnew(path);
}

std::optional<KivProfile> KivProfile::loadAnew(const std::wstring& path) {
    const auto bytes = kivReadFile(path, maxFileSize);
    return bytes ? std::optional<KivProfile>(KivProfile(*bytes)) : std::nullopt;
}

bool KivProfile::change(const std::wstring& path, const std::function<bool(KivProfile&)>& edit) {
    const bool changed = kivReplaceFile(path, maxFileSize, [&](std::string& bytes) {
        KivProfile profile(bytes);
        if (!edit(profile)) {
            return false;
        }
        bytes = profile.bytes();
        return true;
    });
    if (readOnce != nullptr) {
        readOnce->forget(path);
    }
    return changed;
}

KivProfilesReadOnce::KivProfilesReadOnce() {
    if (readOnce == nullptr) {
        readOnce = this;
    }
}

KivProfilesReadOnce::~KivProfilesReadOnce() {
    if (readOnce == this) {
        readOnce = nullptr;
    }
}

std::optional<KivProfile> KivProfilesReadOnce::load(const std::wstring& path) {
    for (const Read& file : files) {
        if (file.path == path) {
            return file.profile;
        }
    }
    return files.emplace_back(Read{path, KivProfile::loadAnew(path)}).profile;
}

void KivProfilesReadOnce::forget(const std::wstring& path) {
    std::erase_if(files, [&path](const Read& file) { return file.path == path; });
}
