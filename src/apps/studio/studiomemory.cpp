#include "apps/studio/studiomemory.h"

#include <QDir>
#include <QFileInfo>

namespace {

QString keyOf(StudioFolder kind) {
    constexpr const char* names[] = {"models", "documents", "pictures", "drawings", "films"};
    return QStringLiteral("folders/") + QLatin1String(names[static_cast<int>(kind)]);
}

} // namespace

QSettings studioMemory() {
    return {QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tolvar"), QStringLiteral("selvarin-studio")};
}

QString rememberedFolder(StudioFolder kind, const QString& otherwise) {
    const QString folder = studioMemory().value(keyOf(kind)).toString();
    return !folder.isEmpty() && QDir(folder).exists() ? folder : otherwise;
}

void rememberFolder(StudioFolder kind, const QString& file) {
    studioMemory().setValue(keyOf(kind), QFileInfo(file).absolutePath());
}
