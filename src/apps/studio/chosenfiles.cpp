#include "apps/studio/chosenfiles.h"

#include "qt/kivqttext.h"

#include <QDir>
#include <QFileInfo>

namespace {

QString absolute(const QString& file) {
    return QDir::cleanPath(QFileInfo(file).absoluteFilePath());
}

void append(QStringList* list, bool isWritten, const std::wstring& file) {
    if (isWritten && !file.empty()) {
        list->append(absolute(kivToQt(file)));
    }
}

// The depth and the shadows are written whether the picture is or not.
QStringList writtenFiles(const KivCommonSettings& options) {
    QStringList list;
    append(&list, options.doSaveRender(), options.getSaveRenderFile());
    append(&list, options.doSaveDepth(), options.getSaveDepthFile());
    append(&list, options.doSaveShadows(), options.getSaveShadowsFile());
    append(&list, options.doVectorial(), options.getSaveVectorFile());
    return list;
}

} // namespace

void ChosenFiles::add(const QString& file) {
    chosen.insert(absolute(file));
}

void ChosenFiles::add(const QStringList& files) {
    for (const QString& file : files) {
        add(file);
    }
}

void ChosenFiles::addChanged(const KivCommonSettings& before, const KivCommonSettings& after) {
    const QStringList former = writtenFiles(before);
    for (const QString& file : writtenFiles(after)) {
        if (!former.contains(file)) {
            add(file);
        }
    }
}

QStringList ChosenFiles::notChosen(const KivCommonSettings& options) const {
    QStringList list;
    for (const QString& file : writtenFiles(options)) {
        if (!chosen.contains(file)) {
            list.append(file);
        }
    }
    return list;
}
