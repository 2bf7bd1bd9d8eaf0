// The lights: a list, and the fields of the one that is selected.
#ifndef APPS_STUDIO_LIGHTSPANEL_H
#define APPS_STUDIO_LIGHTSPANEL_H

#include "apps/document/studiostate.h"
#include "apps/studio/studiotexts.h"

#include <QWidget>

#include <functional>
#include <vector>

class KivColorField;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLabel;
class QListWidget;
class QPushButton;
class QToolButton;

class LightsPanel : public QWidget {
    Q_OBJECT

public:
    explicit LightsPanel(QWidget* parent = nullptr);

    // The lights in force; own says whether they are the user's. A new light comes to stand where the camera sees it.
    void show(const std::vector<StudioLight>& lights, bool own, const StudioCamera& camera);
    // Where the model lies in the scene: places are shown in the coordinates of its file, which are those of the scene
    // by the scale, from the origin.
    void setPlacement(const Kiv3DPoint& origin, double scale);
    const std::vector<StudioLight>& lights() const;
    int current() const;
    void setCurrent(int light);

    // What a picture makes of them.
    static constexpr std::size_t mostLights = 8;

signals:
    // what: the change, as undo names it.
    void changed(StudioText what);
    void currentChanged();
    void defaultWanted();

private:
    void add(StudioLight::Kind kind);
    void removeCurrent();
    void showFields();
    // Changes the current light: what the user has not touched keeps its exact value.
    void edit(const std::function<void(StudioLight*)>& change);
    void pickColour();
    // take: puts the field's value into a light.
    QDoubleSpinBox* addField(QFormLayout* form, int text, double low, double high, const QString& suffix,
                             const std::function<void(StudioLight*, double)>& take);
    bool isZUp() const;
    Kiv3DVector freshDirection() const;

    std::vector<StudioLight> all;
    bool isOwn = false;
    StudioCamera camera;
    Kiv3DPoint origin;
    double scale = 1.0;
    bool showing = false;
    bool hasShown = false; // the list and the fields show the lights as they are
    QListWidget* list;
    QToolButton* addButton;
    QToolButton* removeButton;
    QPushButton* defaultButton;
    QLabel* note;
    QFormLayout* form;
    QComboBox* kind;
    KivColorField* colour;
    QDoubleSpinBox* azimuth;
    QDoubleSpinBox* elevation;
    QDoubleSpinBox* place[3];
    QDoubleSpinBox* angle;
};

#endif
