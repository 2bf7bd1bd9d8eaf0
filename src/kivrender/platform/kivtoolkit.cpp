#include "kivrender/platform/kivtoolkit.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtrash.h"
#include "kivrender/platform/kivwindow.h"

#include <cstdio>

namespace {

KivToolkit* installed = nullptr;

// The toolkit of a program without a desktop.
class NoDesktop : public KivToolkit {
public:
    int showMessage(HWND, const std::wstring& text, const std::wstring& caption, KivMessageKind kind) override {
        const std::string head = caption.empty() ? std::string() : kivToUtf8(caption) + ": ";
        std::fprintf(stderr, "%s%s\n", head.c_str(), kivToUtf8(text).c_str());
        return kind == KivMessageKind::Question ? kivAnswerNo : kivAnswerOk;
    }
    bool pickColor(HWND, std::uint32_t&) override {
        return false;
    }
    bool pickFile(KivFileRequest&) override {
        return false;
    }
    bool pickFolder(HWND, const std::wstring&, std::wstring&) override {
        return false;
    }
    unsigned int startTimer(unsigned int, std::function<void()>) override {
        return 0;
    }
    void stopTimer(unsigned int) override {}
    std::unique_ptr<KivWindow> createWindow(HINSTANCE, unsigned int, HWND) override {
        return nullptr;
    }
};

} // namespace

KivToolkit::~KivToolkit() = default;

bool KivToolkit::moveToTrash(HWND, const std::wstring& path) {
    return kivMoveToTrash(path);
}

KivToolkit& KivToolkit::get() {
    static NoDesktop noDesktop;
    return installed != nullptr ? *installed : noDesktop;
}

KivToolkit* KivToolkit::install(KivToolkit* toolkit) {
    KivToolkit* previous = installed;
    installed = toolkit;
    return previous;
}
