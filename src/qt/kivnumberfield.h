// A number with a slider for the eye and a spin box for the exact value. The slider covers the usual part of the range,
// the box all of it.
//
// A number that was set is kept as it is, however few decimals the box shows, until the user changes it.
//
// Forms of Qt Designer have it as a promoted QWidget whose dynamic properties are those below; a dialog of the library
// finds it by its property "control", reads and sets its number as text, and never sees the slider. Numbers are in the
// unit of the suffix.
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
    // A parent owns it as any widget of Qt.
    explicit KivNumberField(QWidget* parent = nullptr);

    // The range that the box takes, both ends included. A value that is set outside is brought in.
    double getMinimum() const;
    void setMinimum(double value);
    double getMaximum() const;
    void setMaximum(double value);
    // Where the slider ends: the usual largest value. Without one it ends at the maximum.
    double getSoftMaximum() const;
    void setSoftMaximum(double value);
    // By how much an arrow of the box, a key or the wheel changes the number.
    double getStep() const;
    void setStep(double value);
    // Of the number as the box shows it; the number itself may have more.
    int getDecimals() const;
    void setDecimals(int value);
    // The unit behind the number, with its blank: " mm".
    QString getSuffix() const;
    void setSuffix(const QString& value);

    // Brought into range.
    double getValue() const;
    void setValue(double value);
    // Shows no number until one is set or the user gives one.
    void setVaried(bool value);
    // Whether it stands for several numbers that differ.
    bool isVaried() const;

    // Of the box beside the slider, in pixels: what it needs at least, and what it gets.
    int getBoxWidth() const;
    void setBoxWidth(int width);

signals:
    // By the user.
    void edited();

private:
    // The slider was moved, or a number was typed.
    void slide(int place);
    void type(double value);
    void showOnSlider();

    QSlider* slider;
    KivNumberBox* box;
    // The number as it was set, with all its digits.
    double exact = 0.0;
    double softMaximum = 0.0;
    bool hasSoftMaximum = false;
    bool showing = false; // the parts are being set by us
};

#endif
