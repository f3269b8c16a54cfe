#include "cm_test_io.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using Tokens = std::vector<std::pair<int, std::string>>;

// Every token of a document, up to and including the end or failure code.
Tokens tokens(const std::string &doc, bool old = false)
{
    TestIO in(doc);
    Tokens all;
    for (int guard = 0; guard < 100; guard++) {
        TestIO out;
        int code = old ? KorvReadOldUserCM(in.io(), out.io()) : KorvReadUserCM(in.io(), out.io());
        all.emplace_back(code, out.out);
        if (code == 'e' || code == 'E')
            break;
    }
    return all;
}

struct Case {
    const char *name;
    std::string doc;
    Tokens want;
};

void check(const std::vector<Case> &cases, bool old)
{
    for (const Case &c : cases)
        EXPECT_EQ(tokens(c.doc, old), c.want) << c.name;
}

TEST(CMTokenizer, BareWordsHeadersAndComments)
{
    check({
        {"comment after value keeps spaces", "key: value  # note\nnext",
         {{'l', "key"}, {'p', "value  "}, {'p', "next"}, {'e', ""}}},
        {"colon in a comment ends the word", "a # see: b\n", {{'l', "a "}, {'p', "b"}, {'e', ""}}},
        {"only whitespace and comments", " \t# only\n\f# more", {{'e', ""}}},
        {"assignment", "name=val\n", {{'a', "name"}, {'p', "val"}, {'e', ""}}},
        {"= stops a header", "[a=b]", {{'n', "a"}, {'p', "b]"}, {'e', ""}}},
        {"header keeps newline and hash", "<a\nb#c>[]", {{'x', "a\nb#c"}, {'n', ""}, {'e', ""}}},
        {"backslash carries a word over", "one\\\ntwo\n", {{'p', "one\ntwo"}, {'e', ""}}},
        {"escaped colon and hash", "a\\:b\\#c: d", {{'l', "a:b#c"}, {'p', "d"}, {'e', ""}}},
        {"first byte is taken as it stands", ":x\n\\y\n", {{'p', ":x"}, {'p', "\\y"}, {'e', ""}}},
        {"quoted section copied plainly", "w \"a:b#c\\\nd\" x: 1",
         {{'l', "w \"a:b#c\\\nd\" x"}, {'p', "1"}, {'e', ""}}},
        {"unterminated quoted section", "w \"ab", {{'p', "w \"ab"}, {'e', ""}}},
        {"carriage returns dropped", "a\r\nb:\r c\r", {{'p', "a"}, {'l', "b"}, {'p', "c"}, {'e', ""}}},
        {"0xFF reads as end of input", "ab\xff" "cd", {{'p', "ab"}, {'p', "cd"}, {'e', ""}}},
        {"backslash before end of input", "ab\\", {{'p', "ab"}, {'e', ""}}},
    }, false);
}

TEST(CMTokenizer, Strings)
{
    std::string longer = "\"" + std::string(29, 'a') + "\\b" + "\\c\\\"d\"";
    check({
        {"empty", "\"\"", {{'s', ""}, {'e', ""}}},
        {"unterminated", "\"abc", {{'s', "abc"}, {'e', ""}}},
        {"backslash kept before any colon", "\"dir\\file\"", {{'s', "dir\\file"}, {'e', ""}}},
        {"escapes start at the colon", "\"C:\\dir\"", {{'s', "C:dir"}, {'e', ""}}},
        {"escaped quotes", "\"a:\\\"b\\\\\"c\" x", {{'s', "a:\"b\"c"}, {'p', "x"}, {'e', ""}}},
        {"escaped quote then end", "\"a:\\\"\"", {{'s', "a:\""}, {'e', ""}}},
        // 29 a's and the backslash fill the 31-byte scratch; escapes start with 'b'.
        {"escapes start after 31 bytes", longer, {{'s', std::string(29, 'a') + "\\bc\"d"}, {'e', ""}}},
    }, false);
}

TEST(CMTokenizer, InlineData)
{
    check({
        {"three bytes", "\"<<<<Base64Data:QUJD>>>>\"x\n", {{'d', "ABC"}, {'p', "x"}, {'e', ""}}},
        {"one pad still gives three bytes", "\"<<<<base64data:QUI=>>>>\"",
         {{'d', std::string("AB\0", 3)}, {'e', ""}}},
        {"two pads give one byte", "\"<<<<BASE64DATA:QQ==>>>>\"", {{'d', "A"}, {'e', ""}}},
        {"line break decoded as data", "\"<<<<Base64Data:QU\nJ>>>>\"", {{'d', "\x41\x40\x09"}, {'e', ""}}},
        {"short group", "\"<<<<Base64Data:QUJDQU", {{'E', "ABC"}}},
        {"marker alone at end", "\"<<<<Base64Data", {{'E', ""}}},
        {"marker closed by a quote", "\"<<<<Base64Data\"QUJD>>>>\"", {{'d', "ABC"}, {'e', ""}}},
        {"not the marker", "\"<<<<Base64:x\"", {{'s', "<<<<Base64:x"}, {'e', ""}}},
    }, false);
}

TEST(CMTokenizer, BraceBlocks)
{
    check({
        {"nested", "{a{b}c}\nx", {{'p', "{a{b}c}"}, {'p', "x"}, {'e', ""}}},
        {"carriage return dropped", "{a\r\n}\r\n", {{'p', "{a\n}"}, {'e', ""}}},
        {"ends exactly at the brace", "{a{b}c}", {{'E', "{a{b}c}"}}},
        {"unbalanced", "{a{b}", {{'E', "{a{b}"}}},
        {"0xFF inside", "{a\xff}\n", {{'E', "{a"}}},
    }, false);
}

TEST(CMTokenizer, OldDialect)
{
    check({
        {"single-quoted with escape", "'it\\'s'", {{'s', "it's"}, {'e', ""}}},
        {"empty", "''\"\"", {{'s', ""}, {'s', ""}, {'e', ""}}},
        {"escapes from the first byte", "\"a\\b'c\"", {{'s', "ab'c"}, {'e', ""}}},
        {"no = rule", "x=1\n<a=b>", {{'p', "x=1"}, {'x', "a=b"}, {'e', ""}}},
        {"no brace blocks", "{a: b", {{'l', "{a"}, {'p', "b"}, {'e', ""}}},
        {"no inline data", "\"<<<<Base64Data:QUJD>>>>\"", {{'s', "<<<<Base64Data:QUJD>>>>"}, {'e', ""}}},
        {"both quote kinds copied in words", "w 'a:b' \"c:d\": 1",
         {{'l', "w 'a:b' \"c:d\""}, {'p', "1"}, {'e', ""}}},
    }, true);
}

TEST(CMTokenizer, FailingWritesFailTheToken)
{
    for (const char *doc : {"word\n", "\"str\"", "<hdr>", "{b}\n", "\"<<<<Base64Data:QUJD>>>>\""}) {
        TestIO in(doc), out;
        out.write_budget = 1;
        EXPECT_EQ(KorvReadUserCM(in.io(), out.io()), 'E') << doc;
    }
    TestIO in("x"), out;
    EXPECT_EQ(KorvReadUserCM(nullptr, out.io()), 'E');
    EXPECT_EQ(KorvReadUserCM(in.io(), nullptr), 'E');
}

TEST(CMTokenizer, HugeTokenIsWrittenWhole)
{
    std::string word(100000, 'w');
    EXPECT_EQ(tokens(word + ":"), (Tokens{{'l', word}, {'e', ""}}));
}

} // namespace
