// The head of a settings stream: the style's name and the shaders that draw, in the three text cells before the blocks
// of the shaders; and the cell that ends a stream (settings/kivdatamanager.h has its whole form). Whoever writes a
// stream, or changes what one selects, does it through these.
//
//     KivMemoryDataManager stream;
//     stream.setSaving();
//     kivWriteStreamHead(stream, {L"", L"Cartoon", {L"Outline"}});
//     ... // the blocks of the shaders
//     kivWriteStreamEnd(stream);
#ifndef KIVRENDER_SETTINGS_KIVSTREAMHEAD_H
#define KIVRENDER_SETTINGS_KIVSTREAMHEAD_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class KivDataManager;
class KivMemoryDataManager;
class KivProperty;

// What the three cells begin with, and the text of the last cell.
inline constexpr const wchar_t* kivStyleHeader = L"Style:";
inline constexpr const wchar_t* kivNonCombinableHeader = L"NonCombinableShader:";
inline constexpr const wchar_t* kivCombinableHeader = L"CombinableShader:";
inline constexpr const wchar_t* kivStreamEnd = L"End Morvane";
inline constexpr std::size_t kivStreamHeadCells = 3;

struct KIV_API KivStreamHead {
    std::wstring style;                    // a name for the user; empty for none
    std::wstring nonCombinable;            // the base shader's tag; empty for none
    std::vector<std::wstring> combinables; // tags, in the order of drawing

    // By tag, with regard to case.
    bool has(std::wstring_view combinable) const;
    // At the end, unless it is there.
    void add(std::wstring_view combinable);
    // False if it is not there.
    bool remove(std::wstring_view combinable);
};

// The form in which one text holds several tags: each with a ";" behind it. Empty parts vanish.
KIV_API std::wstring kivJoinTags(const std::vector<std::wstring>& tags);
KIV_API std::vector<std::wstring> kivSplitTags(std::wstring_view list);

// What follows the header in a line; null if the line does not begin with it.
KIV_API const wchar_t* kivBehindHeader(const wchar_t* line, const wchar_t* header);

// Appends one text cell on which no two objects disagree. False, with nothing done, in loading mode.
KIV_API bool kivWriteStreamLine(KivDataManager& stream, std::wstring_view line);
// Appends the three cells. False in loading mode.
KIV_API bool kivWriteStreamHead(KivDataManager& stream, const KivStreamHead& head);
KIV_API bool kivWriteStreamEnd(KivDataManager& stream);

// Reads three cells from the cursor, which is at the beginning after KivDataManager::setLoading. A cell that does not
// begin with its header counts as empty. Texts are cut as KivDataManager::loadString cuts them.
KIV_API KivStreamHead kivReadStreamHead(KivDataManager& stream);

// A stream with this head and the blocks of another: the cells of that one from the fourth on, up to one that has no
// type. In saving mode.
KIV_API KivMemoryDataManager kivWithStreamHead(const std::vector<KivProperty>& cells, const KivStreamHead& head);

#endif
