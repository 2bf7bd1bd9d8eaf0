// What a window does with its controls, kind by kind.
#include "kivrender/platform/kivtypes.h"
#include "qt/kivcolorfield.h"
#include "qt/kivnumberfield.h"
#include "qt/kivpagetabs.h"
#include "qt/kivqtimages.h"
#include "qt/kivqttext.h"
#include "qt/kivqtwindow.h"

#include <QAbstractSlider>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTreeWidget>

namespace {

constexpr int imageRole = Qt::UserRole;

QString plainNumber(double value) {
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

// Numbers go as plain text, whatever the locale: what a spin box shows may have another point, a prefix or a suffix.
bool readNumber(const QWidget* widget, QString* text) {
    if (const auto* const whole = qobject_cast<const QSpinBox*>(widget)) {
        *text = QString::number(whole->value());
    } else if (const auto* const number = qobject_cast<const QDoubleSpinBox*>(widget)) {
        *text = plainNumber(number->value());
    } else if (const auto* const slider = qobject_cast<const QAbstractSlider*>(widget)) {
        *text = QString::number(slider->value());
    } else if (const auto* const field = qobject_cast<const KivNumberField*>(widget)) {
        *text = plainNumber(field->getValue());
    } else {
        return false;
    }
    return true;
}

bool writeNumber(QWidget* widget, const QString& text) {
    if (auto* const whole = qobject_cast<QSpinBox*>(widget)) {
        whole->setValue(qRound(text.toDouble()));
        whole->findChild<QLineEdit*>()->setText(whole->text()); // which was empty if the number varied
    } else if (auto* const number = qobject_cast<QDoubleSpinBox*>(widget)) {
        number->setValue(text.toDouble());
        number->findChild<QLineEdit*>()->setText(number->text());
    } else if (auto* const slider = qobject_cast<QAbstractSlider*>(widget)) {
        slider->setValue(qRound(text.toDouble()));
    } else if (auto* const field = qobject_cast<KivNumberField*>(widget)) {
        field->setValue(text.toDouble());
    } else {
        return false;
    }
    return true;
}

QColor toColor(std::uint32_t color) {
    return QColor(static_cast<int>(color & 0xFFU), static_cast<int>(color >> 8 & 0xFFU),
                  static_cast<int>(color >> 16 & 0xFFU));
}

} // namespace

template <class Widget> Widget* KivQtWindow::find(int control) const {
    return qobject_cast<Widget*>(any(control));
}

// --- texts ---

std::wstring KivQtWindow::getText(int control) const {
    if (const auto* const edit = find<QLineEdit>(control)) {
        return kivFromQt(edit->text());
    }
    if (QString number; readNumber(any(control), &number)) {
        return kivFromQt(number);
    }
    if (const auto* const text = find<QPlainTextEdit>(control)) {
        return kivFromQt(text->toPlainText());
    }
    if (const auto* const label = find<QLabel>(control)) {
        return kivFromQt(label->text());
    }
    if (const auto* const button = find<QAbstractButton>(control)) {
        return kivFromQt(button->text());
    }
    if (const auto* const combo = find<QComboBox>(control)) {
        return kivFromQt(combo->currentText());
    }
    const auto* const group = find<QGroupBox>(control);
    return group != nullptr ? kivFromQt(group->title()) : std::wstring();
}

void KivQtWindow::setText(int control, const std::wstring& text) {
    varied.erase(control);
    const QString shown = kivToQt(text);
    if (auto* const edit = find<QLineEdit>(control)) {
        edit->setText(shown);
    } else if (writeNumber(any(control), shown)) {
        return;
    } else if (auto* const area = find<QPlainTextEdit>(control)) {
        area->setPlainText(shown);
    } else if (auto* const combo = find<QComboBox>(control); combo != nullptr && combo->isEditable()) {
        combo->setEditText(shown);
    } else if (auto* const label = find<QLabel>(control)) {
        label->setText(shown);
    } else if (auto* const button = find<QAbstractButton>(control)) {
        button->setText(shown);
    } else if (auto* const group = find<QGroupBox>(control)) {
        group->setTitle(shown);
    }
}

// --- values that differ ---

void KivQtWindow::setVaried(int control, bool value) {
    if (auto* const number = find<KivNumberField>(control)) {
        number->setVaried(value);
    } else if (auto* const color = find<KivColorField>(control)) {
        color->setVaried(value);
    } else if (value) {
        if (auto* const combo = find<QComboBox>(control)) {
            combo->setCurrentIndex(-1);
        } else if (auto* const box = find<QCheckBox>(control)) {
            box->setTristate(true);
            box->setCheckState(Qt::PartiallyChecked);
        } else if (auto* const spin = find<QAbstractSpinBox>(control)) {
            const QSignalBlocker quiet(spin);
            spin->clear(); // the field alone: its number stays
        }
        varied[control] = true;
    } else {
        varied.erase(control);
    }
}

bool KivQtWindow::isVaried(int control) const {
    if (const auto* const number = find<KivNumberField>(control)) {
        return number->isVaried();
    }
    if (const auto* const color = find<KivColorField>(control)) {
        return color->isVaried();
    }
    return varied.contains(control);
}

// --- check boxes and radio buttons ---

int KivQtWindow::getCheck(int control) const {
    if (const auto* const box = find<QCheckBox>(control)) {
        return box->checkState() == Qt::PartiallyChecked ? 2 : box->isChecked() ? 1 : 0;
    }
    if (const auto* const group = find<QGroupBox>(control)) {
        return group->isChecked() ? 1 : 0;
    }
    const auto* const button = find<QAbstractButton>(control);
    return button != nullptr && button->isChecked() ? 1 : 0;
}

void KivQtWindow::setCheck(int control, int state) {
    varied.erase(control);
    if (auto* const box = find<QCheckBox>(control)) {
        box->setTristate(state == 2);
        box->setCheckState(state == 2 ? Qt::PartiallyChecked : state == 1 ? Qt::Checked : Qt::Unchecked);
        return;
    }
    if (auto* const group = find<QGroupBox>(control)) {
        group->setChecked(state == 1);
    }
    auto* const button = find<QAbstractButton>(control);
    if (button == nullptr) {
        return;
    }
    // One of a group can only be put off by hand, and then only if it is not held on by the group.
    const bool exclusive = button->autoExclusive();
    button->setAutoExclusive(exclusive && state != 0);
    button->setChecked(state == 1);
    button->setAutoExclusive(exclusive);
}

// --- items ---

void KivQtWindow::insertItem(int control, int index, const std::wstring& text, int image) {
    const QString shown = kivToQt(text);
    QIcon icon;
    const auto icons = itemIcons.find(control);
    if (icons != itemIcons.end() && image >= 0 && static_cast<std::size_t>(image) < icons->second.size()) {
        const ShownIcon& wanted = icons->second[static_cast<std::size_t>(image)];
        icon = kivQtIcon(wanted.resources, wanted.number, root->palette());
    }
    if (auto* const combo = find<QComboBox>(control)) {
        // The first item of an empty combo box would select itself.
        const int selected = combo->currentIndex();
        const int at = index < 0 ? combo->count() : index;
        combo->insertItem(at, icon, shown, image);
        combo->setCurrentIndex(selected < 0 ? -1 : selected + (at <= selected ? 1 : 0));
    } else if (auto* const tree = find<QTreeWidget>(control)) {
        const QSignalBlocker quiet(tree);
        auto* const item = new QTreeWidgetItem({shown});
        item->setIcon(0, icon);
        item->setData(0, imageRole, image);
        // Check marks of rows that are as low as their text would touch.
        item->setSizeHint(0, QSize(0, tree->fontMetrics().height() + 6));
        std::vector<bool>& known = checks[control];
        const int at = index < 0 ? tree->topLevelItemCount() : index;
        if (tree->property("checkable").toBool()) {
            item->setCheckState(0, Qt::Unchecked);
        }
        known.insert(known.begin() + std::min<std::ptrdiff_t>(at, static_cast<std::ptrdiff_t>(known.size())), false);
        tree->insertTopLevelItem(at, item);
    } else if (auto* const list = find<QListWidget>(control)) {
        auto* const item = new QListWidgetItem(icon, shown);
        item->setData(imageRole, image);
        list->insertItem(index < 0 ? list->count() : index, item);
    } else if (auto* const tabs = find<KivPageTabs>(control)) {
        tabs->tabs()->insertTab(index, icon, shown);
    }
}

void KivQtWindow::removeItem(int control, int index) {
    if (index < 0 || index >= getItemCount(control)) {
        return;
    }
    if (auto* const combo = find<QComboBox>(control)) {
        const bool selected = combo->currentIndex() == index;
        combo->removeItem(index);
        if (selected) {
            combo->setCurrentIndex(-1);
        }
    } else if (auto* const tree = find<QTreeWidget>(control)) {
        std::vector<bool>& known = checks[control];
        known.erase(known.begin() + index);
        delete tree->takeTopLevelItem(index);
    } else if (auto* const list = find<QListWidget>(control)) {
        delete list->takeItem(index);
    } else if (auto* const tabs = find<KivPageTabs>(control)) {
        tabs->tabs()->removeTab(index);
    }
}

int KivQtWindow::getItemCount(int control) const {
    if (const auto* const combo = find<QComboBox>(control)) {
        return combo->count();
    }
    if (const auto* const tree = find<QTreeWidget>(control)) {
        return tree->topLevelItemCount();
    }
    if (const auto* const list = find<QListWidget>(control)) {
        return list->count();
    }
    const auto* const tabs = find<KivPageTabs>(control);
    return tabs != nullptr ? tabs->tabs()->count() : 0;
}

std::wstring KivQtWindow::getItemText(int control, int index) const {
    if (index < 0 || index >= getItemCount(control)) {
        return {};
    }
    if (const auto* const combo = find<QComboBox>(control)) {
        return kivFromQt(combo->itemText(index));
    }
    if (const auto* const tree = find<QTreeWidget>(control)) {
        return kivFromQt(tree->topLevelItem(index)->text(0));
    }
    if (const auto* const list = find<QListWidget>(control)) {
        return kivFromQt(list->item(index)->text());
    }
    return kivFromQt(find<KivPageTabs>(control)->tabs()->tabText(index));
}

int KivQtWindow::getItemImage(int control, int index) const {
    if (index < 0 || index >= getItemCount(control)) {
        return -1;
    }
    if (const auto* const combo = find<QComboBox>(control)) {
        return combo->itemData(index).toInt();
    }
    if (const auto* const tree = find<QTreeWidget>(control)) {
        return tree->topLevelItem(index)->data(0, imageRole).toInt();
    }
    const auto* const list = find<QListWidget>(control);
    return list != nullptr ? list->item(index)->data(imageRole).toInt() : -1;
}

int KivQtWindow::getSelection(int control) const {
    if (const auto* const combo = find<QComboBox>(control)) {
        return combo->currentIndex();
    }
    if (const auto* const tree = find<QTreeWidget>(control)) {
        return tree->indexOfTopLevelItem(tree->currentItem());
    }
    if (const auto* const list = find<QListWidget>(control)) {
        return list->currentRow();
    }
    const auto* const tabs = find<KivPageTabs>(control);
    return tabs != nullptr ? tabs->tabs()->currentIndex() : -1;
}

void KivQtWindow::setSelection(int control, int index) {
    varied.erase(control);
    if (auto* const combo = find<QComboBox>(control)) {
        combo->setCurrentIndex(index);
    } else if (auto* const tree = find<QTreeWidget>(control)) {
        tree->setCurrentItem(index >= 0 ? tree->topLevelItem(index) : nullptr);
    } else if (auto* const list = find<QListWidget>(control)) {
        list->setCurrentRow(index);
    } else if (auto* const tabs = find<KivPageTabs>(control)) {
        tabs->tabs()->setCurrentIndex(index);
    }
}

void KivQtWindow::setCheckable(int control) {
    if (auto* const tree = find<QTreeWidget>(control)) {
        const QSignalBlocker quiet(tree);
        tree->setProperty("checkable", true);
        for (int i = 0; i < tree->topLevelItemCount(); ++i) {
            tree->topLevelItem(i)->setCheckState(0, Qt::Unchecked);
        }
    }
}

bool KivQtWindow::isItemChecked(int control, int index) const {
    const auto* const tree = find<QTreeWidget>(control);
    const QTreeWidgetItem* const item = tree != nullptr ? tree->topLevelItem(index) : nullptr;
    return item != nullptr && item->checkState(0) == Qt::Checked;
}

void KivQtWindow::checkItem(int control, int index, bool checked) {
    auto* const tree = find<QTreeWidget>(control);
    if (QTreeWidgetItem* const item = tree != nullptr ? tree->topLevelItem(index) : nullptr) {
        const QSignalBlocker quiet(tree);
        checks[control][static_cast<std::size_t>(index)] = checked;
        item->setCheckState(0, checked ? Qt::Checked : Qt::Unchecked);
        tree->viewport()->update();
    }
}

void KivQtWindow::setItemBold(int control, int index, bool bold) {
    auto* const tree = find<QTreeWidget>(control);
    if (QTreeWidgetItem* const item = tree != nullptr ? tree->topLevelItem(index) : nullptr) {
        const QSignalBlocker quiet(tree);
        QFont font = tree->font();
        font.setBold(bold);
        item->setFont(0, font);
        tree->viewport()->update();
    }
}

bool KivQtWindow::isListBox(int control) const {
    return find<QListWidget>(control) != nullptr;
}

// --- icons, pictures, colours, links, pages ---

void KivQtWindow::setImages(int control, HINSTANCE resources, const std::vector<unsigned int>& icons) {
    std::vector<ShownIcon>& list = itemIcons[control];
    list.clear();
    for (const unsigned int icon : icons) {
        list.push_back({resources, icon});
    }
    showIcons();
}

void KivQtWindow::setIcon(int control, HINSTANCE resources, unsigned int icon) {
    buttonIcons[control] = {resources, icon};
    showIcons();
}

// Anew where the palette is another: icons have its colour.
void KivQtWindow::showIcons() {
    for (const auto& [control, icon] : buttonIcons) {
        if (auto* const button = find<QAbstractButton>(control)) {
            button->setIcon(kivQtIcon(icon.resources, icon.number, root->palette()));
        }
    }
    for (const auto& [control, icons] : itemIcons) {
        auto* const combo = find<QComboBox>(control);
        for (int i = 0; combo != nullptr && i < combo->count(); ++i) {
            const int image = combo->itemData(i).toInt();
            if (image >= 0 && static_cast<std::size_t>(image) < icons.size()) {
                const ShownIcon& wanted = icons[static_cast<std::size_t>(image)];
                combo->setItemIcon(i, kivQtIcon(wanted.resources, wanted.number, root->palette()));
            }
        }
    }
}

void KivQtWindow::setPicture(int control, HBITMAP bitmap) {
    if (auto* const label = find<QLabel>(control)) {
        const QImage picture = kivQtImage(bitmap);
        label->setPixmap(QPixmap::fromImage(kivQtFitted(picture, label->maximumSize(), label->devicePixelRatioF())));
    }
}

void KivQtWindow::setFill(int control, std::uint32_t color) {
    if (auto* const field = find<KivColorField>(control)) {
        field->setColor(toColor(color));
    }
}

void KivQtWindow::setLink(int control, std::uint32_t textColor) {
    if (auto* const label = find<QLabel>(control)) {
        QFont font = label->font();
        font.setUnderline(true);
        label->setFont(font);
        label->setCursor(Qt::PointingHandCursor);
        links[control] = textColor;
        showLinks();
    }
}

// Anew where the palette is another: on a dark window the theme's own colour of links is the one that can be read.
void KivQtWindow::showLinks() {
    const bool dark = root->palette().color(QPalette::Window).lightness() < 128;
    for (const auto& [control, textColor] : links) {
        if (auto* const label = find<QLabel>(control)) {
            QPalette palette = label->palette();
            palette.setColor(QPalette::WindowText, dark ? root->palette().color(QPalette::Link) : toColor(textColor));
            label->setPalette(palette);
        }
    }
}

void KivQtWindow::placeInside(int control, KivWindow* page) {
    if (auto* const tabs = find<KivPageTabs>(control)) {
        tabs->place(widgetOf(page));
    }
}
