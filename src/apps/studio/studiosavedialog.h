// Where the user wants a file to be saved. What is chosen has an ending that can be written, and a file that exists is
// replaced only after a question.
#ifndef APPS_STUDIO_STUDIOSAVEDIALOG_H
#define APPS_STUDIO_STUDIOSAVEDIALOG_H

#include "apps/studio/studiotexts.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

class QWidget;

struct StudioSaveKind {
    QString title;       // "PNG images"
    QStringList endings; // "png", lower case; the first is the one that is added
};

struct StudioSaveWish {
    QString title;
    QString file;                      // suggested, with its folder
    std::vector<StudioSaveKind> kinds; // the first is preset
    // Tells of an ending that is none of these, after which the dialog comes again. Without it, the ending is added
    // behind.
    std::optional<StudioText> refusal;
    QWidget* beside = nullptr; // stands in the dialog, which becomes its owner
};

// The title of a kind of files, by the number of a text of the library's lists; there the endings stand behind it.
QString kindTitle(unsigned int text);

// The file with its path; empty for none.
QString askWhereToSave(QWidget* parent, const StudioSaveWish& wish);

#endif
