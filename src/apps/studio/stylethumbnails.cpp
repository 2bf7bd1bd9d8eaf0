#include "apps/studio/stylethumbnails.h"

#include "apps/common/shaderstream.h"
#include "apps/studio/previewmodel.h"
#include "apps/studio/studiohost.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivstylefile.h"
#include "qt/kivqtimages.h"
#include "qt/kivqttext.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QEvent>
#include <QFileInfo>
#include <QPainter>
#include <QStyledItemDelegate>

#include <cstdint>
#include <stdexcept>
#include <utility>

namespace {

constexpr int folderSide = 16; // of the icon that tells a style's folder
constexpr int betweenThem = 5; // milliseconds, for events
constexpr int untilFree = 100; // milliseconds, from one look to the next
constexpr int reduction = 2;   // of the pictures
constexpr int smoothing = 1;   // their antialias
constexpr std::uint32_t white = 0xFFFFFF;
constexpr int shownAtOnce = 10; // styles of the open list

QString keyOf(int folder, const QString& name) {
    return QString::number(folder) + QLatin1Char('/') + name;
}

} // namespace

StyleThumbnails::StyleThumbnails(QComboBox* styles, StudioHost& studioHost, std::function<bool()> whetherFree)
    : QObject(styles), list(styles), host(studioHost), isFree(std::move(whetherFree)) {
    // The items of the toolkit's own delegate have icons of the size that the closed box has room for.
    list->setItemDelegate(new QStyledItemDelegate(list));
    list->view()->setIconSize({side, side});
    list->setMaxVisibleItems(shownAtOnce);
    list->view()->installEventFilter(this);
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, this, &StyleThumbnails::drawNext);
}

bool StyleThumbnails::areComplete() const {
    return !timer.isActive() && nextRow() < 0;
}

bool StyleThumbnails::eventFilter(QObject* object, QEvent* event) {
    if (object == list->view() && event->type() == QEvent::Show) {
        start();
    } else if (object == list->view() && event->type() == QEvent::Hide) {
        timer.stop();
    }
    return QObject::eventFilter(object, event);
}

void StyleThumbnails::start() {
    listPaths();
    for (int row = 0; row < list->count(); ++row) {
        show(row);
    }
    timer.start(0);
}

void StyleThumbnails::listPaths() {
    paths.clear();
    for (const int folder : {0, 1, 2}) {
        for (const KivStyleEntry& style : kivListStyles(static_cast<KivHostApplicationServices::Folder>(folder))) {
            paths.insert(keyOf(folder + 1, kivToQt(style.name)), kivToQt(style.path));
        }
    }
}

QString StyleThumbnails::pathAt(int row) const {
    return paths.value(keyOf(list->itemData(row).toInt(), list->itemText(row)));
}

// Null if there is none, or its file has changed since.
const StyleThumbnails::Kept* StyleThumbnails::keptAt(int row) const {
    const QString path = pathAt(row);
    const auto found = kept.constFind(path);
    return found != kept.constEnd() && found->changed == QFileInfo(path).lastModified() ? &*found : nullptr;
}

// The first that still lacks its picture, those that are seen before the others; -1 for none.
int StyleThumbnails::nextRow() const {
    const QModelIndex top = list->view()->indexAt({1, 1});
    const int first = top.isValid() ? top.row() : 0;
    for (int i = 0; i < list->count(); ++i) {
        const int row = (first + i) % list->count();
        if (!pathAt(row).isEmpty() && keptAt(row) == nullptr) {
            return row;
        }
    }
    return -1;
}

void StyleThumbnails::drawNext() {
    if (!isFree()) {
        timer.start(untilFree);
        return;
    }
    const int row = nextRow();
    if (row < 0) {
        return;
    }
    const QString path = pathAt(row);
    const QDateTime changed = QFileInfo(path).lastModified();
    kept.remove(path);
    const QIcon folder = list->itemIcon(row);
    const QImage picture = draw(path);
    kept.insert(path, {changed, picture.isNull() ? QIcon() : iconOf(picture, folder)});
    show(row);
    timer.start(betweenThem);
}

void StyleThumbnails::show(int row) {
    const Kept* const known = keptAt(row);
    if (known != nullptr && !known->icon.isNull()) {
        list->setItemIcon(row, known->icon);
    }
}

// The closed box goes on to show the icon of the folder, which is small; the picture has it in its corner.
QIcon StyleThumbnails::iconOf(const QImage& picture, const QIcon& folder) const {
    const QPixmap small = folder.pixmap(QSize(folderSide, folderSide), list->devicePixelRatioF());
    QPixmap large = QPixmap::fromImage(picture);
    large.setDevicePixelRatio(list->devicePixelRatioF());
    {
        QPainter painter(&large);
        painter.fillRect(side - folderSide, side - folderSide, folderSide, folderSide, QColor(255, 255, 255, 160));
        painter.drawPixmap(side - folderSide, side - folderSide, folderSide, folderSide, small);
    }
    QIcon icon(large);
    if (!small.isNull()) {
        icon.addPixmap(small);
    }
    return icon;
}

// Null for a style that cannot be read or drawn.
QImage StyleThumbnails::draw(const QString& path) {
    if (scene.numMeshes() == 0) {
        makePreviewModel(&scene, &camera);
    }
    host.holdMessages();
    kivKeepGlContexts(true);
    QImage picture;
    try {
        LookOptions style;
        style.style = path.toStdString();
        KivMemoryDataManager look;
        const ChosenLook chosen = buildShaderStream(style, look);
        KivCommonSettings settings;
        settings.setAntialias(smoothing);
        settings.setBackgroundColor(chosen.background.value_or(white));
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        // Reduced afterwards: lines have a thickness in pixels, and would fill so small a picture.
        const int pixels = static_cast<int>(side * list->devicePixelRatioF());
        tagSIZE size{pixels * reduction, pixels * reduction};
        KivBitmapManager surface;
        if (renderer.render(&common, &look, &scene, camera, &surface, &size)) {
            picture = kivQtImage(surface.getHBitmap())
                          .scaled(pixels, pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        }
    } catch (const std::runtime_error&) {
        picture = QImage(); // it is no style, or asks for a shader that is not there
    } catch (const KivShader::stopReason&) {
        picture = QImage(); // too little memory
    }
    host.takeMessages();
    return picture;
}
