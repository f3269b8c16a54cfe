// Descriptors, handles (a descriptor in the handle word), file opening and
// temporary files on POSIX.
#include "io_private.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace korv::io {

namespace {
int fd_of(KorvHandle h) { return static_cast<int>(reinterpret_cast<intptr_t>(h)); }
KorvHandle handle_of(int fd) { return reinterpret_cast<KorvHandle>(static_cast<intptr_t>(fd)); }
constexpr size_t kMaxPass = 0x7ffff000; // the kernel moves at most this per call
} // namespace

int64_t fd_read(int32_t fd, void *dst, uint64_t count) {
    ssize_t r;
    do r = ::read(fd, dst, count < kMaxPass ? count : kMaxPass);
    while (r < 0 && errno == EINTR);
    return r;
}

int64_t fd_write(int32_t fd, const void *src, uint64_t count) {
    ssize_t r;
    do r = ::write(fd, src, count < kMaxPass ? count : kMaxPass);
    while (r < 0 && errno == EINTR);
    return r;
}

int64_t fd_seek(int32_t fd, int64_t offset, uint32_t whence) {
    static const int origin[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    return ::lseek(fd, offset, origin[whence]);
}

void fd_close(int32_t fd) { ::close(fd); }

bool fd_is_regular(int32_t fd) {
    struct stat st;
    return ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

void fd_set_binary(int32_t) {}

int64_t fp_seek(FILE *fp, int64_t offset, int origin) {
    if (::fseeko(fp, offset, origin) != 0) return -1;
    return ::ftello(fp);
}

const char kTempFallbackDir[] = "/tmp";

uint64_t handle_read(KorvHandle h, void *dst, uint64_t count) {
    int64_t r = fd_read(fd_of(h), dst, count);
    return r < 0 ? 0 : static_cast<uint64_t>(r);
}

uint64_t handle_write(KorvHandle h, const void *src, uint64_t count) {
    int64_t r = fd_write(fd_of(h), src, count);
    return r < 0 ? 0 : static_cast<uint64_t>(r);
}

int64_t handle_seek(KorvHandle h, int64_t offset, uint32_t method) {
    return fd_seek(fd_of(h), offset, method);
}

void handle_seek_end(KorvHandle h) { ::lseek(fd_of(h), 0, SEEK_END); }
void handle_close(KorvHandle h) { ::close(fd_of(h)); }
bool handle_is_disk(KorvHandle h) { return fd_is_regular(fd_of(h)); }

bool open_file(const char *name, uint32_t access, uint32_t disposition, KorvHandle *out) {
    int flags = O_CLOEXEC;
    if (access == (kAccessRead | kAccessWrite)) flags |= O_RDWR;
    else if (access == kAccessWrite) flags |= O_WRONLY;
    else if (access == kAccessRead) flags |= O_RDONLY;
    if (disposition == kCreateAlways) flags |= O_CREAT | O_TRUNC;
    else if (disposition == kOpenAlways) flags |= O_CREAT;
    int fd = -1;
    if (access != 0 && disposition != kDispNone) {
        do fd = ::open(name, flags, 0666);
        while (fd < 0 && errno == EINTR);
    } else {
        errno = EINVAL;
    }
    if (fd < 0) {
        KorvDebug("CreateFileW failed with code %d for file %s\n", errno, name);
        return false;
    }
    *out = handle_of(fd);
    return true;
}

uint64_t free_space_kib(const char *dir) {
    struct statvfs st;
    if (::statvfs(dir, &st) != 0) return 0;
    return static_cast<uint64_t>(st.f_bavail) * st.f_frsize / 1024;
}

bool dir_usable(const char *dir) {
    struct stat st;
    if (::stat(dir, &st) != 0) {
        KorvError("Error: Cannot get attributes of \"%s\".\n", dir);
        return false;
    }
    if (!S_ISDIR(st.st_mode)) {
        KorvError("Error: \"%s\" is not a directory.\n", dir);
        return false;
    }
    return ::access(dir, W_OK) == 0;
}

const char kHintSeparator = '/';

// mkostemp makes the name and the file in one exclusive step with mode
// 0600; the descriptor it gives is the only way the library reaches the
// file, so a name replaced in a shared directory is never followed.
char *create_temp_file(const char *dir, TempLife life, KorvHandle *out) {
    size_t len = strlen(dir);
    auto *tmpl = static_cast<char *>(korv_internal_malloc(len + sizeof "/_korvXXXXXX"));
    if (!tmpl) return nullptr;
    memcpy(tmpl, dir, len);
    memcpy(tmpl + len, "/_korvXXXXXX", sizeof "/_korvXXXXXX");
    int fd;
    do fd = ::mkostemp(tmpl, O_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        KorvDebug("CreateFileW failed with code %d for file %s\n", errno, tmpl);
        korv_internal_free(tmpl);
        return nullptr;
    }
    // Nothing names the file once it is open: it goes when it is closed.
    if (life == kTempUnnamed) ::unlink(tmpl);
    *out = handle_of(fd);
    return tmpl;
}


} // namespace korv::io

extern "C" KORV_API FILE *KorvFOpen(const char *name, const char *mode) {
    if (!name || !mode) return nullptr;
    return ::fopen(name, mode);
}
