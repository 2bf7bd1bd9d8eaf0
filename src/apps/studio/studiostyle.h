// The style of the desktop with boxes that can be seen on dark windows.
#ifndef APPS_STUDIO_STUDIOSTYLE_H
#define APPS_STUDIO_STUDIOSTYLE_H

#include <QProxyStyle>

// Where windows are dark, the frames of check boxes and radio buttons would be darker still, and empty boxes could
// hardly be found. They get a frame in between the colours of window and text. Nothing else is touched.
class StudioStyle : public QProxyStyle {
    Q_OBJECT

public:
    using QProxyStyle::QProxyStyle;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};

#endif
