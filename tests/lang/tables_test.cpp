// The tables that translators write, against the English one.
#include "kivrender/host/kivlanguage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

using Table = std::map<unsigned long, std::string>;

Table readTable(const std::filesystem::path& file) {
    Table table;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        const std::size_t tab = line.find('\t');
        if (!line.empty() && line[0] != '#' && tab != std::string::npos) {
            table[std::stoul(line)] = line.substr(tab + 1);
        }
    }
    return table;
}

// What a program fills in, in its order: %1 and the like, and the forms of printf. A percent sign without a known
// letter behind it counts too: as a format it would take an argument that nobody passes.
std::vector<std::string> placeholders(const std::string& text) {
    static const std::regex form("%[1-9]|%[-+ #0-9.*]*[A-Za-z%]?");
    std::vector<std::string> found;
    for (std::sregex_iterator i(text.begin(), text.end(), form), end; i != end; ++i) {
        found.push_back(i->str());
    }
    return found;
}

// One line for each text that is missing, is nobody's, or has other placeholders than in English.
std::vector<std::string> faults(const Table& english, const Table& other) {
    std::vector<std::string> list;
    for (const auto& [id, text] : english) {
        const auto translated = other.find(id);
        if (translated == other.end()) {
            list.push_back("text " + std::to_string(id) + " is missing: " + text);
        } else if (placeholders(translated->second) != placeholders(text)) {
            list.push_back("text " + std::to_string(id) + " has other placeholders than in English");
        }
    }
    for (const auto& entry : other) {
        if (!english.contains(entry.first)) {
            list.push_back("text " + std::to_string(entry.first) + " is not in English");
        }
    }
    return list;
}

} // namespace

TEST(LanguageTables, AFaultNamesItsText) {
    const Table english = {{5, "%d of %d"}, {6, "plain"}, {7, "%s has %d"}};
    EXPECT_TRUE(faults(english, {{5, "%d de %d"}, {6, "x"}, {7, "%s tiene %d"}}).empty());
    const std::vector<std::string> expected = {
        "text 5 has other placeholders than in English", "text 6 is missing: plain",
        "text 7 has other placeholders than in English", "text 8 is not in English"};
    EXPECT_EQ(faults(english, {{5, "%d"}, {7, "%d en %s"}, {8, "x"}}), expected);
    EXPECT_EQ(faults({{1, "all"}}, {{1, "100 %"}}).size(), 1U);
}

TEST(LanguageTables, EveryLanguageHoldsTheEnglishTexts) {
    const Table english = readTable(ENGLISH_TABLE);
    ASSERT_FALSE(english.empty());
    int languages = 0;
    for (const auto& folder : std::filesystem::directory_iterator(LANGUAGE_TABLES)) {
        if (std::filesystem::exists(folder.path() / "texts.txt")) {
            const std::string code = folder.path().filename().string();
            for (const std::string& fault : faults(english, readTable(folder.path() / "texts.txt"))) {
                ADD_FAILURE() << code << ": " << fault;
            }
            ++languages;
        }
    }
    EXPECT_GE(languages, 2) << "English and Spanish at least";
}

TEST(LanguageTables, SpanishLoadsWholeAndGivesWayToEnglish) {
    ASSERT_TRUE(kivLoadLanguage(L"es"));
    for (const auto& entry : readTable(ENGLISH_TABLE)) {
        EXPECT_FALSE(kivText(static_cast<unsigned int>(entry.first)).empty()) << entry.first;
    }
    EXPECT_EQ(kivText(28), L"Ordenando los triángulos por profundidad");
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    EXPECT_EQ(kivText(28), L"Sorting triangles by depth");
}
