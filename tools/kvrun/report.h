// Outcome of a step of kvrun and the one error line the user sees.
#pragma once

#include <string>

namespace kvrun {

// Exit statuses: success, bad usage (options, functions, arguments, output
// choice), bad data (unreadable or malformed input, failed processing or
// writing).
enum Exit { kExitOk = 0, kExitUsage = 1, kExitData = 2 };

// A failure carries its exit status and the text of its error line (without
// the program name and without a line end). code 0 means success.
struct Status {
    int code = kExitOk;
    std::string message;
    bool ok() const { return code == kExitOk; }
};

// printf-style construction of a failure.
Status fail(int code, const char *format, ...) __attribute__((format(printf, 2, 3)));
inline Status usage_error(const std::string &text) { return Status{kExitUsage, text}; }
inline Status data_error(const std::string &text) { return Status{kExitData, text}; }

// Writes "kvrun: <message>" as one line on standard error. Line ends inside
// the message (as module messages may carry) are folded into "; ".
void print_error(const Status &status);

// A message without its trailing blanks and line ends.
std::string trim_message(const char *text);

} // namespace kvrun
