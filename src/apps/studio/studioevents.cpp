#include "apps/studio/studioevents.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
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

// What says that the user wants something: a mouse that only passes over the window does not.
bool isWish(const QEvent& event) {
    return event.type() != QEvent::MouseMove || (QApplication::mouseButtons() != Qt::NoButton);
}

// What ends even a render that nothing else disturbs.
bool isEnd(const QEvent& event) {
    return event.type() == QEvent::Close ||
           (event.type() == QEvent::KeyPress && static_cast<const QKeyEvent&>(event).key() == Qt::Key_Escape);
}

bool canReplay(QEvent::Type type) {
    return type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease ||
           type == QEvent::MouseButtonDblClick || type == QEvent::Wheel || type == QEvent::KeyPress ||
           type == QEvent::KeyRelease || type == QEvent::Close;
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
    // Windows of the platform pass their input on to widgets, where it comes by again.
    auto* const widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || !isInput(event->type())) {
        return false;
    }
    if (allowed != nullptr && (widget == allowed || allowed->isAncestorOf(widget))) {
        return false;
    }
    if (kind == Held::replay ? canReplay(event->type()) : event->type() == QEvent::Close) {
        held.emplace_back(widget, event->clone());
    }
    if (onInput && (kind == Held::replay ? isWish(*event) : isEnd(*event))) {
        onInput();
    }
    if (event->type() == QEvent::Close) {
        event->ignore();
    }
    return true;
}
