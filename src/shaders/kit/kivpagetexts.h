// The texts of a shader's property page in one language, and the order of its controls, from a file that a translator
// can edit. UTF-8, one line a piece, its parts between tabs; empty lines and those that begin with # are for humans:
//
//     title     Sketch
//     defaults  Defaults  (empty)  what the button's tool tip says
//     [Strokes]
//     Width     Line width  px  what the tool tip says
//     Medium    Drawn with  (empty)  what the tool tip says  pencil|ink|charcoal|pastel
//     Strokes   Strokes     (empty)  what the tool tip says  spin
//
// A heading in brackets begins a box of settings. A setting is named by its key in the table; then come its label, its
// unit and its tool tip, and for a choice the labels of what can be chosen, in the order of the table. A number is
// shown as a slider with a field, or, with the word spin, as a plain spin box.
#ifndef SHADERS_KIT_KIVPAGETEXTS_H
#define SHADERS_KIT_KIVPAGETEXTS_H

#include "kivrender/settings/kivsettingstable.h"

#include <string>
#include <string_view>
#include <vector>

struct KivPageEntry {
    std::string key;
    std::string label;
    std::string unit;
    std::string toolTip;
    std::vector<std::string> choices;
    bool spinBox = false;
};

struct KivPageGroup {
    std::string heading;
    std::vector<KivPageEntry> entries;
};

struct KivPageTexts {
    std::string title;
    std::string defaults; // of the button that sets all settings back
    std::string defaultsToolTip;
    std::vector<KivPageGroup> groups;
};

// Reads a file as far as it can be understood: a line without a label is passed over.
KivPageTexts kivReadPageTexts(std::string_view file);

// The same texts made to fit a table: each setting stands in them exactly once, with a label, and a choice with as many
// labels as it has names. What the texts lack has the table's own words, in a last group without a heading; what the
// table does not know, and what comes a second time, is left out. Groups that are left empty go.
KivPageTexts kivFitPageTexts(KivPageTexts texts, const KivSettingInfo* table, int count);

#endif
