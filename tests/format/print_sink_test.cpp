// The four sinks, the three ways of passing arguments, and rejected formats.
#include "print_test_util.h"

#include "core/alloc_testing.h"

#include <string.h>
#include <vector>

namespace {

// A stream that keeps what it is given and fails after `room` bytes.
struct RecordingIO {
    KorvIO io{};
    std::string data;
    std::vector<uint64_t> sizes;
    size_t room;

    explicit RecordingIO(size_t r = 1000) : room(r)
    {
        io.write = [](KorvIO *io, const void *src, uint64_t n) -> int64_t {
            RecordingIO *self = reinterpret_cast<RecordingIO *>(io);
            self->sizes.push_back(n);
            if (self->data.size() + n > self->room)
                return -1;
            self->data.append(static_cast<const char *>(src), n);
            return static_cast<int64_t>(n);
        };
    }
};

uint64_t VAS(char **out, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    uint64_t n = KorvVASPrintf(out, format, args);
    va_end(args);
    return n;
}

} // namespace

TEST(PrintSink, Bounded) {
    char buffer[8];
    memset(buffer, 'z', sizeof buffer);
    EXPECT_EQ(KorvSNPrintf(buffer, 4, "%d", 123456), 6u);
    EXPECT_STREQ(buffer, "123");
    EXPECT_EQ(buffer[4], 'z');
    EXPECT_EQ(KorvSNPrintf(buffer, 1, "%s", "abc"), 3u);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'z';
    EXPECT_EQ(KorvSNPrintf(buffer, 0, "%s", "abc"), 3u);  // size 0 stores nothing at all
    EXPECT_EQ(buffer[0], 'z');
    EXPECT_EQ(KorvSNPrintf(nullptr, 0, "%-20s|%.3f", "x", 1.0), 26u);
    EXPECT_EQ(KorvSNPrintf(buffer, 6, "%10d", 1), 10u);  // padding is cut like the rest
    EXPECT_STREQ(buffer, "     ");
}

TEST(PrintSink, UnboundedAndMeasuring) {
    char buffer[32];
    EXPECT_EQ(KorvSPrintf(buffer, "a%sb%%c", "--"), 6u);
    EXPECT_STREQ(buffer, "a--b%c");
    EXPECT_EQ(KorvSPrintf(nullptr, "%08x", 1u), 8u);  // a null destination only counts
}

TEST(PrintSink, Growing) {
    char *text = reinterpret_cast<char *>(1);
    EXPECT_EQ(KorvASPrintf(&text, ""), 0u);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "");
    korv_internal_free(text);

    // Past the first 32 characters the buffer doubles; pieces land in order.
    std::string expected;
    for (int i = 0; i < 40; ++i)
        expected += "item" + std::to_string(i) + ",";
    EXPECT_EQ(VAS(&text, "%s", expected.c_str()), expected.size());
    EXPECT_EQ(std::string(text), expected);
    korv_internal_free(text);
    EXPECT_EQ(KorvASPrintf(&text, "%-100d|%.*s", 7, 3, "abcdef"), 104u);
    EXPECT_EQ(strlen(text), 104u);
    korv_internal_free(text);

    // A failed growth drops the text; the count is still the whole output.
    korv_testing_fail_alloc(2);
    EXPECT_EQ(KorvASPrintf(&text, "%40d%100d", 1, 2), 140u);
    korv_testing_fail_alloc(0);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(KorvASPrintf(nullptr, "%d", 12), 2u);
}

TEST(PrintSink, StreamWritesOneByteAtATime) {
    RecordingIO ok;
    EXPECT_EQ(KorvIOPrintf(&ok.io, "%s=%5.1f", "pi", 3.14159), 8u);
    EXPECT_EQ(ok.data, "pi=  3.1");
    EXPECT_EQ(ok.sizes, std::vector<uint64_t>(8, 1));

    // The first failure is kept: nothing more is written, the result is 8.
    RecordingIO full(3);
    int stored = -1;
    EXPECT_EQ(KorvIOPrintf(&full.io, "abcdefghijklmnop%n", &stored), 8u);
    EXPECT_EQ(full.data, "abc");
    EXPECT_EQ(full.sizes.size(), 4u);
    EXPECT_EQ(stored, 3);
    RecordingIO none(0);
    EXPECT_EQ(KorvIOPrintf(&none.io, "%d", 1234567890), 8u);
    EXPECT_EQ(KorvIOPrintf(nullptr, "x"), 8u);
    EXPECT_EQ(KorvIOPrintf(nullptr, ""), 0u);
}

TEST(PrintSink, RejectedFormatsWriteNothing) {
    char buffer[16] = "unchanged";
    EXPECT_EQ(KorvSPrintf(buffer, "ab%qcd", 1), 2u);
    EXPECT_STREQ(buffer, "");
    strcpy(buffer, "unchanged");
    EXPECT_EQ(KorvSNPrintf(buffer, sizeof buffer, "%d %1.2.3.4d", 1, 2), 2u);
    EXPECT_STREQ(buffer, "");

    std::string many;
    for (int i = 0; i < 65; ++i)
        many += "%d";
    char *text = reinterpret_cast<char *>(1);
    EXPECT_EQ(KorvASPrintf(&text, many.c_str()), 3u);
    EXPECT_EQ(text, nullptr);
    RecordingIO io;
    EXPECT_EQ(KorvIOPrintf(&io.io, "ok %hhhd", 1), 2u);
    EXPECT_EQ(io.data, "");
    EXPECT_EQ(KorvSPrintf(buffer, nullptr), 2u);
}

TEST(PrintSink, ArgumentArrays) {
    int32_t width = -6;
    int64_t big = -5000000000LL;
    int16_t small = -3;
    int32_t plain = 70000;
    unsigned char c = 'q';
    float f = 0.1f;
    double d = 2.5;
    const char *s = "str";
    void *args[] = {&width, &big, &small, &plain, &c, &f, &d, &s};
    char buffer[128];
    EXPECT_EQ(KorvLSPrintf(buffer, "%*lld|%hd|%u|%c|%.10hf|%.1f|%s", args), 43u);
    EXPECT_STREQ(buffer, "-5000000000|-3|70000|q|0.1000000000|2.5|str");

    // A missing element reads as zero or null.
    void *holes[] = {nullptr, nullptr, nullptr};
    EXPECT_EQ(KorvLSNPrintf(buffer, sizeof buffer, "%d|%s|%p", holes), 13u);
    EXPECT_STREQ(buffer, "0|(nil)|(nil)");
    EXPECT_EQ(KorvLSPrintf(buffer, "%d", nullptr), 1u);

    int count = 0;
    int *where = &count;
    void *with_count[] = {&s, &where};
    EXPECT_EQ(KorvLSPrintf(buffer, "%s%n", with_count), 3u);
    EXPECT_EQ(count, 3);
}

TEST(PrintSink, EveryMember) {
    const KorvLocale comma = {",", "", ""};
    double x = 1.5;
    void *args[] = {&x};
    char buffer[32];
    char *text = nullptr;
    RecordingIO io;
    auto take = [&](uint64_t n, const char *expected) {
        EXPECT_EQ(n, strlen(expected));
        if (text) {
            EXPECT_STREQ(text, expected);
            korv_internal_free(text);
            text = nullptr;
        } else if (!io.data.empty()) {
            EXPECT_EQ(io.data, expected);
            io.data.clear();
        } else {
            EXPECT_STREQ(buffer, expected);
        }
        buffer[0] = 0;
    };
    auto v = [&](auto call, auto... leading) {
        return [=](const char *format, ...) {
            va_list list;
            va_start(list, format);
            uint64_t n = call(leading..., format, list);
            va_end(list);
            return n;
        };
    };
    take(KorvSPrintf(buffer, "%.1f", x), "1.5");
    take(v(KorvVSPrintf, buffer)("%.1f", x), "1.5");
    take(KorvLSPrintf(buffer, "%.1f", args), "1.5");
    take(KorvSNPrintf(buffer, sizeof buffer, "%.1f", x), "1.5");
    take(v(KorvVSNPrintf, buffer, (uint64_t)sizeof buffer)("%.1f", x), "1.5");
    take(KorvLSNPrintf(buffer, sizeof buffer, "%.1f", args), "1.5");
    take(KorvASPrintf(&text, "%.1f", x), "1.5");
    take(v(KorvVASPrintf, &text)("%.1f", x), "1.5");
    take(KorvLASPrintf(&text, "%.1f", args), "1.5");
    take(KorvIOPrintf(&io.io, "%.1f", x), "1.5");
    take(v(KorvIOVPrintf, &io.io)("%.1f", x), "1.5");
    take(KorvIOLPrintf(&io.io, "%.1f", args), "1.5");
    take(KorvSPrintfl(&comma, buffer, "%.1f", x), "1,5");
    take(v(KorvVSPrintfl, &comma, buffer)("%.1f", x), "1,5");
    take(KorvLSPrintfl(&comma, buffer, "%.1f", args), "1,5");
    take(KorvSNPrintfl(&comma, buffer, sizeof buffer, "%.1f", x), "1,5");
    take(v(KorvVSNPrintfl, &comma, buffer, (uint64_t)sizeof buffer)("%.1f", x), "1,5");
    take(KorvLSNPrintfl(&comma, buffer, sizeof buffer, "%.1f", args), "1,5");
    take(KorvASPrintfl(&comma, &text, "%.1f", x), "1,5");
    take(v(KorvVASPrintfl, &comma, &text)("%.1f", x), "1,5");
    take(KorvLASPrintfl(&comma, &text, "%.1f", args), "1,5");
    take(KorvIOPrintfl(&comma, &io.io, "%.1f", x), "1,5");
    take(v(KorvIOVPrintfl, &comma, &io.io)("%.1f", x), "1,5");
    take(KorvIOLPrintfl(&comma, &io.io, "%.1f", args), "1,5");
}

TEST(PrintSink, MessagesUseTheEngine) {
    static std::string seen;
    KorvSetLoggingCallback([](const char *text, int32_t, void *) { seen = text; }, nullptr);
    KorvPrintf("%#..2u %I64d %s", 5, (int64_t)-5000000000LL, (char *)nullptr);
    KorvSetLoggingCallback(nullptr, nullptr);
    EXPECT_EQ(seen, "0b101 -5000000000 (nil)");
}
