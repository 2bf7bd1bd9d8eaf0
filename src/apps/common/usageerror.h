// Wrong use of a program, told to its user.
#ifndef APPS_COMMON_USAGEERROR_H
#define APPS_COMMON_USAGEERROR_H

#include <stdexcept>

// One line: what was given, what was expected. The command line ends with status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

#endif
