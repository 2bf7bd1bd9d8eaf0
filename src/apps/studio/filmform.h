// How large, how long and how far round the film of a model is that turns.
#ifndef APPS_STUDIO_FILMFORM_H
#define APPS_STUDIO_FILMFORM_H

#include "apps/studio/studiotexts.h"

#include <QSize>
#include <QWidget>

class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;

struct FilmOptions {
    QSize size{640, 480}; // pixels; both sides are even, as films want it
    double degrees = 360.0;
    double seconds = 8.0;
    int framesPerSecond = 25;
    bool keepsPart = false; // of a cancelled film

    int numFrames() const;
};

class FilmForm : public QWidget {
    Q_OBJECT

public:
    explicit FilmForm(QWidget* parent = nullptr);

    FilmOptions options() const;
    void setOptions(const FilmOptions& options);

signals:
    void changed();

private:
    QSpinBox* addSide(StudioText name);
    QDoubleSpinBox* addNumber(double least, double most, StudioText name, StudioText tip);
    void showFrames();

    QSpinBox* width = nullptr;
    QSpinBox* height = nullptr;
    QDoubleSpinBox* degrees = nullptr;
    QDoubleSpinBox* seconds = nullptr;
    QSpinBox* rate = nullptr;
    QCheckBox* keepsPart = nullptr;
    QLabel* frames = nullptr;
};

#endif
