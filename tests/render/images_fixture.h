// What the tests of pictures share: a host that records what it is told, surfaces with pixels, and a way to the private
// steps of a render.
#ifndef TESTS_RENDER_IMAGES_FIXTURE_H
#define TESTS_RENDER_IMAGES_FIXTURE_H

#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivtwopassscale.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivpixelmemory.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

struct KivTestAccess {
    static void filterString(wchar_t* out, const wchar_t** parts) {
        KivHostApplicationServices::genFilterString(out, parts);
    }
    static void drawBackgroundImage(KivRenderer& r, const KivCommonSettings& s, tagSIZE size, KivProgress* p) {
        r.drawBackgroundImage(s, size, p);
    }
    static void fillDepthForLines(KivRenderer& r, const KivScene* scene, const KivCommonSettings& s,
                                  KivShaderCommunication& c) {
        r.fillDepthForLines(scene, s, c);
    }
    static void saveDepthBuffer(KivRenderer& r, tagSIZE size, KivProgress* p, KivCommonSettings& s) {
        r.saveDepthBuffer(size, p, s);
    }
    static void drawPaperImage(KivRenderer& r, const KivCommonSettings& s, KivProgress* p) {
        r.drawPaperImage(s, p);
    }
    static void makeAntialias(KivRenderer& r, KivBitmapManager* b, KivProgress* p, const KivCommonSettings* s,
                              tagSIZE size) {
        r.makeAntialias(b, p, s, size);
    }
    static void saveFinalRender(KivRenderer& r, KivBitmapManager* b, const KivCommonSettings& s) {
        r.saveFinalRender(b, s);
    }
    static unsigned int previousPowerOfTwo(KivRenderer& r, unsigned int value) {
        return r.getPreviousPowerOfTwo(value);
    }
    // Puts one shader into the table, null for none.
    static void setOnlyShader(KivShader* shader) {
        KivShader::lShaders[0] = shader;
        KivShader::dShaders = shader != nullptr ? 1 : 0;
    }
};

class PictureHost : public KivDefaultHost {
public:
    int message(const wchar_t* text) override {
        messages.emplace_back(text);
        return 1;
    }
    int morvaneErrorMessage(unsigned long code, const wchar_t* text) override {
        errors.emplace_back(code, text);
        return 1;
    }

    using KivDefaultHost::stretchImageBilinear;
    KivImage* stretchImageBilinear(KivImage* source, SIZE size) override {
        stretches.push_back(size);
        return failStretch ? nullptr : KivDefaultHost::stretchImageBilinear(source, size);
    }
    const wchar_t* folderOfPickers() const {
        return lastFolder;
    }

    std::vector<std::wstring> messages;
    std::vector<std::pair<unsigned long, std::wstring>> errors;
    std::vector<SIZE> stretches;
    bool failStretch = false;
};

class RecordingProgress : public KivProgress {
public:
    void addSteps(unsigned int) override {}
    int addDeferredStep() override {
        return 0;
    }
    void progressSlot3() override {}
    void beginStep() override {}
    void advance(unsigned int units, bool show) override {
        advances.emplace_back(units, show);
    }
    void setStepSize(int, unsigned int) override {}
    void endStep() override {}
    void progressSlot8() override {}
    void setText(const wchar_t* text) override {
        texts.emplace_back(text);
    }
    bool isCancelled() override {
        return cancelled;
    }

    bool cancelled = false;
    std::vector<std::pair<unsigned int, bool>> advances;
    std::vector<std::wstring> texts;
};

class PictureTest : public ::testing::Test {
protected:
    PictureTest() {
        setenv("XDG_DATA_HOME", (folder.path() / "data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (folder.path() / "config").c_str(), 1);
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        host = std::make_unique<PictureHost>();
        before = KivHostApplicationServices::setDefaultHost(host.get());
    }
    ~PictureTest() override {
        KivTestAccess::setOnlyShader(nullptr);
        kivLimitPixelAllocations(-1);
        KivHostApplicationServices::setDefaultHost(before);
    }

    // A surface with a context that is current, cleared to a colour (red in the low byte) and to depth 1.
    static bool startDrawing(KivBitmapManager& surface, tagSIZE size);
    // Ends it; the picture is then the bitmap.
    static std::unique_ptr<KivImage> finish(KivBitmapManager& surface) {
        surface.deleteContext();
        return KivImage::fromBitmap(surface.getHBitmap());
    }
    // A finished surface of one colour (blue in the low byte).
    static void fill(KivBitmapManager& surface, tagSIZE size, std::uint32_t colour) {
        ASSERT_TRUE(surface.buildBitmapMemory(L"", size));
        KivBitmapInfo info;
        ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        auto* pixels = reinterpret_cast<std::uint32_t*>(info.pixels);
        std::fill_n(pixels, static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy), colour);
    }
    // A file with a picture of one colour (red in the low byte) and another one in the top left quarter.
    std::wstring picture(const std::string& name, tagSIZE size, std::uint32_t colour, std::uint32_t corner) {
        const auto image = KivImage::create(size);
        for (std::int32_t y = 0; y < size.cy; ++y) {
            for (std::int32_t x = 0; x < size.cx; ++x) {
                const std::uint32_t c = x < size.cx / 2 && y < size.cy / 2 ? corner : colour;
                std::uint8_t* to = image->row(y) + 3 * static_cast<std::ptrdiff_t>(x);
                to[0] = static_cast<std::uint8_t>(c >> 16);
                to[1] = static_cast<std::uint8_t>(c >> 8);
                to[2] = static_cast<std::uint8_t>(c);
            }
        }
        GUID encoder;
        host->getEncoderClsidFromFileName(folder.wide(name).c_str(), &encoder);
        EXPECT_EQ(image->save(folder.wide(name), encoder), KivImageStatus::ok);
        return folder.wide(name);
    }

    TempFolder folder;
    std::unique_ptr<PictureHost> host;
    KivHostApplicationServices* before = nullptr;
    KivRenderer renderer;
    RecordingProgress progress;
};

#endif
