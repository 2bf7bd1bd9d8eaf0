#include "kivrender/settings/kivsettingscheck.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

const KivSettingInfo good = {"Bands", KivSettingType::Int, 1, 8, 3, L"Number of bands", nullptr};

std::wstring faultOf(const KivSettingInfo& second) {
    const KivSettingInfo table[] = {good, second};
    return kivSettingsFault(table, 2);
}

TEST(KivSettingsFault, ATableInOrderHasNone) {
    EXPECT_EQ(kivSettingsFault(&good, 1), L"");
    EXPECT_EQ(kivSettingsFault(nullptr, 0), L"");
    EXPECT_EQ(faultOf({"Joins", KivSettingType::Choice, 0, 0, 0, L"How lines meet", "round|mitre"}), L"");
    EXPECT_EQ(faultOf({"Ink", KivSettingType::Colour, 5, 1, 0, L"Its range follows from its type", nullptr}), L"");
}

TEST(KivSettingsFault, EachIsToldWithTheSetting) {
    const auto with = [](auto change) {
        KivSettingInfo info = {"Width", KivSettingType::Double, 0, 1, 0.5, L"Width", nullptr};
        change(info);
        return faultOf(info);
    };
    const std::wstring second = L"setting 2 of its table ";
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(with([](auto& info) { info.key = nullptr; }), second + L"has no key");
    for (const char* const key : {"", " a", "a ", "a=b", "a\nb", ";a", "[a"}) {
        EXPECT_EQ(with([key](auto& info) { info.key = key; }), second + L"has a key that can't stand in a style file")
            << key;
    }
    EXPECT_EQ(with([](auto& info) { info.key = "bands"; }), second + L"has the key of another one");
    for (const int type : {-1, 5, 1000}) {
        EXPECT_EQ(with([type](auto& info) { info.type = static_cast<KivSettingType>(type); }), second + L"has no type");
    }
    EXPECT_EQ(with([](auto& info) { info.minimum = 2; }), second + L"has a range that is none");
    EXPECT_EQ(with([](auto& info) { info.maximum = nan; }), second + L"has a range that is none");
    EXPECT_EQ(with([](auto& info) { info.type = KivSettingType::Choice; }), second + L"has no choices");
    EXPECT_EQ(with([](auto& info) { info.text = nullptr; }), second + L"has no text");
}

TEST(KivSettingsFault, TheNumberOfSettingsIsLookedAtFirst) {
    EXPECT_EQ(kivSettingsFault(&good, -1), L"a table of -1 settings is none");
    EXPECT_EQ(kivSettingsFault(&good, kivMostSettings + 1), L"a table of 4097 settings is none");
    EXPECT_EQ(kivSettingsFault(nullptr, 1), L"its table of settings is missing");
}

} // namespace
