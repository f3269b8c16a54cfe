// Expansion of ${NAME} and $NAME references. A brace-less name ends at the
// next '/', which stays in the text. Values go in as they are; on Windows the
// string's own '/' characters are written as '\'.
#include <string.h>
#include <kvsup.h>
#include "env/env_internal.h"

using namespace korv;

namespace {

// Walks the string once. Without out, only measures. Returns the length, or
// SIZE_MAX when a reference's name cannot be copied.
size_t expand(const char *s, char *out, size_t limit)
{
    size_t n = 0;
    auto put = [&](char c) {
        if (out && n < limit)
            out[n] = c;
        n++;
    };
    while (*s) {
        if (*s != '$') {
            put(*s == '/' ? kPathSep : *s);
            s++;
            continue;
        }
        s++;
        const char *start;
        const char *end;
        if (*s == '{') {
            start = ++s;
            end = strchr(start, '}');
            if (!end)
                end = start + strlen(start);
            s = *end ? end + 1 : end;
        } else {
            start = s;
            end = strchr(start, '/');
            if (!end)
                end = start + strlen(start);
            s = end;
        }
        char *name = KorvStrNDup(start, (size_t)(end - start));
        if (!name)
            return SIZE_MAX;
        const char *value = KorvGetenv(name);
        korv_internal_free(name);
        if (value) {
            for (; *value; value++)
                put(*value);
        }
    }
    return n;
}

} // namespace

extern "C" KORV_API char *KorvExpandString(const char *string)
{
    if (!string)
        return nullptr;
    // Both passes under the lock, so that the values cannot change between
    // measuring and writing.
    KeyGuard guard(kEnvLockKey);
    size_t length = expand(string, nullptr, 0);
    if (length == 0 || length == SIZE_MAX)
        return nullptr;
    char *result = static_cast<char *>(korv_internal_malloc(length + 1));
    if (!result)
        return nullptr;
    size_t written = expand(string, result, length);
    if (written != length) {
        korv_internal_free(result);
        return nullptr;
    }
    result[length] = '\0';
    return result;
}
