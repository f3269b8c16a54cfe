// Normalisation of paths: separators unified and collapsed, "." dropped,
// ".." folded into the component before it.
#include <string.h>
#include <kvsup.h>
#include "env/env_internal.h"
#include "env/fs_os.h"

using namespace korv;

namespace {

constexpr char S = kPathSep;

// Length of the root at the start of p (kept as it is), and whether a ".."
// right after it is an error. Two separators start a network path, not a
// root: its server is an ordinary component. Otherwise the system says
// what a root is (a lower-case drive "x:\" or a leading '/').
size_t root_length(const char *p, bool *is_root)
{
    *is_root = false;
    if (p[0] == S && p[1] == S)
        return 2;
    size_t n = fs_os_root_length(p);
    *is_root = n != 0;
    return n;
}

bool is_dots(const char *c, size_t n)
{
    return n == 2 && c[0] == '.' && c[1] == '.';
}

// Normalises p in place; false when a ".." climbs above the root.
bool normalise(char *p)
{
    bool rooted;
    size_t root = root_length(p, &rooted);
    size_t out = root;  // write position
    size_t base = root; // where the components begin
    const char *in = p + root;
    if (!root && in[0] == '.' && in[1] == S)
        in += 2;
    while (*in) {
        while (*in == S)
            in++;
        if (!*in)
            break;
        const char *c = in;
        while (*in && *in != S)
            in++;
        size_t n = (size_t)(in - c);
        if (n == 1 && c[0] == '.')
            continue;
        if (is_dots(c, n)) {
            if (out == base) {
                if (rooted)
                    return false;
            } else {
                // The component before: from the last separator after base.
                size_t start = out;
                while (start > base && p[start - 1] != S)
                    start--;
                if (!is_dots(p + start, out - start)) {
                    if (start == base) {
                        // The first component goes; the path restarts here.
                        out = base;
                    } else {
                        out = start - 1;
                    }
                    continue;
                }
            }
        }
        if (out > base)
            p[out++] = S;
        memmove(p + out, c, n);
        out += n;
    }
    p[out] = '\0';
    return true;
}

} // namespace

extern "C" KORV_API char *KorvRealPath(const char *path, uint32_t make_absolute,
                                       uint32_t long_names)
{
    if (!path || !fs_os_name_ok(path))
        return nullptr;
    char *work = make_absolute ? fs_os_full_path(path) : KorvStrDup(path);
    if (!work)
        return nullptr;
    fs_os_unify_separators(work);
    if (!normalise(work)) {
        korv_internal_free(work);
        return nullptr;
    }
    // A path that normalises to nothing is the current directory, with or
    // without long names (the system's long-name call refuses an empty name).
    if (!work[0]) {
        korv_internal_free(work);
        work = KorvStrDup(".");
        if (!work)
            return nullptr;
    }
    if (long_names) {
        char *expanded = fs_os_long_path(work);
        korv_internal_free(work);
        return expanded;
    }
    return work;
}
