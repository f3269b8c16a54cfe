// The library's settings: a table of values found or set, layered over
// override variables, the process environment, fallback names, the release
// directory derived from the executable, compiled-in defaults and computed
// system values. Every lookup holds the environment lock, which the same
// thread may take again (fallbacks look up other names).
#include <string.h>
#include <kvsup.h>
#include "core/trace.h"
#include "env/env_internal.h"
#include "env/env_os.h"
#include "env/env_setting.h"

namespace korv {

namespace {

struct EnvVar {
    char *name;
    uint32_t hash;
    char *value;
    EnvVar *next;
};

EnvVar *g_table = nullptr;
bool g_cleanup_registered = false;

struct Pair {
    const char *asked;
    const char *other;
};

constexpr Pair kOverrides[] = {
    {"KVTOP", "QRN_RELEASE"},
    {"KV_RELEASE", "QRN_RELEASE"},
    {"KV_DATA_PATH", "QRN_DATA_PATH"},
};

constexpr Pair kFallbacks[] = {
    {"QRN_RELEASE", "KV_RELEASE"},
    {"KORV_TEMP", "TEMP"},
    {"USER", "LOGNAME"},
};

const char *pair_lookup(const Pair *pairs, size_t count, const char *name)
{
    for (size_t i = 0; i < count; i++) {
        if (strcmp(pairs[i].asked, name) == 0)
            return pairs[i].other;
    }
    return nullptr;
}

uint32_t name_hash(const char *name)
{
    return KorvHashBytes(name, (uint32_t)strlen(name));
}

EnvVar **find_link(const char *name, uint32_t hash)
{
    for (EnvVar **link = &g_table; *link; link = &(*link)->next) {
        if ((*link)->hash == hash && strcmp((*link)->name, name) == 0)
            return link;
    }
    return nullptr;
}

int32_t cleanup_table(uintptr_t)
{
    KeyGuard guard(kEnvLockKey);
    EnvVar *var = g_table;
    while (var) {
        EnvVar *next = var->next;
        KorvDebug("Cleaning up EnvVar %s=%s\n", var->name ? var->name : "NULL",
                  var->value ? var->value : "NULL");
        korv_internal_free(var->name);
        korv_internal_free(var->value);
        korv_internal_free(var);
        var = next;
    }
    g_table = nullptr;
    g_cleanup_registered = false;
    return 1;
}

// Adds a record at the head; the table takes value (a new string). Returns
// the stored value, or null (value freed) when the record cannot be made.
char *store(const char *name, char *value)
{
    EnvVar *var = static_cast<EnvVar *>(korv_internal_calloc(1, sizeof(EnvVar)));
    char *copy = KorvStrDup(name);
    if (!var || !copy) {
        korv_internal_free(var);
        korv_internal_free(copy);
        korv_internal_free(value);
        return nullptr;
    }
    var->name = copy;
    var->hash = name_hash(name);
    var->value = value;
    var->next = g_table;
    g_table = var;
    if (!g_cleanup_registered)
        g_cleanup_registered = KorvaneRegisterCleanup(1, cleanup_table, 0) != 0;
    return value;
}

// The release directory derived from the executable's directory: its parent,
// less a last component "bin", "lib" or "output".
bool g_release_failed = false;
bool g_release_done = false;
char g_release[1024];

const char *derived_release()
{
    if (g_release_done)
        return g_release;
    if (g_release_failed)
        return nullptr;
    const char *dir = KorvGetExecutablePath();
    if (!dir) {
        g_release_failed = true;
        return nullptr;
    }
    size_t n = strlen(dir);
    if (n > 1023)
        n = 1023;
    memcpy(g_release, dir, n);
    g_release[n] = '\0';
    if (n > 0 && g_release[n - 1] == kPathSep)
        g_release[--n] = '\0';
    char *cut = strrchr(g_release, kPathSep);
    if (cut)
        *cut = '\0';
    char *last = strrchr(g_release, kPathSep);
    const char *component = last ? last + 1 : g_release;
    if (strcmp(component, "bin") == 0 || strcmp(component, "lib") == 0 ||
        strcmp(component, "output") == 0) {
        if (last)
            *last = '\0';
        else
            g_release[0] = '\0';
    }
    g_release_done = true;
    return g_release;
}

} // namespace

} // namespace korv

using namespace korv;

extern "C" KORV_API char *KorvGetenv(const char *name)
{
    if (!name)
        return nullptr;
    KeyGuard guard(kEnvLockKey);

    if (EnvVar **link = find_link(name, name_hash(name)))
        return (*link)->value;

    if (const char *over = pair_lookup(kOverrides, 3, name)) {
        if (char *value = env_os_read(over)) {
            if (korv_trace_env())
                KorvDebug("KorvGetenv: Overriding %s with %s\n", name, over);
            return store(name, value);
        }
    }

    if (char *value = env_os_read(name))
        return store(name, value);

    if (const char *other = pair_lookup(kFallbacks, 3, name)) {
        if (char *value = KorvGetenv(other)) {
            if (korv_trace_env())
                KorvDebug("KorvGetenv: didn't find %s, using %s\n", name, other);
            return value;
        }
    }

    if (strcmp(name, "KV_RELEASE") == 0) {
        if (const char *release = derived_release())
            return const_cast<char *>(release);
    }

    if (const char *value = env_default(name)) {
        if (korv_trace_env())
            KorvDebug("KorvGetenv: didn't find %s, defaulting to %s\n", name, value);
        return const_cast<char *>(value);
    }

    return const_cast<char *>(env_system_value(name));
}

extern "C" KORV_API void KorvSetenv(const char *name, const char *value)
{
    if (!name)
        return;
    KeyGuard guard(kEnvLockKey);
    EnvVar **link = find_link(name, name_hash(name));
    if (!link) {
        if (value) {
            if (char *copy = KorvStrDup(value))
                store(name, copy);
        }
        return;
    }
    EnvVar *var = *link;
    if (!value) {
        *link = var->next;
        korv_internal_free(var->name);
        korv_internal_free(var->value);
        korv_internal_free(var);
        return;
    }
    char *copy = KorvStrDup(value);
    if (!copy)
        return;
    korv_internal_free(var->value);
    var->value = copy;
}

namespace korv {

EnvSetting::EnvSetting(const char *name)
{
    KorvaneLock(kEnvLockKey);
    value_ = KorvGetenv(name);
}

EnvSetting::~EnvSetting()
{
    KorvaneUnlock(kEnvLockKey);
}

char *env_copy(const char *name)
{
    EnvSetting setting(name);
    return setting.value() ? KorvStrDup(setting.value()) : nullptr;
}

} // namespace korv
