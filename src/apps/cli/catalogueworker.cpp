#include "apps/cli/catalogueworker.h"

#include "apps/cli/clihost.h"
#include "apps/cli/errorline.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/rendercommand.h"
#include "apps/cli/startup.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivshader.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool readAll(int descriptor, void* bytes, std::size_t count) {
    auto* to = static_cast<char*>(bytes);
    while (count > 0) {
        const ssize_t got = read(descriptor, to, count);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        to += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

bool writeAll(int descriptor, const void* bytes, std::size_t count) {
    const auto* from = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t put = write(descriptor, from, count);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return false;
        }
        from += put;
        count -= static_cast<std::size_t>(put);
    }
    return true;
}

// --- in the worker

// What the renderer would put on standard error, and how it ended.
CatalogueResult drawJob(const CatalogueJob& job, const std::string& folder, const Program& program) {
    CatalogueResult result;
    const auto start = CatalogueWorker::Clock::now();
    const auto fail = [&result](const std::string& why) { result.messages.push_back(why); };
    collectWarnings(&result.messages);
    try {
        for (const std::string& output : job.options.outputs) {
            std::filesystem::create_directories(std::filesystem::path(output).parent_path());
        }
        program.host().setThumbnail(kivFromUtf8(folder + "/" + thumbnailName(job)));
        result.triangles = renderWithin(job.options, program.host()).triangles;
        result.status = isInterrupted() ? CatalogueResult::Status::cancelled : CatalogueResult::Status::done;
    } catch (const std::bad_alloc&) {
        fail("there is not enough memory for this");
    } catch (const std::exception& error) {
        fail(error.what());
    } catch (KivShader::stopReason) {
        fail("a shader has stopped the render, or there is no place for temporary files");
    } catch (...) {
        fail("a shader plug-in has failed");
    }
    collectWarnings(nullptr);
    result.seconds = std::chrono::duration<double>(CatalogueWorker::Clock::now() - start).count();
    return result;
}

std::string packed(const CatalogueResult& result) {
    std::string text = std::to_string(static_cast<int>(result.status)) + "\n" + std::to_string(result.seconds) + "\n" +
                       std::to_string(result.triangles) + "\n";
    for (const std::string& message : result.messages) {
        std::string line = message;
        for (char& c : line) {
            c = c == '\n' ? ' ' : c;
        }
        text += line + "\n";
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    return std::string(reinterpret_cast<const char*>(&length), sizeof length) + text;
}

CatalogueResult unpacked(const std::string& text) {
    CatalogueResult result;
    std::istringstream in(text);
    int status = 0;
    in >> status >> result.seconds >> result.triangles;
    result.status = static_cast<CatalogueResult::Status>(status);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        result.messages.push_back(line);
    }
    return result;
}

// With as many workers as cores, threads of the driver would only get into each other's way.
void shareCores(unsigned int numWorkers) {
    const unsigned int cores = std::max(1U, std::thread::hardware_concurrency());
    if (numWorkers > 1 && cores / numWorkers < 2) {
        setenv("LP_NUM_THREADS", "0", 0);
    }
}

[[noreturn]] void serve(const CatalogueWork& work, pid_t parent, int orders, int answers) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(0); // it ended before its end could be asked for
    }
    std::signal(SIGPIPE, SIG_IGN);
    catchInterrupts();
    shareCores(work.numWorkers);
    {
        const Program program;
        for (std::uint64_t job = 0; readAll(orders, &job, sizeof job) && job < work.jobs.size();) {
            const std::string answer = packed(drawJob(work.jobs[job], work.folder, program));
            if (!writeAll(answers, answer.data(), answer.size())) {
                break;
            }
        }
    }
    _exit(0); // what the parent has set up is the parent's to undo
}

std::string endOf(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("its process crashed (") + strsignal(WTERMSIG(status)) + ")";
    }
    return "its process ended (status " + std::to_string(WEXITSTATUS(status)) + ")";
}

} // namespace

std::string thumbnailName(const CatalogueJob& job) {
    return "thumbnails/" + job.key.substr(0, 32) + ".png";
}

CatalogueWorker::CatalogueWorker(const CatalogueWork& work) {
    int toWorker[2];
    int fromWorker[2];
    if (pipe2(toWorker, O_CLOEXEC) != 0 || pipe2(fromWorker, O_CLOEXEC) != 0) {
        throw std::runtime_error(std::string("can't start a worker: ") + std::strerror(errno));
    }
    const pid_t parent = getpid();
    pid = fork();
    if (pid < 0) {
        throw std::runtime_error(std::string("can't start a worker: ") + std::strerror(errno));
    }
    if (pid == 0) {
        close(toWorker[1]);
        close(fromWorker[0]);
        serve(work, parent, toWorker[0], fromWorker[1]);
    }
    close(toWorker[0]);
    close(fromWorker[1]);
    orders = toWorker[1];
    answers = fromWorker[0];
}

CatalogueWorker::~CatalogueWorker() {
    if (pid > 0 && job) {
        kill(pid, SIGKILL);
    } else if (pid > 0) {
        // Workers that were started later hold the pipe too: its end alone would not be noticed.
        const std::uint64_t noMore = UINT64_MAX;
        writeAll(orders, &noMore, sizeof noMore);
    }
    end();
}

std::string CatalogueWorker::end() {
    std::string how;
    if (orders >= 0) {
        close(orders);
        close(answers);
        orders = -1;
        answers = -1;
    }
    if (pid > 0) {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        how = endOf(status);
        pid = -1;
    }
    return how;
}

bool CatalogueWorker::start(std::size_t number) {
    job = number;
    started = Clock::now();
    received.clear();
    const std::uint64_t order = number;
    return writeAll(orders, &order, sizeof order);
}

double CatalogueWorker::secondsAtWork() const {
    return std::chrono::duration<double>(Clock::now() - started).count();
}

std::optional<CatalogueResult> CatalogueWorker::collect() {
    char block[4096];
    const ssize_t got = read(answers, block, sizeof block);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
        return std::nullopt;
    }
    if (got <= 0) {
        return giveUp(CatalogueResult::Status::crashed, "");
    }
    received.append(block, static_cast<std::size_t>(got));
    std::uint32_t length = 0;
    if (received.size() < sizeof length) {
        return std::nullopt;
    }
    std::memcpy(&length, received.data(), sizeof length);
    if (received.size() < sizeof length + length) {
        return std::nullopt;
    }
    job.reset();
    return unpacked(received.substr(sizeof length));
}

CatalogueResult CatalogueWorker::giveUp(CatalogueResult::Status status, const std::string& why) {
    CatalogueResult result;
    result.status = status;
    result.seconds = secondsAtWork();
    job.reset();
    if (status != CatalogueResult::Status::crashed) {
        kill(pid, SIGKILL);
    }
    const std::string how = end();
    result.messages.push_back(why.empty() ? how : why);
    return result;
}
