// A reader of foreign files that does what the file says, instead of reading it: what a hostile file could make of the
// real one. The first word of the file is the deed, the second what it is done to. What was possible comes back as an
// error's text.
#include "import/partsstream.h"
#include "import/reader/readerprogram.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace kivimport;

constexpr int channel = 3;

[[noreturn]] void tell(long result) {
    throw ImportError(result >= 0 ? "possible" : std::strerror(errno));
}

template <class T> void sendRaw(T value) {
    const char* at = reinterpret_cast<const char*>(&value);
    for (std::size_t left = sizeof value; left > 0;) {
        const ssize_t sent = ::write(channel, at, left);
        if (sent <= 0) {
            std::abort();
        }
        at += sent;
        left -= static_cast<std::size_t>(sent);
    }
}

ModelParts triangle() {
    ModelParts parts;
    parts.format = "probe";
    Surface& surface = parts.surfaces.emplace_back();
    surface.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    surface.corners = {0, 1, 2};
    surface.parts.push_back({"a\x1B[31m", noIndex});
    return parts;
}

ModelParts badIndex() {
    ModelParts parts = triangle();
    parts.surfaces[0].corners[1] = 4'000'000'000;
    return parts;
}

ModelParts badNumber() {
    ModelParts parts = triangle();
    parts.surfaces[0].positions[1].y = std::nan("");
    return parts;
}

// Beside the socket and the file itself.
long foreignDescriptors() {
    long found = -1;
    for (int i = channel + 2; i < 1024; ++i) {
        found = fcntl(i, F_GETFL) >= 0 ? 0 : found;
    }
    return found;
}

// Addresses that are never used cost nothing, and nobody would see them go.
long reserveMemory() {
    const void* const place =
        mmap(nullptr, std::size_t{1} << 30, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return place == MAP_FAILED ? -1 : 0;
}

void crash() {
    std::raise(SIGSEGV);
}

volatile bool goesOn = true;

void loop() {
    while (goesOn) {
    }
}

void flood(ReaderReport& /*report*/) {
    while (goesOn) {
        sendRaw(ReaderMessage::progress);
        sendRaw(0.5);
    }
}

void rest() {
    while (goesOn) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

void eatMemory() {
    std::vector<std::vector<char>> pieces;
    while (goesOn) {
        pieces.emplace_back(1 << 20, 'x');
    }
}

void sendNonsense() {
    for (std::uint32_t i = 0; i < 1000; ++i) {
        sendRaw(i * 2654435761U);
    }
    rest();
}

// A list of more items than there are bytes in the world.
void sendHugeList() {
    sendRaw(ReaderMessage::parts);
    sendRaw(std::uint64_t{0}); // format
    sendRaw(std::uint8_t{0});
    sendRaw(0.0);              // unit
    sendRaw(std::uint64_t{0}); // nodes
    sendRaw(std::uint64_t{1}); // surfaces
    sendRaw(std::uint64_t{1} << 60);
    rest();
}

// It says that there are many, and sends for ever.
void sendWithoutEnd() {
    sendRaw(ReaderMessage::parts);
    sendRaw(std::uint64_t{0});
    sendRaw(std::uint8_t{0});
    sendRaw(0.0);
    sendRaw(std::uint64_t{0});
    sendRaw(~std::uint64_t{0}); // surfaces
    const std::array<char, 1 << 16> zeros{};
    while (goesOn) {
        sendRaw(zeros);
    }
}

// Closes the socket and lives on.
void fallSilent() {
    close(channel);
    rest();
}

// Threads are allowed, and confined as the one that starts them.
long openSocketInThread() {
    long result = 0;
    int why = 0;
    std::thread([&result, &why] {
        result = socket(AF_INET, SOCK_STREAM, 0);
        why = errno;
    }).join();
    errno = why;
    return result;
}

ModelParts obey(const ReaderRequest& request, ReaderReport& report) {
    const std::string& path = request.path;
    std::ifstream file(path);
    std::string deed;
    std::string target;
    file >> deed >> target;
    const char* const name = target.c_str();
    const std::map<std::string, std::function<long()>> tries{
        {"read", [&] { return open(name, O_RDONLY); }},
        {"create", [&] { return open(name, O_WRONLY | O_CREAT, 0600); }},
        {"append", [&] { return open(name, O_WRONLY | O_APPEND); }},
        {"truncate", [&] { return truncate(name, 0); }},
        {"remove", [&] { return unlink(name); }},
        {"rename", [&] { return rename(path.c_str(), name); }},
        {"folder", [&] { return mkdir(name, 0700); }},
        {"link", [&] { return symlink("/etc", name); }},
        {"mode", [&] { return chmod(path.c_str(), 0777); }},
        {"socket", [&] { return socket(AF_INET, SOCK_STREAM, 0); }},
        {"local", [&] { return socket(AF_UNIX, SOCK_STREAM, 0); }},
        {"fork", [&] { return fork(); }},
        {"thread", openSocketInThread},
        {"execute", [&] { return execl("/bin/true", "true", nullptr); }},
        {"signal", [&] { return kill(getppid(), 0); }},
        {"descriptors", foreignDescriptors},
        {"reserve", reserveMemory},
    };
    const std::map<std::string, void (*)()> deeds{
        {"crash", crash},       {"abort", std::abort},       {"loop", loop},
        {"rest", rest},         {"memory", eatMemory},       {"nonsense", sendNonsense},
        {"huge", sendHugeList}, {"endless", sendWithoutEnd}, {"silent", fallSilent},
    };
    if (const auto found = tries.find(deed); found != tries.end()) {
        errno = 0;
        tell(found->second());
    }
    if (const auto found = deeds.find(deed); found != deeds.end()) {
        found->second();
    }
    if (deed == "flood") {
        flood(report);
    }
    if (deed == "exit") {
        std::_Exit(7);
    }
    if (deed == "text") {
        throw ImportError("two\nlines and \x1B[31mcolour, " + std::string(100'000, 'x'));
    }
    if (deed == "steps") {
        report.done(0.5);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        report.done(1.0);
    }
    return deed == "index" ? badIndex() : deed == "nan" ? badNumber() : triangle();
}

ReadModel findReader(const std::string& /*path*/) {
    return obey;
}

std::string describe() {
    return "a probe";
}

} // namespace

int main(int argc, char** argv) {
    return runReaderProgram(argc, argv, findReader, describe);
}
