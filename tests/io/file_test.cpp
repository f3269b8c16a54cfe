// File-backed streams: descriptors, stdio files, files by name, temporary files.
#include "io_test_util.h"

#include <fcntl.h>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {
void put_file(const std::string &name, const char *text) {
    FILE *f = KorvFOpen(name.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fputs(text, f);
    std::fclose(f);
}
} // namespace

TEST(FileStream, ModesOfOpeningByName) {
    ScratchDir dir("io_modes");
    std::string name = dir.file("data.bin");
    EXPECT_EQ(KorvIO_FileName(name.c_str(), "r+"), nullptr); // missing
    put_file(name, "0123456789");

    KorvIO *io = KorvIO_FileName(name.c_str(), "r+b");
    ASSERT_NE(io, nullptr);
    EXPECT_EQ(io->seek(io, 4, 0), 4);
    EXPECT_EQ(io->write(io, "xy", 2), 2);
    EXPECT_EQ(slurp(io), "0123xy6789");
    io->close(io);

    io = KorvIO_FileName(name.c_str(), "ab");
    io->seek(io, 0, 0);
    EXPECT_EQ(io->write(io, "END", 3), 3); // at the end whatever the position
    char c;
    EXPECT_EQ(io->read(io, &c, 1), 0); // no read access: a failure reads as 0
    io->close(io);

    io = KorvIO_FileName(name.c_str(), "r");
    EXPECT_EQ(slurp(io), "0123xy6789END");
    EXPECT_EQ(io->write(io, "no", 2), 0);
    io->close(io);

    io = KorvIO_FileName(name.c_str(), "w");
    io->close(io);
    io = KorvIO_FileName(name.c_str(), "r");
    EXPECT_EQ(slurp(io), "");
    io->close(io);
    EXPECT_EQ(KorvIO_FileName(name.c_str(), "x"), nullptr);

    // Long names are opened as they are (turned into the long form where
    // the system needs one).
    std::string longname = dir.path.string() + KORV_PATH_SEP_STR + std::string(200, 'n');
    longname += KORV_PATH_SEP_STR + std::string(60, 'm');
    std::filesystem::create_directories(std::filesystem::path(longname).parent_path());
    io = KorvIO_FileName(longname.c_str(), "w+");
    ASSERT_NE(io, nullptr);
    KorvIOWriteString(io, "long");
    EXPECT_EQ(slurp(io), "long");
    io->close(io);
}

TEST(FileStream, DescriptorAndStdio) {
    ScratchDir dir("io_fd");
    std::string name = dir.file("fd.txt");
    put_file(name, "descriptor");

    FILE *fp = KorvFOpen(name.c_str(), "rb");
    ASSERT_NE(fp, nullptr);
    KorvIO *io = KorvIO_FP(fp);
    EXPECT_EQ(slurp(io), "descriptor");
    EXPECT_EQ(io->seek(io, 3, 0), 3);
    EXPECT_EQ(io->seek(io, 0, 7), -1);
    EXPECT_EQ(io->write(io, "x", 1), -1); // read-only FILE
    io->set_owned(io, 1);
    io->close(io); // closes the FILE

#ifdef _WIN32
    int fd = _open(name.c_str(), _O_RDONLY | _O_BINARY);
#else
    int fd = open(name.c_str(), O_RDONLY);
#endif
    ASSERT_GE(fd, 0);
    io = KorvIO_FD(static_cast<uint32_t>(fd));
    EXPECT_EQ(io->seek(io, -4, 2), 6);
    char buf[8] = {};
    EXPECT_EQ(KorvIOReadBytes(io, buf, 8), 4u);
    EXPECT_STREQ(buf, "ptor");
    EXPECT_EQ(io->seek(io, 0, 5), -1);
    io->set_owned(io, 1);
    io->close(io);

    EXPECT_EQ(KorvFOpen(dir.file("missing").c_str(), "rb"), nullptr);
    EXPECT_EQ(KorvIO_FP(nullptr), nullptr);
}

TEST(TempFile, HintDirectoryAndCleanUp) {
    ScratchDir dir("io_temp");
    // A hint with a path separator names the directory.
    std::string hint = dir.path.string() + KORV_PATH_SEP_STR "whatever";
    char *name = KorvMktemp(hint.c_str());
    ASSERT_NE(name, nullptr);
    // The system keeps at least the first three letters of the prefix.
    std::string prefix = dir.path.string() + KORV_PATH_SEP_STR + "_ko";
    EXPECT_EQ(std::string(name).rfind(prefix, 0), 0u) << name;
    EXPECT_TRUE(std::filesystem::exists(name));
    std::filesystem::remove(name);
    korv_internal_free(name);

    KorvIO *io = KorvIO_Mktemp(hint.c_str());
    ASSERT_NE(io, nullptr);
    KorvIOWriteString(io, "scratch");
    EXPECT_EQ(slurp(io), "scratch");
    io->close(io);
    EXPECT_EQ(dir.count(), 0u); // gone with the stream
}

TEST(IsolatedTempDirChoice, RoomiestUsableDirectory) {
    ScratchDir dir("io_choice");
    std::string list = dir.file("missing") + "," + dir.path.string();
    setenv_for_test("KORV_TEMP", list.c_str());
    char *name = KorvMktemp("plain");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(std::filesystem::path(name).parent_path(), dir.path);
    std::filesystem::remove(name);
    korv_internal_free(name);

    // A file is not a directory: the current directory stands in.
    std::string file = dir.file("plain.txt");
    put_file(file, "x");
    setenv_for_test("KORV_TEMP", file.c_str());
    KorvIO *io = KorvIO_Mktemp("plain");
    ASSERT_NE(io, nullptr);
    io->close(io);
    EXPECT_EQ(dir.count(), 1u);
}
