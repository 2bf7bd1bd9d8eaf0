// Plug-ins that would take the program with them: they are met in a process of their own, and left out with a line.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivplugintrial.h"
#include "kivrender/shader/kivshader.h"
#include "support/recordingtoolkit.h"
#include "support/temphome.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

class KivPluginTrialTest : public testing::Test {
protected:
    KivPluginTrialTest() {
        environment.set("SELVARIN_PLUGIN_TRIAL", "on");
        environment.set("XDG_CACHE_HOME", cache.path().string());
        KivPluginTrial::setLimits(0.3, 30.0);
        KivPluginTrial::forget();
    }
    ~KivPluginTrialTest() override {
        unload();
        KivPluginTrial::setLimits(3.0, 30.0);
    }

    unsigned long load() {
        unload();
        isLoaded = true;
        return KivShader::loadShaders(folder.wide().c_str());
    }
    void unload() {
        if (isLoaded) {
            KivShader::unLoadAll();
        }
        isLoaded = false;
    }
    void copyPlugin(const std::string& plugin, const std::string& name) const {
        std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / (plugin + ".so"),
                                   folder.path() / (name + ".so"));
    }
    std::string cacheFile() const {
        return cache.read("tolvar/plugins");
    }
    // How long trials have taken lately: one that was not made takes next to nothing.
    double loadMilliseconds() {
        const auto start = std::chrono::steady_clock::now();
        load();
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }

    ScopedEnvironment environment;
    TempFolder folder;
    TempFolder cache;
    RecordingToolkit toolkit;
    bool isLoaded = false;
};

struct Deadly {
    const char* plugin;
    const wchar_t* reason;
};

class KivPluginTrialEach : public KivPluginTrialTest, public testing::WithParamInterface<Deadly> {};

TEST_P(KivPluginTrialEach, IsLeftOutWithALine) {
    copyPlugin(GetParam().plugin, "a");
    copyPlugin("settings", "b");
    EXPECT_EQ(load(), 1U);
    EXPECT_STREQ(KivShader::getByIndex(0)->getTag(), L"Faulty");
    ASSERT_EQ(toolkit.messages.size(), 1U);
    EXPECT_EQ(kivToUtf8(toolkit.messages[0].text),
              kivToUtf8(L"kivshader(77)-8\n" + folder.wide("a.so") + L": " + GetParam().reason));
    EXPECT_EQ(kivLastModuleError().text, folder.wide("a.so") + L": " + GetParam().reason);
}

#if defined(__SANITIZE_ADDRESS__)
// It has handlers of its own for these signals, and they end the process in its own way.
constexpr const wchar_t* crashes = L"it ends the program ";
#else
constexpr const wchar_t* crashes = L"it crashes (Segmentation fault) ";
#endif
const std::wstring crashesAsked = std::wstring(crashes) + L"when it was asked for its tag, name and settings";
const std::wstring crashesLoaded = std::wstring(crashes) + L"while it was loaded";
const std::wstring crashesDeleted = std::wstring(crashes) + L"in KivShaderDelete";
const std::wstring crashesUnloaded = std::wstring(crashes) + L"while it was unloaded";

INSTANTIATE_TEST_SUITE_P(Plugins, KivPluginTrialEach,
                         testing::Values(Deadly{"throws_while_loaded", L"it crashes (Aborted) while it was loaded"},
                                         Deadly{"aborts_while_loaded", L"it crashes (Aborted) while it was loaded"},
                                         Deadly{"crashes_while_loaded", crashesLoaded.c_str()},
                                         Deadly{"exits_while_loaded", L"it ends the program while it was loaded"},
                                         Deadly{"loops_while_loaded", L"it did not come to an end while it was loaded"},
                                         Deadly{"crashes_in_name", crashesAsked.c_str()},
                                         Deadly{"exits_from_create", L"it ends the program in KivShaderCreate"},
                                         Deadly{"loops_in_create", L"it did not come to an end in KivShaderCreate"},
                                         Deadly{
                                             "aborts_in_settings",
                                             L"it crashes (Aborted) when it was asked for its tag, name and settings"},
                                         Deadly{"crashes_in_delete", crashesDeleted.c_str()},
                                         Deadly{"crashes_while_unloaded", crashesUnloaded.c_str()}),
                         [](const auto& each) { return std::string(each.param.plugin); });

// One process serves for all of a folder, until a plug-in ends it.
TEST_F(KivPluginTrialTest, ManyAreLeftOutAndTheOthersLoad) {
    copyPlugin("crashes_in_name", "a");
    copyPlugin("throws_from_tag", "b");
    copyPlugin("exits_from_create", "c");
    copyPlugin("settings", "d");
    copyPlugin("aborts_while_loaded", "e");
    folder.write("f.so", "no library at all");
    EXPECT_EQ(load(), 1U);
    ASSERT_EQ(toolkit.messages.size(), 5U);
    EXPECT_NE(toolkit.messages[1].text.find(L"getTag threw"), std::wstring::npos) << "the loader's own reason";
    EXPECT_NE(toolkit.messages[4].text.find(L"it is no shared library"), std::wstring::npos);
}

TEST_F(KivPluginTrialTest, WhatFailedIsToldAgainWithoutATrial) {
    copyPlugin("loops_in_create", "a");
    load();
    ASSERT_EQ(toolkit.messages.size(), 1U);
    EXPECT_LT(loadMilliseconds(), 250.0) << "less than what the loop is given";
    ASSERT_EQ(toolkit.messages.size(), 2U);
    EXPECT_EQ(toolkit.messages[0].text, toolkit.messages[1].text);
    EXPECT_EQ(cacheFile(), "") << "the next program tries it again";
}

TEST_F(KivPluginTrialTest, WhatWentThroughIsWrittenDown) {
    copyPlugin("settings", "a");
    EXPECT_EQ(load(), 1U);
    const std::string first = cacheFile();
    EXPECT_NE(first.find((folder.path() / "a.so").string() + "\n"), std::string::npos);
    EXPECT_EQ(load(), 1U);
    EXPECT_EQ(cacheFile(), first);
    // Another plug-in under the same name.
    unload();
    std::filesystem::remove(folder.path() / "a.so");
    copyPlugin("crashes_in_name", "a");
    EXPECT_EQ(load(), 0U);
    EXPECT_EQ(toolkit.messages.size(), 1U);
    EXPECT_EQ(cacheFile(), first) << "and is not among those that went through";
}

// With no time at all every trial fails.
TEST_F(KivPluginTrialTest, WhatIsWrittenDownIsNotTriedByTheNextProgram) {
    copyPlugin("settings", "a");
    EXPECT_EQ(load(), 1U);
    unload();
    KivPluginTrial::forget();
    KivPluginTrial::setLimits(-1.0, -1.0);
    EXPECT_EQ(load(), 1U);
    EXPECT_TRUE(toolkit.messages.empty());
    unload();
    // A file of another library, or one that is damaged, says nothing.
    for (const std::string& text :
         {"selvarin plug-ins that load, with another\n" + cacheFile(), std::string(100, 'x'), std::string()}) {
        cache.write("tolvar/plugins", text);
        KivPluginTrial::forget();
        EXPECT_EQ(load(), 0U) << text;
        unload();
    }
    EXPECT_EQ(toolkit.messages.size(), 3U);
}

TEST_F(KivPluginTrialTest, WithoutAPlaceForTheFileAllGoesOn) {
    for (const std::string& place : {std::string("/proc/none"), (folder.path() / "a.so" / "below").string()}) {
        environment.set("XDG_CACHE_HOME", place);
        std::filesystem::remove(folder.path() / "a.so");
        copyPlugin("settings", "a");
        EXPECT_EQ(load(), 1U) << place;
        unload();
    }
    EXPECT_TRUE(toolkit.messages.empty());
}

TEST_F(KivPluginTrialTest, OffLoadsAtOnce) {
    environment.set("SELVARIN_PLUGIN_TRIAL", "off");
    copyPlugin("settings", "a");
    EXPECT_EQ(load(), 1U);
    EXPECT_EQ(cacheFile(), "");
}

// A plug-in that comes with the library costs a start nothing; a copy of it under another folder is somebody's.
TEST_F(KivPluginTrialTest, ThoseOfTheLibraryAreTrusted) {
    KivPluginTrial trial;
    const std::wstring own = kivLibraryFolder() + L"/shaders/cartoon.so";
    if (!std::filesystem::exists(own)) {
        GTEST_SKIP() << "the shaders are not built";
    }
    EXPECT_EQ(trial.faultOf(own), L"");
    EXPECT_EQ(trial.faultOf(kivLibraryFolder() + L"/shaders/../shaders/cartoon.so"), L"");
    EXPECT_EQ(cacheFile(), "");
    std::filesystem::copy_file(own, folder.path() / "cartoon.so");
    {
        KivPluginTrial other;
        EXPECT_EQ(other.faultOf(folder.wide("cartoon.so")), L"");
    }
    EXPECT_NE(cacheFile().find("cartoon.so"), std::string::npos) << "that one was tried";
}

} // namespace
