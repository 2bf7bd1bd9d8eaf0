// Windows without a display, on a screen of a size that is known.
#ifndef TESTS_STUDIO_OFFSCREEN_H
#define TESTS_STUDIO_OFFSCREEN_H

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

// To be made before the QApplication, and to live as long.
class OffscreenDisplay {
public:
    OffscreenDisplay(int width, int height) {
        const QString file = folder.filePath("screen.json");
        QFile out(file);
        const QString screen =
            QStringLiteral(R"({"screens": [{"name": "screen", "x": 0, "y": 0, "width": %1, "height": %2,)"
                           R"( "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1.0}]})")
                .arg(width)
                .arg(height);
        if (out.open(QIODevice::WriteOnly) && out.write(screen.toUtf8()) > 0) {
            qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + file.toUtf8());
        }
    }

private:
    QTemporaryDir folder;
};

#endif
