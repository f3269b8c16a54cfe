/*
 * Number readers that ignore every locale: '.' is always the decimal point.
 * They read what they can and report where they stopped; nothing is an
 * error. Quirks that callers rely on are kept: 32-bit integers wrap, a
 * hexadecimal number takes a binary exponent only after a fraction point
 * ("0x1p4" reads as 1, stopping at the 'p'), a sign before "0x" is not
 * taken, and 'd' or 'D' also introduce a decimal exponent.
 */
#include "kvsup.h"

#include <math.h>

namespace {

bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

int hex_value(char c)
{
    if (is_digit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// An optional sign and decimal digits; the letter before it has been taken.
// Huge exponents saturate instead of wrapping.
int32_t read_exponent(const char **text)
{
    const char *p = *text;
    bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        p++;
    int32_t exponent = 0;
    for (; is_digit(*p); p++)
        if (exponent < 100000)
            exponent = exponent * 10 + (*p - '0');
    *text = p;
    return negative ? -exponent : exponent;
}

double scale(double value, int32_t exponent, bool binary)
{
    if (exponent == 0)
        return value;
    if (binary)
        return ldexp(value, exponent);
    return exponent > 0 ? value * pow(10.0, exponent) : value / pow(10.0, -exponent);
}

double read_hexadecimal(const char **text)
{
    const char *p = *text + 2;
    double value = 0;
    for (int d; (d = hex_value(*p)) >= 0; p++)
        value = value * 16 + d;
    if (*p == '.') {
        p++;
        double unit = 1.0 / 16;
        for (int d; (d = hex_value(*p)) >= 0; p++, unit /= 16)
            value += d * unit;
        if (*p == 'p' || *p == 'P') {
            p++;
            value = scale(value, read_exponent(&p), true);
        }
    }
    *text = p;
    return value;
}

double read_decimal(const char **text)
{
    const char *p = *text;
    bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        p++;
    double value = 0;
    for (; is_digit(*p); p++)
        value = value * 10 + (*p - '0');
    if (*p == '.') {
        p++;
        double fraction = 0, divisor = 1;
        for (; is_digit(*p); p++) {
            if (divisor < 1e300) {
                fraction = fraction * 10 + (*p - '0');
                divisor *= 10;
            }
        }
        value += fraction / divisor;
    }
    if (*p == 'e' || *p == 'E' || *p == 'd' || *p == 'D') {
        p++;
        value = scale(value, read_exponent(&p), false);
    }
    *text = p;
    return negative ? -value : value;
}

} // namespace

extern "C" KORV_API int32_t KorvReadInt32(const char *text, const char **end)
{
    if (!text) {
        if (end)
            *end = text;
        return 0;
    }
    const char *p = text;
    while (is_space(*p))
        p++;
    bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        p++;
    uint32_t value = 0;   // wraps on overflow, as 32-bit arithmetic does
    for (; is_digit(*p); p++)
        value = value * 10u + (uint32_t)(*p - '0');
    if (end)
        *end = p;
    return (int32_t)(negative ? 0u - value : value);
}

extern "C" KORV_API double KorvReadDouble(const char *text, const char **end)
{
    if (!text) {
        if (end)
            *end = text;
        return 0;
    }
    const char *p = text;
    double value = p[0] == '0' && (p[1] == 'x' || p[1] == 'X') ? read_hexadecimal(&p)
                                                               : read_decimal(&p);
    if (end)
        *end = p;
    return value;
}
