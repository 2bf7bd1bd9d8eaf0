// Two results under one dividing line.
#ifndef APPS_STUDIO_COMPAREVIEW_H
#define APPS_STUDIO_COMPAREVIEW_H

#include <QImage>
#include <QString>
#include <QWidget>

#include <vector>

class PictureView;
class QComboBox;

class CompareView : public QWidget {
    Q_OBJECT

public:
    struct Choice {
        QString name;
        QImage image;
    };

    explicit CompareView(QWidget* parent = nullptr);

    // The last two are shown unless others are chosen already.
    void setChoices(const std::vector<Choice>& choices);
    PictureView& picture() const;

private:
    void show();

    std::vector<Choice> all;
    QComboBox* left;
    QComboBox* right;
    PictureView* view;
};

#endif
