#include "kivrender/dialogs/kivstaticlink.h"

#include "kivrender/host/kivlanguage.h"
#include "support/recordingtoolkit.h"

#include <gtest/gtest.h>

namespace {

constexpr int control = 60000; // no text of the language module has this number

TEST(KivStaticLink, LooksLikeALinkAndLeadsWhereItsTextSays) {
    const auto record = std::make_shared<WindowRecord>();
    RecordingWindow window(record);
    record->controls[control].text = L"Help";
    KivStaticLink link;
    link.attach(&window, control);
    EXPECT_TRUE(record->at(control).link);
    EXPECT_EQ(record->at(control).linkColor, 0xff0000U);
    EXPECT_TRUE(link.click());
    EXPECT_EQ(link.link, L"Help");
    record->controls[control].text = L"Other";
    EXPECT_TRUE(link.click());
    EXPECT_EQ(link.link, L"Help") << "a link that is set stays";
    EXPECT_EQ(record->beeps, 0);
}

TEST(KivStaticLink, TakesTheTextOfItsNumberWhereTheControlHasNone) {
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    constexpr int numberOfAText = 90;
    const auto record = std::make_shared<WindowRecord>();
    RecordingWindow window(record);
    KivStaticLink link;
    link.attach(&window, numberOfAText);
    EXPECT_TRUE(link.click());
    EXPECT_FALSE(link.link.empty());
    EXPECT_EQ(link.link, kivText(numberOfAText));
    EXPECT_EQ(record->beeps, 0);
}

TEST(KivStaticLink, BeepsWithoutAnyText) {
    const auto record = std::make_shared<WindowRecord>();
    RecordingWindow window(record);
    KivStaticLink link;
    EXPECT_FALSE(link.click()) << "it is tied to no control yet";
    link.attach(&window, control);
    EXPECT_FALSE(link.click());
    EXPECT_EQ(record->beeps, 1);
    EXPECT_TRUE(link.link.empty());
}

} // namespace
