#include "apps/studio/studiowindow.h"

#include "apps/studio/lightspanel.h"
#include "apps/studio/lookpanel.h"
#include "apps/studio/objectspanel.h"
#include "apps/studio/optionsbox.h"
#include "apps/studio/studiomemory.h"
#include "apps/studio/studioview.h"
#include "apps/studio/stylethumbnails.h"
#include "kivrender/scene/kivmesh.h"

#include <QColorDialog>
#include <QDockWidget>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr std::size_t mostFrames = 200; // more objects have one frame around them all
constexpr int settleDelay = 160;        // milliseconds after the last movement
constexpr int turningDelay = 40;
constexpr int recoverDelay = 1000; // milliseconds of work that a crash may cost

} // namespace

StudioWindow::StudioWindow(StudioHost& studioHost, KivQtToolkit& studioToolkit)
    : host(studioHost), toolkit(studioToolkit), frame(this), renderer(studioHost) {
    host.setMainWindow(&frame);
    setAcceptDrops(true);
    clock.start();
    current = StudioState::fresh();
    current.look = StudioState::freshLook();
    const std::string kept = studioMemory().value(QLatin1String(drawingKey)).toByteArray().toStdString();
    current.drawing = readDrawingOptions(Json::parse(kept).value_or(Json()));
    makePanels();
    makeMenus();
    connectPanels();
    moving.setSingleShot(true);
    settling.setSingleShot(true);
    recovering.setSingleShot(true);
    settling.setInterval(settleDelay);
    recovering.setInterval(recoverDelay);
    connect(&moving, &QTimer::timeout, this, [this] { drawMoving(current); });
    connect(&settling, &QTimer::timeout, this, &StudioWindow::drawSettled);
    turning.setInterval(turningDelay);
    connect(&turning, &QTimer::timeout, this, &StudioWindow::showTurned);
    connect(&recovering, &QTimer::timeout, this, &StudioWindow::writeRecovery);
    resize(1400, 900);
    fitToScreen();
    start(current, QString());
}

StudioWindow::~StudioWindow() {
    host.setMainWindow(nullptr);
}

const StudioState& StudioWindow::state() const {
    return current;
}

bool StudioWindow::isRendering() const {
    return isFinalRunning;
}

bool StudioWindow::isBusy() const {
    return renderer.isBusy() || isReading;
}

bool StudioWindow::isSettled() const {
    return isDrawn && !moving.isActive() && !settling.isActive();
}

// --- making ---

void StudioWindow::makePanels() {
    tabs = new QTabWidget(this);
    tabs->setDocumentMode(true);
    tabs->setTabsClosable(true);
    tabs->setMovable(false);
    view = new StudioView(tabs);
    view->setToolTip(QString());
    tabs->addTab(view, studioText(StudioText::viewTab));
    for (const QTabBar::ButtonPosition side : {QTabBar::LeftSide, QTabBar::RightSide}) {
        tabs->tabBar()->setTabButton(0, side, nullptr); // the view stays
    }
    setCentralWidget(tabs);

    lookDock = new QDockWidget(studioText(StudioText::lookDock), this);
    lookDock->setObjectName(QStringLiteral("look"));
    lookPanel = new LookPanel(lookDock);
    lookDock->setWidget(lookPanel);
    if (lookPanel->styles() != nullptr) {
        new StyleThumbnails(lookPanel->styles(), host, [this] { return !isBusy() && isSettled(); }); // the list's own
    }
    addDockWidget(Qt::RightDockWidgetArea, lookDock);

    sceneDock = new QDockWidget(studioText(StudioText::sceneDock), this);
    sceneDock->setObjectName(QStringLiteral("scene"));
    auto* const scene = new QWidget(sceneDock);
    auto* const column = new QVBoxLayout(scene);
    const auto heading = [&](StudioText text) {
        auto* const label = new QLabel(studioText(text), scene);
        QFont bold = label->font();
        bold.setBold(true);
        label->setFont(bold);
        return label;
    };
    objects = new ObjectsPanel(scene);
    lights = new LightsPanel(scene);
    column->addWidget(heading(StudioText::objects));
    search = new QLineEdit(scene);
    search->setPlaceholderText(studioText(StudioText::findObjects));
    search->setAccessibleName(studioText(StudioText::findObjects));
    search->setToolTip(studioText(StudioText::findObjectsTip));
    search->setClearButtonEnabled(true);
    column->addWidget(search);
    column->addWidget(objects, 1);
    column->addWidget(heading(StudioText::lights));
    column->addWidget(lights);
    sceneDock->setWidget(scene);
    addDockWidget(Qt::LeftDockWidgetArea, sceneDock);
    resizeDocks({sceneDock, lookDock}, {230, 400}, Qt::Horizontal);

    progressArea = new QWidget(this);
    auto* const row = new QHBoxLayout(progressArea);
    row->setContentsMargins(0, 0, 0, 0);
    stage = new QLabel(progressArea);
    bar = new QProgressBar(progressArea);
    bar->setRange(0, 1000);
    bar->setFixedWidth(220);
    cancelButton = new QPushButton(studioText(StudioText::cancel), progressArea);
    row->addWidget(stage);
    row->addWidget(bar);
    row->addWidget(cancelButton);
    progressArea->hide();
    facts = new QLabel(this);
    statusBar()->addPermanentWidget(progressArea);
    statusBar()->addPermanentWidget(facts);
}

void StudioWindow::connectPanels() {
    connect(view, &StudioView::cameraMoved, this, &StudioWindow::cameraMoved);
    connect(view, &StudioView::clicked, this, &StudioWindow::pickAt);
    connect(view, &StudioView::resized, this, &StudioWindow::scheduleView);
    connect(view, &StudioView::lightClicked, lights, &LightsPanel::setCurrent);
    connect(view, &StudioView::lightMoved, this, [this](int light, const StudioLight& moved) {
        StudioState next = current;
        if (next.hasLights && static_cast<std::size_t>(light) < next.lights.size()) {
            next.lights[static_cast<std::size_t>(light)] = moved;
            change(next, StudioText::moveLight, movedLightKind);
        }
    });
    connect(lookPanel, &LookPanel::changed, this, &StudioWindow::lookChanged);
    connect(lookPanel, &LookPanel::ownLooksDropped, this, &StudioWindow::dropOwnLooks);
    connect(objects, &ObjectsPanel::selectionChangedByUser, this, &StudioWindow::showSelection);
    connect(objects, &ObjectsPanel::hiddenChanged, this, [this](const std::vector<int>& hidden) {
        StudioState next = current;
        for (int i = 0; i < model.numMeshes(); ++i) {
            StudioObjectState state = next.shown.at(i);
            state.hidden = std::binary_search(hidden.begin(), hidden.end(), i);
            next.shown.set(i, state);
        }
        changeShown(next, StudioText::changeVisible);
    });
    connect(search, &QLineEdit::textChanged, objects, &ObjectsPanel::filter);
    connect(lights, &LightsPanel::changed, this, &StudioWindow::lightsChanged);
    connect(lights, &LightsPanel::currentChanged, this, [this] {
        history.endMerging();
        view->setLights(current.hasLights ? current.lights : std::vector<StudioLight>(), lights->current());
    });
    connect(lights, &LightsPanel::defaultWanted, this, [this] {
        StudioState next = current;
        next.hasLights = false;
        next.lights.clear();
        change(next, StudioText::defaultLightsAgain);
    });
    connect(tabs, &QTabWidget::tabCloseRequested, this, &StudioWindow::closeTab);
    connect(tabs, &QTabWidget::currentChanged, this, &StudioWindow::updateActions);
    connect(cancelButton, &QPushButton::clicked, this, [this] {
        if (running != nullptr) {
            running->cancel();
        }
    });
}

// --- the document ---

void StudioWindow::change(const StudioState& next, StudioText what, Kind kind, const QString& name) {
    history.push(next, static_cast<unsigned int>(what), kind, clock.elapsed(), name);
    const StudioState before = current;
    current = next;
    follow(before);
}

void StudioWindow::follow(const StudioState& before) {
    const bool looksDiffer = !(before == current);
    if (!(before.camera == current.camera)) {
        playTurntable(false);
    }
    view->setCamera(current.camera);
    view->setAspect(aspect());
    showLights();
    showTitle();
    updateActions();
    if (looksDiffer) {
        scheduleView();
        if (!recovering.isActive() && !history.isClean()) {
            recovering.start();
        }
        if (history.isClean()) {
            recovery.clear();
        }
    }
}

void StudioWindow::showAll() {
    objects->show(model, current);
    showLights();
    showSelection();
    view->setCamera(current.camera);
    view->setAspect(aspect());
    showFacts();
    showTitle();
    updateActions();
    scheduleView();
}

// What the user calls the document by.
QString StudioWindow::shownName() const {
    return !document.isEmpty()      ? QFileInfo(document).completeBaseName()
           : current.models.empty() ? studioText(StudioText::builtInName)
                                    : QFileInfo(kivToQt(current.models.front())).fileName();
}

// A drawing may have no triangle, and most models have no line.
void StudioWindow::showFacts() {
    const KivScene& scene = *model.model().scene;
    QStringList parts;
    const auto add = [&](StudioText one, StudioText many, std::uint64_t count, bool always) {
        if (count == 1) {
            parts << studioText(one);
        } else if (count > 0 || always) {
            parts << studioText(many).arg(QLocale().toString(static_cast<qulonglong>(count)));
        }
    };
    const std::uint64_t lines = std::uint64_t{scene.numLines()} + scene.numPolyline();
    add(StudioText::oneTriangle, StudioText::triangles, model.triangles(), lines + scene.numPoints() == 0);
    add(StudioText::oneLine, StudioText::manyLines, lines, false);
    add(StudioText::onePoint, StudioText::manyPoints, scene.numPoints(), false);
    facts->setText(parts.join(QStringLiteral(", ")));
}

void StudioWindow::showTitle() {
    QString name = shownName();
    name.replace(QLatin1String("[*]"), QLatin1String("[*][*]")); // which stands for itself, not for the mark of changes
    setWindowTitle(name + QStringLiteral("[*] \u2013 Selvarin Studio"));
    setWindowModified(!history.isClean());
}

void StudioWindow::showLights() {
    lights->setPlacement(model.model().origin, model.model().scale);
    lights->show(model.ownLights(current), current.hasLights, current.camera);
    view->setLights(current.hasLights ? current.lights : std::vector<StudioLight>(), lights->current());
}

void StudioWindow::showSelection() {
    lookPanel->flush();
    history.endMerging();
    const std::vector<int> selected = objects->selected();
    lookPanel->show(current, selected, selected.size() == 1 ? objects->nameOf(selected.front()) : QString());
    std::vector<std::vector<Kiv3DPoint>> frames;
    if (selected.size() > mostFrames) {
        frames.push_back(model.corners(selected));
    } else {
        for (const int object : selected) {
            frames.push_back(model.corners({object}));
        }
    }
    view->setFrames(frames);
}

void StudioWindow::tell(const QString& text) {
    statusBar()->showMessage(text, 8000);
}

void StudioWindow::warn(const QString& text) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Selvarin Studio"), text, QMessageBox::NoButton, this);
    box.setTextFormat(Qt::PlainText); // names of files come in it
    box.addButton(studioText(StudioText::ok), QMessageBox::AcceptRole);
    box.exec();
}

void StudioWindow::undo() {
    step(&StudioHistory::undo, &StudioHistory::redo, StudioText::cantUndo);
}

void StudioWindow::redo() {
    step(&StudioHistory::redo, &StudioHistory::undo, StudioText::cantRedo);
}

// Goes one step, but only to a state whose models are there: else its looks would come upon the meshes of others.
void StudioWindow::step(HistoryStep there, HistoryStep back, StudioText failure) {
    lookPanel->flush();
    const StudioState before = current;
    const StudioState next = (history.*there)();
    if (before.models != next.models || before.upAxis != next.upAxis) {
        std::wstring message;
        if (!loadModels(next, &message)) {
            (history.*back)();
            warnUnread(failure, message);
            return;
        }
    }
    current = next;
    showAll();
    follow(before);
}

void StudioWindow::cameraMoved(const StudioCamera& camera) {
    StudioState next = current;
    next.camera = camera;
    change(next, StudioText::changeCamera, cameraKind);
}

void StudioWindow::look(StudioSide side) {
    StudioState next = current;
    next.camera.look(side);
    next.camera.parallel = next.camera.parallel || side == StudioSide::iso;
    next.camera.fit(model.shownPoints(current.shown), viewShape());
    change(next, StudioText::changeCamera);
}

void StudioWindow::pickAt(const QPointF& pixel, Qt::KeyboardModifiers modifiers) {
    Kiv3DPoint from;
    Kiv3DVector way;
    view->rayThrough(pixel, &from, &way);
    const int found = model.pick(from, way, current.shown);
    std::vector<int> selected = modifiers & Qt::ControlModifier ? objects->selected() : std::vector<int>();
    const auto there = std::find(selected.begin(), selected.end(), found);
    if (there != selected.end()) {
        selected.erase(there);
    } else if (found >= 0) {
        selected.push_back(found);
    }
    objects->select(selected);
    showSelection();
}

void StudioWindow::changeShown(const StudioState& next, StudioText what) {
    if (!(next.shown == current.shown)) {
        lookPanel->flush();
        change(next, what);
        objects->show(model, current);
    }
}

// Of the selected objects.
void StudioWindow::editShown(StudioText what, const std::function<void(StudioObjectState*)>& edit) {
    StudioState next = current;
    for (const int object : objects->selected()) {
        StudioObjectState state = next.shown.at(object);
        edit(&state);
        next.shown.set(object, state);
    }
    changeShown(next, what);
}

// The selected ones alone are shown.
void StudioWindow::isolate() {
    const std::vector<int> selected = objects->selected();
    if (selected.empty()) {
        return;
    }
    StudioState next = current;
    for (int i = 0; i < model.numMeshes(); ++i) {
        StudioObjectState state = next.shown.at(i);
        state.hidden = !std::binary_search(selected.begin(), selected.end(), i);
        next.shown.set(i, state);
    }
    changeShown(next, StudioText::changeVisible);
}

void StudioWindow::showAllObjects() {
    StudioState next = current;
    for (const auto& [object, former] : current.shown.map()) {
        StudioObjectState state = former;
        state.hidden = false;
        next.shown.set(object, state);
    }
    changeShown(next, StudioText::changeVisible);
}

// They become ghosts, unless all of them are.
void StudioWindow::toggleGhosts() {
    const std::vector<int> selected = objects->selected();
    const bool areGhosts =
        std::all_of(selected.begin(), selected.end(), [this](int object) { return current.shown.at(object).ghost; });
    editShown(StudioText::changeGhosts, [areGhosts](StudioObjectState* state) { state->ghost = !areGhosts; });
}

void StudioWindow::pickObjectColour() {
    const std::vector<int> selected = objects->selected();
    if (selected.empty()) {
        return;
    }
    const KivMesh& first = *model.model().scene->getMesh(static_cast<unsigned int>(selected.front()));
    const std::uint32_t former = current.shown.at(selected.front()).colour.value_or(first.getMaterial()->getDiffuse());
    const QColor picked =
        QColorDialog::getColor(QColor(static_cast<int>(former & 0xFFU), static_cast<int>(former >> 8 & 0xFFU),
                                      static_cast<int>(former >> 16 & 0xFFU)),
                               this, studioText(StudioText::colourOfObjects));
    if (picked.isValid()) {
        const auto colour = static_cast<std::uint32_t>(picked.red() | picked.green() << 8 | picked.blue() << 16);
        editShown(StudioText::changeColours, [colour](StudioObjectState* state) { state->colour = colour; });
    }
}

void StudioWindow::lightsChanged(StudioText what) {
    StudioState next = current;
    next.lights = lights->lights();
    next.hasLights = true;
    change(next, what, what == StudioText::changeLights ? lightsKind : noKind);
}

void StudioWindow::lookChanged(bool ofObjects) {
    StudioState next = current;
    lookPanel->write(&next);
    change(next, ofObjects ? StudioText::changeObjects : StudioText::changeLook, lookKind, lookPanel->chosenStyle());
    objects->show(model, current);
}

void StudioWindow::dropOwnLooks() {
    lookPanel->flush();
    StudioState next = current;
    for (const int object : objects->selected()) {
        next.objects.erase(object);
    }
    change(next, StudioText::dropLooks);
    showAll();
}

void StudioWindow::editOptions() {
    lookPanel->flush();
    const QSize shown = view->size();
    OptionsBox box(current.options, {std::max(shown.width(), 1), std::max(shown.height(), 1)}, this);
    box.setWithoutBackground(current.withoutBackground);
    if (box.exec() != QDialog::Accepted) {
        return;
    }
    StudioState next = current;
    next.options = box.options();
    next.withoutBackground = box.withoutBackground();
    if (next.options.doVectorSimplify() != current.options.doVectorSimplify()) {
        using enum KivDrawingCollector::Areas;
        next.drawing.areas = next.options.doVectorSimplify() ? faces : regions;
    }
    chosenFiles.addChanged(current.options, next.options);
    change(next, StudioText::changeOptions);
    showSelection(); // its preview has the colours of the options
}

double StudioWindow::aspect() const {
    const SIZE size = current.options.getResolution();
    return current.options.getCustomSize() && size.cx > 0 && size.cy > 0 ? static_cast<double>(size.cx) / size.cy : 0.0;
}

double StudioWindow::viewShape() const {
    return aspect() > 0.0 ? aspect() : static_cast<double>(view->width()) / std::max(view->height(), 1);
}

QSize StudioWindow::renderSize() const {
    const SIZE size = current.options.getResolution();
    return current.options.getCustomSize() && size.cx > 0 && size.cy > 0
               ? QSize(size.cx, size.cy)
               : (QSizeF(view->size()) * view->devicePixelRatioF()).toSize();
}
