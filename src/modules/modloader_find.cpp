// Finding modules by name through a loader: aliases, "bundle!function"
// names, and the lists of modules that bundles hand out.
#include <string.h>
#include <kvsup.h>
#include "modules/modloader.h"

namespace korv {

namespace {

KorvModAlias **alias_bucket(KorvModAlias **table, const char *key)
{
    return &table[KorvHashString(key) % KORV_MODLOADER_ALIAS_BUCKETS];
}

const char *alias_target(KorvModAlias **table, const char *key)
{
    for (KorvModAlias *a = *alias_bucket(table, key); a; a = a->next) {
        if (strcmp(a->key, key) == 0)
            return a->target;
    }
    return nullptr;
}

bool push_alias(KorvModAlias **table, const char *key, const char *target)
{
    auto *alias = static_cast<KorvModAlias *>(korv_internal_calloc(1, sizeof(KorvModAlias)));
    if (!alias)
        return false;
    alias->key = KorvStrDup(key);
    alias->target = KorvStrDup(target);
    if (!alias->key || !alias->target) {
        korv_internal_free(alias->key);
        korv_internal_free(alias->target);
        korv_internal_free(alias);
        return false;
    }
    KorvModAlias **head = alias_bucket(table, key);
    alias->next = *head;
    *head = alias;
    return true;
}

// A module found in bundle: the bundle and the loader each gain a reference.
KorvModule *take(KorvModLoader *loader, KorvBundle *bundle, KorvModule *module)
{
    if (module) {
        bundle->refcount++;
        loader->refcount++;
    }
    return module;
}

// Asks every bundle, bucket by bucket and along each chain, for name.
KorvModule *offer_everywhere(KorvModLoader *loader, const char *name)
{
    for (KorvBundle *head : loader->bundles) {
        for (KorvBundle *b = head; b; b = b->next) {
            if (KorvModule *module = b->module(name))
                return take(loader, b, module);
        }
    }
    return nullptr;
}

// "bundle!function": the named bundle (opened if need be) asked for function.
KorvModule *offer_qualified(KorvModLoader *loader, const char *name, const char *bang)
{
    size_t n = static_cast<size_t>(bang - name);
    char *bundleName = KorvStrNDup(name, n);
    if (!bundleName)
        return nullptr;
    KorvBundle *bundle = loader_bundle_for_locked(loader, bundleName);
    korv_internal_free(bundleName);
    if (!bundle)
        return nullptr;
    return take(loader, bundle, bundle->module(bang + 1));
}

} // namespace

// Resolves aliases once each way: a plain name through the function-name
// table, then the name through the full-name table, then, for a qualified
// name as given, its function part through the full-name table.
KorvModule *loader_find_module(KorvModLoader *loader, const char *given)
{
    if (!given)
        return nullptr;
    LoaderGuard guard(loader);
    const char *name = given;
    const char *givenBang = strchr(given, '!');
    const char *target;
    if (!givenBang && (target = alias_target(loader->functionAliases, name)))
        name = target;
    if ((target = alias_target(loader->aliases, name)))
        name = target;
    if (givenBang && (target = alias_target(loader->aliases, givenBang + 1)))
        name = target;
    const char *bang = strchr(name, '!');
    return bang ? offer_qualified(loader, name, bang) : offer_everywhere(loader, name);
}

} // namespace korv

using namespace korv;

extern "C" {

KORV_API uint32_t KorvBasicModLoaderAddAlias(KorvModLoader *loader, const char *key,
                                             const char *target)
{
    if (!loader || !key || !target)
        return 0;
    LoaderGuard guard(loader);
    if (!push_alias(loader->aliases, key, target))
        return 0;
    if (const char *bang = strchr(key, '!')) {
        if (!push_alias(loader->functionAliases, bang + 1, target))
            return 0;
    }
    return 1;
}

KORV_API uint32_t KorvBasicModLoaderGetList(KorvModLoader *loader, const char *bundleName,
                                            KorvModule ***list)
{
    if (list)
        *list = nullptr;
    if (!loader)
        return 0;
    LoaderGuard guard(loader);
    KorvBundle *only = nullptr;
    if (bundleName && !(only = loader_bundle_for_locked(loader, bundleName)))
        return 0;
    // Two walks over the same bundles: one to count, one to fill.
    uint32_t total = 0;
    KorvModule **out = nullptr;
    for (int pass = 0; pass < 2; pass++) {
        uint32_t at = 0;
        for (KorvBundle *head : loader->bundles) {
            for (KorvBundle *b = head; b; b = b->next) {
                if (only && b != only)
                    continue;
                KorvModule **modules = b->list();
                uint32_t n = KorvGetArraySize(reinterpret_cast<void **>(modules));
                if (out)
                    memcpy(out + at, modules, n * sizeof *out);
                at += n;
            }
        }
        total = at;
        if (pass == 1 || !list)
            break;
        out = static_cast<KorvModule **>(korv_internal_calloc(total + 1, sizeof *out));
        if (!out)
            return 0;
    }
    if (list)
        *list = out;
    return total;
}

} // extern "C"
