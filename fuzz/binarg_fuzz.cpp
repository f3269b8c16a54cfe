// Binary argument blocks read back: a descriptor table made from the input
// (kinds, counts and elements; names whose types agree with the kinds, as a
// module's static table has them) unpacks to a list, which is read with
// KorvParseArgs, packed again and unpacked again.
#include "fuzz_util.h"

#include <deque>
#include <vector>

namespace {

KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

struct Shape {
    uint32_t kind;
    const char *letter; // repeated per element for scalars
    bool array;
};

const Shape kShapes[] = {
    {0, "i", false}, {0, "#i", true}, {0, "wi", false}, {0, "#wi", true},
    {1, "s", false}, {1, "#s", true}, {1, "ur", false},
    {2, "", false},
    {3, "f", false}, {3, "#f", true}, {3, "wf", false},
    {4, "v", false}, {4, "#v", true},
    {5, "b", false}, {5, "", false}, {5, "#b", true},
};

void read_all(const KorvArgWord *list, int n)
{
    static const char *const kTypes[] = {"i", "f", "s", "wi", "#i", "#s", "#f"};
    for (int k = 0; k < n; k++) {
        std::string name = "a" + std::to_string(k) + ":";
        for (const char *t : kTypes) {
            std::string text = name + t;
            int32_t found = 0, i[4] = {0}, count = 0;
            double d[4] = {0};
            char *s = nullptr;
            void *array = nullptr;
            if (t[0] == '#')
                KorvParseArgs(list, W(text.c_str()), W(&found), W(&count), W(&array), KORV_ARG_END);
            else if (t[0] == 's')
                KorvParseArgs(list, W(text.c_str()), W(&found), W(&s), KORV_ARG_END);
            else if (t[0] == 'f')
                KorvParseArgs(list, W(text.c_str()), W(&found), W(d), KORV_ARG_END);
            else
                KorvParseArgs(list, W(text.c_str()), W(&found), W(i), KORV_ARG_END);
            if (array && t[1] == 's')
                for (char **p = static_cast<char **>(array); *p; p++)
                    korv_internal_free(*p);
            korv_internal_free(array);
            korv_internal_free(s);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    int n = in.byte() % 6;
    std::vector<KorvBinArgDesc> table(n + 1);
    std::deque<std::string> names, texts;
    std::deque<std::vector<uint64_t>> elements;
    // A scalar entry without its value words is a broken list, which the
    // readers are not asked to survive; such tables are only unpacked.
    bool well_formed = true;
    for (int k = 0; k < n; k++) {
        const Shape &shape = kShapes[in.byte() % (sizeof kShapes / sizeof *kShapes)];
        int32_t count = static_cast<int8_t>(in.byte()) % 9;
        if (count < 0 && in.byte() % 4)
            count = -count; // mostly sensible counts, some negative ones
        std::string name = "a" + std::to_string(k) + ":";
        if (shape.array || shape.letter[0] == 'w' || shape.letter[0] == 'u')
            name += shape.letter;
        else
            for (int e = 0; e < (count > 0 ? count : 1); e++)
                name += shape.letter;
        names.push_back(name);
        if (!shape.array && shape.kind != 2 && shape.letter[0] != '\0' &&
            count < (shape.letter[0] == 'w' ? 4 : 1))
            well_formed = false;
        elements.emplace_back(count > 0 ? count : 1);
        for (auto &e : elements.back()) {
            if (shape.kind == 1) {
                texts.push_back(in.text(0));
                e = reinterpret_cast<uintptr_t>(texts.back().c_str());
            } else {
                // Addresses are opaque but never one of the reserved words
                // (0 ends a variable array, 1 the list).
                e = in.u64() | 0x10;
            }
        }
        table[k] = {names.back().c_str(), shape.kind, count, elements.back().data()};
    }
    KorvArgWord *list = KorvBinArgToArgs(n, table.data(), in.byte() % 4);
    if (!list)
        return 0;
    if (!well_formed) {
        korv_internal_free(list);
        return 0;
    }
    read_all(list, n);
    KorvBinArgDesc *block = nullptr;
    int32_t m = KorvBinArgFromArgs(list, &block);
    if (m >= 0 && block) {
        KorvArgWord *again = KorvBinArgToArgs(m, block, 0);
        if (again) {
            read_all(again, n);
            korv_internal_free(again);
        }
    }
    korv_internal_free(block);
    korv_internal_free(list);
    return 0;
}
