// The tree of the model's objects by the names in its file: those that are selected have their look edited together,
// and those without a check mark are not drawn.
#ifndef APPS_STUDIO_OBJECTSPANEL_H
#define APPS_STUDIO_OBJECTSPANEL_H

#include "apps/studio/studiomodel.h"

#include <QHash>
#include <QIcon>
#include <QTreeWidget>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class ObjectsPanel : public QTreeWidget {
    Q_OBJECT

public:
    explicit ObjectsPanel(QWidget* parent = nullptr);

    // Lists the objects anew if the model is another, and marks those with a look or a state of their own. What is
    // selected, the current item and the place of the list stay.
    void show(const StudioModel& model, const StudioState& state);
    // Numbers of objects, ascending; a group that is selected stands for all below it.
    std::vector<int> selected() const;
    // Without the signal.
    void select(const std::vector<int>& objects);
    QString nameOf(int object) const;
    int count() const; // of objects
    QTreeWidgetItem* item(int object) const;
    // Leaves those in sight that the pattern means (import/kivmodelobjects.h), or without a wildcard those with the
    // text in one of their names; empty for all.
    void filter(const QString& text);
    // Those in sight, whether or not they are scrolled to.
    std::vector<int> listed() const;

signals:
    void selectionChangedByUser();
    // Check marks were set or taken away: the objects that now have none.
    void hiddenChanged(const std::vector<int>& objects);

private:
    void fill(const StudioModel& model);
    std::vector<QTreeWidgetItem*> makeGroups(const KivModel& model, QList<QTreeWidgetItem*>* top);
    void addObject(const StudioModel& model, int object, const std::vector<QTreeWidgetItem*>& groups,
                   QList<QTreeWidgetItem*>* top);
    QString nameIn(const StudioModel& model, int object, bool isGrouped) const;
    void mark(int object, const StudioObjectState& state, bool isOwn);
    void readChecks();
    bool filterBelow(QTreeWidgetItem* item);
    QIcon patch(std::uint32_t colour, bool isGhost);

    std::optional<std::uint64_t> revision; // of the model that is listed
    QHash<quint64, QIcon> patches;
    std::vector<QTreeWidgetItem*> items; // by object
    std::vector<std::uint32_t> colours;  // of the file, by object
    std::vector<std::wstring> paths;
    struct Marks {
        StudioObjectState state;
        bool isOwn = false;

        bool operator==(const Marks&) const = default;
    };
    std::vector<Marks> marks;
    std::wstring pattern;
    bool isReadingPlanned = false;
};

#endif
