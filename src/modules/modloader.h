/*
 * Shared inside the module loader. The functions named *_locked expect the
 * loader's lock to be held by the caller.
 */
#ifndef KVSUP_MODULES_MODLOADER_H
#define KVSUP_MODULES_MODLOADER_H

#include <stdint.h>
#include <kvsup.h>

namespace korv {

inline constexpr uint32_t kLoaderAdded = 1;
inline constexpr uint32_t kLoaderPresent = 2;
inline constexpr uint32_t kLoaderFailed = 0xFFFFFFFFu;

/* Holds a loader's lock for the guard's lifetime. */
class LoaderGuard {
public:
    explicit LoaderGuard(KorvModLoader *loader) : lock_(loader->lock)
    {
        KorvEnterCriticalSection(lock_);
    }
    ~LoaderGuard() { KorvLeaveCriticalSection(lock_); }
    LoaderGuard(const LoaderGuard &) = delete;
    LoaderGuard &operator=(const LoaderGuard &) = delete;

private:
    KorvCriticalSection *lock_;
};

/* The bundle of that exact name, or null. */
KorvBundle *loader_find_bundle_locked(KorvModLoader *loader, const char *name);

/* Opens the library at path as a bundle and adds it with refcount 1, unless
 * a bundle of its base name is present. kLoaderAdded, kLoaderPresent or
 * kLoaderFailed; *bundle (when given) is the bundle added or found. */
uint32_t loader_add_library_locked(KorvModLoader *loader, const char *path, KorvBundle **bundle);

/* The bundle a "bundle!function" name names: found by the base
 * name of its text, or opened with the text as the path. Null on failure. */
KorvBundle *loader_bundle_for_locked(KorvModLoader *loader, const char *text);

/* Frees every bundle record, closing the libraries that no retained module
 * holds any more, and every alias entry. */
void loader_free_contents_locked(KorvModLoader *loader);

/* The operation slots of a loader. */
void loader_retain(KorvModLoader *loader);
void loader_release(KorvModLoader *loader);
KorvModule *loader_find_module(KorvModLoader *loader, const char *name);
void loader_retain_module(KorvModLoader *loader, KorvModule *module);
void loader_release_module(KorvModLoader *loader, KorvModule *module);

} // namespace korv

#endif
