#include "kivrender/platform/kivmodule.h"

#include "kivrender/platform/kivtext.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

TEST(KivModule, LoadsFindsAndUnloads) {
    HINSTANCE module = kivLoadModule(kivFromUtf8(TEST_MODULES) + L"/sample" + kivModuleEnding());
    ASSERT_NE(module, nullptr) << kivToUtf8(kivLastModuleError().text);
    auto* answer = reinterpret_cast<int (*)()>(kivFindSymbol(module, "sampleAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(kivFindSymbol(module, "somethingElse"), nullptr);
    kivUnloadModule(module);
}

TEST(KivModule, MissingFileTellsWhy) {
    EXPECT_EQ(kivLoadModule(L"/no/such/module.so"), nullptr);
    const KivModuleError error = kivLastModuleError();
    EXPECT_NE(error.code, 0U);
    EXPECT_NE(error.text.find(L"/no/such/module.so"), std::wstring::npos);
}

TEST(KivModule, FileThatIsNoModuleTellsWhy) {
    const TempFolder folder;
    folder.write("text.so", "this is no library");
    EXPECT_EQ(kivLoadModule(folder.wide("text.so")), nullptr);
    EXPECT_NE(kivLastModuleError().code, 0U);
    EXPECT_FALSE(kivLastModuleError().text.empty());
}

TEST(KivModule, NullModules) {
    EXPECT_EQ(kivFindSymbol(nullptr, "sampleAnswer"), nullptr);
    kivUnloadModule(nullptr);
}

TEST(KivModule, FoldersAreListedInNameOrderWithoutCase) {
    const TempFolder folder;
    for (const char* name : {"b.so", "A.SO", "c.so", "a.so", "readme.txt", ".so", "d.so.bak"}) {
        folder.write(name, "");
    }
    std::filesystem::create_directory(folder.path() / "folder.so");
    const std::vector<std::wstring> expected = {L"A.SO", L"a.so", L"b.so", L"c.so"};
    EXPECT_EQ(kivListModules(folder.wide()), expected);
    EXPECT_TRUE(kivListModules(folder.wide("missing")).empty());
}

TEST(KivModule, LibraryFolderHoldsTheLibrary) {
    EXPECT_TRUE(std::filesystem::equivalent(kivToUtf8(kivLibraryFolder()), SELVARIN_BIN_DIR));
}
