// Loading and unloading of plug-ins, with real ones.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshader.h"
#include "support/recordingtoolkit.h"
#include "support/temphome.h"
#include "support/testshader.h"

#include <algorithm>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

class KivShaderLoader : public testing::Test {
protected:
    ~KivShaderLoader() override {
        while (loads-- > 0) {
            KivShader::unLoadAll();
        }
    }

    unsigned long load(const std::filesystem::path& path) {
        ++loads;
        return KivShader::loadShaders(kivFromUtf8(path.string()).c_str());
    }
    void unload() {
        --loads;
        EXPECT_TRUE(KivShader::unLoadAll());
    }
    void copyPlugin(const std::string& plugin, const std::string& name) {
        std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / (plugin + ".so"),
                                   folder.path() / (name + ".so"));
    }
    bool isOpen(const std::string& name) const {
        void* const handle = dlopen((folder.path() / (name + ".so")).c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr) {
            dlclose(handle);
        }
        return handle != nullptr;
    }
    static std::vector<std::wstring> tags() {
        std::vector<std::wstring> list;
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            list.emplace_back(KivShader::getByIndex(i)->getTag());
        }
        return list;
    }

    TempFolder folder;
    RecordingToolkit toolkit;

private:
    int loads = 0;
};

TEST_F(KivShaderLoader, LoadsEveryPluginOfTheFolderInNameOrder) {
    TestShader::install(folder.path(), {"beta", "add-alpha", "Gamma"});
    EXPECT_EQ(load(folder.path()), 3U);
    EXPECT_EQ(tags(), (std::vector<std::wstring>{L"add-alpha", L"beta", L"Gamma"}));
    EXPECT_TRUE(KivShader::getByTag(L"add-alpha")->isCombinable());
    EXPECT_FALSE(KivShader::getByTag(L"beta")->isCombinable());
    EXPECT_TRUE(toolkit.messages.empty());
}

TEST_F(KivShaderLoader, AFolderThatIsMissingOrEmptyGivesAnEmptyTableWithoutAMessage) {
    EXPECT_EQ(load(folder.path() / "nowhere"), 0U);
    EXPECT_EQ(load(folder.path()), 0U);
    EXPECT_EQ(KivShader::getFirstShader(), nullptr);
    EXPECT_EQ(KivShader::current(), nullptr);
    EXPECT_TRUE(toolkit.messages.empty());
}

TEST_F(KivShaderLoader, AScanThatFoundNothingIsDoneAgainByTheNextLoad) {
    EXPECT_EQ(load(folder.path() / "nowhere"), 0U);
    TestShader::install(folder.path(), {"found"});
    EXPECT_EQ(load(folder.path()), 1U);
    unload();
    EXPECT_EQ(KivShader::shaders(), 1U) << "two loads are outstanding, one of them of nothing";
    unload();
    EXPECT_EQ(KivShader::shaders(), 0U);
}

TEST_F(KivShaderLoader, ASecondLoadCountsAndIgnoresItsPath) {
    TestShader::install(folder.path() / "first", {"first"});
    TestShader::install(folder.path() / "second", {"second", "third"});
    EXPECT_EQ(load(folder.path() / "first"), 1U);
    EXPECT_EQ(load(folder.path() / "second"), 1U);
    EXPECT_EQ(tags(), std::vector<std::wstring>{L"first"});
    unload();
    EXPECT_EQ(tags(), std::vector<std::wstring>{L"first"}) << "one load is still outstanding";
    unload();
    EXPECT_EQ(KivShader::shaders(), 0U);
    EXPECT_EQ(KivShader::getFirstShader(), nullptr);
    EXPECT_TRUE(KivShader::unLoadAll()) << "one too many changes nothing";
    EXPECT_EQ(load(folder.path() / "second"), 2U) << "and the count did not go below zero";
}

TEST_F(KivShaderLoader, UnloadingClosesTheModules) {
    TestShader::install(folder.path(), {"one", "two"});
    load(folder.path());
    EXPECT_TRUE(isOpen("one"));
    unload();
    EXPECT_FALSE(isOpen("one"));
    EXPECT_FALSE(isOpen("two"));
}

// Plug-ins that came earlier may serve those that came later, so they go first only if the table says so.
TEST_F(KivShaderLoader, ShadersGoInTheOrderOfTheTable) {
    TestShader::install(folder.path(), {"c", "a", "b"});
    load(folder.path());
    std::vector<std::wstring> gone;
    for (const wchar_t* const tag : {L"a", L"b", L"c"}) {
        TestShader::of(tag).onDelete = [&gone](const KivShader& shader) { gone.emplace_back(shader.getTag()); };
    }
    unload();
    EXPECT_EQ(gone, (std::vector<std::wstring>{L"a", L"b", L"c"}));
}

TEST_F(KivShaderLoader, AShaderThatIsHeldOutlivesTheTable) {
    TestShader::install(folder.path(), {"held"});
    load(folder.path());
    KivShader* const held = KivShader::getByTag(L"held");
    EXPECT_EQ(held->addRef(), 2U);
    unload();
    EXPECT_EQ(KivShader::getByTag(L"held"), nullptr);
    EXPECT_TRUE(isOpen("held"));
    EXPECT_STREQ(held->getTag(), L"held");
    EXPECT_EQ(held->release(), 0U);
    EXPECT_FALSE(isOpen("held"));
}

TEST_F(KivShaderLoader, ThirtyTwoShadersFillTheTableAndTheNextModuleIsNeverOpened) {
    std::vector<std::string> names;
    for (int i = 0; i < 33; ++i) {
        names.push_back((i < 10 ? "p0" : "p") + std::to_string(i));
    }
    TestShader::install(folder.path(), names);
    EXPECT_EQ(load(folder.path()), 32U);
    EXPECT_STREQ(KivShader::getByIndex(0)->getTag(), L"p00");
    EXPECT_STREQ(KivShader::getByIndex(31)->getTag(), L"p31");
    EXPECT_EQ(KivShader::getByIndex(32), nullptr);
    EXPECT_EQ(KivShader::getByTag(L"p32"), nullptr);
    EXPECT_TRUE(isOpen("p31"));
    EXPECT_FALSE(isOpen("p32"));

    int walked = 0;
    for (KivShader* shader = KivShader::getFirstShader(); shader != nullptr; shader = KivShader::getNextShader()) {
        ++walked;
    }
    EXPECT_EQ(walked, 32);
    EXPECT_EQ(KivShader::getNextShader(), nullptr) << "behind the end of a full table";
    EXPECT_EQ(KivShader::getNextShader(), nullptr);
    KivShader::selectByTag(L"unknown"); // stores 32
    EXPECT_EQ(KivShader::current(), nullptr);
}

TEST_F(KivShaderLoader, AFileThatIsNoLibraryIsToldInAMessageBoxAndTheScanGoesOn) {
    folder.write("a.so", "This is a text, whatever its name says.\n");
    TestShader::install(folder.path(), {"b"});
    EXPECT_EQ(load(folder.path()), 1U);
    ASSERT_EQ(toolkit.messages.size(), 1U);
    const RecordingToolkit::Message& message = toolkit.messages[0];
    EXPECT_EQ(message.caption, L"Morvane ERROR");
    EXPECT_EQ(message.kind, KivMessageKind::Error);
    EXPECT_EQ(message.owner, nullptr);
    const std::wstring begin = L"kivshader(77)-";
    ASSERT_TRUE(message.text.starts_with(begin)) << kivToUtf8(message.text);
    EXPECT_EQ(message.text, begin + std::to_wstring(kivLastModuleError().code) + L"\n" +
                                (kivFromUtf8((folder.path() / "a.so").string()) + L": it is no shared library"));
    EXPECT_NE(kivLastModuleError().code, 0U);
}

TEST_F(KivShaderLoader, ALibraryThatIsNoPluginIsPassedOverWithoutAWord) {
    copyPlugin("exports_nothing", "a");
    TestShader::install(folder.path(), {"b"});
    EXPECT_EQ(load(folder.path()), 1U);
    EXPECT_TRUE(toolkit.messages.empty());
    EXPECT_FALSE(isOpen("a"));
}

TEST_F(KivShaderLoader, APluginThatMakesNoShaderIsNotEnteredAndStaysLoaded) {
    copyPlugin("makes_nothing", "a");
    TestShader::install(folder.path(), {"b"});
    EXPECT_EQ(load(folder.path()), 1U);
    EXPECT_STREQ(KivShader::getByIndex(0)->getTag(), L"b");
    EXPECT_TRUE(toolkit.messages.empty()) << "it may have its reasons";
    EXPECT_TRUE(kivLastModuleError().text.ends_with(L"a.so: KivShaderCreate makes no shader"));
    EXPECT_TRUE(isOpen("a"));
}

TEST_F(KivShaderLoader, APluginWithoutDeleteIsUnloadedAllTheSame) {
    copyPlugin("no_delete", "a");
    load(folder.path());
    KivShader* const shader = KivShader::getByTag(L"Faulty");
    ASSERT_NE(shader, nullptr);
    EXPECT_EQ(shader->addRef(), 2U);
    unload();
    EXPECT_TRUE(isOpen("a"));
    EXPECT_EQ(shader->release(), 0U);
    EXPECT_FALSE(isOpen("a"));
}

// One that was in order when it was loaded.
TEST_F(KivShaderLoader, APluginThatThrowsFromItsTagOrNameDoesNotHideALaterOne) {
    copyPlugin("throws_later", "a");
    TestShader::install(folder.path(), {"b"});
    ASSERT_EQ(load(folder.path()), 2U);
    EXPECT_EQ(KivShader::getByTag(L"Faulty"), KivShader::getByIndex(0));
    void* const handle = dlopen((folder.path() / "a.so").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(handle, nullptr);
    reinterpret_cast<void (*)()>(dlsym(handle, "faultyFromNowOn"))();
    dlclose(handle);
    EXPECT_EQ(KivShader::getByTag(L"b"), KivShader::getByIndex(1));
    EXPECT_EQ(KivShader::getByName(L"Test b"), KivShader::getByIndex(1));
    EXPECT_EQ(KivShader::getByTag(L"Faulty"), nullptr);
    EXPECT_EQ(KivShader::getByName(L"Test Faulty"), nullptr);
    KivShader::selectByTag(L"b");
    EXPECT_EQ(KivShader::current(), KivShader::getByIndex(1));
}

TEST_F(KivShaderLoader, WithoutAPathTheFolderBesideTheLibraryIsScanned) {
    const std::filesystem::path beside = std::filesystem::path(kivToUtf8(kivLibraryFolder())) / "shaders";
    // Whatever the build has put there: all of it are plug-ins.
    const std::vector<std::wstring> modules = kivListModules(kivFromUtf8(beside.string()));
    const unsigned long loaded = KivShader::loadShaders(nullptr);
    EXPECT_EQ(loaded, std::min<std::size_t>(modules.size(), kivMaxShaders));
    KivShader::unLoadAll();
}

} // namespace
