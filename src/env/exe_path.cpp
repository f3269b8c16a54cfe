// The directory that holds the executable, found once per process.
#include <string.h>
#include <kvsup.h>
#include "env/env_internal.h"
#include "env/env_os.h"

using namespace korv;

namespace {

bool g_done = false;
bool g_failed = false;
char g_dir[1024];

} // namespace

extern "C" KORV_API const char *KorvGetExecutablePath(void)
{
    KeyGuard guard(kSharedLockKey);
    if (!g_done && !g_failed) {
        if (env_os_executable_file(g_dir, sizeof g_dir)) {
            if (char *cut = strrchr(g_dir, kPathSep))
                *cut = '\0';
            g_done = true;
        } else {
            g_failed = true;
        }
    }
    return g_done ? g_dir : nullptr;
}
