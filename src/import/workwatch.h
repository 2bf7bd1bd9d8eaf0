// Lets long loops over one surface be watched: calls back every few milliseconds of work, and the callback may throw
// ImportCancelled.
#ifndef IMPORT_WORKWATCH_H
#define IMPORT_WORKWATCH_H

#include <cstddef>
#include <functional>
#include <utility>

namespace kivimport {

class WorkWatch {
public:
    WorkWatch() = default;
    explicit WorkWatch(std::function<void()> watcher) : callback(std::move(watcher)) {}

    // To be called with each piece of work, with its cost in units of some ten nanoseconds.
    void add(std::size_t cost) {
        spent += cost;
        if (spent >= costOfCall) {
            spent = 0;
            if (callback) {
                callback();
            }
        }
    }

private:
    static constexpr std::size_t costOfCall = 200000;

    std::function<void()> callback;
    std::size_t spent = 0;
};

} // namespace kivimport

#endif
