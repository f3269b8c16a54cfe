// Processor count and memory figures on POSIX.
#include <sys/sysinfo.h>
#include <unistd.h>
#include <kvsup.h>

extern "C" KORV_API uint32_t KorvIdentifyProcessorCount(void)
{
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? (uint32_t)n : 1;
}

// 0 total physical, 1 available physical, 2 total virtual (physical plus
// swap), 3 available virtual; anything else 0.
extern "C" KORV_API uint64_t KorvIdentifyMemory(uint32_t selector)
{
    struct sysinfo info;
    if (selector > 3 || sysinfo(&info) != 0)
        return 0;
    uint64_t unit = info.mem_unit ? info.mem_unit : 1;
    switch (selector) {
    case 0: return (uint64_t)info.totalram * unit;
    case 1: return (uint64_t)info.freeram * unit;
    case 2: return ((uint64_t)info.totalram + info.totalswap) * unit;
    default: return ((uint64_t)info.freeram + info.freeswap) * unit;
    }
}
