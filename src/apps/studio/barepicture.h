// Pictures without a background: what nothing covers is transparent in them.
#ifndef APPS_STUDIO_BAREPICTURE_H
#define APPS_STUDIO_BAREPICTURE_H

#include <QColor>
#include <QImage>

#include <memory>

class KivImage;

// Of the same scene on black and on white, and on black with its paper if it has one. Null without memory.
QImage barePicture(const QImage& onBlack, const QImage& onWhite, const QImage& onPaper);

// With its alpha. Null without memory.
std::unique_ptr<KivImage> kivImageOf(const QImage& picture);

// The picture on a colour, opaque.
QImage laidOn(const QImage& picture, const QColor& colour);

// Whether the file's ending is that of a kind that keeps alpha.
bool keepsAlpha(const QString& file);

#endif
