// Talking over the socket of a child process (kivchildprocess.h), which does not block.
#ifndef KIVRENDER_PLATFORM_KIVCHILDCHANNEL_H
#define KIVRENDER_PLATFORM_KIVCHILDCHANNEL_H

#include <cstdint>
#include <string_view>

// False if the child is gone, or takes nothing for so many milliseconds.
bool kivSendToChild(int channel, std::string_view bytes, int milliseconds);

enum class KivFromChild : std::uint8_t { byte, nothing, end };
// Waits at most so many milliseconds for a byte.
KivFromChild kivReceiveFromChild(int channel, int milliseconds, char* byte);

#endif
