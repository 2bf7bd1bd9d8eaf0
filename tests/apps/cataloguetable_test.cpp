#include "apps/cli/cataloguejob.h"
#include "apps/cli/cataloguereport.h"
#include "apps/cli/cataloguetable.h"
#include "apps/cli/contenthash.h"
#include "apps/cli/flatjson.h"
#include "programtest.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

TEST(FlatJsonTest, NamesHaveTextsNumbersWordsAndLists) {
    const FlatJson json = parseFlatJson(R"( {"a": "x\"\u00e9\ud83d\ude00\n", "b": -1.5e3, "c": true, "d": null,
        "e": ["1", 2, false], "f": []} )");
    ASSERT_EQ(json.size(), 6U);
    EXPECT_EQ(json[0].second, Texts{"x\"\xC3\xA9\xF0\x9F\x98\x80\n"});
    EXPECT_EQ(json[1].second, Texts{"-1.5e3"});
    EXPECT_EQ(json[2].second, Texts{"yes"});
    EXPECT_TRUE(json[3].second.empty());
    EXPECT_EQ(json[4].second, (Texts{"1", "2", "no"}));
    EXPECT_TRUE(json[5].second.empty());
    EXPECT_EQ(parseFlatJson("{" + jsonText("n") + ":" +
                            jsonText("a\"\\\n\x01"
                                     "b") +
                            "}")[0]
                  .second,
              Texts{"a\"\\\n\x01"
                    "b"});
}

TEST(FlatJsonTest, WhatIsNoJsonIsRefusedWithItsPlace) {
    for (const char* bad : {"", "{", "{\"a\"}", "{\"a\":}", "{\"a\":1,}", "{\"a\":\"x}", "{\"a\":\"\\x\"}",
                            "{\"a\":\"\\u12\"}", "{\"a\":{}}", "{\"a\":[1}", "{\"a\":1} x", "{\"a\":word}", "[1]"}) {
        try {
            parseFlatJson(bad);
            ADD_FAILURE() << bad;
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find("is expected at character"), std::string::npos) << error.what();
        }
    }
}

// FIPS 180-4's own examples.
TEST(ContentHashTest, IsSha256) {
    ContentHash empty;
    EXPECT_EQ(empty.digits(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    ContentHash two;
    const std::string text = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    for (const char c : text) {
        two.add(&c, 1);
    }
    EXPECT_EQ(two.digits(), "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(CatalogueTableTest, ACsvHasNamesInItsFirstLineAndQuotedCells) {
    const ProgramFolder folder;
    const std::string table =
        folder.write("t.csv", "\xEF\xBB\xBFmodel,outputs,Size,shadows,set\r\n"
                              "a.obj,\"one.png; two, and.svg\",64x48,yes,Cartoon.Bands=2;Cartoon.Rim=0\r\n"
                              "\r\n\"b\"\"c.obj\",,,no,\n");
    const auto rows = readCatalogue(table);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].problem, "");
    EXPECT_EQ(rows[0].line, 2);
    EXPECT_EQ(rows[0].models, Texts{folder.path("a.obj")});
    EXPECT_EQ(rows[0].outputs, (Texts{"one.png", "two, and.svg"}));
    EXPECT_EQ(rows[0].options.at("size"), Texts{"64x48"});
    EXPECT_EQ(rows[0].options.at("shadows"), Texts{""});
    EXPECT_EQ(rows[0].options.at("set"), (Texts{"Cartoon.Bands=2", "Cartoon.Rim=0"}));
    EXPECT_EQ(rows[1].line, 4);
    EXPECT_EQ(rows[1].models, Texts{folder.path("b\"c.obj")});
    EXPECT_TRUE(rows[1].options.empty());
}

TEST(CatalogueTableTest, LinesOfJsonAndTheirMistakesAreRows) {
    const ProgramFolder folder;
    const auto rows = readCatalogue(folder.write(
        "t.jsonl",
        "{\"model\": \"a.obj\", \"outputs\": [\"x.png\"], \"shadows\": true}\n\n{\"model\": 7\n"
        "{\"model\": \"a.obj\", \"sice\": \"1x1\"}\n{\"size\": \"1x1\"}\n"
        "{\"model\": \"a.obj\", \"memory-folder\": \"/\"}\n{\"model\": \"a.obj\", \"shadows\": \"maybe\"}\n"));
    ASSERT_EQ(rows.size(), 6U);
    EXPECT_EQ(rows[0].problem, "");
    EXPECT_EQ(rows[1].problem, "\"}\" is expected at character 12");
    EXPECT_EQ(rows[1].line, 3);
    EXPECT_EQ(rows[2].problem, "unknown option \"sice\"; did you mean size?");
    EXPECT_EQ(rows[3].problem, "there is no model");
    EXPECT_EQ(rows[4].problem, "\"memory-folder\" can't stand in a table");
    EXPECT_EQ(rows[5].problem, "shadows is yes or no");
}

TEST(CatalogueTableTest, WhatIsNoTableIsRefused) {
    const ProgramFolder folder;
    for (const std::string& path :
         {folder.path("none.csv"), folder.write("empty.csv", ""), folder.path(""),
          folder.write("no.csv", "name,size\na,1x1\n"), folder.write("head.csv", "model\n")}) {
        EXPECT_THROW(readCatalogue(path), std::runtime_error) << path;
    }
}

class CatalogueJobTest : public testing::Test {
protected:
    CatalogueJob plan(const std::string& output, const std::map<std::string, Texts>& options = {}) {
        CatalogueRow row;
        row.models = {folder.write("part.v2.obj", "v 0 0 0\n")};
        row.outputs = {output};
        row.options = options;
        return planCatalogue({row}, common, formats, folder.path("out")).front();
    }

    CatalogueJobTest() {
        std::filesystem::create_directory(folder.path("out"));
        common.command = findCommand("catalogue");
    }

    ProgramFolder folder;
    Words common;
    std::vector<std::string> formats{"png"};
};

TEST_F(CatalogueJobTest, OutputsStayInTheFolder) {
    std::filesystem::create_directory_symlink(folder.path(""), folder.path("out/away"));
    std::filesystem::create_symlink(folder.path("x.png"), folder.path("out/link.png"));
    for (const char* name : {"/tmp/a.png", "../a.png", "sub/../../a.png", "away/a.png", "link.png", ".a.png",
                             "a/.b.png", "a\nb.png", ""}) {
        const CatalogueJob job = plan(name);
        EXPECT_NE(job.problem.find("is refused"), std::string::npos) << name << ": " << job.problem;
        EXPECT_TRUE(job.options.outputs.empty()) << name;
    }
    EXPECT_EQ(plan("sub/dir/a.png").problem, "");
    EXPECT_EQ(plan("sub/dir/a.png").options.outputs, Texts{folder.path("out/sub/dir/a.png")});
}

TEST_F(CatalogueJobTest, OutputsWithoutAnEndingGetTheFormats) {
    formats = {"png", "svg"};
    EXPECT_EQ(plan("{model}").outputs, (Texts{"part.v2.png", "part.v2.svg"}));
    EXPECT_EQ(plan("a").outputs, (Texts{"a.png", "a.svg"}));
    EXPECT_EQ(plan("{model}-x.tif").outputs, Texts{"part.v2-x.tif"});
}

TEST_F(CatalogueJobTest, ARowsOptionsWinAndWrongOnesAreItsProblem) {
    common.options["size"] = {"10x20"};
    EXPECT_EQ(plan("a").options.width, 10);
    EXPECT_EQ(plan("a", {{"size", {"30x40"}}}).options.width, 30);
    EXPECT_NE(plan("a", {{"size", {"big"}}}).problem.find("WIDTHxHEIGHT"), std::string::npos);
}

TEST_F(CatalogueJobTest, TheKeyGoesByInputsAndOptions) {
    const std::string key = plan("a").key;
    EXPECT_EQ(plan("a").key, key);
    EXPECT_NE(plan("b").key, key);
    EXPECT_NE(plan("a", {{"size", {"30x40"}}}).key, key);
    folder.write("part.v2.mtl", "newmtl a\n");
    const std::string withMaterial = plan("a").key;
    EXPECT_NE(withMaterial, key);
    folder.write("part.v2.mtl", "newmtl b\n");
    EXPECT_NE(plan("a").key, withMaterial);
}

TEST_F(CatalogueJobTest, TheSecondOfTwoRowsForOneFileIsTold) {
    CatalogueRow row;
    row.models = {folder.write("a.obj", "v 0 0 0\n")};
    row.outputs = {"x.png"};
    const auto jobs = planCatalogue({row, row}, common, formats, folder.path("out"));
    EXPECT_EQ(jobs[0].problem, "");
    EXPECT_EQ(jobs[1].problem, "another job writes \"x.png\" already");
}

TEST_F(CatalogueJobTest, TheJournalForgetsHalfALineAndFilesThatChanged) {
    const std::string out = folder.path("out");
    const CatalogueJob job = plan("a.png");
    const CatalogueJob other = plan("b.png");
    CatalogueResult result;
    result.status = CatalogueResult::Status::done;
    result.triangles = 7;
    folder.write("out/a.png", "picture");
    folder.write("out/b.png", "picture");
    {
        CatalogueJournal journal(out);
        journal.add(job, result);
    }
    const std::string line = folder.read("out/catalogue.journal");
    folder.write("out/catalogue.journal", line + "{\"key\": \"" + other.key + "\", \"seco");
    {
        CatalogueJournal journal(out);
        CatalogueResult known;
        EXPECT_TRUE(journal.knows(job, known));
        EXPECT_EQ(known.triangles, 7U);
        EXPECT_FALSE(journal.knows(other, known));
        journal.add(other, result);
    }
    CatalogueResult known;
    EXPECT_TRUE(CatalogueJournal(out).knows(other, known)) << "a line after one that was cut off";
    folder.write("out/a.png", "pict");
    EXPECT_FALSE(CatalogueJournal(out).knows(job, known));
    std::filesystem::remove(folder.path("out/b.png"));
    EXPECT_FALSE(CatalogueJournal(out).knows(other, known));
}

TEST_F(CatalogueJobTest, TheSheetTakesNoNameForMarkup) {
    CatalogueJob job = plan("a.png");
    job.model = "<script>alert(1)</script>.obj";
    job.outputs = {"x\" onerror=alert(1) y.png"};
    std::vector<CatalogueEntry> entries(1);
    entries[0].isDrawn = true;
    entries[0].result.messages = {"<b>"};
    for (const auto status : {CatalogueResult::Status::done, CatalogueResult::Status::failed}) {
        entries[0].result.status = status;
        writeContactSheet(folder.path("out"), {job}, entries);
        const std::string page = folder.read("out/index.html");
        EXPECT_EQ(page.find("<script"), std::string::npos);
        EXPECT_EQ(page.find("onerror=alert(1) y.png\""), std::string::npos);
        EXPECT_NE(page.find("&lt;b&gt;"), std::string::npos);
        EXPECT_EQ(page.find("http"), std::string::npos) << "nothing comes from elsewhere";
    }
}

} // namespace
