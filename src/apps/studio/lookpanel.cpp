#include "apps/studio/lookpanel.h"

#include "apps/studio/studiotexts.h"
#include "kivrender/settings/kivstreamhead.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <unordered_map>

namespace {

// The style that a stream names in its first cell, if any.
QString styleOf(const std::vector<KivProperty>& cells) {
    if (cells.empty() || cells.front().getType() != KivProperty::String) {
        return {};
    }
    std::wstring line;
    cells.front().getValue(line);
    const wchar_t* const name = kivBehindHeader(line.c_str(), kivStyleHeader);
    return name != nullptr ? kivToQt(name) : QString();
}

} // namespace

// Drawn four times as large with lines four times as wide; the window reduces it to what its screen has of pixels.
void LookDialog::fillPreviewCommonSettings(KivCommonSettings* settings) const {
    KivPropertiesDlg::fillPreviewCommonSettings(settings);
    constexpr int smoothing = 2;
    const SIZE shown = settings->getResolution();
    settings->setAntialias(smoothing);
    settings->setResolution({shown.cx << smoothing, shown.cy << smoothing});
}

LookPanel::LookPanel(QWidget* parent)
    : QWidget(parent), frame(this), panel(&frame), heading(new QLabel(this)), drop(new QPushButton(this)) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(10, 6, 8, 0);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    drop->setText(studioText(StudioText::asPicture));
    drop->setToolTip(studioText(StudioText::asPictureTip));
    // Its place stays while it is hidden: nothing below moves when it comes.
    QSizePolicy kept = drop->sizePolicy();
    kept.setRetainSizeWhenHidden(true);
    drop->setSizePolicy(kept);
    heading->setTextFormat(Qt::PlainText); // names of objects come in it
    row->addWidget(heading, 1);
    row->addWidget(drop);
    column->addLayout(row);
    connect(drop, &QPushButton::clicked, this, &LookPanel::ownLooksDropped);
    // The dialog's word that the user's hand has come to rest.
    frame.setReceiver([this](unsigned int message, std::uintptr_t, std::intptr_t) {
        if (message == KivPropertiesDlg::previewMessage) {
            flush();
        }
    });
    if (panel.Create(&document, &options, KivPropertiesDlg::propertiesTemplate, &frame) != 0) {
        QWidget* const widget = KivQtWindow::widgetOf(panel.getWindow());
        widget->setParent(this, Qt::Widget); // no window of its own here
        column->addWidget(widget, 1);
        panel.getWindow()->show(true);
        for (QComboBox* const combo : widget->findChildren<QComboBox*>()) {
            if (combo->property("control").toInt() == KivPropertiesDlg::stylesCombo) {
                stylesBox = combo;
                // A chosen style is shown at once, and no rest of the hand is waited for.
                connect(combo, &QComboBox::activated, this, [this] { QTimer::singleShot(0, this, &LookPanel::flush); });
            }
        }
    }
    setHeading();
}

LookPanel::~LookPanel() {
    panel.DestroyWindow();
}

QComboBox* LookPanel::styles() const {
    return stylesBox;
}

KivPropertiesDlg& LookPanel::dialog() {
    return panel;
}

void LookPanel::show(const StudioState& state, const std::vector<int>& objects, const QString& name) {
    flush();
    selected = objects;
    objectName = name;
    options = state.options;
    document = state.look.stream();
    gather(state);
    if (selected.empty()) {
        panel.setData(&document);
    } else {
        panel.setData(&average);
    }
    panel.changesWritten();
    style = shownStyle();
    setHeading();
}

// Objects that share a look share what is made of it.
void LookPanel::gather(const StudioState& state) {
    own.clear();
    ownOf.clear();
    hasOwn = false;
    std::unordered_map<const void*, std::size_t> known;
    std::vector<std::size_t> users;
    for (const int object : selected) {
        const auto found = state.objects.find(object);
        hasOwn = hasOwn || found != state.objects.end();
        const StudioLook& look = found != state.objects.end() ? found->second : state.look;
        const auto [place, isNew] = known.try_emplace(look.place(), own.size());
        if (isNew) {
            own.push_back(look.stream());
            users.push_back(0);
        }
        ownOf.push_back(place->second);
        ++users[place->second];
    }
    std::vector<KivDataManager*> managers;
    for (std::size_t i = 0; i < own.size(); ++i) {
        managers.push_back(&own[i]);
        if (users[i] > 1) {
            managers.push_back(&own[i]); // a number that is none differs from that of the next object too
        }
    }
    average.clearData();
    average.buildAverageData(managers);
}

QString LookPanel::shownStyle() const {
    return styleOf(selected.empty() ? document.getCells() : KivMemoryDataManager(average).getCells());
}

QString LookPanel::chosenStyle() const {
    return chosen;
}

void LookPanel::setHeading() {
    constexpr int roomForName = 170; // pixels, as the heading must not widen the panel
    const bool isNamed = selected.size() == 1 && !objectName.isEmpty();
    const QString name = heading->fontMetrics().elidedText(objectName, Qt::ElideMiddle, roomForName);
    heading->setToolTip(isNamed ? objectName.toHtmlEscaped() : QString());
    heading->setText(selected.empty()       ? studioText(StudioText::lookOfPicture)
                     : isNamed              ? studioText(StudioText::lookOfNamed).arg(name)
                     : selected.size() == 1 ? studioText(StudioText::lookOfOne)
                                            : studioText(StudioText::lookOfObjects).arg(selected.size()));
    drop->setVisible(hasOwn);
}

void LookPanel::flush() {
    if (panel.isChanged()) {
        commit();
    }
}

void LookPanel::commit() {
    panel.saveData();
    panel.changesWritten();
    const QString former = style;
    style = shownStyle();
    chosen = style != former ? style : QString();
    if (!selected.empty()) {
        std::vector<KivDataManager*> managers;
        for (KivMemoryDataManager& each : own) {
            each.setSaving();
            managers.push_back(&each);
        }
        average.rebuildObjectsDataFromAverageData(managers);
        hasOwn = true;
        setHeading();
    }
    emit changed(!selected.empty());
}

void LookPanel::write(StudioState* state) const {
    if (selected.empty()) {
        state->look = document;
        return;
    }
    const std::vector<StudioLook> looks(own.begin(), own.end());
    StudioObjectLooks::Map& objects = state->objects.edit();
    for (std::size_t i = 0; i < selected.size(); ++i) {
        objects[selected[i]] = looks[ownOf[i]];
    }
}
