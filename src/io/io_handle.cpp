// Streams over a system handle, and opening files by name.
#include "io_private.h"

#include <string.h>

using namespace korv::io;

namespace {

struct HandleIO {
    KorvIO io;
    KorvHandle handle;
    uint32_t seekable; // a disk file
    uint32_t append;
    uint32_t owned;
};

HandleIO *hio(KorvIO *io) { return reinterpret_cast<HandleIO *>(io); }

void h_close(KorvIO *io) {
    if (hio(io)->owned) handle_close(hio(io)->handle);
    korv_internal_free(io);
}
int64_t h_read(KorvIO *io, void *dst, uint64_t count) {
    return static_cast<int64_t>(handle_read(hio(io)->handle, dst, count));
}
int64_t h_write(KorvIO *io, const void *src, uint64_t count) {
    if (hio(io)->append) handle_seek_end(hio(io)->handle);
    return static_cast<int64_t>(handle_write(hio(io)->handle, src, count));
}
int64_t h_seek(KorvIO *io, int64_t offset, uint32_t whence) {
    uint32_t method = 0;
    if (hio(io)->seekable && (whence == 1 || whence == 2)) method = whence;
    return handle_seek(hio(io)->handle, offset, method);
}
void h_set_owned(KorvIO *io, uint32_t owned) { hio(io)->owned = owned; }

bool starts_with_nocase(const char *s, const char *prefix) {
    return KorvStrNCaseCmp(s, prefix, strlen(prefix)) == 0;
}

} // namespace

extern "C" {

KORV_API KorvIO *KorvIO_HANDLE(KorvHandle handle) {
    KorvIO *io = make_stream(sizeof(HandleIO), h_close, h_read, h_write, flush_nothing,
                             h_seek, h_set_owned);
    if (!io) return nullptr;
    hio(io)->handle = handle;
    hio(io)->seekable = handle_is_disk(handle);
    return io;
}

KORV_API KorvIO *KorvIO_FileName(const char *name, const char *mode) {
    if (!name) return nullptr;
    if (!mode) mode = "";
    if (starts_with_nocase(name, "http://")) {
        return KorvIO_URL(name, mode);
    }
    if (starts_with_nocase(name, "korvio://")) {
        // The address of a live stream, as "%p" prints it.
        const char *p = name + 9;
        if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) p += 2;
        uintptr_t addr = 0;
        for (; *p; ++p) {
            int v;
            if (*p >= '0' && *p <= '9') v = *p - '0';
            else if (*p >= 'a' && *p <= 'f') v = *p - 'a' + 10;
            else if (*p >= 'A' && *p <= 'F') v = *p - 'A' + 10;
            else break;
            addr = addr * 16 + static_cast<uintptr_t>(v);
        }
        if (!addr) return nullptr;
        return KorvIO_Nop(reinterpret_cast<KorvIO *>(addr));
    }
    uint32_t access = 0, disposition = kDispNone;
    if (strchr(mode, 'r')) { access = kAccessRead; disposition = kOpenExisting; }
    else if (strchr(mode, 'w')) { access = kAccessWrite; disposition = kCreateAlways; }
    else if (strchr(mode, 'a')) { access = kAccessWrite; disposition = kOpenAlways; }
    if (strchr(mode, '+')) access = kAccessRead | kAccessWrite;
    KorvHandle h;
    if (!open_file(name, access, disposition, &h)) return nullptr;
    KorvIO *io = KorvIO_HANDLE(h);
    if (!io) {
        handle_close(h);
        return nullptr;
    }
    if (strchr(mode, 'a')) hio(io)->append = 1;
    hio(io)->owned = 1;
    return io;
}

} // extern "C"
