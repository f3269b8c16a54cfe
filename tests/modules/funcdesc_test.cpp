#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"
#include "env/env_test_util.h"

namespace {

using Strings = std::vector<std::string>;

// Reads one descriptor from a text (the record is freed with the reader).
struct Read {
    KorvFuncDesc *d = KorvAllocFuncDesc();
    uint32_t result;
    explicit Read(std::string text)
    {
        KorvIO *in = KorvIO_Str(text.data(), 0);
        result = KorvReadFuncDesc(in, d);
        in->close(in);
    }
    ~Read() { KorvFreeFuncDesc(d); }
    KorvFuncDesc *operator->() const { return d; }
};

Strings strings(char **list)
{
    Strings out;
    for (; list && *list; list++)
        out.push_back(*list);
    return out;
}

std::vector<int32_t> bits(const int32_t *list)
{
    std::vector<int32_t> out;
    while (list && (out.empty() || out.back() != -1))
        out.push_back(*list++);
    return out;
}

} // namespace

TEST(FuncDesc, ReadsOneSection)
{
    Read d("# a blur\n[Blur]\ninit: BlurInit\narg: \"radius:d\"\narg: \"sigma:f\"\nbits: 8 16\n"
           "interleave: pixel scanline\ndocumentation: {see <blur>}\ncategory: a  b\r\n"
           "arg: radius:d\n[Other]\ninit: no\n");
    EXPECT_EQ(d.result, 1u);
    EXPECT_STREQ(d->name, "Blur");
    EXPECT_STREQ(d->init, "BlurInit");
    // An unquoted colon ends the value; the rest of its line is ignored.
    EXPECT_EQ(strings(d->args), (Strings{"radius:d", "sigma:f", "radius"}));
    EXPECT_EQ(bits(d->bits), (std::vector<int32_t>{8, 16, -1}));
    EXPECT_EQ(d->interleaves, 3u);
    EXPECT_EQ(d->inputs, 1);
    EXPECT_EQ(d->outputs, 1);
    EXPECT_EQ(d->synchronous, 1);
    EXPECT_EQ(d->colorSpaces, nullptr);
    EXPECT_STREQ(d->documentation, "{see <blur>}");
    EXPECT_EQ(strings(d->categories), (Strings{"a", "b"}));

    // The second header ends the first read and is consumed by it.
    std::string two = "[One]\ninit: a\n[Two]\ninit: b\n";
    KorvIO *in = KorvIO_Str(two.data(), 0);
    KorvFuncDesc *one = KorvAllocFuncDesc();
    EXPECT_EQ(one->inputs, 0);
    EXPECT_EQ(KorvReadFuncDesc(in, one), 1u);
    EXPECT_STREQ(one->init, "a");
    EXPECT_EQ(KorvReadFuncDesc(in, one), 1u); // reading again starts afresh
    EXPECT_EQ(one->name, nullptr);
    EXPECT_STREQ(one->init, "b");
    EXPECT_EQ(KorvReadFuncDesc(nullptr, one), 0u);
    EXPECT_EQ(KorvReadFuncDesc(in, nullptr), 0u);
    in->close(in);
    KorvFreeFuncDesc(one);
}

TEST(FuncDesc, ValueRules)
{
    Read a("synchronous: TRUE\nsynchronous: no\ncspace: any\nbit: anything\ninterleave: any\n"
           "input: 2\ninit: a\noutput: 0\ninput: 3\ninit: b\noutput: 5\nunknown: x\n");
    EXPECT_EQ(a->synchronous, 0); // every occurrence applies
    EXPECT_EQ(a->colorSpaces, nullptr);
    EXPECT_EQ(a->bits, nullptr);
    EXPECT_EQ(a->interleaves, 15u);
    EXPECT_EQ(a->inputs, 2); // the first input, output and init win
    EXPECT_EQ(a->outputs, 0);
    EXPECT_STREQ(a->init, "a");

    // Later lists replace earlier ones; words without meaning add nothing;
    // a value without words leaves the field as it was.
    Read b("cspace: rgb\ncspaces: gray\tcmyk\ncategories: a\ncategories: \"  \"\nbit: 32 x\n"
           "bits: \" \"\ninterleave: bogus\ninterleaves: \"\"\ntest: 1\ntest: 2\ntest: 3\n"
           "test: 4\ntest: 5\ndescription: \"" + std::string(3000, 'v') + "\"\n");
    EXPECT_EQ(strings(b->colorSpaces), (Strings{"gray", "cmyk"}));
    EXPECT_EQ(strings(b->categories), (Strings{"a"}));
    EXPECT_EQ(bits(b->bits), (std::vector<int32_t>{32, 0, -1}));
    EXPECT_EQ(b->interleaves, 0u);
    EXPECT_EQ(strings(b->tests), (Strings{"1", "2", "3", "4", "5"}));
    EXPECT_EQ(strlen(b->description), 2048u); // cut at the value buffer

    Read cut("[Cut]\narg: x\ninit:");
    EXPECT_EQ(cut.result, 0u);
    EXPECT_STREQ(cut->name, "Cut"); // what was read stays
}

TEST(FuncDesc, CopyIsDeepAndAllocationFailuresFailCleanly)
{
    std::string doc = "[F]\ninit: lib!F\narg: a\narg: b\narg: c\narg: d\narg: e\ncspace: x y\n"
                      "bit: 8\ntest: t\nformat: f\ndescription: d\ndocumentation: doc\n"
                      "category: c\ninput: 2\noutput: 3\nsynchronous: 0\ninterleave: frame\n";
    for (unsigned long n = 1;; n++) {
        KorvFuncDesc *d = KorvAllocFuncDesc();
        KorvIO *in = KorvIO_Str(doc.data(), 0);
        korv_testing_fail_alloc(n);
        uint32_t r = KorvReadFuncDesc(in, d);
        unsigned long used = korv_testing_alloc_count();
        korv_testing_fail_alloc(0);
        in->close(in);
        if (used >= n) {
            EXPECT_EQ(r, 0u) << "read allocation " << n;
            KorvFreeFuncDesc(d); // what was filled is the caller's to free
            continue;
        }
        d->user = 0xABCD;
        for (unsigned long m = 1;; m++) {
            korv_testing_fail_alloc(m);
            KorvFuncDesc *c = d->copy(d);
            unsigned long copied = korv_testing_alloc_count();
            korv_testing_fail_alloc(0);
            if (copied >= m) {
                EXPECT_EQ(c, nullptr) << "copy allocation " << m;
                continue;
            }
            KorvFreeFuncDesc(d); // the copy outlives its source
            EXPECT_EQ(c->free, &KorvFreeFuncDesc);
            EXPECT_STREQ(c->name, "F");
            EXPECT_STREQ(c->init, "lib!F");
            EXPECT_EQ(c->user, 0xABCDu);
            EXPECT_EQ(strings(c->args), (Strings{"a", "b", "c", "d", "e"}));
            EXPECT_EQ(strings(c->colorSpaces), (Strings{"x", "y"}));
            EXPECT_EQ(bits(c->bits), (std::vector<int32_t>{8, -1}));
            EXPECT_EQ(strings(c->tests), Strings{"t"});
            EXPECT_EQ(strings(c->formats), Strings{"f"});
            EXPECT_EQ(strings(c->categories), Strings{"c"});
            EXPECT_STREQ(c->description, "d");
            EXPECT_STREQ(c->documentation, "doc");
            EXPECT_EQ(c->inputs * 100 + c->outputs * 10 + c->synchronous, 230);
            EXPECT_EQ(c->interleaves, 4u);
            c->free(c);
            break;
        }
        break;
    }
    EXPECT_EQ(KorvCopyFuncDesc(nullptr), nullptr);
}

TEST(FuncDesc, FileNameSearchesTheDescriptorPath)
{
    EnvScratch root("funcdesc-release");
    std::filesystem::create_directories(root.path / "data" / "korv");
    std::ofstream(root.path / "data" / "korv" / "KvBlurTest.dot") << "[KvBlurTest]\n";
    KorvSetenv("KV_RELEASE", root.dir().c_str());
    EXPECT_EQ(take(KorvFuncDescFileName("KvBlurTest")), root.file("data/korv/KvBlurTest.dot"));
    EXPECT_EQ(KorvFuncDescFileName("KvNoSuchDescriptor"), nullptr);
    KorvSetenv("KV_RELEASE", nullptr);
}
