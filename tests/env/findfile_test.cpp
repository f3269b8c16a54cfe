// Data-file search and the file queries.
#include "env/env_test_util.h"

#include <ctime>

TEST(FindFile, AbsoluteNamesAreCopied) {
    EXPECT_EQ(take(KorvFindFile("C:/data/x.txt", "tbl", ".")), sep("C:/data/x.txt"));
    EXPECT_EQ(take(KorvFindFile("/nowhere/x", nullptr, ".")), sep("/nowhere/x"));
    EXPECT_EQ(KorvFindFile(nullptr, nullptr, "."), nullptr);
}

TEST(FindFile, VariantFirstThenPlainAlongThePath) {
    EnvScratch first("find_first"), second("find_second");
    std::string os = KorvGetenv("KV_OS");
    std::string path = first.dir() + "," + second.dir();

    second.write("table.tbl", "2");
    EXPECT_EQ(take(KorvFindFile("table", "tbl", path.c_str())), second.file("table.tbl"));
    first.write("table.tbl", "1");
    EXPECT_EQ(take(KorvFindFile("table", "tbl", path.c_str())), first.file("table.tbl"));
    first.write("table." + os + ".tbl", "1");
    EXPECT_EQ(take(KorvFindFile("table", "tbl", path.c_str())), first.file("table." + os + ".tbl"));

    // Without an extension; a directory of the name is not a match.
    second.write("plain", "");
    std::filesystem::create_directory(first.path / "plain");
    EXPECT_EQ(take(KorvFindFile("plain", nullptr, path.c_str())), second.file("plain"));
    EXPECT_EQ(KorvFindFile("missing", "tbl", path.c_str()), nullptr);

    // Entries are expanded; '/' in them becomes the separator.
    KorvSetenv("KVTEST_FIND_DIR", second.dir().c_str());
    EXPECT_EQ(take(KorvFindFile("plain", nullptr, "${KVTEST_FIND_DIR}")), second.file("plain"));
    EXPECT_EQ(take(KorvFindFile("plain", nullptr, "$KVTEST_FIND_DIR/")),
              second.dir() + KORV_PATH_SEP + KORV_PATH_SEP + "plain");

    // The default path comes from KV_DATA_PATH.
    KorvSetenv("KV_DATA_PATH", path.c_str());
    EXPECT_EQ(take(KorvFindFile("plain", nullptr, nullptr)), second.file("plain"));
    KorvSetenv("KV_DATA_PATH", nullptr);
}

TEST(FindFile, EmptyEntryMeansCurrentDirectory) {
    const char *name = "kvtest_find_here.dat";
    std::ofstream(name) << "x";
    EXPECT_EQ(take(KorvFindFile("kvtest_find_here", "dat", "nowhere,,")), name);
    std::filesystem::remove(name);
}

TEST(FindFile, NetworkPathsAreNeverSearched) {
    EnvScratch d("find_net");
    d.write("f.tbl", "");
    std::string dir = d.dir();
    // Two leading separators make a network name.
    std::string net = std::string(1, KORV_PATH_SEP) + dir;
    EXPECT_EQ(KorvFindFile("f", "tbl", net.c_str()), nullptr);
}

TEST(FileQueries, IdentifyAndAttributes) {
    EnvScratch d("queries");
    std::string f = d.write("five", "12345");
    EXPECT_EQ(KorvIdentifyFile(f.c_str()), 0u);
    EXPECT_EQ(KorvIdentifyFile(d.dir().c_str()), 1u);
    EXPECT_EQ(KorvIdentifyFile(d.file("none").c_str()), 2u);
    EXPECT_EQ(KorvIdentifyFile(nullptr), 2u);
    EXPECT_EQ(KorvIdentifyFile("\xff\xfe"), 2u); // not UTF-8

    uint64_t v = 0;
    EXPECT_EQ(KorvGetFileAttributes(f.c_str(), KORV_FILE_SIZE, &v), 1u);
    EXPECT_EQ(v, 5u);
    EXPECT_EQ(KorvGetFileAttributes(f.c_str(), KORV_FILE_WRITE_TIME, &v), 1u);
    uint64_t now = (uint64_t)time(nullptr) * 1000;
    EXPECT_LT(v > now ? v - now : now - v, 86400000u); // milliseconds since 1970
    EXPECT_EQ(KorvGetFileAttributes(f.c_str(), KORV_FILE_ACCESS_TIME, &v), 1u);
    EXPECT_EQ(KorvGetFileAttributes(f.c_str(), 3, &v), 0u);
    EXPECT_EQ(KorvGetFileAttributes(d.file("none").c_str(), KORV_FILE_SIZE, &v), 0xFFFFFFFFu);
}

TEST(FileQueries, SystemRoots) {
    char **roots = KorvGetSystemRoots();
    ASSERT_NE(roots, nullptr);
    ASSERT_NE(roots[0], nullptr);
    for (char **r = roots; *r; r++) {
        std::string s(*r);
        if (KORV_PATH_SEP == '/')
            EXPECT_EQ(s, "/");
        else
            EXPECT_TRUE(s.size() == 1 && s[0] >= 'A' && s[0] <= 'Z') << s;
    }
    KorvFreeArray(reinterpret_cast<void **>(roots));
}
