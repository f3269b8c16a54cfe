// Helpers shared by the fuzz targets: fuzzed bytes as streams and strings,
// a byte reader that hands out small numbers, and a scratch directory.
#ifndef KVSUP_FUZZ_UTIL_H
#define KVSUP_FUZZ_UTIL_H

#include <kvsup.h>

#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <ftw.h>
#include <unistd.h>

#include <string>

// A memory stream holding the bytes, positioned at the start.
inline KorvIO *fuzz_stream(const uint8_t *data, size_t size)
{
    KorvIO *io = KorvIO_Mem(0);
    if (io && size)
        KorvIOWriteBytes(io, data, size);
    if (io)
        io->seek(io, 0, 0);
    return io;
}

// Takes numbers and NUL-free strings off the front of the input.
struct FuzzInput {
    const uint8_t *data;
    size_t size;

    bool empty() const { return size == 0; }
    uint8_t byte()
    {
        if (!size)
            return 0;
        size--;
        return *data++;
    }
    uint32_t u32()
    {
        uint32_t v = 0;
        for (int i = 0; i < 4; i++)
            v = (v << 8) | byte();
        return v;
    }
    uint64_t u64() { return (static_cast<uint64_t>(u32()) << 32) | u32(); }
    // Bytes up to the next separator byte (or the end), which is consumed.
    std::string text(uint8_t separator = 0)
    {
        std::string s;
        while (size) {
            uint8_t c = byte();
            if (c == separator)
                break;
            if (c)
                s.push_back(static_cast<char>(c));
        }
        return s;
    }
    std::string rest() { return text(0xFF); }
};

// A directory of the process's own under the system's temporary directory,
// made once and removed with its content when the process exits.
inline const std::string &fuzz_scratch_dir()
{
    // The name is kept in plain storage too: the clean-up runs after the
    // string below is destroyed.
    static char name[] = "/tmp/kvfuzz.XXXXXX";
    static std::string dir = [] {
        if (!mkdtemp(name))
            return std::string("/tmp");
        atexit([] {
            nftw(name,
                 [](const char *path, const struct stat *, int, struct FTW *) {
                     return remove(path);
                 },
                 8, FTW_DEPTH | FTW_PHYS);
        });
        return std::string(name);
    }();
    return dir;
}

#endif
