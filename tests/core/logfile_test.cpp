// A log file name that is not a regular file (here a FIFO nobody reads; a
// directory where there are no FIFOs) is ignored: messages still reach the
// console at once instead of waiting for a reader.
#include <gtest/gtest.h>
#include <kvsup.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

// Runs with KV_LOGFILE naming a path the test turns into a special file.
TEST(IsolatedSpecialLog, AnUnusableLogFileIsIgnored)
{
    const char *path = std::getenv("KV_LOGFILE");
    ASSERT_NE(path, nullptr);
    std::filesystem::remove_all(path);
#ifdef _WIN32
    std::filesystem::create_directory(path);
#else
    ASSERT_EQ(mkfifo(path, 0600), 0);
#endif
    testing::internal::CaptureStderr();
    std::atomic<bool> done{false};
    std::thread writer([&] {
        KorvError("to the console\n");
        done = true;
    });
    for (int i = 0; i < 300 && !done; i++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    bool in_time = done;
#ifndef _WIN32
    // A writer held in its open is let go by a reader appearing.
    int reader = in_time ? -1 : open(path, O_RDONLY | O_NONBLOCK);
    writer.join();
    if (reader >= 0)
        close(reader);
#else
    writer.join();
#endif
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(in_time);
    EXPECT_NE(err.find("to the console"), std::string::npos) << err;
    std::filesystem::remove_all(path);
}
