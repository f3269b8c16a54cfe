// Random conversions checked against the C library's printf, where the two
// agree by design, and the engine's three ways through a format (a
// conversion alone, one within text, one with a '*' width) against each
// other.
#include "print_test_util.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// The C library's printf: on Windows the runtime's own C99 printf, as the
// system one differs more. Even that one writes a blank for ' ' before
// unsigned numbers, nothing for "%#.0o" of zero, and drops the width of a
// "%g" that ends with its integer digits; there those forms are left out of
// the comparison.
#ifdef _WIN32
#define reference_vsnprintf __mingw_vsnprintf
#define reference_snprintf __mingw_snprintf
constexpr bool reference_is_c99 = false;
#else
#define reference_vsnprintf vsnprintf
#define reference_snprintf snprintf
constexpr bool reference_is_c99 = true;
#endif

namespace {

// Exact powers of ten, so that the values are the same doubles everywhere
// (pow() of one C library may be an ulp away from another's).
constexpr double powers_of_ten[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

struct Random {
    uint64_t state = 0x9e3779b97f4a7c15ull;
    uint64_t next()
    {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    uint64_t below(uint64_t n) { return next() % n; }
};

// Integers of every length, small ones and limits more often than chance gives.
// Each draw is a statement of its own: the order of two calls within one
// expression is the compiler's choice, and the values must be the same on
// every platform.
uint64_t random_integer(Random &r)
{
    switch (r.below(8)) {
    case 0: return r.below(3);
    case 1: return static_cast<uint64_t>(-static_cast<int64_t>(r.below(3)));
    case 2: return uint64_t{1} << r.below(64);
    default: {
        const uint64_t bits = r.next();
        return bits >> r.below(64);
    }
    }
}

// Doubles over the whole range: random bits, decimals, powers of ten, halves.
double random_double(Random &r)
{
    const double sign = r.below(2) ? 1 : -1;
    switch (r.below(6)) {
    case 0: {
        uint64_t bits = r.next() & 0xffefffffffffffffull;    // finite
        double d;
        memcpy(&d, &bits, sizeof d);
        return d;
    }
    case 1: {
        const uint64_t bits = r.next();
        const double whole = static_cast<double>(bits >> r.below(64));
        return sign * whole / static_cast<double>(1 + r.below(100000));
    }
    case 2: return r.below(2) ? sign * powers_of_ten[r.below(23)] : sign / powers_of_ten[r.below(23)];
    case 3: {
        const double half = static_cast<double>(r.below(100000)) + 0.5;
        return sign * half / powers_of_ten[r.below(6)];
    }
    case 4: {
        const double mantissa = static_cast<double>(r.next() >> 11);
        return sign * ldexp(mantissa, static_cast<int>(r.below(200)) - 150);
    }
    default: return sign * static_cast<double>(r.below(1000000)) / 1000.0;
    }
}

// The flags, width and precision part of a random conversion.
std::string random_style(Random &r, bool with_precision_digits, const char *flags = "-+ #0", bool width = true)
{
    std::string s = "%";
    for (uint64_t n = r.below(3); n > 0; --n)
        s += flags[r.below(strlen(flags))];
    if (r.below(2) && width)
        s += std::to_string(1 + r.below(24));
    if (with_precision_digits && r.below(2))
        s += "." + std::to_string(r.below(22));
    return s;
}

std::string libc(const char *format, ...)
{
    char buffer[1024];
    va_list args;
    va_start(args, format);
    int n = reference_vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    EXPECT_GE(n, 0);
    return buffer;
}

TEST(PrintDifferential, IntegersAsTheCLibraryWritesThem)
{
    // 'l' is left out: it is 32-bit here but 64-bit in some C libraries.
    const char *sizes[] = {"", "hh", "h", "ll", "j", "z"};
    Random r;
    for (int i = 0; i < 200000; ++i) {
        const char *size = sizes[r.below(6)];
        const char conversion = "diuoxX"[r.below(6)];
        const char *flags = reference_is_c99 || conversion == 'd' || conversion == 'i' ? "-+ #0"
                            : conversion == 'o'                                      ? "-+0"
                                                                                     : "-+#0";
        const std::string format = random_style(r, true, flags) + size + conversion;
        const uint64_t value = random_integer(r);
        // Sizes below 64 bits take an int's slot.
        const bool wide = size[0] == 'l' || size[0] == 'j' || size[0] == 'z';
        const unsigned narrow = static_cast<unsigned>(value);
        const std::string want = wide ? libc(format.c_str(), static_cast<unsigned long long>(value))
                                      : libc(format.c_str(), narrow);
        const std::string got = wide ? Fmt(format.c_str(), value) : Fmt(format.c_str(), narrow);
        ASSERT_EQ(got, want) << format << " of " << value;

        // Cut short: the text's start, and the count of all of it.
        char small[6];
        const uint64_t size_given = r.below(sizeof small + 1);
        memset(small, 'z', sizeof small);
        const uint64_t n = wide ? KorvSNPrintf(small, size_given, format.c_str(), value)
                                : KorvSNPrintf(small, size_given, format.c_str(), narrow);
        ASSERT_EQ(n, want.size()) << format;
        if (size_given > 0) {
            const size_t kept = want.size() < size_given - 1 ? want.size() : size_given - 1;
            ASSERT_EQ(std::string(small, kept), want.substr(0, kept)) << format;
            ASSERT_EQ(small[kept], '\0') << format;
        } else {
            ASSERT_EQ(small[0], 'z');
        }
    }
}

// The exact decimal digits of |value| (from the C library, which converts
// exactly): 40 digits and the power of ten of the first.
struct Exact {
    char digits[41];
    int exponent;
};

Exact exact_digits(double value)
{
    char text[64];
    reference_snprintf(text, sizeof text, "%.39e", fabs(value));
    Exact e;
    e.digits[0] = text[0];
    memcpy(e.digits + 1, text + 2, 39);
    e.digits[40] = '\0';
    e.exponent = atoi(strchr(text, 'e') + 1);
    return e;
}

// Is the C library's rounding at the place 10^place one the engine shares?
// The engine keeps 15 significant digits and rounds halves up with a
// margin of the double's precision, so only places within 14 digits of the
// first, away from a half, are compared.
bool comparable(const Exact &e, int place)
{
    const int kept = e.exponent - place + 1;   // significant digits printed
    if (kept > 14)
        return false;
    // The part below the place, in units of the place.
    double rest = 0;
    const int first = kept > 0 ? kept : 0;
    double unit = pow(10.0, -(first - kept + 1));
    for (int i = first; i < 40; ++i, unit /= 10)
        rest += (e.digits[i] - '0') * unit;
    const double margin = 1e-14 * pow(10.0, kept > 0 ? kept - 1 : 0);
    return fabs(rest - 0.5) > margin;
}

TEST(PrintDifferential, FloatingAsTheCLibraryWritesThem)
{
    Random r;
    int compared = 0;
    const int cases = 200000;
    for (int i = 0; i < cases; ++i) {
        const double value = random_double(r);
        const char conversion = "efgEG"[r.below(5)];
        const int precision = static_cast<int>(r.below(18));
        const bool width = reference_is_c99 || (conversion | 0x20) != 'g';
        std::string format = random_style(r, false, "-+ #0", width) + "." + std::to_string(precision) + conversion;
        const Exact e = exact_digits(value);
        int place;
        switch (conversion | 0x20) {
        case 'e':
            place = e.exponent - precision;
            break;
        case 'f':
            place = -precision;
            break;
        default: {
            // Skip values whose rounding reaches the next power of ten, and
            // the powers of ten the engine's strict bound puts in fixed form.
            const int digits = precision ? precision : 1;
            if (libc("%.*e", digits - 1, fabs(value)).find("e" + libc("%+03d", e.exponent)) == std::string::npos ||
                fabs(value) == powers_of_ten[digits])
                continue;
            place = e.exponent - digits + 1;
            break;
        }
        }
        if (!comparable(e, place))
            continue;
        ++compared;
        ASSERT_EQ(Fmt(format.c_str(), value), libc(format.c_str(), value)) << format << " of " << value;
    }
    EXPECT_GT(compared, cases / 3);
}

TEST(PrintDifferential, AloneWithinTextAndWithStarsAlike)
{
    Random r;
    for (int i = 0; i < 100000; ++i) {
        const bool floating = r.below(2);
        const char *sizes_int[] = {"", "hh", "h", "l", "ll", "j", "z", "I64", "I32", "I16", "I8"};
        const char *sizes_float[] = {"", "h", "l", "L", "j"};
        const char *size = floating ? sizes_float[r.below(5)] : sizes_int[r.below(11)];
        const char conversion = floating ? "efgEGFa"[r.below(7)] : "diuoxX"[r.below(6)];
        const std::string style = random_style(r, true);
        const std::string alone = style + size + conversion;
        // The width moved to a '*' argument, the rest as written.
        size_t digits = style.find_first_of("123456789");
        size_t end = style.find('.');
        std::string width = digits == std::string::npos || (end != std::string::npos && digits > end)
                                ? std::string()
                                : style.substr(digits, (end == std::string::npos ? style.size() : end) - digits);
        const std::string starred = (width.empty() ? style : style.substr(0, digits) + "*" +
                                     style.substr(digits + width.size())) + size + conversion;
        const int star = width.empty() ? 0 : atoi(width.c_str());
        const double d = random_double(r);
        const uint64_t u = random_integer(r);

        std::string a, b, c;
        if (floating) {
            a = Fmt(alone.c_str(), d);
            b = Fmt(("<" + alone + ">").c_str(), d);
            c = width.empty() ? a : Fmt(starred.c_str(), star, d);
        } else {
            a = Fmt(alone.c_str(), u);
            b = Fmt(("<" + alone + ">").c_str(), u);
            c = width.empty() ? a : Fmt(starred.c_str(), star, u);
        }
        ASSERT_EQ("<" + a + ">", b) << alone;
        ASSERT_EQ(a, c) << starred;
    }
}

TEST(PrintDifferential, FormatsCutShortAreRejected)
{
    // Each copy is exactly as long as its text, so that a read past the end
    // shows under the address checker.
    for (const char *cut : {"%", "%-", "%+5", "%5", "%12", "%.", "%.3", "%l", "%ll", "%h", "%hh", "%I", "%I6",
                            "%z", "%08.3", "%#"}) {
        const size_t n = strlen(cut) + 1;
        char *format = static_cast<char *>(malloc(n));
        memcpy(format, cut, n);
        char buffer[64];
        EXPECT_EQ(KorvSNPrintf(buffer, sizeof buffer, format, 1), 2u) << cut;
        EXPECT_EQ(KorvSPrintf(buffer, format, 1.0), 2u) << cut;
        void *args[] = {nullptr};
        EXPECT_EQ(KorvLSNPrintf(buffer, 4, format, args), 2u) << cut;
        free(format);
    }
}

// A digest of every character the engine writes for many random floating
// and integer conversions, in every base, with and without 'h' and 'j'.
// The digits come from double arithmetic whose every rounding shows in the
// last places; the digest pins them, so that a faster way to the digits
// must give all of them unchanged.
uint64_t digest_of_conversions(bool floating)
{
    Random r;
    uint64_t digest = 1469598103934665603ull;
    char buffer[1024];
    for (int i = 0; i < 300000; ++i) {
        std::string format = random_style(r, false);
        if (r.below(4))
            format += "." + std::to_string(r.below(18));
        if (r.below(6) == 0)
            format += (format.find('.') == std::string::npos ? ".." : ".") + std::to_string(2 + r.below(35));
        uint64_t n;
        if (floating) {
            static const char *const sizes[] = {"", "", "", "h", "j", "L"};
            format += sizes[r.below(6)];
            format += "efgEGa"[r.below(6)];
            n = KorvSNPrintf(buffer, sizeof buffer, format.c_str(), random_double(r));
        } else {
            static const char *const sizes[] = {"", "ll", "h", "hh"};
            format += sizes[r.below(4)];
            format += "diuxXo"[r.below(6)];
            n = KorvSNPrintf(buffer, sizeof buffer, format.c_str(), random_integer(r));
        }
        for (const char *p = buffer; *p; ++p)
            digest = (digest ^ static_cast<unsigned char>(*p)) * 1099511628211ull;
        digest = (digest ^ n) * 1099511628211ull;
    }
    return digest;
}

TEST(PrintDifferential, EveryDigitAsBefore)
{
    EXPECT_EQ(digest_of_conversions(true), 7660998286201531117u);
    EXPECT_EQ(digest_of_conversions(false), 4537393624911365765u);
}

} // namespace
