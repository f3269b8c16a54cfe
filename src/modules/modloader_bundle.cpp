// Bundles of a module loader: opening a library as a bundle through its
// three entry symbols, adding bundles from paths or from the caller's own
// functions, and releasing them when the loader goes.
#include <string.h>
#include <kvsup.h>
#include "modules/joined.h"
#include "modules/modloader.h"

namespace korv {

namespace {

uint32_t bundle_bucket(const char *name)
{
    return KorvHashString(name) % KORV_MODLOADER_BUNDLE_BUCKETS;
}

// Looks up the entry symbol prefix+name in library; false when it is missing.
bool find_entry(KorvLibrary library, const char *prefix, const char *name, void **entry)
{
    char *symbol = joined(prefix, strlen(prefix), name);
    if (!symbol)
        return false;
    uint32_t found = KorvDLSymbolLookup(library, symbol, entry);
    korv_internal_free(symbol);
    return found == 1;
}

// True when the bundle reports this library's major version; otherwise says
// so, naming the bundle by what.
bool version_matches(KorvBundleVersionFn version, const char *what)
{
    const int32_t *major = version();
    int32_t number = major ? *major : 0;
    if (number == KORV_BUNDLE_MAJOR_VERSION)
        return true;
    KorvDebug("Library bundle '%s' opened with a different Korvane major version %d.", what,
              number);
    return false;
}

// A new bundle record over the three entries, with refcount 0 and the
// number of modules the list entry gives. Takes ownership of name.
KorvBundle *make_bundle(char *name, KorvBundleVersionFn version, KorvBundleListFn list,
                        KorvBundleModuleFn module, KorvLibrary library)
{
    auto *bundle = static_cast<KorvBundle *>(korv_internal_calloc(1, sizeof(KorvBundle)));
    if (!bundle) {
        korv_internal_free(name);
        return nullptr;
    }
    bundle->version = version;
    bundle->list = list;
    bundle->module = module;
    bundle->count = KorvGetArraySize(reinterpret_cast<void **>(list()));
    bundle->name = name;
    bundle->library = library;
    return bundle;
}

// Opens the library at path as the bundle called base (which it takes).
KorvBundle *open_bundle(const char *path, char *base)
{
    KorvLibrary library = nullptr;
    if (!KorvDLOpen(path, &library)) {
        KorvDebug("Failed to open shared library<%s>.\n", path);
        korv_internal_free(base);
        return nullptr;
    }
    static const struct {
        const char *prefix;
        const char *message;
    } kEntries[3] = {
        {"KorvaneBundleGetVersion_",
         "Failed to open shared library<%s> because of missing version function.\n"},
        {"KorvaneBundleGetList_",
         "Failed to open shared library<%s> because of missing list function.\n"},
        {"KorvaneBundleGetModule_",
         "Failed to open shared library<%s> because of missing module function.\n"},
    };
    void *entries[3] = {};
    for (int i = 0; i < 3; i++) {
        if (!find_entry(library, kEntries[i].prefix, base, &entries[i])) {
            KorvDLClose(library);
            KorvDebug(kEntries[i].message, path);
            korv_internal_free(base);
            return nullptr;
        }
    }
    auto version = reinterpret_cast<KorvBundleVersionFn>(entries[0]);
    if (!version_matches(version, path)) {
        KorvDLClose(library);
        korv_internal_free(base);
        return nullptr;
    }
    KorvBundle *bundle = make_bundle(base, version, reinterpret_cast<KorvBundleListFn>(entries[1]),
                                     reinterpret_cast<KorvBundleModuleFn>(entries[2]), library);
    if (!bundle)
        KorvDLClose(library);
    return bundle;
}

void push_bundle(KorvModLoader *loader, KorvBundle *bundle)
{
    bundle->refcount = 1;
    KorvBundle **head = &loader->bundles[bundle_bucket(bundle->name)];
    bundle->next = *head;
    *head = bundle;
}

} // namespace

KorvBundle *loader_find_bundle_locked(KorvModLoader *loader, const char *name)
{
    for (KorvBundle *b = loader->bundles[bundle_bucket(name)]; b; b = b->next) {
        if (strcmp(b->name, name) == 0)
            return b;
    }
    return nullptr;
}

uint32_t loader_add_library_locked(KorvModLoader *loader, const char *path, KorvBundle **out)
{
    char *base = KorvGetLibraryBaseName(path);
    if (!base)
        return kLoaderFailed;
    if (KorvBundle *present = loader_find_bundle_locked(loader, base)) {
        korv_internal_free(base);
        if (out)
            *out = present;
        return kLoaderPresent;
    }
    KorvBundle *bundle = open_bundle(path, base);
    if (!bundle)
        return kLoaderFailed;
    push_bundle(loader, bundle);
    if (out)
        *out = bundle;
    return kLoaderAdded;
}

KorvBundle *loader_bundle_for_locked(KorvModLoader *loader, const char *text)
{
    KorvBundle *bundle = nullptr;
    if (loader_add_library_locked(loader, text, &bundle) == kLoaderFailed)
        return nullptr;
    return bundle;
}

void loader_free_contents_locked(KorvModLoader *loader)
{
    for (KorvBundle *&head : loader->bundles) {
        while (KorvBundle *bundle = head) {
            head = bundle->next;
            // A bundle that a retained module still holds stays loaded.
            if (--bundle->refcount < 1 && bundle->library)
                KorvDLClose(bundle->library);
            korv_internal_free(bundle->name);
            korv_internal_free(bundle);
        }
    }
    KorvModAlias **tables[2] = {loader->aliases, loader->functionAliases};
    for (KorvModAlias **table : tables) {
        for (int i = 0; i < KORV_MODLOADER_ALIAS_BUCKETS; i++) {
            while (KorvModAlias *alias = table[i]) {
                table[i] = alias->next;
                korv_internal_free(alias->key);
                korv_internal_free(alias->target);
                korv_internal_free(alias);
            }
        }
    }
}

} // namespace korv

using namespace korv;

extern "C" {

KORV_API uint32_t KorvBasicModLoaderAddLibrary(KorvModLoader *loader, const char *path)
{
    if (!loader || !path)
        return kLoaderFailed;
    LoaderGuard guard(loader);
    return loader_add_library_locked(loader, path, nullptr);
}

KORV_API uint32_t KorvBasicModLoaderAddFunctions(KorvModLoader *loader, const char *name,
                                                 KorvBundleVersionFn version,
                                                 KorvBundleListFn list,
                                                 KorvBundleModuleFn module)
{
    if (!loader || !name || !version || !list || !module)
        return kLoaderFailed;
    LoaderGuard guard(loader);
    if (loader_find_bundle_locked(loader, name))
        return kLoaderPresent;
    if (!version_matches(version, name))
        return kLoaderFailed;
    KorvBundle *bundle = make_bundle(KorvStrDup(name), version, list, module, nullptr);
    if (!bundle || !bundle->name) {
        if (bundle)
            korv_internal_free(bundle);
        return kLoaderFailed;
    }
    push_bundle(loader, bundle);
    return kLoaderAdded;
}

KORV_API uint32_t KorvBasicModLoaderAddPath(KorvModLoader *loader, const char *paths)
{
    if (!loader || !paths)
        return kLoaderFailed;
    uint32_t status = 1;
    const char *position = nullptr;
    while (char *path = KorvDupTokenParse(paths, ",", &position)) {
        if (KorvBasicModLoaderAddLibrary(loader, path) == kLoaderFailed)
            status = 2;
        korv_internal_free(path);
    }
    return status;
}

} // extern "C"
