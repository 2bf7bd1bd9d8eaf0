#include "qt/kivformloader.h"

#include "qt/kivcolorfield.h"
#include "qt/kivnumberfield.h"
#include "qt/kivpagetabs.h"

#include <QBuffer>
#include <QDebug>
#include <QUiLoader>
#include <QWidget>

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
    widget->hide();
    return widget;
}
