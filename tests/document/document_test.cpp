#include "apps/document/documentfile.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"
#include "support/rawrandom.h"
#include "support/temphome.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::wstring wide(const std::filesystem::path& path) {
    return kivFromUtf8(path.string());
}

// A state in which nothing has the value that it has in a new one.
StudioState fullState() {
    StudioState s = StudioState::fresh();
    s.models = {L"/models/caf\u00e9 \U0001F400.obj", L"/models/b.stl"};
    s.upAxis = 'z';
    s.camera.target = {1.5, -2.25, 1.0 / 3.0};
    s.camera.distance = 123.456789012345678;
    s.camera.yaw = -0.7;
    s.camera.pitch = 0.3;
    s.camera.up = {0.0, 0.0, 1.0};
    s.camera.fov = 47.0;
    s.camera.parallel = true;
    s.hasLights = true;
    s.lights.resize(3);
    s.lights[0].direction = {0.1, -0.9, 0.2};
    s.lights[1].kind = StudioLight::Kind::point;
    s.lights[1].location = {4.0, 5.0, 6.0};
    s.lights[1].colour = 0x0080FF;
    s.lights[2].kind = StudioLight::Kind::spot;
    s.lights[2].angle = 12.5;
    s.options.setAntialias(2);
    s.options.setCustomSize(true);
    s.options.setResolution({640, 481});
    s.options.setAmbientLight(0x123456);
    s.options.setBackgroundColor(0xABCDEF);
    s.options.setBackgroundImage(L"/pictures/back.png");
    s.options.setPaperImage(L"/pictures/paper.png");
    s.options.setVectorial(true);
    s.options.setTransparencies(true);
    s.options.setShadows(true);
    s.options.setVectorialSpeed(1);
    s.options.setRenderIsoparams(false);
    s.options.setRenderDim(false);
    s.options.setSaveShadows(true);
    s.options.setSaveDepth(true);
    s.options.setSaveRender(true);
    s.options.setSaveRenderFile(L"/out/a.png");
    s.options.setSaveVectorFile(L"/out/a.svg");
    s.options.setVectorSimplify(true);
    s.options.setPolygonOffset(2.5);
    s.look.edit().setSaving();
    s.look.edit().saveString(L"Style:Caf\u00e9 \U0001F3A8 \"quoted\"\n");
    s.look.edit().saveInt(std::numeric_limits<int>::min());
    s.look.edit().saveFloat(0.1F);
    s.look.edit().saveFloat(-std::numeric_limits<float>::infinity());
    s.look.edit().saveDouble(0.1);
    s.look.edit().saveDouble(std::numeric_limits<double>::infinity());
    s.look.edit().saveDouble(std::numeric_limits<double>::quiet_NaN());
    s.look.edit().saveDouble(std::numeric_limits<double>::denorm_min());
    s.look.edit().saveDouble(std::numeric_limits<double>::max());
    s.look.edit().saveBool(true);
    s.look.edit().saveChar('\xE9');
    s.look.edit().saveUnsignedShort(65535);
    s.look.edit().saveUnsignedLong(0xFFFFFFFFU);
    s.objects.edit()[0].edit().setSaving();
    s.objects.edit()[0].edit().saveString(L"own");
    s.objects.edit()[17].edit().setSaving();
    s.objects.edit()[17].edit().saveInt(5);
    return s;
}

template <class T> T valueOf(const KivProperty& cell) {
    T value{};
    cell.getValue(value);
    return value;
}

// Field by field, without the help of the form in which states are saved.
void expectSameCells(const StudioLook& a, const StudioLook& b) {
    ASSERT_EQ(a.getCells().size(), b.getCells().size());
    for (std::size_t i = 0; i < a.getCells().size(); ++i) {
        const KivProperty& left = a.getCells()[i];
        const KivProperty& right = b.getCells()[i];
        ASSERT_EQ(left.getType(), right.getType()) << i;
        if (left.getType() == KivProperty::String) {
            EXPECT_EQ(valueOf<std::wstring>(left), valueOf<std::wstring>(right)) << i;
        } else if (left.getType() == KivProperty::Double && std::isnan(valueOf<double>(left))) {
            EXPECT_TRUE(std::isnan(valueOf<double>(right))) << i;
        } else {
            EXPECT_FALSE(KivProperty::differs(left, right)) << i;
        }
    }
}

void expectSame(const StudioState& a, const StudioState& b) {
    EXPECT_EQ(a.models, b.models);
    EXPECT_EQ(a.upAxis, b.upAxis);
    EXPECT_EQ(a.camera.target.x, b.camera.target.x);
    EXPECT_EQ(a.camera.target.y, b.camera.target.y);
    EXPECT_EQ(a.camera.target.z, b.camera.target.z);
    EXPECT_EQ(a.camera.distance, b.camera.distance);
    EXPECT_EQ(a.camera.yaw, b.camera.yaw);
    EXPECT_EQ(a.camera.pitch, b.camera.pitch);
    EXPECT_EQ(a.camera.up.z, b.camera.up.z);
    EXPECT_EQ(a.camera.fov, b.camera.fov);
    EXPECT_EQ(a.camera.parallel, b.camera.parallel);
    EXPECT_EQ(a.hasLights, b.hasLights);
    ASSERT_EQ(a.lights.size(), b.lights.size());
    for (std::size_t i = 0; i < a.lights.size(); ++i) {
        EXPECT_EQ(a.lights[i].kind, b.lights[i].kind);
        EXPECT_EQ(a.lights[i].location.y, b.lights[i].location.y);
        EXPECT_EQ(a.lights[i].direction.x, b.lights[i].direction.x);
        EXPECT_EQ(a.lights[i].colour, b.lights[i].colour);
        EXPECT_EQ(a.lights[i].angle, b.lights[i].angle);
    }
    const KivCommonSettings& o = a.options;
    const KivCommonSettings& p = b.options;
    EXPECT_EQ(o.getAntialias(), p.getAntialias());
    EXPECT_EQ(o.getCustomSize(), p.getCustomSize());
    EXPECT_EQ(o.getResolution().cx, p.getResolution().cx);
    EXPECT_EQ(o.getResolution().cy, p.getResolution().cy);
    EXPECT_EQ(o.getAmbientLight(), p.getAmbientLight());
    EXPECT_EQ(o.getBackgroundColor(), p.getBackgroundColor());
    EXPECT_EQ(o.getBackgroundImage(), p.getBackgroundImage());
    EXPECT_EQ(o.getPaperImage(), p.getPaperImage());
    EXPECT_EQ(o.doVectorial(), p.doVectorial());
    EXPECT_EQ(o.doTransparencies(), p.doTransparencies());
    EXPECT_EQ(o.doShadows(), p.doShadows());
    EXPECT_EQ(o.getVectorialSpeed(), p.getVectorialSpeed());
    EXPECT_EQ(o.doRenderIsoparams(), p.doRenderIsoparams());
    EXPECT_EQ(o.doRenderDim(), p.doRenderDim());
    EXPECT_EQ(o.doSaveShadows(), p.doSaveShadows());
    EXPECT_EQ(o.doSaveDepth(), p.doSaveDepth());
    EXPECT_EQ(o.doSaveRender(), p.doSaveRender());
    EXPECT_EQ(o.getSaveRenderFile(), p.getSaveRenderFile());
    EXPECT_EQ(o.getSaveVectorFile(), p.getSaveVectorFile());
    EXPECT_EQ(o.doVectorSimplify(), p.doVectorSimplify());
    EXPECT_EQ(o.getPolygonOffset(), p.getPolygonOffset());
    expectSameCells(a.look, b.look);
    ASSERT_EQ(a.objects.size(), b.objects.size());
    for (const auto& [mesh, stream] : a.objects) {
        ASSERT_TRUE(b.objects.contains(mesh));
        expectSameCells(stream, b.objects.at(mesh));
    }
}

std::string bytesOf(const StudioState& state) {
    return state.toJson().indented();
}

std::wstring load(const TempFolder& folder, const std::string& bytes, StudioState* state) {
    folder.write("doc.selvarin", bytes);
    std::wstring why;
    return loadStudioDocument(wide(folder.path() / "doc.selvarin"), state, &why) ? std::wstring() : why;
}

// The text names the file and the trouble, in one line.
void expectOneLine(const std::wstring& why) {
    EXPECT_NE(why.find(L"doc.selvarin"), std::wstring::npos) << kivToUtf8(why);
    EXPECT_EQ(why.find(L'\n'), std::wstring::npos) << kivToUtf8(why);
    EXPECT_GT(why.size(), std::wstring(L"doc.selvarin").size() + 4);
}

Json changed(const Json& json, const char* key, const Json& value) {
    Json copy = json;
    copy[key] = value;
    return copy;
}

// One object with a look of its own.
Json groupOf(const Json& object) {
    return JsonArray{JsonObject{{"objects", JsonArray{object}}, {"look", Json::Array()}}};
}

KivMemoryDataManager streamOf(int cells, int first) {
    KivMemoryDataManager stream;
    stream.setSaving();
    for (int i = 0; i < cells; ++i) {
        stream.saveInt(first + i);
    }
    return stream;
}

} // namespace

TEST(StudioDocument, AFileGivesBackEveryField) {
    const TempFolder folder;
    const StudioState saved = fullState();
    std::wstring why;
    ASSERT_TRUE(saveStudioDocument(wide(folder.path() / "doc.selvarin"), saved, &why)) << kivToUtf8(why);
    StudioState loaded;
    ASSERT_TRUE(loadStudioDocument(wide(folder.path() / "doc.selvarin"), &loaded, &why)) << kivToUtf8(why);
    expectSame(saved, loaded);
    EXPECT_TRUE(saved == loaded);
    EXPECT_TRUE(loaded.unknown.toObject().empty());
    EXPECT_EQ(folder.count(), 1U) << "nothing stays beside the file";
}

TEST(StudioDocument, ANewDocumentGivesItselfBack) {
    const TempFolder folder;
    StudioState loaded = fullState();
    EXPECT_EQ(load(folder, bytesOf(StudioState::fresh()), &loaded), std::wstring());
    expectSame(StudioState::fresh(), loaded);
}

TEST(StudioDocument, EqualStatesAreEqualAndEachFieldCounts) {
    EXPECT_TRUE(fullState() == fullState()) << "not a number equals itself here";
    const auto differs = [](auto change) {
        StudioState other = fullState();
        change(other);
        return !(other == fullState());
    };
    EXPECT_TRUE(differs([](StudioState& s) { s.models.pop_back(); }));
    EXPECT_TRUE(differs([](StudioState& s) { s.upAxis = 0; }));
    EXPECT_TRUE(differs([](StudioState& s) { s.camera.yaw = std::nextafter(s.camera.yaw, 9.0); }));
    EXPECT_TRUE(differs([](StudioState& s) { s.camera.parallel = false; }));
    EXPECT_TRUE(differs([](StudioState& s) { s.lights[2].angle = 13.0; }));
    EXPECT_TRUE(differs([](StudioState& s) { s.hasLights = false; }));
    EXPECT_TRUE(differs([](StudioState& s) { s.options.setRenderDim(true); }));
    EXPECT_TRUE(differs([](StudioState& s) { s.look.edit().saveInt(1); }));
    EXPECT_TRUE(differs([](StudioState& s) { s.objects.erase(17); }));
}

TEST(StudioDocument, IsReadableTextWithAFormatNumber) {
    const std::string bytes = bytesOf(fullState());
    EXPECT_TRUE(bytes.find("\n    \"selvarin\": 2") != std::string::npos);
    EXPECT_TRUE(bytes.find("caf\xC3\xA9") != std::string::npos) << "texts are UTF-8";
    EXPECT_TRUE(bytes.find("\"nan\"") != std::string::npos);
    EXPECT_EQ(bytes, bytesOf(fullState())) << "the same state is the same text";
}

TEST(StudioDocument, CopiesShareTheirLooksUntilOneIsChanged) {
    const StudioState first = fullState();
    StudioState second = first;
    EXPECT_TRUE(second.look.shares(first.look));
    EXPECT_TRUE(second.objects.shares(first.objects));
    EXPECT_TRUE(second == first);
    second.objects.erase(5);
    EXPECT_TRUE(second.objects.shares(first.objects)) << "there was nothing to take away";
    second.look.edit().setSaving();
    second.look.edit().saveInt(7);
    second.objects.erase(17);
    expectSame(first, fullState());
    EXPECT_EQ(second.look.getCells().size(), first.look.getCells().size() + 1);
    EXPECT_EQ(second.objects.size(), 1U);
    EXPECT_TRUE(second.objects.at(0).shares(first.objects.at(0)));
    // An empty one is like all others, and remains it.
    StudioLook empty;
    empty.edit().setSaving();
    empty.edit().saveInt(1);
    EXPECT_TRUE(StudioLook().getCells().empty());
}

TEST(StudioDocument, ALookOfManyObjectsIsWrittenOnce) {
    const TempFolder folder;
    const std::wstring file = wide(folder.path() / "doc.selvarin");
    StudioState state = StudioState::fresh();
    for (int i = 0; i < 3'000; ++i) {
        // Half of them equal, but each for itself in memory.
        state.objects.edit()[i] = streamOf(200, i % 2 == 0 ? 0 : 1000);
    }
    std::wstring why;
    ASSERT_TRUE(saveStudioDocument(file, state, &why)) << kivToUtf8(why);
    EXPECT_LT(std::filesystem::file_size(folder.path() / "doc.selvarin"), 300'000U);
    StudioState loaded;
    ASSERT_TRUE(loadStudioDocument(file, &loaded, &why)) << kivToUtf8(why);
    EXPECT_TRUE(loaded == state);
    EXPECT_TRUE(loaded.objects.at(4).shares(loaded.objects.at(2'998)));
    EXPECT_FALSE(loaded.objects.at(4).shares(loaded.objects.at(5)));
}

TEST(StudioDocument, OlderProgramsCanReadWhatHasNothingNew) {
    StudioState state = fullState();
    EXPECT_EQ(state.toJson()["selvarin"].toInt(), 2);
    state.objects.clear();
    EXPECT_EQ(state.toJson()["selvarin"].toInt(), 1);
    EXPECT_FALSE(state.toJson().contains("objectLooks"));
}

TEST(StudioDocument, TheFirstFormIsStillRead) {
    const TempFolder folder;
    Json json = fullState().toJson();
    json.remove("objectLooks");
    json["selvarin"] = 1;
    const Json own = JsonArray{JsonArray{"text", "own"}};
    json["objects"] = JsonObject{{"0", own}, {"3", own}, {"17", JsonArray{JsonArray{"int", 5}}}};
    StudioState expected = fullState();
    expected.objects.edit()[3] = StudioLook(expected.objects.at(0));
    StudioState loaded;
    ASSERT_EQ(load(folder, json.indented(), &loaded), std::wstring());
    expectSame(expected, loaded);
    EXPECT_TRUE(loaded.objects.at(0).shares(loaded.objects.at(3)));
    EXPECT_TRUE(loaded.unknown.toObject().empty());
}

TEST(StudioDocument, WhatCouldNotBeReadAgainIsNotWritten) {
    const TempFolder folder;
    const std::wstring file = wide(folder.path() / "doc.selvarin");
    std::wstring why;
    ASSERT_TRUE(saveStudioDocument(file, fullState(), &why));
    std::vector<StudioState> bad(4, StudioState::fresh());
    bad[0].lights.resize(1001);
    bad[0].hasLights = true;
    bad[1].look = streamOf(200'001, 0);
    bad[2].objects.edit()[1'000'000] = StudioLook();
    // More than 64 MiB of texts.
    for (int i = 0; i < 300; ++i) {
        KivMemoryDataManager own;
        own.setSaving();
        own.saveInt(i);
        for (int k = 0; k < 1000; ++k) {
            own.saveString(std::wstring(250, L'x').c_str());
        }
        bad[3].objects.edit()[i] = own;
    }
    for (const StudioState& state : bad) {
        why.clear();
        EXPECT_FALSE(saveStudioDocument(file, state, &why));
        expectOneLine(why);
        StudioState kept;
        ASSERT_TRUE(loadStudioDocument(file, &kept, &why)) << kivToUtf8(why);
        expectSame(fullState(), kept);
    }
    bad[0].lights.resize(1000);
    ASSERT_TRUE(saveStudioDocument(file, bad[0], &why)) << kivToUtf8(why);
    StudioState most;
    EXPECT_TRUE(loadStudioDocument(file, &most, &why)) << kivToUtf8(why);
}

TEST(StudioDocument, KeysOfANewerProgramAreKept) {
    const TempFolder folder;
    Json json = fullState().toJson();
    const Json extra = JsonObject{{"deep", JsonArray{1, "two", JsonObject{{"three", 3.5}}}}};
    json["fog"] = extra;
    StudioState loaded;
    ASSERT_EQ(load(folder, json.indented(), &loaded), std::wstring());
    EXPECT_EQ(loaded.toJson()["fog"], extra);
    expectSame(fullState(), loaded);
}

TEST(StudioDocument, AFolderThatWasMovedFindsItsModels) {
    const TempFolder folder;
    std::filesystem::create_directories(folder.path() / "old/parts");
    std::filesystem::create_directories(folder.path() / "elsewhere");
    folder.write("old/parts/a.obj", "v 0 0 0\n");
    folder.write("elsewhere/b.obj", "v 0 0 0\n");
    StudioState state = StudioState::fresh();
    state.models = {folder.wide("old/parts/a.obj"), folder.wide("elsewhere/b.obj"), L"/nowhere/c.obj"};
    std::wstring why;
    ASSERT_TRUE(saveStudioDocument(wide(folder.path() / "old/doc.selvarin"), state, &why));
    StudioState loaded;
    ASSERT_TRUE(loadStudioDocument(wide(folder.path() / "old/doc.selvarin"), &loaded, &why));
    EXPECT_EQ(loaded.models, state.models);
    std::filesystem::rename(folder.path() / "old", folder.path() / "new");
    ASSERT_TRUE(loadStudioDocument(wide(folder.path() / "new/doc.selvarin"), &loaded, &why));
    EXPECT_EQ(loaded.models, (std::vector<std::wstring>{folder.wide("new/parts/a.obj"), folder.wide("elsewhere/b.obj"),
                                                        L"/nowhere/c.obj"}));
}

TEST(StudioDocument, WhatIsNoDocumentIsRefusedInOneLineAndChangesNothing) {
    const TempFolder folder;
    const Json good = fullState().toJson();
    const std::string whole = good.indented();
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    const auto text = [](const Json& json) { return json.indented(); };
    const std::string bad[] = {
        "",
        "no document",
        "[]",
        "{}",
        "{\"selvarin\": 1",
        "{\"selvarin\": \"\xFF\xFE\"}",
        std::string(1000, '\0'),
        deep,
        "{\"fog\": " + deep + "}",
        whole.substr(0, whole.size() / 2),
        text(changed(good, "selvarin", 0)),
        text(changed(good, "selvarin", -1)),
        text(changed(good, "selvarin", 4)),
        text(changed(good, "selvarin", "1")),
        text(changed(good, "models", JsonArray{JsonObject{{"path", ""}}})),
        text(changed(good, "models", JsonArray{7})),
        text(changed(good, "look", "text")),
        text(changed(good, "look", JsonArray{7})),
        text(changed(good, "look", JsonArray{JsonArray{"int"}})),
        text(changed(good, "look", JsonArray{JsonArray{"monster", 1}})),
        text(changed(good, "objects", JsonObject{{"-1", Json::Array()}})),
        text(changed(good, "objects", JsonObject{{"99999999999", Json::Array()}})),
        text(changed(good, "objects", JsonObject{{"x", Json::Array()}})),
        text(changed(good, "objects", JsonObject{{"1", 5}})),
        text(changed(good, "objectLooks", JsonArray{5})),
        text(changed(good, "objectLooks", JsonArray{JsonObject{{"objects", JsonArray{1}}}})),
        text(changed(good, "objectLooks", JsonArray{JsonObject{{"look", Json::Array()}}})),
        text(changed(good, "objectLooks", groupOf(-1))),
        text(changed(good, "objectLooks", groupOf(1.5))),
        text(changed(good, "objectLooks", groupOf(1'000'000))),
        text(changed(good, "objectLooks", groupOf("1"))),
    };
    int index = 0;
    for (const std::string& bytes : bad) {
        StudioState state = fullState();
        const std::wstring why = load(folder, bytes, &state);
        EXPECT_FALSE(why.empty()) << index;
        expectOneLine(why);
        expectSame(fullState(), state);
        ++index;
    }
}

TEST(StudioDocument, TooMuchOfAnythingIsRefused) {
    const TempFolder folder;
    Json cells;
    for (int i = 0; i < 200'001; ++i) {
        cells.append(JsonArray{"int", 1});
    }
    Json lights;
    for (int i = 0; i < 1001; ++i) {
        lights.append(Json::Object());
    }
    const Json good = StudioState::fresh().toJson();
    for (const Json& json : {changed(good, "look", cells), changed(good, "lights", lights)}) {
        StudioState state = fullState();
        expectOneLine(load(folder, json.indented(), &state));
        expectSame(fullState(), state);
    }
    // A file without an end is not read to it.
    const std::filesystem::path file = folder.path() / "doc.selvarin";
    std::filesystem::remove(file);
    std::filesystem::create_symlink("/dev/zero", file);
    StudioState state;
    std::wstring why;
    EXPECT_FALSE(loadStudioDocument(wide(file), &state, &why));
    expectOneLine(why);
}

TEST(StudioDocument, FilesThatCantBeReadOrWrittenAreToldAndKept) {
    const TempFolder folder;
    StudioState state = fullState();
    std::wstring why;
    EXPECT_FALSE(loadStudioDocument(wide(folder.path() / "doc.selvarin"), &state, &why));
    expectOneLine(why);
    EXPECT_FALSE(saveStudioDocument(wide(folder.path() / "no/doc.selvarin"), state, &why));
    expectOneLine(why);
    std::filesystem::create_directory(folder.path() / "doc.selvarin");
    EXPECT_FALSE(saveStudioDocument(wide(folder.path() / "doc.selvarin"), state, &why));
    expectOneLine(why);
    EXPECT_FALSE(loadStudioDocument(wide(folder.path() / "doc.selvarin"), &state, &why));
    expectOneLine(why);
    expectSame(fullState(), state);
}

TEST(StudioDocument, AFullDiskLeavesTheOldFile) {
    const TempFolder folder;
    const std::wstring file = wide(folder.path() / "doc.selvarin");
    std::wstring why;
    // One that fits into the buffers of the file and one that does not.
    for (const int cells : {0, 50'000}) {
        const StudioState saved = fullState();
        ASSERT_TRUE(saveStudioDocument(file, saved, &why)) << kivToUtf8(why);
        StudioState larger = StudioState::fresh();
        larger.look.edit().setSaving();
        for (int i = 0; i < cells; ++i) {
            larger.look.edit().saveInt(i);
        }
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const rlimit few{100, 100}; // bytes of a file
            std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &few);
            std::wstring reason;
            const bool told = !saveStudioDocument(file, larger, &reason) && reason.starts_with(file) &&
                              reason.size() > file.size() + 4;
            std::_Exit(told ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the failure was not told";
        StudioState loaded;
        ASSERT_TRUE(loadStudioDocument(file, &loaded, &why)) << kivToUtf8(why);
        EXPECT_TRUE(loaded == saved);
        EXPECT_EQ(folder.count(), 1U) << "nothing half-written stays";
    }
}

TEST(StudioDocument, ValuesOutOfRangeAreBroughtIntoIt) {
    const TempFolder folder;
    const StudioState fresh = StudioState::fresh();
    const Json good = fresh.toJson();
    Json json = good;
    json["camera"] = JsonObject{{"target", JsonArray{"nan", "inf", 1e300}},
                                {"distance", -5},
                                {"yaw", "inf"},
                                {"pitch", 99},
                                {"up", 7},
                                {"fov", 1e9}};
    json["lights"] = JsonArray{JsonObject{{"angle", -4}, {"colour", "#GGGGGG"}, {"kind", "laser"}}, 5};
    Json options = good["options"];
    options["antialias"] = 99;
    options["size"] = JsonArray{-7, 2e9};
    options["offset"] = "nan";
    options["imageFile"] = std::string(100'000, 'x');
    options["shadows"] = "yes";
    json["options"] = options;
    json["look"] = JsonArray{JsonArray{"int", 1e300}, JsonArray{"short", -1}, JsonArray{"char", "text"},
                             JsonArray{"float", 1e300}, JsonArray{"long", 1.5}};
    StudioState state;
    ASSERT_EQ(load(folder, json.indented(), &state), std::wstring());
    EXPECT_EQ(state.camera.target.x, 0.0);
    EXPECT_TRUE(std::isfinite(state.camera.target.y));
    EXPECT_GT(state.camera.distance, 0.0);
    EXPECT_LE(state.camera.pitch, 1.6);
    EXPECT_LE(state.camera.fov, 120.0);
    ASSERT_EQ(state.lights.size(), 2U);
    EXPECT_EQ(state.lights[0].angle, 0.0);
    EXPECT_EQ(state.lights[0].colour, 0xFFFFFFU);
    EXPECT_EQ(state.options.getAntialias(), 2);
    EXPECT_EQ(state.options.getResolution().cx, 1);
    EXPECT_LE(state.options.getResolution().cy, 1 << 20);
    EXPECT_EQ(state.options.getPolygonOffset(), fresh.options.getPolygonOffset());
    EXPECT_EQ(state.options.getSaveRenderFile(), L"");
    EXPECT_FALSE(state.options.doShadows());
    const auto& cells = state.look.getCells();
    ASSERT_EQ(cells.size(), 5U);
    EXPECT_EQ(valueOf<int>(cells[0]), std::numeric_limits<int>::max());
    EXPECT_EQ(valueOf<unsigned short>(cells[1]), 0);
    EXPECT_EQ(valueOf<char>(cells[2]), 0);
    EXPECT_TRUE(std::isinf(valueOf<float>(cells[3])));
    EXPECT_EQ(valueOf<std::uint32_t>(cells[4]), 1U);
}

TEST(StudioDocument, MutatedDocumentsDoNoHarm) {
    RawRandom random(31);
    const std::string good = bytesOf(fullState());
    const char* const pieces[] = {"null", "-1",   "1e308", "\"nan\"", "[]",   "{}",      "99999999999", "\"\\ud800\"",
                                  "true", "\"\"", "[[",    "}}",      "\xFF", "\\u0000", ",",           "1.5"};
    int accepted = 0;
    int refused = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string bytes = good;
        for (unsigned int i = random.below(4) + 1; i > 0; --i) {
            const std::size_t at = random.below(static_cast<unsigned int>(bytes.size()));
            switch (random.below(5)) {
            case 0:
                bytes[at] = static_cast<char>(random.below(256));
                break;
            case 1:
                bytes.erase(at, random.below(40));
                break;
            case 2:
                bytes.insert(at, pieces[random.below(std::size(pieces))]);
                break;
            case 3: { // another value for a key or an item
                const std::size_t from = bytes.find(": ", at);
                const std::size_t to = bytes.find('\n', from);
                if (from != std::string::npos && to != std::string::npos) {
                    bytes.replace(from + 2, to - from - 3, pieces[random.below(std::size(pieces))]);
                }
                break;
            }
            default:
                bytes[at] = static_cast<char>('0' + random.below(10));
                break;
            }
            if (bytes.empty()) {
                bytes = "{";
            }
        }
        StudioState state = StudioState::fresh();
        std::wstring why;
        const Json json = Json::parse(bytes).value_or(Json());
        const bool isObject = json.isObject();
        if (!isObject || !state.fromJson(json, {}, &why)) {
            ++refused;
            ASSERT_TRUE(state == StudioState::fresh());
            ASSERT_EQ(isObject, !why.empty());
            continue;
        }
        ++accepted;
        // The understood part is kept.
        StudioState again;
        ASSERT_TRUE(again.fromJson(Json::parse(bytesOf(state)).value_or(Json()), {}, &why)) << kivToUtf8(why);
        ASSERT_EQ(bytesOf(again), bytesOf(state)) << bytes;
        ASSERT_TRUE(again == state) << bytes;
    }
    EXPECT_GT(accepted, 200) << "the mutations are too rough to test anything";
    EXPECT_GT(refused, 400);
}

TEST(StudioDocument, LightsAreWhatTheRendererExpects) {
    const std::vector<Kiv3DPoint> points{{-10, -10, -10}, {10, 10, 10}};
    StudioLight light;
    light.kind = StudioLight::Kind::spot;
    light.angle = 30.0;
    light.location = {1, 2, 3};
    light.direction = {0, -1, 0};
    light.colour = 0x102030;
    const KivLight spot = light.toLight(points);
    EXPECT_EQ(spot.getStyle(), KivLight::spotLight);
    EXPECT_NEAR(spot.getSpotAngle(), 0.52359877559829882, 1e-12);
    EXPECT_EQ(spot.getLocation().y, 2.0);
    EXPECT_EQ(spot.getDiffuse(), 0x102030U);
    light.kind = StudioLight::Kind::point;
    EXPECT_EQ(light.toLight(points).getStyle(), KivLight::pointLight);
    light.kind = StudioLight::Kind::directional;
    const KivLight sun = light.toLight(points);
    EXPECT_GT(sun.getLocation().y, 10.0) << "it comes from outside";
}
