// Streams over a runtime file descriptor and over a stdio FILE.
#include "io_private.h"

using namespace korv::io;

namespace {

struct FdIO {
    KorvIO io;
    int32_t fd;
    uint32_t seekable; // a regular file
    uint32_t owned;
};

struct FpIO {
    KorvIO io;
    FILE *fp;
    uint32_t seekable;
    uint32_t owned;
};

FdIO *fdio(KorvIO *io) { return reinterpret_cast<FdIO *>(io); }
FpIO *fpio(KorvIO *io) { return reinterpret_cast<FpIO *>(io); }

void fd_close_slot(KorvIO *io) {
    if (fdio(io)->owned) fd_close(fdio(io)->fd);
    korv_internal_free(io);
}
int64_t fd_read_slot(KorvIO *io, void *dst, uint64_t count) { return fd_read(fdio(io)->fd, dst, count); }
int64_t fd_write_slot(KorvIO *io, const void *src, uint64_t count) { return fd_write(fdio(io)->fd, src, count); }
int64_t fd_seek_slot(KorvIO *io, int64_t offset, uint32_t whence) {
    if (!fdio(io)->seekable || whence > 2) return -1;
    return fd_seek(fdio(io)->fd, offset, whence);
}
void fd_set_owned_slot(KorvIO *io, uint32_t owned) { fdio(io)->owned = owned; }

void fp_close_slot(KorvIO *io) {
    if (fpio(io)->owned) fclose(fpio(io)->fp);
    korv_internal_free(io);
}
int64_t fp_read_slot(KorvIO *io, void *dst, uint64_t count) {
    if (count == 0) return 0;
    size_t n = fread(dst, 1, count, fpio(io)->fp);
    if (n) return static_cast<int64_t>(n);
    return ferror(fpio(io)->fp) ? -1 : 0;
}
int64_t fp_write_slot(KorvIO *io, const void *src, uint64_t count) {
    if (count == 0) return 0;
    size_t n = fwrite(src, 1, count, fpio(io)->fp);
    if (n) return static_cast<int64_t>(n);
    return ferror(fpio(io)->fp) ? -1 : 0;
}
int32_t fp_flush_slot(KorvIO *io) { return fflush(fpio(io)->fp); }
int64_t fp_seek_slot(KorvIO *io, int64_t offset, uint32_t whence) {
    if (!fpio(io)->seekable || whence > 2) return -1;
    static const int origin[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    return fp_seek(fpio(io)->fp, offset, origin[whence]);
}
void fp_set_owned_slot(KorvIO *io, uint32_t owned) { fpio(io)->owned = owned; }

} // namespace

extern "C" {

KORV_API KorvIO *KorvIO_FD(uint32_t fd) {
    KorvIO *io = make_stream(sizeof(FdIO), fd_close_slot, fd_read_slot, fd_write_slot,
                             flush_nothing, fd_seek_slot, fd_set_owned_slot);
    if (!io) return nullptr;
    auto d = static_cast<int32_t>(fd);
    if (d == 0 || d == 1) fd_set_binary(d);
    fdio(io)->fd = d;
    fdio(io)->seekable = fd_is_regular(d);
    return io;
}

KORV_API KorvIO *KorvIO_FP(FILE *fp) {
    if (!fp) return nullptr;
    KorvIO *io = make_stream(sizeof(FpIO), fp_close_slot, fp_read_slot, fp_write_slot,
                             fp_flush_slot, fp_seek_slot, fp_set_owned_slot);
    if (!io) return nullptr;
    int d = fileno(fp);
    fd_set_binary(d);
    fpio(io)->fp = fp;
    fpio(io)->seekable = fd_is_regular(d);
    return io;
}

} // extern "C"
