// Temporary files: the directory is the hint's, else the roomiest entry of
// KORV_TEMP, else the system's; "." stands in for an unusable one.
#include "io_private.h"

#include <string.h>

using namespace korv::io;

namespace {

#ifdef _WIN32
constexpr const char *kFallbackDir = "c:\\temp";
#else
constexpr const char *kFallbackDir = "/tmp";
#endif

// New string: the directory for a new temporary file, or null.
char *pick_directory(const char *hint) {
    const char *sep = hint ? strrchr(hint, '\\') : nullptr;
    if (sep) return KorvStrNDup(hint, static_cast<size_t>(sep - hint));
    char *best = nullptr;
    uint64_t best_space = 0;
    const char *list = KorvGetenv("KORV_TEMP");
    if (list) {
        const char *p = list;
        for (;;) {
            const char *end = strchr(p, ',');
            size_t len = end ? static_cast<size_t>(end - p) : strlen(p);
            char *entry = KorvStrNDup(p, len);
            char *dir = entry ? KorvExpandString(entry) : nullptr;
            korv_internal_free(entry);
            if (dir) {
                uint64_t space = free_space_kib(dir);
                if (space > best_space) {
                    korv_internal_free(best);
                    best = dir;
                    best_space = space;
                } else {
                    korv_internal_free(dir);
                }
            }
            if (!end) break;
            p = end + 1;
        }
    }
    return best ? best : KorvStrDup(kFallbackDir);
}

char *new_temp_name(const char *hint) {
    char *dir = pick_directory(hint);
    if (!dir) return nullptr;
    char *name = nullptr;
    if (dir_usable(dir)) {
        name = unique_temp_name(dir);
    } else if (dir_usable(".")) {
        name = unique_temp_name(".");
    } else {
        KorvError("Error: Attempt to create a temporary file failed.Set your enviroment so that "
                  "temp files are created in a directory with read/write permissions.");
    }
    korv_internal_free(dir);
    return name;
}

} // namespace

extern "C" {

KORV_API char *KorvMktemp(const char *hint) {
    char *name = new_temp_name(hint);
    KorvDebug("temp file <%s>\n", name ? name : "NULL");
    return name;
}

KORV_API KorvIO *KorvIO_Mktemp(const char *hint) {
    char *name = new_temp_name(hint);
    if (!name) return nullptr;
    KorvHandle h;
    bool ok = open_temp(name, &h);
    korv_internal_free(name);
    if (!ok) return nullptr;
    KorvIO *io = KorvIO_HANDLE(h);
    if (!io) {
        handle_close(h);
        return nullptr;
    }
    io->set_owned(io, 1);
    return io;
}

} // extern "C"
