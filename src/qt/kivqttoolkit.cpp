#include "qt/kivqttoolkit.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivresources.h"
#include "qt/kivformloader.h"
#include "qt/kivqttext.h"
#include "qt/kivqtwindow.h"

#include <QApplication>
#include <QColorDialog>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>

#include <cwchar>
#include <vector>

namespace {

// Texts of the language module.
constexpr unsigned int textProgram = 52;
constexpr unsigned int textTrashQuestion = 2016;
constexpr unsigned int textTrashMove = 2017;
constexpr unsigned int textTrashKeep = 2018;
constexpr unsigned int textTrashFailed = 2019;
constexpr unsigned int titleOfColours = 2210;

// "title", "*.a;*.b" becomes "title (*.a *.b)". A title may name its patterns already.
QStringList toQtFilters(const wchar_t* filters) {
    QStringList list;
    for (const wchar_t* place = filters; place != nullptr && *place != L'\0';) {
        QString title = QString::fromWCharArray(place);
        place += std::wcslen(place) + 1;
        const QString patterns = QString::fromWCharArray(place);
        place += std::wcslen(place) + 1;
        QStringList each = patterns.split(QLatin1Char(';'), Qt::SkipEmptyParts);
        each.removeDuplicates();
        title = title.left(title.indexOf(QLatin1String(" ("))).trimmed();
        list << title + QLatin1String(" (") + each.join(QLatin1Char(' ')) + QLatin1Char(')');
    }
    return list;
}

// A name without an ending gets that of the chosen kind, before the dialog looks whether there is such a file.
void completeNames(QFileDialog& dialog, const QStringList& filters, const std::vector<std::wstring>& endings) {
    const auto choose = [&dialog, filters, endings](const QString& filter) {
        const qsizetype row = filters.indexOf(filter);
        const bool known = row >= 0 && static_cast<std::size_t>(row) < endings.size();
        dialog.setDefaultSuffix(known ? kivToQt(endings[static_cast<std::size_t>(row)]) : QString());
    };
    choose(dialog.selectedNameFilter());
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, choose);
}

} // namespace

KivQtToolkit::~KivQtToolkit() = default;

int KivQtToolkit::showMessage(HWND owner, const std::wstring& text, const std::wstring& caption, KivMessageKind kind) {
    const bool question = kind == KivMessageKind::Question;
    QMessageBox box(question ? QMessageBox::Question : QMessageBox::Critical, kivToQt(caption), kivToQt(text),
                    question ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok, KivQtWindow::widgetOf(owner));
    box.setTextFormat(Qt::PlainText); // names of files come in it
    const int answer = box.exec();
    return answer == QMessageBox::Yes              ? kivAnswerYes
           : answer == QMessageBox::No || question ? kivAnswerNo
                                                   : kivAnswerOk;
}

// The file is named as lists show it: without its ending.
bool KivQtToolkit::moveToTrash(HWND owner, const std::wstring& path) {
    const QString name = QFileInfo(kivToQt(path)).completeBaseName();
    QMessageBox box(QMessageBox::Question, kivToQt(kivText(textProgram)), kivToQt(kivText(textTrashQuestion)).arg(name),
                    QMessageBox::NoButton, KivQtWindow::widgetOf(owner));
    box.setTextFormat(Qt::PlainText);
    const QAbstractButton* const move = box.addButton(kivToQt(kivText(textTrashMove)), QMessageBox::AcceptRole);
    QPushButton* const keep = box.addButton(kivToQt(kivText(textTrashKeep)), QMessageBox::RejectRole);
    box.setDefaultButton(keep);
    box.setEscapeButton(keep);
    box.exec();
    if (box.clickedButton() != move) {
        return false;
    }
    const bool moved = KivToolkit::moveToTrash(owner, path);
    if (!moved) {
        showMessage(owner, kivFromQt(kivToQt(kivText(textTrashFailed)).arg(name)), kivText(textProgram),
                    KivMessageKind::Error);
    }
    return moved;
}

bool KivQtToolkit::pickColor(HWND owner, std::uint32_t& color) {
    const QColor former(static_cast<int>(color & 0xFFU), static_cast<int>(color >> 8 & 0xFFU),
                        static_cast<int>(color >> 16 & 0xFFU));
    const QColor picked =
        QColorDialog::getColor(former, KivQtWindow::widgetOf(owner), kivToQt(kivText(titleOfColours)));
    if (picked.isValid()) {
        color = static_cast<std::uint32_t>(picked.red() | picked.green() << 8 | picked.blue() << 16);
    }
    return picked.isValid();
}

bool KivQtToolkit::pickFile(KivFileRequest& request) {
    QFileDialog dialog(KivQtWindow::widgetOf(request.owner));
    dialog.setAcceptMode(request.open ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave);
    dialog.setFileMode(request.open && request.fileMustExist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, !request.overwritePrompt);
    const QStringList filters = toQtFilters(request.filters);
    if (!filters.isEmpty()) {
        dialog.setNameFilters(filters);
        dialog.selectNameFilter(filters.value(request.filter - 1, filters.first()));
    }
    if (!request.open) {
        completeNames(dialog, filters, request.endings);
    }
    if (!request.folder.empty()) {
        dialog.setDirectory(kivToQt(request.folder));
    }
    if (!request.file.empty()) {
        const QFileInfo wish(kivToQt(request.file));
        if (wish.isAbsolute()) {
            dialog.setDirectory(wish.absolutePath());
        }
        dialog.selectFile(wish.fileName());
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return false;
    }
    request.file = kivFromQt(QDir::toNativeSeparators(dialog.selectedFiles().constFirst()));
    request.filter = static_cast<int>(filters.indexOf(dialog.selectedNameFilter())) + 1;
    return true;
}

bool KivQtToolkit::pickFolder(HWND owner, const std::wstring& title, std::wstring& folder) {
    const QString picked =
        QFileDialog::getExistingDirectory(KivQtWindow::widgetOf(owner), kivToQt(title), kivToQt(folder));
    if (!picked.isEmpty()) {
        folder = kivFromQt(QDir::toNativeSeparators(picked));
    }
    return !picked.isEmpty();
}

unsigned int KivQtToolkit::startTimer(unsigned int milliseconds, std::function<void()> callback) {
    const unsigned int number = ++lastTimer;
    auto clock = std::make_unique<QTimer>();
    QObject::connect(clock.get(), &QTimer::timeout, clock.get(), [this, number] { fire(number); });
    clock->start(static_cast<int>(milliseconds));
    timers[number] = {std::move(clock), std::move(callback)};
    return number;
}

void KivQtToolkit::fire(unsigned int number) {
    const auto found = timers.find(number);
    if (found == timers.end()) {
        return;
    }
    found->second.isDue = held;
    if (!held) {
        const auto called = found->second.callback; // it may stop its own timer
        called();
    }
}

void KivQtToolkit::holdTimers(bool hold) {
    held = hold;
    if (hold) {
        return;
    }
    for (const auto& [number, timer] : timers) {
        if (timer.isDue) {
            QTimer::singleShot(0, timer.clock.get(), [this, due = number] { fire(due); });
        }
    }
}

void KivQtToolkit::stopTimer(unsigned int timer) {
    const auto found = timers.find(timer);
    if (found != timers.end()) {
        found->second.clock->stop();
        found->second.clock.release()->deleteLater(); // it may be the one that fires
        timers.erase(found);
    }
}

std::unique_ptr<KivWindow> KivQtToolkit::createWindow(HINSTANCE resources, unsigned int id, HWND parent) {
    const std::string_view form = kivFindResource(resources, KivResourceKind::dialog, id);
    std::unique_ptr<QWidget> widget = form.empty() ? nullptr : kivLoadForm(form);
    if (widget == nullptr) {
        return nullptr;
    }
    if (QWidget* const owner = KivQtWindow::widgetOf(parent)) {
        widget->setParent(owner, qobject_cast<QDialog*>(widget.get()) != nullptr ? Qt::Dialog : Qt::Tool);
    }
    return std::make_unique<KivQtWindow>(std::move(widget));
}
