// Plug-ins of strangers: whatever one does when it is loaded or unloaded, it is left out with one line that names its
// file and the reason, and the others load.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "support/recordingtoolkit.h"
#include "support/temphome.h"
#include "support/testshader.h"

#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

class KivShaderFaults : public testing::Test {
protected:
    ~KivShaderFaults() override {
        unload();
    }

    unsigned long load() {
        loaded = true;
        return KivShader::loadShaders(folder.wide().c_str());
    }
    void unload() {
        if (loaded) {
            KivShader::unLoadAll();
        }
        loaded = false;
    }
    std::filesystem::path copyPlugin(const std::string& plugin, const std::string& name) {
        const std::filesystem::path to = folder.path() / (name + ".so");
        std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / (plugin + ".so"), to);
        return to;
    }
    bool isOpen(const std::string& name) const {
        void* const handle = dlopen((folder.path() / (name + ".so")).c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr) {
            dlclose(handle);
        }
        return handle != nullptr;
    }
    // The box for a file of the folder.
    std::wstring box(const std::string& name, const std::wstring& reason) const {
        return L"kivshader(77)-8\n" + folder.wide(name + ".so") + L": " + reason;
    }

    TempFolder folder;
    RecordingToolkit toolkit;
    bool loaded = false;
};

struct Fault {
    const char* plugin;
    std::wstring reason;
};

class KivShaderFaultsEach : public KivShaderFaults, public testing::WithParamInterface<Fault> {};

TEST_P(KivShaderFaultsEach, IsLeftOutWithALineAndUnloaded) {
    copyPlugin(GetParam().plugin, "a");
    TestShader::install(folder.path(), {"b"});
    EXPECT_EQ(load(), 1U);
    EXPECT_STREQ(KivShader::getByIndex(0)->getTag(), L"b");
    ASSERT_EQ(toolkit.messages.size(), 1U);
    EXPECT_EQ(toolkit.messages[0].caption, L"Morvane ERROR");
    EXPECT_EQ(kivToUtf8(toolkit.messages[0].text), kivToUtf8(box("a", GetParam().reason)));
    EXPECT_EQ(kivLastModuleError().text, folder.wide("a.so") + L": " + GetParam().reason);
    EXPECT_FALSE(isOpen("a"));
}

INSTANTIATE_TEST_SUITE_P(
    Plugins, KivShaderFaultsEach,
    testing::Values(Fault{"throws_from_create", L"KivShaderCreate threw: no paint left"},
                    Fault{"throws_from_tag", L"getTag threw: an exception of a type of its own"},
                    Fault{"throws_from_name", L"getName threw: no name"}, Fault{"null_tag", L"getTag gives no text"},
                    Fault{"null_name", L"getName gives no text"},
                    Fault{"bad_tag", L"its tag \"Faulty;Cartoon\" can't stand in style files"},
                    Fault{"null_key", L"setting 2 of its table has no key"},
                    Fault{"too_many_settings", L"a table of 2147483647 settings is none"},
                    Fault{"throws_from_settings", L"KivShaderSettings threw: no table"},
                    Fault{"other_interface", L"it was built for version " + std::to_wstring(kivShaderInterface + 1) +
                                                 L" of the shader interface, and this library has " +
                                                 std::to_wstring(kivShaderInterface)},
                    Fault{"no_shader", L"KivShaderCreate gives something that is no shader of this library's classes"},
                    Fault{"wrong_kind", L"isCombinable contradicts the class of its shader"}),
    [](const auto& each) { return std::string(each.param.plugin); });

TEST_F(KivShaderFaults, APluginOfTheSameInterfaceAndOneWithoutANumberLoad) {
    copyPlugin("same_interface", "a");
    copyPlugin("settings", "b"); // has the same tag, and is told for that alone
    EXPECT_EQ(load(), 1U);
    EXPECT_TRUE(isOpen("a"));
    unload();
    std::filesystem::remove(folder.path() / "a.so");
    EXPECT_EQ(load(), 1U);
    EXPECT_TRUE(isOpen("b"));
}

TEST_F(KivShaderFaults, OfTwoPluginsWithOneTagTheFirstStays) {
    copyPlugin("settings", "a");
    copyPlugin("same_interface", "b");
    std::filesystem::create_symlink(folder.path() / "a.so", folder.path() / "c.so");
    EXPECT_EQ(load(), 1U);
    ASSERT_EQ(toolkit.messages.size(), 2U);
    const std::wstring reason = L"its tag \"Faulty\" is that of " + folder.wide("a.so");
    EXPECT_EQ(toolkit.messages[0].text, box("b", reason));
    EXPECT_EQ(toolkit.messages[1].text, box("c", reason)) << "one module under two names";
    EXPECT_STREQ(KivShader::getByIndex(0)->getTag(), L"Faulty") << "its shader was not the one that went";
    unload();
    EXPECT_FALSE(isOpen("a")) << "the module under its second name is given back too";
}

// The object lies in the module, which is loaded but once.
TEST_F(KivShaderFaults, AModuleThatGivesItsShaderTwiceHasItInTheTableOnce) {
    copyPlugin("no_delete", "a");
    std::filesystem::create_symlink(folder.path() / "a.so", folder.path() / "b.so");
    EXPECT_EQ(load(), 1U);
    ASSERT_EQ(toolkit.messages.size(), 1U);
    EXPECT_EQ(toolkit.messages[0].text, box("b", L"KivShaderCreate gives the shader of another plug-in"));
    EXPECT_EQ(KivShader::getByIndex(0)->addRef(), 2U);
    EXPECT_EQ(KivShader::getByIndex(0)->release(), 1U);
    unload();
    EXPECT_FALSE(isOpen("a"));
}

TEST_F(KivShaderFaults, PluginsThatAreLeftOutTakeNoPlace) {
    for (int i = 0; i < 40; ++i) {
        copyPlugin("null_tag", "a" + std::to_string(i));
    }
    TestShader::install(folder.path(), {"b"});
    EXPECT_EQ(load(), 1U);
    EXPECT_EQ(toolkit.messages.size(), 40U);
}

TEST_F(KivShaderFaults, APluginThatThrowsAtItsEndIsUnloadedAndTold) {
    copyPlugin("throws_from_delete", "a");
    TestShader::install(folder.path(), {"b"});
    EXPECT_EQ(load(), 2U);
    EXPECT_TRUE(toolkit.messages.empty());
    unload();
    ASSERT_EQ(toolkit.messages.size(), 1U);
    EXPECT_EQ(toolkit.messages[0].text, box("a", L"KivShaderDelete threw: no end"));
    EXPECT_FALSE(isOpen("a"));
    EXPECT_FALSE(isOpen("b"));
}

TEST_F(KivShaderFaults, APluginThatDoesNotTellItsModuleIsDestroyedAndUnloadedAllTheSame) {
    copyPlugin("null_module", "a");
    EXPECT_EQ(load(), 1U);
    unload();
    EXPECT_FALSE(isOpen("a"));
}

TEST_F(KivShaderFaults, APluginWithoutDeleteCanBeLoadedAgain) {
    copyPlugin("no_delete", "a");
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(load(), 1U) << round;
        EXPECT_EQ(KivShader::getByIndex(0)->addRef(), 2U);
        EXPECT_EQ(KivShader::getByIndex(0)->release(), 1U);
        unload();
    }
    EXPECT_TRUE(toolkit.messages.empty());
}

// Where a file is cut decides what is missing: its head, its segments, the table at its end.
TEST_F(KivShaderFaults, AFileThatWasCutOffIsLeftOut) {
    const std::filesystem::path file = copyPlugin("settings", "a");
    const std::uintmax_t size = std::filesystem::file_size(file);
    for (const std::uintmax_t length : {std::uintmax_t{0}, std::uintmax_t{3}, std::uintmax_t{40}, std::uintmax_t{64},
                                        std::uintmax_t{1000}, size / 4, size / 2, size - 4096, size - 1}) {
        toolkit.messages.clear();
        std::filesystem::resize_file(file, length);
        EXPECT_EQ(load(), 0U) << length;
        unload();
        ASSERT_EQ(toolkit.messages.size(), 1U) << length;
        const std::wstring& text = toolkit.messages[0].text;
        EXPECT_TRUE(text.starts_with(L"kivshader(77)-8\n" + folder.wide("a.so") + L": ")) << kivToUtf8(text);
        const bool hasHead = length >= 4;
        EXPECT_NE(text.find(hasHead ? L"the file is cut off: it has " + std::to_wstring(length) + L" of "
                                    : std::wstring(L"it is no shared library")),
                  std::wstring::npos)
            << kivToUtf8(text);
        std::filesystem::remove(file);
        copyPlugin("settings", "a");
    }
    EXPECT_EQ(load(), 1U) << "the whole file";
}

TEST_F(KivShaderFaults, AProgramAndALibraryOfAnotherProcessorAreLeftOut) {
    std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / "settings.so", folder.path() / "a.so");
    const auto patch = [&](std::streamoff at, char value) {
        std::fstream file(folder.path() / "a.so", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(at);
        file.put(value);
    };
    constexpr std::streamoff type = 16;
    constexpr std::streamoff processor = 18;
    patch(type, 2); // ET_EXEC
    EXPECT_EQ(load(), 0U);
    unload();
    patch(type, 3);
    patch(processor, 8); // MIPS
    EXPECT_EQ(load(), 0U);
    ASSERT_EQ(toolkit.messages.size(), 2U);
    EXPECT_EQ(toolkit.messages[0].text, box("a", L"it is no shared library"));
    EXPECT_EQ(toolkit.messages[1].text, box("a", L"it was built for another processor"));
}

} // namespace
