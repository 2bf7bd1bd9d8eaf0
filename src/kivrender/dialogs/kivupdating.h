// The guard of a dialog that changes its own controls: sets a flag and puts it back as it was.
//
// Controls report each change to their dialog, those made by the dialog itself included. A dialog that fills in its
// controls would take its own writing for the user's and change its settings; it leaves events alone while its flag is
// set:
//
//     void MyPage::show() {
//         const KivUpdating guard(isUpdating);
//         window->setText(widthField, text); // comes back as an event
//     }
//
// The guards nest: the flag is cleared by the outermost one. Not for several threads.
#ifndef KIVRENDER_DIALOGS_KIVUPDATING_H
#define KIVRENDER_DIALOGS_KIVUPDATING_H

class KivUpdating {
public:
    // guarded stays the caller's and must outlive the guard.
    explicit KivUpdating(bool& guarded) : flag(guarded), former(guarded) {
        flag = true;
    }
    KivUpdating(const KivUpdating&) = delete;
    KivUpdating& operator=(const KivUpdating&) = delete;
    ~KivUpdating() {
        flag = former;
    }

private:
    bool& flag;
    bool former;
};

#endif
