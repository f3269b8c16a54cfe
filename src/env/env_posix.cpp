// Environment and system directories on POSIX: names go to the system as
// they are, the temporary directory is /tmp.
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <kvsup.h>
#include "env/env_os.h"

namespace korv {

const char kOsDefaultName[] = "linux";
const char kOsDefaultTemp[] = "/tmp";
const char kOsDefaultDataPath[] = ".,${HOME},${HOME}/data,${HOME}/.kvdata,${QRN_RELEASE}/data";

char *env_os_read(const char *name)
{
    const char *value = getenv(name);
    return value ? KorvStrDup(value) : nullptr;
}

bool env_os_temp_dir(char *buffer, size_t size)
{
    static const char temp[] = "/tmp";
    if (size < sizeof temp)
        return false;
    memcpy(buffer, temp, sizeof temp);
    return true;
}

bool env_os_current_dir(char *buffer, size_t size)
{
    return getcwd(buffer, size) != nullptr;
}

bool env_os_executable_file(char *buffer, size_t size)
{
    ssize_t n = readlink("/proc/self/exe", buffer, size);
    if (n <= 0 || (size_t)n >= size)
        return false;
    buffer[n] = '\0';
    return true;
}

} // namespace korv
