// The scan engine over fuzzed text, from strings and from streams, for a set
// of fixed formats covering every kind of field.
#include "fuzz_util.h"

#include <vector>

namespace {

// Destinations large enough for any field the text can hold.
struct Sink {
    int32_t i[4];
    int64_t ll;
    int16_t h;
    double d[3];
    float f;
    void *p;
    int32_t n;
    std::vector<char> s1, s2;
    explicit Sink(size_t size) : s1(size + 16), s2(size + 16) {}
};

void scan_string(const char *text, Sink &k)
{
    KorvSScanf(text, "%d %i %u %x", &k.i[0], &k.i[1], &k.i[2], &k.i[3]);
    KorvSScanf(text, "%lld%hd%o%n", &k.ll, &k.h, &k.i[0], &k.n);
    KorvSScanf(text, "%#.0.2u %#x %.0.36i", &k.i[0], &k.i[1], &k.i[2]);
    KorvSScanf(text, "%f %lg %e %hf", &k.d[0], &k.d[1], &k.d[2], &k.f);
    KorvSScanf(text, "%a%5f", &k.d[0], &k.d[1]);
    KorvSScanf(text, "%s %s", k.s1.data(), k.s2.data());
    KorvSScanf(text, "%#s%7c", k.s1.data(), k.s2.data());
    KorvSScanf(text, "%[a-z0-9]%[^]x-]", k.s1.data(), k.s2.data());
    KorvSScanf(text, "%p %*d %3s %#c", &k.p, k.s1.data(), k.s2.data());
    KorvSScanf(text, "key=%[^;];%d%%", k.s1.data(), &k.i[0]);
    KorvLocale comma = {",", ".", "3"};
    KorvSScanfl(&comma, text, "%f %d", &k.d[0], &k.i[0]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string text(reinterpret_cast<const char *>(data), size);
    Sink k(size);
    scan_string(text.c_str(), k);

    // A stream reads the same text byte by byte, NULs included.
    KorvIO *io = fuzz_stream(data, size);
    for (int round = 0; round < 4; round++) {
        if (KorvIOScanf(io, "%d%s%f%c", &k.i[0], k.s1.data(), &k.d[0], k.s2.data()) <= 0)
            break;
    }
    io->seek(io, 0, 0);
    KorvIOScanf(io, "%[^\n]%*c%x %p", k.s1.data(), &k.i[1], &k.p);
    io->close(io);
    return 0;
}
