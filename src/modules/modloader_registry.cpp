// Filling a module loader from a registry file (a CM document with
// [libraries] and [aliases] sections), and from the usual places at once:
// a registry file found along a search path, an environment variable
// holding a path list, and a default path list.
#include <string.h>
#include <kvsup.h>
#include "modules/modloader.h"
#include "env/env_setting.h"

namespace {

// Keys and values are read into fixed buffers of this size through string
// streams; longer texts are cut.
constexpr uint64_t kTokenBuffer = 1024;

constexpr int kTokenEnd = 101;
constexpr int kTokenFailed = 69;
constexpr int kTokenSection = 110;
constexpr int kTokenLabel = 108;

enum class Mode { Ignore, Libraries, Aliases };

// One token of in into text (NUL-terminated; the stream adds the NUL after
// what it wrote while room is left, the extra byte covers a full buffer).
int read_token(KorvIO *in, KorvIO *out, char *text)
{
    KorvIOStrReset(out);
    text[0] = '\0';
    return KorvReadUserCM(in, out);
}

// The labels of a library entry say what a failed bundle costs: 2 for
// "optional", -1 for "required", 0 (stop reading) for anything else.
uint32_t failure_status(const char *label)
{
    if (KorvStrCaseCmp(label, "optional") == 0)
        return 2;
    if (KorvStrCaseCmp(label, "required") == 0)
        return 0xFFFFFFFFu;
    return 0;
}

uint32_t read_registry(KorvModLoader *loader, KorvIO *in, KorvIO *keys, char *key, KorvIO *values,
                       char *value)
{
    uint32_t status = 1;
    Mode mode = Mode::Ignore;
    for (;;) {
        int token = read_token(in, keys, key);
        if (token == kTokenEnd)
            return status;
        if (token == kTokenFailed)
            return 0;
        if (token == kTokenSection) {
            if (KorvStrCaseCmp(key, "libraries") == 0)
                mode = Mode::Libraries;
            else if (KorvStrCaseCmp(key, "aliases") == 0)
                mode = Mode::Aliases;
            else
                mode = Mode::Ignore;
            continue;
        }
        if (token != kTokenLabel)
            continue;
        token = read_token(in, values, value);
        if (token == kTokenEnd)
            return status;
        if (token == kTokenFailed)
            return 0;
        if (mode == Mode::Libraries) {
            uint32_t result = KorvBasicModLoaderAddLibrary(loader, value);
            // Written for every entry, whatever the result: the line marks
            // each bundle the file asked for.
            KorvDebug("Failed to load bundle %s.\n", value);
            if (result == 0xFFFFFFFFu && status == 1) {
                status = failure_status(key);
                if (status == 0)
                    return 0;
            }
        } else if (mode == Mode::Aliases) {
            KorvBasicModLoaderAddAlias(loader, key, value);
        }
    }
}

// The registry file's name along the search path: files carry the
// extension "reg", which a name may already hold.
char *find_registry(const char *name, const char *searchPath)
{
    size_t n = strlen(name);
    bool hasExtension = n > 4 && KorvStrCaseCmp(name + n - 4, ".reg") == 0;
    return KorvFindFile(name, hasExtension ? nullptr : "reg", searchPath);
}

} // namespace

extern "C" {

KORV_API uint32_t KorvBasicModLoaderAddRegistryFile(KorvModLoader *loader, const char *path)
{
    if (!loader || !path)
        return 0;
    KorvIO *in = KorvIO_FileName(path, "r");
    if (!in)
        return 0;
    char key[kTokenBuffer + 1] = {};
    char value[kTokenBuffer + 1] = {};
    KorvIO *keys = KorvIO_Str(key, kTokenBuffer);
    KorvIO *values = KorvIO_Str(value, kTokenBuffer);
    uint32_t status = 0;
    if (keys && values)
        status = read_registry(loader, in, keys, key, values, value);
    if (keys)
        keys->close(keys);
    if (values)
        values->close(values);
    in->close(in);
    return status;
}

KORV_API uint32_t KorvBasicModLoaderAddDefaults(KorvModLoader *loader, const char *registry,
                                                const char *searchPath, const char *envName,
                                                const char *defaultPaths)
{
    if (!loader)
        return 0;
    bool registryLoaded = false;
    if (registry) {
        if (char *file = find_registry(registry, searchPath)) {
            uint32_t result = KorvBasicModLoaderAddRegistryFile(loader, file);
            if (result == 0) {
                KorvDebug("Error loading Korvane bundles from the registry file <%s>.\n", file);
                korv_internal_free(file);
                return 0;
            }
            if (result == 0xFFFFFFFFu) {
                KorvDebug("Unable to load a required Korvane bundle from the registry file <%s>.\n",
                          file);
                korv_internal_free(file);
                return 0xFFFFFFFFu;
            }
            korv_internal_free(file);
            registryLoaded = true;
        }
    }
    if (envName) {
        // A copy: loading bundles takes long, and the setting may change.
        char *paths = korv::env_copy(envName);
        uint32_t result = KorvBasicModLoaderAddPath(loader, paths);
        if (result == 0) {
            KorvDebug("Error loading Korvane bundles '%s' from the envar %s.\n", paths, envName);
            korv_internal_free(paths);
            return 0;
        }
        korv_internal_free(paths);
        if (result != 0xFFFFFFFFu)
            return 1;
    }
    if (registryLoaded || !defaultPaths)
        return 1;
    if (KorvBasicModLoaderAddPath(loader, defaultPaths) != 0)
        return 1;
    KorvDebug("Error loading Korvane bundles '%s'.\n", defaultPaths);
    return 0;
}

} // extern "C"
