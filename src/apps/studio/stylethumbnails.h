// Small pictures in the list of styles: what each style makes of the scene on which looks are tried.
//
// They are drawn one by one, on the thread of the windows, while the list is open and nothing else is to be drawn: each
// takes some hundredths of a second, and events come in between. What was drawn stays until the program ends or the
// style's file changes. Nothing is written to disk.
#ifndef APPS_STUDIO_STYLETHUMBNAILS_H
#define APPS_STUDIO_STYLETHUMBNAILS_H

#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivscene.h"

#include <QDateTime>
#include <QHash>
#include <QIcon>
#include <QImage>
#include <QObject>
#include <QTimer>

#include <functional>

class QComboBox;
class StudioHost;

class StyleThumbnails : public QObject {
    Q_OBJECT

public:
    // Of the pictures, in pixels that do not depend on the screen.
    static constexpr int side = 56;

    // styles: a list whose items have the names of styles, and as data the number of the folder of each plus one; not
    // owned, as host is not. isFree: whether nothing else is drawn or about to be.
    StyleThumbnails(QComboBox* styles, StudioHost& host, std::function<bool()> isFree);

    // Whether every style of the list has its picture, or cannot have one.
    bool areComplete() const;

    bool eventFilter(QObject* object, QEvent* event) override;

private:
    struct Kept {
        QDateTime changed; // of the style's file
        QIcon icon;        // null for a style that cannot be drawn
    };

    void start();
    void listPaths();
    QString pathAt(int row) const;
    const Kept* keptAt(int row) const;
    int nextRow() const;
    void drawNext();
    void show(int row);
    QIcon iconOf(const QImage& picture, const QIcon& folder) const;
    QImage draw(const QString& path);

    QComboBox* list;
    StudioHost& host;
    std::function<bool()> isFree;
    QTimer timer;
    QHash<QString, QString> paths; // of the files, by the number of their folder and their name
    QHash<QString, Kept> kept;     // by path
    KivRenderer renderer;
    KivScene scene;
    KivCamera camera;
};

#endif
