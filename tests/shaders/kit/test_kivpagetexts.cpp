#include "kivpagetexts.h"

#include "kivpageform.h"
#include "support/rawrandom.h"
#include "support/xmltree.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

const KivSettingInfo table[] = {
    {"Width", KivSettingType::Double, 0, 50, 2.5, L"Width", nullptr},
    {"Medium", KivSettingType::Choice, 0, 2, 0, L"Medium", "pencil|ink|chalk"},
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0, L"Colour", nullptr},
    {"Strokes", KivSettingType::Int, 1, 6, 2, L"Strokes", nullptr},
    {"Hatching", KivSettingType::Bool, 0, 1, 1, L"Hatching", nullptr},
};
constexpr int numSettings = 5;

const char good[] = "# for humans\n"
                    "title\tSketch\n"
                    "defaults\tReset\t\tSets all back.\n"
                    "\n"
                    "[Strokes]\r\n"
                    "Width\tLine width\tpx\tHow wide.\r\n"
                    "Medium\tDrawn with\t\tThe tool.\tPencil|Ink|Chalk\n"
                    "Colour\tColour\t\tThe colour.\n"
                    "[Hand]\n"
                    "Hatching\tHatch\t\tDark parts.\n"
                    "Strokes\tStrokes\t\tHow often.";

std::vector<std::string> keysOf(const KivPageTexts& texts) {
    std::vector<std::string> keys;
    for (const KivPageGroup& group : texts.groups) {
        for (const KivPageEntry& entry : group.entries) {
            keys.push_back(entry.key);
        }
    }
    return keys;
}

// How often each control stands in a form.
std::map<std::string, int> controlsOf(const std::string& form) {
    std::map<std::string, int> controls;
    XmlReader::read(form).walk([&](const XmlElement& element) {
        if (element.name == "property" && element.attribute("name") == "control") {
            ++controls[element.children.at(0).text];
        }
    });
    return controls;
}

const std::map<std::string, int> eachOnce = {{"999", 1},  {"1000", 1}, {"1001", 1},
                                             {"1002", 1}, {"1003", 1}, {"1004", 1}};

} // namespace

TEST(KivPageTexts, ReadsAFile) {
    const KivPageTexts texts = kivReadPageTexts(good);
    EXPECT_EQ(texts.title, "Sketch");
    EXPECT_EQ(texts.defaults, "Reset");
    EXPECT_EQ(texts.defaultsToolTip, "Sets all back.");
    ASSERT_EQ(texts.groups.size(), 2U);
    EXPECT_EQ(texts.groups[0].heading, "Strokes");
    EXPECT_EQ(texts.groups[1].heading, "Hand");
    const KivPageEntry& width = texts.groups[0].entries.at(0);
    EXPECT_EQ(width.key, "Width");
    EXPECT_EQ(width.label, "Line width");
    EXPECT_EQ(width.unit, "px");
    EXPECT_EQ(width.toolTip, "How wide.");
    EXPECT_TRUE(width.choices.empty());
    EXPECT_EQ(texts.groups[0].entries.at(1).choices, (std::vector<std::string>{"Pencil", "Ink", "Chalk"}));
    EXPECT_EQ(texts.groups[1].entries.at(1).toolTip, "How often.") << "the last line needs no end";
    EXPECT_EQ(keysOf(texts), (std::vector<std::string>{"Width", "Medium", "Colour", "Hatching", "Strokes"}));
}

TEST(KivPageTexts, LinesWithoutALabelArePassedOver) {
    const KivPageTexts texts = kivReadPageTexts("Width\nWidth\t\n\tWidth\n[open\nColour\tInk\nclosed]\n");
    ASSERT_EQ(texts.groups.size(), 1U) << "settings ahead of a heading have a group of their own";
    EXPECT_EQ(texts.groups[0].heading, "");
    EXPECT_EQ(keysOf(texts), (std::vector<std::string>{"Colour"}));
    EXPECT_TRUE(kivReadPageTexts("").groups.empty());
}

TEST(KivPageTexts, AreMadeToFitTheTable) {
    const KivPageTexts texts = kivFitPageTexts(kivReadPageTexts("[Empty]\n"
                                                                "Pressure\tNot in the table\n"
                                                                "[Strokes]\n"
                                                                "Medium\tDrawn with\t\t\tPencil|Ink\n"
                                                                "Width\tFirst\t\t\tone|two\n"
                                                                "width\tSecond\n"),
                                               table, numSettings);
    ASSERT_EQ(texts.groups.size(), 2U);
    EXPECT_EQ(texts.groups[0].heading, "Strokes");
    EXPECT_EQ(texts.groups[1].heading, "");
    EXPECT_EQ(keysOf(texts), (std::vector<std::string>{"Medium", "Width", "Colour", "Strokes", "Hatching"}));
    EXPECT_EQ(texts.groups[0].entries[0].choices, (std::vector<std::string>{"pencil", "ink", "chalk"}));
    EXPECT_EQ(texts.groups[0].entries[1].label, "First");
    EXPECT_TRUE(texts.groups[0].entries[1].choices.empty());
    EXPECT_EQ(texts.groups[1].entries[0].label, "Colour");
    EXPECT_EQ(texts.defaults, "Defaults");
}

TEST(KivPageForm, HasAControlForEachSetting) {
    EXPECT_EQ(controlsOf(kivPageForm(kivReadPageTexts(good), table, numSettings)), eachOnce);
    EXPECT_EQ(controlsOf(kivPageForm({}, table, numSettings)), eachOnce);
    EXPECT_EQ(controlsOf(kivPageForm(kivReadPageTexts(good), nullptr, 0)), (std::map<std::string, int>{{"999", 1}}));
}

TEST(KivPageForm, TextsKeepTheirSigns) {
    const std::string form = kivPageForm(
        kivReadPageTexts("title\tA < B & \"C\"\nWidth\ta>b\t\"&\t<b>\x01\xFF\xC3\xB1</b>\n"), table, numSettings);
    std::string title;
    std::string tip;
    std::string suffix;
    XmlReader::read(form).walk([&](const XmlElement& element) {
        const std::string name = element.attribute("name");
        if (element.name == "property" && !element.children.empty()) {
            title = name == "windowTitle" ? element.children[0].text : title;
            tip = name == "toolTip" ? element.children[0].text : tip;
            suffix = name == "suffix" ? element.children[0].text : suffix;
        }
    });
    EXPECT_EQ(title, "A < B & \"C\"");
    EXPECT_EQ(tip, "<b>\xC3\xB1</b>") << "without what no XML can hold";
    EXPECT_EQ(suffix, "\"&");
}

// Whatever is done to a file, the page has all its controls.
TEST(KivPageForm, SurvivesAnyFile) {
    RawRandom random(7);
    const std::string signs("\t\t\n\n|[]#&<>\"\xC3\xFF\x80\x01 aWidth");
    for (int round = 0; round < 3000; ++round) {
        std::string file = good;
        for (unsigned int changes = random.below(12); changes > 0; --changes) {
            const std::size_t at = random.below(static_cast<unsigned int>(file.size()));
            switch (random.below(3)) {
            case 0:
                file.erase(at, random.below(30));
                break;
            case 1:
                file.insert(at, 1, signs[random.below(static_cast<unsigned int>(signs.size()))]);
                break;
            default:
                file.insert(at, file.substr(random.below(static_cast<unsigned int>(file.size())), random.below(40)));
            }
            file += file.empty() ? "x" : "";
        }
        ASSERT_NO_THROW(ASSERT_EQ(controlsOf(kivPageForm(kivReadPageTexts(file), table, numSettings)), eachOnce))
            << file;
    }
}

TEST(KivPageForm, SlidersEndWhereNumbersAreOfUse) {
    struct Case {
        KivSettingInfo info;
        const char* unit;
        double softMaximum;
        int decimals;
        double step;
    };
    const auto number = [](KivSettingType type, double minimum, double maximum, double initial) {
        return KivSettingInfo{"Key", type, minimum, maximum, initial, L"", nullptr};
    };
    constexpr KivSettingType whole = KivSettingType::Int;
    constexpr KivSettingType part = KivSettingType::Double;
    const Case cases[] = {
        {number(part, 0, 10000, 260), "px", 1500, 0, 10}, {number(part, 0, 50, 2.6), "px", 15, 1, 0.5},
        {number(part, 0, 50, 1.6), "px", 8, 1, 0.1},      {number(part, 0, 50, 0), "px", 50, 1, 0.5},
        {number(part, 0.5, 20, 1.25), "px", 5, 2, 0.1},   {number(part, 0, 100, 4), "%", 100, 0, 1},
        {number(part, 0, 100, 4), "\u00A0%", 100, 0, 1},  {number(part, -180, 180, 5), "\u00B0", 180, 0, 1},
        {number(part, 0, 1, 0.35), "", 1, 2, 0.01},       {number(whole, 1, 8, 3), "", 8, 0, 1},
        {number(whole, 0, 1000000, 1), "", 100, 0, 1},    {number(whole, 0, 60, 1), "", 60, 0, 1},
    };
    for (const Case& c : cases) {
        const KivNumberLook look = kivNumberLook(c.info, c.unit);
        EXPECT_DOUBLE_EQ(look.softMaximum, c.softMaximum) << c.info.maximum << c.unit;
        EXPECT_EQ(look.decimals, c.decimals) << c.info.maximum << c.unit;
        EXPECT_DOUBLE_EQ(look.step, c.step) << c.info.maximum << c.unit;
    }
}
