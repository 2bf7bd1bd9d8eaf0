// The guard of a dialog that changes its own controls: sets a flag and puts it back as it was.
#ifndef KIVRENDER_DIALOGS_KIVUPDATING_H
#define KIVRENDER_DIALOGS_KIVUPDATING_H

class KivUpdating {
public:
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
