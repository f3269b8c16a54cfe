// Library handles, base names, the library cache and function
// entry names, over real test libraries.
#include "modules/modules_test_util.h"

#include <regex>
#include <thread>

namespace {

typedef int (*IntFn)(void);

// The result of an entry name and what the symbol found answers (-1 when
// none was found).
struct Resolved {
    uint32_t result;
    int answer;
};

Resolved resolve(const std::string &entry, const char *fallback) {
    void *pointer = reinterpret_cast<void *>(1);
    uint32_t r = KorvRetrieveFunc(entry.c_str(), fallback, &pointer);
    if (r != 1) {
        EXPECT_EQ(pointer, nullptr) << entry;
        return {r, -1};
    }
    return {r, reinterpret_cast<IntFn>(pointer)()};
}

constexpr uint32_t kFail = 0xFFFFFFFFu;

// A library name of the same length and 16-bit hash as name, that names no
// library.
std::string collider(const std::string &name) {
    uint16_t want = KorvHashBytes(name.data(), (uint32_t)name.size());
    std::string probe = name;
    for (uint32_t i = 0;; i++) {
        for (size_t k = 0; k < 4; k++)
            probe[probe.size() - 1 - k] = char('a' + (i >> (5 * k)) % 26);
        probe[0] = 'q';
        if (KorvHashBytes(probe.data(), (uint32_t)probe.size()) == want) return probe;
    }
}

} // namespace

TEST(DynamicLibrary, OpenLookupClose) {
    KorvLibrary lib = nullptr;
    ASSERT_EQ(KorvDLOpen(lib_path("tb_blur").c_str(), &lib), 1u);
    void *p = nullptr;
    EXPECT_EQ(KorvDLSymbolLookup(lib, "BlurInit", &p), 1u);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<IntFn>(p)(), 2);
    EXPECT_EQ(KorvDLSymbolLookup(lib, "NoSuchSymbol", &p), kFail);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(KorvDLClose(lib), 1u);

    // A name without an extension gets the platform's; the directories of
    // the program are searched.
    lib = nullptr;
    ASSERT_EQ(KorvDLOpen("tb_blur", &lib), 1u);
    EXPECT_EQ(KorvDLClose(lib), 1u);

    EXPECT_EQ(KorvDLSymbolLookup(nullptr, "BlurInit", &p), 0u);
    EXPECT_EQ(KorvDLClose(nullptr), 0u);
}

TEST(DynamicLibrary, FailedOpenSaysWhy) {
    DebugLog log;
    KorvLibrary lib = reinterpret_cast<KorvLibrary>(7);
    std::string path = lib_path("tb_absent");
    EXPECT_EQ(KorvDLOpen(path.c_str(), &lib), 0u);
    EXPECT_EQ(lib, reinterpret_cast<KorvLibrary>(7));
    auto lines = log.take();
    ASSERT_FALSE(lines.empty());
    std::regex expected("Shared library open<(.*)> error code<-?[0-9]+>\n");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(lines[0], m, expected)) << lines[0];
    EXPECT_EQ(m[1].str(), path);
#ifndef _WIN32
    // The loader's own explanation follows on POSIX.
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[1].find("tb_absent"), std::string::npos) << lines[1];
#else
    EXPECT_EQ(lines.size(), 1u);
#endif
    // An empty name never loads (it must not mean the program itself).
    EXPECT_EQ(KorvDLOpen("", &lib), 0u);
}

TEST(DynamicLibrary, BaseName) {
    const std::string sep(1, KORV_PATH_SEP);
#ifdef _WIN32
    const char other = '/';
#else
    const char other = '\\';
#endif
    EXPECT_EQ(take_string(KorvGetLibraryBaseName(("C:" + sep + "lib" + sep + "blur.1.dll").c_str())),
              "blur");
    EXPECT_EQ(take_string(KorvGetLibraryBaseName((std::string("lib") + other + "blur.dll").c_str())),
              std::string("lib") + other + "blur");
    EXPECT_EQ(take_string(KorvGetLibraryBaseName("blur")), "blur");
    EXPECT_EQ(take_string(KorvGetLibraryBaseName(("dir.d" + sep).c_str())), "");
    EXPECT_EQ(KorvGetLibraryBaseName(nullptr), nullptr);
}

TEST(RetrieveFunc, EntryNameForms) {
    // The symbol is looked up in the first library of the list.
    EXPECT_EQ(resolve("tb_blur!BlurInit", nullptr).answer, 2);
    EXPECT_EQ(resolve("tb_base,tb_blur!BlurInit", nullptr).answer, 1);
    EXPECT_EQ(resolve("tb_blur,tb_base!BlurInit", nullptr).answer, 2);
    // Exported only with a leading underscore.
    EXPECT_EQ(resolve("tb_under!BlurInit", nullptr).answer, 3);
    // Opened, but no such symbol.
    EXPECT_EQ(resolve("tb_blur!Missing", nullptr).result, 0u);
    EXPECT_EQ(resolve("tb_blur,tb_base!Missing", "tb_under").result, 0u);

    // A failing name before a comma fails the whole; the last name falls back
    // to the default library.
    EXPECT_EQ(resolve("tb_absent,tb_blur!BlurInit", "tb_base").result, kFail);
    EXPECT_EQ(resolve("tb_blur,tb_absent!BlurInit", "tb_base").answer, 2);
    EXPECT_EQ(resolve("tb_absent!BlurInit", "tb_base").answer, 1);
    EXPECT_EQ(resolve("tb_absent!BlurInit", nullptr).result, kFail);
    EXPECT_EQ(resolve("tb_absent!BlurInit", "tb_absent2").result, kFail);
    EXPECT_EQ(resolve("!BlurInit", "tb_blur").answer, 2);

    // A bare symbol is looked up in the default library.
    EXPECT_EQ(resolve("BlurInit", "tb_blur").answer, 2);
    EXPECT_EQ(resolve("BlurInit", nullptr).result, kFail);
    EXPECT_EQ(resolve("BlurInit", "tb_absent").result, kFail);

    void *p = reinterpret_cast<void *>(1);
    EXPECT_EQ(KorvRetrieveFunc(nullptr, "tb_blur", &p), kFail);
    EXPECT_EQ(p, nullptr);
}

TEST(LibraryCache, NamesOfEqualHashAndLengthShareOneLibrary) {
    ASSERT_EQ(resolve("tb_blur!BlurInit", nullptr).answer, 2);
    std::string alias = collider("tb_blur");
    ASSERT_NE(alias, "tb_blur");
    EXPECT_EQ(resolve(alias + "!BlurInit", nullptr).answer, 2);
}

TEST(LibraryCache, UnloadAllAtCleanupOnly) {
    ASSERT_EQ(KorvaneCleanup(), 1u);
    void *p = nullptr;
    ASSERT_EQ(KorvRetrieveFunc("tb_blur!tb_count", nullptr, &p), 1u);
    auto count = reinterpret_cast<IntFn>(p);
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(count(), 2);

    // The engine's end leaves the cache alone: the library stays loaded.
    KorvaneInit();
    EXPECT_EQ(KorvaneEnd(), 1u);
    EXPECT_EQ(KorvaneEnd(), 1u);
    KorvaneInit();
    ASSERT_EQ(KorvRetrieveFunc("tb_blur!tb_count", nullptr, &p), 1u);
    EXPECT_EQ(reinterpret_cast<IntFn>(p)(), 3);

    // KorvaneCleanup unloads it; the next resolution loads it afresh.
    ASSERT_EQ(KorvaneCleanup(), 1u);
    ASSERT_EQ(KorvRetrieveFunc("tb_blur!tb_count", nullptr, &p), 1u);
    EXPECT_EQ(reinterpret_cast<IntFn>(p)(), 1);
}

TEST(LibraryCache, HoldsThirtyTwoLibraries) {
    ASSERT_EQ(KorvaneCleanup(), 1u);
    // One library under 33 names of different lengths.
    const std::string step = std::string(".") + KORV_PATH_SEP;
    std::string dots;
    for (int i = 0; i < 32; i++, dots += step)
        ASSERT_EQ(resolve(lib_dir() + KORV_PATH_SEP + dots + "tb_base" + kLibExt + "!BlurInit",
                          nullptr).answer, 1) << i;
    std::string last = lib_dir() + KORV_PATH_SEP + dots + "tb_base" + kLibExt + "!BlurInit";
    EXPECT_EQ(resolve(last, nullptr).result, kFail);
    // Known names still resolve from the full cache.
    EXPECT_EQ(resolve(lib_dir() + KORV_PATH_SEP + "tb_base" + kLibExt + "!BlurInit", nullptr).answer, 1);
    ASSERT_EQ(KorvaneCleanup(), 1u);
    EXPECT_EQ(resolve(last, nullptr).answer, 1);
    ASSERT_EQ(KorvaneCleanup(), 1u);
}

// Run with KVSHARED_DEBUG set at engine start.
TEST(IsolatedSharedTrace, EachLibraryIsLoadedOnce) {
    DebugLog log;
    EXPECT_EQ(resolve("tb_blur!BlurInit", nullptr).answer, 2);
    EXPECT_EQ(resolve("tb_blur!BlurInit", nullptr).answer, 2);
    EXPECT_EQ(resolve("tb_base,tb_blur!BlurInit", nullptr).answer, 1);
    EXPECT_EQ(log.take(), (std::vector<std::string>{"kvshared: loading <tb_blur>\n",
                                                    "kvshared: loading <tb_base>\n"}));
}

TEST(LibraryCacheThreads, FailuresLeaveTheLockFree) {
    // Names the system cannot take (not UTF-8 for Windows) and names that do
    // not open: another thread must still get through afterwards.
    EXPECT_EQ(resolve("\xff\xfe!BlurInit", nullptr).result, kFail);
    EXPECT_EQ(resolve("tb_absent!BlurInit", nullptr).result, kFail);
    uint32_t result = 0;
    std::thread other([&] {
        void *p = nullptr;
        result = KorvRetrieveFunc("tb_blur!BlurInit", nullptr, &p);
    });
    other.join();
    EXPECT_EQ(result, 1u);
}
