#include "progress.h"

#include "console.h"

#include <cstdio>

namespace kvrun {

namespace {
const int kWidth = 40;
}

Progress::Progress(bool enabled, uint64_t total)
    : enabled_(enabled && total > 0 && console_stderr_is_terminal()), total_(total)
{
}

void Progress::update(uint64_t done)
{
    if (!enabled_)
        return;
    int percent = static_cast<int>(done * 100 / total_);
    if (percent == shown_)
        return;
    shown_ = percent;
    char bar[kWidth + 1];
    int filled = percent * kWidth / 100;
    for (int i = 0; i < kWidth; i++)
        bar[i] = i < filled ? '#' : '.';
    bar[kWidth] = '\0';
    fprintf(stderr, "\rkvrun: [%s] %3d%%", bar, percent);
    fflush(stderr);
}

void Progress::clear()
{
    if (!enabled_ || shown_ < 0)
        return;
    fprintf(stderr, "\r%*s\r", kWidth + 16, "");
    fflush(stderr);
    shown_ = -1;
}

} // namespace kvrun
