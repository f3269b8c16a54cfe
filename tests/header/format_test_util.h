// Helpers of the header-format tests: managers by name, documents written
// to and read from memory streams, and streams over fixed text.
#pragma once

#include "kvsup.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

inline KVHdrManager manager_of(const char *format, const char *version)
{
    KVHdrManager m{};
    EXPECT_EQ(KVHdrGetManager_Str(format, version, &m), 1u) << format << " " << version;
    return m;
}

// Everything a stream holds, from its first byte; the position is kept.
inline std::string contents(KorvIO *io)
{
    int64_t at = io->seek(io, 0, 1);
    void *buf = nullptr;
    uint64_t len = 0;
    if (!KorvIOReadBlock(io, &buf, &len))
        return "<fail>";
    std::string s(static_cast<char *>(buf), len);
    korv_internal_free(buf);
    io->seek(io, at, 0);
    return s;
}

// A memory stream holding the given bytes, positioned at its start.
inline KorvIO *stream_of(const std::string &bytes)
{
    KorvIO *io = KorvIO_Mem(0);
    if (!bytes.empty())
        EXPECT_EQ(KorvIOWriteBytes(io, bytes.data(), bytes.size()), bytes.size());
    io->seek(io, 0, 0);
    return io;
}

// The document a header writes through its format's manager.
inline std::string document_of(KorvGenericHeader *h, const KVHdrManager &m)
{
    KorvIO *io = KorvIO_Mem(0);
    EXPECT_EQ(KVHdrWrite_Header(h, &m, io), 1u);
    std::string text = contents(io);
    io->close(io);
    return text;
}

// Reads a header document from text; null when it does not read.
inline KorvGenericHeader *header_from(const std::string &text, KVHdrManager *m = nullptr)
{
    KVHdrManager local{};
    KorvIO *io = stream_of(text);
    KorvGenericHeader *h = nullptr;
    uint32_t r = KVHdrRead_Header(io, m ? m : &local, &h);
    io->close(io);
    return r == 1 ? h : nullptr;
}

inline void free_header(KorvGenericHeader *h)
{
    if (h)
        h->free(h);
}

// A chunk over the bytes of a string or of a vector of bytes.
template <typename Bytes>
KorvChunk chunk_of(const Bytes &bytes, uint32_t aux = 0, uint32_t flags = 0)
{
    KorvChunk c{};
    c.data = (unsigned char *)bytes.data();
    c.size = static_cast<uint32_t>(bytes.size());
    c.aux = aux;
    c.flags = flags;
    return c;
}

// A stream that refuses every write (and reads as empty).
struct BrokenIO {
    KorvIO io{};
    BrokenIO()
    {
        io.read = [](KorvIO *, void *, uint64_t) -> int64_t { return 0; };
        io.write = [](KorvIO *, const void *, uint64_t) -> int64_t { return -1; };
        io.flush = [](KorvIO *) -> int32_t { return 0; };
        io.seek = [](KorvIO *, int64_t, uint32_t) -> int64_t { return -1; };
    }
    KorvIO *operator&() { return &io; }
};

// What is left to read in a stream, consumed.
inline std::string rest_of(KorvIO *io)
{
    std::string s;
    char c;
    while (io->read(io, &c, 1) == 1)
        s += c;
    return s;
}

// A file name in the test's build directory.
inline std::string scratch_file(const char *name)
{
    const char *dir = std::getenv("KV_TEST_BINARY_DIR");
    return std::string(dir ? dir : ".") + "/" + name;
}
