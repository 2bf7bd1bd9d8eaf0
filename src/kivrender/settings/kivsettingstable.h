// Settings of a shader from one table: a plug-in declares each setting once, and style files, settings streams, range
// checks, the command line and its help all follow from that.
//
//     static const KivSettingInfo table[] = {
//         {"Bands", KivSettingType::Int, 1, 8, 3, L"Number of tone bands", nullptr},
//         {"Ink", KivSettingType::Colour, 0, 0xFFFFFF, 0, L"Colour of the lines", nullptr},
//         {"Joins", KivSettingType::Choice, 0, 2, 0, L"How lines meet", "round|mitre|bevel"},
//     };
#ifndef KIVRENDER_SETTINGS_KIVSETTINGSTABLE_H
#define KIVRENDER_SETTINGS_KIVSETTINGSTABLE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivpagesettings.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class KivSettingType {
    Bool,   // 0 or 1
    Int,    // a whole number that an int holds
    Double, // any finite number
    Colour, // red in the low byte, then green, then blue
    Choice  // the number of one of the named choices, from 0
};

// One setting. A table of these is constant and outlives everything made from it.
struct KivSettingInfo {
    const char*
        key; // in style files and on the command line; letters, digits, distinct in the table whatever their case
    KivSettingType type;
    double minimum; // both ends belong to the range; for Bool, Colour and Choice the range follows from the type
    double maximum;
    double defaultValue;
    const wchar_t* text; // one line in plain English, with the unit
    const char* choices; // "a|b|c" for a Choice, else null
};

// What a plug-in may export under the plain name "KivShaderSettings": stores its table and returns the number of
// settings. The table holds the settings of the shader's pages in page order.
extern "C" {
using KivShaderSettingsFunction = int(const KivSettingInfo** table);
}

// The number of names in a Choice's list.
KIV_API int kivNumChoices(const KivSettingInfo& info);
// The name of a choice, or the empty string if there is no such one.
KIV_API std::string kivChoiceName(const KivSettingInfo& info, int index);

// Brings any number, NaN and infinities included, into the setting's range and form: whole for all but Double.
KIV_API double kivClampSetting(const KivSettingInfo& info, double value);

// A value as text that kivParseSetting reads back exactly: 0 or 1, a decimal number with a point whatever the locale,
// #rrggbb, or the choice's name.
KIV_API std::string kivFormatSetting(const KivSettingInfo& info, double value);

// Reads a whole text (blanks at its ends are allowed). Besides what kivFormatSetting writes it takes yes, no, true,
// false, on and off for a Bool, a decimal number for a Colour, and a number for a Choice; case does not matter. False,
// with value untouched, for anything else and for what is out of range; then why, if given, gets a line for a human
// that says what was expected.
KIV_API bool kivParseSetting(const KivSettingInfo& info, std::string_view text, double* value,
                             std::string* why = nullptr);

// As kivParseSetting, but brings a number that is out of range to the nearer end. False for a text that is no value of
// the setting's kind.
KIV_API bool kivReadSetting(const KivSettingInfo& info, std::string_view text, double* value);

// The setting of that key, case ignored; -1 if there is none.
KIV_API int kivFindSetting(const KivSettingInfo* table, int count, std::string_view key);

// A page's settings from a table. A setting is varied if the stream that it was read from stands for several objects
// that disagree on it (KivAverageDataManager): it is then written as such, so that each object keeps its own value,
// until it is given a value. Style files and drawing know nothing of that: for them the setting has the first object's
// value.
//
// In a stream a Bool goes as a bool cell, Int and Choice as int, Double as double,
// Colour as unsigned long. What comes from a stream or a file is brought into range: a text that is not a value of the
// setting's kind gives the default, a number out of range the nearer end.
class KIV_API KivTablePageSettings : public KivPageSettings {
public:
    // The section's name is copied, the table is not. All settings start at their defaults.
    KivTablePageSettings(const wchar_t* sectionName, const KivSettingInfo* table, int count);
    KivTablePageSettings(const KivTablePageSettings&) = default;
    KivTablePageSettings& operator=(const KivTablePageSettings&) = default;
    ~KivTablePageSettings() override;

    // Writes every setting under its key; false at the first that can't be written.
    bool save(const wchar_t* section, const wchar_t* file) override;
    // Reads every setting; a missing key gives its default. True.
    bool load(const wchar_t* section, const wchar_t* file) override;
    const wchar_t* getSectionName() const override;
    // Does nothing.
    void reservedSlot() override;
    void saveSettings() override;
    // False without a stream, and at the first cell that is not of its setting's type, as when the stream was written
    // by an older plug-in with fewer settings: that setting and those behind it keep their values, and the cell stays
    // unread.
    bool loadSettings() override;

    int getNumSettings() const;
    const KivSettingInfo& getInfo(int index) const;
    // The setting of that key, case ignored; -1 if there is none.
    int find(std::string_view key) const;

    // By index, which must be in range.
    double getValue(int index) const;
    bool getBool(int index) const;
    int getInt(int index) const;
    std::uint32_t getColour(int index) const;
    // Brought into range, and no longer varied.
    void setValue(int index, double value);
    void setDefaults();
    // No setting is varied but by its last loadSettings or by this.
    bool isVaried(int index) const;
    void setVaried(int index, bool flag);

    // By key and as text, see kivFormatSetting and kivParseSetting. False, with nothing changed, for an unknown key or
    // a text that is not a value in range.
    bool getText(std::string_view key, std::string* text) const;
    bool setText(std::string_view key, std::string_view text, std::string* why = nullptr);

private:
    std::wstring sectionName;
    const KivSettingInfo* table;
    std::vector<double> values;
    std::vector<bool> varied;
};

#endif
