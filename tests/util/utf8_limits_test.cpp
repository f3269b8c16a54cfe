// Character counts and lengths of texts beyond what a 32-bit signed count
// holds: the count stops at its largest value and length-reporting
// conversions fail, never wrap to a negative number.
#include <gtest/gtest.h>

#include <kvsup.h>

#include <cstdlib>
#include <cstring>

TEST(IsolatedUTF8Limits, CountsStopAtTheLargestValue) {
    const size_t n = (size_t)INT32_MAX + 3;
    char *s = static_cast<char *>(std::malloc(n + 1));
    ASSERT_NE(s, nullptr);
    std::memset(s, 'a', n);
    s[n] = '\0';
    EXPECT_EQ(KorvUTF8StrLen(s), INT32_MAX);

    int32_t length = 7;
    EXPECT_EQ(KorvUTF8ConvertTo(s, "utf-8", &length), nullptr);
    EXPECT_EQ(length, 0);
    std::free(s);
}
