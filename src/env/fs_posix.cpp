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
    int rc = fs_os_identify(path) == 0 ? unlink(path) : rmdir(path);
    return rc == 0 ? 1 : 0xFFFFFFFFu;
}

uint32_t fs_os_rename(const char *old_path, const char *new_path)
{
    return rename(old_path, new_path) == 0 ? 1 : 0xFFFFFFFFu;
}

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
    int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (overwrite ? O_TRUNC : O_EXCL);
    int out = open(destination, flags, st.st_mode & 0777);
    if (out < 0) {
        close(in);
        return 0xFFFFFFFFu;
    }
    bool ok = true;
    char buffer[65536];
    for (;;) {
        ssize_t n = read(in, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            ok = n == 0;
            break;
        }
        for (ssize_t done = 0; done < n;) {
            ssize_t w = write(out, buffer + done, (size_t)(n - done));
            if (w < 0 && errno == EINTR)
                continue;
            if (w <= 0) {
                ok = false;
                break;
            }
            done += w;
        }
        if (!ok)
            break;
    }
    close(in);
    if (close(out) != 0)
        ok = false;
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

} // namespace korv
