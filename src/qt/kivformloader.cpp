#include "qt/kivformloader.h"

#include "qt/kivcolorfield.h"
#include "qt/kivnumberfield.h"
#include "qt/kivpagetabs.h"

#include <QBuffer>
#include <QDebug>
#include <QFormLayout>
#include <QTextDocument>
#include <QUiLoader>
#include <QWidget>

#include <algorithm>

namespace {

class FormLoader : public QUiLoader {
public:
    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override {
        QWidget* made = nullptr;
        if (className == QLatin1String("KivColorField")) {
            made = new KivColorField(parent);
        } else if (className == QLatin1String("KivNumberField")) {
            made = new KivNumberField(parent);
        } else if (className == QLatin1String("KivPageTabs")) {
            made = new KivPageTabs(parent);
        } else {
            return QUiLoader::createWidget(className, parent, name);
        }
        made->setObjectName(name);
        return made;
    }
};

// Plain tips stay on one line however long they are; only rich ones are broken.
void wrapToolTips(const QWidget& form) {
    for (QWidget* const widget : form.findChildren<QWidget*>()) {
        const QString tip = widget->toolTip();
        if (!tip.isEmpty() && !Qt::mightBeRichText(tip)) {
            widget->setToolTip(QStringLiteral("<qt>") + tip.toHtmlEscaped() + QStringLiteral("</qt>"));
        }
    }
}

// Rows of label and field look like a table even where boxes stand around some of them: all fields of a form begin at
// one place, and so do the numbers beside their sliders.
void alignRows(const QWidget& form) {
    QList<QWidget*> labels;
    for (const QFormLayout* const rows : form.findChildren<QFormLayout*>()) {
        for (int row = 0; row < rows->rowCount(); ++row) {
            const QLayoutItem* const item = rows->itemAt(row, QFormLayout::LabelRole);
            if (item != nullptr && item->widget() != nullptr) {
                labels.append(item->widget());
            }
        }
    }
    int widest = 0;
    for (const QWidget* const label : labels) {
        widest = std::max(widest, label->sizeHint().width());
    }
    for (QWidget* const label : labels) {
        label->setMinimumWidth(widest);
    }
    const QList<KivNumberField*> numbers = form.findChildren<KivNumberField*>();
    widest = 0;
    for (const KivNumberField* const number : numbers) {
        widest = std::max(widest, number->getBoxWidth());
    }
    for (KivNumberField* const number : numbers) {
        number->setBoxWidth(widest);
    }
}

} // namespace

std::unique_ptr<QWidget> kivLoadForm(std::string_view form) {
    QByteArray bytes(form.data(), static_cast<qsizetype>(form.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    FormLoader loader;
    loader.setLanguageChangeEnabled(false);
    std::unique_ptr<QWidget> widget(loader.load(&buffer));
    if (widget == nullptr) {
        qWarning().noquote() << "selvarin: a dialog's form can't be used:" << loader.errorString();
        return nullptr;
    }
    wrapToolTips(*widget);
    alignRows(*widget);
    widget->hide();
    return widget;
}
