// The built-in header managers, in registry order. The registry starts from
// this table (its first ten entries); the formats' own files define the
// managers it names.
#pragma once
#include <kvsup.h>

struct KorvBuiltinManager {
    const char *format;
    const char *version;
    int32_t type; // lookup by number; -1 none
    KVHdrManager manager;
};

#define KORV_BUILTIN_MANAGER_COUNT 10
extern const KorvBuiltinManager korv_builtin_managers[KORV_BUILTIN_MANAGER_COUNT];
