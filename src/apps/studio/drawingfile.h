// Vector drawings as files.
#ifndef APPS_STUDIO_DRAWINGFILE_H
#define APPS_STUDIO_DRAWINGFILE_H

#include "apps/common/collecteddrawing.h"
#include "apps/studio/studiosavedialog.h"
#include "kivrender/lines/write/kivdrawingwriter.h"

#include <QString>

#include <functional>
#include <vector>

// The kinds of files that drawings are saved as.
std::vector<StudioSaveKind> drawingKinds();

// The format that a file's ending chooses; false for none.
bool drawingFormatOf(const QString& file, KivDrawingFormat* format);

// Whether files of that name show textures as pictures. True where the ending is none of a drawing.
bool holdsPictures(const QString& file);

// Why the drawing can't be put on that sheet, in words for the user; empty where it can.
QString sheetProblemText(const KivSheetPlace& place, const KivSheet& sheet);

// The file appears as a whole or not at all. False with a text in *why, which stays empty after a cancel.
bool writeDrawingFile(const KivVectorDrawing& drawing, const KivSheet& sheet, const QString& file,
                      const std::function<bool()>& isCancelled, QString* why);

#endif
