// The main window: the document and its history, the view, the panels, renders and their results.
//
// All that changes the document goes through change(), which keeps the step for undo and lets the window follow.
#ifndef APPS_STUDIO_STUDIOWINDOW_H
#define APPS_STUDIO_STUDIOWINDOW_H

#include "apps/studio/chosenfiles.h"
#include "apps/studio/studiohistory.h"
#include "apps/studio/studiohost.h"
#include "apps/studio/studiomemory.h"
#include "apps/studio/studiomodel.h"
#include "apps/studio/studiorecovery.h"
#include "apps/studio/studiorenderer.h"
#include "apps/studio/studiotexts.h"
#include "qt/kivqttoolkit.h"
#include "qt/kivqtwindow.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QSet>
#include <QTimer>

#include <functional>
#include <map>
#include <vector>

class CompareView;
class DrawingPage;
class LightsPanel;
class LookPanel;
class ObjectsPanel;
class PictureView;
class FilmFile;
struct FilmOptions;
class QDockWidget;
class QLabel;
class QLineEdit;
class QMenu;
class QProgressBar;
class QPushButton;
class QTabWidget;
class StudioView;

class StudioWindow : public QMainWindow {
    Q_OBJECT

public:
    StudioWindow(StudioHost& host, KivQtToolkit& toolkit);
    ~StudioWindow() override;

    // Models, or one document. False, after a message, if they can't be opened; the open document then stays.
    bool openFiles(const QStringList& files);
    // Asks whether documents that a crash has left are wanted, if there are any.
    void offerRecovery();
    // Says so if there is no shader to draw with.
    void tellMissing();

    // For tests and pictures of the window.
    const StudioState& state() const;
    bool isRendering() const;
    // Whether anything is drawn or read right now, the view included: who asks is called by what that lets through.
    bool isBusy() const;
    // Whether the view shows the document as it is, with nothing left to draw.
    bool isSettled() const;

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    struct Result {
        QWidget* page = nullptr;
        PictureView* view = nullptr;
        DrawingPage* drawing = nullptr; // of a vector drawing
        QString name;
        QImage image;
        StudioState state; // that it was made of
        QSize size;
        QString file; // of a drawing
    };
    // Kinds of changes that merge in the history.
    enum Kind { noKind, lookKind, cameraKind, lightsKind, movedLightKind, drawingKind };

    // --- studiowindow.cpp: the window and the document
    void makePanels();
    void connectPanels();
    // name: that of the step, where none of the texts is it.
    void change(const StudioState& next, StudioText what, Kind kind = noKind, const QString& name = {});
    // The window follows the state; before: what it showed.
    void follow(const StudioState& before);
    void showAll();
    QString shownName() const;
    void showFacts();
    void showTitle();
    void showLights();
    void showSelection();
    void tell(const QString& text);
    void warn(const QString& text);
    void undo();
    void redo();
    using HistoryStep = const StudioState& (StudioHistory::*)();
    void step(HistoryStep there, HistoryStep back, StudioText failure);
    void cameraMoved(const StudioCamera& camera);
    void look(StudioSide side);
    void pickAt(const QPointF& pixel, Qt::KeyboardModifiers modifiers);
    // To a state that shows other objects, or in other ways.
    void changeShown(const StudioState& next, StudioText what);
    void editShown(StudioText what, const std::function<void(StudioObjectState*)>& edit);
    void isolate();
    void showAllObjects();
    void toggleGhosts();
    void pickObjectColour();
    void lightsChanged(StudioText what);
    void lookChanged(bool objects);
    void dropOwnLooks();
    void editOptions();
    // Width / height of the finished picture: 0 for that of the view, and the number itself.
    double aspect() const;
    double viewShape() const;
    QSize renderSize() const;

    // --- studiowindow_menus.cpp
    void makeMenus();
    void makeFileMenu();
    void makeViewMenu();
    void makeObjectsMenu();
    void makeToolBar();
    void showIcons();
    QAction* addAction(QMenu* menu, StudioText text, const QKeySequence& keys, std::function<void()> act);
    void updateActions();
    void fillRecent();
    void showKeys();
    void showAbout();

    // --- studiowindow_files.cpp
    bool loadModels(const StudioState& state, std::wstring* message);
    bool readModels(const StudioState& state, StudioModel* into, std::wstring* message);
    // message: why models could not be read, empty if the user did not want them any more.
    void warnUnread(StudioText text, const std::wstring& message);
    bool openDocument(const QString& file);
    bool openModels(const QStringList& files, bool add);
    void openBuiltIn();
    void openDropped(const QStringList& files, const QStringList& foreign);
    void fitToScreen();
    void askToOpen(bool add);
    bool save();
    bool saveAs();
    bool saveTo(const QString& file);
    bool mayGo();
    void start(const StudioState& state, const QString& file);
    void addRecent(const QString& file);
    QString baseName() const;
    QString placeFor(StudioFolder kind, const QString& ending) const;
    QString unusedName(const QString& file) const;
    static QStringList modelEndings();

    // --- studiowindow_recovery.cpp
    enum class Wish { recover, remove, later };
    bool writeRecovery();
    Wish askToRecover(const StudioRecovery::Found& found, const StudioState& work);
    bool recover(const StudioRecovery::Found& found, const StudioState& work);

    // --- studiowindow_render.cpp
    // Does it now or, while something is drawn, as soon as nothing is; the drawing of the view ends for it. Whatever
    // opens a dialog or changes the model has to come this way: a render that lets events through is no place for it.
    void whenIdle(const std::function<void()>& act);
    void scheduleView();
    void drawMoving(const StudioState& state);
    void drawSettled();
    void renderPicture();
    // Of lines and areas, without a file.
    void renderDrawing();
    void renderTab(StudioState wanted);
    // Asks about files that only the document names. False if the user would rather not render; may leave the writing
    // out of the options.
    bool mayWrite(KivCommonSettings* options);
    // layersFile: where the picture in layers goes, and nothing else; empty for a picture or a drawing.
    StudioPicture renderFinal(const StudioModel& shown, const StudioState& wanted, QSize size, PictureView* growing,
                              const QString& layersFile = {});
    void saveLayers(const StudioState& state, QSize size, const QString& file);
    const StudioModel* modelOf(const StudioState& state, StudioModel* former);
    void showProblems(const StudioPicture& picture, bool wanted);
    void addResult(const StudioState& wanted, QSize size, const StudioPicture& picture, Result result);
    Result* currentResult();
    void savePicture();
    QString askForPicture();
    // options: those of the page, which the user may change.
    QString askForDrawing(DrawingOptions* options, bool areasToo);
    void exportDrawing();
    bool exportShown(const Result& result);
    void keepDrawingOptions(const DrawingOptions& options);
    void copyPicture();
    void tellWritten(const StudioState& wanted, const QString& file);
    void showDrawing(Result& result, const StudioPicture& picture);
    void compare();
    void closeTab(int index);
    void updateCompare();
    void setRendering(bool on);

    // --- studiowindow_film.cpp: the model turns, in the view and in films
    void playTurntable(bool on);
    void showTurned();
    void saveFilm();
    QString askForFilm(FilmOptions* options);
    // Whether all frames were drawn.
    bool drawFilm(const FilmOptions& options, FilmFile* film);
    bool drawFilmFrame(const FilmOptions& options, int number, FilmFile* film);

    StudioHost& host;
    KivQtToolkit& toolkit;
    KivQtWindow frame;
    StudioRenderer renderer;
    StudioModel model;
    StudioHistory history;
    StudioState current;
    StudioRecovery recovery;
    ChosenFiles chosenFiles;
    QSet<QString> savedPictures;
    QString document; // its file, empty for a new one
    QElapsedTimer clock;

    QTabWidget* tabs = nullptr;
    StudioView* view = nullptr;
    LookPanel* lookPanel = nullptr;
    ObjectsPanel* objects = nullptr;
    QLineEdit* search = nullptr; // among them
    LightsPanel* lights = nullptr;
    QDockWidget* lookDock = nullptr;
    QDockWidget* sceneDock = nullptr;
    QToolBar* toolBar = nullptr;
    QWidget* progressArea = nullptr;
    QLabel* stage = nullptr;
    QProgressBar* bar = nullptr;
    QPushButton* cancelButton = nullptr;
    QLabel* facts = nullptr;
    QMenu* recentMenu = nullptr;
    std::map<StudioText, QAction*> actions;

    QTimer moving;
    QTimer settling;
    QTimer turning;
    QElapsedTimer turningSince;
    QTimer recovering;
    double motionScale = 0.5; // of the view's pixels, while the camera moves
    double settledTime = 0.0; // milliseconds that the last settled picture took
    bool wasShown = false;
    bool isDrawn = false; // the view shows the present state
    bool hasWarnedOfRecovery = false;
    StudioProgress* running = nullptr; // of what is drawn or read
    bool isFinalRunning = false;       // or a model is read for long
    bool isReading = false;

    std::vector<Result> results;
    int resultNumber = 0;
    CompareView* compareView = nullptr;
};

#endif
