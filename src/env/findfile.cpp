// Data-file search along a comma-separated path, with the system's variant
// of each name tried before the plain one, and the small file queries.
#include <stdio.h>
#include <string.h>
#include <kvsup.h>
#include "core/trace.h"
#include "env/env_internal.h"
#include "env/fs_os.h"
#include "env/env_setting.h"

using namespace korv;

namespace {

bool is_absolute(const char *name)
{
    return name[0] == '/' || name[0] == '\\' || (name[0] && name[1] == ':');
}

// A copy of name with '/' written as the separator.
char *copy_with_separators(const char *name)
{
    char *copy = KorvStrDup(name);
    if (copy) {
        for (char *p = copy; *p; p++) {
            if (*p == '/')
                *p = kPathSep;
        }
    }
    return copy;
}

// Appends text to the growing buffer; false when it cannot grow.
bool append(char **buffer, size_t *length, const char *text)
{
    size_t n = strlen(text);
    char *grown = static_cast<char *>(korv_internal_realloc(*buffer, *length + n + 1));
    if (!grown)
        return false;
    memcpy(grown + *length, text, n + 1);
    *buffer = grown;
    *length += n;
    return true;
}

// Builds one candidate: entry and separator, name, suffix, extension, each
// expanded. Null when any allocation fails.
char *build_candidate(const char *entry, const char *name, const char *suffix,
                      const char *extension)
{
    char *parts[4] = {KorvExpandString(entry), KorvExpandString(name),
                      suffix ? KorvExpandString(suffix) : nullptr,
                      extension ? KorvExpandString(extension) : nullptr};
    char *out = nullptr;
    size_t length = 0;
    bool ok = append(&out, &length, "");
    static const char sep[2] = {kPathSep, '\0'};
    if (ok && parts[0])
        ok = append(&out, &length, parts[0]) && append(&out, &length, sep);
    if (ok && parts[1])
        ok = append(&out, &length, parts[1]);
    for (int i = 2; ok && i < 4; i++) {
        if (parts[i])
            ok = append(&out, &length, ".") && append(&out, &length, parts[i]);
    }
    for (char *p : parts)
        korv_internal_free(p);
    if (!ok) {
        korv_internal_free(out);
        return nullptr;
    }
    return out;
}

// A network path is never searched.
bool is_network(const char *candidate)
{
    return candidate[0] == kPathSep && candidate[1] == kPathSep;
}

bool candidate_found(const char *candidate)
{
    bool trace = korv_trace_findfile();
    if (trace) {
        fputs("KorvFindFile: checking <", stderr);
        fputs(candidate, stderr);
        fputs("> -- ", stderr);
    }
    bool found = false;
    if (!is_network(candidate)) {
        found = fs_os_identify(candidate) == 0;
        if (!found) {
            // A candidate that names a download counts when it can be opened.
            if (KorvIO *io = KorvIO_URL(candidate, "rb")) {
                io->close(io);
                found = true;
            }
        }
    }
    if (trace) {
        fputs(found ? "(found)\n" : "(not)\n", stderr);
        fflush(stderr);
    }
    return found;
}

} // namespace

extern "C" KORV_API char *KorvFindFile(const char *name, const char *extension, const char *path)
{
    if (!name)
        return nullptr;
    if (is_absolute(name))
        return copy_with_separators(name);
    // The search works on its own copy: a setting may change meanwhile.
    char *list = path ? KorvStrDup(path) : env_copy("KV_DATA_PATH");
    if (!list)
        return nullptr;

    static const char *const kSuffixes[] = {"${KV_OS}", nullptr};
    char *result = nullptr;
    char *entry = list;
    while (!result) {
        char *comma = strchr(entry, ',');
        if (comma)
            *comma = '\0';
        for (const char *suffix : kSuffixes) {
            char *candidate = build_candidate(entry, name, suffix, extension);
            if (!candidate)
                continue;
            if (candidate_found(candidate)) {
                result = candidate;
                break;
            }
            korv_internal_free(candidate);
        }
        if (!comma)
            break;
        entry = comma + 1;
    }
    korv_internal_free(list);
    return result;
}

extern "C" KORV_API uint32_t KorvIdentifyFile(const char *path)
{
    return path ? fs_os_identify(path) : 2;
}

extern "C" KORV_API uint32_t KorvGetFileAttributes(const char *path, uint32_t which,
                                                   uint64_t *value)
{
    if (!path || !value || which > 2)
        return 0;
    return fs_os_attributes(path, which, value);
}

extern "C" KORV_API char **KorvGetSystemRoots(void)
{
    return fs_os_roots();
}
