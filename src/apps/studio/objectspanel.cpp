#include "apps/studio/objectspanel.h"

#include "apps/studio/studiotexts.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"

#include <QLocale>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

namespace {

// A patch of the object's colour.
QIcon patch(const KivMesh& mesh) {
    const KivMaterial* const material = mesh.getMaterial();
    const std::uint32_t colour = material != nullptr ? material->getDiffuse() : 0xFFFFFF;
    QPixmap pixels(32, 32);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QColor(128, 128, 128));
    painter.setBrush(QColor(static_cast<int>(colour & 0xFFU), static_cast<int>(colour >> 8 & 0xFFU),
                            static_cast<int>(colour >> 16 & 0xFFU)));
    painter.drawEllipse(QRectF(4.5, 4.5, 23, 23));
    QIcon icon(pixels);
    icon.addPixmap(pixels, QIcon::Selected); // the colour tells as much then
    return icon;
}

} // namespace

ObjectsPanel::ObjectsPanel(QWidget* parent) : QListWidget(parent) {
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setToolTip(studioText(StudioText::objectsTip));
    setAccessibleName(studioText(StudioText::objects));
    setUniformItemSizes(true);
    connect(this, &QListWidget::itemSelectionChanged, this, &ObjectsPanel::selectionChangedByUser);
}

void ObjectsPanel::show(const StudioModel& model, const StudioState& state) {
    const std::vector<int> former = selected();
    const QSignalBlocker quiet(this);
    clear();
    for (int i = 0; i < model.numMeshes(); ++i) {
        const KivMesh& mesh = *model.model().scene->getMesh(static_cast<unsigned int>(i));
        QString name = kivToQt(model.model().meshNames[static_cast<std::size_t>(i)]).simplified();
        if (name.isEmpty()) {
            name = studioText(StudioText::objectName).arg(i + 1);
        }
        auto* const item = new QListWidgetItem(patch(mesh), name, this);
        item->setToolTip(studioText(StudioText::objectTip).arg(QLocale().toString(mesh.getNumTriangles())));
        if (state.objects.contains(i)) {
            QFont bold = font();
            bold.setBold(true);
            item->setFont(bold);
        }
    }
    select(former);
}

std::vector<int> ObjectsPanel::selected() const {
    std::vector<int> list;
    for (const QListWidgetItem* const item : selectedItems()) {
        list.push_back(row(item));
    }
    std::sort(list.begin(), list.end());
    return list;
}

void ObjectsPanel::select(const std::vector<int>& objects) {
    const QSignalBlocker quiet(this);
    clearSelection();
    for (const int object : objects) {
        if (QListWidgetItem* const found = item(object)) {
            found->setSelected(true);
        }
    }
    if (!objects.empty() && item(objects.front()) != nullptr) {
        scrollToItem(item(objects.front()));
    }
    viewport()->update();
}
