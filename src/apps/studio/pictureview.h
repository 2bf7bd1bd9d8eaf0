// A picture that can be looked at closely: fitted to the window at first, zoomed with the wheel, moved with the mouse.
// Two of them can be compared under one dividing line.
#ifndef APPS_STUDIO_PICTUREVIEW_H
#define APPS_STUDIO_PICTUREVIEW_H

#include <QImage>
#include <QWidget>

class PictureView : public QWidget {
    Q_OBJECT

public:
    explicit PictureView(QWidget* parent = nullptr);

    // The second one, if any, is drawn to the right of the dividing line, in the place of the first.
    void setPictures(const QImage& first, const QImage& second = {});
    // A line of text over the picture's foot; empty for none.
    void setCaption(const QString& text);
    void zoomTo(double factor); // pixels of the screen for one of the picture
    void zoomToFit();
    double zoom() const;
    // Where the dividing line is, from 0 to 1 of the picture's width.
    double divider() const;
    void setDivider(double part);

protected:
    // In pixels of the screen where the zoom is 1, and what is drawn there.
    virtual QSizeF contentSize() const;
    virtual void drawContent(QPainter& painter, const QRectF& place) const;
    void setLargestZoom(double factor);

    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QRectF place() const; // of the picture in the window
    double fittingZoom() const;
    double dividerX() const;
    void moveBy(const QPointF& pixels);
    void step(int x, int y, Qt::KeyboardModifiers modifiers);
    void zoomAt(double factor, const QPointF& point);
    void drawCaption(QPainter& painter) const;

    QImage left;
    QImage right;
    QString caption;
    double factor = 0.0; // 0: fitted
    double largest = 16.0;
    QPointF middle{0.5, 0.5}; // what part of the picture is in the middle of the window
    double part = 0.5;
    QPointF grabbed;
    bool movesDivider = false;
};

#endif
