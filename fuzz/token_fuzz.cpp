// The quote-aware tokenizers with every flag combination: the first byte
// holds the flags, the text up to the next NUL the delimiters, the rest the
// string. The in-place, the copying and the splitting walks must agree.
#include "fuzz_util.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    uint32_t flags = in.byte() & 31u;
    std::string delimiters = in.text(0);
    std::string string = in.rest();

    std::vector<std::string> copies;
    const char *cpos = nullptr;
    for (size_t i = 0; i <= string.size() + 1; i++) {
        char *t = KorvDupTokenParseEx(string.c_str(), delimiters.c_str(), flags, &cpos);
        if (!t)
            break;
        copies.emplace_back(t);
        korv_internal_free(t);
    }

    std::string cut = string;
    char *pos = nullptr;
    size_t n = 0;
    for (size_t i = 0; i <= string.size() + 1; i++) {
        char *t = KorvTokenParseEx(cut.data(), delimiters.c_str(), flags, &pos);
        if (!t)
            break;
        if (n >= copies.size() || copies[n] != t)
            abort(); // the in-place walk found another token
        n++;
    }
    if (n != copies.size())
        abort();

    char **split = KorvSplitStringEx(string.c_str(), delimiters.c_str(), flags);
    if (split) {
        size_t k = 0;
        for (; split[k]; k++) {
            if (k >= copies.size() || copies[k] != split[k])
                abort(); // the split disagrees with the walk
        }
        if (k != copies.size())
            abort();
        KorvFreeArray(reinterpret_cast<void **>(split));
    }

    KorvSmallHeap *heap = KorvSmallHeapInit();
    const char *hpos = nullptr;
    while (char *t = KorvShDupTokenParseEx(heap, string.c_str(), delimiters.c_str(), flags, &hpos))
        (void)t;
    char **hsplit = KorvShSplitStringEx(heap, string.c_str(), delimiters.c_str(), flags);
    (void)hsplit;
    KorvSmallHeapFree(heap);
    return 0;
}
