#include "apps/studio/drawingform.h"

#include "apps/document/drawingjson.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace {

constexpr double largestPaper = 10000.0; // millimetres, of what can be typed
constexpr double widestPen = 20.0;
constexpr double paperMargin = 10.0;
constexpr double fitMargin = 2.0;

// The first entries of the list of pages, and the last one, behind all papers.
constexpr int pictureEntry = 0;
constexpr int fitEntry = 1;
constexpr int firstPaper = 2;

constexpr const char* papers[] = {"A4", "A3", "A2", "A1", "A0", "A5", "A6", "Letter", "Legal", "Tabloid"};
constexpr int ownPaper = firstPaper + static_cast<int>(std::size(papers));
constexpr const char* scales[] = {"1:100", "1:50", "1:20", "1:10", "1:5", "1:2", "1:1", "2:1", "5:1", "10:1"};
constexpr const char* shownUnits[] = {"um", "mm", "cm", "m", "in", "ft"};

// Of the list of line groups: as drawn, the groups, and own widths.
constexpr int asDrawn = 0;

QStringList lineGroups() {
    return QString::fromLatin1(kivLineGroupNames()).split(QLatin1Char(' '));
}

bool hasPens(const KivSheet& sheet) {
    return sheet.hiddenPen > 0.0 ||
           std::any_of(std::begin(sheet.pen), std::end(sheet.pen), [](double pen) { return pen > 0.0; });
}

bool hasSamePens(const KivSheet& a, const KivSheet& b) {
    return std::ranges::equal(a.pen, b.pen) && a.hiddenPen == b.hiddenPen;
}

// The entry of a paper of that size, lying or standing; that of papers of one's own for others.
int paperEntry(const KivSheet& sheet) {
    const auto isNear = [](double a, double b) { return std::abs(a - b) < 0.05; };
    for (int i = 0; i < static_cast<int>(std::size(papers)); ++i) {
        KivSheet known;
        kivReadPage(papers[i], &known);
        if ((isNear(known.width, sheet.width) && isNear(known.height, sheet.height)) ||
            (isNear(known.width, sheet.height) && isNear(known.height, sheet.width))) {
            return firstPaper + i;
        }
    }
    return ownPaper;
}

constexpr std::pair<KivDrawingCollector::Textures, StudioText> textureKinds[] = {
    {KivDrawingCollector::Textures::areas, StudioText::texturesAreas},
    {KivDrawingCollector::Textures::pictures, StudioText::texturesPictures},
    {KivDrawingCollector::Textures::mean, StudioText::texturesMean},
};

QString scaleText(double scale) {
    for (const char* const text : scales) {
        double known = 0.0;
        if (kivReadScale(text, &known) && std::abs(known - scale) <= 1e-9 * scale) {
            return QString::fromLatin1(text);
        }
    }
    return scale < 1.0 ? QStringLiteral("1:") + QString::number(1.0 / scale, 'g', 10)
                       : QString::number(scale, 'g', 10) + QStringLiteral(":1");
}

} // namespace

QString strokeKindName(int kind) {
    constexpr StudioText names[] = {StudioText::contours, StudioText::boundaries,    StudioText::creases,
                                    StudioText::edges,    StudioText::materialEdges, StudioText::intersections,
                                    StudioText::ownLines, StudioText::tangentEdges,  StudioText::hiddenLines};
    static_assert(std::size(names) == kivStrokeKinds + 1);
    return studioText(names[kind]);
}

DrawingForm::DrawingForm(QWidget* parent) : QWidget(parent), chosen(plainDrawingOptions()) {
    rows = new QFormLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    areas = addCombo(rows, StudioText::drawingAreas, StudioText::drawingAreasTip);
    areas->addItems({studioText(StudioText::areasRegions), studioText(StudioText::areasFaces),
                     studioText(StudioText::areasTriangles)});
    textures = addCombo(rows, StudioText::drawingTextures, StudioText::drawingTexturesTip);
    for (const auto& [value, text] : textureKinds) {
        textures->addItem(studioText(text), static_cast<int>(value));
    }
    makePage(rows);
    makeLines(rows);
    makePens(rows);
    outcome = new QLabel(this);
    outcome->setWordWrap(true);
    outcome->setTextFormat(Qt::PlainText);
    rows->addRow(outcome);
    for (QComboBox* const each : {areas, textures, paper, unit, hidden, group}) {
        connect(each, &QComboBox::activated, this, &DrawingForm::edit);
    }
    connect(scale, &QComboBox::activated, this, &DrawingForm::edit);
    connect(scale->lineEdit(), &QLineEdit::editingFinished, this, &DrawingForm::edit);
    connect(landscape, &QCheckBox::clicked, this, &DrawingForm::edit);
    for (QDoubleSpinBox* const each : {width, height, margin}) {
        connect(each, &QDoubleSpinBox::valueChanged, this, &DrawingForm::edit);
    }
    for (QDoubleSpinBox* const each : pens) {
        connect(each, &QDoubleSpinBox::valueChanged, this, &DrawingForm::edit);
    }
    show();
}

QComboBox* DrawingForm::addCombo(QFormLayout* form, StudioText label, StudioText tip) {
    auto* const combo = new QComboBox(this);
    combo->setToolTip(studioText(tip));
    combo->setAccessibleName(studioText(label));
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setMinimumContentsLength(14);
    form->addRow(studioText(label), combo);
    return combo;
}

QDoubleSpinBox* DrawingForm::addLength(QFormLayout* form, StudioText label, double largest) {
    auto* const field = new QDoubleSpinBox(this);
    field->setRange(0.0, largest);
    field->setDecimals(1);
    field->setSuffix(QStringLiteral(" mm"));
    field->setKeyboardTracking(false);
    field->setAccessibleName(studioText(label));
    form->addRow(studioText(label), field);
    return field;
}

void DrawingForm::makePage(QFormLayout* form) {
    paper = addCombo(form, StudioText::drawingPage, StudioText::drawingPageTip);
    paper->addItem(studioText(StudioText::pagePicture));
    paper->addItem(studioText(StudioText::pageFit));
    for (const char* const name : papers) {
        paper->addItem(QString::fromLatin1(name));
    }
    paper->addItem(studioText(StudioText::pageOwn));
    width = addLength(form, StudioText::pageWidth, largestPaper);
    height = addLength(form, StudioText::pageHeight, largestPaper);
    landscape = new QCheckBox(studioText(StudioText::landscape), this);
    form->addRow(QString(), landscape);
    margin = addLength(form, StudioText::pageMargin, largestPaper);
    scale = addCombo(form, StudioText::drawingScale, StudioText::drawingScaleTip);
    scale->setEditable(true);
    scale->setInsertPolicy(QComboBox::NoInsert);
    scale->addItem(studioText(StudioText::scaleFree));
    for (const char* const text : scales) {
        scale->addItem(QString::fromLatin1(text));
    }
    unit = addCombo(form, StudioText::modelUnit, StudioText::modelUnitTip);
    unit->addItem(studioText(StudioText::unitOfFile));
    for (const char* const name : shownUnits) {
        unit->addItem(std::strcmp(name, "um") == 0 ? QStringLiteral("\u00B5m") : QString::fromLatin1(name));
    }
}

void DrawingForm::makeLines(QFormLayout* form) {
    hidden = addCombo(form, StudioText::hiddenLines, StudioText::hiddenLinesTip);
    hidden->addItems(
        {studioText(StudioText::hiddenNone), studioText(StudioText::hiddenThin), studioText(StudioText::hiddenDashed)});
    group = addCombo(form, StudioText::lineGroup, StudioText::lineGroupTip);
    group->addItem(studioText(StudioText::linesAsDrawn));
    for (const QString& name : lineGroups()) {
        group->addItem(QStringLiteral("ISO 128: ") + QLocale().toString(name.toDouble()) + QStringLiteral(" mm"));
    }
    group->addItem(studioText(StudioText::linesOwn));
}

void DrawingForm::makePens(QFormLayout* form) {
    penBox = new QWidget(this);
    auto* const grid = new QFormLayout(penBox);
    grid->setContentsMargins(0, 0, 0, 0);
    for (std::size_t kind = 0; kind < pens.size(); ++kind) {
        auto* const field = new QDoubleSpinBox(penBox);
        field->setRange(0.0, widestPen);
        field->setDecimals(2);
        field->setSingleStep(0.05);
        field->setSuffix(QStringLiteral(" mm"));
        field->setSpecialValueText(studioText(StudioText::linesAsDrawn));
        field->setKeyboardTracking(false);
        const QString name = strokeKindName(static_cast<int>(kind));
        field->setAccessibleName(name);
        grid->addRow(name, field);
        pens[kind] = field;
    }
    form->addRow(penBox);
}

const DrawingOptions& DrawingForm::options() const {
    return chosen;
}

void DrawingForm::setOptions(const DrawingOptions& options) {
    chosen = options;
    show();
}

void DrawingForm::hideAreas() {
    rows->setRowVisible(areas, false);
    rows->setRowVisible(textures, false);
}

void DrawingForm::setOutcome(const QString& text) {
    outcome->setText(text);
    rows->setRowVisible(outcome, !text.isEmpty());
}

void DrawingForm::readPage() {
    KivSheet& sheet = chosen.sheet;
    const KivSheet::Page before = sheet.page;
    const int entry = paper->currentIndex();
    if (entry == pictureEntry || entry == fitEntry) {
        sheet.page = entry == pictureEntry ? KivSheet::Page::picture : KivSheet::Page::fit;
    } else if (entry == ownPaper) {
        sheet.page = KivSheet::Page::paper;
        sheet.width = std::max(width->value(), 1.0);
        sheet.height = std::max(height->value(), 1.0);
    } else {
        kivReadPage(papers[entry - firstPaper], &sheet);
        if (landscape->isChecked()) {
            std::swap(sheet.width, sheet.height);
        }
    }
    sheet.margin = sheet.page == before                  ? margin->value()
                   : sheet.page == KivSheet::Page::paper ? paperMargin
                                                         : fitMargin;
}

void DrawingForm::readPens() {
    KivSheet& sheet = chosen.sheet;
    const QStringList groups = lineGroups();
    const int entry = group->currentIndex();
    ownPens = entry > groups.size();
    if (entry == asDrawn) {
        std::fill(std::begin(sheet.pen), std::end(sheet.pen), 0.0);
        sheet.hiddenPen = 0.0;
    } else if (!ownPens) {
        kivReadLineGroup(groups[entry - 1].toStdString(), &sheet);
    } else if (penBox->isVisibleTo(this)) {
        for (int kind = 0; kind < kivStrokeKinds; ++kind) {
            sheet.pen[kind] = pens[static_cast<std::size_t>(kind)]->value();
        }
        sheet.hiddenPen = pens.back()->value();
    }
}

// Takes what stands in the fields. A scale that is none becomes the former one.
void DrawingForm::edit() {
    if (isShowing) {
        return;
    }
    const DrawingOptions before = chosen;
    const bool hadOwnPens = ownPens;
    chosen.areas = static_cast<KivDrawingCollector::Areas>(areas->currentIndex());
    chosen.textures = static_cast<KivDrawingCollector::Textures>(textures->currentData().toInt());
    readPage();
    const QString text = scale->currentText().trimmed();
    if (text.isEmpty() || text == studioText(StudioText::scaleFree)) {
        chosen.sheet.scale = 0.0;
    } else {
        kivReadScale(text.toStdString(), &chosen.sheet.scale);
    }
    chosen.unitsChosen = unit->currentIndex() > 0;
    if (chosen.unitsChosen) {
        kivReadUnit(shownUnits[unit->currentIndex() - 1], &chosen.sheet.modelUnit);
    }
    chosen.sheet.hidden = static_cast<KivSheet::Hidden>(hidden->currentIndex());
    readPens();
    show();
    if (!(before == chosen) || hadOwnPens != ownPens) {
        emit changed();
    }
}

void DrawingForm::show() {
    isShowing = true;
    const KivSheet& sheet = chosen.sheet;
    areas->setCurrentIndex(static_cast<int>(chosen.areas));
    textures->setCurrentIndex(textures->findData(static_cast<int>(chosen.textures)));
    textures->setEnabled(chosen.areas == KivDrawingCollector::Areas::regions);
    const bool isPaper = sheet.page == KivSheet::Page::paper;
    const int entry = sheet.page == KivSheet::Page::picture ? pictureEntry
                      : sheet.page == KivSheet::Page::fit   ? fitEntry
                                                            : paperEntry(sheet);
    paper->setCurrentIndex(isPaper && paper->currentIndex() == ownPaper ? ownPaper : entry);
    const bool isOwn = paper->currentIndex() == ownPaper;
    width->setValue(sheet.width);
    height->setValue(sheet.height);
    landscape->setChecked(sheet.width > sheet.height);
    rows->setRowVisible(width, isOwn);
    rows->setRowVisible(height, isOwn);
    rows->setRowVisible(landscape, isPaper && !isOwn);
    margin->setValue(sheet.margin);
    rows->setRowVisible(margin, sheet.page != KivSheet::Page::picture);
    scale->setEditText(sheet.scale > 0.0 ? scaleText(sheet.scale) : studioText(StudioText::scaleFree));
    const auto* const named = std::find_if(std::begin(shownUnits), std::end(shownUnits), [&](const char* name) {
        double known = 0.0;
        return kivReadUnit(name, &known) && known == sheet.modelUnit;
    });
    unit->setCurrentIndex(
        chosen.unitsChosen && named != std::end(shownUnits) ? 1 + static_cast<int>(named - std::begin(shownUnits)) : 0);
    rows->setRowVisible(unit, sheet.scale > 0.0);
    hidden->setCurrentIndex(static_cast<int>(sheet.hidden));
    const QStringList groups = lineGroups();
    int shown = hasPens(sheet) || ownPens ? static_cast<int>(groups.size()) + 1 : asDrawn;
    for (int i = 0; i < groups.size() && !ownPens; ++i) {
        KivSheet known;
        kivReadLineGroup(groups[i].toStdString(), &known);
        shown = hasSamePens(known, sheet) ? i + 1 : shown;
    }
    group->setCurrentIndex(shown);
    rows->setRowVisible(penBox, shown > groups.size());
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        pens[static_cast<std::size_t>(kind)]->setValue(sheet.pen[kind]);
    }
    pens.back()->setValue(sheet.hiddenPen);
    rows->setRowVisible(outcome, !outcome->text().isEmpty());
    isShowing = false;
}
