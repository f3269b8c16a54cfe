// Settings lookup, its table and string expansion.
#include "env/env_test_util.h"
#include "core/alloc_testing.h"

#include <cstring>

TEST(Getenv, DefaultsTableAndRemoval) {
    EXPECT_EQ(KorvGetenv(nullptr), nullptr);
    EXPECT_STREQ(KorvGetenv("KORV_MEMORY_MAX"), "15360");
    EXPECT_STREQ(KorvGetenv("KV_VERS"), "5.19.0");
    EXPECT_STREQ(KorvGetenv("KV_COLORPREFS_TODEVICECMYK"), "cmykLinear");
    EXPECT_EQ(KorvGetenv("KVTEST_NEVER_SET_ANYWHERE"), nullptr);

    // The system's own defaults.
    const bool posix = KORV_PATH_SEP == '/';
    set_process_env("QRN_OS", nullptr);
    set_process_env("QRN_DATA_PATH", nullptr);
    EXPECT_STREQ(KorvGetenv("QRN_OS"), posix ? "linux" : "nt");
    EXPECT_EQ(std::string(KorvGetenv("QRN_DATA_PATH")),
              sep(".,${HOME},${HOME}/data,${HOME}/.kvdata,${QRN_RELEASE}/data"));

    KorvSetenv("KORV_MEMORY_MAX", "100");
    EXPECT_STREQ(KorvGetenv("KORV_MEMORY_MAX"), "100");
    KorvSetenv("KORV_MEMORY_MAX", "200");
    EXPECT_STREQ(KorvGetenv("KORV_MEMORY_MAX"), "200");
    KorvSetenv("KORV_MEMORY_MAX", nullptr);
    EXPECT_STREQ(KorvGetenv("KORV_MEMORY_MAX"), "15360");
    KorvSetenv("KVTEST_ABSENT", nullptr); // removing an absent name is harmless
    KorvSetenv(nullptr, "x");
}

TEST(Getenv, ProcessValueIsReadOnceAndSetenvWins) {
    set_process_env("KVTEST_PROC", "first");
    EXPECT_STREQ(KorvGetenv("KVTEST_PROC"), "first");
    set_process_env("KVTEST_PROC", "second");
    EXPECT_STREQ(KorvGetenv("KVTEST_PROC"), "first");
    KorvSetenv("KVTEST_PROC", "mine");
    EXPECT_STREQ(KorvGetenv("KVTEST_PROC"), "mine");
    // Removing the stored value sends the next lookup to the system again.
    KorvSetenv("KVTEST_PROC", nullptr);
    EXPECT_STREQ(KorvGetenv("KVTEST_PROC"), "second");
    set_process_env("KVTEST_PROC", nullptr);
}

TEST(Getenv, OverridesAndFallbacks) {
    set_process_env("KV_DATA_PATH", "plain");
    set_process_env("QRN_DATA_PATH", "override");
    EXPECT_STREQ(KorvGetenv("KV_DATA_PATH"), "override");

    // USER falls back to LOGNAME; the value is not stored under USER.
    set_process_env("USER", nullptr);
    set_process_env("LOGNAME", "someone");
    EXPECT_STREQ(KorvGetenv("USER"), "someone");
    KorvSetenv("LOGNAME", "other");
    EXPECT_STREQ(KorvGetenv("USER"), "other");
}

TEST(Getenv, ReleaseDerivedFromExecutable) {
    set_process_env("QRN_RELEASE", nullptr);
    set_process_env("KV_RELEASE", nullptr);
    const char *exe = KorvGetExecutablePath();
    ASSERT_NE(exe, nullptr);
    EXPECT_EQ(KorvIdentifyFile(exe), 1u);
    // The test program lives in <build>/tests: the release is <build>.
    std::string expect(exe);
    expect = expect.substr(0, expect.rfind(KORV_PATH_SEP));
    std::string last = expect.substr(expect.rfind(KORV_PATH_SEP) + 1);
    if (last == "bin" || last == "lib" || last == "output")
        expect = expect.substr(0, expect.rfind(KORV_PATH_SEP));
    ASSERT_NE(KorvGetenv("QRN_RELEASE"), nullptr);
    EXPECT_EQ(std::string(KorvGetenv("QRN_RELEASE")), expect);
    EXPECT_EQ(KorvGetenv("QRN_RELEASE"), KorvGetenv("KV_RELEASE"));
}

TEST(Getenv, SystemValues) {
    set_process_env("HOME", nullptr);
    EXPECT_STREQ(KorvGetenv("HOME"), ".");
    ASSERT_NE(KorvGetenv("PWD"), nullptr);
    EXPECT_EQ(KorvIdentifyFile(KorvGetenv("PWD")), 1u);
    EXPECT_EQ(take(KorvExpandString("${HOME}/x")), sep("./x"));
}

TEST(Getenv, CleanupEmptiesTableAndRegistersAgain) {
    KorvSetenv("KVTEST_CLEAN", "v");
    ASSERT_EQ(KorvaneCleanup(), 1u);
    EXPECT_EQ(KorvGetenv("KVTEST_CLEAN"), nullptr);
    KorvSetenv("KVTEST_CLEAN", "w");
    EXPECT_STREQ(KorvGetenv("KVTEST_CLEAN"), "w");
    KorvaneCleanup();
    EXPECT_EQ(KorvGetenv("KVTEST_CLEAN"), nullptr);
}

TEST(Expand, ReferencesAndSeparators) {
    KorvSetenv("KVTEST_DIR", "/p/q");
    KorvSetenv("KVTEST_REF", "${KVTEST_DIR}");
    // Brace-less names end at '/', which is kept; the string's own '/'
    // become separators, values stay as they are.
    EXPECT_EQ(take(KorvExpandString("a/$KVTEST_DIR/b")), sep("a/") + "/p/q" + sep("/b"));
    EXPECT_EQ(take(KorvExpandString("x${KVTEST_DIR}y")), "x/p/qy");
    EXPECT_EQ(take(KorvExpandString("$KVTEST_REF")), "${KVTEST_DIR}");
    EXPECT_EQ(take(KorvExpandString("${KVTEST_DIR")), "/p/q"); // open at the end
    EXPECT_EQ(take(KorvExpandString("a${KVTEST_UNSET}b")), "ab");

    // Empty results are null.
    EXPECT_EQ(KorvExpandString(""), nullptr);
    EXPECT_EQ(KorvExpandString("${KVTEST_UNSET}$KVTEST_UNSET2"), nullptr);
    EXPECT_EQ(KorvExpandString(nullptr), nullptr);

    std::string longname(300, 'N');
    KorvSetenv(longname.c_str(), "long");
    EXPECT_EQ(take(KorvExpandString(("${" + longname + "}!").c_str())), "long!");
    EXPECT_EQ(take(KorvExpandString(("$" + longname).c_str())), "long");
}

TEST(Expand, AllocationFailureGivesNull) {
    KorvSetenv("KVTEST_DIR", "/p/q");
    for (unsigned long n = 1; n <= 3; n++) {
        korv_testing_fail_alloc(n);
        char *s = KorvExpandString("a${KVTEST_DIR}b");
        korv_testing_fail_alloc(0);
        EXPECT_EQ(s, nullptr) << n;
    }
}
