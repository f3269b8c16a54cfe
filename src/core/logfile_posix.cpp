// The log file on POSIX: opened without waiting (a FIFO with no reader
// would hold the open forever) and kept only when it is a regular file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include "core/logfile.h"

namespace korv {

FILE *log_file_open(const char *path)
{
    int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (fd < 0)
        return nullptr;
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        return nullptr;
    }
    FILE *file = fdopen(fd, "a");
    if (!file)
        close(fd);
    return file;
}

} // namespace korv
