// What the user does while a render runs. Input for anything but the chosen widgets is held back, so that no handler
// runs inside the render, and either comes afterwards or never.
#ifndef APPS_STUDIO_STUDIOEVENTS_H
#define APPS_STUDIO_STUDIOEVENTS_H

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QInputEvent;
class QWidget;

class StudioEvents : public QObject {
public:
    enum class Held {
        replay, // what was held is delivered when this object ends
        drop    // all but the wish to close the window, which is delivered
    };

    // Dragging over a window and dropping on it go through: what the window does about that has to wait by itself.
    //
    // allowed: the widget that takes input, with all in it; null for none. onInput, which may cancel the render, is
    // called when a click, a key or the wheel is held back for replay, else only for Escape and the wish to close. The
    // filter is in force as long as the object lives.
    StudioEvents(Held what, QWidget* allowed, std::function<void()> onInput = {});
    ~StudioEvents() override;
    StudioEvents(const StudioEvents&) = delete;
    StudioEvents& operator=(const StudioEvents&) = delete;

    // Lets what waits through.
    static void pump();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Held kind;
    QPointer<QWidget> allowed;
    std::function<void()> onInput;
    std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> held;
};

#endif
