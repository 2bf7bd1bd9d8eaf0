#include "apps/document/drawnlook.h"

#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshadersettings.h"

#include <algorithm>
#include <string>

namespace {

using Cells = std::vector<KivProperty>;

constexpr const wchar_t* backdropTag = L"Backdrop";
constexpr const wchar_t* outlineTag = L"Outline";
constexpr const wchar_t* sketchTag = L"Sketch";
constexpr const char* highlightKey = "Highlight";
constexpr const char* hatchingKey = "HatchDirection"; // 0 is straight

std::wstring textOf(const KivProperty& cell) {
    std::wstring text;
    if (cell.getType() == KivProperty::String) {
        cell.getValue(text);
    }
    return text;
}

KivStreamHead headOf(const StudioLook& look) {
    KivMemoryDataManager stream(look.stream());
    return stream.setLoading() ? kivReadStreamHead(stream) : KivStreamHead();
}

// The first colour of a shader's block, which is that of its sheet or its lines; null without one. A block begins with
// the tag and goes on to the next text after the name of its section.
const KivProperty* mainColour(const Cells& cells, const std::wstring& tag) {
    for (std::size_t i = kivStreamHeadCells; i + 1 < cells.size(); ++i) {
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

// The place of the cell with that setting of a shader; none where the shader has no such setting.
std::optional<std::size_t> settingCell(const Cells& cells, const std::wstring& tag, const char* key) {
    int count = 0;
    const KivSettingInfo* const table = kivShaderSettings(KivShader::getByTag(tag.c_str()), &count);
    const int index = table != nullptr ? kivFindSetting(table, count, key) : -1;
    for (std::size_t i = kivStreamHeadCells; index >= 0 && i < cells.size(); ++i) {
        if (textOf(cells[i]) == tag) {
            const std::size_t place = i + 2 + static_cast<std::size_t>(index);
            return place < cells.size() ? std::optional(place) : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::uint32_t> sheetColour(const StudioLook& look) {
    const Cells& cells = look.getCells();
    const KivProperty* const colour = headOf(look).has(backdropTag) ? mainColour(cells, backdropTag) : nullptr;
    if (colour == nullptr) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    colour->getValue(value);
    return value;
}

StudioLook quickLook(const StudioLook& look) {
    KivStreamHead head = headOf(look);
    const auto strokes = std::find(head.combinables.begin(), head.combinables.end(), sketchTag);
    if (strokes == head.combinables.end() || KivShader::getByTag(outlineTag) == nullptr) {
        return look;
    }
    Cells cells = look.getCells();
    if (head.has(outlineTag)) {
        head.combinables.erase(strokes);
    } else {
        *strokes = outlineTag;
        const KivProperty* const ofStrokes = mainColour(cells, sketchTag);
        const KivProperty* const ofLines = mainColour(cells, outlineTag);
        if (ofStrokes != nullptr && ofLines != nullptr) {
            cells[static_cast<std::size_t>(ofLines - cells.data())].set(*ofStrokes);
        }
    }
    return kivWithStreamHead(cells, head);
}

StudioLook steadyLook(const StudioLook& look) {
    const KivStreamHead head = headOf(look);
    Cells cells = look.getCells();
    bool hatches = false;
    for (const std::wstring& tag : head.combinables) {
        if (const auto cell = settingCell(cells, tag, hatchingKey)) {
            cells[*cell].setValue(0);
            hatches = true;
        }
    }
    return hatches ? StudioLook(kivWithStreamHead(cells, head)) : look;
}

StudioLook bareLook(const StudioLook& look) {
    KivStreamHead head = headOf(look);
    return head.remove(backdropTag) ? StudioLook(kivWithStreamHead(look.getCells(), head)) : look;
}

LookParts partsOf(const StudioLook& look) {
    const KivStreamHead head = headOf(look);
    LookParts parts;
    parts.base = !head.nonCombinable.empty();
    parts.backdrop = head.has(backdropTag);
    parts.lines = head.combinables.size() > (parts.backdrop ? 1U : 0U);
    parts.highlights = false;
    if (const auto cell = settingCell(look.getCells(), head.nonCombinable, highlightKey)) {
        look.getCells()[*cell].getValue(parts.highlights);
    }
    return parts;
}

StudioLook withParts(const StudioLook& look, const LookParts& wanted) {
    KivStreamHead head = headOf(look);
    Cells cells = look.getCells();
    if (const auto cell = settingCell(cells, head.nonCombinable, highlightKey); cell && !wanted.highlights) {
        cells[*cell].setValue(false);
    }
    if (!wanted.base) {
        head.nonCombinable.clear();
    }
    std::erase_if(head.combinables,
                  [&wanted](const std::wstring& tag) { return tag == backdropTag ? !wanted.backdrop : !wanted.lines; });
    return kivWithStreamHead(cells, head);
}
