// What a crash has left: kept while the document has changes, and offered by the next start.
#include "apps/studio/studiowindow.h"

#include <QDir>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>

bool StudioWindow::writeRecovery() {
    if (history.isClean()) {
        return true;
    }
    QString why;
    QElapsedTimer time;
    time.start();
    const bool written = recovery.write(current, document, &why);
    recovering.setInterval(StudioRecovery::pauseAfter(time.elapsed()));
    if (written) {
        return true;
    }
    if (!hasWarnedOfRecovery) {
        hasWarnedOfRecovery = true; // once is enough
        tell(studioText(StudioText::notRecovering).arg(why));
    }
    return false;
}

StudioWindow::Wish StudioWindow::askToRecover(const StudioRecovery::Found& found, const StudioState& work) {
    QString name = found.document;
    if (name.isEmpty()) {
        name = work.models.empty() ? studioText(StudioText::builtInName) : kivToQt(work.models.front());
    }
    QMessageBox box(QMessageBox::Question, QStringLiteral("Selvarin Studio"),
                    studioText(StudioText::recoverQuestion)
                        .arg(QDir::toNativeSeparators(name), QLocale().toString(found.changed, QLocale::ShortFormat)),
                    QMessageBox::NoButton, this);
    box.setTextFormat(Qt::PlainText); // names of files come in it
    QPushButton* const recover = box.addButton(studioText(StudioText::recoverButton), QMessageBox::AcceptRole);
    const QPushButton* const remove = box.addButton(studioText(StudioText::deleteButton), QMessageBox::DestructiveRole);
    QPushButton* const later = box.addButton(studioText(StudioText::laterButton), QMessageBox::RejectRole);
    box.setDefaultButton(recover);
    box.setEscapeButton(later);
    box.exec();
    return box.clickedButton() == recover ? Wish::recover : box.clickedButton() == remove ? Wish::remove : Wish::later;
}

// False, after a message, if it can't be shown; what is open stays.
bool StudioWindow::recover(const StudioRecovery::Found& found, const StudioState& work) {
    if (!mayGo()) {
        return false;
    }
    std::wstring message;
    if (!loadModels(work, &message)) {
        warnUnread(StudioText::cantRecover, message);
        return false;
    }
    start(work, found.document);
    // Nothing that can be undone leads to a state that was saved.
    history.markDirty();
    showTitle();
    if (writeRecovery()) {
        StudioRecovery::discard(found);
    }
    return true;
}

void StudioWindow::offerRecovery() {
    for (const StudioRecovery::Found& found : StudioRecovery::findAbandoned()) {
        StudioState work;
        QString why;
        if (!StudioRecovery::read(found, &work, &why)) {
            // A newer version or somebody's help may still read it.
            const QString kept = StudioRecovery::setAside(found);
            warn(studioText(StudioText::unreadableWork).arg(why, QDir::toNativeSeparators(kept)));
            continue;
        }
        const Wish wish = askToRecover(found, work);
        if (wish == Wish::remove) {
            StudioRecovery::discard(found);
        } else if (wish == Wish::recover && recover(found, work)) {
            return; // the rest is offered by the next start
        }
    }
}
