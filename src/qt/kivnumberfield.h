// A number with a slider for the eye and a spin box for the exact value. The slider covers the usual part of the range,
// the box all of it.
//
// A number that was set is kept as it is, however few decimals the box shows, until the user changes it.
#ifndef QT_KIVNUMBERFIELD_H
#define QT_KIVNUMBERFIELD_H

#include <QString>
#include <QWidget>

class QSlider;
class KivNumberBox;

class KivNumberField : public QWidget {
    Q_OBJECT
    // As forms give them, the range before anything else; softMaximum is where the slider ends.
    Q_PROPERTY(double minimum READ getMinimum WRITE setMinimum)
    Q_PROPERTY(double maximum READ getMaximum WRITE setMaximum)
    Q_PROPERTY(double softMaximum READ getSoftMaximum WRITE setSoftMaximum)
    Q_PROPERTY(double step READ getStep WRITE setStep)
    Q_PROPERTY(int decimals READ getDecimals WRITE setDecimals)
    Q_PROPERTY(QString suffix READ getSuffix WRITE setSuffix)

public:
    explicit KivNumberField(QWidget* parent = nullptr);

    double getMinimum() const;
    void setMinimum(double value);
    double getMaximum() const;
    void setMaximum(double value);
    double getSoftMaximum() const;
    void setSoftMaximum(double value);
    double getStep() const;
    void setStep(double value);
    int getDecimals() const;
    void setDecimals(int value);
    QString getSuffix() const;
    void setSuffix(const QString& value);

    // Brought into range.
    double getValue() const;
    void setValue(double value);
    // Shows no number until one is set or the user gives one.
    void setVaried(bool value);
    bool isVaried() const;

    // Of the box beside the slider, in pixels: what it needs at least, and what it gets.
    int getBoxWidth() const;
    void setBoxWidth(int width);

signals:
    // By the user.
    void edited();

private:
    void slide(int place);
    void type(double value);
    void showOnSlider();

    QSlider* slider;
    KivNumberBox* box;
    double exact = 0.0;
    double softMaximum = 0.0;
    bool hasSoftMaximum = false;
    bool showing = false; // the parts are being set by us
};

#endif
