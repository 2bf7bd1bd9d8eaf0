#include "shaders/kit/kivpageform.h"

#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace {

bool isWhole(const KivSettingInfo& info) {
    return info.type != KivSettingType::Double;
}

// The digits behind the point that a number needs, of the few that a field has.
int decimalsOf(double value) {
    constexpr int most = 4;
    constexpr double slack = 1e-9;
    int decimals = 0;
    for (double scaled = value; decimals < most && std::abs(scaled - std::round(scaled)) > slack; ++decimals) {
        scaled = value * std::pow(10.0, decimals + 1);
    }
    return decimals;
}

// The next number upwards that looks well at the end of a scale.
double roundUp(double value) {
    const double unit = std::pow(10.0, std::floor(std::log10(value)));
    for (const double part : {1.0, 1.5, 2.0, 3.0, 4.0, 5.0, 6.0, 8.0}) {
        if (value <= part * unit) {
            return part * unit;
        }
    }
    return 10.0 * unit;
}

double softMaximum(const KivSettingInfo& info, bool share) {
    constexpr double wide = 8.0;
    constexpr double useful = 4.0;
    constexpr double leastOfWhole = 100.0; // a slider of so few numbers can show each of them
    if (share || !(info.defaultValue > 0.0) || info.maximum <= wide * info.defaultValue) {
        return info.maximum;
    }
    const double end = roundUp(useful * info.defaultValue);
    return std::min(info.maximum, isWhole(info) ? std::max(end, leastOfWhole) : end);
}

class Form {
public:
    Form(const KivSettingInfo* settings, int numSettings) : table(settings), count(numSettings) {}

    std::string make(const KivPageTexts& texts) {
        xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ui version=\"4.0\">\n<class>Page</class>\n"
              "<widget class=\"QWidget\" name=\"Page\">\n";
        text("windowTitle", texts.title);
        xml += "<layout class=\"QVBoxLayout\" name=\"column\">\n";
        for (std::size_t i = 0; i < texts.groups.size(); ++i) {
            addGroup(texts.groups[i], std::to_string(i));
        }
        xml += "<item><layout class=\"QHBoxLayout\" name=\"buttons\">\n<item>";
        addSpace("left", "Qt::Horizontal");
        xml += "</item>\n<item><widget class=\"QPushButton\" name=\"defaults\">\n";
        control(kivPageDefaultsControl);
        text("text", texts.defaults);
        text("toolTip", texts.defaultsToolTip);
        xml += "</widget></item>\n</layout></item>\n<item>";
        addSpace("below", "Qt::Vertical");
        xml += "</item>\n</layout>\n</widget>\n<customwidgets>\n"
               "<customwidget><class>KivNumberField</class><extends>QWidget</extends>"
               "<header>kivnumberfield.h</header></customwidget>\n"
               "<customwidget><class>KivColorField</class><extends>QWidget</extends>"
               "<header>kivcolorfield.h</header></customwidget>\n"
               "</customwidgets>\n</ui>\n";
        return std::move(xml);
    }

private:
    static std::string escaped(const std::string& plain) {
        std::wstring out;
        for (const wchar_t c : kivFromUtf8(plain)) {
            switch (c) {
            case L'&':
                out += L"&amp;";
                break;
            case L'<':
                out += L"&lt;";
                break;
            case L'>':
                out += L"&gt;";
                break;
            case L'"':
                out += L"&quot;";
                break;
            default:
                out.append(isForXml(c) ? 1 : 0, c);
            }
        }
        return kivToUtf8(out);
    }
    // XML has no place for control characters, not even in disguise, nor for what was no UTF-8, which stands here as
    // surrogates.
    static bool isForXml(wchar_t c) {
        const bool surrogate = sizeof(wchar_t) > 2 && c >= L'\xD800' && c <= L'\xDFFF';
        return (c >= L' ' || c == L'\t' || c == L'\n') && !surrogate && c != L'\xFFFE' && c != L'\xFFFF';
    }
    void text(const char* name, const std::string& value) {
        if (!value.empty()) {
            xml += std::string("<property name=\"") + name + "\"><string>" + escaped(value) + "</string></property>\n";
        }
    }
    void own(const char* name, const std::string& value) {
        xml += std::string("<property name=\"") + name + "\" stdset=\"0\">" + value + "</property>\n";
    }
    void ownNumber(const char* name, int value) {
        own(name, "<number>" + std::to_string(value) + "</number>");
    }
    void ownDouble(const char* name, double value) {
        std::array<char, 400> digits{};
        char* const end =
            std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed).ptr;
        own(name, "<double>" + std::string(digits.data(), end) + "</double>");
    }
    void control(int number) {
        ownNumber("control", number);
    }
    void addSpace(const char* name, const char* orientation) {
        xml += std::string("<spacer name=\"") + name + "\"><property name=\"orientation\"><enum>" + orientation +
               "</enum></property></spacer>";
    }

    void addGroup(const KivPageGroup& group, const std::string& number) {
        xml += "<item><widget class=\"QGroupBox\" name=\"group" + number + "\">\n";
        text("title", group.heading);
        xml += "<layout class=\"QFormLayout\" name=\"rows" + number + "\">\n" +
               "<property name=\"fieldGrowthPolicy\"><enum>QFormLayout::AllNonFixedFieldsGrow</enum></property>\n";
        int row = 0;
        for (const KivPageEntry& entry : group.entries) {
            addRow(entry, kivFindSetting(table, count, entry.key), std::to_string(row++));
        }
        xml += "</layout>\n</widget></item>\n";
    }

    void addRow(const KivPageEntry& entry, int index, const std::string& row) {
        const KivSettingInfo& info = table[index];
        const std::string name = std::to_string(index);
        if (info.type == KivSettingType::Bool) {
            xml += "<item row=\"" + row + "\" column=\"0\" colspan=\"2\">";
        } else {
            xml += "<item row=\"" + row + "\" column=\"0\"><widget class=\"QLabel\" name=\"label" + name + "\">\n";
            text("text", entry.label);
            text("toolTip", entry.toolTip);
            xml += "<property name=\"buddy\"><cstring>control" + name + "</cstring></property>\n</widget></item>\n";
            xml += "<item row=\"" + row + "\" column=\"1\">";
        }
        xml += std::string("<widget class=\"") + (entry.spinBox ? spinBoxOf(info) : classOf(info.type)) +
               "\" name=\"control" + name + "\">\n";
        control(kivPageFirstControl + index);
        text("toolTip", entry.toolTip);
        text(info.type == KivSettingType::Bool ? "text" : "accessibleName", entry.label);
        if (entry.spinBox) {
            addSpinBox(info, entry.unit);
        } else if (info.type == KivSettingType::Int || info.type == KivSettingType::Double) {
            addNumber(info, entry.unit);
        } else if (info.type == KivSettingType::Colour) {
            xml += "<property name=\"sizePolicy\"><sizepolicy hsizetype=\"Fixed\" vsizetype=\"Fixed\">"
                   "<horstretch>0</horstretch><verstretch>0</verstretch></sizepolicy></property>\n"
                   "<property name=\"minimumSize\"><size><width>48</width><height>22</height></size></property>\n";
        }
        for (const std::string& choice : entry.choices) {
            xml += "<item>";
            text("text", choice);
            xml += "</item>\n";
        }
        xml += "</widget></item>\n";
    }

    static const char* classOf(KivSettingType type) {
        switch (type) {
        case KivSettingType::Bool:
            return "QCheckBox";
        case KivSettingType::Choice:
            return "QComboBox";
        case KivSettingType::Colour:
            return "KivColorField";
        case KivSettingType::Int:
        case KivSettingType::Double:
            break;
        }
        return "KivNumberField";
    }

    static const char* spinBoxOf(const KivSettingInfo& info) {
        return isWhole(info) ? "QSpinBox" : "QDoubleSpinBox";
    }

    // A word stands apart from its number; how far a sign does is up to the language.
    static std::string suffixOf(const std::string& unit) {
        const bool word = (unit[0] >= 'a' && unit[0] <= 'z') || (unit[0] >= 'A' && unit[0] <= 'Z');
        return word ? " " + unit : unit;
    }

    // By the properties that the widget has of its own.
    void addSpinBox(const KivSettingInfo& info, const std::string& unit) {
        const KivNumberLook look = kivNumberLook(info, unit);
        const auto number = [&](const char* name, double value) {
            std::array<char, 400> digits{};
            char* const end =
                std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed).ptr;
            const std::string type = isWhole(info) ? "number" : "double";
            xml += std::string("<property name=\"") + name + "\"><" + type + ">" + std::string(digits.data(), end) +
                   "</" + type + "></property>\n";
        };
        if (!isWhole(info)) {
            xml += "<property name=\"decimals\"><number>" + std::to_string(look.decimals) + "</number></property>\n";
        }
        number("minimum", info.minimum);
        number("maximum", info.maximum);
        number("singleStep", look.step);
        text("suffix", unit.empty() ? unit : suffixOf(unit));
    }

    void addNumber(const KivSettingInfo& info, const std::string& unit) {
        const KivNumberLook look = kivNumberLook(info, unit);
        ownNumber("decimals", look.decimals);
        ownDouble("minimum", info.minimum);
        ownDouble("maximum", info.maximum);
        ownDouble("softMaximum", look.softMaximum);
        ownDouble("step", look.step);
        if (!unit.empty()) {
            own("suffix", "<string>" + escaped(suffixOf(unit)) + "</string>");
        }
    }

    const KivSettingInfo* table;
    int count;
    std::string xml;
};

} // namespace

KivNumberLook kivNumberLook(const KivSettingInfo& info, std::string_view unit) {
    constexpr double fine = 10.0;
    constexpr double coarse = 500.0;
    constexpr double fineStep = 0.1;
    constexpr double middleStep = 0.5;
    constexpr double coarseStep = 10.0;
    const bool share = unit.find('%') != std::string_view::npos || unit.find("\u00B0") != std::string_view::npos;
    KivNumberLook look;
    look.softMaximum = softMaximum(info, share);
    if (isWhole(info)) {
        return look;
    }
    const double range = look.softMaximum - info.minimum;
    look.decimals = share || range > coarse ? 0 : 1;
    look.decimals = std::max({look.decimals, decimalsOf(info.defaultValue), decimalsOf(info.minimum)});
    if (range > coarse) {
        look.step = coarseStep;
    } else if (range <= 1.0) {
        look.step = range / 100.0;
        look.decimals = std::max(look.decimals, 2);
    } else if (!share) {
        look.step = range <= fine ? fineStep : middleStep;
    }
    return look;
}

std::string kivPageForm(const KivPageTexts& texts, const KivSettingInfo* table, int count) {
    return Form(table, count).make(kivFitPageTexts(texts, table, count));
}
