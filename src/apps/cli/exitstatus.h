// What the program's exit status says.
#ifndef APPS_CLI_EXITSTATUS_H
#define APPS_CLI_EXITSTATUS_H

inline constexpr int statusDone = 0;
inline constexpr int statusFailed = 1;
inline constexpr int statusWrongUse = 2;
inline constexpr int statusCancelled = 130;

#endif
