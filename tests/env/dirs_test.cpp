// Directories, file operations and path normalisation.
#include "env/env_test_util.h"
#include "core/alloc_testing.h"

#include <algorithm>
#include <set>
#include <sstream>

TEST(Dirs, MkDirResults) {
    EnvScratch d("mkdir");
    std::string deep = d.file("a/b/c");
    EXPECT_EQ(KorvMkDir(d.dir().c_str(), 0), 0xFFFFFFFFu);
    EXPECT_EQ(KorvMkDir(d.file("a").c_str(), 0), 1u);
    EXPECT_EQ(KorvMkDir(deep.c_str(), 0), 0u);
    EXPECT_EQ(KorvIdentifyFile(d.file("a/b").c_str()), 2u);
    EXPECT_EQ(KorvMkDir(deep.c_str(), 1), 1u);
    EXPECT_EQ(KorvIdentifyFile(deep.c_str()), 1u);
    EXPECT_EQ(KorvMkDir(deep.c_str(), 1), 0xFFFFFFFFu);
    // A file in the way is a failure.
    std::string f = d.write("file", "");
    EXPECT_EQ(KorvMkDir((f + KORV_PATH_SEP + "x" + KORV_PATH_SEP + "y").c_str(), 1), 0u);
}

TEST(Dirs, OpenDirHandsOutEveryEntry) {
    EnvScratch d("opendir");
    d.write("f1", "");
    d.write("f2", "");
    KorvDir *dir = KorvOpenDir(d.dir().c_str());
    ASSERT_NE(dir, nullptr);
    std::multiset<std::string> names;
    while (char *name = KorvNextDir(dir))
        names.insert(take(name));
    EXPECT_EQ(names, (std::multiset<std::string>{".", "..", "f1", "f2"}));
    EXPECT_EQ(KorvNextDir(dir), nullptr); // stays at the end
    EXPECT_EQ(dir->free(dir), 1u);

    EXPECT_EQ(KorvNextDir(nullptr), nullptr);
    EXPECT_EQ(KorvOpenDir(d.file("none").c_str()), nullptr);
}

TEST(Dirs, ListDirLeavesOutDotsAndFlagsDirectories) {
    EnvScratch d("listdir");
    uint32_t count = 99;
    KorvDirEntry **list = nullptr;
    ASSERT_EQ(KorvListDir(d.dir().c_str(), &count, &list), 1u);
    EXPECT_EQ(count, 0u);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list[0], nullptr);
    KorvFreeSmartArray(reinterpret_cast<void **>(list));

    d.write("file", "");
    std::filesystem::create_directory(d.path / "sub");
    ASSERT_EQ(KorvListDir(d.dir().c_str(), &count, &list), 1u);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(list[2], nullptr);
    std::set<std::pair<std::string, uint32_t>> got;
    for (uint32_t i = 0; i < count; i++)
        got.insert({list[i]->name, list[i]->isDirectory});
    EXPECT_EQ(got, (std::set<std::pair<std::string, uint32_t>>{{"file", 0}, {"sub", 1}}));
    KorvDirEntry *copy = list[0]->copy(list[0]);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy->name, list[0]->name);
    copy->free(copy);
    KorvFreeSmartArray(reinterpret_cast<void **>(list));

    EXPECT_EQ(KorvListDir(d.file("none").c_str(), &count, &list), 0u);
    // Every allocation failure gives 0 and leaks nothing.
    for (unsigned long n = 1; n <= 8; n++) {
        korv_testing_fail_alloc(n);
        uint32_t r = KorvListDir(d.dir().c_str(), &count, &list);
        korv_testing_fail_alloc(0);
        if (r == 1)
            KorvFreeSmartArray(reinterpret_cast<void **>(list));
    }
}

TEST(Dirs, DeleteRenameCopy) {
    EnvScratch d("fileops");
    std::string a = d.write("a", "alpha");
    std::string b = d.write("b", "beta");
    std::string c = d.file("c");
    auto read = [](const std::string &p) {
        std::ifstream in(p, std::ios::binary);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    };

    EXPECT_EQ(KorvCopyFile(b.c_str(), a.c_str(), 0), 0xFFFFFFFFu);
    EXPECT_EQ(read(b), "beta");
    EXPECT_EQ(KorvCopyFile(b.c_str(), a.c_str(), 1), 1u);
    EXPECT_EQ(read(b), "alpha");
    EXPECT_EQ(KorvCopyFile(c.c_str(), d.file("none").c_str(), 1), 0xFFFFFFFFu);

    EXPECT_EQ(KorvRenameFile(b.c_str(), c.c_str()), 1u);
    EXPECT_EQ(KorvIdentifyFile(b.c_str()), 2u);
    EXPECT_EQ(read(c), "alpha");
    EXPECT_EQ(KorvRenameFile(b.c_str(), c.c_str()), 0xFFFFFFFFu);

    EXPECT_EQ(KorvDeleteFile(c.c_str()), 1u);
    EXPECT_EQ(KorvDeleteFile(c.c_str()), 0xFFFFFFFFu);
    std::filesystem::create_directory(d.path / "sub");
    EXPECT_EQ(KorvDeleteFile(d.file("sub").c_str()), 1u);
    EXPECT_EQ(KorvIdentifyFile(d.file("sub").c_str()), 2u);
    EXPECT_EQ(KorvDeleteFile(nullptr), 0u);
}

TEST(RealPath, Normalisation) {
    // Inputs and results written with '/', read with this platform's
    // separator.
    struct Case {
        const char *in;
        const char *out;
    } cases[] = {
        {"x/./y//z/../w", "x/y/w"},
        {"./a/b/", "a/b"},
        {"a/../b", "b"},
        {"../a", "../a"},
        {"../../a/..", "../.."},
        {"a/b/../..", "."},
        {"", "."},
        {".", "."},
    };
    for (const Case &c : cases)
        EXPECT_EQ(take(KorvRealPath(sep(c.in).c_str(), 0, 0)), sep(c.out)) << c.in;

    // The root: lower-case drive on one system, '/' on the other.
    std::string root = KORV_PATH_SEP == '/' ? "/" : "c:\\";
    EXPECT_EQ(take(KorvRealPath((root + "x/./y//z/../w").c_str(), 0, 0)), root + sep("x/y/w"));
    EXPECT_EQ(KorvRealPath((root + "..").c_str(), 0, 0), nullptr);
    EXPECT_EQ(KorvRealPath((root + sep("a/../..")).c_str(), 0, 0), nullptr);
    EXPECT_EQ(take(KorvRealPath(root.c_str(), 0, 0)), root);
    EXPECT_EQ(KorvRealPath(nullptr, 0, 0), nullptr);
}

TEST(RealPath, MakeAbsolute) {
    std::string abs = take(KorvRealPath(sep("kvtest_a/./b").c_str(), 1, 0));
    std::string tail = sep("/kvtest_a/b");
    ASSERT_GT(abs.size(), tail.size());
    EXPECT_EQ(abs.substr(abs.size() - tail.size()), tail);
    EXPECT_TRUE(abs[0] == '/' || abs[1] == ':') << abs;
}

TEST(RealPath, LongNamesOfAnExistingDirectory) {
    EnvScratch d("realpath_long");
    std::filesystem::create_directory(d.path / "sub");
    EXPECT_EQ(take(KorvRealPath((d.dir() + sep("/./sub/")).c_str(), 0, 1)), d.file("sub"));
}
