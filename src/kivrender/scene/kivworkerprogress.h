// Work of a render on a thread of its own. A host gets all calls on the thread that called the render, so that the
// others see nothing of its progress object and learn of a cancel by a flag.
#ifndef KIVRENDER_SCENE_KIVWORKERPROGRESS_H
#define KIVRENDER_SCENE_KIVWORKERPROGRESS_H

#include <atomic>

// On this thread and for the length of its life kivCurrentProgress gives null and kivIsCancelled the flag.
class KivWorkerProgress {
public:
    explicit KivWorkerProgress(const std::atomic<bool>& isCancelled);
    KivWorkerProgress(const KivWorkerProgress&) = delete;
    KivWorkerProgress& operator=(const KivWorkerProgress&) = delete;
    ~KivWorkerProgress();

    // Of this thread; null on one without.
    static const std::atomic<bool>* cancelFlag();
};

#endif
