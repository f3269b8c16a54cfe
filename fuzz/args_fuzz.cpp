// Argument text through KorvParseArgs: a list is built from the input (texts,
// numbers, windows, arrays and entries made from value text with macro
// references), then every entry is asked for as every type.
#include "fuzz_util.h"

#include <stdio.h>

#include <deque>
#include <vector>

namespace {

KorvArgWord W(const void *p)
{
    return reinterpret_cast<KorvArgWord>(p);
}

const char *const kNames[] = {"k0", "k1", "k2", "k3", "k4", "k5", "k6", "k7"};

// Everything the list points to lives here until the input is done.
struct Store {
    std::deque<std::string> texts;
    std::deque<int32_t> ints;
    std::deque<double> reals;
    std::deque<std::vector<int32_t>> int_arrays;
    std::deque<std::vector<double>> real_arrays;
    std::deque<std::vector<const char *>> text_arrays;

    const char *text(std::string s)
    {
        texts.push_back(std::move(s));
        return texts.back().c_str();
    }
};

// Appends one entry of a type the selector picks; false when the list
// cannot grow.
bool add_entry(KorvArgWord **list, KorvSmallHeap *heap, FuzzInput &in, Store &st, int index,
               const KorvArgWord *macros)
{
    static const char *const kTypes[] = {"s", "i", "f", "b", "wi", "wf", "ur", "um", "h",
                                         "#i", "#f", "#s", "#wi", "ss", "si"};
    uint8_t selector = in.byte();
    std::string name = kNames[index];
    if (selector % 16 == 15) {
        // Value text with references to the macro list.
        std::string value = in.text(0);
        return KorvSafeAppendArgValue(heap, list, name.c_str(), value.c_str(), macros) != 0;
    }
    std::string type = kTypes[selector % 15];
    const char *entry = st.text(name + ":" + type);
    auto value_of = [&](char letter) -> KorvArgWord {
        switch (letter) {
        case 'i': case 'b':
            st.ints.push_back(static_cast<int32_t>(in.u32()));
            return W(&st.ints.back());
        case 'f':
            st.reals.push_back(static_cast<double>(static_cast<int32_t>(in.u32())) / 7.0);
            return W(&st.reals.back());
        default:
            return W(st.text(in.text(0)));
        }
    };
    if (type == "wi") {
        st.int_arrays.push_back({int32_t(in.u32()), int32_t(in.u32()), int32_t(in.u32()),
                                 int32_t(in.u32())});
        return KorvSafeAppendArgs(list, W(entry), W(st.int_arrays.back().data()), KORV_ARG_NULL,
                                  KORV_ARG_END) != 0;
    }
    if (type == "wf") {
        st.real_arrays.push_back({1.5, -2.0, double(in.byte()), 1e300});
        return KorvSafeAppendArgs(list, W(entry), W(st.real_arrays.back().data()),
                                  KORV_ARG_NULL, KORV_ARG_END) != 0;
    }
    if (type == "h")
        return KorvSafeAppendArgs(list, W(entry), W(&st), KORV_ARG_NULL, KORV_ARG_END) != 0;
    if (type[0] == '#') {
        int n = in.byte() % 5;
        if (type == "#s") {
            // A variable array: element words, then its NULL.
            std::vector<const char *> words;
            for (int k = 0; k < n; k++)
                words.push_back(st.text(in.text(0)));
            if (!KorvSafeAppendArgs(list, W(entry), KORV_ARG_END))
                return false;
            for (const char *w : words)
                if (!KorvSafeAppendArgs(list, W(w), KORV_ARG_END))
                    return false;
            return KorvSafeAppendArgs(list, KORV_ARG_NULL, KORV_ARG_NULL, KORV_ARG_END) != 0;
        }
        st.ints.push_back(type == "#wi" ? n / 2 : n);
        const void *elements;
        if (type == "#f") {
            st.real_arrays.emplace_back();
            for (int k = 0; k < n; k++)
                st.real_arrays.back().push_back(static_cast<int8_t>(in.byte()) * 0.25);
            elements = st.real_arrays.back().data();
        } else {
            st.int_arrays.emplace_back();
            for (int k = 0; k < n * 4; k++)
                st.int_arrays.back().push_back(static_cast<int32_t>(in.u32()));
            elements = st.int_arrays.back().data();
        }
        return KorvSafeAppendArgs(list, W(entry), KORV_ARG_FIXED, W(&st.ints.back()), W(elements),
                                  KORV_ARG_NULL, KORV_ARG_END) != 0;
    }
    KorvArgWord a = value_of(type[0] == 'u' ? 's' : type[0]);
    if (type.size() == 2 && type[0] != 'u') {
        KorvArgWord b = value_of(type[1]);
        return KorvSafeAppendArgs(list, W(entry), a, b, KORV_ARG_NULL, KORV_ARG_END) != 0;
    }
    return KorvSafeAppendArgs(list, W(entry), a, KORV_ARG_NULL, KORV_ARG_END) != 0;
}

// Asks for one entry as one type; frees what the call hands out.
void request(const KorvArgWord *list, const char *name, const char *type)
{
    std::string text = std::string(name) + ":" + type;
    int32_t found = -1, i[4] = {0}, count = 0;
    double d[4] = {0};
    char *s = nullptr;
    void *h = nullptr;
    void *array = nullptr;
    std::string t = type;
    if (t == "i" || t == "b")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(&i[0]), KORV_ARG_END);
    else if (t == "f")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(&d[0]), KORV_ARG_END);
    else if (t == "s" || t == "ur" || t == "uw")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(&s), KORV_ARG_END);
    else if (t == "h")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(&h), KORV_ARG_END);
    else if (t == "wi")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(i), KORV_ARG_END);
    else if (t == "wf")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(d), KORV_ARG_END);
    else if (t == "si")
        KorvParseArgs(list, W(text.c_str()), W(&found), W(&s), W(&i[0]), KORV_ARG_END);
    else
        KorvParseArgs(list, W(text.c_str()), W(&found), W(&count), W(&array), KORV_ARG_END);
    korv_internal_free(s);
    if (array && (t == "#s" || t == "#ur")) {
        for (char **p = static_cast<char **>(array); *p; p++)
            korv_internal_free(*p);
    }
    korv_internal_free(array);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    static const char *const kMacro1 = "first";
    static const char *const kMacro2 = "second value";
    static int32_t kPair[2] = {3, 4};
    static const KorvArgWord macros[] = {
        W("x:#s"), W(kMacro1), W(kMacro2), W("third"), KORV_ARG_NULL, KORV_ARG_NULL,
        W("pair:ii"), W(&kPair[0]), W(&kPair[1]), KORV_ARG_NULL,
        W("names:s"), W(kMacro2), KORV_ARG_NULL, KORV_ARG_END};

    Store st;
    KorvSmallHeap *heap = KorvSmallHeapInit();
    KorvArgWord *list = nullptr;
    uint8_t head = in.byte();
    if (head & 1)
        KorvSafeBuildArgs(&list, W("korvsec:i"), KorvArgWord((head & 0x20) | 0x100), KORV_ARG_NULL,
                          KORV_ARG_END);
    else
        KorvSafeBuildArgs(&list, KORV_ARG_END);
    int entries = 1 + (head >> 1) % 8;
    for (int k = 0; list && k < entries && !in.empty(); k++) {
        if (!add_entry(&list, heap, in, st, k, macros))
            break;
    }
    if (list && getenv("KV_FUZZ_SHOW")) {
        // The list word by word, to turn a finding into a test.
        for (KorvArgWord *w = list; *w != KORV_ARG_END; w++)
            fprintf(stderr, "%#lx\n", static_cast<unsigned long>(*w));
    }
    if (list) {
        static const char *const kRequests[] = {"i", "b", "f", "s", "ur", "uw", "h", "wi", "wf",
                                                "si", "#i", "#f", "#s", "#wi", "#wf", "#ur", "#h"};
        for (int k = 0; k < entries; k++)
            for (const char *type : kRequests)
                request(list, kNames[k], type);
        KorvRemoveArgs(list, W("k1"), W("K3"), KORV_ARG_END);
    }
    korv_internal_free(list);
    KorvSmallHeapFree(heap);
    return 0;
}
