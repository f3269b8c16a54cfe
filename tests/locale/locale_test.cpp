// The engine and user locales, and the number readers that ignore both.
#include "kvsup.h"

#include "core/alloc_testing.h"

#include <gtest/gtest.h>

#include <math.h>
#include <string>

namespace {

std::string texts(const KorvLocale *l)
{
    return std::string(l->decimalPoint) + "|" + l->thousandsSep + "|" + l->grouping;
}

} // namespace

TEST(Locale, EngineLocaleIsFixed)
{
    const KorvLocale *engine = KorvGetKorvaneLocale();
    EXPECT_EQ(texts(engine), ".|,|");
    KorvLocale german = {",", ".", "3;0"};
    KorvSetUserLocale(&german);
    EXPECT_EQ(KorvGetKorvaneLocale(), engine);
    EXPECT_EQ(texts(engine), ".|,|");
    KorvaneCleanup();
}

TEST(Locale, SetUserLocaleKeepsCopies)
{
    char point[] = ",";
    KorvLocale mine = {point, nullptr, "3;2;0"};
    KorvSetUserLocale(&mine);
    point[0] = '!';
    const KorvLocale *user = KorvGetUserLocale();
    EXPECT_EQ(texts(user), ",|,|3;2;0"); // a missing text takes the engine's
    EXPECT_NE(user->grouping, mine.grouping);

    KorvSetUserLocale(nullptr); // ignored
    EXPECT_EQ(texts(KorvGetUserLocale()), ",|,|3;2;0");
    KorvaneCleanup();
}

TEST(Locale, SetLocaleOutlivesEngineEndButNotFinalCleanup)
{
    KorvaneCleanup();
    KorvLocale mine = {"#", "_", "4"};
    KorvSetUserLocale(&mine);
    EXPECT_EQ(KorvaneEnd(), 1u);
    EXPECT_EQ(KorvaneInit(), 1u);
    EXPECT_EQ(texts(KorvGetUserLocale()), "#|_|4");

    KorvaneCleanup();
    EXPECT_NE(texts(KorvGetUserLocale()), "#|_|4"); // asked the platform again
}

TEST(Locale, PlatformLocaleIsReleasedAtEngineEnd)
{
    KorvaneCleanup();
    std::string platform = texts(KorvGetUserLocale());
    KorvLocale mine = {"#", "_", "4"};
    KorvSetUserLocale(&mine); // already filled: no registration of its own
    EXPECT_EQ(KorvaneEnd(), 1u);
    EXPECT_EQ(KorvaneInit(), 1u);
    EXPECT_EQ(texts(KorvGetUserLocale()), platform);
    KorvaneCleanup();
}

TEST(Locale, CopiesThatCannotBeMadeFallBackToEngineTexts)
{
    KorvaneCleanup();
    KorvLocale mine = {"#", "_", "4"};
    for (unsigned long n = 1; n <= 3; n++) {
        korv_testing_fail_alloc(n);
        KorvSetUserLocale(&mine);
        korv_testing_fail_alloc(0);
        const KorvLocale *user = KorvGetUserLocale();
        std::string expected = n == 1 ? ".|_|4" : n == 2 ? "#|,|4" : "#|_|";
        EXPECT_EQ(texts(user), expected) << n;
        KorvaneCleanup();
    }
}

// Run with LC_ALL naming a locale that does not exist: the C library has no
// data for it, while Windows falls back to its own default locale.
TEST(IsolatedLocaleUnknown, QueryFailureGivesEngineValues)
{
#ifdef _WIN32
    const char *expected = ".|,|3;0";
#else
    const char *expected = ".|,|";
#endif
    EXPECT_EQ(texts(KorvGetUserLocale()), expected);
}

TEST(IsolatedLocaleC, PlatformValues)
{
#ifdef _WIN32
    const char *expected = ".|,|3;0";
#else
    const char *expected = ".||";
#endif
    EXPECT_EQ(texts(KorvGetUserLocale()), expected);
}

TEST(NumberReaders, Integers)
{
    const char *end = nullptr;
    const char *text = "  -42abc";
    EXPECT_EQ(KorvReadInt32(text, &end), -42);
    EXPECT_EQ(end, text + 5);
    text = "\t+7";
    EXPECT_EQ(KorvReadInt32(text, &end), 7);
    EXPECT_EQ(end, text + 3);
    text = " -x";
    EXPECT_EQ(KorvReadInt32(text, &end), 0);
    EXPECT_EQ(end, text + 2); // after the sign
    EXPECT_EQ(KorvReadInt32("2147483648", nullptr), INT32_MIN);
    EXPECT_EQ(KorvReadInt32("4294967297", nullptr), 1);
    EXPECT_EQ(KorvReadInt32(nullptr, &end), 0);
    EXPECT_EQ(end, nullptr);
}

TEST(NumberReaders, DecimalDoubles)
{
    struct Case {
        const char *text;
        double value;
        int used;
    } cases[] = {
        {"1.25e3", 1250, 6},   {"1.25D3", 1250, 6},    {"-2.5d-1x", -0.25, 7},
        {"+.5", 0.5, 3},       {"7e", 7, 2},           {"7E+", 7, 3},
        {" 1", 0, 0},          {"-", -0.0, 1},         {"12,5", 12, 2},
        {"1e-3", 0.001, 4},    {"0.000001", 1e-6, 8},  {"-0x10", -0.0, 2},
    };
    for (const Case &c : cases) {
        const char *end = nullptr;
        EXPECT_DOUBLE_EQ(KorvReadDouble(c.text, &end), c.value) << c.text;
        EXPECT_EQ(end - c.text, c.used) << c.text;
    }
    EXPECT_TRUE(isinf(KorvReadDouble("1e400", nullptr)));
    EXPECT_EQ(KorvReadDouble("1e-400", nullptr), 0.0);
}

TEST(NumberReaders, HexadecimalDoubles)
{
    struct Case {
        const char *text;
        double value;
        int used;
    } cases[] = {
        {"0x0.C", 0.75, 5},   {"0x1.8p3", 12, 7},  {"0x1p4", 1, 3},
        {"0XfF", 255, 4},     {"0x.8p-1", 0.25, 7}, {"0x", 0, 2},
        {"0x2.p", 2, 5},
    };
    for (const Case &c : cases) {
        const char *end = nullptr;
        EXPECT_DOUBLE_EQ(KorvReadDouble(c.text, &end), c.value) << c.text;
        EXPECT_EQ(end - c.text, c.used) << c.text;
    }
}
