// File operations that must never lose data: copying a file onto itself,
// renaming onto an existing file, deleting links, absolute paths from the
// root directory.
#include "env/env_test_util.h"

#include <sstream>
#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#endif

namespace {

std::string read_all(const std::string &p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

} // namespace

TEST(FileSafety, CopyOntoItselfIsRefusedAndKeepsTheFile) {
    EnvScratch d("copy_self");
    std::string a = d.write("a", "alpha");
    EXPECT_EQ(KorvCopyFile(a.c_str(), a.c_str(), 1), 0xFFFFFFFFu);
    EXPECT_EQ(read_all(a), "alpha");
    EXPECT_EQ(KorvCopyFile(a.c_str(), a.c_str(), 0), 0xFFFFFFFFu);
    EXPECT_EQ(read_all(a), "alpha");

    // The same file under a second name.
    std::filesystem::create_hard_link(d.path / "a", d.path / "alias");
    std::string alias = d.file("alias");
    EXPECT_EQ(KorvCopyFile(alias.c_str(), a.c_str(), 1), 0xFFFFFFFFu);
    EXPECT_EQ(read_all(a), "alpha");
    EXPECT_EQ(read_all(alias), "alpha");
}

TEST(FileSafety, CopyOverwritesWholeAndLeavesNoStrayFiles) {
    EnvScratch d("copy_over");
    std::string big(200000, 'x');
    for (size_t i = 0; i < big.size(); i += 7)
        big[i] = static_cast<char>('a' + i % 26);
    std::string src = d.write("src", big);
    std::string dst = d.write("dst", "old and longer than nothing");
    EXPECT_EQ(KorvCopyFile(dst.c_str(), src.c_str(), 1), 1u);
    EXPECT_EQ(read_all(dst), big);
    // A fresh destination, and a failed copy (missing source) that creates
    // nothing.
    EXPECT_EQ(KorvCopyFile(d.file("new").c_str(), src.c_str(), 0), 1u);
    EXPECT_EQ(read_all(d.file("new")), big);
    EXPECT_EQ(KorvCopyFile(dst.c_str(), d.file("none").c_str(), 1), 0xFFFFFFFFu);
    EXPECT_EQ(read_all(dst), big);
    size_t entries = 0;
    for (auto &e : std::filesystem::directory_iterator(d.path)) {
        (void)e;
        entries++;
    }
    EXPECT_EQ(entries, 3u); // src, dst, new
#ifndef _WIN32
    // A copy that fails midway (here at the file size limit, as on a full
    // disk) leaves the old destination whole.
    std::string small = d.write("small", "small");
    struct rlimit saved;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    struct rlimit limit = saved;
    limit.rlim_cur = 100000;
    void (*old_handler)(int) = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    uint32_t r = KorvCopyFile(small.c_str(), src.c_str(), 1);
    setrlimit(RLIMIT_FSIZE, &saved);
    signal(SIGXFSZ, old_handler);
    EXPECT_EQ(r, 0xFFFFFFFFu);
    EXPECT_EQ(read_all(small), "small");
    entries = 0;
    for (auto &e : std::filesystem::directory_iterator(d.path)) {
        (void)e;
        entries++;
    }
    EXPECT_EQ(entries, 4u);
#endif
}

TEST(FileSafety, RenameNeverReplacesAnExistingFile) {
    EnvScratch d("rename_keep");
    std::string a = d.write("a", "alpha");
    std::string b = d.write("b", "beta");
    EXPECT_EQ(KorvRenameFile(a.c_str(), b.c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(read_all(a), "alpha");
    EXPECT_EQ(read_all(b), "beta");
    // A directory is renamed as well, and refused onto an existing one.
    std::filesystem::create_directory(d.path / "dir");
    std::filesystem::create_directory(d.path / "other");
    EXPECT_EQ(KorvRenameFile(d.file("dir").c_str(), d.file("moved").c_str()), 1u);
    EXPECT_EQ(KorvIdentifyFile(d.file("moved").c_str()), 1u);
    EXPECT_EQ(KorvRenameFile(d.file("moved").c_str(), d.file("other").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(KorvIdentifyFile(d.file("moved").c_str()), 1u);
}

TEST(FileSafety, DeletingALinkDeletesTheLinkOnly) {
    EnvScratch d("delete_links");
    std::filesystem::create_directory(d.path / "target");
    std::string kept = d.write("target/kept", "k");
    std::error_code e1, e2;
    std::filesystem::create_directory_symlink(d.path / "target", d.path / "dirlink", e1);
    std::filesystem::create_symlink(d.path / "missing", d.path / "dangling", e2);
    // Links are made where the system allows it; where it does not, there
    // is nothing to delete and the call reports that.
    uint32_t expect1 = e1 ? 0xFFFFFFFFu : 1u;
    uint32_t expect2 = e2 ? 0xFFFFFFFFu : 1u;
    EXPECT_EQ(KorvDeleteFile(d.file("dirlink").c_str()), expect1);
    EXPECT_EQ(KorvDeleteFile(d.file("dangling").c_str()), expect2);
    EXPECT_FALSE(std::filesystem::is_symlink(d.path / "dirlink"));
    EXPECT_FALSE(std::filesystem::is_symlink(d.path / "dangling"));
    EXPECT_EQ(read_all(kept), "k");
#ifndef _WIN32
    EXPECT_FALSE(e1) << e1.message();
    EXPECT_FALSE(e2) << e2.message();
#endif
}

TEST(FileSafety, AbsolutePathsFromTheRootDirectory) {
    std::filesystem::path saved = std::filesystem::current_path();
    std::filesystem::path root = saved.root_path();
    std::filesystem::current_path(root);
    std::string etc = take(KorvRealPath("etc", 1, 0));
    char *up = KorvRealPath("..", 1, 0);
    std::filesystem::current_path(saved);

    std::string r = root.string();
    if (KORV_PATH_SEP == '\\')
        for (char &c : r)
            if (c == '/') c = '\\';
    EXPECT_EQ(etc, r + "etc");
    // Never two separators at the start (a network name).
    EXPECT_NE(etc.substr(0, 2), std::string(2, KORV_PATH_SEP));
    if (KORV_PATH_SEP == '/') {
        EXPECT_EQ(up, nullptr); // ".." right after the root fails
    } else {
        // The system resolves ".." above the root to the root itself.
        EXPECT_NE(take(up).substr(0, 2), "\\\\");
        up = nullptr;
    }
    korv_internal_free(up);
}
