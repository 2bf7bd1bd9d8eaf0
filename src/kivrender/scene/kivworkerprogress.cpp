#include "kivrender/scene/kivworkerprogress.h"

namespace {

thread_local const std::atomic<bool>* flag = nullptr;

} // namespace

KivWorkerProgress::KivWorkerProgress(const std::atomic<bool>& isCancelled) {
    flag = &isCancelled;
}

KivWorkerProgress::~KivWorkerProgress() {
    flag = nullptr;
}

const std::atomic<bool>* KivWorkerProgress::cancelFlag() {
    return flag;
}
