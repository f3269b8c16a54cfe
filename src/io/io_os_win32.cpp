// Descriptors, handles, file opening and temporary files on Windows.
#include "io_private.h"

#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <wchar.h>
#include <windows.h>

namespace korv::io {

namespace {

constexpr uint64_t kMaxPass = 0x7ffff000;
HANDLE win(KorvHandle h) { return static_cast<HANDLE>(h); }
wchar_t *wide(const char *s) { return reinterpret_cast<wchar_t *>(KorvUTF8ConvertToUTF16(s)); }

wchar_t *concat(const wchar_t *a, const wchar_t *b) {
    size_t la = wcslen(a), lb = wcslen(b);
    auto *out = static_cast<wchar_t *>(korv_internal_malloc((la + lb + 1) * sizeof(wchar_t)));
    if (!out) return nullptr;
    memcpy(out, a, la * sizeof(wchar_t));
    memcpy(out + la, b, (lb + 1) * sizeof(wchar_t));
    return out;
}

// Names of 257 bytes or more take the extended-length form.
wchar_t *system_name(const char *name) {
    wchar_t *w = wide(name);
    if (!w || strlen(name) < 257) return w;
    for (wchar_t *p = w; *p; ++p)
        if (*p == L'/') *p = L'\\';
    wchar_t *out = nullptr;
    auto alpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    if (name[0] == '\\' && name[1] == '\\') {
        out = concat(L"\\\\?\\UNC\\", w + 2);
    } else if (alpha(name[0]) && name[1] == ':' && name[2] == '\\') {
        out = concat(L"\\\\?\\", w);
    } else {
        DWORD need = GetFullPathNameW(w, 0, nullptr, nullptr);
        auto *full = need ? static_cast<wchar_t *>(korv_internal_malloc(need * sizeof(wchar_t))) : nullptr;
        if (full && GetFullPathNameW(w, need, full, nullptr) != 0) out = concat(L"\\\\?\\", full);
        korv_internal_free(full);
    }
    korv_internal_free(w);
    return out;
}

SECURITY_ATTRIBUTES not_inherited() {
    SECURITY_ATTRIBUTES sa{};
    sa.nLength = sizeof sa;
    sa.bInheritHandle = FALSE;
    return sa;
}

} // namespace

int64_t fd_read(int32_t fd, void *dst, uint64_t count) {
    return _read(fd, dst, static_cast<unsigned>(count < kMaxPass ? count : kMaxPass));
}

int64_t fd_write(int32_t fd, const void *src, uint64_t count) {
    return _write(fd, src, static_cast<unsigned>(count < kMaxPass ? count : kMaxPass));
}

int64_t fd_seek(int32_t fd, int64_t offset, uint32_t whence) {
    static const int origin[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    return _lseeki64(fd, offset, origin[whence]);
}

void fd_close(int32_t fd) { _close(fd); }

bool fd_is_regular(int32_t fd) {
    struct _stat64 st;
    return _fstat64(fd, &st) == 0 && (st.st_mode & 0xf000) == 0x8000;
}

void fd_set_binary(int32_t fd) { _setmode(fd, _O_BINARY); }

int64_t fp_seek(FILE *fp, int64_t offset, int origin) {
    if (_fseeki64(fp, offset, origin) != 0) return -1;
    return _ftelli64(fp);
}

const char kTempFallbackDir[] = "c:\\temp";

uint64_t handle_read(KorvHandle h, void *dst, uint64_t count) {
    DWORD got = 0;
    if (!ReadFile(win(h), dst, static_cast<DWORD>(count < kMaxPass ? count : kMaxPass), &got, nullptr))
        return 0;
    return got;
}

uint64_t handle_write(KorvHandle h, const void *src, uint64_t count) {
    DWORD put = 0;
    if (!WriteFile(win(h), src, static_cast<DWORD>(count < kMaxPass ? count : kMaxPass), &put, nullptr))
        return 0;
    return put;
}

int64_t handle_seek(KorvHandle h, int64_t offset, uint32_t method) {
    static const DWORD how[] = {FILE_BEGIN, FILE_CURRENT, FILE_END};
    LARGE_INTEGER distance, at;
    distance.QuadPart = offset;
    if (!SetFilePointerEx(win(h), distance, &at, how[method])) return -1;
    return at.QuadPart;
}

void handle_seek_end(KorvHandle h) { SetFilePointer(win(h), 0, nullptr, FILE_END); }
void handle_close(KorvHandle h) { CloseHandle(win(h)); }
bool handle_is_disk(KorvHandle h) { return GetFileType(win(h)) == FILE_TYPE_DISK; }

bool open_file(const char *name, uint32_t access, uint32_t disposition, KorvHandle *out) {
    DWORD acc = 0;
    if (access & kAccessRead) acc |= GENERIC_READ;
    if (access & kAccessWrite) acc |= GENERIC_WRITE;
    static const DWORD disp[] = {0, OPEN_EXISTING, CREATE_ALWAYS, OPEN_ALWAYS};
    wchar_t *w = system_name(name);
    HANDLE h = INVALID_HANDLE_VALUE;
    if (w) {
        SECURITY_ATTRIBUTES sa = not_inherited();
        h = CreateFileW(w, acc, FILE_SHARE_READ | FILE_SHARE_WRITE, &sa, disp[disposition],
                        FILE_ATTRIBUTE_NORMAL, nullptr);
        korv_internal_free(w);
    }
    if (h == INVALID_HANDLE_VALUE) {
        KorvDebug("CreateFileW failed with code %d for file %s\n", static_cast<int>(GetLastError()), name);
        return false;
    }
    *out = h;
    return true;
}

uint64_t free_space_kib(const char *dir) {
    wchar_t *w = wide(dir);
    ULARGE_INTEGER avail;
    BOOL ok = w && GetDiskFreeSpaceExW(w, &avail, nullptr, nullptr);
    korv_internal_free(w);
    return ok ? avail.QuadPart / 1024 : 0;
}

bool dir_usable(const char *dir) {
    wchar_t *w = wide(dir);
    DWORD attr = w ? GetFileAttributesW(w) : INVALID_FILE_ATTRIBUTES;
    korv_internal_free(w);
    if (attr == INVALID_FILE_ATTRIBUTES) {
        KorvError("Error: Cannot get attributes of \"%s\".\n", dir);
        return false;
    }
    if (!(attr & FILE_ATTRIBUTE_DIRECTORY)) {
        KorvError("Error: \"%s\" is not a directory.\n", dir);
        return false;
    }
    return !(attr & FILE_ATTRIBUTE_READONLY);
}

const char kHintSeparator = '\\';

// The system's temporary-name call only makes a name when given a number;
// the file is then made with CREATE_NEW, which fails on an existing name,
// and the next number is tried. The handle made here is the only way the
// library reaches the file: a name replaced meanwhile is never followed.
char *create_temp_file(const char *dir, TempLife life, KorvHandle *out) {
    wchar_t *w = wide(dir);
    if (!w) return nullptr;
    DWORD attributes = FILE_ATTRIBUTE_TEMPORARY;
    if (life != kTempKept) attributes |= FILE_FLAG_DELETE_ON_CLOSE;
    UINT start = (GetTickCount() ^ (GetCurrentProcessId() << 4)) & 0xffff;
    wchar_t buf[MAX_PATH + 1];
    HANDLE h = INVALID_HANDLE_VALUE;
    DWORD code = 0;
    for (UINT k = 0; k < 0x10000; k++) {
        UINT unique = (start + k) & 0xffff;
        if (unique == 0) continue; // 0 would make the system create the file itself
        if (GetTempFileNameW(w, L"_korv", unique, buf) == 0) {
            code = GetLastError();
            break;
        }
        SECURITY_ATTRIBUTES sa = not_inherited();
        h = CreateFileW(buf, GENERIC_READ | GENERIC_WRITE, 0, &sa, CREATE_NEW, attributes,
                        nullptr);
        if (h != INVALID_HANDLE_VALUE) break;
        code = GetLastError();
        if (code != ERROR_FILE_EXISTS && code != ERROR_ALREADY_EXISTS) break;
    }
    korv_internal_free(w);
    if (h == INVALID_HANDLE_VALUE) {
        KorvDebug("CreateFileW failed with code %d for file %s\n", static_cast<int>(code), dir);
        return nullptr;
    }
    char *name = KorvUTF8ConvertFromUTF16(reinterpret_cast<const uint16_t *>(buf));
    if (!name) {
        CloseHandle(h);
        if (life == kTempKept) DeleteFileW(buf);
        return nullptr;
    }
    *out = h;
    return name;
}


} // namespace korv::io

extern "C" KORV_API FILE *KorvFOpen(const char *name, const char *mode) {
    if (!name || !mode) return nullptr;
    auto *wn = reinterpret_cast<wchar_t *>(KorvUTF8ConvertToUTF16(name));
    auto *wm = reinterpret_cast<wchar_t *>(KorvUTF8ConvertToUTF16(mode));
    FILE *fp = (wn && wm) ? _wfopen(wn, wm) : nullptr;
    korv_internal_free(wn);
    korv_internal_free(wm);
    return fp;
}
