// Processor count and memory figures on Windows.
#include <windows.h>
#include <kvsup.h>

extern "C" KORV_API uint32_t KorvIdentifyProcessorCount(void)
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors;
}

extern "C" KORV_API uint64_t KorvIdentifyMemory(uint32_t selector)
{
    MEMORYSTATUSEX status;
    status.dwLength = sizeof status;
    if (selector > 3 || !GlobalMemoryStatusEx(&status))
        return 0;
    switch (selector) {
    case 0: return status.ullTotalPhys;
    case 1: return status.ullAvailPhys;
    case 2: return status.ullTotalVirtual;
    default: return status.ullAvailVirtual;
    }
}
