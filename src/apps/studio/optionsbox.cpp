#include "apps/studio/optionsbox.h"

#include "apps/studio/studiotexts.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

OptionsBox::OptionsBox(const KivCommonSettings& options, SIZE proportions, QWidget* parent)
    : QDialog(parent), chosen(options), frame(this), page(&frame) {
    chosen.saveDataOnHost(&store);
    auto* const column = new QVBoxLayout(this);
    if (page.Create(nullptr, &store, proportions, &frame) != 0) {
        QWidget* const widget = KivQtWindow::widgetOf(page.getWindow());
        setWindowTitle(widget->windowTitle());
        widget->setParent(this, Qt::Widget); // no window of its own here
        column->addWidget(widget);
        page.OnActivate(1);
        for (QLineEdit* const field : widget->findChildren<QLineEdit*>()) {
            if (field->property("control").toInt() == KivOptionsDlg::vectorField) {
                field->setToolTip(studioText(StudioText::vectorFileTip)); // the library's is that of other hosts
            }
        }
    }
    bare = new QCheckBox(studioText(StudioText::withoutBackground), this);
    bare->setToolTip(studioText(StudioText::withoutBackgroundTip));
    column->addWidget(bare);
    auto* const buttons = new QDialogButtonBox(this);
    buttons->addButton(studioText(StudioText::ok), QDialogButtonBox::AcceptRole)->setDefault(true);
    buttons->addButton(studioText(StudioText::cancel), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &OptionsBox::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &OptionsBox::reject);
    column->addWidget(buttons);
}

OptionsBox::~OptionsBox() {
    page.DestroyWindow();
}

const KivCommonSettings& OptionsBox::options() const {
    return chosen;
}

void OptionsBox::setWithoutBackground(bool on) {
    bare->setChecked(on);
}

bool OptionsBox::withoutBackground() const {
    return bare->isChecked();
}

void OptionsBox::accept() {
    if (!page.OnApply()) {
        // The entries stay in sight.
        QMessageBox box(QMessageBox::Warning, QStringLiteral("Selvarin Studio"), studioText(StudioText::optionsNotKept),
                        QMessageBox::NoButton, this);
        box.addButton(studioText(StudioText::ok), QMessageBox::AcceptRole);
        box.exec();
        return;
    }
    chosen = page.getCommonSettings();
    QDialog::accept();
}
