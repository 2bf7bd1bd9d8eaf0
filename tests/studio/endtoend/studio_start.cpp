// Measures how long the program takes from its start as a process to its first picture on the screen, and to the
// settled one: studio_start PROGRAM [FILE...]. bench/studio-start runs it.
#include "studio/endtoend/display.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <set>
#include <vector>

namespace {

constexpr int runs = 5;
constexpr qint64 longest = 30000; // milliseconds
constexpr qint64 quiet = 1000;    // without a change the picture counts as settled
// An empty view has a colour or two.
constexpr std::size_t fewColours = 16;

// The middle of the view.
QImage middle() {
    return QGuiApplication::primaryScreen()->grabWindow(0, 400, 250, 400, 400).toImage();
}

bool showsAPicture(const QImage& image) {
    std::set<QRgb> colours;
    for (int y = 0; y < image.height() && colours.size() <= fewColours; y += 4) {
        for (int x = 0; x < image.width(); x += 4) {
            colours.insert(image.pixel(x, y));
        }
    }
    return colours.size() > fewColours;
}

struct Times {
    qint64 first = 0;   // milliseconds from the start of the process
    qint64 settled = 0; // to the last change
};

bool measure(const QString& program, const QStringList& words, Times* times) {
    QProcess process;
    QElapsedTimer clock;
    clock.start();
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, words);
    QImage shown;
    bool seen = false;
    while (clock.elapsed() < longest && (!seen || clock.elapsed() - times->settled < quiet)) {
        const QImage now = middle();
        if (!seen && showsAPicture(now)) {
            seen = true;
            times->first = clock.elapsed();
        }
        if (now != shown) {
            shown = now;
            times->settled = clock.elapsed();
        }
        QThread::msleep(5);
    }
    process.kill();
    process.waitForFinished(10000);
    QThread::msleep(300); // its window goes from the screen
    return seen;
}

void print(const char* what, std::vector<qint64> times) {
    std::sort(times.begin(), times.end());
    std::printf("%-16s fastest %5lld ms, median %5lld ms, slowest %5lld ms\n", what,
                static_cast<long long>(times.front()), static_cast<long long>(times[times.size() / 2]),
                static_cast<long long>(times.back()));
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: studio_start PROGRAM [FILE...]\n", stderr);
        return 2;
    }
    if (const QString reason = MemoryDisplay::missing(); !reason.isEmpty()) {
        std::fprintf(stderr, "studio_start: %s\n", reason.toUtf8().constData());
        return 1;
    }
    const MemoryDisplay display;
    if (!display) {
        std::fputs("studio_start: Xvfb did not start\n", stderr);
        return 1;
    }
    const QTemporaryDir home;
    for (const char* const variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
        qputenv(variable, home.path().toUtf8());
    }
    const QApplication application(argc, argv);
    QStringList words;
    for (int i = 2; i < argc; ++i) {
        words << QString::fromLocal8Bit(argv[i]);
    }
    Times unmeasured; // what the disk has to bring is brought then
    std::vector<qint64> first;
    std::vector<qint64> settled;
    for (int i = 0; i <= runs; ++i) {
        Times times;
        if (!measure(QString::fromLocal8Bit(argv[1]), words, i == 0 ? &unmeasured : &times)) {
            std::fputs("studio_start: no picture came\n", stderr);
            return 1;
        }
        if (i > 0) {
            first.push_back(times.first);
            settled.push_back(times.settled);
        }
    }
    std::printf("%-16s %lld ms\n", "the first start", static_cast<long long>(unmeasured.first));
    print("first picture", first);
    print("settled picture", settled);
    return 0;
}
