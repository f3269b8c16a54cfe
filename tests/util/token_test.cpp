#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

// Every token of an in-place walk; "<null>" never appears, the walk ends there.
std::vector<std::string> in_place(const char *text, const char *delimiters, uint32_t flags)
{
    std::string buffer(text);
    std::vector<std::string> tokens;
    char *position = nullptr;
    while (char *t = KorvTokenParseEx(buffer.data(), delimiters, flags, &position))
        tokens.emplace_back(t);
    EXPECT_EQ(position, buffer.data()); // the walk is over for good
    EXPECT_EQ(KorvTokenParseEx(buffer.data(), delimiters, flags, &position), nullptr);
    return tokens;
}

// The same walk with the copying form, which must agree and leave the text alone.
std::vector<std::string> copied(const char *text, const char *delimiters, uint32_t flags)
{
    std::vector<std::string> tokens;
    const char *position = nullptr;
    while (char *t = KorvDupTokenParseEx(text, delimiters, flags, &position)) {
        tokens.emplace_back(t);
        korv_internal_free(t);
    }
    return tokens;
}

using V = std::vector<std::string>;

void expect_tokens(const char *text, const char *delimiters, uint32_t flags, const V &want)
{
    SCOPED_TRACE(text);
    EXPECT_EQ(in_place(text, delimiters, flags), want);
    EXPECT_EQ(copied(text, delimiters, flags), want);
}

} // namespace

TEST(Tokenizer, EmptyTokensWithoutSkipping)
{
    expect_tokens("a,,b", ",", 0, V{"a", "", "b"});
    expect_tokens("a,,b", ",", KORV_TOKEN_SKIP_DELIMITERS, V{"a", "b"});
    expect_tokens("a,", ",", 0, V{"a", ""});    // final empty token
    expect_tokens(",a", ",", 0, V{"", "a"});
    expect_tokens("", ",", 0, V{""});
    expect_tokens("", ",", KORV_TOKEN_SKIP_DELIMITERS, V{});
    expect_tokens(" ,a, ", ", ", KORV_TOKEN_SKIP_DELIMITERS, V{"a"});
    expect_tokens("a b", nullptr, 0, V{"a b"});
}

TEST(Tokenizer, QuotesGroupAndRewrite)
{
    const uint32_t skip = KORV_TOKEN_SKIP_DELIMITERS;
    expect_tokens("x \"p q\" y", " ", skip | KORV_TOKEN_DOUBLE_QUOTES, V{"x", "p q", "y"});
    expect_tokens("x \"p q\" y", " ", skip | KORV_TOKEN_DOUBLE_QUOTES | KORV_TOKEN_KEEP_QUOTES,
                  V{"x", "\"p q\"", "y"});
    // Quotes only group when their bit is set.
    expect_tokens("'p q'", " ", KORV_TOKEN_DOUBLE_QUOTES, V{"'p", "q'"});
    expect_tokens("'p q' \"r s\"", " ", KORV_TOKEN_SINGLE_QUOTES, V{"p q", "\"r", "s\""});
    // Quotes open and close anywhere inside a token; one kind inside the
    // other is an ordinary byte.
    expect_tokens("ab\"c d\"e", " ", KORV_TOKEN_DOUBLE_QUOTES, V{"abc de"});
    expect_tokens("\"it's\" 'say \"x\"'", " ", KORV_TOKEN_DOUBLE_QUOTES | KORV_TOKEN_SINGLE_QUOTES,
                  V{"it's", "say \"x\""});
    // An unclosed quote runs to the end.
    expect_tokens("a \"b c", " ", KORV_TOKEN_DOUBLE_QUOTES, V{"a", "b c"});
    // A quote byte that is also a delimiter groups.
    expect_tokens("a\"b\"c", "\"", KORV_TOKEN_DOUBLE_QUOTES, V{"abc"});
}

TEST(Tokenizer, EscapesInsideQuotes)
{
    const uint32_t dq = KORV_TOKEN_DOUBLE_QUOTES;
    expect_tokens("\"a\\tb\"", " ", dq | KORV_TOKEN_ESCAPES, V{"a\tb"});
    expect_tokens("\"a\\tb\"", " ", dq, V{"a\\tb"});
    expect_tokens("\"\\n\\r\\q\\\\\"", " ", dq | KORV_TOKEN_ESCAPES, V{"\n\rq\\"});
    // An escaped quote neither closes the group nor disappears; an escaped
    // delimiter inside quotes does not split.
    expect_tokens("\"a\\\" b\" c", " ", dq | KORV_TOKEN_ESCAPES, V{"a\" b", "c"});
    // Outside quotes a backslash is an ordinary byte.
    expect_tokens("a\\tb \"x\"", " ", dq | KORV_TOKEN_ESCAPES, V{"a\\tb", "x"});
    // Kept quotes with escapes replaced.
    expect_tokens("'a\\tb'", " ", KORV_TOKEN_SINGLE_QUOTES | KORV_TOKEN_ESCAPES | KORV_TOKEN_KEEP_QUOTES,
                  V{"'a\tb'"});
    // A backslash right before the end stays.
    expect_tokens("\"a\\", " ", dq | KORV_TOKEN_ESCAPES, V{"a\\"});
}

TEST(Tokenizer, InPlaceCutsAndHighBytesAreOrdinary)
{
    char text[] = "k=v;w";
    char *position = nullptr;
    EXPECT_EQ(KorvTokenParse(text, "=;", &position), text);
    EXPECT_EQ(position, text + 2);
    EXPECT_EQ(KorvTokenParse(text, "=;", &position), text + 2);
    EXPECT_STREQ(text + 2, "v");
    EXPECT_STREQ(KorvTokenParse(text, "=;", &position), "w");
    EXPECT_EQ(KorvTokenParse(text, "=;", &position), nullptr);

    // A delimiter set holding a UTF-8 byte does not cut characters apart.
    expect_tokens("\xC3\xA9 \xC3\xA8", "\xA9 ", 0, V{"\xC3\xA9", "\xC3\xA8"});
    EXPECT_EQ(KorvTokenParse(nullptr, ",", &position), nullptr);
    EXPECT_EQ(KorvTokenParse(text, ",", nullptr), nullptr);
}

TEST(Tokenizer, CopiesFromSmallHeap)
{
    KorvSmallHeap *heap = KorvSmallHeapInit();
    const char *text = "one two";
    const char *position = nullptr;
    char *t = KorvShDupTokenParse(heap, text, " ", &position);
    EXPECT_STREQ(t, "one");
    EXPECT_TRUE(t > (char *)heap->first && t < (char *)heap->first->end);
    EXPECT_STREQ(KorvShDupTokenParse(heap, text, " ", &position), "two");
    EXPECT_EQ(KorvShDupTokenParse(heap, text, " ", &position), nullptr);
    EXPECT_STREQ(text, "one two");

    // A failed copy returns null and keeps the position for a retry.
    position = nullptr;
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvDupTokenParse(text, " ", &position), nullptr);
    EXPECT_EQ(position, nullptr);
    char *again = KorvDupTokenParse(text, " ", &position);
    EXPECT_STREQ(again, "one");
    korv_internal_free(again);
    KorvSmallHeapFree(heap);
}

TEST(Split, ArraysOfTokens)
{
    char **parts = KorvSplitString("", ",");
    ASSERT_NE(parts, nullptr);
    EXPECT_STREQ(parts[0], "");
    EXPECT_EQ(parts[1], nullptr);
    KorvFreeArray((void **)parts);

    parts = KorvSplitStringEx("  ", " ", KORV_TOKEN_SKIP_DELIMITERS);
    ASSERT_NE(parts, nullptr);
    EXPECT_EQ(parts[0], nullptr);
    KorvFreeArray((void **)parts);

    // More tokens than the first working array holds.
    std::string many;
    for (int i = 0; i < 100; i++)
        many += std::to_string(i) + ",";
    parts = KorvSplitString(many.c_str(), ",");
    ASSERT_EQ(KorvGetArraySize((void **)parts), 101u);
    EXPECT_STREQ(parts[99], "99");
    EXPECT_STREQ(parts[100], "");
    KorvFreeArray((void **)parts);

    KorvSmallHeap *heap = KorvSmallHeapInit();
    parts = KorvShSplitStringEx(heap, "a 'b c'", " ", KORV_TOKEN_SINGLE_QUOTES);
    ASSERT_NE(parts, nullptr);
    EXPECT_STREQ(parts[1], "b c");
    EXPECT_EQ(parts[2], nullptr);
    EXPECT_EQ(KorvShSplitString(heap, nullptr, " "), nullptr);
    KorvSmallHeapFree(heap);
}

TEST(Split, AllocationFailuresEndTheArrayEarly)
{
    korv_testing_fail_alloc(3); // the third token
    char **parts = KorvSplitString("a b c d", " ");
    ASSERT_NE(parts, nullptr);
    EXPECT_EQ(KorvGetArraySize((void **)parts), 2u);
    KorvFreeArray((void **)parts);

    korv_testing_fail_alloc(5); // the result array
    EXPECT_EQ(KorvSplitString("a b c d", " "), nullptr); // tokens freed (ASan checks)

    std::string many(40, ',');
    korv_testing_fail_alloc(33); // growing the working array
    parts = KorvSplitString(many.c_str(), ",");
    ASSERT_NE(parts, nullptr);
    EXPECT_EQ(KorvGetArraySize((void **)parts), 32u);
    KorvFreeArray((void **)parts);
    korv_testing_fail_alloc(0);
}

TEST(Trim, StripAndImmediateData)
{
    char a[] = " \t\v\f\r\nabc \n";
    EXPECT_EQ(KorvStripLeadingSpaces(a), a);
    EXPECT_STREQ(a, "abc \n");
    EXPECT_STREQ(KorvStripTrailingSpaces(a), "abc");
    char blank[] = "   ";
    EXPECT_STREQ(KorvStripTrailingSpaces(blank), "");
    EXPECT_EQ(KorvStripLeadingSpaces(nullptr), nullptr);

    EXPECT_EQ(KorvIsImmediateData("1 2 3"), 1u);
    EXPECT_EQ(KorvIsImmediateData("1,2"), 1u);
    EXPECT_EQ(KorvIsImmediateData("12"), 0u);
    EXPECT_EQ(KorvIsImmediateData("/tmp/x"), 0u);
    EXPECT_EQ(KorvIsImmediateData("C:\\data"), 0u);
    EXPECT_EQ(KorvIsImmediateData("C:\\1 2"), 0u);
    EXPECT_EQ(KorvIsImmediateData(""), 0u);
    EXPECT_EQ(KorvIsImmediateData(nullptr), 0u);
    EXPECT_EQ(KorvIsImmediateData("img 1 2"), 1u);     // a quarter of digits is enough
    EXPECT_EQ(KorvIsImmediateData("img one 2"), 0u);
    EXPECT_EQ(KorvIsImmediateData("data file.txt"), 0u);
    // Any slash raises the threshold to three quarters of the length.
    EXPECT_EQ(KorvIsImmediateData("1 2/3"), 0u);       // 3 digits < 5 - 1
    EXPECT_EQ(KorvIsImmediateData("10 20/30"), 1u);    // 6 digits >= 8 - 2
}
