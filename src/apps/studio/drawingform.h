// The page, the scale and the lines of vector drawings, to be chosen.
#ifndef APPS_STUDIO_DRAWINGFORM_H
#define APPS_STUDIO_DRAWINGFORM_H

#include "apps/common/drawingoptions.h"
#include "apps/studio/studiotexts.h"

#include <QWidget>

#include <array>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLabel;

class DrawingForm : public QWidget {
    Q_OBJECT

public:
    explicit DrawingForm(QWidget* parent = nullptr);

    const DrawingOptions& options() const;
    void setOptions(const DrawingOptions& options);
    // A drawing that is there has its areas, and its textures, already.
    void hideAreas();
    // A line below: how the drawing lies on its sheet, or why it does not.
    void setOutcome(const QString& text);

signals:
    // By the user.
    void changed();

private:
    QComboBox* addCombo(QFormLayout* form, StudioText label, StudioText tip);
    QDoubleSpinBox* addLength(QFormLayout* form, StudioText label, double largest);
    void makePage(QFormLayout* form);
    void makeLines(QFormLayout* form);
    void makePens(QFormLayout* form);
    void edit();
    void readPage();
    void readPens();
    void show();

    DrawingOptions chosen;
    bool isShowing = false; // what changes now does so by us
    bool ownPens = false;   // the user wants to see each pen
    QComboBox* areas = nullptr;
    QComboBox* textures = nullptr;
    QComboBox* paper = nullptr;
    QDoubleSpinBox* width = nullptr;
    QDoubleSpinBox* height = nullptr;
    QCheckBox* landscape = nullptr;
    QDoubleSpinBox* margin = nullptr;
    QComboBox* scale = nullptr;
    QComboBox* unit = nullptr;
    QComboBox* hidden = nullptr;
    QComboBox* group = nullptr;
    std::array<QDoubleSpinBox*, kivStrokeKinds + 1> pens{}; // the last one of hidden lines
    QWidget* penBox = nullptr;
    QLabel* outcome = nullptr;
    QFormLayout* rows = nullptr;
};

// The name of a kind of lines for users, "Contours"; kivStrokeKinds stands for hidden lines.
QString strokeKindName(int kind);

#endif
