// Documents, models, recovery files.
#include "apps/studio/lookpanel.h"
#include "apps/studio/objectspanel.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QUrl>

namespace {

constexpr const char* documentEnding = ".selvarin";
constexpr const char* recentKey = "recent";
constexpr int mostRecent = 10;

QSettings& memory() {
    static QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tolvar"),
                              QStringLiteral("selvarin-studio"));
    return settings;
}

bool isDocument(const QString& file) {
    return file.endsWith(QLatin1String(documentEnding), Qt::CaseInsensitive);
}

} // namespace

QStringList StudioWindow::modelEndings() {
    QStringList patterns;
    for (const KivModelFormat& format : kivModelFormats()) {
        patterns << QStringLiteral("*.") + QString::fromWCharArray(format.ending);
    }
    return patterns;
}

// --- opening ---

bool StudioWindow::openFiles(const QStringList& files) {
    if (files.isEmpty()) {
        return false;
    }
    return files.size() == 1 && isDocument(files.first()) ? openDocument(files.first()) : openModels(files, false);
}

void StudioWindow::start(const StudioState& state, const QString& file) {
    recovery.clear();
    current = state;
    document = file;
    history.start(current);
    objects->clearSelection();
    isDrawn = false;
    showAll();
}

bool StudioWindow::openDocument(const QString& file) {
    if (!mayGo()) {
        return false;
    }
    StudioState read;
    QString why;
    if (!loadStudioDocument(file, &read, &why)) {
        warn(studioText(StudioText::cantOpen).arg(why));
        return false;
    }
    tell(studioText(StudioText::readingModel));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::wstring message;
    const bool loaded = model.load(read, &message);
    QApplication::restoreOverrideCursor();
    if (!loaded) {
        warn(studioText(StudioText::cantOpen).arg(kivToQt(message)));
        return false;
    }
    start(read, QFileInfo(file).absoluteFilePath());
    addRecent(document);
    tell(QString());
    return true;
}

// The look, the options and the user's eye for size stay: only what is looked at is another.
bool StudioWindow::openModels(const QStringList& files, bool add) {
    if (!add && !mayGo()) {
        return false;
    }
    StudioState next = current;
    if (!add) {
        next.models.clear();
        next.upAxis = 0;
        next.hasLights = false;
        next.lights.clear();
    }
    next.objects.clear();
    for (const QString& file : files) {
        next.models.push_back(kivFromQt(QFileInfo(file).absoluteFilePath()));
    }
    tell(studioText(StudioText::readingModel));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::wstring message;
    const bool loaded = model.load(next, &message);
    QApplication::restoreOverrideCursor();
    if (!loaded) {
        tell(QString());
        warn(studioText(StudioText::cantOpen).arg(kivToQt(message)));
        return false;
    }
    const double shape = viewShape();
    model.placeCamera(&next.camera, shape);
    if (add) {
        objects->clearSelection();
        change(next, StudioText::changeModels);
        showAll();
    } else {
        start(next, QString());
    }
    for (const QString& file : files) {
        addRecent(QFileInfo(file).absoluteFilePath());
    }
    tell(QString());
    return true;
}

void StudioWindow::openBuiltIn() {
    if (!mayGo()) {
        return;
    }
    StudioState next = current;
    next.models.clear();
    next.objects.clear();
    next.hasLights = false;
    next.lights.clear();
    std::wstring message;
    if (model.load(next, &message)) {
        model.placeCamera(&next.camera, viewShape());
        start(next, QString());
    }
}

void StudioWindow::askToOpen(bool add) {
    const QString models = modelEndings().join(QLatin1Char(' '));
    QStringList filters;
    if (!add) {
        filters << studioText(StudioText::allFilter) +
                       QStringLiteral(" (*%1 %2)").arg(QLatin1String(documentEnding), models);
        filters << studioText(StudioText::documentFilter) + QStringLiteral(" (*%1)").arg(QLatin1String(documentEnding));
    }
    filters << studioText(StudioText::modelFilter) + QStringLiteral(" (%1)").arg(models);
    const QString folder = memory().value(QStringLiteral("folder"), QDir::homePath()).toString();
    const QStringList files = QFileDialog::getOpenFileNames(
        this, studioText(add ? StudioText::addModels : StudioText::open).remove(QLatin1Char('&')), folder,
        filters.join(QStringLiteral(";;")));
    if (files.isEmpty()) {
        return;
    }
    memory().setValue(QStringLiteral("folder"), QFileInfo(files.first()).absolutePath());
    if (add) {
        openModels(files, true);
    } else {
        openFiles(files);
    }
}

void StudioWindow::addRecent(const QString& file) {
    QStringList recent = memory().value(QLatin1String(recentKey)).toStringList();
    recent.removeAll(file);
    recent.prepend(file);
    memory().setValue(QLatin1String(recentKey), recent.mid(0, mostRecent));
}

void StudioWindow::fillRecent() {
    recentMenu->clear();
    for (const QString& file : memory().value(QLatin1String(recentKey)).toStringList()) {
        QString shown = QDir::toNativeSeparators(file);
        recentMenu->addAction(shown.replace(QLatin1Char('&'), QLatin1String("&&")), this,
                              [this, file] { openFiles({file}); });
    }
    if (recentMenu->isEmpty()) {
        recentMenu->addAction(studioText(StudioText::noRecent))->setEnabled(false);
    }
}

void StudioWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && !isFinalRunning) {
        event->acceptProposedAction();
    }
}

void StudioWindow::dropEvent(QDropEvent* event) {
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile()) {
            files << url.toLocalFile();
        }
    }
    event->acceptProposedAction();
    openFiles(files);
}

// --- saving ---

bool StudioWindow::save() {
    lookPanel->flush();
    return document.isEmpty() ? saveAs() : saveTo(document);
}

bool StudioWindow::saveAs() {
    lookPanel->flush();
    QString wish = document;
    if (wish.isEmpty()) {
        const QString folder =
            current.models.empty() ? QDir::homePath() : QFileInfo(kivToQt(current.models.front())).absolutePath();
        const QString name = current.models.empty() ? studioText(StudioText::builtInName)
                                                    : QFileInfo(kivToQt(current.models.front())).completeBaseName();
        wish = folder + QLatin1Char('/') + name + QLatin1String(documentEnding);
    }
    QString file = QFileDialog::getSaveFileName(this, studioText(StudioText::saveAs).remove(QLatin1Char('&')), wish,
                                                studioText(StudioText::documentFilter) +
                                                    QStringLiteral(" (*%1)").arg(QLatin1String(documentEnding)));
    if (file.isEmpty()) {
        return false;
    }
    if (!isDocument(file)) {
        file += QLatin1String(documentEnding);
    }
    return saveTo(file);
}

bool StudioWindow::saveTo(const QString& file) {
    QString why;
    if (!saveStudioDocument(file, current, &why)) {
        warn(studioText(StudioText::notSaved).arg(why));
        return false;
    }
    document = QFileInfo(file).absoluteFilePath();
    history.markClean();
    recovering.stop();
    recovery.clear();
    addRecent(document);
    showTitle();
    tell(studioText(StudioText::saved).arg(QDir::toNativeSeparators(document)));
    return true;
}

// Asks about what is not saved. False if the user would rather stay.
bool StudioWindow::mayGo() {
    lookPanel->flush();
    if (history.isClean()) {
        return true;
    }
    QMessageBox box(QMessageBox::Question, QStringLiteral("Selvarin Studio"), studioText(StudioText::saveQuestion),
                    QMessageBox::NoButton, this);
    const QPushButton* const yes = box.addButton(studioText(StudioText::saveButton), QMessageBox::AcceptRole);
    const QPushButton* const no = box.addButton(studioText(StudioText::discardButton), QMessageBox::DestructiveRole);
    QPushButton* const stay = box.addButton(studioText(StudioText::cancel), QMessageBox::RejectRole);
    box.setEscapeButton(stay);
    box.exec();
    return box.clickedButton() == yes ? save() : box.clickedButton() == no;
}

void StudioWindow::closeEvent(QCloseEvent* event) {
    if (renderer.isBusy() || !mayGo()) {
        event->ignore();
        return;
    }
    moving.stop();
    settling.stop();
    recovering.stop();
    recovery.clear();
    memory().setValue(QStringLiteral("window"), saveGeometry());
    memory().setValue(QStringLiteral("panels"), saveState());
    memory().sync();
    event->accept();
}

void StudioWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && toolBar != nullptr) {
        showIcons();
    }
}

void StudioWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!wasShown) {
        wasShown = true;
        restoreGeometry(memory().value(QStringLiteral("window")).toByteArray());
        restoreState(memory().value(QStringLiteral("panels")).toByteArray());
        // Only now is the shape of the view known.
        QTimer::singleShot(0, this, [this] {
            if (history.isClean() && document.isEmpty() && current.models.empty()) {
                StudioState placed = current;
                model.placeCamera(&placed.camera, viewShape());
                start(placed, document);
            }
        });
    }
    scheduleView();
}
