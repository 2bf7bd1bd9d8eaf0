// A file descriptor of the system that closes itself.
#ifndef KIVRENDER_PLATFORM_KIVDESCRIPTOR_H
#define KIVRENDER_PLATFORM_KIVDESCRIPTOR_H

#include <unistd.h>
#include <utility>

class KivDescriptor {
public:
    // Takes the descriptor into ownership; a negative one is none.
    explicit KivDescriptor(int number) : fd(number) {}
    KivDescriptor(const KivDescriptor&) = delete;
    KivDescriptor& operator=(const KivDescriptor&) = delete;
    ~KivDescriptor() {
        if (fd >= 0) {
            close(fd);
        }
    }

    int get() const {
        return fd;
    }
    // False with errno set if the system could not keep what was written.
    bool closeNow() {
        return close(std::exchange(fd, -1)) == 0;
    }

private:
    int fd;
};

#endif
