// The texts of the property pages as translators leave them, held against the tables and against each other.
#include "pagesfixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace {

struct Line {
    int number = 0;
    std::vector<std::string> parts;
};

// Literally: every line that is not a comment, cut at its tabs.
std::vector<Line> linesOf(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::vector<Line> lines;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        Line cut{number, {""}};
        for (const char c : line) {
            if (c == '\t') {
                cut.parts.emplace_back();
            } else {
                cut.parts.back() += c;
            }
        }
        lines.push_back(cut);
    }
    return lines;
}

bool isHeading(const Line& line) {
    return line.parts.front().front() == '[';
}

// What a page consists of, without its words: keys in order, with a mark for each heading.
std::vector<std::string> shapeOf(const std::vector<Line>& lines) {
    std::vector<std::string> shape;
    for (const Line& line : lines) {
        shape.push_back(isHeading(line) ? "[]" : line.parts.front());
    }
    return shape;
}

class PageFiles : public ShaderPages {
protected:
    static std::filesystem::path folderOf(KivShader* shader) {
        std::string name = kivToUtf8(shader->getTag());
        name.front() = static_cast<char>(name.front() - 'A' + 'a');
        return std::filesystem::path(SHADER_SOURCES) / name;
    }
    static void checkLine(const Line& line, const KivSettingInfo* table, int count, std::set<std::string>& seen) {
        ASSERT_GE(line.parts.size(), 4U) << line.number;
        EXPECT_TRUE(seen.insert(line.parts[0]).second) << line.number;
        EXPECT_FALSE(line.parts[1].empty()) << line.number;
        EXPECT_TRUE(line.parts[3].ends_with('.')) << line.number << ": a tool tip is a sentence";
        if (line.parts[0] == "defaults") {
            return;
        }
        const int index = kivFindSetting(table, count, line.parts[0]);
        ASSERT_GE(index, 0) << line.number << ": " << line.parts[0];
        EXPECT_EQ(line.parts[0], table[index].key) << line.number;
        const bool isNumber = table[index].type == KivSettingType::Int || table[index].type == KivSettingType::Double;
        EXPECT_TRUE(isNumber || line.parts[2].empty()) << line.number << ": no unit without a number";
        const std::string choices = line.parts.size() > 4 ? line.parts[4] : std::string();
        const auto bars = std::count(choices.begin(), choices.end(), '|');
        EXPECT_EQ(choices.empty() ? 0 : bars + 1, kivNumChoices(table[index])) << line.number;
        EXPECT_LE(line.parts.size(), 5U) << line.number;
    }
};

} // namespace

TEST_F(PageFiles, NameEverySettingOnceInEveryLanguage) {
    for (KivShader* const shader : shaders()) {
        int count = 0;
        const KivSettingInfo* const table = kivShaderSettings(shader, &count);
        for (const auto& language : std::filesystem::directory_iterator(LANGUAGE_TABLES)) {
            if (!std::filesystem::exists(language.path() / "texts.txt")) {
                continue;
            }
            const auto file = folderOf(shader) / ("page." + language.path().filename().string() + ".txt");
            SCOPED_TRACE(file.string());
            const std::vector<Line> lines = linesOf(file);
            ASSERT_GT(lines.size(), 2U);
            EXPECT_EQ(lines[0].parts[0], "title");
            std::set<std::string> seen;
            for (std::size_t i = 1; i < lines.size(); ++i) {
                if (isHeading(lines[i])) {
                    EXPECT_GT(lines[i].parts.front().size(), 2U) << lines[i].number;
                    EXPECT_EQ(lines[i].parts.front().back(), ']') << lines[i].number;
                    EXPECT_FALSE(i + 1 < lines.size() && isHeading(lines[i + 1]))
                        << lines[i].number << ": an empty box";
                } else {
                    checkLine(lines[i], table, count, seen);
                }
            }
            EXPECT_EQ(seen.size(), static_cast<std::size_t>(count) + 1) << "all of the table, and the button";
            EXPECT_EQ(shapeOf(lines), shapeOf(linesOf(folderOf(shader) / "page.en.txt")));
        }
    }
}

TEST_F(PageFiles, UnitsAreTheSameInEveryLanguage) {
    const auto unitOf = [](const Line& line) {
        std::string unit = line.parts.size() > 2 ? line.parts[2] : std::string();
        if (unit.ends_with('%')) {
            unit = "%"; // how far it stands from its number is up to the language
        }
        return unit;
    };
    for (KivShader* const shader : shaders()) {
        const std::vector<Line> english = linesOf(folderOf(shader) / "page.en.txt");
        const std::vector<Line> spanish = linesOf(folderOf(shader) / "page.es.txt");
        ASSERT_EQ(english.size(), spanish.size());
        for (std::size_t i = 0; i < english.size(); ++i) {
            EXPECT_EQ(unitOf(english[i]), unitOf(spanish[i])) << spanish[i].number;
        }
    }
}

TEST_F(PageFiles, MakeAFormWithAControlForEachSetting) {
    for (const wchar_t* const language : {L"en", L"es"}) {
        ASSERT_TRUE(kivLoadLanguage(language));
        for (KivShader* const shader : shaders()) {
            SCOPED_TRACE(kivToUtf8(shader->getTag()) + " " + kivToUtf8(language));
            const Form form(formOf(*shader));
            int count = 0;
            const KivSettingInfo* const table = kivShaderSettings(shader, &count);
            EXPECT_EQ(kivFromUtf8(form.title), shader->getName());
            EXPECT_FALSE(form.controlTwice);
            EXPECT_EQ(form.controls.size(), static_cast<std::size_t>(count) + 1);
            EXPECT_EQ(form.controls.at(defaultsButton).widget, "QPushButton");
            EXPECT_EQ(std::set<std::string>(form.names.begin(), form.names.end()).size(), form.names.size());
            for (const std::string& buddy : form.buddies) {
                EXPECT_EQ(std::count(form.names.begin(), form.names.end(), buddy), 1) << buddy;
            }
            for (int i = 0; i < count; ++i) {
                const FormControl& control = form.controls.at(firstControl + i);
                EXPECT_FALSE(control.properties.at("toolTip").empty());
                const bool labelled = std::count(form.buddies.begin(), form.buddies.end(), control.name) == 1;
                EXPECT_EQ(labelled, table[i].type != KivSettingType::Bool) << table[i].key;
                if (control.widget == "KivNumberField") {
                    EXPECT_EQ(control.number("minimum"), table[i].minimum);
                    EXPECT_EQ(control.number("maximum"), table[i].maximum);
                    EXPECT_GE(control.number("softMaximum"), table[i].defaultValue);
                    EXPECT_LE(control.number("softMaximum"), table[i].maximum);
                    EXPECT_GT(control.number("step"), 0.0);
                }
                static const std::map<KivSettingType, std::string> widgets = {
                    {KivSettingType::Bool, "QCheckBox"},
                    {KivSettingType::Int, "KivNumberField"},
                    {KivSettingType::Double, "KivNumberField"},
                    {KivSettingType::Colour, "KivColorField"},
                    {KivSettingType::Choice, "QComboBox"}};
                EXPECT_EQ(control.widget, widgets.at(table[i].type)) << table[i].key;
                EXPECT_EQ(control.items.size(), static_cast<std::size_t>(kivNumChoices(table[i]))) << table[i].key;
            }
        }
    }
}

TEST_F(PageFiles, FormsFollowTheLanguageAndStay) {
    KivShader* const sketch = KivShader::getByTag(L"Sketch");
    const std::string_view english = formOf(*sketch);
    const std::string copy(english);
    EXPECT_EQ(formOf(*sketch).data(), english.data()) << "made once";
    ASSERT_TRUE(kivLoadLanguage(L"es"));
    const std::string_view spanish = formOf(*sketch);
    EXPECT_EQ(Form(spanish).title, "Boceto");
    EXPECT_EQ(Form(spanish).groups.at(1), "Mano");
    EXPECT_EQ(english, copy);
    EXPECT_EQ(kivLoadLangResourceDLL(L"/nowhere/selvarin-xx.so"), 0);
    EXPECT_EQ(formOf(*sketch).data(), english.data()) << "without a language it is English";
}

TEST_F(PageFiles, ThereIsNothingElse) {
    const HINSTANCE module = moduleOf(*KivShader::getByTag(L"Outline"));
    EXPECT_TRUE(kivFindResource(module, KivResourceKind::dialog, 0).empty());
    EXPECT_TRUE(kivFindResource(module, KivResourceKind::dialog, 2).empty());
    EXPECT_TRUE(kivFindResource(module, KivResourceKind::icon, 1).empty());
}
