// Drawing the view, rendering pictures, and what becomes of them.
#include "apps/document/drawnlook.h"
#include "apps/studio/barepicture.h"
#include "apps/studio/compareview.h"
#include "apps/studio/drawingfile.h"
#include "apps/studio/drawingpage.h"
#include "apps/studio/lookpanel.h"
#include "apps/studio/pictureview.h"
#include "apps/studio/studioevents.h"
#include "apps/studio/studiomemory.h"
#include "apps/studio/studiomessage.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/render/kivbitmapmanager.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QToolBar>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// Milliseconds that a picture may take while the camera moves.
constexpr double motionGoal = 40.0;
// Fewer pixels than that save little time: what is left goes into the model, and the lines become too thick.
constexpr double coarsest = 0.75;
// A look that takes longer than this when settled is replaced by a quicker one in motion.
constexpr double slowLook = 220.0;

// A picture as the library writes it to a file.
bool toBitmap(const QImage& image, KivBitmapManager* bitmap) {
    KivBitmapInfo info;
    if (!bitmap->buildBitmapMemory(nullptr, {image.width(), image.height()}) ||
        !kivGetBitmapInfo(bitmap->getHBitmap(), &info)) {
        return false;
    }
    const QImage pixels = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < info.height; ++y) {
        std::memcpy(info.pixels + static_cast<std::size_t>(y) * info.rowBytes,
                    pixels.constScanLine(info.height - 1 - y), info.rowBytes);
    }
    return true;
}

QColor backgroundOf(const StudioState& state) {
    const std::uint32_t colour = state.options.getBackgroundColor();
    return QColor(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                  static_cast<int>(colour >> 16 & 0xFFU));
}

// Lets them ask for a drawing and nothing beside it; file: empty for none.
void makeDrawing(KivCommonSettings* options, const QString& file) {
    options->setVectorial(true);
    options->setShadows(false);
    options->setSaveRender(false);
    options->setSaveDepth(false);
    options->setSaveShadows(false);
    options->setSaveVectorFile(kivFromQt(file).c_str());
}

} // namespace

void StudioWindow::whenIdle(const std::function<void()>& act) {
    if (!isBusy()) {
        act();
        return;
    }
    if (running != nullptr && !isFinalRunning) {
        running->cancel();
    }
    QTimer::singleShot(5, this, [this, act] { whenIdle(act); });
}

// --- the view ---

void StudioWindow::scheduleView() {
    isDrawn = false;
    if (isVisible() && !turning.isActive()) {
        moving.start(0);
        settling.start();
    }
}

void StudioWindow::drawMoving(const StudioState& state) {
    const QSize whole = view->pictureRect().size();
    if (isBusy() || whole.isEmpty()) {
        return; // settling comes again
    }
    const double scale = std::max(motionScale, coarsest) * view->devicePixelRatioF();
    const QSize size = (QSizeF(whole) * scale).toSize().expandedTo(QSize(1, 1));
    StudioState shown = state;
    if (settledTime > slowLook) {
        shown.look = quickLook(state.look);
    }
    StudioProgress progress;
    const StudioPicture picture = renderer.render(model, shown, size, StudioRenderer::Purpose::motion, progress);
    if (picture.done) {
        view->setPicture(picture.image);
        // The time goes with the pixels, at least in part: half the way each time keeps it from swinging.
        const double better = motionScale * std::sqrt(motionGoal / std::max(picture.milliseconds, 1.0));
        motionScale = std::clamp((motionScale + better) / 2.0, coarsest, 1.0);
    }
}

void StudioWindow::drawSettled() {
    if (turning.isActive()) {
        return; // it comes when the model stands still
    }
    const QSize size = (QSizeF(view->pictureRect().size()) * view->devicePixelRatioF()).toSize();
    // Under a dialog it waits: while it lets events through it would hold back those that end the dialog.
    if (isBusy() || tabs->currentIndex() != 0 || size.isEmpty() || QApplication::activeModalWidget() != nullptr) {
        settling.start();
        return;
    }
    StudioProgress progress;
    StudioPicture picture;
    toolkit.holdTimers(true);
    {
        const StudioEvents events(StudioEvents::Held::replay, nullptr, [&progress] { progress.cancel(); });
        progress.pump = [] { StudioEvents::pump(); };
        running = &progress;
        const StudioState shown = current; // whatever happens to the document meanwhile
        picture = renderer.render(model, shown, size, StudioRenderer::Purpose::settled, progress);
        running = nullptr;
    }
    toolkit.holdTimers(false);
    if (picture.done) {
        settledTime = picture.milliseconds;
        view->setPicture(picture.image);
        isDrawn = !moving.isActive() && !settling.isActive();
    } else if (picture.cancelled) {
        settling.start();
    }
    if (!picture.messages.empty()) {
        tell(kivToQt(picture.messages.front()));
    }
}

// --- pictures ---

void StudioWindow::setRendering(bool on) {
    playTurntable(false);
    isFinalRunning = on;
    for (QWidget* const each : std::initializer_list<QWidget*>{menuBar(), toolBar, lookDock, sceneDock}) {
        each->setEnabled(!on);
    }
    progressArea->setVisible(on);
    facts->setVisible(!on);
    toolkit.holdTimers(on);
    bar->setValue(0);
    stage->setText(on ? studioText(StudioText::starting) : QString());
    updateActions();
}

StudioPicture StudioWindow::renderFinal(const StudioModel& shown, const StudioState& wanted, QSize size,
                                        PictureView* growing, const QString& layersFile) {
    StudioProgress progress;
    StudioPicture picture;
    setRendering(true);
    {
        const StudioEvents events(StudioEvents::Held::drop, progressArea, [&progress] { progress.cancel(); });
        progress.pump = [] { StudioEvents::pump(); };
        progress.onProgress = [this](double done, const std::wstring& text) {
            bar->setValue(static_cast<int>(done * 1000.0));
            if (!text.empty()) {
                stage->setText(kivToQt(text));
            }
        };
        progress.onPicture = [this, growing] {
            const QImage image = renderer.growing();
            if (growing != nullptr && !image.isNull()) {
                growing->setPictures(image);
            }
        };
        running = &progress;
        picture = !layersFile.isEmpty() ? renderer.renderLayers(shown, wanted, size, layersFile, progress)
                  : wanted.withoutBackground && !wanted.options.doVectorial()
                      ? renderer.renderBare(shown, wanted, size, progress)
                      : renderer.render(shown, wanted, size, StudioRenderer::Purpose::final, progress);
        running = nullptr;
    }
    setRendering(false);
    return picture;
}

// wanted: a file was to be written.
void StudioWindow::showProblems(const StudioPicture& picture, bool wanted) {
    QStringList lines;
    for (const std::wstring& message : picture.messages) {
        lines << studioMessage(message);
    }
    if (picture.cancelled) {
        tell(studioText(StudioText::cancelled));
    } else if (!lines.isEmpty()) {
        warn(lines.join(QLatin1Char('\n')));
    } else if (!picture.done || (wanted && !picture.saved)) {
        warn(studioText(StudioText::notRendered));
    }
}

bool StudioWindow::mayWrite(KivCommonSettings* options) {
    const QStringList files = chosenFiles.notChosen(*options);
    if (files.isEmpty()) {
        return true;
    }
    QStringList lines;
    for (const QString& file : files) {
        const QString shown = QDir::toNativeSeparators(file);
        lines << (QFileInfo::exists(file) ? studioText(StudioText::fileIsReplaced).arg(shown) : shown);
    }
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Selvarin Studio"),
                    studioText(StudioText::writeQuestion).arg(lines.join(QLatin1Char('\n'))), QMessageBox::NoButton,
                    this);
    box.setTextFormat(Qt::PlainText); // names of files come in it
    const QPushButton* const write = box.addButton(studioText(StudioText::writeButton), QMessageBox::AcceptRole);
    // A drawing is nothing but its file.
    const QPushButton* const leave =
        options->doVectorial() ? nullptr
                               : box.addButton(studioText(StudioText::dontWriteButton), QMessageBox::DestructiveRole);
    QPushButton* const cancel = box.addButton(studioText(StudioText::cancel), QMessageBox::RejectRole);
    box.setDefaultButton(cancel);
    box.setEscapeButton(cancel);
    box.exec();
    if (box.clickedButton() == write) {
        chosenFiles.add(files);
        return true;
    }
    if (leave == nullptr || box.clickedButton() != leave) {
        return false;
    }
    options->setSaveRender(false);
    options->setSaveDepth(false);
    options->setSaveShadows(false);
    return true;
}

void StudioWindow::renderPicture() {
    if (isBusy()) {
        return;
    }
    lookPanel->flush();
    StudioState wanted = current;
    if (mayWrite(&wanted.options)) {
        renderTab(wanted);
    }
}

void StudioWindow::renderDrawing() {
    if (isBusy()) {
        return;
    }
    lookPanel->flush();
    StudioState wanted = current;
    makeDrawing(&wanted.options, QString());
    renderTab(wanted);
}

void StudioWindow::renderTab(StudioState wanted) {
    const QSize size = renderSize();
    const bool isDrawing = wanted.options.doVectorial();
    Result result;
    if (isDrawing) {
        result.drawing = new DrawingPage;
        result.view = result.drawing->view();
        result.page = result.drawing;
        if (wanted.drawing.sheet.hidden == KivSheet::Hidden::none) {
            wanted.drawing.sheet.hidden = KivSheet::Hidden::dashed; // so that they are there to be switched on
        }
    } else {
        result.view = new PictureView;
        result.page = result.view;
    }
    result.view->setPictures(view->picture().scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    result.name = studioText(isDrawing ? StudioText::drawingTab : StudioText::pictureTab).arg(resultNumber + 1);
    tabs->addTab(result.page, result.name);
    tabs->setCurrentWidget(result.page);
    const StudioPicture picture = renderFinal(model, wanted, size, result.view);
    const bool wantsFile = isDrawing ? !wanted.options.getSaveVectorFile().empty() : wanted.options.doSaveRender();
    showProblems(picture, wantsFile);
    if (!picture.done) {
        delete result.page;
        tabs->setCurrentIndex(0);
        updateActions();
        return;
    }
    ++resultNumber;
    wanted.drawing = current.drawing;
    addResult(wanted, size, picture, result);
}

void StudioWindow::addResult(const StudioState& wanted, QSize size, const StudioPicture& picture, Result result) {
    result.state = wanted;
    result.size = size;
    result.image = picture.image;
    if (result.drawing != nullptr) {
        showDrawing(result, picture);
    } else {
        result.file = picture.saved ? kivToQt(wanted.options.getSaveRenderFile()) : QString();
        result.view->setPictures(result.image);
    }
    QString caption = studioText(StudioText::pictureCaption)
                          .arg(size.width())
                          .arg(size.height())
                          .arg(QLocale().toString(picture.milliseconds / 1000.0, 'f', 2));
    if (!result.file.isEmpty()) {
        caption += QStringLiteral("  \u2013  ") + QDir::toNativeSeparators(result.file);
        tellWritten(wanted, result.file);
    } else {
        tell(studioText(StudioText::rendered));
    }
    result.view->setCaption(caption);
    results.push_back(result);
    updateCompare();
    updateActions();
}

void StudioWindow::showDrawing(Result& result, const StudioPicture& picture) {
    result.file = picture.saved ? kivToQt(result.state.options.getSaveVectorFile()) : QString();
    DrawingPage* const page = result.drawing;
    page->setDrawing(picture.drawing, result.state.drawing, sheetColour(result.state.look).has_value());
    result.image = page->view()->image();
    connect(page, &DrawingPage::optionsChanged, this, [this, page] { keepDrawingOptions(page->options()); });
    connect(page, &DrawingPage::shownChanged, this, [this, page] {
        for (Result& each : results) {
            if (each.drawing == page) {
                each.image = page->view()->image();
            }
        }
        updateCompare();
    });
}

StudioWindow::Result* StudioWindow::currentResult() {
    const auto found = std::find_if(results.begin(), results.end(),
                                    [this](const Result& each) { return each.page == tabs->currentWidget(); });
    return found != results.end() ? &*found : nullptr;
}

void StudioWindow::savePicture() {
    const Result* const result = currentResult();
    if (result == nullptr || result->image.isNull()) {
        return;
    }
    const QImage image = result->image;
    const StudioState state = result->state;
    const QSize size = result->size;
    const QString file = askForPicture();
    if (file.isEmpty()) {
        return;
    }
    if (QFileInfo(file).suffix().toLower() == QLatin1String(layersEnding)) {
        saveLayers(state, size, file);
        return;
    }
    const bool isBare = image.hasAlphaChannel();
    host.holdMessages();
    bool made = false;
    if (isBare && keepsAlpha(file)) {
        const std::unique_ptr<KivImage> pixels = kivImageOf(image);
        made = pixels != nullptr && host.savePicture(*pixels, kivFromQt(file).c_str());
    } else {
        KivBitmapManager bitmap;
        made = toBitmap(isBare ? laidOn(image, backgroundOf(state)) : image, &bitmap);
        if (made) {
            host.saveImage(bitmap, kivFromQt(file).c_str());
        }
    }
    const std::vector<std::wstring> messages = host.takeMessages();
    const QString shown = QDir::toNativeSeparators(file);
    if (!made || !messages.empty()) {
        warn(studioText(StudioText::notSaved).arg(messages.empty() ? shown : kivToQt(messages.front())));
        return;
    }
    tell(studioText(isBare && !keepsAlpha(file) ? StudioText::lossyBackground : StudioText::saved).arg(shown));
}

// A picture has no layers: they are rendered anew, as its document was.
void StudioWindow::saveLayers(const StudioState& state, QSize size, const QString& file) {
    StudioModel former;
    const StudioModel* const shown = modelOf(state, &former);
    if (shown == nullptr) {
        return;
    }
    const StudioPicture picture = renderFinal(*shown, state, size, nullptr, file);
    showProblems(picture, true);
    if (picture.done && picture.saved) {
        tell(studioText(StudioText::saved).arg(QDir::toNativeSeparators(file)));
    }
}

// A picture may be one of models that were open before, which are read into *former then. Null if they can't be.
const StudioModel* StudioWindow::modelOf(const StudioState& state, StudioModel* former) {
    if (state.models == current.models && state.upAxis == current.upAxis) {
        return &model;
    }
    std::wstring message;
    if (!readModels(state, former, &message)) {
        warnUnread(StudioText::cantOpen, message);
        return nullptr;
    }
    return former;
}

// That of the tab in front, be it the view or a result.
void StudioWindow::copyPicture() {
    const Result* const result = currentResult();
    const QImage image = result != nullptr ? result->image : view->picture();
    if (!image.isNull()) {
        QGuiApplication::clipboard()->setImage(image);
        tell(studioText(StudioText::pictureCopied));
    }
}

// Of the result that is shown, else of the document as it is.
void StudioWindow::exportDrawing() {
    lookPanel->flush();
    if (isBusy()) {
        return;
    }
    const Result* const shown = currentResult();
    if (shown != nullptr && shown->drawing != nullptr) {
        exportShown(*shown);
        return;
    }
    StudioState wanted = shown != nullptr ? shown->state : current;
    const QSize size = shown != nullptr ? shown->size : renderSize();
    wanted.drawing = current.drawing;
    const QString file = askForDrawing(&wanted.drawing, true);
    if (file.isEmpty()) {
        return;
    }
    keepDrawingOptions(wanted.drawing);
    makeDrawing(&wanted.options, file);
    StudioModel former;
    const StudioModel* const shownModel = modelOf(wanted, &former);
    if (shownModel == nullptr) {
        return;
    }
    const StudioPicture picture = renderFinal(*shownModel, wanted, size, nullptr);
    showProblems(picture, true);
    if (picture.done && picture.saved) {
        tellWritten(wanted, file);
        if (wanted.drawing.textures == KivDrawingCollector::Textures::pictures && !holdsPictures(file)) {
            tell(studioText(StudioText::texturesAsAreas));
        }
    }
}

// What its tab shows, on the sheet that it shows. False if there is no file.
bool StudioWindow::exportShown(const Result& result) {
    const StudioState state = result.state;
    DrawingPage* const page = result.drawing;
    DrawingOptions options = page->options();
    const QString file = askForDrawing(&options, false);
    if (file.isEmpty()) {
        return false;
    }
    page->setOptions(options);
    keepDrawingOptions(options);
    QString why;
    if (!writeDrawingFile(page->shown(), page->sheet(), file, {}, &why)) {
        warn(studioText(StudioText::notSaved).arg(why));
        return false;
    }
    tellWritten(state, file);
    const std::vector<KivArea> areas = page->shown().areas;
    if (!holdsPictures(file) &&
        std::any_of(areas.begin(), areas.end(), [](const KivArea& area) { return area.picture != nullptr; })) {
        tell(studioText(StudioText::texturesLost));
    }
    return true;
}

// The document keeps them, and so do those that are begun later.
void StudioWindow::keepDrawingOptions(const DrawingOptions& options) {
    studioMemory().setValue(QLatin1String(drawingKey), QByteArray::fromStdString(drawingJson(options).compact()));
    if (current.drawing == options) {
        return;
    }
    StudioState next = current;
    next.drawing = options;
    next.options.setVectorSimplify(options.areas == KivDrawingCollector::Areas::faces);
    change(next, StudioText::changeDrawing, drawingKind);
}

// Says too what a drawing can't hold.
void StudioWindow::tellWritten(const StudioState& wanted, const QString& file) {
    const KivCommonSettings& options = wanted.options;
    const bool leftOut =
        options.doVectorial() && (!options.getPaperImage().empty() || !options.getBackgroundImage().empty());
    tell(studioText(leftOut ? StudioText::writtenWithoutImages : StudioText::writtenTo)
             .arg(QDir::toNativeSeparators(file)));
}

void StudioWindow::compare() {
    if (results.size() < 2) {
        return;
    }
    if (compareView == nullptr) {
        compareView = new CompareView;
        tabs->addTab(compareView, studioText(StudioText::compareTab));
    }
    updateCompare();
    tabs->setCurrentWidget(compareView);
}

void StudioWindow::updateCompare() {
    if (compareView == nullptr) {
        return;
    }
    std::vector<CompareView::Choice> choices;
    for (const Result& each : results) {
        choices.push_back({each.name, each.image});
    }
    compareView->setChoices(choices);
}

void StudioWindow::closeTab(int index) {
    QWidget* const page = tabs->widget(index);
    if (index <= 0 || page == nullptr || isFinalRunning) {
        return;
    }
    results.erase(
        std::remove_if(results.begin(), results.end(), [page](const Result& each) { return each.page == page; }),
        results.end());
    if (page == compareView) {
        compareView = nullptr;
    }
    tabs->removeTab(index);
    page->deleteLater();
    updateCompare();
    updateActions();
}
