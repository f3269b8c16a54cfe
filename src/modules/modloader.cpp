// The basic module loader: its record, reference counts and debug dump.
// Every operation holds the loader's lock; the loader is freed by the
// release that takes its count from 1 to 0.
#include <string.h>
#include <kvsup.h>
#include "modules/modloader.h"

namespace korv {

void loader_retain(KorvModLoader *loader)
{
    LoaderGuard guard(loader);
    loader->refcount++;
    KorvDebug("KorvBasicModLoaderRetain: new refcount %d\n", loader->refcount);
}

void loader_release(KorvModLoader *loader)
{
    KorvCriticalSection *lock = loader->lock;
    KorvEnterCriticalSection(lock);
    int32_t was = loader->refcount--;
    if (was != 1) {
        KorvDebug("KorvBasicModLoaderRelease: new refcount %d\n", loader->refcount);
        KorvLeaveCriticalSection(lock);
        return;
    }
    KorvDebug("KorvBasicModLoaderRelease: new refcount %d and freeing\n", loader->refcount);
    loader_free_contents_locked(loader);
    KorvLeaveCriticalSection(lock);
    KorvFreeCriticalSection(lock);
    korv_internal_free(loader);
}

// The bundle that handed out module (named by the module's first word),
// asked once more for the module; null when the loader has no such bundle.
static KorvBundle *module_bundle_locked(KorvModLoader *loader, KorvModule *module)
{
    if (!module->bundle)
        return nullptr;
    KorvBundle *bundle = loader_find_bundle_locked(loader, module->bundle);
    if (bundle)
        bundle->module(module->name);
    return bundle;
}

void loader_retain_module(KorvModLoader *loader, KorvModule *module)
{
    if (!module)
        return;
    LoaderGuard guard(loader);
    KorvBundle *bundle = module_bundle_locked(loader, module);
    if (!bundle)
        return;
    bundle->refcount++;
    loader->refcount++;
    KorvDebug("KorvBasicModLoaderRetainModule: new bundle refcount %d, loader refcount %d\n",
              bundle->refcount, loader->refcount);
}

void loader_release_module(KorvModLoader *loader, KorvModule *module)
{
    if (!module)
        return;
    {
        LoaderGuard guard(loader);
        KorvBundle *bundle = module_bundle_locked(loader, module);
        if (bundle) {
            bundle->refcount--;
            KorvDebug("KorvBasicModLoaderReleaseModule: new bundle refcount %d\n",
                      bundle->refcount);
        }
    }
    // The module's reference on the loader goes last: it may free the loader.
    loader_release(loader);
}

} // namespace korv

using namespace korv;

extern "C" {

KORV_API uint32_t KorvBasicModLoaderCreate(KorvModLoader **out)
{
    if (!out)
        return 0;
    auto *loader = static_cast<KorvModLoader *>(korv_internal_calloc(1, sizeof(KorvModLoader)));
    if (!loader)
        return 0;
    if (!KorvInitCriticalSection(&loader->lock) || !loader->lock) {
        korv_internal_free(loader);
        return 0;
    }
    loader->retain = loader_retain;
    loader->release = loader_release;
    loader->findModule = loader_find_module;
    loader->retainModule = loader_retain_module;
    loader->releaseModule = loader_release_module;
    memcpy(loader->tag, "Q)E(", 4);
    loader->refcount = 1;
    *out = loader;
    return 1;
}

KORV_API void KorvBasicModLoaderDebugDump(KorvModLoader *loader)
{
    if (!loader)
        return;
    LoaderGuard guard(loader);
    KorvDebug("ModLoader refcount = %d\n", loader->refcount);
    for (KorvBundle *head : loader->bundles) {
        for (KorvBundle *b = head; b; b = b->next)
            KorvDebug("ModLoader bundle %s count = %d, refcount = %d\n", b->name, b->count,
                      b->refcount);
    }
}

} // extern "C"
