// A field that shows a colour and is clicked to choose another, by mouse, Space or Enter.
//
// It only shows the colour: whoever gets the signal clicked asks for another one, for instance by
// KivToolkit::pickColor, and hands it over with setColor. Forms of Qt Designer have it as a promoted QWidget; the
// window of a dialog finds it by its dynamic property "control" and fills it in by KivWindow::setFill.
#ifndef QT_KIVCOLORFIELD_H
#define QT_KIVCOLORFIELD_H

#include <QColor>
#include <QWidget>

class KivColorField : public QWidget {
    Q_OBJECT

public:
    // Without a colour at first, and not varied. A parent owns it as any widget of Qt.
    explicit KivColorField(QWidget* parent = nullptr);

    // The last colour that was set, also while it is varied; its alpha has no meaning.
    QColor getColor() const;
    // Shows the colour, and that it is the same for all objects.
    void setColor(const QColor& value);
    // Shows a question instead of a colour.
    void setVaried(bool value);
    // Whether several objects with different colours are shown.
    bool isVaried() const;

    // One line of text high and four wide.
    QSize sizeHint() const override;

signals:
    // The user wants another colour: the left button, Space or Enter. Not sent while disabled.
    void clicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QColor color;
    bool varied = false;
};

#endif
