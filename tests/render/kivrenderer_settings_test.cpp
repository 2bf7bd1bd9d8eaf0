// Settings on their way between documents, streams, objects and style files.
#include "dialogs/samplepage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivsettingstable.h"
#include "render/renderfixture.h"
#include "support/opencount.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Record = KivHostApplicationServices::shaderSettings;
using Lines = std::vector<std::wstring>;

// Counts the marks that come behind the cells.
class MarkedManager : public KivMemoryDataManager {
public:
    void saveCurrentVaried(bool varied) override {
        EXPECT_FALSE(varied);
        ++marks;
        EXPECT_EQ(marks, getNumProperties());
    }
    int marks = 0;
};

// Cells as texts, numbers with a "#".
Lines linesOf(const std::vector<KivProperty>& cells) {
    Lines lines;
    for (const KivProperty& cell : cells) {
        if (cell.getType() == KivProperty::String) {
            cell.getValue(lines.emplace_back());
        } else {
            int number = 0;
            cell.getValue(number);
            lines.push_back(L"#" + std::to_wstring(number));
        }
    }
    return lines;
}

std::vector<KivProperty> cellsOf(const Lines& lines) {
    std::vector<KivProperty> cells;
    for (const std::wstring& line : lines) {
        if (line.starts_with(L"#")) {
            cells.emplace_back().setValue(std::stoi(line.substr(1)));
        } else {
            cells.emplace_back().setValue(line);
        }
    }
    return cells;
}

void appendLines(KivDataManager& manager, const Lines& lines) {
    manager.setSaving();
    for (const std::wstring& line : lines) {
        if (line.starts_with(L"#")) {
            manager.saveInt(std::stoi(line.substr(1)));
        } else {
            manager.saveString(line.c_str());
        }
        manager.saveCurrentVaried(false);
    }
}

class KivRendererSettings : public KivRendererRender {
protected:
    // Fills the stream and rewinds it.
    void setStream(const Lines& lines) {
        data.clearData();
        appendLines(data, lines);
        data.setLoading();
    }
    static bool inSavingMode(KivDataManager& manager) {
        return manager.saveInt(0);
    }
    // Undoes the fixture's load and says whether another one is outstanding.
    bool anotherLoadIsOutstanding() {
        renderer.unloadShaders();
        const bool outstanding = KivShader::shaders() != 0;
        while (KivShader::shaders() != 0) {
            renderer.unloadShaders();
        }
        return outstanding;
    }
    // The names in the user's style folder.
    void writeStyle(const std::string& name, const std::string& content) {
        std::filesystem::create_directories(home.path() / "styles");
        home.write("styles/" + name + ".kiv", content);
        host.strings[{false, L"StylesPath"}] = home.wide("styles");
    }
    std::unique_ptr<Record[]> getSettings(int* count) {
        Record* records = reinterpret_cast<Record*>(&data); // no leftover counts as an answer
        *count = renderer.getSettings(&data, &records);
        return std::unique_ptr<Record[]>(records);
    }
};

// A mesh that tells its shaders.
bool hasShaders(const KivMesh& mesh, const std::wstring& base, const Lines& combinables) {
    bool all = mesh.hasNonCombinable(false) == !base.empty() && mesh.getNumCombinableShaders() == combinables.size();
    for (const std::wstring& name : combinables) {
        all = all && mesh.rendersThisShader(name.c_str());
    }
    return all && (base.empty() || mesh.rendersThisShader(base.c_str()));
}

// A complete stream without any style: the header, the defaults of every loaded shader in the order of the table, the
// end.
TEST_F(KivRendererSettings, TheDefaultStreamHasABlockForEveryLoadedShader) {
    loadShaders({"add-lines", "base"});
    MarkedManager manager;
    manager.setDefault();
    EXPECT_EQ(linesOf(manager.getCells()), (Lines{L"Style:", L"NonCombinableShader:Cartoon", L"CombinableShader:",
                                                  L"add-lines", L"#77", L"base", L"#77", L"End Morvane"}));
    EXPECT_EQ(manager.marks, manager.getNumProperties()) << "one mark behind each cell";
    EXPECT_EQ(manager.getMinorVersion(), 5);
    // It reads back: the second shader's block is found by its name.
    ASSERT_TRUE(manager.setLoading());
    ASSERT_TRUE(manager.startShader(L"base"));
    EXPECT_EQ(manager.loadInt(), 77);
    // A second one goes behind the first, as nothing is cleared.
    manager.setDefault();
    EXPECT_EQ(manager.getNumProperties(), 16);
}

// --- from the host's storage

TEST_F(KivRendererSettings, ADocumentIsBroughtIntoTheStream) {
    loadShaders();
    shader(L"base").cellsToRead = 2;
    shader(L"add-lines").cellsToRead = 1;
    const Lines document = {L"Style:Ink",
                            L"NonCombinableShader:base",
                            L"CombinableShader:add-lines;",
                            L"base",
                            L"#1",
                            L"#2",
                            L"Test add-lines",
                            L"#3",
                            L"End Morvane",
                            L"not read"};
    MarkedManager manager;
    manager.setDocument(cellsOf(document));
    ASSERT_TRUE(renderer.loadDocData(&manager));
    EXPECT_EQ(linesOf(manager.getCells()), Lines(document.begin(), document.end() - 1));
    EXPECT_EQ(manager.marks, manager.getNumProperties());
    EXPECT_THAT(progress.calls, ElementsAre("base loadDocData", "add-lines loadDocData"));
    EXPECT_EQ(shader(L"base").cells, (std::vector<int>{1, 2}));
    EXPECT_EQ(shader(L"add-lines").cells, std::vector<int>{3}) << "found by its display name";
    EXPECT_TRUE(inSavingMode(manager));
}

TEST_F(KivRendererSettings, AnEmptyLineEndsADocument) {
    loadShaders();
    KivMemoryDataManager manager;
    manager.setDocument(cellsOf({L"a", L"b", L"c", L"", L"base"}));
    EXPECT_TRUE(renderer.loadDocData(&manager));
    EXPECT_THAT(progress.calls, IsEmpty());
    EXPECT_EQ(manager.getNumProperties(), 4);
}

TEST_F(KivRendererSettings, ADocumentThatBreaksOffGivesFalse) {
    loadShaders();
    const Lines document = {L"Style:", L"NonCombinableShader:", L"CombinableShader:", L"base", L"End Morvane"};
    for (std::size_t length = 0; length < document.size(); ++length) {
        KivMemoryDataManager manager;
        manager.setDocument(cellsOf(Lines(document.begin(), document.begin() + static_cast<std::ptrdiff_t>(length))));
        EXPECT_FALSE(renderer.loadDocData(&manager)) << length;
        EXPECT_EQ(manager.getNumProperties(), static_cast<int>(length));
    }
    EXPECT_FALSE(renderer.loadDocData(nullptr));
    EXPECT_FALSE(renderer.loadObjectData(nullptr));
}

TEST_F(KivRendererSettings, AShaderThatCantReadItsBlockEndsTheDocument) {
    loadShaders();
    shader(L"base").readsSettings = false;
    KivMemoryDataManager manager;
    manager.setDocument(cellsOf({L"", L"", L"", L"base", L"End Morvane"}));
    EXPECT_FALSE(renderer.loadDocData(&manager));
    EXPECT_EQ(manager.getNumProperties(), 4);
}

TEST_F(KivRendererSettings, BehindAShaderThatIsNotLoadedTheNextTextIsTakenForALine) {
    loadShaders();
    KivMemoryDataManager manager;
    manager.setDocument(cellsOf({L"", L"", L"", L"Unknown", L"its section", L"base", L"End Morvane"}));
    EXPECT_TRUE(renderer.loadDocData(&manager));
    EXPECT_THAT(progress.calls, ElementsAre("base loadDocData"));

    progress.calls.clear();
    KivMemoryDataManager broken;
    broken.setDocument(cellsOf({L"", L"", L"", L"Unknown", L"#4", L"base", L"End Morvane"}));
    EXPECT_FALSE(renderer.loadDocData(&broken)) << "its number is no text";
    EXPECT_THAT(progress.calls, IsEmpty());
}

TEST_F(KivRendererSettings, AnObjectHasNoHead) {
    loadShaders();
    shader(L"base").cellsToRead = 1;
    KivMemoryDataManager manager;
    manager.setDocument(cellsOf({L"base", L"#5", L"End Morvane"}));
    EXPECT_TRUE(renderer.loadObjectData(&manager));
    EXPECT_EQ(shader(L"base").cells, std::vector<int>{5});
    EXPECT_EQ(linesOf(manager.getCells()), Lines({L"base", L"#5", L"End Morvane"}));
    EXPECT_TRUE(inSavingMode(manager));

    KivMemoryDataManager withHead;
    withHead.setDocument(cellsOf({L"Style:", L"NonCombinableShader:", L"CombinableShader:", L"End Morvane"}));
    EXPECT_TRUE(renderer.loadObjectData(&withHead)) << "taken for shaders that are not loaded";
}

TEST_F(KivRendererSettings, TheThreeLinesOfAHead) {
    setStream({L"a", L"b", L"c", L"#1"});
    EXPECT_TRUE(KivTestAccess::loadPropertiesDlgData(renderer, &data));
    EXPECT_EQ(data.loadInt(), 1);
    EXPECT_TRUE(KivTestAccess::loadPropertiesDlgData(renderer, &data)) << "even at the end";

    KivMemoryDataManager manager;
    manager.setSaving();
    manager.setDocument(cellsOf({L"a", L"b", L"#1"}));
    EXPECT_FALSE(KivTestAccess::loadPropertiesDlgDataFromFile(renderer, &manager));
    EXPECT_EQ(manager.getNumProperties(), 2);
    manager.setDocument(cellsOf({L"a", L"b", L"c"}));
    EXPECT_TRUE(KivTestAccess::loadPropertiesDlgDataFromFile(renderer, &manager));
}

// --- to the pages

TEST_F(KivRendererSettings, AStreamThatBeginsWithItsHeadIsNoneForThePages) {
    loadShaders();
    setStream({L"Style:", L"NonCombinableShader:base", L"CombinableShader:", L"base", L"End Morvane"});
    EXPECT_FALSE(renderer.loadData(&data));
    EXPECT_FALSE(renderer.loadData(nullptr));
}

TEST_F(KivRendererSettings, PagesAreReadBehindALineOfAShaderAndThreeMore) {
    loadShaders();
    shader(L"base").hasPage = true;
    KivShader* const base = KivShader::getByTag(L"base");
    base->createPages(nullptr, nullptr);
    setStream({L"base", L"dropped", L"dropped", L"dropped", L"Page", L"#9", L"cartoon", L"End Morvane"});
    EXPECT_TRUE(renderer.loadData(&data));
    KivMemoryDataManager pages;
    pages.setSaving();
    EXPECT_TRUE(base->saveData(&pages, nullptr));
    EXPECT_EQ(linesOf(pages.getCells()), Lines({L"base", L"Page", L"#9"}));

    setStream({L"base", L"", L"", L"", L"Page", L"#9", L"Unknown", L"End Morvane"});
    EXPECT_FALSE(renderer.loadData(&data)) << "names a shader that is not loaded";
    setStream({L"End Morvane", L"base"});
    EXPECT_TRUE(renderer.loadData(&data)) << "ends before it begins";
}

// --- to an object

TEST_F(KivRendererSettings, AnObjectGetsItsShadersAndSettings) {
    loadShaders();
    shader(L"base").cellsToRead = 1;
    shader(L"add-more").cellsToRead = 2;
    setStream({L"Style:Ink", L"NonCombinableShader:base", L"CombinableShader:;add-lines;;add-more;", L"base", L"#1",
               L"Test add-more", L"#2", L"#3", L"End Morvane", L"cartoon"});
    data.setSaving();
    KivMesh mesh;
    ASSERT_TRUE(renderer.loadDataToObject(&mesh, &data)) << "rewinds by itself";
    EXPECT_TRUE(hasShaders(mesh, L"base", {L"add-lines", L"add-more"}));
    EXPECT_THAT(progress.calls, ElementsAre("base loadObjectSettings", "add-more loadObjectSettings"));
    EXPECT_EQ(shader(L"base").cells, std::vector<int>{1});
    EXPECT_EQ(shader(L"add-more").cells, (std::vector<int>{2, 3}));
    EXPECT_FALSE(anotherLoadIsOutstanding());
}

TEST_F(KivRendererSettings, AnObjectTakesNothingFromAStreamWithoutCells) {
    loadShaders();
    KivMesh mesh;
    EXPECT_FALSE(renderer.loadDataToObject(&mesh, &data));
    EXPECT_FALSE(renderer.loadDataToObject(&mesh, nullptr));
    setStream({L"Style:", L"NonCombinableShader:base", L"CombinableShader:", L"End Morvane"});
    EXPECT_FALSE(renderer.loadDataToObject(nullptr, &data));
    EXPECT_TRUE(hasShaders(mesh, L"", {}));
    EXPECT_FALSE(anotherLoadIsOutstanding());
}

TEST_F(KivRendererSettings, LinesWithoutTheirHeadersChooseNoShader) {
    loadShaders();
    for (const Lines& head : {Lines{L"Style:", L"base", L"add-lines;"},
                              {L"NonCombinableShader:base", L"CombinableShader:add-lines;", L"Style:"},
                              {L"", L"noncombinableshader:base", L"combinableshader:add-lines;"},
                              {L"", L"NonCombinableShader", L"CombinableShader"},
                              {L"", L"NonCombinableShader:", L"CombinableShader:"},
                              {L"", L"", L""},
                              {L"", L"", L"CombinableShader:;;;"}}) {
        progress.calls.clear();
        Lines stream = head;
        stream.insert(stream.end(), {L"base", L"End Morvane"});
        setStream(stream);
        KivMesh mesh;
        EXPECT_TRUE(renderer.loadDataToObject(&mesh, &data));
        EXPECT_TRUE(hasShaders(mesh, L"", {}));
        EXPECT_THAT(progress.calls, ElementsAre("base loadObjectSettings")) << "the rest still runs";
    }
}

TEST_F(KivRendererSettings, AShaderThatIsNotLoadedEndsTheObjectsSettingsAndLeavesALoad) {
    loadShaders();
    setStream({L"Style:", L"NonCombinableShader:Unknown", L"CombinableShader:", L"base", L"Unknown", L"cartoon",
               L"End Morvane"});
    KivMesh mesh;
    EXPECT_FALSE(renderer.loadDataToObject(&mesh, &data));
    EXPECT_TRUE(hasShaders(mesh, L"Unknown", {})) << "a name is set whether there is such a shader or not";
    EXPECT_THAT(progress.calls, ElementsAre("base loadObjectSettings"));
    EXPECT_TRUE(anotherLoadIsOutstanding());
}

TEST_F(KivRendererSettings, AnObjectsTextsAreCutToTheirBuffers) {
    loadShaders();
    const std::wstring longName(400, L'n');
    setStream({L"Style:" + longName, L"NonCombinableShader:" + longName, L"CombinableShader:" + longName + L";second",
               L"End Morvane"});
    KivMesh mesh;
    EXPECT_TRUE(renderer.loadDataToObject(&mesh, &data));
    EXPECT_TRUE(hasShaders(mesh, std::wstring(kivMaxPath - 1 - 20, L'n'), {std::wstring(kivMaxPath - 1 - 17, L'n')}));
}

// The library's own folder has plug-ins, so a copy of the library without any does what is to be seen here. Runs this
// program again with that copy.
TEST(KivRendererWithoutShaders, AnObjectStillGetsTheNamesOfItsShaders) {
    if (std::getenv("SELVARIN_TEST_LIBRARY") == nullptr) {
        const TempFolder folder;
        const std::filesystem::path library = kivToUtf8(kivLibraryFolder());
        std::filesystem::copy_file(library / "libselvarin.so", folder.path() / "libselvarin.so");
        const std::string command =
            "SELVARIN_TEST_LIBRARY='" + folder.path().string() + "' LD_LIBRARY_PATH='" + folder.path().string() +
            "' '" + std::filesystem::read_symlink("/proc/self/exe").string() +
            "' --gtest_filter=KivRendererWithoutShaders.* > '" + folder.path().string() + "/output' 2>&1";
        const int result = std::system(command.c_str());
        EXPECT_EQ(result, 0) << folder.read("output");
        EXPECT_NE(folder.read("output").find("[  PASSED  ] 1 test"), std::string::npos) << folder.read("output");
        return;
    }
    ASSERT_EQ(kivToUtf8(kivLibraryFolder()), std::getenv("SELVARIN_TEST_LIBRARY"));
    TestHost host;
    KivRenderer renderer;
    KivMemoryDataManager data;
    appendLines(data, {L"Style:", L"NonCombinableShader:Ink", L"CombinableShader:a;b;", L"Ink", L"End Morvane"});
    KivMesh mesh;
    EXPECT_TRUE(renderer.loadDataToObject(&mesh, &data));
    EXPECT_TRUE(hasShaders(mesh, L"Ink", {L"a", L"b"}));
    EXPECT_EQ(mesh.getNumPageSettings(), 0);
    EXPECT_EQ(KivShader::shaders(), 0U);
    KivShader::unLoadAll();
}

// --- from a style

TEST_F(KivRendererSettings, AStyleBecomesACompleteStream) {
    loadShaders({"add-lines", "base"});
    shader(L"base").hasPage = true;
    writeStyle("Ink", "[general]\r\nnoncombinableshader = base\r\nCombinableShader=add-lines;\r\n[base]\r\nPage=5\r\n");
    MarkedManager manager;
    appendLines(manager, {L"what was there before"});
    manager.marks = 0;
    manager.setMinorVersion(3);
    manager.setLoading();
    KivMemoryCommonDataManager common;
    ASSERT_TRUE(settings.saveDataOnHost(&common));
    ASSERT_TRUE(renderer.loadStyle(&common, &manager, L"Ink"));
    EXPECT_EQ(linesOf(manager.getCells()),
              Lines({L"Style:Ink", L"NonCombinableShader:base", L"CombinableShader:add-lines;", L"add-lines", L"#77",
                     L"base", L"Page", L"#5", L"End Morvane"}));
    EXPECT_EQ(manager.marks, manager.getNumProperties());
    EXPECT_EQ(manager.getMinorVersion(), 3) << "the version is not set";
    EXPECT_THAT(progress.calls,
                ElementsAre("add-lines createPages without a dialog", "base createPages without a dialog"));
    EXPECT_TRUE(inSavingMode(manager));
    EXPECT_FALSE(anotherLoadIsOutstanding());
}

TEST_F(KivRendererSettings, AStyleIsFoundAndReadOnce) {
    loadShaders({"add-lines", "base"});
    shader(L"base").hasPage = true;
    writeStyle("Ink", "[General]\r\nNonCombinableShader=base\r\n[Common]\r\nAntialias=1\r\n[base]\r\nPage=5\r\n");
    wchar_t path[kivMaxPath] = {};
    ASSERT_TRUE(KivHostApplicationServices::getDefaultHost()->getStyle(path, L"Ink"));
    const OpenCount opened(kivToUtf8(path));
    ASSERT_TRUE(renderer.loadStyle(nullptr, &data, L"Ink"));
    EXPECT_EQ(opened.count(), 2) << "the host opens it to find it";
}

TEST_F(KivRendererSettings, AStyleSetsTheCommonSettingsToTheirDefaults) {
    loadShaders({"base"});
    writeStyle("Ink", "[General]\r\nNonCombinableShader=base\r\n[Common]\r\nAntialias=1\r\n");
    KivMemoryCommonDataManager common;
    settings.setAntialias(0);
    settings.setShadows(true);
    settings.setBackgroundColor(0x123456);
    settings.setPaperImage(L"paper.png");
    ASSERT_TRUE(settings.saveDataOnHost(&common));
    ASSERT_TRUE(renderer.loadStyle(&common, &data, L"Ink"));
    KivCommonSettings after;
    after.setAntialias(7);
    ASSERT_TRUE(after.loadDataFromHost(&common));
    EXPECT_EQ(after.getAntialias(), 2);
    EXPECT_FALSE(after.doShadows());
    EXPECT_EQ(after.getBackgroundColor(), 0U);
    EXPECT_EQ(after.getPaperImage(), L"");
    EXPECT_TRUE(renderer.loadStyle(nullptr, &data, L"Ink")) << "what becomes of the common settings is no matter";
}

TEST_F(KivRendererSettings, WithoutSuchAStyleNothingChanges) {
    loadShaders({"base"});
    setStream({L"kept"});
    KivMemoryCommonDataManager common;
    settings.setAntialias(1);
    ASSERT_TRUE(settings.saveDataOnHost(&common));
    EXPECT_FALSE(renderer.loadStyle(&common, &data, L"Missing"));
    EXPECT_FALSE(renderer.loadStyle(&common, &data, std::wstring(400, L'n').c_str()));
    EXPECT_FALSE(renderer.loadStyle(&common, &data, nullptr));
    writeStyle("Ink", "[General]\r\nNonCombinableShader=base\r\n");
    EXPECT_FALSE(renderer.loadStyle(&common, nullptr, L"Ink"));
    KivHostApplicationServices::setDefaultHost(nullptr);
    EXPECT_FALSE(renderer.loadStyle(&common, &data, L"Ink"));
    KivHostApplicationServices::setDefaultHost(&host);
    EXPECT_EQ(linesOf(data.getCells()), Lines({L"kept"}));
    KivCommonSettings after;
    ASSERT_TRUE(after.loadDataFromHost(&common));
    EXPECT_EQ(after.getAntialias(), 1);
    EXPECT_THAT(progress.calls, IsEmpty());
}

TEST_F(KivRendererSettings, AStyleThatAPageCantReadStopsThere) {
    loadShaders({"add-lines", "base", "zigzag"});
    shader(L"base").hasPage = true;
    shader(L"base").pageLoads = false;
    writeStyle("Ink", "[General]\r\nNonCombinableShader=base\r\n");
    KivMemoryCommonDataManager common;
    settings.setAntialias(1);
    ASSERT_TRUE(settings.saveDataOnHost(&common));
    EXPECT_FALSE(renderer.loadStyle(&common, &data, L"Ink"));
    EXPECT_EQ(linesOf(data.getCells()),
              Lines({L"Style:Ink", L"NonCombinableShader:base", L"CombinableShader:", L"add-lines", L"#77"}));
    EXPECT_THAT(progress.calls,
                ElementsAre("add-lines createPages without a dialog", "base createPages without a dialog"));
    KivCommonSettings after;
    ASSERT_TRUE(after.loadDataFromHost(&common));
    EXPECT_EQ(after.getAntialias(), 1);
    EXPECT_EQ(KivShader::getByTag(L"base")->addRef(), 2U) << "its reference was given back";
    KivShader::getByTag(L"base")->release();
    EXPECT_FALSE(anotherLoadIsOutstanding());
}

TEST_F(KivRendererSettings, TheHeadOfAStyle) {
    const auto head = [this](const std::string& content) {
        home.write("any.kiv", content);
        KivMemoryDataManager manager;
        appendLines(manager, {L"old"});
        EXPECT_TRUE(KivTestAccess::loadGeneralData(renderer, &manager, home.wide("any.kiv").c_str(), L"Any"));
        EXPECT_TRUE(inSavingMode(manager));
        Lines lines = linesOf(manager.getCells());
        lines.pop_back(); // of the test for the mode
        return lines;
    };
    EXPECT_EQ(head(""), Lines({L"Style:Any", L"NonCombinableShader:", L"CombinableShader:"}))
        << "what is no style gives an empty head";
    EXPECT_EQ(head("[General]\nCombinableShader = \"a;;b;\"\n"),
              Lines({L"Style:Any", L"NonCombinableShader:", L"CombinableShader:a;;b;"}));
    EXPECT_EQ(
        head("[General]\nNonCombinableShader=" + std::string(400, 'n') + "\n"),
        Lines({L"Style:Any", L"NonCombinableShader:" + std::wstring(kivMaxPath - 1, L'n'), L"CombinableShader:"}));
    EXPECT_FALSE(KivTestAccess::loadGeneralData(renderer, nullptr, home.wide("any.kiv").c_str(), L"Any"));
    KivMemoryDataManager manager;
    EXPECT_TRUE(KivTestAccess::loadGeneralData(renderer, &manager, nullptr, nullptr));
    EXPECT_EQ(linesOf(manager.getCells()), Lines({L"Style:", L"NonCombinableShader:", L"CombinableShader:"}));
}

TEST_F(KivRendererSettings, AStyleGoesRoundToAnObject) {
    loadShaders({"add-lines", "base"});
    shader(L"base").hasPage = true;
    writeStyle("Ink", "[General]\r\nNonCombinableShader=Test base\r\nCombinableShader=;;add-lines;;\r\n"
                      "[base]\r\nPage=6\r\n");
    ASSERT_TRUE(renderer.loadStyle(nullptr, &data, L"Ink"));
    shader(L"add-lines").cellsToRead = 1;
    shader(L"base").cellsToRead = 2; // the name of the page's section, as a number nothing, and the page's number
    KivMesh mesh;
    EXPECT_TRUE(renderer.loadDataToObject(&mesh, &data));
    EXPECT_TRUE(hasShaders(mesh, L"Test base", {L"add-lines"}));
    EXPECT_EQ(shader(L"add-lines").cells, std::vector<int>{77});
    EXPECT_EQ(shader(L"base").cells, (std::vector<int>{0, 6}));
}

TEST_F(KivRendererSettings, TheShadersThatAreShippedTakeTheirSettingsFromAStyle) {
    host.morvaneFolder = kivFromUtf8(SELVARIN_BIN_DIR);
    ASSERT_TRUE(renderer.loadShaders());
    writeStyle("Ink", "[General]\r\nNonCombinableShader=Cartoon\r\nCombinableShader=Outline;\r\n"
                      "[Cartoon]\r\nBands=7\r\n");
    ASSERT_TRUE(renderer.loadStyle(nullptr, &data, L"Ink"));
    KivMesh mesh;
    EXPECT_TRUE(renderer.loadDataToObject(&mesh, &data));
    EXPECT_TRUE(hasShaders(mesh, L"Cartoon", {L"Outline"}));
    const auto bandsOf = [](const KivPageSettings* page) {
        std::string text;
        const auto* table = dynamic_cast<const KivTablePageSettings*>(page);
        return table != nullptr && table->getText("Bands", &text) ? text : "none";
    };
    EXPECT_EQ(bandsOf(mesh.getPageSettings(L"CartoonTones")), "7");

    ASSERT_TRUE(data.setLoading());
    Record* records = nullptr;
    ASSERT_EQ(renderer.getSettings(&data, &records), 2);
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(records[i].settings.size(), 1U);
        const std::unique_ptr<KivTablePageSettings> page(static_cast<KivTablePageSettings*>(records[i].settings[0]));
        EXPECT_EQ(bandsOf(page.get()), std::wstring(L"Cartoon") == records[i].name ? "7" : "none");
    }
    delete[] records;
    renderer.unloadShaders();
}

// --- the list of settings

TEST_F(KivRendererSettings, WithoutANameTheDefaultShaderIsListed) {
    loadShaders();
    setStream({L"Style:", L"NonCombinableShader:", L"CombinableShader:;", L"base", L"End Morvane"});
    shader(L"cartoon").onShaderSettings = [](std::vector<void*>* list, bool) { list->push_back(nullptr); };
    int count = 0;
    const auto records = getSettings(&count);
    ASSERT_EQ(count, 1);
    EXPECT_STREQ(records[0].name, L"Cartoon");
    EXPECT_EQ(records[0].settings.size(), 1U);
    EXPECT_THAT(progress.calls, ElementsAre("cartoon loadShaderSettings selected"));
    EXPECT_TRUE(inSavingMode(data));
}

TEST_F(KivRendererSettings, WithoutTheDefaultShaderNothingIsListed) {
    loadShaders({"base"});
    setStream({L"Style:", L"NonCombinableShader:", L"CombinableShader:", L"base", L"End Morvane"});
    int count = 1;
    EXPECT_EQ(getSettings(&count), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(inSavingMode(data));
}

TEST_F(KivRendererSettings, ADefaultShaderThatFailsIsNotListed) {
    loadShaders();
    shader(L"cartoon").readsSettings = false;
    setStream({L"", L"", L"", L"End Morvane"});
    int count = 1;
    EXPECT_EQ(getSettings(&count), nullptr);
    EXPECT_EQ(count, 0);
    Record* none = reinterpret_cast<Record*>(&count);
    EXPECT_EQ(renderer.getSettings(nullptr, &none), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(renderer.getSettings(&data, nullptr), 0);
}

TEST_F(KivRendererSettings, TheSelectedShadersAreListedInTheOrderOfTheirBlocks) {
    loadShaders();
    for (const wchar_t* tag : {L"base", L"add-lines"}) {
        shader(tag).onShaderSettings = [this](std::vector<void*>* list, bool) { list->push_back(&host); };
    }
    shader(L"base").cellsToRead = 1;
    shader(L"cartoon").cellsToRead = 1;
    setStream({L"Style:Ink", L"NonCombinableShader:base", L"CombinableShader:add-lines;", L"add-lines", L"base", L"#1",
               L"cartoon", L"#2", L"End Morvane"});
    int count = 0;
    const auto records = getSettings(&count);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(records[0].name, L"add-lines");
    EXPECT_THAT(records[0].settings, ElementsAre(&host));
    EXPECT_STREQ(records[1].name, L"base");
    EXPECT_THAT(records[1].settings, ElementsAre(&host));
    EXPECT_THAT(progress.calls, ElementsAre("add-lines loadShaderSettings selected", "base loadShaderSettings selected",
                                            "cartoon loadShaderSettings"));
    EXPECT_EQ(shader(L"base").cells, std::vector<int>{1});
    EXPECT_EQ(shader(L"cartoon").cells, std::vector<int>{2}) << "passed over";
}

TEST_F(KivRendererSettings, OfSeveralCombinableShadersOnlyTheLastIsListed) {
    loadShaders();
    const auto fill = [this](std::vector<void*>* list, bool) { list->push_back(&host); };
    shader(L"add-lines").onShaderSettings = fill;
    shader(L"cartoon").onShaderSettings = fill;
    setStream({L"Style:", L"NonCombinableShader:base", L"CombinableShader:add-lines;;add-more;", L"add-lines",
               L"add-more", L"base", L"cartoon", L"End Morvane"});
    int count = 0;
    const auto records = getSettings(&count);
    ASSERT_EQ(count, 3) << "all names count";
    EXPECT_STREQ(records[0].name, L"add-more");
    EXPECT_THAT(records[0].settings, IsEmpty()) << "what comes before the first selected shader has no record";
    EXPECT_STREQ(records[1].name, L"base");
    EXPECT_THAT(records[1].settings, ElementsAre(&host)) << "what is not selected gets the record before it";
    EXPECT_STREQ(records[2].name, L"");
    EXPECT_THAT(records[2].settings, IsEmpty());
    EXPECT_THAT(progress.calls, ElementsAre("add-lines loadShaderSettings", "add-more loadShaderSettings selected",
                                            "base loadShaderSettings selected", "cartoon loadShaderSettings"));
}

TEST_F(KivRendererSettings, AListEndsWithoutAnAnswerAtWhatItCantRead) {
    loadShaders();
    const Lines head = {L"Style:", L"NonCombinableShader:base", L"CombinableShader:"};
    const auto listed = [&](Lines blocks) {
        blocks.insert(blocks.begin(), head.begin(), head.end());
        setStream(blocks);
        int count = -1;
        const bool any = getSettings(&count) != nullptr;
        EXPECT_EQ(any, count != 0);
        return count;
    };
    EXPECT_EQ(listed({L"base", L"End Morvane"}), 1);
    EXPECT_EQ(listed({L"Unknown", L"base", L"End Morvane"}), 0) << "a shader that is not loaded";
    EXPECT_EQ(listed({L"base", L"Unknown", L"End Morvane"}), 0);
    EXPECT_EQ(listed({L"base", L"base", L"End Morvane"}), 0) << "more blocks than names";
    EXPECT_EQ(listed({L"base", L"#1"}), 1) << "a damaged stream ends";
    EXPECT_EQ(listed({}), 1) << "without a block the record stays empty";
    shader(L"cartoon").readsSettings = false;
    EXPECT_EQ(listed({L"cartoon", L"base", L"End Morvane"}), 0) << "passing over can fail, too";
    shader(L"base").readsSettings = false;
    EXPECT_EQ(listed({L"base", L"End Morvane"}), 0);
}

TEST_F(KivRendererSettings, AListIsReadFromWhereTheManagerStands) {
    loadShaders();
    setStream({L"Style:", L"NonCombinableShader:base", L"CombinableShader:", L"base", L"End Morvane"});
    data.setSaving();
    int count = 0;
    const auto records = getSettings(&count);
    ASSERT_EQ(count, 1);
    EXPECT_STREQ(records[0].name, L"Cartoon") << "in saving mode there is nothing to read";
}

TEST_F(KivRendererSettings, AListCutsTextsToTheirBuffers) {
    loadShaders();
    setStream({L"", L"NonCombinableShader:" + std::wstring(400, L'n'), L"CombinableShader:" + std::wstring(400, L'm'),
               std::wstring(400, L'n'), L"End Morvane"});
    int count = -1;
    EXPECT_EQ(getSettings(&count), nullptr);
    EXPECT_EQ(count, 0);
}

} // namespace
