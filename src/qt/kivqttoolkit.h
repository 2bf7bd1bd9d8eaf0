// The desktop by Qt: message boxes, pickers, timers, windows from forms. A program makes one after its QApplication and
// installs it with KivToolkit::install; it must be removed before it ends. All calls on the thread of the windows.
//
//     QApplication application(argc, argv);
//     KivQtToolkit toolkit;
//     KivToolkit::install(&toolkit);
//     ... // the program; its windows as parents by KivQtWindow
//     KivToolkit::install(nullptr);
//
// Without an installed toolkit the library asks nobody: messages go to standard error, and pickers answer as if they
// were cancelled. Boxes and pickers run a loop of events of their own until they are answered, so that timers fire
// meanwhile.
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

    // The button that closed the box: kivAnswerOk, kivAnswerYes or kivAnswerNo.
    int showMessage(HWND owner, const std::wstring& text, const std::wstring& caption, KivMessageKind kind) override;
    // color: shown first, and the choice afterwards, red in the low byte. False if the user cancels.
    bool pickColor(HWND owner, std::uint32_t& color) override;
    // Opens or saves by the request's kinds of files. False, with the request as it was, if the user cancels.
    bool pickFile(KivFileRequest& request) override;
    bool pickFolder(HWND owner, const std::wstring& title, std::wstring& folder) override;
    // Repeats until it is stopped.
    unsigned int startTimer(unsigned int milliseconds, std::function<void()> callback) override;
    void stopTimer(unsigned int timer) override;
    // From a form in the resources of a module; null if it has no such form. The caller owns it.
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
        // Came due while held.
        bool isDue = false;
    };

    void fire(unsigned int number);

    std::map<unsigned int, Timer> timers;
    bool held = false;
    unsigned int lastTimer = 0;
};

#endif
