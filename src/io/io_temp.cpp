// Temporary files: the directory is the hint's, else the roomiest entry of
// KORV_TEMP, else the system's; "." stands in for an unusable one. Each
// file is made exclusively and kept open by the handle that made it.
#include "io_private.h"
#include "env/env_setting.h"

#include <string.h>

using namespace korv::io;

namespace {

// New string: the directory for a new temporary file, or null. A hint
// names its directory by the part before its last path separator; a hint
// whose only separator is its first character names the root.
char *pick_directory(const char *hint) {
    const char *sep = hint ? strrchr(hint, kHintSeparator) : nullptr;
    if (sep) return KorvStrNDup(hint, sep == hint ? 1 : static_cast<size_t>(sep - hint));
    char *best = nullptr;
    uint64_t best_space = 0;
    // A copy: another thread may set the variable while the list is read.
    char *list = korv::env_copy("KORV_TEMP");
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
        korv_internal_free(list);
    }
    return best ? best : KorvStrDup(kTempFallbackDir);
}

} // namespace

namespace korv::io {

char *new_temp_file(const char *hint, TempLife life, KorvHandle *out) {
    char *dir = pick_directory(hint);
    if (!dir) return nullptr;
    char *name = nullptr;
    if (dir_usable(dir)) {
        name = create_temp_file(dir, life, out);
    } else if (dir_usable(".")) {
        name = create_temp_file(".", life, out);
    } else {
        KorvError("Error: Attempt to create a temporary file failed.Set your enviroment so that "
                  "temp files are created in a directory with read/write permissions.");
    }
    korv_internal_free(dir);
    return name;
}

} // namespace korv::io

extern "C" {

// The file is made and closed at once: the caller gets only its name.
KORV_API char *KorvMktemp(const char *hint) {
    KorvHandle h;
    char *name = new_temp_file(hint, kTempKept, &h);
    if (name) handle_close(h);
    KorvDebug("temp file <%s>\n", name ? name : "NULL");
    return name;
}

KORV_API KorvIO *KorvIO_Mktemp(const char *hint) {
    KorvHandle h;
    char *name = new_temp_file(hint, kTempUnnamed, &h);
    if (!name) return nullptr;
    korv_internal_free(name);
    KorvIO *io = KorvIO_HANDLE(h);
    if (!io) {
        handle_close(h);
        return nullptr;
    }
    io->set_owned(io, 1);
    return io;
}

} // extern "C"
