// Documents, models, recovery files.
#include "apps/studio/documentfiles.h"
#include "apps/studio/drawingfile.h"
#include "apps/studio/drawingform.h"
#include "apps/studio/lookpanel.h"
#include "apps/studio/objectspanel.h"
#include "apps/studio/studioevents.h"
#include "apps/studio/studiomemory.h"
#include "apps/studio/studiomessage.h"
#include "apps/studio/studiosavedialog.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QUrl>

#include <algorithm>

namespace {

constexpr const char* documentEnding = ".selvarin";
constexpr const char* recentKey = "recent";
constexpr const char* lastOpenedKey = "openedDocument";
constexpr int mostRecent = 10;

bool isDocument(const QString& file) {
    return file.endsWith(QLatin1String(documentEnding), Qt::CaseInsensitive);
}

// Where a model's files stand in the scene, which another file moves: each scene has an origin and a scale of its own.
struct Placement {
    explicit Placement(const KivModel& model) : origin(model.origin), scale(model.scale), meshes(model.meshNames) {}

    Kiv3DPoint moved(const Kiv3DPoint& p, const KivModel& to) const {
        return to.toScene({p.x / scale + origin.x, p.y / scale + origin.y, p.z / scale + origin.z});
    }
    // Lets camera and lights stay where they are among the former meshes. False if these are not the first ones of the
    // model, in their order.
    bool keepFor(const KivModel& model, StudioState* state) const {
        if (model.meshNames.size() < meshes.size() ||
            !std::equal(meshes.begin(), meshes.end(), model.meshNames.begin())) {
            return false;
        }
        state->camera.target = moved(state->camera.target, model);
        state->camera.distance *= model.scale / scale;
        state->camera.sanitize();
        for (StudioLight& light : state->lights) {
            light.location = moved(light.location, model);
        }
        return true;
    }

    Kiv3DPoint origin;
    double scale;
    std::vector<std::wstring> meshes;
};

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
    tabs->setCurrentIndex(0); // pictures of what was open before stay in theirs
    showAll();
}

bool StudioWindow::loadModels(const StudioState& state, std::wstring* message) {
    if (!readModels(state, &model, message)) {
        return false;
    }
    if (!model.model().warnings.empty()) {
        tell(studioMessage(model.model().warnings.front()));
    }
    return true;
}

// A model that is there at once changes nothing in the window; one that takes longer shows how far it is, and the user
// can cancel it. Meanwhile the window shows what was open.
bool StudioWindow::readModels(const StudioState& state, StudioModel* into, std::wstring* message) {
    constexpr qint64 patience = 200; // milliseconds
    tell(studioText(StudioText::readingModel));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    StudioProgress progress;
    progress.pump = [] { StudioEvents::pump(); };
    QElapsedTimer time;
    time.start();
    bool isShown = false;
    bool isRead = false;
    isReading = true;
    {
        const StudioEvents events(StudioEvents::Held::drop, progressArea, [&progress] { progress.cancel(); });
        running = &progress;
        isRead = into->load(state, message, [&](double done) {
            if (!isShown && time.elapsed() >= patience) {
                isShown = true;
                QApplication::restoreOverrideCursor();
                setRendering(true);
                stage->setText(studioText(StudioText::readingModel));
            }
            bar->setValue(static_cast<int>(done * 1000.0));
            return !isShown || !progress.isCancelled();
        });
        running = nullptr;
    }
    isReading = false;
    if (isShown) {
        setRendering(false);
    } else {
        QApplication::restoreOverrideCursor();
    }
    tell(QString());
    return isRead;
}

void StudioWindow::warnUnread(StudioText text, const std::wstring& message) {
    if (message.empty()) {
        tell(studioText(StudioText::readingCancelled));
    } else {
        warn(studioText(text).arg(studioMessage(message)));
    }
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
    std::wstring message;
    if (!loadModels(read, &message)) {
        warnUnread(StudioText::cantOpen, message);
        return false;
    }
    start(read, QFileInfo(file).absoluteFilePath());
    addRecent(document);
    rememberFolder(StudioFolder::documents, document);
    return true;
}

// The look and the options stay: only what is looked at is another. What is added leaves all else as it is.
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
    for (const QString& file : files) {
        next.models.push_back(kivFromQt(QFileInfo(file).absoluteFilePath()));
    }
    const Placement former(model.model());
    std::wstring message;
    if (!loadModels(next, &message)) {
        warnUnread(StudioText::cantOpen, message);
        return false;
    }
    if (!add || current.models.empty() || !former.keepFor(model.model(), &next)) {
        next.objects.clear();
        next.shown = {};
        model.placeCamera(&next.camera, viewShape());
    }
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
    rememberFolder(StudioFolder::models, files.first());
    return true;
}

void StudioWindow::openBuiltIn() {
    if (!mayGo()) {
        return;
    }
    StudioState next = current;
    next.models.clear();
    next.objects.clear();
    next.shown = {};
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
    // Models and documents are opened by one dialog: it begins where the last one was opened.
    const QString last =
        rememberedFolder(StudioFolder::models, rememberedFolder(StudioFolder::documents, QDir::homePath()));
    const bool ofDocuments = !add && studioMemory().value(QLatin1String(lastOpenedKey)).toBool();
    const QString folder = ofDocuments ? rememberedFolder(StudioFolder::documents, last) : last;
    const QStringList files = QFileDialog::getOpenFileNames(
        this, studioText(add ? StudioText::addModels : StudioText::open).remove(QLatin1Char('&')), folder,
        filters.join(QStringLiteral(";;")));
    if (files.isEmpty()) {
        return;
    }
    studioMemory().setValue(QLatin1String(lastOpenedKey), isDocument(files.first()));
    rememberFolder(isDocument(files.first()) ? StudioFolder::documents : StudioFolder::models, files.first());
    if (add) {
        openModels(files, true);
    } else {
        openFiles(files);
    }
}

void StudioWindow::addRecent(const QString& file) {
    QStringList recent = studioMemory().value(QLatin1String(recentKey)).toStringList();
    recent.removeAll(file);
    recent.prepend(file);
    studioMemory().setValue(QLatin1String(recentKey), recent.mid(0, mostRecent));
}

void StudioWindow::fillRecent() {
    recentMenu->clear();
    for (const QString& file : studioMemory().value(QLatin1String(recentKey)).toStringList()) {
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
    QStringList foreign;
    constexpr int shownLetters = 200; // an address may hold a whole picture
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile()) {
            files << url.toLocalFile();
        } else {
            foreign << url.toDisplayString().left(shownLetters);
        }
    }
    event->acceptProposedAction();
    // The program that they come from waits until this returns, and there may be questions first.
    QTimer::singleShot(0, this,
                       [this, files, foreign] { whenIdle([this, files, foreign] { openDropped(files, foreign); }); });
}

void StudioWindow::openDropped(const QStringList& files, const QStringList& foreign) {
    if (!foreign.isEmpty()) {
        warn(studioText(StudioText::dropOnlyFiles).arg(foreign.join(QLatin1Char('\n'))));
    }
    openFiles(files);
}

// --- saving ---

bool StudioWindow::save() {
    lookPanel->flush();
    return document.isEmpty() ? saveAs() : saveTo(document);
}

// What a file that comes of the document is called, without folder and ending.
QString StudioWindow::baseName() const {
    return !document.isEmpty()      ? QFileInfo(document).completeBaseName()
           : current.models.empty() ? studioText(StudioText::builtInName)
                                    : QFileInfo(kivToQt(current.models.front())).completeBaseName();
}

// The place for such a file: where the last of its kind went, else beside the document or the model.
QString StudioWindow::placeFor(StudioFolder kind, const QString& ending) const {
    const QString beside = !document.isEmpty()      ? QFileInfo(document).absolutePath()
                           : current.models.empty() ? QDir::homePath()
                                                    : QFileInfo(kivToQt(current.models.front())).absolutePath();
    return rememberedFolder(kind, beside) + QLatin1Char('/') + baseName() + ending;
}

// A picture that is there already may be a texture of the model: none is proposed but those that were saved here.
QString StudioWindow::unusedName(const QString& file) const {
    const QFileInfo info(file);
    const QString stem = info.absolutePath() + QLatin1Char('/') + info.completeBaseName();
    QString name = file;
    for (int number = 2; QFileInfo::exists(name) && !savedPictures.contains(name); ++number) {
        name = QStringLiteral("%1-%2.%3").arg(stem, QString::number(number), info.suffix());
    }
    return name;
}

bool StudioWindow::saveAs() {
    lookPanel->flush();
    StudioSaveWish wish;
    wish.title = studioText(StudioText::saveAs).remove(QLatin1Char('&'));
    wish.file = document.isEmpty() ? placeFor(StudioFolder::documents, QLatin1String(documentEnding)) : document;
    wish.kinds = {{studioText(StudioText::documentFilter), {QString::fromLatin1(documentEnding + 1)}}};
    QString file = askWhereToSave(this, wish);
    if (file.isEmpty()) {
        return false;
    }
    rememberFolder(StudioFolder::documents, file);
    return saveTo(file);
}

QString StudioWindow::askForPicture() {
    StudioSaveWish wish;
    wish.title = studioText(StudioText::savePicture).remove(QLatin1Char('&'));
    wish.file = unusedName(placeFor(StudioFolder::pictures, QStringLiteral(".png")));
    wish.kinds = {
        {kindTitle(46), {"png"}},         {kindTitle(41), {"jpg", "jpeg"}},
        {kindTitle(49), {"tif", "tiff"}}, {kindTitle(42), {"bmp"}},
        {kindTitle(37), {"gif"}},         {studioText(StudioText::layersFilter), {QString::fromLatin1(layersEnding)}}};
    wish.refusal = StudioText::noPictureEnding;
    QString file = askWhereToSave(this, wish);
    if (!file.isEmpty()) {
        rememberFolder(StudioFolder::pictures, file);
        savedPictures.insert(file);
    }
    return file;
}

QString StudioWindow::askForDrawing(DrawingOptions* options, bool areasToo) {
    StudioSaveWish wish;
    wish.title = studioText(StudioText::exportDrawing).remove(QLatin1Char('&'));
    wish.file = placeFor(StudioFolder::drawings, QStringLiteral(".svg"));
    wish.kinds = drawingKinds();
    wish.refusal = StudioText::noDrawingEnding;
    auto* const form = new DrawingForm;
    form->setOptions(*options);
    if (!areasToo) {
        form->hideAreas();
    }
    connect(form, &DrawingForm::changed, form, [form, options] { *options = form->options(); });
    wish.beside = form;
    QString file = askWhereToSave(this, wish);
    if (!file.isEmpty()) {
        rememberFolder(StudioFolder::drawings, file);
    }
    return file;
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
    QMessageBox box(QMessageBox::Question, QStringLiteral("Selvarin Studio"),
                    studioText(StudioText::saveQuestion).arg(shownName()), QMessageBox::NoButton, this);
    box.setTextFormat(Qt::PlainText); // the name of a file comes in it
    const QPushButton* const yes = box.addButton(studioText(StudioText::saveButton), QMessageBox::AcceptRole);
    const QPushButton* const no = box.addButton(studioText(StudioText::discardButton), QMessageBox::DestructiveRole);
    QPushButton* const stay = box.addButton(studioText(StudioText::cancel), QMessageBox::RejectRole);
    box.setEscapeButton(stay);
    box.exec();
    return box.clickedButton() == yes ? save() : box.clickedButton() == no;
}

// The window was made for a larger screen, or last used on one.
void StudioWindow::fitToScreen() {
    if (isMaximized() || isFullScreen()) {
        return;
    }
    const QSize room = screen()->availableGeometry().size() - QSize(0, style()->pixelMetric(QStyle::PM_TitleBarHeight));
    resize(size().boundedTo(room));
}

void StudioWindow::closeEvent(QCloseEvent* event) {
    if (isBusy() || !mayGo()) {
        event->ignore();
        return;
    }
    moving.stop();
    settling.stop();
    recovering.stop();
    recovery.clear();
    studioMemory().setValue(QStringLiteral("window"), saveGeometry());
    studioMemory().setValue(QStringLiteral("panels"), saveState());
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
        restoreGeometry(studioMemory().value(QStringLiteral("window")).toByteArray());
        fitToScreen();
        restoreState(studioMemory().value(QStringLiteral("panels")).toByteArray());
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
