// What the tests of the surface share: a host that records messages, and the steps of a render around its drawing.
#ifndef TESTS_RENDER_SURFACE_FIXTURE_H
#define TESTS_RENDER_SURFACE_FIXTURE_H

#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelmemory.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "support/gl_driver.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct KivTestAccess {
    static const std::wstring& tempFileName(const KivBitmapManager& surface) {
        return surface.tempFileName;
    }
};

// A folder of the test's own, gone with it.
class TestFolder {
public:
    TestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "surface-test-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::wstring wide() const {
        return kivFromUtf8(path.string());
    }
    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path), {}));
    }

    std::filesystem::path path;
};

class RecordingHost : public KivDefaultHost {
public:
    int morvaneErrorMessage(unsigned long code, const wchar_t* text) override {
        errors.emplace_back(code, text != nullptr ? text : L"");
        return 1;
    }

    std::vector<std::pair<unsigned long, std::wstring>> errors;
};

class SurfaceTest : public ::testing::Test {
protected:
    SurfaceTest() {
        // The host makes its folders here and not in the home of whoever runs the tests.
        setenv("XDG_DATA_HOME", (home.path / "data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home.path / "config").c_str(), 1);
        host = std::make_unique<RecordingHost>();
        before = KivHostApplicationServices::setDefaultHost(host.get());
        kivSetLastError(0);
    }
    ~SurfaceTest() override {
        KivHostApplicationServices::setDefaultHost(before);
        keepGlDriverLoaded();
    }

    static int create(KivBitmapManager& surface, tagSIZE size, const wchar_t* folder = nullptr,
                      bool fileBacked = true) {
        return wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, folder, fileBacked);
    }

    // As a render starts.
    static bool startDrawing(KivBitmapManager& surface, tagSIZE size, const wchar_t* folder = nullptr) {
        if (create(surface, size, folder) == 0) {
            return false;
        }
        surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
        return surface.getHGLRC() != nullptr && kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC());
    }

    static KivBitmapInfo info(HBITMAP bitmap) {
        KivBitmapInfo result;
        kivGetBitmapInfo(bitmap, &result);
        return result;
    }

    // Red in the low byte, x from the left, y from the bottom; the fourth byte is left out.
    static std::uint32_t pixel(HBITMAP bitmap, int x, int y) {
        const KivBitmapInfo picture = info(bitmap);
        const std::uint8_t* bytes =
            picture.pixels + static_cast<std::size_t>(y) * picture.rowBytes + static_cast<std::size_t>(x) * 4U;
        return bytes[2] | static_cast<std::uint32_t>(bytes[1]) << 8U | static_cast<std::uint32_t>(bytes[0]) << 16U;
    }

    TestFolder home;
    std::unique_ptr<RecordingHost> host;
    KivHostApplicationServices* before = nullptr;
};

#endif
