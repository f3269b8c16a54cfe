// Settings replaced by one thread while others read them inside the
// library: the readers must never see freed text (run under the address
// and thread checkers).
#include "env/env_test_util.h"

#include <atomic>
#include <thread>

TEST(SettingThreads, SetenvWhileTheLibraryReadsTheSetting) {
    EnvScratch d("setting_threads");
    std::string path_a = d.dir() + ",a,b,c";
    std::string path_b = d.dir() + ",d,e";
    std::atomic<bool> stop{false};
    std::atomic<long> reads{0};

    auto smart_buffers = [&] {
        while (!stop) {
            KorvSmartBuffer *sb = KorvSBInit(1, 0);
            ASSERT_NE(sb, nullptr);
            KorvSBFree(sb);
            reads++;
        }
    };
    auto searches = [&] {
        while (!stop) {
            // Nothing is found; the search walks the whole setting.
            EXPECT_EQ(KorvFindFile("kv-never-there", "none", nullptr), nullptr);
            reads++;
        }
    };
    std::thread a(smart_buffers), b(searches);
    for (int i = 0; i < 20000 || reads < 200; i++) {
        KorvSetenv("KORV_MEMORY_MAX", i % 2 ? "123456789" : "9876");
        KorvSetenv("KV_DATA_PATH", i % 2 ? path_a.c_str() : path_b.c_str());
        if (i % 1000 == 999)
            std::this_thread::yield();
    }
    stop = true;
    a.join();
    b.join();
    KorvSetenv("KORV_MEMORY_MAX", nullptr);
    KorvSetenv("KV_DATA_PATH", nullptr);
}
