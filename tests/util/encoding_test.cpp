#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <kvsup.h>
#include "core/alloc_testing.h"

namespace {

// Text converted to the encoding and its length; "<null>" on failure.
std::string to(const char *text, const char *encoding, int32_t *length = nullptr)
{
    char *s = KorvUTF8ConvertTo(text, encoding, length);
    if (!s)
        return "<null>";
    std::string r(s);
    korv_internal_free(s);
    return r;
}

std::string from(const char *text, int32_t length, const char *encoding)
{
    char *s = KorvUTF8ConvertFrom(text, length, encoding);
    if (!s)
        return "<null>";
    std::string r(s);
    korv_internal_free(s);
    return r;
}

} // namespace

TEST(Encodings, NamesWithoutRegardToCase)
{
    int32_t length = -5;
    EXPECT_EQ(to("\xC3\xA9t\xC3\xA9", "cp1252", &length), "\xE9t\xE9");
    EXPECT_EQ(length, 3);
    EXPECT_EQ(to("\xC3\xA9", "CP1252"), "\xE9");
    EXPECT_EQ(to("\xC3\xA9", "Cp850"), "\x82");
    EXPECT_EQ(to("a\xC3\xA9", "UTF-8", &length), "a\xC3\xA9");
    EXPECT_EQ(length, 3);
    EXPECT_EQ(to("a", "utf8"), "a");
    EXPECT_EQ(to("a", nullptr), "a");
    EXPECT_EQ(to("ascii", "acp"), "ascii");
    EXPECT_EQ(to("ascii", "OEMCP"), "ascii");
    EXPECT_EQ(to("\xE2\x82\xAC", "CP65001"), "\xE2\x82\xAC");

    length = 7;
    EXPECT_EQ(to("a", "latin1", &length), "<null>");
    EXPECT_EQ(length, 0);
    EXPECT_EQ(to("a", "CP"), "<null>");
    EXPECT_EQ(to("a", "CP12x"), "<null>");
    EXPECT_EQ(to("a", "CP0"), "<null>");       // the platform's alias of the ANSI page
    EXPECT_EQ(to("a", "CP99999"), "<null>");
    EXPECT_EQ(to("a", "CP1"), "<null>");
    EXPECT_EQ(to(nullptr, "CP1252"), "<null>");
}

TEST(Encodings, CodePagesToUtf8)
{
    EXPECT_EQ(from("\xE9t\xE9", -1, "CP1252"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(from("\xE9t\xE9", 0, "cp1252"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(from("\xE9t\xE9", 2, "CP1252"), "\xC3\xA9t");   // the given length only
    EXPECT_EQ(from("\xE9t\xE9", 99, "CP1252"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(from("\x80", -1, "CP1252"), "\xE2\x82\xAC");
    EXPECT_EQ(from("\x82", -1, "CP437"), "\xC3\xA9");
    EXPECT_EQ(from("", -1, "CP1252"), "");
    EXPECT_EQ(from("plain", -1, "ACP"), "plain");
    // UTF-8 in, UTF-8 out: a copy of at most length bytes.
    EXPECT_EQ(from("abc", 2, "utf-8"), "ab");
    EXPECT_EQ(from("abc", -1, nullptr), "abc");
    EXPECT_EQ(from("a", -1, "latin1"), "<null>");
    EXPECT_EQ(from(nullptr, -1, "CP1252"), "<null>");
}

TEST(Encodings, UnrepresentableCharacters)
{
    // A character the page lacks becomes its default character.
    EXPECT_EQ(to("a\xE4\xB8\xAD" "b", "CP1252"), "a?b");
    // A bad UTF-8 sequence ends the text, as in the UTF-16 conversion.
    EXPECT_EQ(to("ab\xFF" "cd", "CP1252"), "ab");
}

TEST(Encodings, FileNames)
{
    EXPECT_EQ(KorvUTF8GetFilenameEncoding(), nullptr);
    char *name = KorvUTF8ConvertToFilename("d\xC3\xA9j\xC3\xA0");
    EXPECT_STREQ(name, "d\xC3\xA9j\xC3\xA0"); // UTF-8 by default: a plain copy
    korv_internal_free(name);
    EXPECT_EQ(KorvUTF8ConvertToFilename(nullptr), nullptr);
    EXPECT_EQ(KorvUTF8ConvertFromFilename(nullptr), nullptr);

    EXPECT_EQ(KorvUTF8SetFilenameEncoding("latin1"), 0u);
    EXPECT_EQ(KorvUTF8SetFilenameEncoding("cp1252"), 1u);
    EXPECT_STREQ(KorvUTF8GetFilenameEncoding(), "cp1252");
    name = KorvUTF8ConvertToFilename("d\xC3\xA9j\xC3\xA0");
    EXPECT_STREQ(name, "d\xE9j\xE0");
    char *back = KorvUTF8ConvertFromFilename(name);
    EXPECT_STREQ(back, "d\xC3\xA9j\xC3\xA0");
    korv_internal_free(name);
    korv_internal_free(back);
    EXPECT_EQ(KorvUTF8SetFilenameEncoding(nullptr), 1u);
    EXPECT_EQ(KorvUTF8GetFilenameEncoding(), nullptr);
}

TEST(Encodings, AllocationFailures)
{
    for (unsigned long n = 1; n <= 3; n++) {
        korv_testing_fail_alloc(n);
        char *s = KorvUTF8ConvertTo("\xC3\xA9t\xC3\xA9", "CP1252", nullptr);
        korv_testing_fail_alloc(0);
        if (s) // a later allocation than the conversion made
            korv_internal_free(s);
    }
    for (unsigned long n = 1; n <= 3; n++) {
        korv_testing_fail_alloc(n);
        char *s = KorvUTF8ConvertFrom("\xE9t\xE9", -1, "CP1252");
        korv_testing_fail_alloc(0);
        if (s)
            korv_internal_free(s);
    }
    korv_testing_fail_alloc(1);
    EXPECT_EQ(KorvUTF8ConvertTo("a", "utf8", nullptr), nullptr);
    korv_testing_fail_alloc(0);
}
