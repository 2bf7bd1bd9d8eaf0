// A vector drawing on its sheet, as it will be written: sharp however close one looks.
#ifndef APPS_STUDIO_DRAWINGVIEW_H
#define APPS_STUDIO_DRAWINGVIEW_H

#include "apps/studio/pictureview.h"
#include "kivrender/lines/write/sheetlayout.h"

#include <QPainterPath>
#include <QPen>

#include <vector>

class DrawingView : public PictureView {
    Q_OBJECT

public:
    explicit DrawingView(QWidget* parent = nullptr);

    // What the sheet refuses is shown as without a page.
    void setDrawing(const KivVectorDrawing& drawing, const KivSheet& sheet);
    // The sheet in pixels of that many for each of an inch.
    QImage image() const;

protected:
    QSizeF contentSize() const override;
    void drawContent(QPainter& painter, const QRectF& place) const override;

private:
    struct Item {
        QPainterPath path;
        QRectF bounds; // with the width of its line
        QBrush brush;
        QPen pen;
    };

    void addArea(const KivArea& area, const SheetLayout& layout);
    void addStroke(const KivStroke& stroke, const SheetLayout& layout);

    // In millimetres from the lower left corner of the page, in the order of painting.
    std::vector<Item> items;
    QSizeF page; // millimetres; empty without a drawing
    QColor ground;
};

#endif
