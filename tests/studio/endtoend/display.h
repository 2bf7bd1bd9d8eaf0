// A display of the tests' own, a screen in memory that nobody sees, and a hand that works it: real mouse and keys of
// the window system, given by xdotool.
//
// There is no window manager: windows stand at the top left corner, and whoever wants the keys gives them to a window.
#ifndef TESTS_STUDIO_ENDTOEND_DISPLAY_H
#define TESTS_STUDIO_ENDTOEND_DISPLAY_H

#include <QByteArray>
#include <QPoint>
#include <QProcess>
#include <QString>
#include <QStringList>

// Starts the display and points DISPLAY to it, for this process and its children. To be made before a QApplication.
class MemoryDisplay {
public:
    // The needed programs that are not installed; empty if nothing is missing.
    static QString missing();

    MemoryDisplay();
    ~MemoryDisplay();
    MemoryDisplay(const MemoryDisplay&) = delete;
    MemoryDisplay& operator=(const MemoryDisplay&) = delete;

    // Whether it runs.
    explicit operator bool() const;

private:
    QProcess server;
};

// The hand. Positions are pixels of the screen. Each call returns when the window system has the events; what the
// program makes of them comes later. May be used on any thread.
class Hand {
public:
    // What xdotool writes; false in *good, if that is not null, if it failed.
    static QString xdotool(const QStringList& words, bool* good = nullptr);

    static void move(QPoint to);
    static void click(QPoint at, int button = 1);
    // With the left button, in steps.
    static void drag(QPoint from, QPoint to);
    // As xdotool names them: "ctrl+z", "F5", "Return".
    static void keys(const QString& names);
    static void type(const QString& text);
    // Does a window manager's work: gives the keys to that window.
    static void focus(qulonglong window);
    // The newest window with a title that matches the regular expression; 0 for none.
    static qulonglong windowNamed(const QString& pattern);
    static QString titleOf(qulonglong window);
};

#endif
