// What survives a crash: while a document has changes that are not saved, its state stands in a file of the user's
// state folder, under a lock that ends with the process.
#ifndef APPS_STUDIO_STUDIORECOVERY_H
#define APPS_STUDIO_STUDIORECOVERY_H

#include "apps/document/studiostate.h"

#include <QDateTime>
#include <QLockFile>
#include <QString>

#include <memory>
#include <vector>

class StudioRecovery {
public:
    struct Found {
        QString file;
        QString document; // that the user had open; empty for a new one
        QDateTime changed;
    };

    // Each object is one running window. Makes nothing before the first write.
    StudioRecovery();
    // Leaves the file: only clear removes it.
    ~StudioRecovery();
    StudioRecovery(const StudioRecovery&) = delete;
    StudioRecovery& operator=(const StudioRecovery&) = delete;

    // Replaces the file as a whole. False with one line in *why; the former file then stays.
    bool write(const StudioState& state, const QString& document, QString* why);
    void clear();

    // How long to wait before the next write, in milliseconds, when one took so long: a small part of the time goes
    // into writing, and the work of half a minute is the most that a crash may cost.
    static int pauseAfter(qint64 milliseconds);

    static QString folder();
    // Those whose program is gone, the newest first.
    static std::vector<Found> findAbandoned();
    // False with one line in *why; the file stays.
    static bool read(const Found& found, StudioState* state, QString* why);
    static void discard(const Found& found);
    // Keeps what can't be read, under a name by which it is not found again. Returns that name, or the present one if
    // the file can't be renamed.
    static QString setAside(const Found& found);

private:
    QString file;
    std::unique_ptr<QLockFile> lock;
};

#endif
