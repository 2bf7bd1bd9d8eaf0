#include "apps/studio/studioevents.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QKeySequence>
#include <QWidget>

namespace {

bool isInput(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::Close:
        return true;
    default:
        return false;
    }
}

// A window takes what is dropped on it, and is to see to it that this waits; a field would take a text at once.
bool isForWindow(QEvent::Type type) {
    return type == QEvent::DragEnter || type == QEvent::DragMove || type == QEvent::Drop;
}

// What says that the user wants something: a mouse that only passes over the window does not.
bool isWish(const QEvent& event) {
    return event.type() != QEvent::MouseMove || (QApplication::mouseButtons() != Qt::NoButton);
}

// What ends even a render that nothing else disturbs.
bool isEnd(const QEvent& event) {
    switch (event.type()) {
    case QEvent::Close:
        return true;
    case QEvent::KeyPress:
        return static_cast<const QKeyEvent&>(event).key() == Qt::Key_Escape;
    case QEvent::Shortcut:
        return static_cast<const QShortcutEvent&>(event).key() == QKeySequence(Qt::Key_Escape);
    default:
        return false;
    }
}

bool canReplay(QEvent::Type type) {
    return type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease ||
           type == QEvent::MouseButtonDblClick || type == QEvent::Wheel || type == QEvent::KeyPress ||
           type == QEvent::KeyRelease || type == QEvent::Shortcut || type == QEvent::Close;
}

} // namespace

StudioEvents::StudioEvents(Held what, QWidget* allowedWidget, std::function<void()> inputCallback)
    : kind(what), allowed(allowedWidget), onInput(std::move(inputCallback)) {
    qApp->installEventFilter(this);
}

StudioEvents::~StudioEvents() {
    qApp->removeEventFilter(this);
    for (auto& [receiver, event] : held) {
        if (receiver == nullptr) {
            continue;
        }
        if (event->type() == QEvent::Close) {
            // An event alone hides no window.
            QMetaObject::invokeMethod(receiver, "close", Qt::QueuedConnection);
        } else {
            QCoreApplication::postEvent(receiver, event.release());
        }
    }
}

void StudioEvents::pump() {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

bool StudioEvents::eventFilter(QObject* watched, QEvent* event) {
    // Windows of the platform pass their input on to widgets, where it comes by again; keys that mean an action go to
    // the action itself.
    auto* const widget = qobject_cast<QWidget*>(watched);
    if (!isInput(event->type()) || (widget == nullptr && event->type() != QEvent::Shortcut)) {
        return false;
    }
    if (widget != nullptr && (widget == allowed || (allowed != nullptr && allowed->isAncestorOf(widget)) ||
                              (widget->isWindow() && isForWindow(event->type())))) {
        return false;
    }
    if (kind == Held::replay ? canReplay(event->type()) : event->type() == QEvent::Close) {
        held.emplace_back(watched, event->clone());
    }
    if (onInput && (kind == Held::replay ? isWish(*event) : isEnd(*event))) {
        onInput();
    }
    if (event->type() == QEvent::Close) {
        event->ignore();
    }
    return true;
}
