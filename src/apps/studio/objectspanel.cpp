#include "apps/studio/objectspanel.h"

#include "apps/studio/studiotexts.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"

#include <QItemSelectionModel>
#include <QLocale>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

ObjectsPanel::ObjectsPanel(QWidget* parent) : QListWidget(parent) {
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setToolTip(studioText(StudioText::objectsTip));
    setAccessibleName(studioText(StudioText::objects));
    setUniformItemSizes(true);
    // Ends of names tell as much as their beginnings.
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(this, &QListWidget::itemSelectionChanged, this, &ObjectsPanel::selectionChangedByUser);
}

// A patch of the object's colour. Many objects have the same.
QIcon ObjectsPanel::patch(std::uint32_t colour) {
    const auto known = patches.constFind(colour);
    if (known != patches.constEnd()) {
        return *known;
    }
    QPixmap pixels(32, 32);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(128, 128, 128));
    painter.setBrush(QColor(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                            static_cast<int>(colour >> 16 & 0xFFU)));
    painter.drawEllipse(QRectF(4.5, 4.5, 23, 23));
    painter.end();
    QIcon icon(pixels);
    icon.addPixmap(pixels, QIcon::Selected); // the colour tells as much then
    patches.insert(colour, icon);
    return icon;
}

void ObjectsPanel::fill(const StudioModel& model) {
    clear();
    patches.clear();
    const int count = model.numMeshes();
    marked.assign(static_cast<std::size_t>(count), false);
    for (int i = 0; i < count; ++i) {
        const KivMesh& mesh = *model.model().scene->getMesh(static_cast<unsigned int>(i));
        QString name = kivToQt(model.model().meshNames[static_cast<std::size_t>(i)]).simplified();
        if (name.isEmpty() && count == 1) {
            name = model.fileName(); // there is nothing else in the file
        }
        if (name.isEmpty()) {
            name = studioText(StudioText::objectName).arg(i + 1);
        }
        const KivMaterial* const material = mesh.getMaterial();
        auto* const item =
            new QListWidgetItem(patch(material != nullptr ? material->getDiffuse() : 0xFFFFFF), name, this);
        // A long name is shown in part; plain text, as tags in a name are none.
        item->setToolTip(QStringLiteral("<p>%1<br>%2</p>")
                             .arg(name.toHtmlEscaped(),
                                  studioText(StudioText::objectTip).arg(QLocale().toString(mesh.getNumTriangles()))));
    }
}

void ObjectsPanel::show(const StudioModel& model, const StudioState& state) {
    const QSignalBlocker quiet(this);
    if (listed != model.revision()) {
        const std::vector<int> former = selected();
        fill(model);
        listed = model.revision();
        select(former);
    }
    QFont bold = font();
    bold.setBold(true);
    for (std::size_t i = 0; i < marked.size(); ++i) {
        const bool isOwn = state.objects.contains(static_cast<int>(i));
        if (isOwn != marked[i]) {
            marked[i] = isOwn;
            item(static_cast<int>(i))->setData(Qt::FontRole, isOwn ? QVariant(bold) : QVariant());
        }
    }
}

std::vector<int> ObjectsPanel::selected() const {
    std::vector<int> list;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int i = range.top(); i <= range.bottom(); ++i) {
            list.push_back(i);
        }
    }
    std::sort(list.begin(), list.end());
    return list;
}

void ObjectsPanel::select(const std::vector<int>& objects) {
    const QSignalBlocker quiet(this);
    std::vector<int> wanted = objects;
    std::sort(wanted.begin(), wanted.end());
    // At once and by ranges: one by one costs time by the square of their number.
    QItemSelection selection;
    for (std::size_t i = 0; i < wanted.size();) {
        std::size_t end = i + 1;
        while (end < wanted.size() && wanted[end] <= wanted[end - 1] + 1) {
            ++end;
        }
        if (wanted[i] >= 0 && wanted[end - 1] < count()) {
            selection.append(QItemSelectionRange(model()->index(wanted[i], 0), model()->index(wanted[end - 1], 0)));
        }
        i = end;
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (!objects.empty() && item(objects.front()) != nullptr) {
        scrollToItem(item(objects.front()));
    }
    viewport()->update();
}

QString ObjectsPanel::nameOf(int object) const {
    const QListWidgetItem* const found = item(object);
    return found != nullptr ? found->text() : QString();
}
