#include "stream_io.h"

#include "console.h"

#include <cstring>

namespace kvrun {

namespace {

struct PrefixIO {
    KorvIO io;
    KorvIO *inner;
    unsigned char bytes[16];
    size_t count;
    size_t next;
};

int64_t prefix_read(KorvIO *io, void *dst, uint64_t count)
{
    auto *p = reinterpret_cast<PrefixIO *>(io);
    if (count == 0)
        return 0;
    if (p->next < p->count) {
        uint64_t n = p->count - p->next;
        if (n > count)
            n = count;
        memcpy(dst, p->bytes + p->next, static_cast<size_t>(n));
        p->next += static_cast<size_t>(n);
        return static_cast<int64_t>(n);
    }
    return p->inner->read(p->inner, dst, count);
}

int64_t prefix_write(KorvIO *, const void *, uint64_t) { return -1; }
int32_t prefix_flush(KorvIO *) { return 0; }
int64_t prefix_seek(KorvIO *, int64_t, uint32_t) { return -1; }
void prefix_set_owned(KorvIO *, uint32_t) {}

void prefix_close(KorvIO *io)
{
    auto *p = reinterpret_cast<PrefixIO *>(io);
    if (p->inner)
        p->inner->close(p->inner);
    korv_internal_free(p);
}

} // namespace

bool is_url(const std::string &name)
{
    static const char scheme[] = "http://";
    if (name.size() < sizeof scheme - 1)
        return false;
    for (size_t i = 0; i < sizeof scheme - 1; i++) {
        char c = name[i];
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c != scheme[i])
            return false;
    }
    return true;
}

Status open_input(const std::string &name, KorvIO **io)
{
    *io = nullptr;
    if (name == "-") {
        console_binary_stdio();
        *io = KorvIO_FD(0);
        if (!*io)
            return fail(kExitData, "standard input: cannot open");
        return Status{};
    }
    if (is_url(name)) {
        *io = KorvIO_URL(name.c_str(), "r");
        if (!*io)
            return fail(kExitData, "%s: cannot download (no answer, or a status other than 200)",
                        name.c_str());
        return Status{};
    }
    uint32_t kind = KorvIdentifyFile(name.c_str());
    if (kind == 2)
        return fail(kExitData, "%s: no such file", name.c_str());
    if (kind == 1)
        return fail(kExitData, "%s: is a directory", name.c_str());
    *io = KorvIO_FileName(name.c_str(), "r");
    if (!*io)
        return fail(kExitData, "%s: cannot open for reading", name.c_str());
    return Status{};
}

KorvIO *prefix_stream(KorvIO *inner, const unsigned char *bytes, size_t count)
{
    auto *p = static_cast<PrefixIO *>(korv_internal_calloc(1, sizeof(PrefixIO)));
    if (!p)
        return nullptr;
    p->io.close = prefix_close;
    p->io.read = prefix_read;
    p->io.write = prefix_write;
    p->io.flush = prefix_flush;
    p->io.seek = prefix_seek;
    p->io.set_owned = prefix_set_owned;
    p->inner = inner;
    if (count > sizeof p->bytes)
        count = sizeof p->bytes;
    memcpy(p->bytes, bytes, count);
    p->count = count;
    return &p->io;
}

int64_t read_full(KorvIO *io, void *dst, uint64_t count)
{
    uint64_t got = 0;
    auto *d = static_cast<unsigned char *>(dst);
    while (got < count) {
        int64_t r = io->read(io, d + got, count - got);
        if (r == 0)
            break;
        if (r < 0)
            return -1;
        got += static_cast<uint64_t>(r);
    }
    return static_cast<int64_t>(got);
}

bool write_full(KorvIO *io, const void *src, uint64_t count)
{
    uint64_t done = 0;
    auto *s = static_cast<const unsigned char *>(src);
    while (done < count) {
        int64_t r = io->write(io, s + done, count - done);
        if (r <= 0)
            return false;
        done += static_cast<uint64_t>(r);
    }
    return true;
}

} // namespace kvrun
