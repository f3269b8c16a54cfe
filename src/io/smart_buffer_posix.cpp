// The file part of a smart buffer segment, read through a mapping.
#include "smart_buffer.h"

#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

namespace korv::io {

// The file is reopened truncated and mapped at its recorded length, so the
// part reads back as that many zero bytes.
bool sb_map_copy(SBSegment *seg, int64_t length, int64_t offset, void *dst, uint64_t count) {
    int fd = ::open(seg->file_name, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    if (::ftruncate(fd, length) != 0) {
        ::close(fd);
        return false;
    }
    void *view = ::mmap(nullptr, static_cast<size_t>(length), PROT_READ | PROT_WRITE,
                        MAP_SHARED, fd, 0);
    ::close(fd);
    if (view == MAP_FAILED) return false;
    memcpy(dst, static_cast<char *>(view) + offset, count);
    ::munmap(view, static_cast<size_t>(length));
    return true;
}

} // namespace korv::io
