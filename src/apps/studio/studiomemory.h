// What the program remembers of its user from one start to the next.
#ifndef APPS_STUDIO_STUDIOMEMORY_H
#define APPS_STUDIO_STUDIOMEMORY_H

#include <QSettings>
#include <QString>

// Of the moment: all of them are the same memory.
QSettings studioMemory();

// The key of the options that drawings had last.
inline constexpr const char* drawingKey = "drawing";

// Each kind of file has a folder of its own in the dialogs.
enum class StudioFolder { models, documents, pictures, drawings, films };

// The folder where a file of that kind was chosen last; otherwise if there was none or it is gone.
QString rememberedFolder(StudioFolder kind, const QString& otherwise);
// The folder of that file, for the next time.
void rememberFolder(StudioFolder kind, const QString& file);

#endif
