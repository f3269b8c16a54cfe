// KorvParseArgs: named entries of an argument list read into the types the
// caller asks for, converting whatever is stored.
#include <stdarg.h>
#include <math.h>
#include <string.h>
#include "args/arg_reader.h"

using namespace korv::args;

namespace {

const uint32_t kStrictUrls = 0x20;

// What one requested type letter (or group) wants.
enum class Want { Integer, Boolean, Real, Address, Text };

struct Request {
    const char *text;   // "name:types", for messages
    uint32_t security;  // flags of "korvsec:i"
};

bool is_text(char kind)
{
    return kind == 's' || kind == 'M' || kind == 'R' || kind == 'W';
}

// Integer text reads as C programs write it: decimal, "0x" hexadecimal or
// leading-0 octal, after blanks and a sign. The formatted input engine's own
// 'i' is decimal unless given a base, so the base is chosen here first.
bool scan_integer(const char *text, int32_t *out)
{
    const char *p = text;
    while (*p == ' ' || (*p >= '\t' && *p <= '\r'))
        p++;
    if (*p == '+' || *p == '-')
        p++;
    const char *format = "%i";
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X'))
        format = "%#..16i";
    else if (p[0] == '0' && p[1] >= '0' && p[1] <= '7')
        format = "%#..8i";
    return KorvSScanf(text, format, out) == 1;
}

int32_t stored_int(const Value &v)
{
    return *reinterpret_cast<const int32_t *>(v.word);
}

double stored_real(const Value &v)
{
    return *reinterpret_cast<const double *>(v.word);
}

const char *stored_text(const Value &v)
{
    return reinterpret_cast<const char *>(v.word);
}

// A double to an integer, toward zero; values beyond the 32-bit range stop
// at its ends and NaN gives 0.
int32_t truncate(double d)
{
    if (!(d == d))
        return 0;
    if (d >= 2147483647.0)
        return INT32_MAX;
    if (d <= -2147483648.0)
        return INT32_MIN;
    return (int32_t)d;
}

bool to_integer(const Request &r, const Value &v, int32_t *out)
{
    switch (v.kind) {
    case 'i':
    case 'b':
        *out = stored_int(v);
        return true;
    case 'f':
        *out = truncate(stored_real(v));
        return true;
    case 'v':
        *out = 0;
        return true;
    case 'p':
        break;
    default:
        if (scan_integer(stored_text(v), out))
            return true;
        KorvDebug("Failed to parse integer when converting argument '%s'.\n", r.text);
        return false;
    }
    KorvDebug("Unknown argument type '%c' in argument '%s'.\n", 'p', r.text);
    return false;
}

bool to_real(const Request &r, const Value &v, double *out)
{
    switch (v.kind) {
    case 'i':
    case 'b':
        *out = (double)stored_int(v);
        return true;
    case 'f':
        *out = stored_real(v);
        return true;
    case 'v':
        *out = 0.0;
        return true;
    case 'p':
        break;
    default:
        if (KorvSScanf(stored_text(v), "%lf", out) == 1)
            return true;
        KorvDebug("Failed to parse double when converting argument '%s'.\n", r.text);
        return false;
    }
    KorvDebug("Unknown argument type '%c' in argument '%s'.\n", 'p', r.text);
    return false;
}

bool to_boolean(const Request &r, const Value &v, int32_t *out)
{
    switch (v.kind) {
    case 'b':
        *out = stored_int(v); // as stored, not reduced to 0 or 1
        return true;
    case 'i':
        *out = stored_int(v) != 0;
        return true;
    case 'f':
        *out = stored_real(v) != 0.0;
        return true;
    case 'v':
        *out = v.word != 0;
        return true;
    case 'p':
        KorvDebug("Unknown argument type '%c' in argument '%s'.\n", 'p', r.text);
        return false;
    default: {
        const char *t = stored_text(v);
        *out = !(t && (t[0] == 'F' || t[0] == 'f'));
        return true;
    }
    }
}

bool to_address(const Request &r, const Value &v, void **out)
{
    if (v.kind == 'p') {
        KorvDebug("Unknown argument type '%c' in argument '%s'.\n", 'p', r.text);
        return false;
    }
    if (!is_text(v.kind)) {
        *out = reinterpret_cast<void *>(v.word);
        return true;
    }
    if (KorvSScanf(stored_text(v), "%p", out) == 1)
        return true;
    KorvDebug("Failed to parse address when converting argument '%s'.\n", r.text);
    return false;
}

// A new text. mode is 'M', 'R' or 'W' for a requested URL, else 0.
bool to_text(const Request &r, const Value &v, char mode, char **out)
{
    char *text = nullptr;
    switch (v.kind) {
    case 'b':
        text = KorvStrDup(stored_int(v) ? "TRUE" : "FALSE");
        break;
    case 'i':
        KorvASPrintf(&text, "%i", stored_int(v));
        break;
    case 'f':
        KorvASPrintf(&text, "%lf", stored_real(v));
        break;
    case 'v':
        KorvASPrintf(&text, "%p", reinterpret_cast<void *>(v.word));
        break;
    case 'p':
        KorvDebug("Unknown argument type '%c' in argument '%s'.\n", 'p', r.text);
        return false;
    default:
        if (mode && (r.security & kStrictUrls) && v.kind != mode) {
            KorvDebug("Security settings require strict handling of URLs for argument '%s'. "
                      "Conversions are not allowed.\n",
                      r.text);
            return false;
        }
        text = KorvStrDup(stored_text(v));
        break;
    }
    *out = text;
    return text != nullptr;
}

// One value into one destination of the wanted type.
bool convert(const Request &r, const Value &v, Want want, char mode, void *dest)
{
    switch (want) {
    case Want::Integer:
        return to_integer(r, v, static_cast<int32_t *>(dest));
    case Want::Boolean:
        return to_boolean(r, v, static_cast<int32_t *>(dest));
    case Want::Real:
        return to_real(r, v, static_cast<double *>(dest));
    case Want::Address:
        return to_address(r, v, static_cast<void **>(dest));
    case Want::Text:
        return to_text(r, v, mode, static_cast<char **>(dest));
    }
    return false;
}

// A requested type: what each value becomes, whether four make one
// window, and the size of one result element.
struct Wanted {
    Want want;
    char mode;    // URL mode in upper case, or 0
    bool window;
    size_t size;  // bytes of one element of a result array
};

// Four values into a window; running out after the first is an error of
// its own.
bool read_window(const Request &r, Reader &reader, const Wanted &w, unsigned char *dest,
                 bool *ran_out)
{
    size_t size = w.want == Want::Integer ? 4 : 8;
    for (int c = 0; c < 4; c++) {
        Value v;
        if (!reader.read(v)) {
            *ran_out = c == 0;
            if (c > 0)
                KorvDebug("Incorrect number of values to make a window from argument '%s'. Must "
                          "be a multiple of 4.\n",
                          r.text);
            return false;
        }
        if (!convert(r, v, w.want, 0, dest + c * size))
            return false;
    }
    return true;
}

bool read_scalar(const Request &r, Reader &reader, const Wanted &w, void *dest)
{
    if (w.window) {
        bool ran_out;
        return read_window(r, reader, w, static_cast<unsigned char *>(dest), &ran_out);
    }
    Value v;
    return reader.read(v) && convert(r, v, w.want, w.mode, dest);
}

// Every remaining value of the entry into a new array.
bool read_array(const Request &r, Reader &reader, const Wanted &w, int32_t values, int32_t *count,
                void **array)
{
    bool listed = w.want == Want::Text || w.want == Want::Address; // NULL-terminated
    if (!listed && values < 1) {
        *array = nullptr;
        return false;
    }
    size_t capacity = values > 0 ? (size_t)values : 0;
    auto *out = static_cast<unsigned char *>(
        korv_internal_malloc((capacity + (listed ? 1 : 0)) * w.size));
    *array = out;
    if (!out)
        return false;
    *count = 0;
    if (listed)
        memset(out, 0, w.size);
    for (size_t n = 0;; n++) {
        unsigned char *dest = out + n * w.size;
        bool more;
        if (n == capacity) {
            // Full: any further value is one too many.
            Value v;
            if (reader.read(v)) {
                KorvDebug("Ran out of space when converting argument '%s'.\n", r.text);
                return false;
            }
            return true;
        }
        if (w.window) {
            bool ran_out = false;
            more = read_window(r, reader, w, dest, &ran_out);
            if (!more && !ran_out)
                return false;
        } else {
            Value v;
            more = reader.read(v);
            if (more && !convert(r, v, w.want, w.mode, dest))
                return false;
        }
        if (!more)
            return true;
        *count = (int32_t)(n + 1);
        if (listed)
            memset(dest + w.size, 0, w.size);
    }
}

// Reads the requested type letters at *types: the kind wanted, and for
// arrays whether the group was "#...". Unknown letters are reported.
bool parse_wanted(const Request &r, const char *&types, Wanted &w, bool *array)
{
    *array = *types == '#';
    const char *p = types + (*array ? 1 : 0);
    char c = (char)(*p | 0x20);
    w = {Want::Integer, 0, false, 4};
    switch (*p ? c : 0) {
    case 'i':
        break;
    case 'b':
        w.want = Want::Boolean;
        break;
    case 'd':
    case 'f':
        w = {Want::Real, 0, false, 8};
        break;
    case 'h':
    case 'v':
        w = {Want::Address, 0, false, sizeof(void *)};
        break;
    case 's':
        w = {Want::Text, 0, false, sizeof(char *)};
        break;
    case 'u': {
        char m = (char)(p[1] | 0x20);
        if (m != 'm' && m != 'r' && m != 'w') {
            KorvDebug(*array ? "Unknown array argument url type '%c' in argument '%s'.\n"
                             : "Unknown argument url type '%c' in argument '%s'.\n",
                      p[1], r.text);
            return false;
        }
        w = {Want::Text, (char)(m - 32), false, sizeof(char *)};
        p++;
        break;
    }
    case 'w': {
        char m = (char)(p[1] | 0x20);
        if (m == 'i') {
            w = {Want::Integer, 0, true, 16};
        } else if (m == 'f') {
            w = {Want::Real, 0, true, 32};
        } else {
            KorvDebug(*array ? "Unknown array argument window type '%c' in argument '%s'.\n"
                             : "Unknown argument window type '%c' in argument '%s'.\n",
                      p[1], r.text);
            return false;
        }
        p++;
        break;
    }
    default:
        KorvDebug(*array ? "Unknown array argument type '%c' in argument '%s'.\n"
                         : "Unknown argument type '%c' in argument '%s'.\n",
                  *p, r.text);
        return false;
    }
    types = p + 1;
    return true;
}

uint32_t security_flags(const KorvArgWord *list, bool *ok)
{
    size_t at;
    int32_t values;
    int found = find_entry(list, "korvsec", 7, &at, &values);
    *ok = found != 0;
    if (found != 1)
        return 0;
    const char *types = qualifier(reinterpret_cast<const char *>(list[at]));
    bool integer = types[0] == 'i' || (types[0] && types[1] == 'I');
    if (!integer || values != 1)
        return 0;
    return (uint32_t)list[at + 1]; // the value word itself holds the flags
}

} // namespace

extern "C" KORV_API uint32_t KorvParseArgs(const KorvArgWord *list, ...)
{
    bool ok;
    uint32_t security = security_flags(list, &ok);
    if (!ok)
        return 0;
    va_list args;
    va_start(args, list);
    uint32_t result = 1;
    for (;;) {
        KorvArgWord word = va_arg(args, KorvArgWord);
        if (word == KORV_ARG_END)
            break;
        Request r{reinterpret_cast<const char *>(word), security};
        auto *found = va_arg(args, int32_t *);
        const char *types = qualifier(r.text);
        if (!types) {
            KorvDebug("Argument '%s' missing the colon type qualifier.\n", r.text);
            result = 0;
            break;
        }
        size_t at = 0;
        int32_t values = 0;
        int present = find_entry(list, r.text, name_length(r.text), &at, &values);
        if (present == 0) {
            result = 0;
            break;
        }
        if (found)
            *found = present == 1;
        Reader reader(present == 1 ? list : nullptr, at);
        while (result && *types) {
            Wanted w;
            bool array;
            if (!parse_wanted(r, types, w, &array)) {
                result = 0;
                break;
            }
            if (array) {
                auto *count = va_arg(args, int32_t *);
                auto *dest = va_arg(args, void **);
                if (present == 1 && !read_array(r, reader, w, values, count, dest))
                    result = 0;
            } else {
                void *dest = va_arg(args, void *);
                if (present == 1 && !read_scalar(r, reader, w, dest))
                    result = 0;
            }
        }
        if (!result)
            break;
    }
    va_end(args);
    return result;
}
