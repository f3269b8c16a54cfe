// The file part of a smart buffer segment, read through a mapping.
#include "smart_buffer.h"

#include <stdint.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korv::io {

// Emptied through the segment's own descriptor and mapped at the recorded
// length: the part reads back as that many zero bytes.
bool sb_map_copy(SBSegment *seg, int64_t length, int64_t offset, void *dst, uint64_t count) {
    int fd = static_cast<int>(reinterpret_cast<intptr_t>(seg->file));
    if (::ftruncate(fd, 0) != 0 || ::ftruncate(fd, length) != 0) return false;
    void *view = ::mmap(nullptr, static_cast<size_t>(length), PROT_READ | PROT_WRITE,
                        MAP_SHARED, fd, 0);
    if (view == MAP_FAILED) return false;
    memcpy(dst, static_cast<char *>(view) + offset, count);
    ::munmap(view, static_cast<size_t>(length));
    return true;
}

void sb_close_file(SBSegment *seg) {
    int fd = static_cast<int>(reinterpret_cast<intptr_t>(seg->file));
    struct stat held, named;
    if (::fstat(fd, &held) == 0 && ::lstat(seg->file_name, &named) == 0
        && held.st_dev == named.st_dev && held.st_ino == named.st_ino)
        ::unlink(seg->file_name);
    ::close(fd);
}

} // namespace korv::io
