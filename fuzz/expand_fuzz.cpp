// KorvExpandString over fuzzed text, with a few names set in the library's
// table (values holding references of their own, long values, empty ones).
#include "fuzz_util.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    KorvSetenv("A", "x${B}y$A");
    KorvSetenv("B", "a rather long value, long enough to outgrow a first guess of the size");
    KorvSetenv("EMPTY", "");
    KorvSetenv("D", "$");
    KorvSetenv("K_1", "/some/dir");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string text(reinterpret_cast<const char *>(data), size);
    char *out = KorvExpandString(text.c_str());
    if (out && strlen(out) == 0)
        abort(); // an empty expansion is reported as null
    korv_internal_free(out);
    return 0;
}
