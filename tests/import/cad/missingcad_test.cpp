// A reader without its module for CAD files.
#include "../importtestfiles.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <gtest/gtest.h>

TEST(MissingCad, OneLineSaysWhatIsMissing) {
    const TestFolder folder;
    std::filesystem::copy_file(kivToUtf8(kivLibraryFolder()) + "/selvarin-reader", folder.path("selvarin-reader"));
    const std::string path = folder.write("part.step", "ISO-10303-21;\n");
    KivModelOptions options;
    options.readerProgram = kivFromUtf8(folder.path("selvarin-reader"));
    KivModel model;
    std::wstring message;
    EXPECT_FALSE(kivImportModels({kivFromUtf8(path)}, options, model, message));
    EXPECT_EQ(kivToUtf8(message), "can't use \"" + path +
                                      "\": reading such files needs Open CASCADE, and its module is not installed: " +
                                      folder.path("selvarin-reader-cad.so"));
}

TEST(MissingCad, TheModuleIsBuiltHere) {
    if (!std::filesystem::exists(kivToUtf8(kivLibraryFolder()) + "/selvarin-reader-cad.so")) {
        GTEST_SKIP() << "Open CASCADE is not installed: nothing of CAD files is tested";
    }
    EXPECT_NE(kivModelReaders().find(L"Open CASCADE 7."), std::wstring::npos) << kivToUtf8(kivModelReaders());
}
