// A window of the library on a widget of Qt: one made from a form, or one of the program's own.
//
// Its controls are the widgets below it that have the dynamic property "control", a number. Any button, line edit,
// label, combo box, list (QListWidget), tree (QTreeWidget), KivNumberField, KivColorField or KivPageTabs can be one.
//
// A host that shows dialogs of the library needs it in one place alone: as the parent of dialogs, around its own main
// window. KivQtToolkit makes all others from the forms (.ui) of a plug-in or language module.
//
// All calls on the thread of the windows. A control that the form does not have, or that is of another kind than a call
// expects, is passed over: reading one gives an empty text, 0 or false, and writing one does nothing.
#ifndef QT_KIVQTWINDOW_H
#define QT_KIVQTWINDOW_H

#include "kivrender/platform/kivwindow.h"

#include <QIcon>
#include <QObject>
#include <QPointer>

#include <functional>
#include <map>
#include <memory>
#include <vector>

class QListWidgetItem;
class QTreeWidgetItem;
class QWidget;

class KivQtWindow : public QObject, public KivWindow {
public:
    // Owns the widget and deletes it at its end, unless a parent of the widget has done so before.
    explicit KivQtWindow(std::unique_ptr<QWidget> widget);
    // Stands for a widget of the program, which must outlive this: a parent for dialogs.
    explicit KivQtWindow(QWidget* widget);
    ~KivQtWindow() override;

    // Null after a parent has deleted it.
    QWidget* widget() const;
    // The widget of any window of this toolkit, null for null.
    static QWidget* widgetOf(KivWindow* window);
    // Names the function that gets the messages of dialogs to this window. They are dropped until there is one.
    void setReceiver(std::function<void(unsigned int, std::uintptr_t, std::intptr_t)> receiver);

    // --- The window as a whole, as KivWindow declares it.
    void show(bool visible) override;
    void enable(bool enabled) override;
    void setCaption(bool caption) override;
    void redraw() override;
    // The title in the form, which a page shows on its tab.
    std::wstring getTitle() const override;
    // The size that the form asks for, in pixels of the desktop.
    SIZE getClientSize() const override;
    // One listener at a time; an empty function for none. It is called for changes by the user, and for those by the
    // program.
    void setListener(std::function<void(const KivControlEvent&)> listener) override;
    // Runs the event loop until endModal, whose number it returns, or until the user closes the window:
    // kivControlCancel.
    int runModal() override;
    void endModal(int result) override;
    // Hands a message of a dialog to whoever setReceiver has named.
    void receive(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override;

    // --- The controls by their numbers, in the order of the form.
    std::vector<int> getControls() const override;
    std::wstring getText(int control) const override;
    // Works for each control that shows one text: a label, a line edit, a button, the number in a KivNumberField.
    void setText(int control, const std::wstring& text) override;
    void enableControl(int control, bool enabled) override;
    void showControl(int control, bool visible) override;
    bool isControlEnabled(int control) const override;
    bool hasFocus(int control) const override;
    // In pixels from the upper left corner of the window. False for a control that is not there.
    bool getControlRect(int control, RECT* out) const override;
    void placeControl(int control, const RECT& place) override;
    bool isListBox(int control) const override;
    void setToolTip(int control, const std::wstring& text) override;
    // Marks that several objects differ in the value, by a question mark or a check box filled in half.
    void setVaried(int control, bool varied) override;
    bool isVaried(int control) const override;
    // 0 for off, 1 for on, 2 for varied.
    int getCheck(int control) const override;
    void setCheck(int control, int state) override;
    // Lists, combo boxes and trees. index: -1 for the end; image: the number of an icon of setImages, -1 for none.
    void insertItem(int control, int index, const std::wstring& text, int image) override;
    void removeItem(int control, int index) override;
    int getItemCount(int control) const override;
    std::wstring getItemText(int control, int index) const override;
    int getItemImage(int control, int index) const override;
    // -1 for none.
    int getSelection(int control) const override;
    void setSelection(int control, int index) override;
    void setCheckable(int control) override;
    bool isItemChecked(int control, int index) const override;
    void checkItem(int control, int index, bool checked) override;
    void setItemBold(int control, int index, bool bold) override;
    // icons: numbers of SVG files in the resources of that module.
    void setImages(int control, HINSTANCE resources, const std::vector<unsigned int>& icons) override;
    void setIcon(int control, HINSTANCE resources, unsigned int icon) override;
    // The bitmap stays the caller's and is copied at once.
    void setPicture(int control, HBITMAP bitmap) override;
    // Colours have red in the low byte.
    void setFill(int control, std::uint32_t color) override;
    void setLink(int control, std::uint32_t textColor) override;
    void beep() override;
    // Shows the page, a window of this toolkit, in a control that is a frame; the page stays its owner's.
    void placeInside(int control, KivWindow* page) override;

    // Keeps what Qt tells of the widgets: not for callers.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct ShownIcon {
        HINSTANCE resources = nullptr;
        unsigned int number = 0;
    };

    // The widget of a control if it is of that kind.
    template <class Widget> Widget* find(int control) const;
    QWidget* any(int control) const;
    void bind(int control, QWidget* widget);
    void bindButton(int control, QWidget* widget);
    void bindNumber(int control, QWidget* widget);
    void bindTree(int control, QWidget* widget);
    void tell(int control, KivControlChange change, int item = -1);
    void onItemChanged(int control, QTreeWidgetItem* item, int column);
    void filterPointer(int control, QObject* watched, QEvent* event);
    void showIcons();
    void showLinks();
    bool isInLayout(const QWidget* widget) const;

    QPointer<QWidget> root;
    bool owned;
    std::vector<int> order; // of the template
    std::map<int, QPointer<QWidget>> controls;
    std::map<const QObject*, int> numbers;
    std::map<int, ShownIcon> buttonIcons;
    std::map<int, std::vector<ShownIcon>> itemIcons;
    std::map<int, std::uint32_t> links;      // the colours they were given
    std::map<int, std::vector<bool>> checks; // of trees: the states that the library knows
    std::map<int, bool> varied;              // of controls that can't show it themselves
    std::function<void(const KivControlEvent&)> listener;
    std::function<void(unsigned int, std::uintptr_t, std::intptr_t)> receiver;
};

#endif
