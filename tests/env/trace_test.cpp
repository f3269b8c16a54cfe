// The lookup trace and the table's clean-up messages (run with KVENV_DEBUG,
// QRN_RELEASE and KV_RELEASE set).
#include "env/env_test_util.h"


namespace {

std::string g_log;

void collect(const char *text, int32_t, void *) { g_log += text; }

} // namespace

TEST(IsolatedEnvTrace, MessagesOfEachLayer) {
    KorvSetLoggingCallback(collect, nullptr);
    set_process_env("TEMP", nullptr);

    EXPECT_STREQ(KorvGetenv("KV_RELEASE"), "release-dir");
    EXPECT_STREQ(KorvGetenv("KVTOP"), "release-dir");
    EXPECT_STREQ(KorvGetenv("KV_ROTATE_BUFFERSIZE"), "4096");
    KorvSetenv("TEMP", "tmpdir");
    EXPECT_STREQ(KorvGetenv("KORV_TEMP"), "tmpdir");
    EXPECT_EQ(g_log,
              "KorvGetenv: Overriding KV_RELEASE with QRN_RELEASE\n"
              "KorvGetenv: Overriding KVTOP with QRN_RELEASE\n"
              "KorvGetenv: didn't find KV_ROTATE_BUFFERSIZE, defaulting to 4096\n"
              "KorvGetenv: didn't find KORV_TEMP, using TEMP\n");

    g_log.clear();
    KorvaneCleanup();
    // Newest record first.
    EXPECT_NE(g_log.find("Cleaning up EnvVar TEMP=tmpdir\n"
                         "Cleaning up EnvVar KVTOP=release-dir\n"
                         "Cleaning up EnvVar KV_RELEASE=release-dir\n"),
              std::string::npos)
        << g_log;
    KorvSetLoggingCallback(nullptr, nullptr);
}

TEST(IsolatedEnvTrace, FindFileTraceGoesToStandardError) {
    EnvScratch d("find_trace");
    std::string f = d.write("t.dat", "");
    std::string os = KorvGetenv("KV_OS");
    testing::internal::CaptureStderr();
    char *found = KorvFindFile("t", "dat", d.dir().c_str());
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(take(found), f);
    EXPECT_EQ(err, "KorvFindFile: checking <" + d.file("t." + os + ".dat") + "> -- (not)\n" +
                       "KorvFindFile: checking <" + f + "> -- (found)\n");
}
