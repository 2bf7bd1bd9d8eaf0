#include "kivrender/settings/kivcommonsettings.h"

#include "kivrender/settings/kivcommondatamanager.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "support/temphome.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Writes down the calls and fails at one of them.
class Recorder : public KivCommonDataManager {
public:
    explicit Recorder(std::string failing = {}) : failAt(std::move(failing)) {}

    std::vector<std::string> calls;

#define SAVE(name, type)                                                                                               \
    bool name(type) override {                                                                                         \
        return called(#name);                                                                                          \
    }
#define LOAD(name, type, value)                                                                                        \
    type name() override {                                                                                             \
        called(#name);                                                                                                 \
        return value;                                                                                                  \
    }
    bool beginSaveCommonData() override {
        return called("beginSaveCommonData");
    }
    bool endSaveCommonData() override {
        return called("endSaveCommonData");
    }
    SAVE(saveAntialias, int)
    SAVE(saveResolution, SIZE)
    SAVE(saveCustomSize, bool)
    SAVE(saveBackgroundColor, std::uint32_t)
    SAVE(saveBackgroundImage, const wchar_t*)
    SAVE(savePaperImage, const wchar_t*)
    SAVE(saveAmbientLight, std::uint32_t)
    SAVE(saveVectorial, bool)
    SAVE(saveTransparencies, bool)
    SAVE(saveShadows, bool)
    SAVE(saveVectorialSpeed, int)
    SAVE(saveRenderIsoparams, bool)
    SAVE(saveRenderDim, bool)
    SAVE(saveSaveShadows, bool)
    SAVE(saveSaveDepth, bool)
    SAVE(saveSaveRender, bool)
    SAVE(saveSaveRenderFile, const wchar_t*)
    SAVE(saveSaveVectorFile, const wchar_t*)
    SAVE(saveVectorSimplify, bool)
    SAVE(savePolygonOffset, double)
    bool beginLoadCommonData() override {
        return called("beginLoadCommonData");
    }
    bool endLoadCommonData() override {
        return called("endLoadCommonData");
    }
    LOAD(loadAntialias, int, 0)
    LOAD(loadResolution, SIZE, (SIZE{3, 4}))
    LOAD(loadCustomSize, bool, true)
    LOAD(loadBackgroundColor, std::uint32_t, 5)
    LOAD(loadBackgroundImage, const wchar_t*, nullptr)
    LOAD(loadPaperImage, const wchar_t*, L"paper")
    LOAD(loadAmbientLight, std::uint32_t, 6)
    LOAD(loadVectorial, bool, true)
    LOAD(loadTransparencies, bool, true)
    LOAD(loadShadows, bool, true)
    LOAD(loadVectorialSpeed, int, 1)
    LOAD(loadRenderIsoparams, bool, true)
    LOAD(loadRenderDim, bool, true)
    LOAD(loadSaveShadows, bool, true)
    LOAD(loadSaveDepth, bool, true)
    LOAD(loadSaveRender, bool, true)
    LOAD(loadSaveRenderFile, const wchar_t*, L"r")
    LOAD(loadSaveVectorFile, const wchar_t*, L"v")
    LOAD(loadVectorSimplify, bool, true)
    LOAD(loadPolygonOffset, double, 7.0)
#undef SAVE
#undef LOAD

private:
    bool called(const std::string& name) {
        calls.push_back(name);
        return name != failAt;
    }

    std::string failAt;
};

// The order that a host which streams the values relies on.
const std::vector<std::string> order = {"Antialias",       "CustomSize",      "Resolution",     "AmbientLight",
                                        "BackgroundColor", "BackgroundImage", "PaperImage",     "Vectorial",
                                        "Transparencies",  "Shadows",         "VectorialSpeed", "RenderIsoparams",
                                        "RenderDim",       "SaveShadows",     "SaveDepth",      "SaveRender",
                                        "SaveRenderFile",  "SaveVectorFile",  "VectorSimplify", "PolygonOffset"};

std::vector<std::string> run(const std::string& verb, const std::string& ending) {
    std::vector<std::string> calls{"begin" + ending};
    for (const std::string& name : order) {
        calls.push_back(verb + name);
    }
    calls.push_back("end" + ending);
    return calls;
}

} // namespace

TEST(KivCommonSettings, Defaults) {
    const KivCommonSettings settings;
    EXPECT_EQ(settings.getAntialias(), 2);
    EXPECT_EQ(settings.getPolygonOffset(), 5.0);
    EXPECT_EQ(settings.getResolution(), SIZE{});
    EXPECT_FALSE(settings.getCustomSize());
    EXPECT_EQ(settings.getAmbientLight(), 0U);
    EXPECT_EQ(settings.getBackgroundColor(), 0U);
    EXPECT_EQ(settings.getBackgroundImage(), L"");
    EXPECT_EQ(settings.getPaperImage(), L"");
    EXPECT_FALSE(settings.doVectorial());
    EXPECT_FALSE(settings.doTransparencies());
    EXPECT_FALSE(settings.doShadows());
    EXPECT_EQ(settings.getVectorialSpeed(), 0);
    EXPECT_EQ(settings.doRenderIsoparams(), 0);
    EXPECT_FALSE(settings.doRenderDim());
    EXPECT_FALSE(settings.doSaveShadows());
    EXPECT_FALSE(settings.doSaveDepth());
    EXPECT_FALSE(settings.doSaveRender());
    EXPECT_EQ(settings.getSaveRenderFile(), L"");
    EXPECT_EQ(settings.getSaveVectorFile(), L"");
    EXPECT_FALSE(settings.doVectorSimplify());
}

TEST(KivCommonSettings, FilesBesideTheRender) {
    struct Case {
        const wchar_t* render;
        const wchar_t* shadow;
        const wchar_t* depth;
    };
    const Case cases[] = {
        {L"a.png", L"a_shadow.png", L"a_depth.png"},
        {L"x.y.png", L"x.y_shadow.png", L"x.y_depth.png"},
        {L"/tmp/plain", L"_shadow/tmp/plain", L"_depth/tmp/plain"}, // no dot at all: the suffix comes first
        {L"/tmp/v1.0/plain", L"/tmp/v1_shadow.0/plain", L"/tmp/v1_depth.0/plain"}, // a folder's dot counts
        {L"", L"_shadow", L"_depth"},
        {L".", L"_shadow.", L"_depth."},
    };
    for (const Case& c : cases) {
        KivCommonSettings settings;
        settings.setSaveRenderFile(c.render);
        EXPECT_EQ(settings.getSaveShadowsFile(), c.shadow);
        EXPECT_EQ(settings.getSaveDepthFile(), c.depth);
    }
}

TEST(KivCommonSettings, VectorFormatByEnding) {
    struct Case {
        const wchar_t* file;
        unsigned int format;
    };
    const Case cases[] = {{L"a.ps", 1},   {L"a.eps", 2}, {L"a.ai", 3}, {L"A.PDF", 4}, {L"a.b.SvG", 5}, {L".svgz", 0},
                          {L"a.svgz", 0}, {L"svg", 0},   {L"", 0},     {L"a.", 0},    {L"a.svg/b", 0}};
    for (const Case& c : cases) {
        KivCommonSettings settings;
        settings.setSaveVectorFile(c.file);
        EXPECT_EQ(settings.getVectorialFormat(), c.format) << c.file;
    }
}

TEST(KivCommonSettings, SavesInTheOrderOfTheStream) {
    Recorder host;
    KivCommonSettings settings;
    EXPECT_TRUE(settings.saveDataOnHost(&host));
    EXPECT_EQ(host.calls, run("save", "SaveCommonData"));
}

TEST(KivCommonSettings, LoadsInTheOrderOfTheStream) {
    Recorder host;
    KivCommonSettings settings;
    EXPECT_TRUE(settings.loadDataFromHost(&host));
    EXPECT_EQ(host.calls, run("load", "LoadCommonData"));
    EXPECT_EQ(settings.getResolution(), (SIZE{3, 4}));
    EXPECT_EQ(settings.getBackgroundImage(), L""); // a host may give no text
    EXPECT_EQ(settings.getPaperImage(), L"paper");
    EXPECT_EQ(settings.getAmbientLight(), 6U);
    EXPECT_EQ(settings.getBackgroundColor(), 5U);
    EXPECT_EQ(settings.doRenderIsoparams(), 1);
    EXPECT_EQ(settings.getPolygonOffset(), 7.0);
}

TEST(KivCommonSettings, FirstFailureEndsTheSave) {
    Recorder host("saveShadows");
    KivCommonSettings settings;
    EXPECT_FALSE(settings.saveDataOnHost(&host));
    // The nine before it, and itself.
    const std::vector<std::string> all = run("save", "SaveCommonData");
    EXPECT_EQ(host.calls, std::vector<std::string>(all.begin(), all.begin() + 11));
    EXPECT_EQ(host.calls.back(), "saveShadows");
}

TEST(KivCommonSettings, EverySaveOperationCanFail) {
    const std::vector<std::string> all = run("save", "SaveCommonData");
    for (std::size_t i = 0; i < all.size(); ++i) {
        Recorder host(all[i]);
        KivCommonSettings settings;
        EXPECT_FALSE(settings.saveDataOnHost(&host)) << all[i];
        EXPECT_EQ(host.calls.size(), i + 1) << all[i];
    }
}

TEST(KivCommonSettings, LoadThatCannotBeginChangesNothing) {
    Recorder host("beginLoadCommonData");
    KivCommonSettings settings;
    settings.setPaperImage(L"mine");
    EXPECT_FALSE(settings.loadDataFromHost(&host));
    EXPECT_EQ(host.calls.size(), 1U);
    EXPECT_EQ(settings.getPaperImage(), L"mine");
    EXPECT_EQ(settings.getAntialias(), 2);
}

TEST(KivCommonSettings, ResultOfALoadIsThatOfItsEnd) {
    Recorder host("endLoadCommonData");
    KivCommonSettings settings;
    EXPECT_FALSE(settings.loadDataFromHost(&host));
    EXPECT_EQ(settings.getPolygonOffset(), 7.0); // loaded all the same
}

TEST(KivCommonSettings, NoHostManager) {
    KivCommonSettings settings;
    EXPECT_FALSE(settings.saveDataOnHost(nullptr));
    EXPECT_FALSE(settings.loadDataFromHost(nullptr));
}

TEST(KivCommonSettings, NoPartOfAStyle) {
    const TempFolder folder;
    KivCommonSettings settings;
    settings.setAntialias(1);
    EXPECT_TRUE(settings.save(L"Common", folder.wide("a.kiv").c_str()));
    EXPECT_EQ(folder.count(), 0U);
    EXPECT_TRUE(settings.load(L"Common", folder.wide("a.kiv").c_str()));
    EXPECT_EQ(settings.getAntialias(), 1);
}

TEST(KivCommonSettings, CopiesCarryEveryField) {
    KivCommonSettings settings;
    settings.setSaveVectorFile(L"v.svg");
    settings.setPolygonOffset(1);
    const KivCommonSettings copied(settings); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copied.getSaveVectorFile(), L"v.svg");
    EXPECT_EQ(copied.getPolygonOffset(), 1);
    settings.setSaveVectorFile(nullptr);
    EXPECT_EQ(settings.getSaveVectorFile(), L"");
    EXPECT_EQ(copied.getSaveVectorFile(), L"v.svg");
}

TEST(KivCommonSettings, OrderOfTheSlots) {
    EXPECT_EQ(vtableSlot(&KivMorvaneSettings::save), 1);
    EXPECT_EQ(vtableSlot(&KivMorvaneSettings::load), 2);
#define SLOT(number, name) EXPECT_EQ(vtableSlot(&KivCommonDataManager::name), number)
    SLOT(1, beginSaveCommonData);
    SLOT(2, endSaveCommonData);
    SLOT(3, saveAntialias);
    SLOT(4, saveResolution);
    SLOT(5, saveCustomSize);
    SLOT(6, saveBackgroundColor);
    SLOT(7, saveBackgroundImage);
    SLOT(8, savePaperImage);
    SLOT(9, saveAmbientLight);
    SLOT(10, saveVectorial);
    SLOT(11, saveTransparencies);
    SLOT(12, saveShadows);
    SLOT(13, saveVectorialSpeed);
    SLOT(14, saveRenderIsoparams);
    SLOT(15, saveRenderDim);
    SLOT(16, saveSaveShadows);
    SLOT(17, saveSaveDepth);
    SLOT(18, saveSaveRender);
    SLOT(19, saveSaveRenderFile);
    SLOT(20, saveSaveVectorFile);
    SLOT(21, saveVectorSimplify);
    SLOT(22, savePolygonOffset);
    SLOT(23, beginLoadCommonData);
    SLOT(24, endLoadCommonData);
    SLOT(25, loadAntialias);
    SLOT(26, loadResolution);
    SLOT(27, loadCustomSize);
    SLOT(28, loadBackgroundColor);
    SLOT(29, loadBackgroundImage);
    SLOT(30, loadPaperImage);
    SLOT(31, loadAmbientLight);
    SLOT(32, loadVectorial);
    SLOT(33, loadTransparencies);
    SLOT(34, loadShadows);
    SLOT(35, loadVectorialSpeed);
    SLOT(36, loadRenderIsoparams);
    SLOT(37, loadRenderDim);
    SLOT(38, loadSaveShadows);
    SLOT(39, loadSaveDepth);
    SLOT(40, loadSaveRender);
    SLOT(41, loadSaveRenderFile);
    SLOT(42, loadSaveVectorFile);
    SLOT(43, loadVectorSimplify);
    SLOT(44, loadPolygonOffset);
#undef SLOT
}
