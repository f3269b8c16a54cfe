// Files and directories on POSIX: names go to the system as they are.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <kvsup.h>
#include "env/fs_os.h"

namespace korv {

uint32_t fs_os_identify(const char *path)
{
    struct stat st;
    if (stat(path, &st) != 0)
        return 2;
    return S_ISDIR(st.st_mode) ? 1 : 0;
}

namespace {

uint64_t milliseconds(const struct timespec &t)
{
    return (uint64_t)((int64_t)t.tv_sec * 1000 + t.tv_nsec / 1000000);
}

} // namespace

uint32_t fs_os_attributes(const char *path, uint32_t which, uint64_t *value)
{
    struct stat st;
    if (stat(path, &st) != 0)
        return 0xFFFFFFFFu;
    if (which == 0)
        *value = milliseconds(st.st_atim);
    else if (which == 1)
        *value = milliseconds(st.st_mtim);
    else
        *value = (uint64_t)st.st_size;
    return 1;
}

char **fs_os_roots()
{
    char **roots = static_cast<char **>(korv_internal_calloc(2, sizeof(char *)));
    if (!roots)
        return nullptr;
    roots[0] = KorvStrDup("/");
    if (!roots[0]) {
        korv_internal_free(roots);
        return nullptr;
    }
    return roots;
}

MkDirResult fs_os_mkdir(const char *path)
{
    if (mkdir(path, 0777) == 0)
        return MkDirResult::Made;
    if (errno == EEXIST)
        return MkDirResult::Exists;
    if (errno == ENOENT)
        return MkDirResult::ParentMissing;
    return MkDirResult::Failed;
}

struct DirSearch {
    DIR *dir;
    struct dirent *entry;
    int fd;
};

DirSearch *fs_os_dir_open(const char *path)
{
    DirSearch *search = static_cast<DirSearch *>(korv_internal_calloc(1, sizeof(DirSearch)));
    if (!search)
        return nullptr;
    search->dir = opendir(path);
    if (!search->dir) {
        korv_internal_free(search);
        return nullptr;
    }
    search->fd = dirfd(search->dir);
    if (!fs_os_dir_advance(search)) {
        fs_os_dir_close(search);
        return nullptr;
    }
    return search;
}

const char *fs_os_dir_name(DirSearch *search, uint32_t *is_directory)
{
    struct dirent *e = search->entry;
    if (is_directory) {
        if (e->d_type == DT_DIR) {
            *is_directory = 1;
        } else if (e->d_type == DT_UNKNOWN || e->d_type == DT_LNK) {
            struct stat st;
            *is_directory = fstatat(search->fd, e->d_name, &st, 0) == 0 && S_ISDIR(st.st_mode);
        } else {
            *is_directory = 0;
        }
    }
    return e->d_name;
}

bool fs_os_dir_advance(DirSearch *search)
{
    search->entry = readdir(search->dir);
    return search->entry != nullptr;
}

void fs_os_dir_close(DirSearch *search)
{
    if (!search)
        return;
    closedir(search->dir);
    korv_internal_free(search);
}

uint32_t fs_os_delete(const char *path)
{
    // The name itself decides, not what a link points at: a link (dangling
    // or to a directory) is unlinked; an unreadable name goes to rmdir,
    // which reports the failure.
    struct stat st;
    bool plain = lstat(path, &st) == 0 && !S_ISDIR(st.st_mode);
    int rc = plain ? unlink(path) : rmdir(path);
    return rc == 0 ? 1 : 0xFFFFFFFFu;
}

namespace {

// Whether the kernel or the file system lacks the no-replace rename.
bool no_replace_unsupported(int error)
{
    return error == EINVAL || error == ENOSYS || error == ENOTSUP || error == EOPNOTSUPP;
}

} // namespace

uint32_t fs_os_rename(const char *old_path, const char *new_path)
{
    // An existing target is refused, never replaced.
    if (renameat2(AT_FDCWD, old_path, AT_FDCWD, new_path, RENAME_NOREPLACE) == 0)
        return 1;
    if (!no_replace_unsupported(errno))
        return 0xFFFFFFFFu;
    // Without it: a new link fails on an existing target; then the old name
    // goes.
    if (link(old_path, new_path) == 0) {
        if (unlink(old_path) == 0)
            return 1;
        unlink(new_path);
        return 0xFFFFFFFFu;
    }
    if (errno == EEXIST)
        return 0xFFFFFFFFu;
    // Directories and file systems without hard links: a plain rename
    // after checking the target.
    struct stat st;
    if (lstat(new_path, &st) == 0 || errno != ENOENT)
        return 0xFFFFFFFFu;
    return rename(old_path, new_path) == 0 ? 1 : 0xFFFFFFFFu;
}

namespace {

// Copies everything from in to out; false on a read or write failure.
bool copy_bytes(int in, int out)
{
    char buffer[65536];
    for (;;) {
        ssize_t n = read(in, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n == 0;
        for (ssize_t done = 0; done < n;) {
            ssize_t w = write(out, buffer + done, (size_t)(n - done));
            if (w < 0 && errno == EINTR)
                continue;
            if (w <= 0)
                return false;
            done += w;
        }
    }
}

// Creates a new file beside destination under a name of its own (exclusive
// create); the new name goes to *name (caller frees). -1 on failure.
int create_beside(const char *destination, mode_t mode, char **name)
{
    size_t n = strlen(destination);
    char *temp = static_cast<char *>(korv_internal_malloc(n + 32));
    if (!temp)
        return -1;
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 100; attempt++) {
        unsigned serial = __atomic_add_fetch(&counter, 1, __ATOMIC_RELAXED);
        snprintf(temp, n + 32, "%s.korv%ld.%u", destination, (long)getpid(), serial);
        int fd = open(temp, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
        if (fd >= 0) {
            *name = temp;
            return fd;
        }
        if (errno != EEXIST)
            break;
    }
    korv_internal_free(temp);
    return -1;
}

} // namespace

uint32_t fs_os_copy(const char *destination, const char *source, uint32_t overwrite)
{
    int in = open(source, O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return 0xFFFFFFFFu;
    struct stat st;
    if (fstat(in, &st) != 0 || S_ISDIR(st.st_mode)) {
        close(in);
        return 0xFFFFFFFFu;
    }
    // A destination that is the source itself (the same name, a hard link
    // or a link to it) is refused before anything is opened for writing.
    struct stat target;
    if (stat(destination, &target) == 0 && target.st_dev == st.st_dev &&
        target.st_ino == st.st_ino) {
        close(in);
        return 0xFFFFFFFFu;
    }
    mode_t mode = st.st_mode & 0777;
    // A new file is made under its own name, and a failed copy removes it
    // again. An overwrite goes to a new name beside the destination and
    // replaces it only when complete, so a failure leaves it as it was.
    char *temp = nullptr;
    int out = overwrite ? create_beside(destination, mode, &temp)
                        : open(destination, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (out < 0) {
        close(in);
        return 0xFFFFFFFFu;
    }
    bool ok = copy_bytes(in, out);
    close(in);
    if (close(out) != 0)
        ok = false;
    if (ok && temp)
        ok = rename(temp, destination) == 0;
    if (!ok)
        unlink(temp ? temp : destination);
    korv_internal_free(temp);
    return ok ? 1 : 0xFFFFFFFFu;
}

bool fs_os_name_ok(const char *)
{
    return true;
}

char *fs_os_full_path(const char *path)
{
    if (path[0] == '/')
        return KorvStrDup(path);
    char cwd[PATH_MAX];
    if (!getcwd(cwd, sizeof cwd))
        return nullptr;
    size_t a = strlen(cwd), b = strlen(path);
    // The root is "/" already: a second separator would make "//", which
    // reads as the start of a network name.
    if (a > 0 && cwd[a - 1] == '/')
        a--;
    char *full = static_cast<char *>(korv_internal_malloc(a + b + 2));
    if (!full)
        return nullptr;
    memcpy(full, cwd, a);
    full[a] = '/';
    memcpy(full + a + 1, path, b + 1);
    return full;
}

char *fs_os_long_path(const char *path)
{
    return KorvStrDup(path);
}

size_t fs_os_root_length(const char *path)
{
    return path[0] == '/' ? 1 : 0;
}

void fs_os_unify_separators(char *)
{
}

} // namespace korv
