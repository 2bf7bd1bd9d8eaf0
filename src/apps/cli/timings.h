// What a command spent its time on, for --timings.
#ifndef APPS_CLI_TIMINGS_H
#define APPS_CLI_TIMINGS_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

class Timings {
public:
    using Clock = std::chrono::steady_clock;

    // Milliseconds since the last call, or since the object was made.
    double lap() {
        const Clock::time_point now = Clock::now();
        const double time = milliseconds(now - last);
        last = now;
        return time;
    }
    void add(const std::string& what, double time) {
        rows.emplace_back(what, time);
    }
    double total() const {
        return milliseconds(Clock::now() - start);
    }
    const std::vector<std::pair<std::string, double>>& all() const {
        return rows;
    }

    static double milliseconds(Clock::duration duration) {
        return std::chrono::duration<double, std::milli>(duration).count();
    }

private:
    Clock::time_point start = Clock::now();
    Clock::time_point last = start;
    std::vector<std::pair<std::string, double>> rows;
};

#endif
