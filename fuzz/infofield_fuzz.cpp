// Info field texts: one field at a time, then the lines of the input as a
// field list whose values are set and read back in a block of its size.
#include "fuzz_util.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    std::vector<std::string> lines;
    while (!in.empty() && lines.size() < 16)
        lines.push_back(in.text('\n'));
    std::vector<const char *> texts;
    for (const std::string &l : lines) {
        char *name = nullptr;
        char type = 0;
        uint32_t count = 0;
        KorvParseInfoField(l.c_str(), &name, &type, &count);
        korv_internal_free(name);
        texts.push_back(l.c_str());
    }
    texts.push_back(nullptr);

    KorvInfoField **list = nullptr;
    if (KorvParseInfoFields(texts.data(), &list) == 1 && list) {
        uint64_t total = KorvGetInfoFieldsTotal(list);
        if (total < (1u << 16)) {
            std::vector<unsigned char> block(total + 1);
            for (KorvInfoField **f = list; *f; f++) {
                if ((*f)->offset + (*f)->size > total)
                    abort(); // a field lies outside the block
                KorvSetInfoFieldInt(*f, block.data(), 0, 7);
                int32_t v = 0;
                KorvGetInfoFieldInt(*f, block.data(), static_cast<int32_t>((*f)->count), &v);
                KorvSetInfoFieldDouble(*f, block.data(), 0, 2.5);
                double d = 0;
                KorvGetInfoFieldDouble(*f, block.data(), 0, &d);
                KorvSetInfoFieldStr(*f, block.data(), "text that may be longer than the field");
                char *s = nullptr;
                if (KorvGetInfoFieldStr(*f, block.data(), &s) > 0 || s)
                    korv_internal_free(s);
            }
        }
        KorvFindInfoField(list, "x");
    }
    // A list that failed part-way stays the caller's too.
    KorvFreeSmartArray(reinterpret_cast<void **>(list));
    return 0;
}
