// The scanf family over streams, and the va_list members.
#include "kvsup.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

namespace {

// Hands out its text one byte per read, then fails (or ends) for good.
struct TextStream {
    KorvIO io{};
    const char *text;
    bool fail_at_end;
    int reads = 0;

    TextStream(const char *t, bool fail) : text(t), fail_at_end(fail) {
        io.read = [](KorvIO *self, void *dst, uint64_t count) -> int64_t {
            auto *t = reinterpret_cast<TextStream *>(self);
            ++t->reads;
            if (!*t->text) return t->fail_at_end ? -1 : 0;
            *static_cast<char *>(dst) = *t->text++;
            return 1;
        };
    }
};

int32_t vscan(const KorvLocale *locale, const char *src, const char *format, ...) {
    va_list args;
    va_start(args, format);
    int32_t r = locale ? KorvVSScanfl(locale, src, format, args) : KorvVSScanf(src, format, args);
    va_end(args);
    return r;
}

int32_t vscan_io(const KorvLocale *locale, KorvIO *io, const char *format, ...) {
    va_list args;
    va_start(args, format);
    int32_t r = KorvIOVScanfl(locale, io, format, args);
    va_end(args);
    return r;
}

TEST(ScanStream, ReadsOneByteAheadAndKeepsIt) {
    char text[] = "12x rest 3,5";
    KorvIO *io = KorvIO_Str(text, 0);
    ASSERT_NE(io, nullptr);
    int32_t a = 0;
    EXPECT_EQ(KorvIOScanf(io, "%d", &a), 1);
    EXPECT_EQ(a, 12);
    char c = 0;
    // The 'x' that ended the field was taken from the stream.
    EXPECT_EQ(KorvIOReadBytes(io, &c, 1), 1u);
    EXPECT_EQ(c, ' ');
    char word[8];
    double d = 0;
    const KorvLocale comma = {",", "", ""};
    EXPECT_EQ(vscan_io(&comma, io, "%s%lf", word, &d), 2);
    EXPECT_STREQ(word, "rest");
    EXPECT_EQ(d, 3.5);
    EXPECT_EQ(KorvIOScanf(io, "%d", &a), -1);
    io->close(io);
}

TEST(ScanStream, FailedReadsGiveEight) {
    int32_t a = 0, b = 0;
    TextStream ending("1 2", false);
    EXPECT_EQ(KorvIOScanf(&ending.io, "%d %d", &a, &b), 2);
    TextStream failing("1 2", true);
    EXPECT_EQ(KorvIOScanf(&failing.io, "%d %d %d", &a, &b, &a), 8);
    EXPECT_EQ(failing.reads, 4);    // no read after the failure
    TextStream at_once("", true);
    EXPECT_EQ(KorvIOScanf(&at_once.io, "%d", &a), 8);
    EXPECT_EQ(KorvIOScanf(nullptr, "%d", &a), 8);
    // A format fault is found before anything is read.
    TextStream untouched("1", false);
    EXPECT_EQ(KorvIOScanf(&untouched.io, "%d%y", &a), 2);
    EXPECT_EQ(untouched.reads, 0);
}

// Each member hands its locale, source and destinations to the engine.
TEST(ScanStream, EveryMemberReachesTheEngine) {
    const KorvLocale comma = {",", "", ""};
    double d = 0;
    char s[8];
    EXPECT_EQ(vscan(nullptr, "0.5 five", "%lf %s", &d, s), 2);
    EXPECT_EQ(d, 0.5);
    EXPECT_STREQ(s, "five");
    EXPECT_EQ(vscan(&comma, "1,5", "%lf", &d), 1);
    EXPECT_EQ(d, 1.5);
    void *args[] = {&d};
    EXPECT_EQ(KorvLSScanfl(&comma, "2,5", "%lf", args), 1);
    EXPECT_EQ(d, 2.5);
    TextStream a("3,5", false), b("4,5", false), c("5.5", false), e("6.5", false);
    EXPECT_EQ(KorvIOScanfl(&comma, &a.io, "%lf", &d), 1);
    EXPECT_EQ(d, 3.5);
    EXPECT_EQ(KorvIOLScanfl(&comma, &b.io, "%lf", args), 1);
    EXPECT_EQ(d, 4.5);
    EXPECT_EQ(KorvIOLScanf(&c.io, "%lf", args), 1);
    EXPECT_EQ(d, 5.5);
    EXPECT_EQ(vscan_io(nullptr, &e.io, "%lf", &d), 1);
    EXPECT_EQ(d, 6.5);
}

} // namespace
