/*
 * The header-manager registry: a fixed table of 14 entries, the ten
 * built-in formats first and four free ones, guarded by the 'HDRM' lock.
 * Callers always receive copies of the nine entries, so a manager they
 * found stays usable while others register and unregister.
 */
#include "header/builtin.h"

#include <string.h>

namespace {

constexpr uint32_t kRegistryLock = KORV_KEY('H', 'D', 'R', 'M');
constexpr int kEntries = 14;
constexpr size_t kNameField = 32;

/* A name of 32 characters or more fills its field with no terminator. The
 * registration handle is the entry's address, which is its format name. */
struct Entry {
    char format[kNameField];
    char version[kNameField];
    int32_t type;
    KVHdrManager manager;
};

Entry g_entries[kEntries];
bool g_filled = false;

class RegistryGuard {
public:
    RegistryGuard() { KorvaneLock(kRegistryLock); }
    ~RegistryGuard() { KorvaneUnlock(kRegistryLock); }
    RegistryGuard(const RegistryGuard &) = delete;
    RegistryGuard &operator=(const RegistryGuard &) = delete;
};

void store_name(char *field, const char *name)
{
    size_t n = strnlen(name, kNameField);
    memset(field, 0, kNameField);
    memcpy(field, name, n);
}

/* The table starts from the built-in managers the first time anyone looks
 * at it; called with the lock held. */
void fill_builtins()
{
    if (g_filled)
        return;
    for (int i = 0; i < kEntries; i++) {
        memset(&g_entries[i], 0, sizeof g_entries[i]);
        g_entries[i].type = -1;
    }
    for (int i = 0; i < KORV_BUILTIN_MANAGER_COUNT; i++) {
        const KorvBuiltinManager &b = korv_builtin_managers[i];
        store_name(g_entries[i].format, b.format);
        store_name(g_entries[i].version, b.version);
        g_entries[i].type = b.type;
        g_entries[i].manager = b.manager;
    }
    g_filled = true;
}

char lower(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

/* Names are significant up to the field's 32 characters: a longer name
 * matches the entry it was cut to when registered. */
bool field_is(const char *field, const char *name)
{
    size_t i = 0;
    for (; i < kNameField; i++) {
        char a = field[i];
        char b = name[i];
        if (lower(a) != lower(b))
            return false;
        if (a == '\0')
            return true;
    }
    return true;
}

bool is_free(const Entry &e)
{
    return e.format[0] == '\0' && e.version[0] == '\0';
}

/* The first entry in use whose format and version both match. */
Entry *find(const char *format, const char *version)
{
    for (Entry &e : g_entries) {
        if (!is_free(e) && field_is(e.format, format) && field_is(e.version, version))
            return &e;
    }
    return nullptr;
}

Entry *as_entry(void *handle)
{
    for (Entry &e : g_entries) {
        if (handle == static_cast<void *>(&e))
            return &e;
    }
    return nullptr;
}

} // namespace

/* Registering a format and version that are already there replaces that
 * entry; a new one takes the first free entry. Registrations never carry a
 * type number: only the built-in entries have one. */
extern "C" KORV_API uint32_t KVHdrRegisterManager(const char *format, const char *version,
                                                  const KVHdrManager *manager, void **handle)
{
    if (!format || !*format || !version || !manager)
        return 0;
    RegistryGuard guard;
    fill_builtins();
    Entry *e = find(format, version);
    if (!e) {
        for (Entry &f : g_entries) {
            if (is_free(f)) {
                e = &f;
                break;
            }
        }
    }
    if (!e)
        return 0;
    store_name(e->format, format);
    store_name(e->version, version);
    e->type = -1;
    e->manager = *manager;
    if (handle)
        *handle = e;
    return 1;
}

extern "C" KORV_API uint32_t KVHdrUnregisterManager(void *handle)
{
    if (!handle)
        return 0;
    RegistryGuard guard;
    fill_builtins();
    Entry *e = as_entry(handle);
    if (!e)
        return 0;
    e->format[0] = '\0';
    e->version[0] = '\0';
    e->type = -1;
    memset(&e->manager, 0, sizeof e->manager);
    return 1;
}

extern "C" KORV_API uint32_t KVHdrGetManager_Str(const char *format, const char *version,
                                                 KVHdrManager *manager)
{
    if (!format || !*format || !version || !manager)
        return 0;
    RegistryGuard guard;
    fill_builtins();
    const Entry *e = find(format, version);
    if (!e)
        return 0;
    *manager = e->manager;
    return 1;
}

extern "C" KORV_API uint32_t KVHdrGetManager_Type(int32_t type, KVHdrManager *manager)
{
    if (!manager)
        return 0;
    RegistryGuard guard;
    fill_builtins();
    for (const Entry &e : g_entries) {
        if (e.type == type && !is_free(e)) {
            *manager = e.manager;
            return 1;
        }
    }
    return 0;
}

/* A document names its format in "ID"/"format" and "ID"/"version"; one
 * that leaves either out matches no manager. */
extern "C" KORV_API uint32_t KVHdrGetManager(KorvCMNode *tree, KVHdrManager *manager)
{
    if (!tree || !manager)
        return 0;
    const char *format = KVHdrGetHeaderParam(tree, "ID", "format");
    const char *version = KVHdrGetHeaderParam(tree, "ID", "version");
    if (!format || !version)
        return 0;
    return KVHdrGetManager_Str(format, version, manager);
}
