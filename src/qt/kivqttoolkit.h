// The desktop by Qt: message boxes, pickers, timers, windows from forms. A program makes one after its QApplication and
// installs it with KivToolkit::install; it must be removed before it ends. All calls on the thread of the windows.
#ifndef QT_KIVQTTOOLKIT_H
#define QT_KIVQTTOOLKIT_H

#include "kivrender/platform/kivtoolkit.h"

#include <QTimer>

#include <map>
#include <memory>

class KivQtToolkit : public KivToolkit {
public:
    KivQtToolkit() = default;
    ~KivQtToolkit() override;

    int showMessage(HWND owner, const std::wstring& text, const std::wstring& caption, KivMessageKind kind) override;
    bool pickColor(HWND owner, std::uint32_t& color) override;
    bool pickFile(KivFileRequest& request) override;
    bool pickFolder(HWND owner, const std::wstring& title, std::wstring& folder) override;
    unsigned int startTimer(unsigned int milliseconds, std::function<void()> callback) override;
    void stopTimer(unsigned int timer) override;
    std::unique_ptr<KivWindow> createWindow(HINSTANCE resources, unsigned int id, HWND parent) override;
    // Asks first, with "no" for an answer to Enter and Escape, and says so if it can't be done.
    bool moveToTrash(HWND owner, const std::wstring& path) override;

    // While timers are held, as during a render that lets events through, one that comes due fires when they are held
    // no longer.
    void holdTimers(bool hold);

private:
    struct Timer {
        std::unique_ptr<QTimer> clock;
        std::function<void()> callback;
        bool isDue = false;
    };

    void fire(unsigned int number);

    std::map<unsigned int, Timer> timers;
    bool held = false;
    unsigned int lastTimer = 0;
};

#endif
