#include "kivrender/settings/kivstreamhead.h"

#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivmemorydatamanager.h"

#include <algorithm>
#include <cwchar>

namespace {

std::wstring textOf(const wchar_t* line, const wchar_t* header) {
    const wchar_t* const text = kivBehindHeader(line, header);
    return text != nullptr ? text : L"";
}

// Moves the next cell of the stream's document to its end.
bool takeNext(KivMemoryDataManager& stream, KivProperty::propertyType type) {
    switch (type) {
    case KivProperty::Int:
        return stream.loadIntFromFile(nullptr);
    case KivProperty::Float:
        return stream.loadFloatFromFile(nullptr);
    case KivProperty::Double:
        return stream.loadDoubleFromFile(nullptr);
    case KivProperty::Bool:
        return stream.loadBoolFromFile(nullptr);
    case KivProperty::Char:
        return stream.loadCharFromFile(nullptr);
    case KivProperty::String:
        return stream.loadStringFromFile(nullptr);
    case KivProperty::UnsignedShort:
        return stream.loadUnsignedShortFromFile(nullptr);
    case KivProperty::UnsignedLong:
        return stream.loadUnsignedLongFromFile(nullptr);
    case KivProperty::Void:
        break;
    }
    return false;
}

} // namespace

bool KivStreamHead::has(std::wstring_view combinable) const {
    return std::find(combinables.begin(), combinables.end(), combinable) != combinables.end();
}

void KivStreamHead::add(std::wstring_view combinable) {
    if (!has(combinable)) {
        combinables.emplace_back(combinable);
    }
}

bool KivStreamHead::remove(std::wstring_view combinable) {
    return std::erase(combinables, combinable) != 0;
}

std::wstring kivJoinTags(const std::vector<std::wstring>& tags) {
    std::wstring list;
    for (const std::wstring& tag : tags) {
        if (!tag.empty()) {
            list += tag + L";";
        }
    }
    return list;
}

std::vector<std::wstring> kivSplitTags(std::wstring_view list) {
    std::vector<std::wstring> tags;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(L';'), list.size());
        if (end != 0) {
            tags.emplace_back(list.substr(0, end));
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return tags;
}

const wchar_t* kivBehindHeader(const wchar_t* line, const wchar_t* header) {
    const std::size_t length = std::wcslen(header);
    return std::wcsncmp(line, header, length) == 0 ? line + length : nullptr;
}

bool kivWriteStreamLine(KivDataManager& stream, std::wstring_view line) {
    if (!stream.saveString(std::wstring(line).c_str())) {
        return false;
    }
    stream.saveCurrentVaried(false);
    return true;
}

bool kivWriteStreamHead(KivDataManager& stream, const KivStreamHead& head) {
    return kivWriteStreamLine(stream, kivStyleHeader + head.style) &&
           kivWriteStreamLine(stream, kivNonCombinableHeader + head.nonCombinable) &&
           kivWriteStreamLine(stream, kivCombinableHeader + kivJoinTags(head.combinables));
}

bool kivWriteStreamEnd(KivDataManager& stream) {
    return kivWriteStreamLine(stream, kivStreamEnd);
}

KivStreamHead kivReadStreamHead(KivDataManager& stream) {
    KivStreamHead head;
    wchar_t line[kivMaxPath] = {};
    stream.loadString(line);
    head.style = textOf(line, kivStyleHeader);
    stream.loadString(line);
    head.nonCombinable = textOf(line, kivNonCombinableHeader);
    stream.loadString(line);
    head.combinables = kivSplitTags(textOf(line, kivCombinableHeader));
    return head;
}

KivMemoryDataManager kivWithStreamHead(const std::vector<KivProperty>& cells, const KivStreamHead& head) {
    KivMemoryDataManager stream;
    stream.setSaving();
    kivWriteStreamHead(stream, head);
    const auto blocks = cells.begin() + static_cast<std::ptrdiff_t>(std::min(cells.size(), kivStreamHeadCells));
    stream.setDocument({blocks, cells.end()});
    for (auto cell = blocks; cell != cells.end() && takeNext(stream, cell->getType()); ++cell) {
    }
    stream.setDocument({});
    return stream;
}
