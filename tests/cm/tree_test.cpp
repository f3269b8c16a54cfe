#include "cm_test_io.h"
#include "core/alloc_testing.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

constexpr uint32_t kMisplaced = 0xFFFFFFFFu;

struct Doc {
    KorvCMNode *root = nullptr;
    ~Doc() { KorvFreeUserCMData(root); }
    uint32_t read(const std::string &text, uint32_t require_id = 0)
    {
        TestIO in(text);
        return KorvReadUserCMData(in.io(), &root, require_id);
    }
    std::string write()
    {
        TestIO out;
        EXPECT_EQ(KorvWriteUserCMData(root, out.io()), 1u);
        return out.out;
    }
    std::string param(const char *o, const char *s, const char *l)
    {
        const char *p = KorvGetParam(root, o, s, l);
        return p ? p : "<null>";
    }
};

const char kHeader[] = "<ID>\n[S]\nw: 100\nn: \"abc\"\n";

TEST(CMTree, ReadsAndWritesTheSameDocument)
{
    Doc d;
    ASSERT_EQ(d.read(kHeader, 1), 1u);
    KorvCMNode *w = KorvGetUserCMData(d.root, "id", "s", "W");
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->child->kind, KORV_CMK_PLAIN);
    KorvCMNode *n = KorvGetUserCMData(d.root, "ID", "S", "n");
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(n->child->kind, KORV_CMK_STRING);
    EXPECT_EQ(std::string(n->child->text, n->child->length), "abc");
    EXPECT_EQ(d.write(), kHeader);

    // An End object is written last, after a blank line and without its
    // newline, and the reader stops right after it.
    KorvCMNode *last;
    d.root = KorvMergeUserCMData(d.root, "End", nullptr, nullptr, &last);
    d.root = KorvSetParam(d.root, "End", "S", "late", "1", 1);
    std::string text = d.write();
    EXPECT_EQ(text, std::string(kHeader) + "\n<End>");

    Doc again;
    TestIO in(text + "\ntrailing: x\n");
    EXPECT_EQ(KorvReadUserCMData(in.io(), &again.root, 1), 1u);
    EXPECT_EQ(in.rest(), "\ntrailing: x\n");
}

TEST(CMTree, RequireIdRule)
{
    for (const char *doc : {"<Header>\n[S]\n", "w: 1\n", "", "# nothing\n", "<ID>\n[S]\n{open"}) {
        Doc d;
        EXPECT_EQ(d.read(doc, 1), 0u) << doc;
        EXPECT_EQ(d.root, nullptr);
    }
    // A tree passed in is freed too when the read fails.
    Doc d;
    ASSERT_EQ(d.read(kHeader, 1), 1u);
    EXPECT_EQ(d.read("w: 1\n", 1), 0u);
    EXPECT_EQ(d.root, nullptr);

    Doc s;
    EXPECT_EQ(s.read("[id]\nw: 1\n", 1), 1u);
    EXPECT_EQ(s.param(nullptr, "ID", "w"), "1");
}

TEST(CMTree, MergingAndCurrentNodes)
{
    Doc d;
    ASSERT_EQ(d.read("<ID>\n[A]\na: 1\n<X>\nq: 2\n<id>\n[B]\nb: 3\n[a]\n4\nw: 5\nw: 6\n"), 1u);
    // <id> merged into <ID>; [a] merged into [A].
    EXPECT_EQ(d.root->next->next, nullptr);
    EXPECT_EQ(d.param("ID", "B", "b"), "3");
    // q followed <X> with no section: it went into the current section A.
    EXPECT_EQ(d.param("ID", "A", "q"), "2");
    EXPECT_EQ(KorvGetUserCMData(d.root, "X", nullptr, nullptr)->child, nullptr);
    // 4 followed [a] before any label: it went to the current label b.
    char **list = nullptr;
    EXPECT_EQ(KorvGetUserCMList(d.root, "ID", "B", "b", &list), 2u);
    EXPECT_STREQ(list[1], "4");
    KorvFreeUserCMList(&list);
    EXPECT_EQ(list, nullptr);
    // Labels are never merged; the index picks the second one.
    KorvCMNode *w2 = KorvIndexedGetUserCMData(d.root, "ID", 0, "A", 0, "w", 1);
    ASSERT_NE(w2, nullptr);
    EXPECT_STREQ(w2->child->text, "6");
    EXPECT_EQ(d.param("ID", "A", "w"), "5");
}

TEST(CMTree, MisplacedNodesAndGlue)
{
    Doc d;
    EXPECT_EQ(d.read("a: 1\nb: 2\n<O>\nc: 3\n"), kMisplaced);
    ASSERT_NE(d.root, nullptr);
    EXPECT_EQ(d.root->kind, KORV_CMK_LABEL);
    EXPECT_EQ(d.param(nullptr, nullptr, "b"), "2");
    EXPECT_EQ(KorvGetUserCMData(d.root, nullptr, nullptr, "c"), nullptr);

    Doc v;
    EXPECT_EQ(v.read("1\n\"two\"\n[S]\n"), kMisplaced);
    EXPECT_STREQ(v.root->next->text, "two");

    // "name=" is glued onto the front of the next token.
    Doc g;
    EXPECT_EQ(g.read("[S]\nl:\nx=1\nk=m: 2\n"), 1u);
    EXPECT_EQ(g.param(nullptr, "S", "l"), "x1");
    EXPECT_EQ(g.param(nullptr, "S", "km"), "2");
}

TEST(CMTree, SettersAndDeletes)
{
    Doc d;
    d.root = KorvSetParam(d.root, "ID", "S", "w", "1", 1);
    d.root = KorvSetParam(d.root, "ID", "S", "w", "2", 1);
    d.root = KorvSetParam(d.root, "ID", "S", "ab", "a\nb\n", 4);
    d.root = KorvSetString(d.root, "ID", "T", "s", "x y");
    EXPECT_EQ(d.param("ID", "S", "w"), "1");
    char **list = nullptr;
    EXPECT_EQ(KorvGetUserCMList(d.root, "ID", "S", "ab", &list), 2u);
    EXPECT_STREQ(list[0], "a");
    EXPECT_STREQ(list[1], "b");
    EXPECT_EQ(list[2], nullptr);
    KorvFreeUserCMList(&list);

    KorvDeleteParam(d.root, "ID", "S", "W");
    EXPECT_EQ(d.param("ID", "S", "w"), "2");
    EXPECT_EQ(d.write(), "<ID>\n[S]\nw: 2\nab: a\nb\n\n[T]\ns: \"x y\"\n");

    // A broken value keeps the tree and what was read before it.
    d.root = KorvSetParam(d.root, "ID", "S", "bad", "{open", 5);
    ASSERT_NE(d.root, nullptr);
    EXPECT_NE(KorvGetUserCMData(d.root, "ID", "S", "bad"), nullptr);

    // A value set on a section replaces (and frees) its content.
    d.root = KorvSetString(d.root, "ID", "T", nullptr, "only");
    KorvCMNode *t = KorvGetUserCMData(d.root, "ID", "T", nullptr);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->child->kind, KORV_CMK_STRING);
    EXPECT_EQ(t->child->next, nullptr);
    d.root = KorvSetString(d.root, "ID", "T", "s", "x y");

    // Wrong kinds and missing names leave the tree alone.
    KorvCMNode *root = d.root;
    EXPECT_EQ(KorvDeleteUserCMData(d.root, "ID", "w", nullptr), root);
    EXPECT_EQ(KorvDeleteUserCMData(d.root, "S", nullptr, nullptr), root);
    d.root = KorvDeleteUserCMData(d.root, "ID", "S", nullptr);
    EXPECT_EQ(KorvGetUserCMData(d.root, "ID", "S", nullptr), nullptr);
    EXPECT_NE(KorvGetUserCMData(d.root, "ID", "T", "s"), nullptr);

    // Deleting the first top-level node makes the next one the root.
    d.root = KorvSetParam(d.root, "Two", "S", "k", "v", 1);
    d.root = KorvDeleteUserCMData(d.root, "id", nullptr, nullptr);
    ASSERT_NE(d.root, nullptr);
    EXPECT_STREQ(d.root->text, "Two");
    EXPECT_EQ(d.root->next, nullptr);

    // A label cannot stand beside an object root.
    KorvCMNode *last = d.root;
    EXPECT_EQ(KorvMergeUserCMData(d.root, nullptr, nullptr, "lone", &last), d.root);
    EXPECT_EQ(last, nullptr);
}

TEST(CMTree, DataValues)
{
    const unsigned char bytes[] = {0xFF, 0x00, 0x7F, 0x80, 0x01};
    Doc d;
    d.root = KorvSetData(d.root, "ID", "S", "two", bytes, 2);
    d.root = KorvSetData(d.root, "ID", "S", "five", bytes, 5);
    std::string big(150, '\0');
    for (size_t i = 0; i < big.size(); i++)
        big[i] = static_cast<char>(i * 7);
    d.root = KorvSetData(d.root, "ID", "S", "big", big.data(), big.size());
    d.root = KorvSetParam(d.root, "ID", "S", "plain", "p", 1);

    Doc back;
    ASSERT_EQ(back.read(d.write(), 1), 1u);
    void *data;
    uint64_t len;
    // Lengths of 2 more than a multiple of 3 read back one zero byte longer.
    ASSERT_EQ(KorvGetData(back.root, "ID", "S", "two", &data, &len), 1u);
    EXPECT_EQ(std::string(static_cast<char *>(data), len), std::string("\xFF\x00\x00", 3));
    ASSERT_EQ(KorvGetData(back.root, "ID", "S", "five", &data, &len), 1u);
    EXPECT_EQ(std::string(static_cast<char *>(data), len), std::string("\xFF\x00\x7F\x80\x01\x00", 6));
    ASSERT_EQ(KorvGetData(back.root, "ID", "S", "big", &data, &len), 1u);
    EXPECT_EQ(std::string(static_cast<char *>(data), len), big);
    EXPECT_EQ(KorvGetData(back.root, "ID", "S", "plain", &data, &len), 0u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(len, 0u);
}

TEST(CMTree, DuplicateAndFreeWholeLists)
{
    Doc d;
    ASSERT_EQ(d.read(std::string(kHeader) + "e: \"\"\n<Two>\n[S]\n"), 1u);
    KorvCMNode *copy = KorvUserCMDupData(d.root);
    ASSERT_NE(copy, nullptr);
    KorvCMNode *e = KorvGetUserCMData(copy, "ID", "S", "e");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->child->text, nullptr);  // an empty value copies without text
    char **list = nullptr;
    ASSERT_EQ(KorvGetUserCMList(copy, "ID", "S", "e", &list), 1u);
    EXPECT_STREQ(list[0], "");
    KorvFreeUserCMList(&list);
    Doc c;
    c.root = copy;
    EXPECT_EQ(c.write(), d.write());

    korv_testing_fail_alloc(0);
    KorvFreeUserCMData(KorvUserCMDupData(d.root));
    unsigned long count = korv_testing_alloc_count();
    for (unsigned long n = 1; n <= count; n++) {
        korv_testing_fail_alloc(n);
        EXPECT_EQ(KorvUserCMDupData(d.root), nullptr) << n;
        korv_testing_fail_alloc(0);
    }
    // Freeing a node in the middle of a list frees it and its followers
    // (checked for leaks by the sanitizer build).
    KorvCMNode *second = d.root->next;
    d.root->next = nullptr;
    KorvFreeUserCMData(second);
}

TEST(CMTree, WriterFailures)
{
    Doc d;
    ASSERT_EQ(d.read(kHeader), 1u);
    EXPECT_EQ(KorvWriteUserCMData(d.root, nullptr), 0u);
    TestIO out;
    out.write_budget = 3;
    EXPECT_EQ(KorvWriteUserCMData(d.root, out.io()), kMisplaced);
}

// Truncations, garbage and allocation failures: every result is one of the
// documented ones, a failure leaves nothing, and nothing leaks.
TEST(CMTree, BadInputNeverCrashesOrLeaks)
{
    std::string doc = std::string(kHeader) + "d: \"<<<<Base64Data:QUJDRA==>>>>\"\nb: {x{y}}\nz=q: \"e\\\"s\"\n";
    for (size_t cut = 0; cut <= doc.size(); cut++) {
        Doc d;
        uint32_t r = d.read(doc.substr(0, cut), cut % 2);
        EXPECT_TRUE(r == 1 || r == 0 || r == kMisplaced);
        if (r == 0)
            EXPECT_EQ(d.root, nullptr);
    }
    uint32_t seed = 12345;
    for (int round = 0; round < 300; round++) {
        std::string junk;
        for (int i = 0; i < 64; i++) {
            seed = seed * 1103515245u + 12345u;
            junk += "<>[]{}:=\"'\\#\n\r ab\xff"[(seed >> 16) % 19];
        }
        Doc d;
        d.read(junk);
        TestIO in(junk), out;
        for (int i = 0; i < 200 && KorvReadOldUserCM(in.io(), out.io()) != 'e'; i++) {
        }
    }
    // Every allocation of a read fails in turn.
    std::string with_huge_label = doc + std::string(5000, 'x') + ": 1\n";
    korv_testing_fail_alloc(0);
    {
        Doc d;
        ASSERT_EQ(d.read(with_huge_label, 1), 1u);
    }
    unsigned long count = korv_testing_alloc_count();
    EXPECT_GT(count, 20u);
    for (unsigned long n = 1; n <= count; n++) {
        korv_testing_fail_alloc(n);
        Doc d;
        EXPECT_EQ(d.read(with_huge_label, 1), 0u) << n;
        korv_testing_fail_alloc(0);
        EXPECT_EQ(d.root, nullptr);
    }
}

} // namespace
