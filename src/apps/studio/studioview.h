// The view of the model that the user turns: it shows the picture that it is given and says what the hand does. With
// the left button one turns, with the middle one or Shift moves, with the wheel or the right one goes nearer; a click
// selects.
#ifndef APPS_STUDIO_STUDIOVIEW_H
#define APPS_STUDIO_STUDIOVIEW_H

#include "apps/document/studiostate.h"

#include <QImage>
#include <QWidget>

#include <vector>

class StudioView : public QWidget {
    Q_OBJECT

public:
    explicit StudioView(QWidget* parent = nullptr);

    void setPicture(const QImage& image);
    const QImage& picture() const;
    void setCamera(const StudioCamera& camera);
    // Width / height of the finished picture; 0 for that of the view.
    void setAspect(double aspect);
    // Where the picture is, in pixels of the widget.
    QRect pictureRect() const;
    // Handles of lights: shown while they are the user's own.
    void setLights(const std::vector<StudioLight>& lights, int current);
    // Frames around selected objects, by the corners of their bounds.
    void setFrames(const std::vector<std::vector<Kiv3DPoint>>& frames);
    // Where the handle of a light is, scene coordinates.
    Kiv3DPoint handleOf(const StudioLight& light) const;

    // From the picture's middle, y down: the ray through that pixel of the widget.
    void rayThrough(const QPointF& pixel, Kiv3DPoint* from, Kiv3DVector* way) const;

signals:
    void cameraMoved(const StudioCamera& camera);
    void clicked(const QPointF& pixel, Qt::KeyboardModifiers modifiers);
    void lightMoved(int light, const StudioLight& moved);
    void lightClicked(int light);
    void resized();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Hand { none, turns, moves, zooms, light };

    QPointF fromMiddle(const QPointF& pixel) const;
    bool place(const Kiv3DPoint& point, QPointF* pixel) const;
    int lightAt(const QPointF& pixel) const;
    void moveLight(const QPointF& by);
    void drawFrames(QPainter& painter) const;
    void drawLights(QPainter& painter) const;

    QImage image;
    StudioCamera camera;
    double aspect = 0.0;
    std::vector<StudioLight> lights;
    int currentLight = -1;
    std::vector<std::vector<Kiv3DPoint>> frames;
    Hand hand = Hand::none;
    int grabbedLight = -1;
    QPointF pressed;
    QPointF last;
    bool hasMoved = false;
};

#endif
