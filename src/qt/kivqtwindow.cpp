// The window itself, its events, and what all controls have in common.
#include "qt/kivqtwindow.h"

#include "qt/kivcolorfield.h"
#include "qt/kivnumberfield.h"
#include "qt/kivpagetabs.h"
#include "qt/kivqttext.h"

#include <QAbstractSlider>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTreeWidget>
#include <QWheelEvent>

namespace {

constexpr const char* controlProperty = "control";

} // namespace

KivQtWindow::KivQtWindow(std::unique_ptr<QWidget> widget) : KivQtWindow(widget.get()) {
    static_cast<void>(widget.release());
    owned = true;
    for (QWidget* const each : root->findChildren<QWidget*>()) {
        // Forms take these from the labels, with the mark of the key.
        each->setAccessibleName(each->accessibleName().remove(QLatin1Char('&')));
        if (const QVariant number = each->property(controlProperty); number.isValid()) {
            bind(number.toInt(), each);
        }
    }
    root->installEventFilter(this);
}

KivQtWindow::KivQtWindow(QWidget* widget) : root(widget), owned(false) {}

KivQtWindow::~KivQtWindow() {
    listener = nullptr;
    if (owned) {
        delete root.data();
    }
}

QWidget* KivQtWindow::widget() const {
    return root;
}

QWidget* KivQtWindow::widgetOf(KivWindow* window) {
    const auto* const ours = dynamic_cast<KivQtWindow*>(window);
    return ours != nullptr ? ours->widget() : nullptr;
}

void KivQtWindow::setReceiver(std::function<void(unsigned int, std::uintptr_t, std::intptr_t)> newReceiver) {
    receiver = std::move(newReceiver);
}

// --- from the user ---

void KivQtWindow::tell(int control, KivControlChange change, int item) {
    if (listener) {
        const auto called = listener; // it may set another
        called({control, change, item});
    }
}

void KivQtWindow::bind(int control, QWidget* widget) {
    order.push_back(control);
    controls[control] = widget;
    numbers[widget] = control;
    widget->installEventFilter(this);
    if (auto* const edit = qobject_cast<QLineEdit*>(widget)) {
        connect(edit, &QLineEdit::textChanged, this, [this, control] { tell(control, KivControlChange::edited); });
    } else if (auto* const combo = qobject_cast<QComboBox*>(widget)) {
        connect(combo, &QComboBox::activated, this, [this, control] {
            varied.erase(control);
            tell(control, KivControlChange::selected);
        });
        connect(combo, &QComboBox::editTextChanged, this, [this, control] {
            varied.erase(control);
            tell(control, KivControlChange::edited);
        });
    } else if (auto* const number = qobject_cast<KivNumberField*>(widget)) {
        connect(number, &KivNumberField::edited, this, [this, control] { tell(control, KivControlChange::edited); });
    } else if (auto* const color = qobject_cast<KivColorField*>(widget)) {
        connect(color, &KivColorField::clicked, this, [this, control] { tell(control, KivControlChange::clicked); });
    } else if (auto* const tabs = qobject_cast<KivPageTabs*>(widget)) {
        connect(tabs->tabs(), &QTabBar::currentChanged, this,
                [this, control] { tell(control, KivControlChange::selected); });
    } else if (auto* const list = qobject_cast<QListWidget*>(widget)) {
        list->setMouseTracking(true);
        list->viewport()->installEventFilter(this);
        numbers[list->viewport()] = control;
        connect(list, &QListWidget::currentRowChanged, this,
                [this, control] { tell(control, KivControlChange::selected); });
    } else {
        bindButton(control, widget);
        bindNumber(control, widget);
        bindTree(control, widget);
    }
}

// Whoever gives a control a value of its own settles it for all objects.
void KivQtWindow::bindNumber(int control, QWidget* widget) {
    const auto edited = [this, control] {
        varied.erase(control);
        tell(control, KivControlChange::edited);
    };
    if (auto* const whole = qobject_cast<QSpinBox*>(widget)) {
        connect(whole, &QSpinBox::valueChanged, this, edited);
    } else if (auto* const number = qobject_cast<QDoubleSpinBox*>(widget)) {
        connect(number, &QDoubleSpinBox::valueChanged, this, edited);
    } else if (auto* const slider = qobject_cast<QAbstractSlider*>(widget)) {
        connect(slider, &QAbstractSlider::valueChanged, this, edited);
    } else if (auto* const text = qobject_cast<QPlainTextEdit*>(widget)) {
        connect(text, &QPlainTextEdit::textChanged, this, edited);
    } else if (auto* const group = qobject_cast<QGroupBox*>(widget); group != nullptr && group->isCheckable()) {
        connect(group, &QGroupBox::clicked, this, [this, control] {
            varied.erase(control);
            tell(control, KivControlChange::clicked);
        });
    }
}

void KivQtWindow::bindButton(int control, QWidget* widget) {
    if (auto* const button = qobject_cast<QAbstractButton*>(widget)) {
        // Only the user's clicks, and the state is new already.
        connect(button, &QAbstractButton::clicked, this, [this, control, button] {
            varied.erase(control);
            // The third state is not for users to set, and who leaves it arrives at off.
            if (auto* const box = qobject_cast<QCheckBox*>(button); box != nullptr && box->isTristate()) {
                box->setTristate(false);
                box->setChecked(false);
            }
            tell(control, KivControlChange::clicked);
        });
    }
}

void KivQtWindow::bindTree(int control, QWidget* widget) {
    if (auto* const tree = qobject_cast<QTreeWidget*>(widget)) {
        connect(tree, &QTreeWidget::currentItemChanged, this,
                [this, control] { tell(control, KivControlChange::selected); });
        connect(tree, &QTreeWidget::itemChanged, this,
                [this, control](QTreeWidgetItem* item, int column) { onItemChanged(control, item, column); });
    }
}

// Qt tells of a check mark when it has flipped; who listens expects the old state still.
void KivQtWindow::onItemChanged(int control, QTreeWidgetItem* item, int column) {
    const int index = item->treeWidget()->indexOfTopLevelItem(item);
    std::vector<bool>& known = checks[control];
    const bool now = item->checkState(column) == Qt::Checked;
    if (index < 0 || static_cast<std::size_t>(index) >= known.size() || known[static_cast<std::size_t>(index)] == now) {
        return; // its font, say
    }
    const QPointer<QTreeWidget> tree = item->treeWidget();
    {
        const QSignalBlocker quiet(tree);
        item->setCheckState(column, now ? Qt::Unchecked : Qt::Checked);
    }
    tell(control, KivControlChange::checkToggle, index);
    if (tree != nullptr && tree->topLevelItem(index) == item) {
        known[static_cast<std::size_t>(index)] = now;
        const QSignalBlocker quiet(tree);
        item->setCheckState(column, now ? Qt::Checked : Qt::Unchecked);
    }
}

void KivQtWindow::filterPointer(int control, QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseMove) {
        const auto* const list = qobject_cast<QListWidget*>(watched->parent());
        const QPoint place = static_cast<QMouseEvent*>(event)->position().toPoint();
        tell(control, KivControlChange::pointed, list != nullptr ? list->indexAt(place).row() : -1);
    }
}

bool KivQtWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == root) {
        if (event->type() == QEvent::Resize) {
            tell(0, KivControlChange::resized);
        } else if (event->type() == QEvent::PaletteChange) {
            showIcons();
            showLinks();
        } else if (event->type() == QEvent::Close && root->isWindow() && qobject_cast<QDialog*>(root) == nullptr) {
            event->ignore(); // whether the window goes away is decided by who listens
            tell(kivControlCancel, KivControlChange::clicked);
            return true;
        }
        return false;
    }
    const auto found = numbers.find(watched);
    if (found == numbers.end()) {
        return false;
    }
    const int control = found->second;
    switch (event->type()) {
    case QEvent::FocusIn:
        tell(control, KivControlChange::focused);
        break;
    case QEvent::FocusOut:
        tell(control, KivControlChange::left);
        break;
    case QEvent::MouseButtonRelease:
        // Buttons and fields tell of clicks themselves.
        if (qobject_cast<QLabel*>(watched) != nullptr && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
            tell(control, KivControlChange::clicked);
        }
        break;
    case QEvent::Wheel:
        // Pages scroll under the mouse: a wheel that passes over a list of choices must not choose.
        if (const auto* const combo = qobject_cast<QComboBox*>(watched); combo != nullptr && !combo->hasFocus()) {
            event->ignore();
            return true;
        }
        break;
    default:
        filterPointer(control, watched, event);
        break;
    }
    return false;
}

// --- the window ---

void KivQtWindow::show(bool visible) {
    if (root != nullptr) {
        root->setVisible(visible);
    }
}

void KivQtWindow::enable(bool enabled) {
    if (root != nullptr) {
        root->setEnabled(enabled);
    }
}

void KivQtWindow::setCaption(bool caption) {
    if (root != nullptr && root->isWindow()) {
        const bool visible = root->isVisible();
        const QRect place = root->geometry();
        root->setWindowFlag(Qt::FramelessWindowHint, !caption); // hides it
        root->setGeometry(place);
        root->setVisible(visible);
    }
}

void KivQtWindow::redraw() {
    if (root != nullptr) {
        root->update();
    }
}

std::wstring KivQtWindow::getTitle() const {
    return root != nullptr ? kivFromQt(root->windowTitle()) : std::wstring();
}

SIZE KivQtWindow::getClientSize() const {
    return root != nullptr ? SIZE{root->width(), root->height()} : SIZE{};
}

void KivQtWindow::setListener(std::function<void(const KivControlEvent&)> newListener) {
    listener = std::move(newListener);
}

int KivQtWindow::runModal() {
    auto* const dialog = qobject_cast<QDialog*>(root);
    const int result = dialog != nullptr ? dialog->exec() : 0;
    return result != 0 ? result : kivControlCancel; // closed, or left with Escape
}

void KivQtWindow::endModal(int result) {
    if (auto* const dialog = qobject_cast<QDialog*>(root)) {
        dialog->done(result);
    }
}

void KivQtWindow::receive(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) {
    if (receiver) {
        receiver(message, wParam, lParam);
    }
}

void KivQtWindow::beep() {
    QApplication::beep();
}

// --- all controls ---

QWidget* KivQtWindow::any(int control) const {
    const auto found = controls.find(control);
    return found != controls.end() ? found->second.data() : nullptr;
}

std::vector<int> KivQtWindow::getControls() const {
    return order;
}

void KivQtWindow::enableControl(int control, bool enabled) {
    if (QWidget* const widget = any(control)) {
        widget->setEnabled(enabled);
    }
}

void KivQtWindow::showControl(int control, bool visible) {
    if (QWidget* const widget = any(control)) {
        widget->setVisible(visible);
    }
}

bool KivQtWindow::isControlEnabled(int control) const {
    const QWidget* const widget = any(control);
    return widget != nullptr && root != nullptr && widget->isEnabledTo(root);
}

bool KivQtWindow::hasFocus(int control) const {
    const QWidget* const widget = any(control);
    return widget != nullptr && widget->hasFocus();
}

bool KivQtWindow::getControlRect(int control, RECT* out) const {
    const QWidget* const widget = any(control);
    if (widget == nullptr || root == nullptr) {
        return false;
    }
    const QPoint corner = widget->mapTo(root.data(), QPoint(0, 0));
    *out = {corner.x(), corner.y(), corner.x() + widget->width(), corner.y() + widget->height()};
    return true;
}

bool KivQtWindow::isInLayout(const QWidget* widget) const {
    const QWidget* const parent = widget->parentWidget();
    const std::function<bool(const QLayout*)> holds = [&](const QLayout* layout) {
        for (int i = 0; layout != nullptr && i < layout->count(); ++i) {
            if (layout->itemAt(i)->widget() == widget || holds(layout->itemAt(i)->layout())) {
                return true;
            }
        }
        return false;
    };
    return parent != nullptr && holds(parent->layout());
}

void KivQtWindow::placeControl(int control, const RECT& place) {
    QWidget* const widget = any(control);
    if (widget != nullptr && root != nullptr && !isInLayout(widget)) {
        const QPoint corner = widget->parentWidget()->mapFrom(root.data(), QPoint(place.left, place.top));
        widget->setGeometry(QRect(corner, QSize(place.right - place.left, place.bottom - place.top)));
    }
}

void KivQtWindow::setToolTip(int control, const std::wstring& text) {
    if (QWidget* const widget = any(control)) {
        widget->setToolTip(kivToQt(text));
    }
}
