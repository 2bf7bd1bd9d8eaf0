#include "apps/studio/drawingpage.h"

#include "apps/studio/drawingfile.h"
#include "apps/studio/drawingform.h"
#include "apps/studio/studiotexts.h"

#include <QHeaderView>
#include <QLocale>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int numberRole = Qt::UserRole;

QString layerName(int kind) {
    return kind == areaLayer ? studioText(StudioText::areasLayer)
                             : strokeKindName(kind == hiddenLayer ? kivStrokeKinds : kind);
}

QString sizeText(const KivSheetPlace& place) {
    const QLocale locale;
    const auto length = [&](double v) { return locale.toString(v, 'f', 1); };
    return studioText(StudioText::sheetFacts)
        .arg(length(place.pageWidth), length(place.pageHeight), length(place.drawnWidth), length(place.drawnHeight));
}

} // namespace

DrawingPage::DrawingPage(QWidget* parent) : QWidget(parent) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto* const parts = new QSplitter(Qt::Horizontal, this);
    column->addWidget(parts);
    canvas = new DrawingView(parts);
    auto* const side = new QSplitter(Qt::Vertical, parts);
    list = new QTreeWidget(side);
    list->setHeaderHidden(true);
    list->setColumnCount(2);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    list->setAccessibleName(studioText(StudioText::layers));
    list->setToolTip(studioText(StudioText::layersTip));
    auto* const scroll = new QScrollArea(side);
    form = new DrawingForm(scroll);
    form->hideAreas();
    form->setContentsMargins(6, 6, 6, 6);
    scroll->setWidget(form);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    parts->setStretchFactor(0, 1);
    parts->setSizes({700, 270});
    side->setSizes({400, 320});
    // A heading changes all its layers, one by one.
    connect(list, &QTreeWidget::itemChanged, this, [this] {
        if (!std::exchange(isReadingPlanned, true)) {
            QTimer::singleShot(0, this, &DrawingPage::readLayers);
        }
    });
    connect(form, &DrawingForm::changed, this, [this] {
        listLayers();
        showDrawing();
        emit optionsChanged();
    });
}

DrawingView* DrawingPage::view() const {
    return canvas;
}

void DrawingPage::setDrawing(std::shared_ptr<const CollectedDrawing> made, const DrawingOptions& options,
                             bool background) {
    drawing = std::move(made);
    hasBackground = background;
    switched = {};
    form->setOptions(options);
    listLayers();
    showDrawing();
}

const DrawingOptions& DrawingPage::options() const {
    return form->options();
}

void DrawingPage::setOptions(const DrawingOptions& options) {
    form->setOptions(options);
    listLayers();
    showDrawing();
}

const DrawingLayers& DrawingPage::layers() const {
    return switched;
}

KivVectorDrawing DrawingPage::shown() const {
    return drawing != nullptr ? shownPart(drawing->drawing, switched) : KivVectorDrawing();
}

KivSheet DrawingPage::sheet() const {
    return drawing != nullptr ? drawing->sheetFor(form->options(), hasBackground) : KivSheet();
}

QTreeWidgetItem* DrawingPage::addLayer(QTreeWidgetItem* parent, const QString& name, std::size_t count, int number) {
    auto* const item = new QTreeWidgetItem(parent, {name, QLocale().toString(static_cast<qulonglong>(count))});
    item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
    item->setData(0, numberRole, number);
    return item;
}

// Only what there is. The hidden lines have their check mark from the sheet, which says how they look.
void DrawingPage::listLayers() {
    if (drawing == nullptr) {
        return;
    }
    const QSignalBlocker quiet(list);
    switched.kinds[hiddenLayer] = form->options().sheet.hidden == KivSheet::Hidden::none;
    list->clear();
    const auto heading = [this](StudioText text) {
        auto* const item = new QTreeWidgetItem(list, {studioText(text)});
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsAutoTristate);
        item->setExpanded(true);
        item->setFirstColumnSpanned(true);
        return item;
    };
    const auto mark = [](QTreeWidgetItem* item, bool isOff) {
        item->setCheckState(0, isOff ? Qt::Unchecked : Qt::Checked);
    };
    const DrawingContent content(drawing->drawing);
    kindsItem = heading(StudioText::areasAndLines);
    for (const int kind : {areaLayer, 0, 1, 2, 3, 4, 5, 6, 7, hiddenLayer}) {
        const auto place = static_cast<std::size_t>(kind);
        if (content.kinds[place] > 0) {
            mark(addLayer(kindsItem, layerName(kind), content.kinds[place], kind), switched.kinds[place]);
        }
    }
    objectsItem = heading(StudioText::objects);
    for (std::size_t i = 0; i < content.objects.size(); ++i) {
        if (content.objects[i] > 0) {
            QString name = kivToQt(drawing->drawing.objects[i].name).simplified();
            name = i == 0           ? studioText(StudioText::noObject)
                   : name.isEmpty() ? studioText(StudioText::objectName).arg(i)
                                    : name;
            mark(addLayer(objectsItem, name, content.objects[i], static_cast<int>(i)),
                 switched.objects.contains(static_cast<std::uint32_t>(i)));
        }
    }
}

void DrawingPage::readLayers() {
    isReadingPlanned = false;
    const auto isOff = [](const QTreeWidgetItem* item) { return item->checkState(0) == Qt::Unchecked; };
    const auto numberOf = [](const QTreeWidgetItem* item) { return item->data(0, numberRole).toInt(); };
    for (int i = 0; i < kindsItem->childCount(); ++i) {
        switched.kinds[static_cast<std::size_t>(numberOf(kindsItem->child(i)))] = isOff(kindsItem->child(i));
    }
    switched.objects.clear();
    for (int i = 0; i < objectsItem->childCount(); ++i) {
        if (isOff(objectsItem->child(i))) {
            switched.objects.insert(static_cast<std::uint32_t>(numberOf(objectsItem->child(i))));
        }
    }
    DrawingOptions options = form->options();
    if (switched.kinds[hiddenLayer] != (options.sheet.hidden == KivSheet::Hidden::none)) {
        options.sheet.hidden = switched.kinds[hiddenLayer] ? KivSheet::Hidden::none : KivSheet::Hidden::dashed;
        form->setOptions(options);
        emit optionsChanged();
    }
    showDrawing();
}

void DrawingPage::showDrawing() {
    if (drawing == nullptr) {
        return;
    }
    const KivVectorDrawing part = shown();
    const KivSheet wanted = sheet();
    canvas->setDrawing(part, wanted);
    const KivSheetPlace place = kivPlaceOnSheet(part, wanted, KivDrawingFormat::svg);
    form->setOutcome(place.problem == KivSheetProblem::none ? sizeText(place) : sheetProblemText(place, wanted));
    emit shownChanged();
}
