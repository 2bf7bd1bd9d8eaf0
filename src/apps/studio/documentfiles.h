// Documents and other files by Qt's texts.
#ifndef APPS_STUDIO_DOCUMENTFILES_H
#define APPS_STUDIO_DOCUMENTFILES_H

#include "apps/document/studiostate.h"

#include <QByteArray>
#include <QString>

// As in apps/document/documentfile.h.
bool saveStudioDocument(const QString& file, const StudioState& state, QString* why);
bool saveStudioDocument(const QString& file, const StudioState& state, const Json& json, QString* why);
bool loadStudioDocument(const QString& file, StudioState* state, QString* why);

// Replaces a file as a whole, or leaves it as it was: false with one line in *why.
bool replaceFile(const QString& file, const QByteArray& bytes, QString* why);

#endif
