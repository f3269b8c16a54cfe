// Operations that loop over a stream's slots.
#include "io_private.h"

#include <string.h>

using namespace korv::io;

namespace {

template <typename Fn, typename Ptr>
uint64_t transfer(KorvIO *io, Ptr buf, uint64_t count, Fn slot) {
    if (count == 0) return 0;
    if (!io || !slot) return static_cast<uint64_t>(-1);
    uint64_t total = 0;
    int64_t got;
    do {
        got = slot(io, buf + total, count - total);
        if (got < 0) return static_cast<uint64_t>(got);
        total += static_cast<uint64_t>(got);
    } while (got > 0 && total < count);
    return total;
}

} // namespace

extern "C" {

KORV_API uint64_t KorvIOReadBytes(KorvIO *io, void *dst, uint64_t count) {
    return transfer(io, static_cast<char *>(dst), count, io ? io->read : nullptr);
}

KORV_API uint64_t KorvIOWriteBytes(KorvIO *io, const void *src, uint64_t count) {
    return transfer(io, static_cast<const char *>(src), count, io ? io->write : nullptr);
}

KORV_API int64_t KorvIOWriteString(KorvIO *io, const char *s) {
    if (!io || !s) return -1;
    return io->write(io, s, strlen(s));
}

KORV_API int64_t KorvIOReadString(KorvIO *io, char *dst, int64_t limit) {
    if (!io || !dst) return -1;
    if (limit < 1) {
        if (dst) dst[0] = '\0';
        return 0;
    }
    int64_t direct = mem_read_string(io, dst, limit);
    if (direct != kNotMemoryStream) return direct;
    const KorvIOReadFn read = io->read; // stores into dst cannot move it
    int64_t consumed = 0;
    char *out = dst;
    while (consumed < limit) {
        char c;
        int64_t got = read(io, &c, 1);
        if (got < 0) {
            *out = '\0';
            return -1;
        }
        if (got == 0) break;
        ++consumed;
        if (c == '\r') continue;
        if (c == '\n') break;
        *out++ = c;
    }
    *out = '\0';
    return consumed;
}

KORV_API uint32_t KorvIOGets(KorvIO *io, char *dst, int64_t limit) {
    if (!io || !dst) return 0;
    if (limit < 0) limit = 0; // a negative room holds nothing
    char *out = dst;
    while (limit != 0) {
        char c;
        if (io->read(io, &c, 1) != 1) break;
        if (c == '\r') continue;
        *out++ = c;
        if (c == '\n') break;
        --limit;
    }
    *out = '\0';
    return out != dst ? 1 : 0;
}

KORV_API int64_t KorvIOCopyBytes(KorvIO *dst, KorvIO *src, uint64_t count) {
    if (!dst || !src) return -1;
    char buf[4096];
    const bool counted = count != 0;
    int64_t total = 0;
    for (;;) {
        uint64_t want = sizeof buf;
        if (counted && count < want) want = count;
        int64_t got = src->read(src, buf, want);
        if (got == -2) {
            // After a successful wait the copy ends with what it has.
            return wait_ready(src, false) == 1 ? total : -1;
        }
        if (got == 0) return total;
        if (got < 0) return -1;
        int64_t done = 0;
        while (done < got) {
            int64_t put = dst->write(dst, buf + done, static_cast<uint64_t>(got - done));
            if (put == -2) {
                if (wait_ready(dst, true) != 1) return -1;
                continue;
            }
            if (put < 0) return -1;
            if (put == 0) break; // nothing accepted: count what went through
            done += put;
        }
        total += done;
        if (done < got) return total;
        if (counted) {
            count -= static_cast<uint64_t>(done);
            if (count == 0) return total;
        }
    }
}

KORV_API int64_t KorvIOSkipBytes(KorvIO *io, int64_t count) {
    if (!io) return -1;
    if (io->seek && io->seek(io, count, 1) != -1) return count;
    if (count < 1) return 0;
    char buf[1024];
    int64_t total = 0;
    while (total < count) {
        int64_t chunk = count - total < 1024 ? count - total : 1024;
        int64_t got = 0;
        int64_t r = 1;
        while (got < chunk) {
            r = io->read(io, buf + got, static_cast<uint64_t>(chunk - got));
            if (r <= 0) break;
            got += r;
        }
        if (r == -1) return -1;
        total += got;
        if (got < chunk) break;
    }
    return total;
}

KORV_API uint32_t KorvIOReadBlock(KorvIO *io, void **buffer, uint64_t *length) {
    if (!io || !buffer || !length) return 0;
    int64_t size = io->seek ? io->seek(io, 0, 2) : -1;
    if (size != -1) {
        if (static_cast<uint64_t>(size) > 0x7ffffffffffffffeULL) return 0;
        auto *block = static_cast<char *>(korv_internal_malloc(static_cast<size_t>(size) + 1));
        if (!block) return 0;
        *buffer = block;
        *length = static_cast<uint64_t>(size);
        io->seek(io, 0, 0);
        if (KorvIOReadBytes(io, block, static_cast<uint64_t>(size)) !=
            static_cast<uint64_t>(size)) {
            korv_internal_free(block);
            *buffer = nullptr;
            return 0;
        }
        block[size] = '\0';
        return 1;
    }
    char *block = nullptr;
    uint64_t cap = 0, used = 0;
    for (;;) {
        uint64_t next = cap == 0 ? 1024 : cap * 2;
        if (cap >= 0x4000000000000000ULL) next = 0x7fffffffffffffffULL;
        if (cap == 0x7fffffffffffffffULL) {
            korv_internal_free(block);
            *buffer = nullptr;
            return 0;
        }
        auto *grown = static_cast<char *>(korv_internal_realloc(block, next));
        if (!grown) {
            korv_internal_free(block);
            *buffer = nullptr;
            return 0;
        }
        block = grown;
        cap = next;
        int64_t r = 1;
        while (used < cap) {
            r = io->read(io, block + used, cap - used);
            if (r <= 0) break;
            used += static_cast<uint64_t>(r);
        }
        if (r == -1) {
            korv_internal_free(block);
            *buffer = nullptr;
            return 0;
        }
        if (used < cap) break;
    }
    *buffer = block;
    *length = used;
    block[used] = '\0';
    return 1;
}

} // extern "C"
