// A vector drawing in a tab of its own: its sheet, the layers that can be switched off, and the form of the sheet.
#ifndef APPS_STUDIO_DRAWINGPAGE_H
#define APPS_STUDIO_DRAWINGPAGE_H

#include "apps/common/collecteddrawing.h"
#include "apps/studio/drawinglayers.h"
#include "apps/studio/drawingview.h"

#include <QWidget>

#include <memory>

class DrawingForm;
class QTreeWidget;
class QTreeWidgetItem;

class DrawingPage : public QWidget {
    Q_OBJECT

public:
    explicit DrawingPage(QWidget* parent = nullptr);

    DrawingView* view() const;
    // background: whether it is to be seen on paper too.
    void setDrawing(std::shared_ptr<const CollectedDrawing> drawing, const DrawingOptions& options, bool background);

    const DrawingOptions& options() const;
    // Those that were changed elsewhere.
    void setOptions(const DrawingOptions& options);
    const DrawingLayers& layers() const;
    // The drawing shown, and its sheet.
    KivVectorDrawing shown() const;
    KivSheet sheet() const;

signals:
    // By the user, in the form.
    void optionsChanged();
    void shownChanged();

private:
    void listLayers();
    QTreeWidgetItem* addLayer(QTreeWidgetItem* parent, const QString& name, std::size_t count, int number);
    void readLayers();
    void showDrawing();

    std::shared_ptr<const CollectedDrawing> drawing;
    bool hasBackground = false;
    bool isReadingPlanned = false;
    DrawingLayers switched;
    DrawingView* canvas = nullptr;
    QTreeWidget* list = nullptr;
    QTreeWidgetItem* kindsItem = nullptr;
    QTreeWidgetItem* objectsItem = nullptr;
    DrawingForm* form = nullptr;
};

#endif
