// The window's menus, keys and tool bar.
#include "apps/studio/objectspanel.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"
#include "kivrender/shader/kivshader.h"
#include "qt/kivqtimages.h"

#include <QAction>
#include <QActionGroup>
#include <QDockWidget>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>

#include <array>

namespace {

// Actions that stand in the tool bar too. The number of an action's text is that of its icon.
constexpr std::array toolBarActions = {StudioText::open,    StudioText::save,   StudioText::undo,
                                       StudioText::redo,    StudioText::fit,    StudioText::parallel,
                                       StudioText::options, StudioText::render, StudioText::savePicture};

} // namespace

QAction* StudioWindow::addAction(QMenu* menu, StudioText text, const QKeySequence& keys, std::function<void()> act) {
    auto* const action = new QAction(studioText(text), this);
    action->setShortcut(keys);
    connect(action, &QAction::triggered, this, [this, act = std::move(act)] { whenIdle(act); });
    menu->addAction(action);
    actions[text] = action;
    return action;
}

void StudioWindow::makeMenus() {
    makeFileMenu();
    QMenu* const edit = menuBar()->addMenu(studioText(StudioText::editMenu));
    addAction(edit, StudioText::undo, QKeySequence::Undo, [this] { undo(); });
    addAction(edit, StudioText::redo, QKeySequence::Redo, [this] { redo(); });
    edit->addSeparator();
    addAction(edit, StudioText::copyPicture, Qt::CTRL | Qt::SHIFT | Qt::Key_C, [this] { copyPicture(); });
    edit->addSeparator();
    addAction(edit, StudioText::selectAll, QKeySequence::SelectAll, [this] { objects->selectAll(); });
    makeViewMenu();
    makeObjectsMenu();
    QMenu* const render = menuBar()->addMenu(studioText(StudioText::renderMenu));
    addAction(render, StudioText::render, Qt::Key_F5, [this] { renderPicture(); });
    addAction(render, StudioText::renderDrawing, Qt::SHIFT | Qt::Key_F5, [this] { renderDrawing(); });
    addAction(render, StudioText::options, Qt::CTRL | Qt::Key_Comma, [this] { editOptions(); });
    render->addSeparator();
    addAction(render, StudioText::compare, Qt::CTRL | Qt::Key_D, [this] { compare(); });
    addAction(render, StudioText::closeResult, QKeySequence::Close, [this] { closeTab(tabs->currentIndex()); });
    QMenu* const help = menuBar()->addMenu(studioText(StudioText::helpMenu));
    addAction(help, StudioText::keys, QKeySequence::HelpContents, [this] { showKeys(); });
    addAction(help, StudioText::about, {}, [this] { showAbout(); });
    makeToolBar();
}

void StudioWindow::makeFileMenu() {
    QMenu* const file = menuBar()->addMenu(studioText(StudioText::fileMenu));
    addAction(file, StudioText::open, QKeySequence::Open, [this] { askToOpen(false); });
    recentMenu = file->addMenu(studioText(StudioText::openRecent));
    connect(recentMenu, &QMenu::aboutToShow, this, &StudioWindow::fillRecent);
    addAction(file, StudioText::addModels, {}, [this] { askToOpen(true); });
    addAction(file, StudioText::builtIn, {}, [this] { openBuiltIn(); });
    file->addSeparator();
    addAction(file, StudioText::save, QKeySequence::Save, [this] { save(); });
    addAction(file, StudioText::saveAs, QKeySequence::SaveAs, [this] { saveAs(); });
    file->addSeparator();
    addAction(file, StudioText::savePicture, Qt::CTRL | Qt::Key_E, [this] { savePicture(); });
    addAction(file, StudioText::exportDrawing, Qt::CTRL | Qt::SHIFT | Qt::Key_E, [this] { exportDrawing(); });
    addAction(file, StudioText::saveFilm, Qt::CTRL | Qt::SHIFT | Qt::Key_T, [this] { saveFilm(); });
    file->addSeparator();
    addAction(file, StudioText::quit, QKeySequence::Quit, [this] { close(); })->setMenuRole(QAction::QuitRole);
}

void StudioWindow::makeViewMenu() {
    QMenu* const menu = menuBar()->addMenu(studioText(StudioText::viewMenu));
    struct Side {
        StudioText text;
        StudioSide side;
        int key;
    };
    constexpr Side sides[] = {{StudioText::viewFront, StudioSide::front, Qt::Key_1},
                              {StudioText::viewBack, StudioSide::back, Qt::Key_2},
                              {StudioText::viewRight, StudioSide::right, Qt::Key_3},
                              {StudioText::viewLeft, StudioSide::left, Qt::Key_4},
                              {StudioText::viewTop, StudioSide::top, Qt::Key_5},
                              {StudioText::viewBottom, StudioSide::bottom, Qt::Key_6},
                              {StudioText::viewThreeQuarter, StudioSide::threeQuarter, Qt::Key_7},
                              {StudioText::viewIso, StudioSide::iso, Qt::Key_8}};
    for (const Side& each : sides) {
        const StudioSide side = each.side;
        addAction(menu, each.text, QKeySequence(Qt::CTRL | static_cast<Qt::Key>(each.key)),
                  [this, side] { look(side); });
    }
    menu->addSeparator();
    addAction(menu, StudioText::fit, Qt::CTRL | Qt::Key_0, [this] {
        StudioState next = current;
        next.camera.fit(model.shownPoints(current.shown), viewShape());
        change(next, StudioText::changeCamera);
    });
    addAction(menu, StudioText::fitSelection, Qt::CTRL | Qt::Key_9, [this] {
        const std::vector<Kiv3DPoint> points = model.corners(objects->selected());
        StudioState next = current;
        next.camera.fit(points.empty() ? model.shownPoints(current.shown) : points, viewShape());
        change(next, StudioText::changeCamera);
    });
    QAction* const parallel = addAction(menu, StudioText::parallel, Qt::CTRL | Qt::Key_P, [this] {
        StudioState next = current;
        next.camera.parallel = !next.camera.parallel;
        change(next, StudioText::changeCamera);
    });
    parallel->setCheckable(true);
    addAction(menu, StudioText::fieldOfView, {}, [this] {
        bool good = false;
        const double fov = QInputDialog::getDouble(this, QStringLiteral("Selvarin Studio"),
                                                   studioText(StudioText::fieldOfView).remove(QLatin1Char('&')),
                                                   current.camera.fov, 1.0, 120.0, 1, &good);
        if (good) {
            // The target keeps its size in the view.
            StudioState next = current;
            const double height = next.camera.heightAtTarget();
            next.camera.fov = fov;
            next.camera.distance *= height / next.camera.heightAtTarget();
            next.camera.sanitize();
            change(next, StudioText::changeCamera);
        }
    });
    menu->addSeparator();
    addAction(menu, StudioText::playTurntable, Qt::CTRL | Qt::Key_T, [this] {
        playTurntable(!turning.isActive());
    })->setCheckable(true);
    menu->addSeparator();
    menu->addAction(sceneDock->toggleViewAction());
    menu->addAction(lookDock->toggleViewAction());
}

void StudioWindow::makeObjectsMenu() {
    QMenu* const menu = menuBar()->addMenu(studioText(StudioText::objectsMenu));
    addAction(menu, StudioText::isolate, Qt::CTRL | Qt::Key_I, [this] { isolate(); });
    addAction(menu, StudioText::hideObjects, Qt::CTRL | Qt::Key_H,
              [this] { editShown(StudioText::changeVisible, [](StudioObjectState* state) { state->hidden = true; }); });
    addAction(menu, StudioText::showAllObjects, Qt::CTRL | Qt::SHIFT | Qt::Key_H, [this] { showAllObjects(); });
    menu->addSeparator();
    addAction(menu, StudioText::ghostObjects, Qt::CTRL | Qt::Key_G, [this] { toggleGhosts(); });
    addAction(menu, StudioText::colourObjects, {}, [this] { pickObjectColour(); });
    addAction(menu, StudioText::fileColours, {}, [this] {
        editShown(StudioText::changeColours, [](StudioObjectState* state) { state->colour.reset(); });
    });
    menu->addSeparator();
    menu->addAction(actions[StudioText::selectAll]);
    menu->addAction(actions[StudioText::fitSelection]);
    objects->setContextMenuPolicy(Qt::ActionsContextMenu);
    objects->addActions(menu->actions());
}

void StudioWindow::makeToolBar() {
    toolBar = addToolBar(QStringLiteral("Selvarin Studio"));
    toolBar->setObjectName(QStringLiteral("tools"));
    toolBar->setMovable(false);
    toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolBar->setIconSize({20, 20});
    const auto add = [this](std::initializer_list<StudioText> texts) {
        for (const StudioText text : texts) {
            toolBar->addAction(actions[text]);
        }
    };
    add({StudioText::open, StudioText::save});
    toolBar->addSeparator();
    add({StudioText::undo, StudioText::redo});
    toolBar->addSeparator();
    add({StudioText::fit, StudioText::parallel});
    auto* const space = new QWidget(toolBar);
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    toolBar->addWidget(space);
    add({StudioText::options, StudioText::render, StudioText::savePicture});
    showIcons();
    actions[StudioText::render]->setToolTip(studioText(StudioText::renderTip));
    if (QWidget* const button = toolBar->widgetForAction(actions[StudioText::render])) {
        QFont bold = button->font();
        bold.setBold(true);
        button->setFont(bold);
    }
    // The bar has room for short names alone.
    for (const StudioText text : toolBarActions) {
        QString name = studioText(text);
        name.remove(QLatin1Char('&')).remove(QChar(0x2026));
        actions[text]->setIconText(name);
        if (actions[text]->toolTip() == name || text != StudioText::render) {
            const QString keys = actions[text]->shortcut().toString(QKeySequence::NativeText);
            actions[text]->setToolTip(keys.isEmpty() ? name
                                                     : name + QStringLiteral("  (") + keys + QStringLiteral(")"));
        }
    }
}

// Anew where the palette is another: icons have its colour.
void StudioWindow::showIcons() {
    for (const StudioText text : toolBarActions) {
        actions[text]->setIcon(kivQtIcon(nullptr, static_cast<unsigned int>(text), palette()));
    }
}

void StudioWindow::updateActions() {
    const auto step = [this](StudioText action, StudioText withName, unsigned int text, const QString& own, bool can) {
        actions[action]->setEnabled(can && !isFinalRunning);
        QString name = studioText(action);
        if (can && text != 0) {
            // A style may have an ampersand in its name.
            QString what = own.isEmpty() ? studioText(static_cast<StudioText>(text)) : own;
            name = studioText(withName).arg(what.replace(QLatin1Char('&'), QLatin1String("&&")));
        }
        const QString shortName = actions[action]->iconText();
        actions[action]->setText(name);
        actions[action]->setIconText(shortName);
    };
    step(StudioText::undo, StudioText::undoWhat, history.undoText(), history.undoName(), history.canUndo());
    step(StudioText::redo, StudioText::redoWhat, history.redoText(), history.redoName(), history.canRedo());
    actions[StudioText::parallel]->setChecked(current.camera.parallel);
    actions[StudioText::compare]->setEnabled(results.size() >= 2);
    actions[StudioText::closeResult]->setEnabled(tabs->currentIndex() > 0);
    const Result* const shown = currentResult();
    actions[StudioText::savePicture]->setEnabled(shown != nullptr && !shown->image.isNull());
}

void StudioWindow::showKeys() {
    QMessageBox box(QMessageBox::NoIcon, studioText(StudioText::keys).remove(QLatin1Char('&')),
                    studioText(StudioText::keysText), QMessageBox::NoButton, this);
    box.addButton(studioText(StudioText::ok), QMessageBox::AcceptRole);
    box.exec();
}

void StudioWindow::tellMissing() {
    if (KivShader::shaders() == 0) {
        warn(studioText(StudioText::noShaders));
    }
}

void StudioWindow::showAbout() {
    QMessageBox box(QMessageBox::NoIcon, QStringLiteral("Selvarin Studio"),
                    studioText(StudioText::aboutText).arg(QStringLiteral(SELVARIN_VERSION)), QMessageBox::NoButton,
                    this);
    box.addButton(studioText(StudioText::ok), QMessageBox::AcceptRole);
    box.exec();
}
