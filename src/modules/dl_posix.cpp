// The dynamic loader on POSIX: dlopen with every symbol bound at once.
//
// As the Windows loader appends ".dll" to a name without an extension, a
// base name without a '.' gets ".so" here. A bare name (no '/') that the
// system's search does not find is looked for once more in the directory of
// the object holding this code (libkvsup.so, or the program of a static
// build): the default library sits there. The system's own search would find
// it through the library's run path, but only while nothing stands between
// the library and dlopen (sanitizers intercept dlopen and so hide the caller).
#include <dlfcn.h>
#include <errno.h>
#include <string.h>
#include <kvsup.h>
#include "modules/dl_os.h"
#include "modules/joined.h"

namespace korv {

namespace {

const char *base_of(const char *name)
{
    const char *slash = strrchr(name, '/');
    return slash ? slash + 1 : name;
}

// name in the directory of the object that holds this code, as a new string;
// null when that directory is not known.
char *beside_this_library(const char *name)
{
    Dl_info info;
    if (!dladdr(reinterpret_cast<void *>(&beside_this_library), &info) || !info.dli_fname)
        return nullptr;
    const char *slash = strrchr(info.dli_fname, '/');
    if (!slash)
        return nullptr;
    return joined(info.dli_fname, static_cast<size_t>(slash + 1 - info.dli_fname), name);
}

void *try_open(const char *name, int32_t *error, const char **detail)
{
    errno = 0;
    void *handle = dlopen(name, RTLD_NOW);
    if (!handle) {
        *error = errno;
        *detail = dlerror();
    }
    return handle;
}

} // namespace

void *dl_os_open(const char *name, int32_t *error, const char **detail)
{
    *detail = nullptr;
    if (name[0] == '\0') {
        // dlopen("") would hand back the program itself.
        *error = ENOENT;
        return nullptr;
    }
    char *full = nullptr;
    if (strchr(base_of(name), '.') == nullptr) {
        full = joined(name, strlen(name), ".so");
        if (!full) {
            *error = ENOMEM;
            return nullptr;
        }
        name = full;
    }
    void *handle = try_open(name, error, detail);
    if (!handle && !strchr(name, '/')) {
        // A failure here reports the last place searched.
        if (char *beside = beside_this_library(name)) {
            handle = try_open(beside, error, detail);
            korv_internal_free(beside);
        }
    }
    korv_internal_free(full);
    return handle;
}

bool dl_os_close(void *handle)
{
    return dlclose(handle) == 0;
}

void *dl_os_symbol(void *handle, const char *symbol)
{
    return dlsym(handle, symbol);
}

} // namespace korv
