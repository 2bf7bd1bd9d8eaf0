// A field that shows a colour and is clicked to choose another, by mouse, Space or Enter.
#ifndef QT_KIVCOLORFIELD_H
#define QT_KIVCOLORFIELD_H

#include <QColor>
#include <QWidget>

class KivColorField : public QWidget {
    Q_OBJECT

public:
    explicit KivColorField(QWidget* parent = nullptr);

    QColor getColor() const;
    void setColor(const QColor& value);
    // Shows a question instead of a colour.
    void setVaried(bool value);
    bool isVaried() const;

    QSize sizeHint() const override;

signals:
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
