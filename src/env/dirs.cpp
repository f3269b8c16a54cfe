// Making, reading and listing directories; deleting, renaming and copying
// files.
#include <string.h>
#include <kvsup.h>
#include "env/env_internal.h"
#include "env/fs_os.h"

using namespace korv;

namespace {

// Makes path after making its missing parents. Parents are found by cutting
// the path at its separators from the right while the system reports a
// missing parent, then the cut components are made again left to right.
uint32_t mkdir_with_parents(char *path)
{
    size_t length = strlen(path);
    MkDirResult r;
    for (;;) {
        r = fs_os_mkdir(path);
        if (r != MkDirResult::ParentMissing)
            break;
        char *cut = strrchr(path, kPathSep);
        if (!cut || cut == path)
            return 0;
        *cut = '\0';
    }
    if (r == MkDirResult::Failed)
        return 0;
    // Put the components back one at a time.
    for (;;) {
        size_t now = strlen(path);
        if (now == length)
            return 1;
        path[now] = kPathSep;
        // Another maker may have come first; a trailing separator names the
        // directory just made again.
        MkDirResult again = fs_os_mkdir(path);
        if (again != MkDirResult::Made && again != MkDirResult::Exists)
            return 0;
    }
}

uint32_t dir_free(KorvDir *dir)
{
    if (!dir)
        return 0;
    fs_os_dir_close(static_cast<DirSearch *>(dir->search));
    korv_internal_free(dir);
    return 1;
}

uint32_t entry_free(KorvDirEntry *entry)
{
    if (!entry)
        return 0;
    korv_internal_free(entry->name);
    korv_internal_free(entry);
    return 1;
}

KorvDirEntry *make_entry(const char *name, uint32_t is_directory)
{
    KorvDirEntry *entry = static_cast<KorvDirEntry *>(korv_internal_calloc(1, sizeof(KorvDirEntry)));
    if (!entry)
        return nullptr;
    entry->name = KorvStrDup(name);
    if (!entry->name) {
        korv_internal_free(entry);
        return nullptr;
    }
    entry->isDirectory = is_directory;
    entry->copy = [](const KorvDirEntry *e) { return e ? make_entry(e->name, e->isDirectory) : nullptr; };
    entry->free = entry_free;
    return entry;
}

bool is_dot_entry(const char *name)
{
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

} // namespace

extern "C" KORV_API uint32_t KorvMkDir(const char *path, uint32_t make_parents)
{
    if (!path)
        return 0;
    MkDirResult r = fs_os_mkdir(path);
    if (r == MkDirResult::Made)
        return 1;
    if (r == MkDirResult::Exists)
        return 0xFFFFFFFFu;
    if (r != MkDirResult::ParentMissing || !make_parents)
        return 0;
    char *copy = KorvStrDup(path);
    if (!copy)
        return 0;
    uint32_t result = mkdir_with_parents(copy);
    korv_internal_free(copy);
    return result;
}

extern "C" KORV_API KorvDir *KorvOpenDir(const char *path)
{
    if (!path)
        return nullptr;
    KorvDir *dir = static_cast<KorvDir *>(korv_internal_calloc(1, sizeof(KorvDir)));
    if (!dir)
        return nullptr;
    DirSearch *search = fs_os_dir_open(path);
    if (!search) {
        korv_internal_free(dir);
        return nullptr;
    }
    dir->free = dir_free;
    dir->search = search;
    dir->current = search;
    return dir;
}

extern "C" KORV_API char *KorvNextDir(KorvDir *dir)
{
    if (!dir || !dir->current)
        return nullptr;
    DirSearch *search = static_cast<DirSearch *>(dir->search);
    if (dir->handedFirst && !fs_os_dir_advance(search)) {
        dir->current = nullptr;
        return nullptr;
    }
    dir->handedFirst = 1;
    const char *name = fs_os_dir_name(search, nullptr);
    return name ? KorvStrDup(name) : nullptr;
}

extern "C" KORV_API uint32_t KorvListDir(const char *path, uint32_t *count,
                                         KorvDirEntry ***entries)
{
    if (!path || !count || !entries)
        return 0;
    DirSearch *search = fs_os_dir_open(path);
    if (!search)
        return 0;
    uint32_t total = 0;
    do {
        const char *name = fs_os_dir_name(search, nullptr);
        if (!name) {
            fs_os_dir_close(search);
            return 0;
        }
        if (!is_dot_entry(name))
            total++;
    } while (fs_os_dir_advance(search));
    fs_os_dir_close(search);

    KorvDirEntry **list =
        static_cast<KorvDirEntry **>(korv_internal_calloc((size_t)total + 1, sizeof(KorvDirEntry *)));
    if (!list)
        return 0;
    // The directory may have changed since it was counted: entries beyond
    // the count are left out, and fewer entries shorten the list.
    uint32_t n = 0;
    bool ok = true;
    search = fs_os_dir_open(path);
    if (search) {
        do {
            uint32_t is_directory = 0;
            const char *name = fs_os_dir_name(search, &is_directory);
            if (!name) {
                ok = false;
                break;
            }
            if (is_dot_entry(name))
                continue;
            if (n == total)
                break;
            list[n] = make_entry(name, is_directory);
            if (!list[n]) {
                ok = false;
                break;
            }
            n++;
        } while (fs_os_dir_advance(search));
        fs_os_dir_close(search);
    }
    if (!ok) {
        KorvFreeSmartArray(reinterpret_cast<void **>(list));
        return 0;
    }
    *count = n;
    *entries = list;
    return 1;
}

extern "C" KORV_API uint32_t KorvDeleteFile(const char *path)
{
    return path ? fs_os_delete(path) : 0;
}

extern "C" KORV_API uint32_t KorvRenameFile(const char *old_path, const char *new_path)
{
    return old_path && new_path ? fs_os_rename(old_path, new_path) : 0;
}

extern "C" KORV_API uint32_t KorvCopyFile(const char *destination, const char *source,
                                          uint32_t overwrite)
{
    return destination && source ? fs_os_copy(destination, source, overwrite) : 0;
}
