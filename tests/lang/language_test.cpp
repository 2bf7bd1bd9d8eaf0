#include "kivrender/host/kivlanguage.h"

#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

std::wstring testModule(const wchar_t* name) {
    return kivFromUtf8(TEST_MODULES) + L"/" + name + kivModuleEnding();
}

// Every number that the library and its plug-ins ask for.
constexpr unsigned int usedIds[] = {4,    28,   35,   36,   37,   40,   41,   42,   46,   49,   52,
                                    54,   56,   57,   60,   68,   70,   75,   76,   81,   86,   90,
                                    91,   92,   99,   129,  130,  131,  132,  1003, 1004, 1005, 1006,
                                    1010, 1020, 1040, 1041, 1050, 1051, 1052, 1053, 1054, 1070, 1100};

// Those of the windows: in forms as @2101, in sources as plain numbers, both of four digits from 2 on.
std::set<unsigned int> windowIds() {
    static const std::regex form("[^0-9a-zA-Z.]([23][0-9]{3})(?![0-9a-zA-Z.])");
    std::set<unsigned int> found;
    for (const char* const folder : {LANGUAGE_TABLES "/dialogs", WINDOW_SOURCES, TOOLKIT_SOURCES}) {
        for (const auto& file : std::filesystem::recursive_directory_iterator(folder)) {
            if (!file.is_regular_file()) {
                continue;
            }
            std::ifstream in(file.path());
            const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            for (std::sregex_iterator i(text.begin(), text.end(), form), end; i != end; ++i) {
                found.insert(static_cast<unsigned int>(std::stoul((*i)[1].str())));
            }
        }
    }
    return found;
}

} // namespace

// Stands first: once a language was loaded in this process there is no way back to none.
TEST(Language, NoTextsBeforeALoad) {
    EXPECT_STREQ(kivGetLangResourceDll(), L"");
    EXPECT_EQ(kivText(54), L"");
    wchar_t text[10] = L"untouched";
    EXPECT_EQ(kivLoadString(54, text, 10), 0);
    EXPECT_STREQ(text, L"");
}

TEST(Language, LoadsByPath) {
    const std::wstring path = testModule(L"selvarin-test");
    ASSERT_NE(kivLoadLangResourceDLL(path.c_str()), 0);
    EXPECT_EQ(kivGetLangResourceDll(), path);
    EXPECT_EQ(kivText(54), L"Zeichentrick");
    EXPECT_EQ(kivText(53), L"");
    EXPECT_EQ(kivText(0), L"");
    EXPECT_EQ(kivText(4294967295U), L"the last");
}

TEST(Language, FailedLoadLeavesThePathAndNoTexts) {
    const std::wstring path = testModule(L"selvarin-test");
    for (const std::wstring& wrong : {testModule(L"missing"), testModule(L"none"), std::wstring()}) {
        ASSERT_NE(kivLoadLangResourceDLL(path.c_str()), 0);
        EXPECT_EQ(kivLoadLangResourceDLL(wrong.c_str()), 0);
        EXPECT_EQ(kivGetLangResourceDll(), path);
        EXPECT_EQ(kivText(54), L"");
    }
    EXPECT_EQ(kivLoadLangResourceDLL(nullptr), 0);
    EXPECT_NE(kivLoadLangResourceDLL(path.c_str()), 0); // and back
    EXPECT_EQ(kivText(54), L"Zeichentrick");
}

TEST(Language, TablesHoldAnyText) {
    ASSERT_NE(kivLoadLangResourceDLL(testModule(L"selvarin-test").c_str()), 0);
    EXPECT_EQ(kivText(52), L"Prüfling");
    EXPECT_EQ(kivText(2000), L"tab\tline\nbackslash\\end");
    EXPECT_EQ(kivText(2001), L"semicolon; [brackets] \"quotes\" $var ${x} @y@ #hash; \\;]");
    EXPECT_EQ(kivText(2002), L"漫画 \U0001F58C грань");
    EXPECT_EQ(kivText(2003), L"  blanks stay  ");
    EXPECT_EQ(kivText(2004), L"with a\ttab in it");
}

TEST(Language, LoadStringIsBounded) {
    ASSERT_NE(kivLoadLangResourceDLL(testModule(L"selvarin-test").c_str()), 0);
    wchar_t text[8] = L"???????";
    EXPECT_EQ(kivLoadString(54, text, 5), 4);
    EXPECT_STREQ(text, L"Zeic");
    EXPECT_EQ(text[5], L'?');
    EXPECT_EQ(kivLoadString(54, text, 0), 0);
    EXPECT_EQ(kivLoadString(54, text, -1), 0);
    EXPECT_STREQ(text, L"Zeic");
    EXPECT_EQ(kivLoadString(54, nullptr, 8), 0);
}

TEST(Language, EnglishHasEveryText) {
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    EXPECT_EQ(kivGetLangResourceDll(), kivLibraryFolder() + L"/lang/selvarin-en" + kivModuleEnding());
    for (const unsigned int id : usedIds) {
        EXPECT_FALSE(kivText(id).empty()) << id;
    }
    EXPECT_EQ(kivText(54), L"Cartoon");
    EXPECT_EQ(kivText(1003),
              L"The name of the vector file ends in none of svg, pdf, eps, ps and ai: no vector file is written.");
}

TEST(Language, EnglishTableHoldsNothingElse) {
    std::ifstream table(ENGLISH_TABLE);
    std::set<unsigned int> known(std::begin(usedIds), std::end(usedIds));
    std::set<unsigned int> found;
    for (std::string line; std::getline(table, line);) {
        if (!line.empty() && line[0] != '#') {
            found.insert(static_cast<unsigned int>(std::stoul(line)));
        }
    }
    const std::set<unsigned int> windows = windowIds();
    for (const unsigned int id : found) {
        EXPECT_TRUE(known.contains(id) || windows.contains(id)) << "nobody asks for text " << id;
    }
}

TEST(Language, CodesAreNamesAndNoPaths) {
    for (const wchar_t* code : {L"", L"xx", L"../lang/selvarin-en", L"en/", L"e n", L"en\n"}) {
        EXPECT_FALSE(kivLoadLanguage(code)) << code;
    }
    // Even where the path that such a code makes leads to a language.
    const std::filesystem::path languages = std::filesystem::path(kivToUtf8(kivLibraryFolder())) / "lang";
    const std::filesystem::path between = languages / "selvarin-x";
    std::filesystem::create_directory(between);
    ASSERT_NE(kivLoadLangResourceDLL((kivFromUtf8(between.string()) + L"/../selvarin-en" + kivModuleEnding()).c_str()),
              0);
    EXPECT_FALSE(kivLoadLanguage(L"x/../selvarin-en"));
    std::filesystem::remove(between);
    EXPECT_TRUE(kivLoadLanguage(L"en"));
}

TEST(Language, MessagesCarryTheLanguagesCaption) {
    const TempHome home;
    KivDefaultHost host;
    ASSERT_NE(kivLoadLangResourceDLL(testModule(L"selvarin-test").c_str()), 0);
    testing::internal::CaptureStderr();
    host.message(L"text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Pr\xC3\xBC"
                                                      "fling: text\n");
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    testing::internal::CaptureStderr();
    host.message(L"text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Selvarin: text\n");
}
