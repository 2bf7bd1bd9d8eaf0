#include "kivrender/lines/kivmeshahead.h"

#include "kivrender/scene/kivmeshkeep.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivworkerprogress.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <system_error>
#include <utility>

namespace {

// Of the render that runs on this thread.
thread_local KivMeshAhead* current = nullptr;

} // namespace

KivMeshAhead::KivMeshAhead(const std::vector<Request>& requests) : outer(std::exchange(current, this)) {
    const auto isKeepable = [](const Request& request) { return kivCanKeepWithMesh(*request.mesh); };
    if (!std::ranges::all_of(requests, isKeepable)) {
        return; // crossings are those of all
    }
    for (const Request& request : requests) {
        tasks.push_back({request.mesh, request.crossings, State::waiting, nullptr});
    }
    if (std::ranges::any_of(requests, &Request::crossings)) {
        tasks.emplace_back();
    }
    try {
        worker = std::thread([this] { work(); });
    } catch (const std::system_error&) {
        tasks.clear();
    }
}

KivMeshAhead::~KivMeshAhead() {
    current = outer;
    isCancelled = true;
    if (worker.joinable()) {
        worker.join();
    }
}

void KivMeshAhead::work() {
    const KivWorkerProgress progress(isCancelled);
    for (Task& task : tasks) {
        {
            const std::lock_guard lock(guard);
            if (isCancelled || task.state != State::waiting) {
                continue;
            }
            task.state = State::inWork;
        }
        try {
            find(task);
        } catch (const std::bad_alloc&) {
            isCancelled = true; // who draws meets the same, and tells
        }
        const std::lock_guard lock(guard);
        task.state = State::done;
        changed.notify_all();
    }
}

void KivMeshAhead::find(Task& task) {
    if (task.mesh == nullptr) {
        findCrossings();
        return;
    }
    const Features found = kivFindMeshFeatures(*task.mesh);
    const std::lock_guard lock(guard);
    task.features = isCancelled ? nullptr : found;
}

// Only for features that were all found here: those that the drawing thread took in hand are its own.
void KivMeshAhead::findCrossings() {
    KivMeshCrossings crossings;
    for (const Features& body : crossingBodies()) {
        if (body == nullptr) {
            return;
        }
        crossings.queue(body);
    }
    if (crossings.findHere()) {
        const std::lock_guard lock(guard);
        pieces = isCancelled ? nullptr : std::make_shared<const std::vector<KivCrossing>>(crossings.pieces());
    }
}

std::vector<KivMeshAhead::Features> KivMeshAhead::crossingBodies() const {
    std::vector<Features> bodies;
    for (const Task& task : tasks) {
        if (task.crossings) {
            bodies.push_back(task.features);
        }
    }
    return bodies;
}

// False if the drawing thread is to do it, which takes it over. A cancel ends the work.
bool KivMeshAhead::await(std::unique_lock<std::mutex>& lock, const Task& task) {
    while (task.state == State::inWork) {
        changed.wait_for(lock, std::chrono::milliseconds(5));
        if (task.state == State::inWork) {
            lock.unlock();
            const bool isOver = kivIsCancelled();
            lock.lock();
            isCancelled = isCancelled || isOver;
        }
    }
    return task.state == State::done;
}

KivMeshAhead::Features KivMeshAhead::featuresOf(const KivMesh& mesh) {
    if (current == nullptr) {
        return nullptr;
    }
    std::unique_lock lock(current->guard);
    const auto task = std::ranges::find(current->tasks, &mesh, &Task::mesh);
    if (task == current->tasks.end()) {
        return nullptr;
    }
    if (!current->await(lock, *task)) {
        task->state = State::done; // taken over
    }
    return task->features;
}

bool KivMeshAhead::holds(const KivMeshFeatures& features) {
    if (current == nullptr) {
        return false;
    }
    const std::lock_guard lock(current->guard);
    return std::ranges::any_of(current->tasks, [&](const Task& task) { return task.features.get() == &features; });
}

KivMeshAhead::Pieces KivMeshAhead::crossingsOf(const std::vector<Features>& bodies) {
    if (current == nullptr || current->tasks.empty() || current->tasks.back().mesh != nullptr) {
        return nullptr;
    }
    std::unique_lock lock(current->guard);
    if (current->crossingBodies() != bodies) {
        return nullptr;
    }
    if (!current->await(lock, current->tasks.back())) {
        current->tasks.back().state = State::done;
    }
    // Of no more use, and large.
    for (Task& task : current->tasks) {
        task.features = nullptr;
    }
    return current->pieces;
}
