// The files that the user has chosen in this run for renders to write. A path in a document is not enough: documents
// come from anyone.
#ifndef APPS_STUDIO_CHOSENFILES_H
#define APPS_STUDIO_CHOSENFILES_H

#include "kivrender/settings/kivcommonsettings.h"

#include <QSet>
#include <QString>
#include <QStringList>

class ChosenFiles {
public:
    void add(const QString& file);
    void add(const QStringList& files);
    // What the user has changed in the options by hand, with its path in sight, is chosen.
    void addChanged(const KivCommonSettings& before, const KivCommonSettings& after);

    // Those of the files that a render with these options would write and nobody has chosen, by absolute paths.
    QStringList notChosen(const KivCommonSettings& options) const;

private:
    QSet<QString> chosen; // by absolute path
};

#endif
