#include "apps/studio/studiorecovery.h"

#include "apps/studio/documentfiles.h"
#include "apps/studio/studiotexts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>

namespace {

// No recovery file of ours is as large; bytes.
constexpr qint64 mostRead = 64 << 20;
constexpr const char* documentKey = "recoveredDocument";

QString lockOf(const QString& file) {
    return file + QStringLiteral(".lock");
}

// What saving will write: nothing that is not a document of ours, whoever wrote the file.
QString documentOf(const Json& json) {
    const QString document = QString::fromStdString(json[documentKey].toString());
    const bool isOurs =
        QDir::isAbsolutePath(document) && document.endsWith(QLatin1String(".selvarin"), Qt::CaseInsensitive);
    return isOurs ? document : QString();
}

} // namespace

StudioRecovery::StudioRecovery()
    : file(folder() + QStringLiteral("/%1-%2.selvarin")
                          .arg(QCoreApplication::applicationPid())
                          .arg(QUuid::createUuid().toString(QUuid::WithoutBraces))) {}

StudioRecovery::~StudioRecovery() = default;

int StudioRecovery::pauseAfter(qint64 milliseconds) {
    constexpr qint64 shortest = 1000;
    constexpr qint64 longest = 30'000;
    constexpr qint64 share = 20;
    return static_cast<int>(std::clamp(std::min(milliseconds, longest) * share, shortest, longest));
}

QString StudioRecovery::folder() {
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : QDir::homePath() + QStringLiteral("/.local/state")) +
           QStringLiteral("/selvarin/recovery");
}

bool StudioRecovery::write(const StudioState& state, const QString& document, QString* why) {
    if (!QDir().mkpath(folder())) {
        *why = QStringLiteral("%1: %2").arg(folder(), studioText(StudioText::folderNotMade));
        return false;
    }
    if (lock == nullptr) {
        // Before the file, so that no other window takes it for an abandoned one.
        lock = std::make_unique<QLockFile>(lockOf(file));
        lock->setStaleLockTime(0);
        if (!lock->tryLock(0)) {
            lock.reset();
            *why = QStringLiteral("%1: %2").arg(lockOf(file), studioText(StudioText::lockNotMade));
            return false;
        }
    }
    Json json = state.toJson();
    json[documentKey] = document.toStdString();
    return saveStudioDocument(file, state, json, why);
}

void StudioRecovery::clear() {
    QFile::remove(file);
    lock.reset(); // after the file, for the same reason
}

std::vector<StudioRecovery::Found> StudioRecovery::findAbandoned() {
    std::vector<Found> list;
    const QDir all(folder());
    for (const QFileInfo& each : all.entryInfoList({QStringLiteral("*.selvarin")}, QDir::Files, QDir::Time)) {
        QLockFile other(lockOf(each.absoluteFilePath()));
        other.setStaleLockTime(0);
        if (!other.tryLock(0)) {
            continue; // its window is open
        }
        QFile in(each.absoluteFilePath());
        const std::string text = in.open(QIODevice::ReadOnly) ? in.read(mostRead).toStdString() : std::string();
        const Json json = Json::parse(text).value_or(Json());
        list.push_back({each.absoluteFilePath(), documentOf(json), each.lastModified()});
    }
    return list;
}

bool StudioRecovery::read(const Found& found, StudioState* state, QString* why) {
    StudioState recovered;
    if (!loadStudioDocument(found.file, &recovered, why)) {
        return false;
    }
    recovered.unknown.remove(documentKey);
    *state = recovered;
    return true;
}

QString StudioRecovery::setAside(const Found& found) {
    // The names of recovery files are never used twice, so this one is free.
    QString kept = found.file + QStringLiteral(".unreadable");
    if (!QFile::rename(found.file, kept)) {
        return found.file;
    }
    QFile::remove(lockOf(found.file));
    return kept;
}

void StudioRecovery::discard(const Found& found) {
    QFile::remove(found.file);
    QFile::remove(lockOf(found.file));
}
