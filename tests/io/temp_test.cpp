// Temporary files: where a hint puts them, and that the library reaches a
// temporary file only through the handle that made it.
#include "io_test_util.h"

#include <fstream>
#include <sstream>

namespace {

// Collects what goes through the message channel while it lives.
struct Messages {
    std::string text;
    Messages() { KorvSetLoggingCallback(take, this); }
    ~Messages() { KorvSetLoggingCallback(nullptr, nullptr); }
    static void take(const char *t, int32_t, void *self) {
        static_cast<Messages *>(self)->text += t;
    }
};

std::string contents(const std::filesystem::path &p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// Windows holds a temporary file open without sharing: its name cannot be
// moved away while the library uses it.
#ifdef _WIN32
constexpr bool kNameCanBeReplaced = false;
#else
constexpr bool kNameCanBeReplaced = true;
#endif

} // namespace

TEST(TempFile, HintNamesItsDirectoryByThePathSeparator) {
    ScratchDir dir("io_temp_hint");
    std::filesystem::create_directories(dir.path / "run");
    std::string hint = dir.file("run") + KORV_PATH_SEP_STR "name";
    char *name = KorvMktemp(hint.c_str());
    ASSERT_NE(name, nullptr);
    EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::path(name).parent_path(),
                                            dir.path / "run"))
        << name;
    korv_internal_free(name);

    // An unusable directory is reported, and the current directory stands in.
    const std::string missing = dir.file("missing");
    const std::string plain = dir.file("plain.txt");
    std::ofstream(plain) << "x";
    for (const std::string &bad : {missing, plain}) {
        Messages m;
        std::string h = bad + KORV_PATH_SEP_STR "name";
        name = KorvMktemp(h.c_str());
        ASSERT_NE(name, nullptr);
        std::string expected = bad == missing ? "Error: Cannot get attributes of \"" + bad + "\".\n"
                                              : "Error: \"" + bad + "\" is not a directory.\n";
        EXPECT_NE(m.text.find(expected), std::string::npos) << m.text;
        std::filesystem::path parent = std::filesystem::path(name).parent_path();
        EXPECT_TRUE(std::filesystem::equivalent(parent.empty() ? "." : parent, ".")) << name;
        std::filesystem::remove(name);
        korv_internal_free(name);
    }
    EXPECT_EQ(dir.count(), 2u); // run/ and plain.txt
}

// Run with KORV_MEMORY_MAX=16 and KORV_TEMPFILE_MAX=10. A spill file whose
// name someone replaces keeps receiving the buffer's bytes, and the file
// now at that name is neither written, emptied nor removed.
TEST(IsolatedSmartBufferSpill, FilesAreReachedOnlyThroughTheirHandles) {
    ScratchDir dir("io_spill_handles");
    setenv_for_test("KORV_TEMP", dir.path.string().c_str());
    struct Buffer {
        KorvSmartBuffer *sb = KorvSBInit(0, 256);
        ~Buffer() { KorvSBFree(sb); }
    } b;
    KorvSmartBuffer *&sb = b.sb;
    std::string data(24, 'd');
    ASSERT_EQ(KorvSBAppend(sb, data.data(), 21), 21u); // 16 in memory, 5 in a file
    ASSERT_EQ(dir.count(), 1u);
    std::filesystem::path spill = std::filesystem::directory_iterator(dir.path)->path();

    std::error_code ec;
    std::filesystem::rename(spill, dir.path / "moved", ec);
    EXPECT_EQ(!ec, kNameCanBeReplaced) << ec.message();
    if (!ec) std::ofstream(spill, std::ios::binary) << "victim";

    EXPECT_EQ(KorvSBAppend(sb, data.data(), 3), 3u); // into the same file
    char buf[24];
    ASSERT_EQ(KorvSBRead(sb, buf, 24), 24u);
    EXPECT_EQ(std::string(buf, 16), std::string(16, 'd'));
    EXPECT_EQ(std::string(buf + 16, 8), std::string(8, '\0')); // a file part reads as zeros
    KorvSBFree(sb);
    sb = nullptr;
    if (kNameCanBeReplaced) {
        EXPECT_EQ(contents(spill), "victim");
        EXPECT_EQ(dir.count(), 2u); // the victim, and the moved file the buffer lost
    } else {
        EXPECT_EQ(dir.count(), 0u);
    }
}
