#include "studio/endtoend/display.h"

#include <QStandardPaths>
#include <csignal>
#include <sys/prctl.h>

QString MemoryDisplay::missing() {
    for (const char* const program : {"Xvfb", "xdotool"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty()) {
            return QString::fromLatin1(program) + " is not installed";
        }
    }
    return {};
}

MemoryDisplay::MemoryDisplay() {
    // A test that is killed must not leave a display behind.
    server.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    server.setStandardErrorFile(QProcess::nullDevice());
    server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1500x980x24", "-nolisten", "tcp"});
    QByteArray number;
    while (!number.contains('\n')) {
        if (!server.waitForReadyRead(20000)) {
            return;
        }
        number += server.readAllStandardOutput();
    }
    qputenv("DISPLAY", ":" + number.trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");
}

MemoryDisplay::~MemoryDisplay() {
    server.terminate();
    if (!server.waitForFinished(5000)) {
        server.kill();
        server.waitForFinished(5000);
    }
}

MemoryDisplay::operator bool() const {
    return server.state() == QProcess::Running && qEnvironmentVariableIsSet("DISPLAY");
}

QString Hand::xdotool(const QStringList& words, bool* good) {
    QProcess process;
    process.start("xdotool", words);
    const bool done = process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
    if (good != nullptr) {
        *good = done && process.exitCode() == 0;
    }
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

void Hand::move(QPoint to) {
    xdotool({"mousemove", QString::number(to.x()), QString::number(to.y())});
}

void Hand::click(QPoint at, int button) {
    xdotool({"mousemove", QString::number(at.x()), QString::number(at.y()), "sleep", "0.05", "click",
             QString::number(button)});
}

void Hand::drag(QPoint from, QPoint to) {
    constexpr int steps = 8;
    QStringList words{"mousemove", QString::number(from.x()), QString::number(from.y()), "mousedown", "1"};
    for (int i = 1; i <= steps; ++i) {
        const QPoint at = from + (to - from) * i / steps;
        words << "mousemove" << QString::number(at.x()) << QString::number(at.y()) << "sleep"
              << "0.02";
    }
    xdotool(words + QStringList{"mouseup", "1"});
}

void Hand::keys(const QString& names) {
    xdotool({"key", "--clearmodifiers", names});
}

void Hand::type(const QString& text) {
    xdotool({"type", "--delay", "8", text});
}

void Hand::focus(qulonglong window) {
    xdotool({"windowfocus", QString::number(window)});
}

qulonglong Hand::windowNamed(const QString& pattern) {
    const QStringList found = xdotool({"search", "--onlyvisible", "--name", pattern}).split('\n', Qt::SkipEmptyParts);
    return found.isEmpty() ? 0 : found.last().toULongLong();
}

QString Hand::titleOf(qulonglong window) {
    return xdotool({"getwindowname", QString::number(window)});
}
