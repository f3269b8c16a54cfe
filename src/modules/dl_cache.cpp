// The process-wide cache of libraries opened through a function's entry
// name, and the resolution of "lib1,lib2!symbol" entry names.
//
// A library is identified by the hash and length of its name only: two
// names that agree in both share one cached module. Every cache access, load
// and unload holds the 'SHRD' lock, so two threads resolving the same library
// load it once.
#include <string.h>
#include <kvsup.h>
#include "core/trace.h"
#include "modules/dl_os.h"

namespace {

constexpr uint32_t kSharedLockKey = KORV_KEY('S', 'H', 'R', 'D');
constexpr int kSlots = 32;
constexpr uint32_t kNotOpened = 0xFFFFFFFFu;

struct Slot {
    uint32_t hash;
    uint32_t length;
    void *module; // null: the slot is free
};

Slot g_slots[kSlots];
bool g_initialized = false;

class SharedGuard {
public:
    SharedGuard() { KorvaneLock(kSharedLockKey); }
    ~SharedGuard() { KorvaneUnlock(kSharedLockKey); }
    SharedGuard(const SharedGuard &) = delete;
    SharedGuard &operator=(const SharedGuard &) = delete;
};

// The registered clean-up: releases every cached library. A library that
// refuses to go stops the walk with -1, leaving the later slots as they are
// (the clean-up is then kept and retried).
int32_t unload_all(uintptr_t)
{
    SharedGuard guard;
    for (Slot &slot : g_slots) {
        if (!slot.module)
            continue;
        void *module = slot.module;
        slot = Slot{};
        if (!korv::dl_os_close(module))
            return -1;
    }
    g_initialized = false;
    return 1;
}

// The cached module of name, loading it on a miss; null when it cannot be
// loaded or the cache is full (the library then stays loaded, unrecorded).
void *cache_open(const char *name, size_t length)
{
    uint32_t hash = KorvHashBytes(name, static_cast<uint32_t>(length));
    SharedGuard guard;
    if (g_initialized) {
        for (const Slot &slot : g_slots) {
            if (slot.module && slot.hash == hash && slot.length == length)
                return slot.module;
        }
    }
    int32_t error = 0;
    const char *detail = nullptr;
    void *module = korv::dl_os_open(name, &error, &detail);
    if (!module)
        return nullptr;
    if (korv_trace_shared())
        KorvDebug("kvshared: loading <%s>\n", name);
    if (!g_initialized) {
        KorvaneRegisterCleanupFunc(unload_all, 0);
        memset(g_slots, 0, sizeof g_slots);
        g_initialized = true;
    }
    for (Slot &slot : g_slots) {
        if (!slot.module) {
            slot = Slot{hash, static_cast<uint32_t>(length), module};
            return module;
        }
    }
    return nullptr;
}

void *cache_open(const char *name)
{
    return cache_open(name, strlen(name));
}

// The symbol, or failing that the symbol with a leading underscore.
uint32_t lookup(void *module, const char *symbol, void **pointer)
{
    void *found = korv::dl_os_symbol(module, symbol);
    if (!found) {
        size_t n = strlen(symbol);
        char *underscored = static_cast<char *>(korv_internal_malloc(n + 2));
        if (underscored) {
            underscored[0] = '_';
            memcpy(underscored + 1, symbol, n + 1);
            found = korv::dl_os_symbol(module, underscored);
            korv_internal_free(underscored);
        }
    }
    if (pointer)
        *pointer = found;
    return found ? 1 : 0;
}

// Opens every library of the comma-separated list in entry[0, bang) and
// returns the first; the last name falls back to the default library.
void *open_list(const char *entry, size_t bang, const char *fallback)
{
    char *list = KorvStrNDup(entry, bang);
    if (!list)
        return nullptr;
    void *first = nullptr;
    char *name = list;
    for (;;) {
        char *comma = strchr(name, ',');
        if (comma)
            *comma = '\0';
        void *module = cache_open(name);
        if (!module && !comma && fallback)
            module = cache_open(fallback);
        if (!module) {
            first = nullptr;
            break;
        }
        if (!first)
            first = module;
        if (!comma)
            break;
        name = comma + 1;
    }
    korv_internal_free(list);
    return first;
}

} // namespace

extern "C" {

KORV_API uint32_t KorvRetrieveFunc(const char *entry, const char *defaultLibrary, void **pointer)
{
    if (pointer)
        *pointer = nullptr;
    if (!entry)
        return kNotOpened;
    void *module = nullptr;
    const char *symbol = entry;
    if (const char *bang = strchr(entry, '!')) {
        module = open_list(entry, static_cast<size_t>(bang - entry), defaultLibrary);
        symbol = bang + 1;
    } else if (defaultLibrary) {
        module = cache_open(defaultLibrary);
        if (!module)
            module = cache_open(defaultLibrary);
    }
    if (!module)
        return kNotOpened;
    return lookup(module, symbol, pointer);
}

KORV_API uint32_t KorvRetrieveInit(const char *entry, void **pointer)
{
    return KorvRetrieveFunc(entry, "korv", pointer);
}

} // extern "C"
