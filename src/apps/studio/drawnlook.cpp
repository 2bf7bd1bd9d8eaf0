#include "apps/studio/drawnlook.h"

#include "kivrender/shader/kivshader.h"

#include <string>
#include <string_view>
#include <utility>

namespace {

using Cells = std::vector<KivProperty>;

constexpr const wchar_t* backdropTag = L"Backdrop";
constexpr const wchar_t* outlineTag = L"Outline";
constexpr const wchar_t* sketchTag = L"Sketch";
// The line of a stream that names the looks on top, by their tags, each followed by a semicolon.
constexpr std::size_t addedLine = 2;

std::wstring textOf(const KivProperty& cell) {
    std::wstring text;
    if (cell.getType() == KivProperty::String) {
        cell.getValue(text);
    }
    return text;
}

// Where a tag stands in the line of the added looks; npos for nowhere.
std::size_t placeOf(const std::wstring& line, const std::wstring& tag) {
    for (const wchar_t before : {L':', L';'}) {
        const std::size_t found = line.find(before + tag + L';');
        if (found != std::wstring::npos) {
            return found + 1;
        }
    }
    return std::wstring::npos;
}

std::wstring addedLooks(const Cells& cells) {
    return cells.size() > addedLine ? textOf(cells[addedLine]) : std::wstring();
}

// The first colour of a shader's block, which is that of its sheet or its lines; null without one. A block begins with
// the tag and goes on to the next text after the name of its section.
const KivProperty* mainColour(const Cells& cells, const std::wstring& tag) {
    for (std::size_t i = addedLine + 1; i + 1 < cells.size(); ++i) {
        if (textOf(cells[i]) != tag) {
            continue;
        }
        for (i += 2; i < cells.size() && cells[i].getType() != KivProperty::String; ++i) {
            if (cells[i].getType() == KivProperty::UnsignedLong) {
                return &cells[i];
            }
        }
        return nullptr;
    }
    return nullptr;
}

// Appends the next cell of the stream's document.
bool copyCell(KivMemoryDataManager& stream, const KivProperty& cell) {
    switch (cell.getType()) {
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

// The cells with another line of added looks; otherwise, if they can't be copied.
StudioLook withAdded(Cells cells, const std::wstring& added, const StudioLook& otherwise) {
    cells[addedLine].setValue(added);
    KivMemoryDataManager stream;
    stream.setDocument(cells);
    stream.setSaving();
    for (const KivProperty& cell : cells) {
        if (!copyCell(stream, cell)) {
            return otherwise;
        }
    }
    return stream;
}

} // namespace

std::optional<std::uint32_t> sheetColour(const StudioLook& look) {
    const Cells& cells = look.getCells();
    const KivProperty* const colour =
        placeOf(addedLooks(cells), backdropTag) != std::wstring::npos ? mainColour(cells, backdropTag) : nullptr;
    if (colour == nullptr) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    colour->getValue(value);
    return value;
}

StudioLook quickLook(const StudioLook& look) {
    Cells cells = look.getCells();
    std::wstring added = addedLooks(cells);
    const std::size_t strokes = placeOf(added, sketchTag);
    if (strokes == std::wstring::npos || KivShader::getByTag(outlineTag) == nullptr) {
        return look;
    }
    if (placeOf(added, outlineTag) == std::wstring::npos) {
        added.replace(strokes, std::wstring_view(sketchTag).size(), outlineTag);
        const KivProperty* const ofStrokes = mainColour(cells, sketchTag);
        const KivProperty* const ofLines = mainColour(cells, outlineTag);
        if (ofStrokes != nullptr && ofLines != nullptr) {
            cells[static_cast<std::size_t>(ofLines - cells.data())].set(*ofStrokes);
        }
    } else {
        added.erase(strokes, std::wstring_view(sketchTag).size() + 1);
    }
    return withAdded(std::move(cells), added, look);
}

StudioLook bareLook(const StudioLook& look) {
    Cells cells = look.getCells();
    std::wstring added = addedLooks(cells);
    const std::size_t sheet = placeOf(added, backdropTag);
    if (sheet == std::wstring::npos) {
        return look;
    }
    added.erase(sheet, std::wstring_view(backdropTag).size() + 1);
    return withAdded(std::move(cells), added, look);
}
