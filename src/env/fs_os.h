/*
 * Operating-system calls on files and directories. Names are UTF-8; a name
 * the system cannot take counts as a bad name.
 */
#ifndef KVSUP_ENV_FS_OS_H
#define KVSUP_ENV_FS_OS_H

#include <stddef.h>
#include <stdint.h>

namespace korv {

/* 0 an entry that is not a directory, 1 a directory, 2 nothing (or a bad
 * name). */
uint32_t fs_os_identify(const char *path);

/* As KorvGetFileAttributes, for which 0 to 2. */
uint32_t fs_os_attributes(const char *path, uint32_t which, uint64_t *value);

/* New array of new strings, or null. */
char **fs_os_roots();

enum class MkDirResult { Made, Exists, ParentMissing, Failed };
MkDirResult fs_os_mkdir(const char *path);

/* A search over a directory's entries, "." and ".." included. open gives the
 * search standing on its first entry, or null. */
struct DirSearch;
DirSearch *fs_os_dir_open(const char *path);
/* The current entry's name (owned by the search) and directory flag. */
const char *fs_os_dir_name(DirSearch *search, uint32_t *is_directory);
/* Moves to the next entry; false at the end. */
bool fs_os_dir_advance(DirSearch *search);
void fs_os_dir_close(DirSearch *search);

/* 1 done, 0xFFFFFFFF refused by the system, 0 bad name. */
uint32_t fs_os_delete(const char *path);
uint32_t fs_os_rename(const char *old_path, const char *new_path);
uint32_t fs_os_copy(const char *destination, const char *source, uint32_t overwrite);

/* Whether the system can take path as a name. */
bool fs_os_name_ok(const char *path);

/* Length of the root that starts path: a lower-case drive "x:\" on
 * Windows, a leading '/' on POSIX; 0 when path does not start with one. */
size_t fs_os_root_length(const char *path);

/* Turns, in place, every separator the system accepts into the library's
 * own (on Windows '/' becomes '\'; POSIX has only '/'). */
void fs_os_unify_separators(char *path);

/* The absolute form of path, and its long-name form; new strings or null. */
char *fs_os_full_path(const char *path);
char *fs_os_long_path(const char *path);

} // namespace korv

#endif
