// Files and directories on Windows: names cross as UTF-16.
#include <windows.h>
#include <string.h>
#include <kvsup.h>
#include "env/fs_os.h"

namespace korv {

namespace {

wchar_t *wide(const char *s)
{
    return reinterpret_cast<wchar_t *>(KorvUTF8ConvertToUTF16(s));
}

char *narrow(const wchar_t *s)
{
    return KorvUTF8ConvertFromUTF16(reinterpret_cast<const uint16_t *>(s));
}

uint64_t join(DWORD high, DWORD low)
{
    return ((uint64_t)high << 32) | low;
}

// Milliseconds since 1970 from a file time (100 ns units since 1601).
uint64_t milliseconds(const FILETIME &t)
{
    return join(t.dwHighDateTime, t.dwLowDateTime) / 10000 - 11644473600000ull;
}

} // namespace

uint32_t fs_os_identify(const char *path)
{
    wchar_t *w = wide(path);
    if (!w)
        return 2;
    DWORD attributes = GetFileAttributesW(w);
    korv_internal_free(w);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return 2;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? 1 : 0;
}

uint32_t fs_os_attributes(const char *path, uint32_t which, uint64_t *value)
{
    wchar_t *w = wide(path);
    if (!w)
        return 0;
    WIN32_FILE_ATTRIBUTE_DATA data;
    BOOL ok = GetFileAttributesExW(w, GetFileExInfoStandard, &data);
    korv_internal_free(w);
    if (!ok)
        return 0xFFFFFFFFu;
    if (which == 0)
        *value = milliseconds(data.ftLastAccessTime);
    else if (which == 1)
        *value = milliseconds(data.ftLastWriteTime);
    else
        *value = join(data.nFileSizeHigh, data.nFileSizeLow);
    return 1;
}

char **fs_os_roots()
{
    DWORD mask = GetLogicalDrives();
    if (mask == 0)
        return nullptr;
    uint32_t count = 0;
    for (int i = 0; i < 26; i++)
        count += (mask >> i) & 1;
    char **roots = static_cast<char **>(korv_internal_calloc(count + 1, sizeof(char *)));
    if (!roots)
        return nullptr;
    uint32_t n = 0;
    for (int i = 0; i < 26; i++) {
        if (!((mask >> i) & 1))
            continue;
        char letter[2] = {(char)('A' + i), '\0'};
        roots[n] = KorvStrDup(letter);
        if (!roots[n]) {
            KorvFreeArray(reinterpret_cast<void **>(roots));
            return nullptr;
        }
        n++;
    }
    return roots;
}

MkDirResult fs_os_mkdir(const char *path)
{
    wchar_t *w = wide(path);
    if (!w)
        return MkDirResult::Failed;
    BOOL ok = CreateDirectoryW(w, nullptr);
    DWORD error = ok ? 0 : GetLastError();
    korv_internal_free(w);
    if (ok)
        return MkDirResult::Made;
    if (error == ERROR_ALREADY_EXISTS)
        return MkDirResult::Exists;
    if (error == ERROR_PATH_NOT_FOUND)
        return MkDirResult::ParentMissing;
    return MkDirResult::Failed;
}

struct DirSearch {
    HANDLE handle;
    WIN32_FIND_DATAW data;
    char *name;
};

DirSearch *fs_os_dir_open(const char *path)
{
    size_t n = strlen(path);
    char *pattern = static_cast<char *>(korv_internal_malloc(n + 3));
    if (!pattern)
        return nullptr;
    memcpy(pattern, path, n);
    memcpy(pattern + n, "\\*", 3);
    wchar_t *w = wide(pattern);
    korv_internal_free(pattern);
    if (!w)
        return nullptr;
    DirSearch *search = static_cast<DirSearch *>(korv_internal_calloc(1, sizeof(DirSearch)));
    if (!search) {
        korv_internal_free(w);
        return nullptr;
    }
    search->handle = FindFirstFileW(w, &search->data);
    korv_internal_free(w);
    if (search->handle == INVALID_HANDLE_VALUE) {
        korv_internal_free(search);
        return nullptr;
    }
    return search;
}

const char *fs_os_dir_name(DirSearch *search, uint32_t *is_directory)
{
    korv_internal_free(search->name);
    search->name = narrow(search->data.cFileName);
    if (is_directory)
        *is_directory = (search->data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? 1 : 0;
    return search->name;
}

bool fs_os_dir_advance(DirSearch *search)
{
    return FindNextFileW(search->handle, &search->data) != 0;
}

void fs_os_dir_close(DirSearch *search)
{
    if (!search)
        return;
    FindClose(search->handle);
    korv_internal_free(search->name);
    korv_internal_free(search);
}

uint32_t fs_os_delete(const char *path)
{
    wchar_t *w = wide(path);
    if (!w)
        return 0;
    DWORD attributes = GetFileAttributesW(w);
    BOOL ok = (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY))
                  ? RemoveDirectoryW(w)
                  : DeleteFileW(w);
    korv_internal_free(w);
    return ok ? 1 : 0xFFFFFFFFu;
}

uint32_t fs_os_rename(const char *old_path, const char *new_path)
{
    wchar_t *a = wide(old_path);
    wchar_t *b = a ? wide(new_path) : nullptr;
    uint32_t result = 0;
    if (a && b)
        result = MoveFileW(a, b) ? 1 : 0xFFFFFFFFu;
    korv_internal_free(a);
    korv_internal_free(b);
    return result;
}

uint32_t fs_os_copy(const char *destination, const char *source, uint32_t overwrite)
{
    wchar_t *to = wide(destination);
    wchar_t *from = to ? wide(source) : nullptr;
    uint32_t result = 0;
    if (to && from)
        result = CopyFileW(from, to, overwrite ? FALSE : TRUE) ? 1 : 0xFFFFFFFFu;
    korv_internal_free(to);
    korv_internal_free(from);
    return result;
}

bool fs_os_name_ok(const char *path)
{
    wchar_t *w = wide(path);
    korv_internal_free(w);
    return w != nullptr;
}

char *fs_os_full_path(const char *path)
{
    wchar_t *w = wide(path);
    if (!w)
        return nullptr;
    wchar_t full[1024];
    DWORD n = GetFullPathNameW(w, 1024, full, nullptr);
    korv_internal_free(w);
    if (n == 0 || n >= 1024)
        return nullptr;
    return narrow(full);
}

char *fs_os_long_path(const char *path)
{
    wchar_t *w = wide(path);
    if (!w)
        return nullptr;
    wchar_t full[1024];
    DWORD n = GetLongPathNameW(w, full, 1024);
    korv_internal_free(w);
    if (n == 0 || n >= 1024)
        return nullptr;
    return narrow(full);
}

size_t fs_os_root_length(const char *path)
{
    return path[0] >= 'a' && path[0] <= 'z' && path[1] == ':' && path[2] == '\\' ? 3 : 0;
}

void fs_os_unify_separators(char *path)
{
    for (; *path; path++) {
        if (*path == '/')
            *path = '\\';
    }
}

} // namespace korv
