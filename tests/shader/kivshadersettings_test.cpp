#include "kivrender/shader/kivshadersettings.h"

#include "kivrender/shader/kivshader.h"
#include "support/plainshader.h"
#include "support/temphome.h"
#include "support/testshader.h"

#include <gtest/gtest.h>

namespace {

TEST(KivShaderSettings, ComeFromThePlugin) {
    TempFolder folder;
    std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / "settings.so", folder.path() / "settings.so");
    ASSERT_EQ(KivShader::loadShaders(folder.wide().c_str()), 1U);
    int count = -1;
    const KivSettingInfo* const table = kivShaderSettings(KivShader::getByIndex(0), &count);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(count, 2);
    EXPECT_STREQ(table[0].key, "Bands");
    EXPECT_STREQ(table[1].key, "Ink");
    KivShader::unLoadAll();
}

TEST(KivShaderSettings, AreNoneForAPluginThatTellsNone) {
    TempFolder folder;
    TestShader::install(folder.path(), {"plain"});
    ASSERT_EQ(KivShader::loadShaders(folder.wide().c_str()), 1U);
    int count = -1;
    EXPECT_EQ(kivShaderSettings(KivShader::getByIndex(0), &count), nullptr);
    EXPECT_EQ(count, 0);
    KivShader::unLoadAll();
}

TEST(KivShaderSettings, AreNoneForNoShaderAndForOneWithoutAModule) {
    int count = -1;
    EXPECT_EQ(kivShaderSettings(nullptr, &count), nullptr);
    EXPECT_EQ(count, 0);
    count = -1;
    const PlainCombinable shader(nullptr, L"tag", L"name");
    EXPECT_EQ(kivShaderSettings(&shader, &count), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(kivShaderSettings(nullptr, nullptr), nullptr);
}

} // namespace
