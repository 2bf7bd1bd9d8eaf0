// The list of the model's objects: those that are selected have their look edited together.
#ifndef APPS_STUDIO_OBJECTSPANEL_H
#define APPS_STUDIO_OBJECTSPANEL_H

#include "apps/studio/studiomodel.h"

#include <QListWidget>

#include <vector>

class ObjectsPanel : public QListWidget {
    Q_OBJECT

public:
    explicit ObjectsPanel(QWidget* parent = nullptr);

    void show(const StudioModel& model, const StudioState& state);
    std::vector<int> selected() const;
    // Without the signal.
    void select(const std::vector<int>& objects);

signals:
    void selectionChangedByUser();
};

#endif
