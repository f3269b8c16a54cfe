#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"
#include "env/env_test_util.h"

namespace {

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

// Every field of a descriptor in one line, lists space-separated; "-" for a
// missing value or list.
std::string describe(const KorvFuncDesc *d)
{
    auto text = [](const char *s) { return std::string(s ? s : "-"); };
    auto list = [](char **l) {
        if (!l)
            return std::string("-");
        std::string out;
        for (; l && *l; l++)
            out += (out.empty() ? "" : " ") + std::string(*l);
        return out;
    };
    std::string b = d->bits ? "" : "-";
    for (const int32_t *x = d->bits; x && *x != -1; x++)
        b += (b.empty() ? "" : " ") + std::to_string(*x);
    return text(d->name) + "|" + text(d->init) + "|" + list(d->args) + "|" +
           list(d->colorSpaces) + "|" + b + "|" + list(d->tests) + "|" + list(d->formats) + "|" +
           list(d->categories) + "|" + text(d->description) + "|" + text(d->documentation) + "|" +
           std::to_string(d->inputs) + " " + std::to_string(d->outputs) + " " +
           std::to_string(d->synchronous) + "|" + std::to_string(d->interleaves);
}

} // namespace

TEST(FuncDesc, ReadsOneSection)
{
    Read d("# a blur\n[Blur]\ninit: BlurInit\narg: \"radius:d\"\narg: \"sigma:f\"\nbits: 8 16\n"
           "interleave: pixel scanline\ndocumentation: {see <blur>}\ncategory: a  b\r\n"
           "arg: radius:d\n[Other]\ninit: no\n");
    EXPECT_EQ(d.result, 1u);
    // An unquoted colon ends the value; the rest of its line is ignored.
    EXPECT_EQ(describe(d.d),
              "Blur|BlurInit|radius:d sigma:f radius|-|8 16|-|-|a b|-|{see <blur>}|1 1 1|3");

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
    // Every synchronous applies; the first input, output and init win.
    EXPECT_EQ(describe(a.d), "-|a|-|-|-|-|-|-|-|-|2 0 0|15");

    // Later lists replace earlier ones; words without meaning add nothing;
    // a value without words leaves the field as it was.
    Read b("cspace: rgb\ncspaces: gray\tcmyk\ncategories: a\ncategories: \"  \"\nbit: 32 x\n"
           "bits: \" \"\ninterleave: bogus\ninterleaves: \"\"\ntest: 1\ntest: 2\ntest: 3\n"
           "test: 4\ntest: 5\ndescription: \"" + std::string(3000, 'v') + "\"\n");
    EXPECT_EQ(describe(b.d), "-|-|-|gray cmyk|32 0|1 2 3 4 5|-|a|" + std::string(2048, 'v') +
                                 "|-|1 1 1|0"); // the description cut at the value buffer

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
            EXPECT_EQ(describe(c), "F|lib!F|a b c d e|x y|8|t|f|c|d|doc|2 3 0|4");
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
