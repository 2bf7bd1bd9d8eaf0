// The list of the model's objects: those that are selected have their look edited together.
#ifndef APPS_STUDIO_OBJECTSPANEL_H
#define APPS_STUDIO_OBJECTSPANEL_H

#include "apps/studio/studiomodel.h"

#include <QHash>
#include <QIcon>
#include <QListWidget>

#include <cstdint>
#include <optional>
#include <vector>

class ObjectsPanel : public QListWidget {
    Q_OBJECT

public:
    explicit ObjectsPanel(QWidget* parent = nullptr);

    // Lists the objects anew if the model is another, and marks those with a look of their own. What is selected, the
    // current item and the place of the list stay.
    void show(const StudioModel& model, const StudioState& state);
    // Ascending.
    std::vector<int> selected() const;
    // Without the signal.
    void select(const std::vector<int>& objects);
    QString nameOf(int object) const;

signals:
    void selectionChangedByUser();

private:
    void fill(const StudioModel& model);
    QIcon patch(std::uint32_t colour);

    std::optional<std::uint64_t> listed; // the model's revision
    QHash<std::uint32_t, QIcon> patches;
    std::vector<bool> marked;
};

#endif
