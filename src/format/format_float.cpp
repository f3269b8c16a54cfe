// The floating-point formatter: decimal ('e', 'f', 'g'), hexadecimal ('a')
// and the other bases given after a second '.'.
//
// Digits come from the double itself: the integer digits by division and
// remainder from the most significant one, the fraction digits by repeated
// multiplication by the base. Only the type's significant digits (15 for a
// double, 6 for a float in base 10) are generated; places beyond them print
// as zeros. The value is rounded first by adding half a unit in the last
// printed place. In base 10 the multiplications of the fraction are carried
// out on the double's bits as integers, rounding as the double would.
#include "format/format_digits.h"

#include <math.h>

namespace korv::fmt {

namespace {

constexpr double pow10_table[309] = {
    1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9,
    1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19,
    1e20, 1e21, 1e22, 1e23, 1e24, 1e25, 1e26, 1e27, 1e28, 1e29,
    1e30, 1e31, 1e32, 1e33, 1e34, 1e35, 1e36, 1e37, 1e38, 1e39,
    1e40, 1e41, 1e42, 1e43, 1e44, 1e45, 1e46, 1e47, 1e48, 1e49,
    1e50, 1e51, 1e52, 1e53, 1e54, 1e55, 1e56, 1e57, 1e58, 1e59,
    1e60, 1e61, 1e62, 1e63, 1e64, 1e65, 1e66, 1e67, 1e68, 1e69,
    1e70, 1e71, 1e72, 1e73, 1e74, 1e75, 1e76, 1e77, 1e78, 1e79,
    1e80, 1e81, 1e82, 1e83, 1e84, 1e85, 1e86, 1e87, 1e88, 1e89,
    1e90, 1e91, 1e92, 1e93, 1e94, 1e95, 1e96, 1e97, 1e98, 1e99,
    1e100, 1e101, 1e102, 1e103, 1e104, 1e105, 1e106, 1e107, 1e108, 1e109,
    1e110, 1e111, 1e112, 1e113, 1e114, 1e115, 1e116, 1e117, 1e118, 1e119,
    1e120, 1e121, 1e122, 1e123, 1e124, 1e125, 1e126, 1e127, 1e128, 1e129,
    1e130, 1e131, 1e132, 1e133, 1e134, 1e135, 1e136, 1e137, 1e138, 1e139,
    1e140, 1e141, 1e142, 1e143, 1e144, 1e145, 1e146, 1e147, 1e148, 1e149,
    1e150, 1e151, 1e152, 1e153, 1e154, 1e155, 1e156, 1e157, 1e158, 1e159,
    1e160, 1e161, 1e162, 1e163, 1e164, 1e165, 1e166, 1e167, 1e168, 1e169,
    1e170, 1e171, 1e172, 1e173, 1e174, 1e175, 1e176, 1e177, 1e178, 1e179,
    1e180, 1e181, 1e182, 1e183, 1e184, 1e185, 1e186, 1e187, 1e188, 1e189,
    1e190, 1e191, 1e192, 1e193, 1e194, 1e195, 1e196, 1e197, 1e198, 1e199,
    1e200, 1e201, 1e202, 1e203, 1e204, 1e205, 1e206, 1e207, 1e208, 1e209,
    1e210, 1e211, 1e212, 1e213, 1e214, 1e215, 1e216, 1e217, 1e218, 1e219,
    1e220, 1e221, 1e222, 1e223, 1e224, 1e225, 1e226, 1e227, 1e228, 1e229,
    1e230, 1e231, 1e232, 1e233, 1e234, 1e235, 1e236, 1e237, 1e238, 1e239,
    1e240, 1e241, 1e242, 1e243, 1e244, 1e245, 1e246, 1e247, 1e248, 1e249,
    1e250, 1e251, 1e252, 1e253, 1e254, 1e255, 1e256, 1e257, 1e258, 1e259,
    1e260, 1e261, 1e262, 1e263, 1e264, 1e265, 1e266, 1e267, 1e268, 1e269,
    1e270, 1e271, 1e272, 1e273, 1e274, 1e275, 1e276, 1e277, 1e278, 1e279,
    1e280, 1e281, 1e282, 1e283, 1e284, 1e285, 1e286, 1e287, 1e288, 1e289,
    1e290, 1e291, 1e292, 1e293, 1e294, 1e295, 1e296, 1e297, 1e298, 1e299,
    1e300, 1e301, 1e302, 1e303, 1e304, 1e305, 1e306, 1e307, 1e308
};

// The doubles nearest to 10^-n.
constexpr double neg_pow10_table[324] = {
    1e-0, 1e-1, 1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7, 1e-8, 1e-9,
    1e-10, 1e-11, 1e-12, 1e-13, 1e-14, 1e-15, 1e-16, 1e-17, 1e-18, 1e-19,
    1e-20, 1e-21, 1e-22, 1e-23, 1e-24, 1e-25, 1e-26, 1e-27, 1e-28, 1e-29,
    1e-30, 1e-31, 1e-32, 1e-33, 1e-34, 1e-35, 1e-36, 1e-37, 1e-38, 1e-39,
    1e-40, 1e-41, 1e-42, 1e-43, 1e-44, 1e-45, 1e-46, 1e-47, 1e-48, 1e-49,
    1e-50, 1e-51, 1e-52, 1e-53, 1e-54, 1e-55, 1e-56, 1e-57, 1e-58, 1e-59,
    1e-60, 1e-61, 1e-62, 1e-63, 1e-64, 1e-65, 1e-66, 1e-67, 1e-68, 1e-69,
    1e-70, 1e-71, 1e-72, 1e-73, 1e-74, 1e-75, 1e-76, 1e-77, 1e-78, 1e-79,
    1e-80, 1e-81, 1e-82, 1e-83, 1e-84, 1e-85, 1e-86, 1e-87, 1e-88, 1e-89,
    1e-90, 1e-91, 1e-92, 1e-93, 1e-94, 1e-95, 1e-96, 1e-97, 1e-98, 1e-99,
    1e-100, 1e-101, 1e-102, 1e-103, 1e-104, 1e-105, 1e-106, 1e-107, 1e-108, 1e-109,
    1e-110, 1e-111, 1e-112, 1e-113, 1e-114, 1e-115, 1e-116, 1e-117, 1e-118, 1e-119,
    1e-120, 1e-121, 1e-122, 1e-123, 1e-124, 1e-125, 1e-126, 1e-127, 1e-128, 1e-129,
    1e-130, 1e-131, 1e-132, 1e-133, 1e-134, 1e-135, 1e-136, 1e-137, 1e-138, 1e-139,
    1e-140, 1e-141, 1e-142, 1e-143, 1e-144, 1e-145, 1e-146, 1e-147, 1e-148, 1e-149,
    1e-150, 1e-151, 1e-152, 1e-153, 1e-154, 1e-155, 1e-156, 1e-157, 1e-158, 1e-159,
    1e-160, 1e-161, 1e-162, 1e-163, 1e-164, 1e-165, 1e-166, 1e-167, 1e-168, 1e-169,
    1e-170, 1e-171, 1e-172, 1e-173, 1e-174, 1e-175, 1e-176, 1e-177, 1e-178, 1e-179,
    1e-180, 1e-181, 1e-182, 1e-183, 1e-184, 1e-185, 1e-186, 1e-187, 1e-188, 1e-189,
    1e-190, 1e-191, 1e-192, 1e-193, 1e-194, 1e-195, 1e-196, 1e-197, 1e-198, 1e-199,
    1e-200, 1e-201, 1e-202, 1e-203, 1e-204, 1e-205, 1e-206, 1e-207, 1e-208, 1e-209,
    1e-210, 1e-211, 1e-212, 1e-213, 1e-214, 1e-215, 1e-216, 1e-217, 1e-218, 1e-219,
    1e-220, 1e-221, 1e-222, 1e-223, 1e-224, 1e-225, 1e-226, 1e-227, 1e-228, 1e-229,
    1e-230, 1e-231, 1e-232, 1e-233, 1e-234, 1e-235, 1e-236, 1e-237, 1e-238, 1e-239,
    1e-240, 1e-241, 1e-242, 1e-243, 1e-244, 1e-245, 1e-246, 1e-247, 1e-248, 1e-249,
    1e-250, 1e-251, 1e-252, 1e-253, 1e-254, 1e-255, 1e-256, 1e-257, 1e-258, 1e-259,
    1e-260, 1e-261, 1e-262, 1e-263, 1e-264, 1e-265, 1e-266, 1e-267, 1e-268, 1e-269,
    1e-270, 1e-271, 1e-272, 1e-273, 1e-274, 1e-275, 1e-276, 1e-277, 1e-278, 1e-279,
    1e-280, 1e-281, 1e-282, 1e-283, 1e-284, 1e-285, 1e-286, 1e-287, 1e-288, 1e-289,
    1e-290, 1e-291, 1e-292, 1e-293, 1e-294, 1e-295, 1e-296, 1e-297, 1e-298, 1e-299,
    1e-300, 1e-301, 1e-302, 1e-303, 1e-304, 1e-305, 1e-306, 1e-307, 1e-308, 1e-309,
    1e-310, 1e-311, 1e-312, 1e-313, 1e-314, 1e-315, 1e-316, 1e-317, 1e-318, 1e-319,
    1e-320, 1e-321, 1e-322, 1e-323
};

// Fraction and integer places are generated at most this far (the most
// significant digits of a double in base 2, with room to spare).
constexpr int digit_room = 64;

// Beyond these powers any base's power is 0 or infinite.
constexpr int64_t power_limit = 1100;

bool power_of_two(int base)
{
    return (base & (base - 1)) == 0;
}

int log2_of(int base)
{
    int n = 0;
    while ((1 << n) < base)
        ++n;
    return n;
}

// base^n for 0 <= n, infinite when it overflows.
double power(int base, int64_t n)
{
    if (n > power_limit)
        return HUGE_VAL;
    if (base == 10)
        return n <= 308 ? pow10_table[n] : HUGE_VAL;
    if (power_of_two(base))
        return ldexp(1.0, static_cast<int>(n * log2_of(base)));
    double p = 1.0;
    for (int64_t i = 0; i < n && p != HUGE_VAL; ++i)
        p *= base;
    return p;
}

// x * base^n for any n, in steps that neither overflow nor underflow early.
double scale_any(double x, int base, int64_t n)
{
    if (n > power_limit)
        return x == 0 ? 0 : x * HUGE_VAL;
    if (n < -power_limit)
        return 0;
    if (base == 10 && n < 0 && n >= -22)
        return x / pow10_table[-n];     // exact divisor: one rounding
    // The largest power taken in one step stays well inside the double range.
    const int step = base == 10 ? 300 : static_cast<int>(990 / log2(static_cast<double>(base)));
    while (n > step) {
        x *= power(base, step);
        n -= step;
    }
    while (n < -step) {
        x /= power(base, step);
        n += step;
    }
    return n >= 0 ? x * power(base, n) : x / power(base, -n);
}

// scale_any, with the decimal powers of one step taken at once.
KORV_INLINE double scale(double x, int base, int64_t n)
{
    if (base == 10) {
        if (n >= 0 && n <= 300)
            return x * pow10_table[n];
        if (n < 0 && n >= -300)
            return x / pow10_table[-n];
    }
    return scale_any(x, base, n);
}

// base^n compared with x: is x >= base^n? (n of any sign)
KORV_INLINE bool at_least_power(double x, int base, int64_t n)
{
    if (base == 10) {
        if (n >= 0)
            return n <= 308 && x >= pow10_table[n];
        return n < -323 || x >= neg_pow10_table[-n];
    }
    return scale(x, base, -n) >= 1.0;
}

// floor(log_base(x)) for a finite x > 0.
int64_t floor_log(double x, int base)
{
    int64_t e;
    uint64_t bits;
    memcpy(&bits, &x, sizeof bits);
    const int biased = static_cast<int>(bits >> 52 & 0x7ff);
    if (base == 10 && biased != 0) {
        // x lies in [2^(biased - 1023), 2^(biased - 1022)): a first guess
        // from the binary exponent (1233 / 4096 is just above log10(2)).
        e = ((biased - 1023) * 1233) >> 12;
    } else {
        int binary;
        frexp(x, &binary);      // x = m * 2^binary, 0.5 <= m < 1
        const double per_bit = base == 10 ? 0.30102999566398120 : 1.0 / log2(static_cast<double>(base));
        e = static_cast<int64_t>(floor((binary - 1) * per_bit));
    }
    while (!at_least_power(x, base, e))
        --e;
    while (at_least_power(x, base, e + 1))
        ++e;
    return e;
}

// One unit of the type's precision, relative: what the binary value may be
// short of the decimal it stands for.
constexpr double double_unit = 2.220446049250313e-16;
constexpr double float_unit = 1.1920928955078125e-7;

// Significant digits a double (53 bits) or a float (24 bits) carries.
int significant_digits(int base, bool single)
{
    if (base == 10)
        return single ? 6 : 15;
    const int bits = single ? 24 : 53;
    if (power_of_two(base))
        return bits / log2_of(base);
    return static_cast<int>(floor((bits - 1) / log2(static_cast<double>(base))));
}

// One digit from a value that should lie in [0, base).
int clamp_digit(double d, int base)
{
    if (!(d >= 0))
        return 0;
    if (d >= base)
        return base - 1;
    return static_cast<int>(d);
}

// v in [0, 1) as mantissa / 2^exponent with exponent at most 59, so that
// ten times the mantissa fits a signed 64-bit integer; false when v needs
// more places.
bool fixed_point(double v, uint64_t *mantissa, int *exponent)
{
    if (!(v >= 0 && v < 1))
        return false;
    if (v == 0) {
        *mantissa = 0;
        *exponent = 0;
        return true;
    }
    uint64_t bits;
    memcpy(&bits, &v, sizeof bits);
    const int biased = static_cast<int>(bits >> 52);
    if (biased == 0)
        return false;       // subnormal: far more places than 59
    uint64_t m = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
    int e = 1075 - biased;  // v = m / 2^e, e > 52 below 1
    const int spare = __builtin_ctzll(m);
    if (e - spare > 59)
        return false;
    if (e > 59) {
        m >>= e - 59;
        e = 59;
    }
    *mantissa = m;
    *exponent = e;
    return true;
}

// 10 * m rounded to a double, as the multiplication of the double
// m / 2^e by the base rounds it (in the same rounding mode): the product
// is exact as an integer, its conversion rounds it to 53 bits.
KORV_INLINE uint64_t times_ten(uint64_t m)
{
    const int64_t product = static_cast<int64_t>(m * 10);
    return static_cast<uint64_t>(static_cast<int64_t>(static_cast<double>(product)));
}

// The digits of a number as runs: integer digits (computed ones, then
// zeros), then fraction digits (zeros, computed ones, zeros).
struct Digits {
    char whole[digit_room];
    int whole_count;
    int64_t whole_zeros;
    int64_t lead_zeros;
    char fraction[digit_room];
    int fraction_count;
    int64_t tail_zeros;
};

// Generates the digits of v (already rounded): `whole` integer places,
// `places` fraction places, nothing computed below position `last` (the
// lowest significant place; e is the highest). With `scaled`, v holds the
// value divided by base^(whole - 1) (a number too large to round in place),
// and no fraction digit is significant.
void generate(double v, int base, int64_t whole, int64_t places, int64_t e, int64_t last, bool scaled,
              const char *set, Digits *d)
{
    // Integer part, from the most significant place.
    int64_t computed = whole - (last > 0 ? last : 0);
    if (computed < 1)
        computed = 1;
    if (computed > digit_room)
        computed = digit_room;
    d->whole_count = static_cast<int>(computed);
    d->whole_zeros = whole - computed;
    for (int64_t i = 0; scaled && i < computed; ++i) {
        int digit = clamp_digit(floor(v), base);
        d->whole[i] = set[digit];
        v = (v - digit) * base;
    }
    if (!scaled && v < 9007199254740992.0) {
        // Below 2^53 the integer part is exact: the division and remainder
        // of each place give the digits of that integer, taken at once.
        uint64_t n = static_cast<uint64_t>(v);
        char all[digit_room];
        int count = 0;
        if (base == 10) {
            // Written forwards with the integer formatter's digit pairs,
            // after the zeros of the places above them.
            count = n ? count_digits(n, 10) : 0;
            if (count <= whole) {
                char forward[20];
                if (n)
                    digits_of(n, 10, false, forward + count);
                const int64_t zeros = whole - count;
                for (int64_t i = 0; i < computed; ++i)
                    d->whole[i] = i < zeros ? '0' : forward[i - zeros];
                v -= static_cast<double>(n);
                computed = 0;
            }
        } else {
            for (uint64_t rest = n; rest; rest /= static_cast<unsigned>(base))
                all[count++] = set[rest % static_cast<unsigned>(base)];
        }
        if (base != 10 && count <= whole) {
            while (count < whole)
                all[count++] = '0';
            for (int64_t i = 0; i < computed; ++i)
                d->whole[i] = all[count - 1 - i];
            v -= static_cast<double>(n);
            computed = 0;
        }
    }
    for (int64_t i = 0; !scaled && i < computed; ++i) {
        int64_t position = whole - 1 - i;
        double p = power(base, position);
        int digit = clamp_digit(floor(v / p), base);
        double rest = v - digit * p;
        if (rest < 0 && digit > 0) {
            --digit;
            rest += p;
        } else if (rest >= p && digit < base - 1) {
            ++digit;
            rest -= p;
        }
        d->whole[i] = set[digit];
        v = rest < 0 ? 0 : rest;
    }
    if (scaled || d->whole_zeros > 0)
        v = 0;

    // Fraction: zeros before the first significant place jumped over at
    // once, then one place per multiplication.
    d->lead_zeros = 0;
    d->fraction_count = 0;
    if (e < -1 && whole == 1 && d->whole[0] == '0') {
        int64_t zeros = -e - 1;
        d->lead_zeros = zeros < places ? zeros : places;
        v = scale(v, base, d->lead_zeros);
    }
    int64_t position = -d->lead_zeros - 1;
    uint64_t mantissa;
    int exponent;
    if (base == 10 && fixed_point(v, &mantissa, &exponent)) {
        // The same steps on the value's bits: v is mantissa / 2^exponent.
        int64_t count = -last < places ? -last : places;    // the lowest place generated
        count -= d->lead_zeros;
        if (count > digit_room)
            count = digit_room;
        const uint64_t below_one = (uint64_t{1} << exponent) - 1;
        for (int64_t i = 0; i < count; ++i) {
            const uint64_t product = times_ten(mantissa);
            uint64_t digit = product >> exponent;
            mantissa = product & below_one;
            if (digit > 9) {
                // 10 * v rounded up to 10: the digit stays 9, v becomes 1.
                digit = 9;
                mantissa = product - (uint64_t{9} << exponent);
            }
            d->fraction[i] = static_cast<char>('0' + digit);
        }
        d->fraction_count = count > 0 ? static_cast<int>(count) : 0;
        d->tail_zeros = places - d->lead_zeros - d->fraction_count;
        return;
    }
    for (; position >= -places && position >= last && d->fraction_count < digit_room; --position) {
        v *= base;
        int digit = clamp_digit(floor(v), base);
        v -= digit;
        if (v < 0)
            v = 0;
        d->fraction[d->fraction_count++] = set[digit];
    }
    d->tail_zeros = places - d->lead_zeros - d->fraction_count;
}

void put_number(Output &out, const Digits &d, const char *point, size_t point_length, const char *exponent,
                int exponent_length)
{
    const uint64_t length = d.whole_count + d.whole_zeros + point_length + d.lead_zeros + d.fraction_count +
                            d.tail_zeros + exponent_length;
    if (length <= 64 && point_length <= 8) {
        // Most numbers are short: made whole here and handed over at once.
        char text[64 + 2 * digit_room + 32];
        char *p = text;
        Output::copy(p, d.whole, static_cast<size_t>(d.whole_count));
        p += d.whole_count;
        fill_bytes(p, '0', static_cast<uint64_t>(d.whole_zeros));
        p += d.whole_zeros;
        Output::copy(p, point, point_length);
        p += point_length;
        fill_bytes(p, '0', static_cast<uint64_t>(d.lead_zeros));
        p += d.lead_zeros;
        Output::copy(p, d.fraction, static_cast<size_t>(d.fraction_count));
        p += d.fraction_count;
        fill_bytes(p, '0', static_cast<uint64_t>(d.tail_zeros));
        p += d.tail_zeros;
        Output::copy(p, exponent, static_cast<size_t>(exponent_length));
        out.put(text, static_cast<size_t>(length));
        return;
    }
    out.put(d.whole, static_cast<size_t>(d.whole_count));
    out.fill('0', static_cast<uint64_t>(d.whole_zeros));
    out.put(point, point_length);
    out.fill('0', static_cast<uint64_t>(d.lead_zeros));
    out.put(d.fraction, static_cast<size_t>(d.fraction_count));
    out.fill('0', static_cast<uint64_t>(d.tail_zeros));
    out.put(exponent, static_cast<size_t>(exponent_length));
}

// "inf", "-inf" and "nan", padded like strings.
void write_special(Output &out, const char *text, const Style &style)
{
    Style plain = style;
    plain.flags &= ~(flag_alt | flag_quote);
    plain.precision = -1;
    write_string(out, text, plain);
}

} // namespace

void write_float(Output &out, double value, const Style &style)
{
    const uint32_t f = style.flags;
    const bool upper = f & flag_upper;
    if (isnan(value)) {
        write_special(out, upper ? "NAN" : "nan", style);
        return;
    }
    const bool negative = signbit(value);
    if (isinf(value)) {
        write_special(out, negative ? (upper ? "-INF" : "-inf") : (upper ? "INF" : "inf"), style);
        return;
    }

    const bool single = (f & flag_h) && !(f & flag_L);
    if (single)
        value = static_cast<float>(value);
    const int base = style.base >= 2 && style.base <= 36 ? style.base : 10;
    const int significant = significant_digits(base, single);
    const char conversion = static_cast<char>(style.conversion | 0x20);
    bool exponent_form = conversion == 'e' || conversion == 'a';
    bool keep_zeros = conversion != 'g';

    int64_t precision = style.precision;
    if (f & flag_j)
        precision = significant;
    if (precision < 0) {
        precision = base == 16 ? 24 : 6;
        if (base == 16)
            keep_zeros = false;
    }
    if (f & flag_alt)
        keep_zeros = true;

    const double magnitude = fabs(value);
    int64_t e = magnitude > 0 ? floor_log(magnitude, base) : 0;
    int64_t places = precision;
    if (conversion == 'g') {
        if (precision == 0)
            precision = 1;
        const double small = base == 10 ? 1e-4 : scale(1.0, base, -4);
        exponent_form = magnitude > 0 && (magnitude < small || magnitude > power(base, precision));
        if (exponent_form || magnitude == 0)
            places = precision - 1;
        else if (e >= 0)
            places = precision > e + 1 ? precision - (e + 1) : 0;
        else
            places = precision + (-e - 1);
    }

    // Scale (exponent form), round by half a unit in the last printed place
    // (or the last significant one, when that comes first) and count the
    // integer places again after a carry. One unit of the type's precision
    // goes with the half unit, so that a sum the double cannot hold exactly
    // does not fall short of the digit it reaches in decimal (75.935 to two
    // places is 75.94, not 75.93). Digits in a power-of-two base are exact
    // and need no such help.
    const double type_unit = power_of_two(base) ? 0.0 : single ? float_unit : double_unit;
    double v = magnitude;
    int64_t whole;
    int64_t last;
    bool scaled = false;
    if (exponent_form) {
        if (v > 0) {
            v = scale(magnitude, base, -e);
            if (v >= base) {
                v /= base;
                ++e;
            } else if (v < 1) {
                v *= base;
                --e;
            }
            int64_t unit = -places > 1 - significant ? -places : 1 - significant;
            v += 0.5 * scale(1.0, base, unit) + v * type_unit;
            if (v >= base) {
                v /= base;
                ++e;
            }
        }
        whole = 1;
        last = 1 - significant;
    } else {
        if (v > 0) {
            int64_t unit = -places > e - significant + 1 ? -places : e - significant + 1;
            v += 0.5 * scale(1.0, base, unit) + v * type_unit;
            if (isinf(v)) {
                // Rounding the largest values overflows: round them scaled.
                v = scale(magnitude, base, -e);
                v += 0.5 * scale(1.0, base, unit - e) + v * type_unit;
                scaled = true;
                if (v >= base) {
                    v /= base;
                    ++e;
                }
            } else if (at_least_power(v, base, e + 1)) {
                e = floor_log(v, base);
            }
        }
        whole = e >= 0 ? e + 1 : 1;
        last = e - significant + 1;
    }

    const char *set = upper ? upper_digits : lower_digits;
    Digits digits;
    generate(v, base, whole, places, exponent_form ? 0 : e, last, scaled, set, &digits);

    if (!keep_zeros) {
        // Zeros were held back: they only count before a non-zero digit.
        while (digits.fraction_count > 0 && digits.fraction[digits.fraction_count - 1] == '0')
            --digits.fraction_count;
        digits.tail_zeros = 0;
        if (digits.fraction_count == 0)
            digits.lead_zeros = 0;
    }
    // Without kept zeros, digits are left exactly when one was not zero.
    const bool point = (f & flag_alt) || (places > 0 && (keep_zeros || digits.fraction_count > 0));
    const KorvLocale *locale = out.locale && out.locale->decimalPoint ? out.locale : KorvGetKorvaneLocale();
    const char *decimal = locale->decimalPoint;
    const size_t point_length = !point ? 0 : decimal[0] && !decimal[1] ? 1 : strlen(decimal);

    char exponent[24];
    int exponent_length = 0;
    if (exponent_form) {
        int64_t shown = base == 16 ? 4 * e : e;
        exponent[exponent_length++] = base == 16 ? (upper ? 'P' : 'p') : (upper ? 'E' : 'e');
        exponent[exponent_length++] = shown < 0 ? '-' : '+';
        uint64_t n = static_cast<uint64_t>(shown < 0 ? -shown : shown);
        char reversed[20];
        int count = 0;
        if (n < 100 && base == 10) {
            // The usual two digits at once.
            put_pair(exponent + exponent_length, pairs, static_cast<unsigned>(n));
            exponent_length += 2;
        } else {
            do {
                reversed[count++] = static_cast<char>('0' + n % 10);
                n /= 10;
            } while (n);
            while (count)
                exponent[exponent_length++] = reversed[--count];
        }
    }

    const char sign = negative ? '-' : (f & flag_plus) ? '+' : (f & flag_blank) ? ' ' : 0;
    const char prefix[2] = {'0', upper ? 'X' : 'x'};
    const int prefix_length = base == 16 ? 2 : 0;
    const uint64_t length = (sign ? 1 : 0) + prefix_length + digits.whole_count + digits.whole_zeros +
                            point_length + digits.lead_zeros + digits.fraction_count +
                            digits.tail_zeros + exponent_length;
    const uint64_t width = style.width > 0 ? static_cast<uint64_t>(style.width) : 0;
    const uint64_t pad = width > length ? width - length : 0;
    const bool zero_pad = (f & flag_zero) && !(f & flag_minus);

    if (!zero_pad && !(f & flag_minus))
        out.fill(' ', pad);
    if (sign)
        out.put(sign);
    out.put(prefix, static_cast<size_t>(prefix_length));
    if (zero_pad)
        out.fill('0', pad);
    put_number(out, digits, locale->decimalPoint, point_length, exponent, exponent_length);
    if (f & flag_minus)
        out.fill(' ', pad);
}

} // namespace korv::fmt
