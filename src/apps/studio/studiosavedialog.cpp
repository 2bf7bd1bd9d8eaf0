#include "apps/studio/studiosavedialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>

namespace {

QString filterOf(const StudioSaveKind& kind) {
    return kind.title + QStringLiteral(" (*.") + kind.endings.join(QStringLiteral(" *.")) + QLatin1Char(')');
}

QString firstEnding(const StudioSaveWish& wish, const QString& filter) {
    for (const StudioSaveKind& kind : wish.kinds) {
        if (filterOf(kind) == filter) {
            return kind.endings.first();
        }
    }
    return wish.kinds.front().endings.first();
}

bool canWrite(const StudioSaveWish& wish, const QString& ending) {
    return std::any_of(wish.kinds.begin(), wish.kinds.end(), [&ending](const StudioSaveKind& kind) {
        return kind.endings.contains(ending, Qt::CaseInsensitive);
    });
}

bool mayReplace(QWidget* parent, const QString& file) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Selvarin Studio"),
                    studioText(StudioText::replaceQuestion).arg(QDir::toNativeSeparators(file)), QMessageBox::NoButton,
                    parent);
    box.setTextFormat(Qt::PlainText); // the name of a file comes in it
    const QPushButton* const yes = box.addButton(studioText(StudioText::replaceButton), QMessageBox::DestructiveRole);
    QPushButton* const no = box.addButton(studioText(StudioText::cancel), QMessageBox::RejectRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

void refuse(QWidget* parent, StudioText text, const QString& ending) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Selvarin Studio"), studioText(text).arg(ending),
                    QMessageBox::NoButton, parent);
    box.setTextFormat(Qt::PlainText);
    box.addButton(studioText(StudioText::ok), QMessageBox::AcceptRole);
    box.exec();
}

// Only Qt's own dialog has room for more.
void putBeside(QFileDialog& dialog, QWidget* widget) {
    if (widget == nullptr) {
        return;
    }
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    auto* const scroll = new QScrollArea(&dialog);
    scroll->setWidget(widget);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setMinimumWidth(widget->sizeHint().width() + scroll->verticalScrollBar()->sizeHint().width() + 12);
    if (auto* const grid = qobject_cast<QGridLayout*>(dialog.layout())) {
        grid->addWidget(scroll, 0, grid->columnCount(), grid->rowCount(), 1);
    }
    dialog.resize(dialog.sizeHint().width() + scroll->minimumWidth(), std::max(dialog.sizeHint().height(), 430));
}

} // namespace

QString kindTitle(unsigned int text) {
    const QString title = kivToQt(kivText(text));
    return title.left(title.indexOf(QLatin1String(" (")));
}

QString askWhereToSave(QWidget* parent, const StudioSaveWish& wish) {
    QFileDialog dialog(parent, wish.title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    putBeside(dialog, wish.beside);
    QStringList filters;
    for (const StudioSaveKind& kind : wish.kinds) {
        filters << filterOf(kind);
    }
    dialog.setNameFilters(filters);
    // The dialog itself adds it, so that its question about a file that exists is about the right one.
    dialog.setDefaultSuffix(wish.kinds.front().endings.first());
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog,
                     [&](const QString& filter) { dialog.setDefaultSuffix(firstEnding(wish, filter)); });
    const QFileInfo suggested(wish.file);
    dialog.setDirectory(suggested.absolutePath());
    dialog.selectFile(suggested.fileName());
    while (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        QString chosen = dialog.selectedFiles().constFirst();
        const QString ending = QFileInfo(chosen).suffix();
        if (canWrite(wish, ending)) {
            return chosen;
        }
        if (wish.refusal && !ending.isEmpty()) {
            refuse(parent, *wish.refusal, ending);
        } else {
            // A name with a point in it, of which the dialog has taken the rest for an ending, or with one at its end.
            QString whole = (chosen.endsWith(QLatin1Char('.')) ? chosen.chopped(1) : chosen) + QLatin1Char('.') +
                            dialog.defaultSuffix();
            if (!QFileInfo::exists(whole) || mayReplace(parent, whole)) {
                return whole;
            }
        }
        dialog.selectFile(QFileInfo(chosen).fileName());
    }
    return {};
}
