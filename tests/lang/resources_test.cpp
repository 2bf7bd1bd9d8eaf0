// Forms and icons that language modules bring.
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivresources.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

namespace {

// The numbers of the files in a folder of src/lang.
std::set<unsigned int> numbersIn(const std::string& folder) {
    std::set<unsigned int> numbers;
    for (const auto& file : std::filesystem::directory_iterator(LANGUAGE_TABLES "/" + folder)) {
        std::string name = file.path().filename().string();
        for (;;) {
            std::size_t end = 0;
            numbers.insert(static_cast<unsigned int>(std::stoul(name, &end)));
            if (name[end] != '+') {
                break;
            }
            name.erase(0, end + 1);
        }
    }
    return numbers;
}

} // namespace

TEST(Resources, EveryLanguageBringsAllFormsAndIcons) {
    const std::set<unsigned int> forms = numbersIn("dialogs");
    const std::set<unsigned int> icons = numbersIn("icons");
    ASSERT_TRUE(forms.contains(12047) && forms.contains(19014) && forms.contains(12100) && forms.contains(12101));
    for (const wchar_t* const language : {L"en", L"es"}) {
        ASSERT_TRUE(kivLoadLanguage(language));
        for (const unsigned int id : forms) {
            const std::string_view form = kivFindResource(nullptr, KivResourceKind::dialog, id);
            EXPECT_TRUE(form.starts_with("<?xml") && form.ends_with("</ui>\n")) << id;
            EXPECT_EQ(form.find(">@"), std::string_view::npos) << id << ": a text was left out";
        }
        for (const unsigned int id : icons) {
            const std::string_view icon = kivFindResource(nullptr, KivResourceKind::icon, id);
            EXPECT_TRUE(icon.starts_with("<svg") && icon.ends_with("</svg>\n")) << id;
        }
    }
}

TEST(Resources, FormsSpeakTheLanguage) {
    ASSERT_TRUE(kivLoadLanguage(L"es"));
    const std::string_view form = kivFindResource(nullptr, KivResourceKind::dialog, 12101);
    EXPECT_NE(form.find("<string>Guardar estilo</string>"), std::string_view::npos);
    EXPECT_NE(form.find("<string>&amp;Guardar</string>"), std::string_view::npos);
}

TEST(Resources, UnknownOnesAreEmpty) {
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    EXPECT_TRUE(kivFindResource(nullptr, KivResourceKind::dialog, 1).empty());
    EXPECT_TRUE(kivFindResource(nullptr, KivResourceKind::dialog, 12150).empty()) << "that is an icon";
    EXPECT_TRUE(kivFindResource(nullptr, static_cast<KivResourceKind>(7), 12047).empty());
    EXPECT_EQ(kivLoadLangResourceDLL(L"nowhere"), 0);
    EXPECT_TRUE(kivFindResource(nullptr, KivResourceKind::dialog, 12101).empty()) << "no language, no forms";
    ASSERT_TRUE(kivLoadLanguage(L"en"));
}
