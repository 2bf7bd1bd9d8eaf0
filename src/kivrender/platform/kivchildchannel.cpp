#include "kivrender/platform/kivchildchannel.h"

#include <cerrno>
#include <cstddef>
#include <poll.h>
#include <sys/socket.h>

bool kivSendToChild(int channel, std::string_view bytes, int milliseconds) {
    while (!bytes.empty()) {
        const ssize_t sent = send(channel, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        pollfd waiting{channel, POLLOUT, 0};
        if (sent == 0 || (errno != EAGAIN && errno != EINTR) || poll(&waiting, 1, milliseconds) == 0) {
            return false;
        }
    }
    return true;
}

KivFromChild kivReceiveFromChild(int channel, int milliseconds, char* byte) {
    pollfd waiting{channel, POLLIN, 0};
    poll(&waiting, 1, milliseconds);
    const ssize_t got = recv(channel, byte, 1, 0);
    if (got == 1) {
        return KivFromChild::byte;
    }
    return got == 0 || (errno != EAGAIN && errno != EINTR) ? KivFromChild::end : KivFromChild::nothing;
}
