// How often a file is opened, by whomever, counted by the system.
#ifndef TESTS_SUPPORT_OPENCOUNT_H
#define TESTS_SUPPORT_OPENCOUNT_H

#include <stdexcept>
#include <string>
#include <sys/inotify.h>
#include <unistd.h>

class OpenCount {
public:
    // From now on. Throws where the system can't watch the file.
    explicit OpenCount(const std::string& path) : watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        if (watch < 0 || inotify_add_watch(watch, path.c_str(), IN_OPEN | IN_CLOSE) < 0) {
            throw std::runtime_error("can't watch " + path);
        }
    }
    OpenCount(const OpenCount&) = delete;
    OpenCount& operator=(const OpenCount&) = delete;
    ~OpenCount() {
        close(watch);
    }
    // Openings since the last question. The system makes one of equal events in a row, so closings are watched too.
    int count() const {
        alignas(inotify_event) char events[4096];
        int found = 0;
        for (ssize_t size = read(watch, events, sizeof events); size > 0; size = read(watch, events, sizeof events)) {
            for (ssize_t at = 0; at < size;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(events + at);
                found += (event->mask & IN_OPEN) != 0 ? 1 : 0;
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        return found;
    }

private:
    int watch;
};

#endif
