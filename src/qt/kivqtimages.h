// Icons and pictures of the library as Qt shows them.
#ifndef QT_KIVQTIMAGES_H
#define QT_KIVQTIMAGES_H

#include "kivrender/platform/kivtypes.h"

#include <QIcon>
#include <QImage>
#include <QPalette>

// An icon of a resource module (null: the language module) in the palette's colour of texts, so that it shows on light
// and on dark windows. Null if there is none of that number.
QIcon kivQtIcon(HINSTANCE resources, unsigned int id, const QPalette& palette);

// A copy of a bitmap's picture. Null for null or a bitmap that is gone.
QImage kivQtImage(HBITMAP bitmap);

// The image as sharp as a screen of so many pixels per unit can show it within the room, for images with more pixels
// than that; the others as they are. Its proportions stay.
QImage kivQtFitted(const QImage& image, const QSize& room, double pixelRatio);

#endif
