#include "apps/studio/objectspanel.h"

#include "apps/studio/studiotexts.h"
#include "import/kivmodelobjects.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLocale>
#include <QPainter>
#include <QPixmap>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

constexpr int objectRole = Qt::UserRole; // of groups: -1
// A tree that is deeper is cut there: a file may nest without end.
constexpr int deepest = 60;
// A tree with more rows is opened at its top alone.
constexpr int mostOpen = 200;

int objectOf(const QTreeWidgetItem* item) {
    return item->data(0, objectRole).toInt();
}

// Calls act for each object at or below the item.
template <class Act> void forObjects(const QTreeWidgetItem* item, const Act& act) {
    if (const int object = objectOf(item); object >= 0) {
        act(object);
    }
    for (int i = 0; i < item->childCount(); ++i) {
        forObjects(item->child(i), act);
    }
}

} // namespace

ObjectsPanel::ObjectsPanel(QWidget* parent) : QTreeWidget(parent) {
    setHeaderHidden(true);
    setColumnCount(1);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setToolTip(studioText(StudioText::objectsTip));
    setAccessibleName(studioText(StudioText::objects));
    setUniformRowHeights(true);
    setIndentation(14);
    // Ends of names tell as much as their beginnings.
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(this, &QTreeWidget::itemSelectionChanged, this, &ObjectsPanel::selectionChangedByUser);
    // A group changes all its objects, one by one.
    connect(this, &QTreeWidget::itemChanged, this, [this] {
        if (!std::exchange(isReadingPlanned, true)) {
            QTimer::singleShot(0, this, &ObjectsPanel::readChecks);
        }
    });
}

// A patch of the object's colour; a ghost's is a ring. Many objects have the same.
QIcon ObjectsPanel::patch(std::uint32_t colour, bool isGhost) {
    const quint64 key = colour | static_cast<quint64>(isGhost) << 32;
    const auto known = patches.constFind(key);
    if (known != patches.constEnd()) {
        return *known;
    }
    QPixmap pixels(32, 32);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor shown(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                       static_cast<int>(colour >> 16 & 0xFFU));
    painter.setPen(isGhost ? QPen(shown, 4) : QPen(QColor(128, 128, 128)));
    painter.setBrush(isGhost ? QBrush(Qt::NoBrush) : QBrush(shown));
    painter.drawEllipse(isGhost ? QRectF(6.5, 6.5, 19, 19) : QRectF(4.5, 4.5, 23, 23));
    painter.end();
    QIcon icon(pixels);
    icon.addPixmap(pixels, QIcon::Selected); // the colour tells as much then
    patches.insert(key, icon);
    return icon;
}

// The item of each node that is a group: one with several objects, or with other groups. Null for the others.
std::vector<QTreeWidgetItem*> ObjectsPanel::makeGroups(const KivModel& model, QList<QTreeWidgetItem*>* top) {
    const std::size_t count = model.nodes.size();
    std::vector<int> direct(count, 0);
    std::vector<bool> isParent(count, false);
    for (const int node : model.meshNodes) {
        if (node >= 0) {
            ++direct[static_cast<std::size_t>(node)];
        }
    }
    for (const int node : model.meshNodes) {
        for (int at = node < 0 ? -1 : model.nodes[static_cast<std::size_t>(node)].parent;
             at >= 0 && !isParent[static_cast<std::size_t>(at)];
             at = model.nodes[static_cast<std::size_t>(at)].parent) {
            isParent[static_cast<std::size_t>(at)] = true;
        }
    }
    std::vector<QTreeWidgetItem*> groups(count, nullptr);
    std::vector<int> depth(count, 0);
    for (std::size_t i = 0; i < count; ++i) {
        const int parent = model.nodes[i].parent;
        QTreeWidgetItem* const above = parent >= 0 ? groups[static_cast<std::size_t>(parent)] : nullptr;
        depth[i] = parent >= 0 ? depth[static_cast<std::size_t>(parent)] + 1 : 0;
        if (!isParent[i] && direct[i] < 2) {
            continue;
        }
        if (depth[i] > deepest) {
            groups[i] = above;
            continue;
        }
        QString name = kivToQt(model.nodes[i].name).simplified();
        if (name.isEmpty()) {
            name = studioText(StudioText::namelessGroup);
        }
        groups[i] = new QTreeWidgetItem({name});
        groups[i]->setData(0, objectRole, -1);
        groups[i]->setToolTip(0, QStringLiteral("<p>%1</p>").arg(name.toHtmlEscaped()));
        groups[i]->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable |
                            Qt::ItemIsAutoTristate);
        if (above != nullptr) {
            above->addChild(groups[i]);
        } else {
            top->append(groups[i]);
        }
    }
    return groups;
}

QString ObjectsPanel::nameIn(const StudioModel& model, int object, bool isGrouped) const {
    const KivModel& read = model.model();
    const auto place = static_cast<std::size_t>(object);
    const int node = read.meshNodes[place];
    QString name;
    if (node >= 0 && !isGrouped) {
        name = kivToQt(read.nodes[static_cast<std::size_t>(node)].name).simplified();
    }
    if (name.isEmpty()) {
        name = kivToQt(read.meshNames[place]).simplified();
    }
    if (name.isEmpty() && model.numMeshes() == 1) {
        name = model.fileName(); // there is nothing else in the file
    }
    return name.isEmpty() ? studioText(StudioText::objectName).arg(object + 1) : name;
}

void ObjectsPanel::addObject(const StudioModel& model, int object, const std::vector<QTreeWidgetItem*>& groups,
                             QList<QTreeWidgetItem*>* top) {
    const KivModel& read = model.model();
    const int node = read.meshNodes[static_cast<std::size_t>(object)];
    QTreeWidgetItem* const own = node >= 0 ? groups[static_cast<std::size_t>(node)] : nullptr;
    const int parent = node >= 0 ? read.nodes[static_cast<std::size_t>(node)].parent : -1;
    QTreeWidgetItem* const above = own != nullptr ? own
                                   : parent >= 0  ? groups[static_cast<std::size_t>(parent)]
                                                  : nullptr;
    const QString name = nameIn(model, object, own != nullptr);
    auto* const item = new QTreeWidgetItem({name});
    const KivMesh& mesh = *read.scene->getMesh(static_cast<unsigned int>(object));
    const KivMaterial* const material = mesh.getMaterial();
    const std::uint32_t colour = material != nullptr ? material->getDiffuse() : 0xFFFFFF;
    item->setData(0, objectRole, object);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    item->setCheckState(0, Qt::Checked);
    item->setIcon(0, patch(colour, false));
    // A long name is shown in part; plain text, as tags in a name are none.
    item->setToolTip(0, QStringLiteral("<p>%1<br>%2</p>")
                            .arg(name.toHtmlEscaped(),
                                 studioText(StudioText::objectTip).arg(QLocale().toString(mesh.getNumTriangles()))));
    items.push_back(item);
    colours.push_back(colour);
    if (above != nullptr) {
        above->addChild(item);
    } else {
        top->append(item);
    }
}

void ObjectsPanel::fill(const StudioModel& model) {
    clear();
    patches.clear();
    items.clear();
    colours.clear();
    paths.clear();
    pattern.clear();
    QList<QTreeWidgetItem*> top;
    const std::vector<QTreeWidgetItem*> groups = makeGroups(model.model(), &top);
    for (int i = 0; i < model.numMeshes(); ++i) {
        addObject(model, i, groups, &top);
        paths.push_back(kivObjectPath(model.model(), static_cast<std::size_t>(i)));
    }
    marks.assign(items.size(), {});
    const bool isTree =
        std::any_of(groups.begin(), groups.end(), [](const QTreeWidgetItem* each) { return each != nullptr; });
    setRootIsDecorated(isTree);
    addTopLevelItems(top);
    if (items.size() <= mostOpen) {
        expandAll();
    } else {
        for (QTreeWidgetItem* const each : top) {
            each->setExpanded(true);
        }
    }
}

void ObjectsPanel::mark(int object, const StudioObjectState& state, bool isOwn) {
    QTreeWidgetItem* const marked = items[static_cast<std::size_t>(object)];
    Marks& former = marks[static_cast<std::size_t>(object)];
    if (former == Marks{state, isOwn}) {
        return;
    }
    former = {state, isOwn};
    QFont letters = font();
    letters.setBold(isOwn);
    letters.setItalic(state.ghost);
    marked->setData(0, Qt::FontRole, isOwn || state.ghost ? QVariant(letters) : QVariant());
    marked->setIcon(0, patch(state.colour.value_or(colours[static_cast<std::size_t>(object)]), state.ghost));
    marked->setCheckState(0, state.hidden ? Qt::Unchecked : Qt::Checked);
}

void ObjectsPanel::show(const StudioModel& model, const StudioState& state) {
    const QSignalBlocker quiet(this);
    if (revision != model.revision()) {
        const std::vector<int> former = selected();
        fill(model);
        revision = model.revision();
        select(former);
    }
    for (int i = 0; i < count(); ++i) {
        mark(i, state.shown.at(i), state.objects.contains(i));
    }
}

void ObjectsPanel::readChecks() {
    isReadingPlanned = false;
    std::vector<int> hidden;
    bool isChanged = false;
    for (int i = 0; i < count(); ++i) {
        const auto place = static_cast<std::size_t>(i);
        const bool isHidden = items[place]->checkState(0) == Qt::Unchecked;
        isChanged = isChanged || isHidden != marks[place].state.hidden;
        if (isHidden) {
            hidden.push_back(i);
        }
    }
    if (isChanged) {
        emit hiddenChanged(hidden);
    }
}

std::vector<int> ObjectsPanel::selected() const {
    std::vector<int> list;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int i = range.top(); i <= range.bottom(); ++i) {
            if (const QTreeWidgetItem* const item = itemFromIndex(model()->index(i, 0, range.parent()))) {
                forObjects(item, [&list](int object) { list.push_back(object); });
            }
        }
    }
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

void ObjectsPanel::select(const std::vector<int>& objects) {
    const QSignalBlocker quiet(this);
    QModelIndexList rows;
    for (const int object : objects) {
        if (QTreeWidgetItem* const found = item(object)) {
            rows.append(indexFromItem(found));
        }
    }
    // The rows of one parent together.
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) {
        return std::pair(a.parent(), a.row()) < std::pair(b.parent(), b.row());
    });
    // At once and by ranges: one by one costs time by the square of their number.
    QItemSelection selection;
    for (qsizetype i = 0; i < rows.size();) {
        qsizetype end = i + 1;
        while (end < rows.size() && rows[end].parent() == rows[i].parent() &&
               rows[end].row() <= rows[end - 1].row() + 1) {
            ++end;
        }
        selection.append(QItemSelectionRange(rows[i], rows[end - 1]));
        i = end;
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (!objects.empty() && item(objects.front()) != nullptr) {
        scrollToItem(item(objects.front()));
    }
    viewport()->update();
}

QString ObjectsPanel::nameOf(int object) const {
    const QTreeWidgetItem* const found = item(object);
    return found != nullptr ? found->text(0) : QString();
}

int ObjectsPanel::count() const {
    return static_cast<int>(items.size());
}

QTreeWidgetItem* ObjectsPanel::item(int object) const {
    return object >= 0 && object < count() ? items[static_cast<std::size_t>(object)] : nullptr;
}

// Whether anything of it stays in sight.
bool ObjectsPanel::filterBelow(QTreeWidgetItem* at) {
    bool isSeen = false;
    if (const int object = objectOf(at); object >= 0) {
        isSeen = pattern.empty() || kivIsObject(paths[static_cast<std::size_t>(object)], pattern) ||
                 kivIsObject(kivFromQt(at->text(0)), pattern);
    }
    for (int i = 0; i < at->childCount(); ++i) {
        isSeen = filterBelow(at->child(i)) || isSeen;
    }
    at->setHidden(!isSeen);
    return isSeen;
}

void ObjectsPanel::filter(const QString& text) {
    pattern = kivFromQt(text.trimmed());
    if (!pattern.empty() && pattern.find_first_of(L"*?/") == std::wstring::npos) {
        pattern = L"*" + pattern + L"*";
    }
    const QSignalBlocker quiet(this);
    for (int i = 0; i < topLevelItemCount(); ++i) {
        filterBelow(topLevelItem(i));
    }
    if (!pattern.empty()) {
        expandAll();
    }
}

std::vector<int> ObjectsPanel::listed() const {
    std::vector<int> list;
    for (int i = 0; i < count(); ++i) {
        if (!items[static_cast<std::size_t>(i)]->isHidden()) {
            list.push_back(i);
        }
    }
    return list;
}
