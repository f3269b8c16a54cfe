// A progress bar on standard error, drawn only when it is a terminal.
#pragma once

#include <cstdint>

namespace kvrun {

class Progress {
public:
    Progress(bool enabled, uint64_t total);
    void update(uint64_t done);
    // Erases the bar, leaving the line free for what comes next.
    void clear();

private:
    bool enabled_;
    uint64_t total_;
    int shown_ = -1;
};

} // namespace kvrun
