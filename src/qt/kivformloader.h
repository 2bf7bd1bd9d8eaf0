// Makes widgets of forms.
#ifndef QT_KIVFORMLOADER_H
#define QT_KIVFORMLOADER_H

#include <memory>
#include <string_view>

class QWidget;

// The widget of a Qt Designer form, hidden and without a parent. Besides Qt's own classes forms may use KivColorField,
// KivNumberField and KivPageTabs. Null, with a line on standard error that says what is wrong, for bytes that are no
// form.
std::unique_ptr<QWidget> kivLoadForm(std::string_view form);

#endif
